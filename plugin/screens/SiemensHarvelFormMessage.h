#pragma once

#include "SlGfwDialogForm.h"

#include <QString>

class SlGfwLabel;

// The simple query that any screen opens through
// CMiscUtility::ShowMessageDialog: every key closes it, and only OK gives
// the opener the answer "OK".
class SiemensHarvelFormMessage : public SlGfwDialogForm
{
    Q_OBJECT
    Q_PROPERTY(QString propCaption READ Caption WRITE SetCaption)
    Q_PROPERTY(QString propBackScreen READ BackScreen WRITE SetBackScreen)
    Q_PROPERTY(QString propMessage READ Message WRITE SetMessage)
public:
    SiemensHarvelFormMessage(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~SiemensHarvelFormMessage() override;

    void attachedToScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    QString Caption() const { return m_caption; }
    void SetCaption(const QString& caption) { m_caption = caption; }
    QString BackScreen() const { return m_backScreen; }
    void SetBackScreen(const QString& backScreen) { m_backScreen = backScreen; }
    QString Message() const { return m_message; }
    void SetMessage(const QString& message) { m_message = message; }

private:
    SlGfwLabel* m_pMessageLabel = nullptr;

    QString m_caption;
    QString m_backScreen;
    QString m_message;
};
