#include "SiemensHarvel.h"

#include "AppCfg.h"
#include "Logger.h"
#include "MiscUtility.h"
#include "SiemensHarvelFormIMSG.h"
#include "SiemensHarvelFormLog.h"
#include "SiemensHarvelFormReport.h"
#include "SiemensNC.h"
#include "SlGfwDialogForm.h"
#include "ZynNetServerCallback.h"
#include "ZynNetServerHost.h"

#include <QThread>

namespace {
const char* const kProgramName = "SiemensHarvel";
const char* const kBuild = "(Build 20260528)";
const char* const kCfgFileName = "TMRNC.INI";
const char* const kInstallDir = "/card/oem/sinumerik/hmi/NorvaneZYN";

// Doubles in log lines as QString::arg writes them by default.
QString Number(double value)
{
    return QString::number(value, 'g', 6);
}
} // namespace

SiemensHarvel::SiemensHarvel(QObject* parent, const QString& name) : SlGfwHmiDialog(parent, name)
{
    const QString libFile = CMiscUtility::GetThisLibFullPath();
    GetPaths(libFile, m_applDir, m_cfgFile);

    const QString title = QStringLiteral("%1 %2 for NCU").arg(QLatin1String(kProgramName), QLatin1String(kBuild));

    CLogger::Initialize(QStringLiteral("%1/logs/%2.log").arg(m_applDir, QLatin1String(kProgramName)), 1000);

    CLogger::Info(QString(76, QLatin1Char('=')), false);
    CLogger::Info(QStringLiteral("Starting %1").arg(title), true);
    const QString mainTid = QStringLiteral("%1").arg(reinterpret_cast<quintptr>(QThread::currentThreadId()), 4, 16,
                                                     QLatin1Char('0'));
    CLogger::Info(QStringLiteral("MainTID = %1, LibFile = %2, ApplDir = %3, CfgFile = %4")
                      .arg(mainTid, libFile, m_applDir, m_cfgFile),
                  true);

    if (Initialize() != 0) {
        // The log and the area stay, so that the operator can read why.
        CLogger::Error(QStringLiteral("Cannot start %1").arg(title), true);
        return;
    }

    // Blocking queued without exception: the signals carry their results by
    // reference, and the library's thread must wait in the callback's frame
    // until the slot has written them. A failed connect leaves that one
    // request without a receiver and the others in place.
    CZynNetServerCallback* bridge = &CZynNetServerCallback::m_instance;
    const Qt::ConnectionType type = Qt::BlockingQueuedConnection;
    if (!connect(bridge, &CZynNetServerCallback::signalUploadFile, this, &SiemensHarvel::slotUploadFile, type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for UploadFile"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalSelectProgram, this, &SiemensHarvel::slotSelectProgram, type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for SelectProgram"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalReadRVar, this, &SiemensHarvel::slotReadRVar, type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for ReadRVar"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalWriteRVar, this, &SiemensHarvel::slotWriteRVar, type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for WriteRVar"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalSendMsg, this, &SiemensHarvel::slotSendMsg, type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for SendMsg"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalClientAction, this, &SiemensHarvel::slotClientAction, type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for ClientAction"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalGetLogFiles, this, &SiemensHarvel::slotGetLogFiles, type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for GetLogFiles"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalGetMachineConfiguration, this,
                 &SiemensHarvel::slotGetMachineConfiguration, type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for GetMachineConfiguration"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalCheckFileExists, this, &SiemensHarvel::slotCheckFileExists,
                 type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for CheckFileExists"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalDownloadFile, this, &SiemensHarvel::slotDownloadFile, type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for DownloadFile"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalGetCalibrationResult, this,
                 &SiemensHarvel::slotGetCalibrationResult, type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for GetCalibrationResult"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalReceivedReqFile, this, &SiemensHarvel::slotReceivedReqFile,
                 type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for ReceivedReqFile"), true);
    if (!connect(bridge, &CZynNetServerCallback::signalGetSkipPosition, this, &SiemensHarvel::slotGetSkipPosition,
                 type))
        CLogger::Error(QStringLiteral("Cannot connect signal slot for GetSkipPosition"), true);
}

SiemensHarvel::~SiemensHarvel()
{
    // The net server is stopped first of all, so that no callback arrives
    // while the NC service goes.
    CZynNetServerHost::Stop();

    delete m_pNC;
    m_pNC = nullptr;

    // Last, so that everything before could still log.
    CLogger::UnInitialize();
}

void SiemensHarvel::GetPaths(const QString& libFile, QString& applDir, QString& cfgFile)
{
    if (!libFile.isEmpty()) {
        applDir = CMiscUtility::NormalizePath(CMiscUtility::GetFilePath(libFile));
        const QString rootDir = CMiscUtility::NormalizePath(CMiscUtility::GetFilePath(applDir));
        cfgFile = QStringLiteral("%1/cfg/%2").arg(rootDir, QLatin1String(kCfgFileName));
    } else {
        applDir = QStringLiteral("%1/appl").arg(QLatin1String(kInstallDir));
        cfgFile = QStringLiteral("%1/cfg/%2").arg(QLatin1String(kInstallDir), QLatin1String(kCfgFileName));
    }
}

int SiemensHarvel::Initialize()
{
    // The net server host takes its library path here, before the
    // configuration is read.
    CZynNetServerHost::Initialize(m_applDir);

    if (!CAppCfg::m_instance.Initialize(m_applDir, m_cfgFile))
        return -86;

    // Whether the net server came up does not matter to the rest of the
    // start: a failure has logged its reason, and everything else runs
    // without it.
    CZynNetServerHost::Start(CAppCfg::m_instance.ZynNetServerEnable(), CAppCfg::m_instance.ZynNetServerIp(),
                             CAppCfg::m_instance.ZynNetServerPort());

    m_pNC = new CSiemensNC(m_applDir, this);
    return m_pNC->Initialize();
}

void SiemensHarvel::onSwitchToArea(const QString& area, const QString& dialog, QString& screen, bool& allowed)
{
    // A form that holds the area, the interactive message, must be answered
    // before the operator may go elsewhere.
    if (!m_formName.isEmpty()) {
        allowed = false;
        return;
    }
    SlGfwHmiDialog::onSwitchToArea(area, dialog, screen, allowed);
}

void SiemensHarvel::onShowMenu(const QString& menu, const QString& screen)
{
    if (menu == QLatin1String("myHu")) {
        // Key 3 leads to what only the net server can deliver.
        CMiscUtility::SetSoftKeyEnable(this, activeScreen(), 3, CZynNetServerHost::m_isRunning, menu);
    } else if (menu == QLatin1String("myVr")) {
        if (!m_formName.isEmpty() && m_formName == QLatin1String("formIMSG")) {
            // The platform has just rebuilt the keys from the configuration;
            // the message's form sets those of its style again here.
            if (SlGfwDialogForm* form = formRef(m_formName)) {
                if (auto* message = qobject_cast<SiemensHarvelFormIMSG*>(form))
                    message->SetSoftKeyByMsgStyle();
                releaseFormRef(form);
            }
        }
    }
}

int SiemensHarvel::SetTmrFileVar(int value)
{
    if (!m_pNC)
        return -100;
    return m_pNC->SetTmrFileVar(value);
}

int SiemensHarvel::SetFindSphereInputs(double sphereRadius, double probeRadius, int workOffset)
{
    if (!m_pNC)
        return -100;
    return m_pNC->SetFindSphereInputs(sphereRadius, probeRadius, workOffset);
}

void SiemensHarvel::SetReportFormStatusBarText(const QString& text)
{
    if (SlGfwDialogForm* form = formRef(QStringLiteral("formReport"))) {
        if (auto* report = qobject_cast<SiemensHarvelFormReport*>(form))
            report->SetStatusBarText(text);
        releaseFormRef(form);
    }
}

void SiemensHarvel::slotReceivedReqFile(const QString& reqFilePath)
{
    if (m_pNC)
        m_pNC->ReceivedReqFile(reqFilePath);
}

void SiemensHarvel::slotGetSkipPosition(const QString& peer, double& x, double& y, double& z, double& a, double& b,
                                        double& c, bool& isOK, QString& errInfo)
{
    isOK = m_pNC->ProcessGetSkipPosition(x, y, z, a, b, c, errInfo);
    if (isOK)
        CLogger::Info(QStringLiteral("Get skip position succeeded. Peer=%1, X=%2, Y=%3, Z=%4, A=%5, B=%6, C=%7")
                          .arg(peer, Number(x), Number(y), Number(z), Number(a), Number(b), Number(c)),
                      true);
    else
        CLogger::Error(QStringLiteral("Get skip position failed. Peer=%1, ErrInfo=%2").arg(peer, errInfo), true);
}

void SiemensHarvel::slotUploadFile(const QString& peer, int fileType, const QString& filePath, bool& isOK,
                                   QString& errInfo)
{
    QString label;
    switch (fileType) {
    case 0:
        label = QStringLiteral("Macro");
        break;
    case 1:
        label = QStringLiteral("Program");
        break;
    case 2:
        label = QStringLiteral("Report");
        break;
    default:
        break;
    }
    QString destination;
    isOK = m_pNC->ProcessUploadFile(fileType, filePath, destination, errInfo);
    if (isOK) {
        CLogger::Info(QStringLiteral("Upload file succeeded. Peer=%1, FileType=%2, FilePath=%3")
                          .arg(peer, label, destination),
                      true);
        return;
    }
    // Whatever went wrong, the received copy is of no more use to anyone.
    CMiscUtility::RemoveFile(filePath);
    CLogger::Error(QStringLiteral("Upload file failed. Peer=%1, FileType=%2, FileName=%3, ErrInfo=%4")
                       .arg(peer, label, CMiscUtility::GetFileName(filePath), errInfo),
                   true);
}

void SiemensHarvel::slotSelectProgram(const QString& peer, const QString& prgFileName, bool& isOK, QString& errInfo)
{
    // A bare name means a program of the configured program folder.
    QString program = prgFileName;
    if (!program.contains(QLatin1Char('/')) && !program.contains(QLatin1Char('\\')))
        program = QStringLiteral("%1/%2").arg(CAppCfg::m_instance.TmrProgramDir(), program);
    isOK = m_pNC->ProcessSelectProgram(program, errInfo);
    if (isOK)
        CLogger::Info(QStringLiteral("Select program succeeded. Peer=%1, Program=%2").arg(peer, program), true);
    else
        CLogger::Error(
            QStringLiteral("Select program failed. Peer=%1, Program=%2, ErrInfo=%3").arg(peer, program, errInfo),
            true);
}

void SiemensHarvel::slotReadRVar(const QString& peer, int index, int count, QList<double>& values, bool& isOK,
                                 QString& errInfo)
{
    isOK = m_pNC->ProcessReadRVar(index, count, values, errInfo);
    if (isOK)
        CLogger::Info(
            QStringLiteral("Read R variable succeeded. Peer=%1, Index=%2, Count=%3").arg(peer, QString::number(index), QString::number(count)),
            true);
    else
        CLogger::Error(QStringLiteral("Read R variable failed. Peer=%1, Index=%2, Count=%3, ErrInfo=%4")
                           .arg(peer, QString::number(index), QString::number(count), errInfo),
                       true);
}

void SiemensHarvel::slotWriteRVar(const QString& peer, int index, int count, const QList<double>& values,
                                  bool& isOK, QString& errInfo)
{
    isOK = m_pNC->ProcessWriteRVar(index, count, values, errInfo);
    if (isOK)
        CLogger::Info(
            QStringLiteral("Write R variable succeeded. Peer=%1, Index=%2, Count=%3").arg(peer, QString::number(index), QString::number(count)),
            true);
    else
        CLogger::Error(QStringLiteral("Write R variable failed. Peer=%1, Index=%2, Count=%3, ErrInfo=%4")
                           .arg(peer, QString::number(index), QString::number(count), errInfo),
                       true);
}

void SiemensHarvel::slotSendMsg(const QString& peer, unsigned long long id, int type, int style,
                                const QString& messageText, const QString& inputName, int& clickedButton,
                                QString& inputValue, bool& isOK, QString& errInfo)
{
    // Returns when the operator has answered; further requests are served
    // by the modal screen's event loop meanwhile.
    isOK = m_pNC->ProcessIMSG(peer, id, type, style, messageText, inputName, clickedButton, inputValue, errInfo);
    if (isOK)
        CLogger::Info(QStringLiteral("Handle message succeeded. Peer=%1, MsgId=%2").arg(peer, QString::number(id)),
                      true);
    else
        CLogger::Error(QStringLiteral("Handle message failed. Peer=%1, MsgId=%2, ErrInfo=%3")
                           .arg(peer, QString::number(id),
                                errInfo.isEmpty() ? QStringLiteral("No answer, the HMI closes") : errInfo),
                       true);
}

void SiemensHarvel::slotClientAction(const QString& peer, const QString& callMethodName, int actionType)
{
    // The registry was brought up to date on the library's thread already.
    // What is left here: a message whose sender stopped waiting comes off
    // the screen, so that nobody is held by a client that has gone.
    static const QString kSendMessage = QStringLiteral("SendMessage:");
    if (actionType != ZYN_CLIENT_CALL_ABANDONED || !callMethodName.startsWith(kSendMessage) || !m_pNC)
        return;
    bool ok = false;
    const unsigned long long id = callMethodName.mid(kSendMessage.size()).toULongLong(&ok);
    if (ok)
        m_pNC->WithdrawIMSG(peer, id);
}

void SiemensHarvel::slotGetLogFiles(const QString& peer, const QString& logFileName, int sendState)
{
    // The log form shows the progress of an export to a net client.
    if (SlGfwDialogForm* form = formRef(QStringLiteral("formLog"))) {
        if (auto* logForm = qobject_cast<SiemensHarvelFormLog*>(form))
            logForm->SetStatusBarText4Export(logFileName, 1, peer, sendState, 0);
        releaseFormRef(form);
    }
}

void SiemensHarvel::slotGetMachineConfiguration(const QString& peer, QString& fileContent, bool& isOK,
                                                QString& errInfo)
{
    isOK = m_pNC->ProcessGetMachineConfiguration(fileContent, errInfo);
    if (isOK)
        CLogger::Info(QStringLiteral("Get machine configuration succeeded. Peer=%1").arg(peer), true);
    else
        CLogger::Error(QStringLiteral("Get machine configuration failed. Peer=%1, ErrInfo=%2").arg(peer, errInfo),
                       true);
}

void SiemensHarvel::slotCheckFileExists(const QString& peer, const QString& fileName, bool& isExists, bool& isOK,
                                        QString& errInfo)
{
    bool isNC = false;
    isOK = m_pNC->ProcessCheckFileExists(fileName, isExists, isNC, errInfo);
    if (isOK)
        CLogger::Info(QStringLiteral("Check file exists succeeded. Peer=%1, File=%2, IsExists=%3")
                          .arg(peer, fileName, QString::number(isExists ? 1 : 0)),
                      true);
    else
        CLogger::Error(
            QStringLiteral("Check file exists failed. Peer=%1, File=%2, ErrInfo=%3").arg(peer, fileName, errInfo),
            true);
}

void SiemensHarvel::slotDownloadFile(const QString& peer, const QString& srcFileName, QString& dstFileName,
                                     bool& dstFileNeedRemove, bool& isOK, QString& errInfo)
{
    isOK = m_pNC->ProcessDownloadFile(peer, srcFileName, dstFileName, dstFileNeedRemove, errInfo);
    if (isOK)
        CLogger::Info(QStringLiteral("Download file succeeded. Peer=%1, File=%2").arg(peer, srcFileName), true);
    else
        CLogger::Error(
            QStringLiteral("Download file failed. Peer=%1, File=%2, ErrInfo=%3").arg(peer, srcFileName, errInfo), true);
}

void SiemensHarvel::slotGetCalibrationResult(const QString& peer, QString& fileContent, bool& isOK, QString& errInfo)
{
    isOK = m_pNC->ProcessGetCalibrationResult(fileContent, errInfo);
    if (isOK)
        CLogger::Info(QStringLiteral("Get calibration result succeeded. Peer=%1").arg(peer), true);
    else
        CLogger::Error(QStringLiteral("Get calibration result failed. Peer=%1, ErrInfo=%2").arg(peer, errInfo), true);
}
