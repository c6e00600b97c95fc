#pragma once

#include "SlGfwDialogForm.h"

#include <QStringList>
#include <QVariant>

class SlGfwLineEdit;

// The start screen's form: properties of several types, a line edit to
// type into, and keys that open a modal screen and disable a key.
class TestMainForm : public SlGfwDialogForm
{
    Q_OBJECT
    Q_PROPERTY(QString propCaption MEMBER m_caption)
    Q_PROPERTY(int propCount MEMBER m_count)
    Q_PROPERTY(bool propFlag MEMBER m_flag)
    Q_PROPERTY(QString propText MEMBER m_text)
public:
    TestMainForm(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~TestMainForm() override;

    void attachedToScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    // What each attach saw: "screen|caption|count|flag|text".
    QStringList attaches;
    QVariant lastModalResult;
    SlGfwLineEdit* input;

    static int instances;

private:
    QString m_caption;
    int m_count = -1;
    bool m_flag = false;
    QString m_text;
};
