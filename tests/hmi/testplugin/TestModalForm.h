#pragma once

#include "SlGfwDialogForm.h"

#include <QVariant>

// A form shown modally. "openNested" runs the second modal screen on top
// of it; "doOK" and "doCancel" leave it with a result naming its depth.
class TestModalForm : public SlGfwDialogForm
{
    Q_OBJECT
    Q_PROPERTY(QString propBackScreen MEMBER m_backScreen)
    Q_PROPERTY(int propDepth MEMBER m_depth)
public:
    TestModalForm(QWidget* parent, const QString& name, Qt::WindowFlags flags);

    void attachedToScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    QVariant nestedResult;

private:
    QString m_backScreen;
    int m_depth = 0;
};
