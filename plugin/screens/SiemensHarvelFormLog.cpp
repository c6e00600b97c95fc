#include "SiemensHarvelFormLog.h"

#include "LogExportInfo.h"
#include "Logger.h"
#include "MiscUtility.h"
#include "SlGfwHmiDialog.h"
#include "SlGfwListWidget.h"
#include "SlQFileSvc.h"
#include "ZynNetClientCollect.h"
#include "ZynNetServerHost.h"

#include <QGridLayout>

namespace {
const char* const kExportProperties =
    "-slgfwprop1 formLogExport.propCaption=%1 -slgfwprop2 formLogExport.propBackScreen=%2";
} // namespace

SiemensHarvelFormLog::SiemensHarvelFormLog(QWidget* parent, const QString& name, Qt::WindowFlags flags)
    : SlGfwDialogForm(parent, name, flags)
{
    qRegisterMetaType<UsbStick>("UsbStick");
    qRegisterMetaType<LogExportInfo>("LogExportInfo");

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_pListWidget = new SlGfwListWidget(this);
    m_pListWidget->setObjectName(QStringLiteral("listLog"));
    // A log of a long run has many lines of one height each.
    m_pListWidget->setUniformItemSizes(true);
    m_pListWidget->setFont(CMiscUtility::GetMonospaceFont());
    layout->addWidget(m_pListWidget, 0, 0);

    setCaptionBarElementCount(1);
    setCaptionBarElementText(QStringLiteral("NC Harvel - Log"), 0);
    setStatusBarElementCount(2);
    setStatusBarVisible(true);
    setStatusBarElementAlignment(Qt::AlignLeft, 0);
    setStatusBarElementAlignment(Qt::AlignRight, 1);
}

SiemensHarvelFormLog::~SiemensHarvelFormLog() = default;

void SiemensHarvelFormLog::attachedToScreen(const QString& screen)
{
    if (m_refreshOnAttach)
        RefreshLog();
    SlGfwDialogForm::attachedToScreen(screen);
}

void SiemensHarvelFormLog::onFunction(const QString& name, const QString& args, bool& handled)
{
    if (name == QLatin1String("refreshLog")) {
        RefreshLog();
        handled = true;
    } else if (name == QLatin1String("exportLog")) {
        // The export's texts must still stand when the modal screen comes
        // back here, so this return shows the old list.
        m_refreshOnAttach = false;
        if (SlGfwHmiDialog* hmiDialog = dialog()) {
            const QString properties = QString::fromLatin1(kExportProperties)
                                           .arg(QStringLiteral("Export Log File"), QStringLiteral("screenLog"));
            ExportLog(hmiDialog->execModalScreen(QStringLiteral("screenLogExport"), properties));
        }
        m_refreshOnAttach = true;
        handled = true;
    }
    if (!handled)
        SlGfwDialogForm::onFunction(name, args, handled);
}

void SiemensHarvelFormLog::RefreshLog()
{
    if (!m_pListWidget)
        return;
    m_pListWidget->clear();

    QStringList lines;
    const bool read = CLogger::ReadLog(lines);
    m_pListWidget->addItems(lines);
    setStatusBarElementText(read ? QStringLiteral("Refresh log succeeded") : QStringLiteral("Refresh log failed"),
                            0);
    setStatusBarElementText(QStringLiteral("Rows %1").arg(lines.size()), 1);
    // The newest line is the one the operator comes for.
    m_pListWidget->scrollToBottom();
}

void SiemensHarvelFormLog::ExportLog(const QVariant& result)
{
    // No choice comes back from a cancelled export screen.
    if (result.isNull() || !result.isValid() || !result.canConvert<LogExportInfo>())
        return;
    const LogExportInfo info = result.value<LogExportInfo>();
    for (const QString& logFile : info.logFiles) {
        const QString file = logFile.trimmed();
        if (info.exportType == 0)
            CopyLogFileToUSBStick(file, info.usbSticks);
        else if (info.exportType == 1)
            // The library reports each transfer later, through the
            // component's slotGetLogFiles.
            CZynNetServerHost::NotifyLogFileSending(file, info.netClients);
    }
}

void SiemensHarvelFormLog::CopyLogFileToUSBStick(const QString& file, const QList<UsbStick>& sticks)
{
    if (sticks.isEmpty())
        return;
    // A service that cannot be reached shows in the steps below.
    SlQFileSvc fileSvc;
    fileSvc.init();
    for (const UsbStick& stick : sticks) {
        SetStatusBarText4Export(file, 0, stick.displayPath, 1, 0);
        // A stick the service cannot ask about is made a folder on like a
        // missing one: that step then gives the reason.
        bool found = false;
        fileSvc.exist(stick.path, found);
        long result = found ? 0 : fileSvc.createFolder(stick.path, true);
        if (result != 0) {
            // No further stick for this file; the next file starts over
            // with the first one.
            SetStatusBarText4Export(file, 0, stick.displayPath, 3, result);
            break;
        }
        result = fileSvc.copyFile(file, stick.path, true);
        SetStatusBarText4Export(file, 0, stick.displayPath, result != 0 ? 3 : 2, result);
    }
    fileSvc.fini();
}

void SiemensHarvelFormLog::SetStatusBarText4Export(const QString& file, int exportType, const QString& target,
                                                   int state, long errorCode)
{
    const QString fileName = CMiscUtility::GetFileName(file);
    QString shownTarget = target;
    if (exportType == 1) {
        tagClientInfo info;
        if (CZynNetClientCollect::ParsePeer(target, info))
            shownTarget = QStringLiteral("%1:%2").arg(info.address).arg(info.port);
    }

    QString text;
    switch (state) {
    case 1:
        text = QStringLiteral("Exporting %1 to %2").arg(fileName, shownTarget);
        break;
    case 2:
        text = QStringLiteral("Export %1 to %2 succeeded").arg(fileName, shownTarget);
        CLogger::Info(text, true);
        break;
    case 3:
        if (errorCode != 0)
            text = QStringLiteral("Export %1 to %2 failed (%3)")
                       .arg(fileName, shownTarget,
                            CMiscUtility::GetHexQStr(static_cast<int>(errorCode), QStringLiteral("0x")));
        else
            text = QStringLiteral("Export %1 to %2 failed").arg(fileName, shownTarget);
        CLogger::Error(text, true);
        break;
    default:
        break;
    }
    setStatusBarElementText(text, 0);
    setStatusBarElementText(QString(), 1);
}
