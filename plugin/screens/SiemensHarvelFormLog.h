#pragma once

#include "SlGfwDialogForm.h"
#include "UsbStick.h"

#include <QList>
#include <QString>
#include <QVariant>

class SlGfwListWidget;

// The start screen of the area: the lines of the live log file, and the
// export of log files to a USB stick or to net clients. The export screen
// returns the operator's choice; this form carries it out and shows each
// step, the net server's later reports of a transfer included.
class SiemensHarvelFormLog : public SlGfwDialogForm
{
    Q_OBJECT
public:
    SiemensHarvelFormLog(QWidget* parent, const QString& name, Qt::WindowFlags flags);
    ~SiemensHarvelFormLog() override;

    void attachedToScreen(const QString& screen) override;
    void onFunction(const QString& name, const QString& args, bool& handled) override;

    void RefreshLog();
    void ExportLog(const QVariant& result);
    void CopyLogFileToUSBStick(const QString& file, const QList<UsbStick>& sticks);
    // State: 1 exporting, 2 succeeded, 3 failed. exportType 1 takes target
    // as a client's peer string.
    void SetStatusBarText4Export(const QString& file, int exportType, const QString& target, int state,
                                 long errorCode);

private:
    bool m_refreshOnAttach = true;
    SlGfwListWidget* m_pListWidget = nullptr;
};
