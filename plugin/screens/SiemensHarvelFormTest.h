#pragma once

#include "SlGfwDialogForm.h"

#include <QString>

class SlGfwListWidget;

// Tries the result file chain without a measuring program: a key raises
// TMR_FILE as a program would, and the list shows the test lines of the
// live log.
class SiemensHarvelFormTest : public SlGfwDialogForm
{
    Q_OBJECT
public:
    SiemensHarvelFormTest(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~SiemensHarvelFormTest() override;

    void attachedToScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    // An empty line refills the list from the log; another is added.
    void RefreshLogList(const QString& line);
    QString DoTriggerFileCollect();
    void ClearLogList();

private:
    int SetTmrFileVarOfDialog(int value);

    bool m_refreshOnAttach = true;
    SlGfwListWidget* m_pLogList = nullptr;
};
