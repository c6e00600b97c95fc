#include "SiemensHarvel.h"

#include "AppCfg.h"
#include "Logger.h"
#include "MiscUtility.h"
#include "SiemensNC.h"
#include "SlGfwDialogForm.h"

#include <QThread>

namespace {
const char* const kProgramName = "SiemensHarvel";
const char* const kBuild = "(Build 20260528)";
const char* const kCfgFileName = "TMRNC.INI";
const char* const kInstallDir = "/card/oem/sinumerik/hmi/NorvaneZYN";
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

    // The net server's request signals are connected here, blocking queued,
    // once the NC service stands behind the slots.
}

SiemensHarvel::~SiemensHarvel()
{
    // The net server is stopped first of all, so that no callback arrives
    // while the NC service goes.

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

    if (!CAppCfg::m_instance.Initialize(m_applDir, m_cfgFile))
        return -86;

    // The net server starts here, with the port, address and enable just
    // read; whether it came up does not matter to the rest of the start.

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
        // Key 3 leads to what only the net server can deliver. Until the net
        // server host joins, no net server runs.
        const bool netServerRunning = false;
        CMiscUtility::SetSoftKeyEnable(this, activeScreen(), 3, netServerRunning, menu);
    } else if (menu == QLatin1String("myVr")) {
        if (!m_formName.isEmpty() && m_formName == QLatin1String("formIMSG")) {
            // The platform has just rebuilt the keys from the configuration;
            // the message's form sets those of its style again here.
            if (SlGfwDialogForm* form = formRef(m_formName))
                releaseFormRef(form);
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
    // The report form shows the text in its status bar once it exists.
    if (SlGfwDialogForm* form = formRef(QStringLiteral("formReport")))
        releaseFormRef(form);
}
