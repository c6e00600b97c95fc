#include "SiemensDialogMonitor.h"

#include "Logger.h"
#include "MiscUtility.h"
#include "SiemensAPI.h"
#include "SiemensHotlink.h"
#include "SiemensNC.h"

#include "SlCapAdviseSpec.h"
#include "SlCapData.h"

#include <new>

namespace {
const char* const kDialogStateVar = "/NC/_N_NC_GD3_ACX/TMR_DIALOG_VINT[1]";
const char* const kDialogPeer = "CNC program";
} // namespace

CSiemensDialogMonitor::CSiemensDialogMonitor(CSiemensAPI* api, CSiemensNC* nc) : m_pAPI(api), m_pNC(nc) {}

CSiemensDialogMonitor::~CSiemensDialogMonitor()
{
    delete m_pHotlink;
}

int CSiemensDialogMonitor::Initialize()
{
    // Without the subscription NC programs get no dialogs; the rest of the
    // plug-in does not depend on it, and the reason is in the log.
    CreateDialogHandle();
    return 0;
}

int CSiemensDialogMonitor::CreateDialogHandle()
{
    QVector<SlCapAdviseSpec> specs;
    specs.append(SlCapAdviseSpec(QLatin1String(kDialogStateVar), SlCapData::standardUpdateRate(), 0.0, 0, 0));
    m_pHotlink = new (std::nothrow) CSiemensHotlink(specs);
    if (!m_pHotlink) {
        CLogger::Error(QStringLiteral("Cannot create dialog handle"), true);
        return -100;
    }
    if (!connect(m_pHotlink, &CSiemensHotlink::signalHotlinkResult, this, &CSiemensDialogMonitor::slotDialogHandle)) {
        CLogger::Error(QStringLiteral("Cannot connect signal slot for dialog handle"), true);
        return -100;
    }
    if (!m_pHotlink->Advise(SlCapData::standardTimeout()))
        return -100;
    return 0;
}

void CSiemensDialogMonitor::slotDialogHandle(unsigned int handleID, const QVector<HotlinkResultType>& results)
{
    if (!m_pHotlink || handleID != m_pHotlink->HandleID() || results.isEmpty())
        return;
    const HotlinkResultType& state = results.first();
    if (state.errCode != 0) {
        CLogger::Error(QStringLiteral("Get dialog state failed. HandleID=%1, VarName=%2, ErrCode=0x%3")
                           .arg(QString::number(handleID), CMiscUtility::GetFileName(state.varName),
                                CMiscUtility::GetHexQStr<unsigned int>(state.errCode, QString())),
                       true);
        return;
    }
    // Only the NC program's request counts: the 2 written here as the
    // answer and the program's own reset come back through the same
    // subscription and pass.
    if (!state.flag || state.value.toString().toInt() != 1)
        return;

    int msgType = 0;
    int msgStyle = 0;
    QString messageText;
    QString inputName;
    const int ret = m_pAPI->GetDialogData(msgType, msgStyle, messageText, inputName);
    if (ret != 0) {
        CLogger::Error(QStringLiteral("Get dialog data failed. ErrCode=%1").arg(ret), true);
        return;
    }

    // Stays here until the operator has answered; further notifications are
    // delivered meanwhile by the message screen's event loop.
    int clickedButton = 0;
    QString inputValue;
    QString errInfo;
    if (!m_pNC->ProcessIMSG(QLatin1String(kDialogPeer), 0, msgType, msgStyle, messageText, inputName, clickedButton,
                            inputValue, errInfo)) {
        // The state word stays at 1: the program waits, and the log says why.
        CLogger::Error(QStringLiteral("Process dialog failed. ErrInfo=%1").arg(errInfo), true);
        return;
    }

    const int setRet = m_pAPI->SetDialogData(clickedButton, inputValue);
    if (setRet != 0) {
        CLogger::Error(QStringLiteral("Set dialog data failed. ErrCode=%1").arg(setRet), true);
        return;
    }
    CLogger::Info(QStringLiteral("Process dialog succeeded. ClickedButton=%1, InputName=%2, InputValue=%3")
                      .arg(QString::number(clickedButton), inputName, inputValue),
                  true);
}
