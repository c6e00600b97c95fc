#include "SiemensTmrResultMonitor.h"

#include "AppCfg.h"
#include "Logger.h"
#include "MiscUtility.h"
#include "SiemensAPI.h"
#include "SiemensHotlink.h"
#include "SiemensNC.h"
#include "ZynNetServerHost.h"

#include "SlCapData.h"

#include <new>

namespace {

const char* const kTmrFileVarName = "/NC/_N_NC_GD3_ACX/TMR_FILE";

QString HexCode(int code)
{
    return CMiscUtility::GetHexQStr<int>(code, QStringLiteral("0x"));
}

} // namespace

CSiemensTmrResultMonitor::CSiemensTmrResultMonitor(CSiemensAPI* api, CSiemensNC* nc) : m_pAPI(api), m_pNC(nc) {}

CSiemensTmrResultMonitor::~CSiemensTmrResultMonitor()
{
    delete m_pHotlink;
}

int CSiemensTmrResultMonitor::Initialize()
{
    CreateTmrResultFile();
    CreateHotlink();
    return 0;
}

int CSiemensTmrResultMonitor::CreateHotlink()
{
    SlCapAdviseSpec spec;
    spec.m_item = QLatin1String(kTmrFileVarName);
    spec.m_updateRate = SlCapData::standardUpdateRate();
    spec.m_hysteresis = 0.0;
    QVector<SlCapAdviseSpec> specs;
    specs.append(spec);

    m_pHotlink = new (std::nothrow) CSiemensHotlink(specs);
    if (!m_pHotlink) {
        CLogger::Error(QStringLiteral("Cannot create TMR result file handle"), true);
        return -100;
    }
    if (!connect(m_pHotlink, &CSiemensHotlink::signalHotlinkResult, this,
                 &CSiemensTmrResultMonitor::slotHotlinkResult)) {
        CLogger::Error(QStringLiteral("Cannot connect signal slot for TMR result file handle"), true);
        return -100;
    }
    return m_pHotlink->Advise(SlCapData::standardTimeout()) ? 0 : -100;
}

int CSiemensTmrResultMonitor::CreateTmrResultFile()
{
    const QString file = CAppCfg::m_instance.TmrResultFile().trimmed();
    const QString folder = CMiscUtility::NormalizePath(CMiscUtility::GetFilePath(file).trimmed()).trimmed();

    // The NC program writes into the file but cannot make it, nor its folder.
    bool exists = false;
    if (!folder.isEmpty() && (m_pAPI->PathExists(folder, exists) != 0 || !exists)) {
        const int ret = m_pAPI->CreateFolder(folder);
        if (ret != 0) {
            CLogger::Error(QStringLiteral("Cannot create TMR result folder. Folder=%1, ErrCode=%2").arg(folder, HexCode(ret)),
                           true);
            return ret;
        }
    }
    exists = false;
    if (!file.isEmpty() && (m_pAPI->PathExists(file, exists) != 0 || !exists)) {
        const int ret = m_pAPI->CreateFile(file);
        if (ret != 0) {
            CLogger::Error(QStringLiteral("Cannot create TMR result file. File=%1, ErrCode=%2").arg(file, HexCode(ret)),
                           true);
            return ret;
        }
    }
    return 0;
}

int CSiemensTmrResultMonitor::HandleTmrResultFile()
{
    const QString resultFile = CAppCfg::m_instance.TmrResultFile();
    // Read once: the folder and the notice must agree even if the server
    // stops while the file is copied.
    const bool netRunning = CZynNetServerHost::m_isRunning;
    const QString journalFolder = netRunning ? CZynNetServerHost::m_journalDir
                                             : QStringLiteral("%1/Journal").arg(CAppCfg::m_instance.TargetPath());
    const QString baseName = QStringLiteral("%1/Telmor%2.cn")
                                 .arg(journalFolder, CMiscUtility::NowTimestamp(QStringLiteral("yyyyMMddhhmmss")));
    const QString tempName = baseName + QLatin1Char('p');
    const QString journalName = baseName + QLatin1Char('a');

    bool exists = false;
    if (m_pAPI->PathExists(journalFolder, exists) != 0 || !exists) {
        const int ret = m_pAPI->CreateFolder(journalFolder);
        if (ret != 0) {
            CLogger::Error(QStringLiteral("Handle TMR result file failed. ErrInfo=Cannot create folder %1, ErrCode=%2")
                               .arg(journalFolder, HexCode(ret)),
                           true);
            return ret;
        }
    }

    // TMR_FILE stays at 1 on a failed copy: a result is never declared
    // collected before it is safe.
    int ret = m_pAPI->CopyFile(resultFile, tempName);
    if (ret != 0) {
        CLogger::Error(QStringLiteral("Handle TMR result file failed. ErrInfo=Cannot copy result file %1 to %2, ErrCode=%3")
                           .arg(resultFile, tempName, HexCode(ret)),
                       true);
        return ret;
    }

    // The copy is safe, so the NC program may go on at once, even write its
    // next result, while the journal is committed and announced.
    ret = m_pAPI->WriteTmrFile(0);
    if (ret != 0)
        CLogger::Warn(QStringLiteral("Handle TMR result file failed. ErrInfo=Cannot set TMR_FILE to 0, ErrCode=%1").arg(ret),
                      true);

    // The rename is the commit: nobody takes a .cnp for a journal.
    ret = m_pAPI->MoveFile(tempName, journalName);
    if (ret != 0) {
        CLogger::Error(QStringLiteral("Handle TMR result file failed. ErrInfo=Cannot rename result file %1 to %2, ErrCode=%3")
                           .arg(tempName, journalName, HexCode(ret)),
                       true);
        return ret;
    }
    CLogger::Info(QStringLiteral("Handle TMR result file succeeded. ResultFile=%1").arg(journalName), true);

    if (!netRunning)
        return 0;

    if (m_pNC)
        m_pNC->SetReportFormStatusBarText(QStringLiteral("Sending journal file to NC Velmar"));
    const bool sent = CZynNetServerHost::NotifyJournalGenerated(journalName);
    if (!sent)
        CLogger::Error(QStringLiteral("Send TMR result file failed. ResultFile=%1, ErrInfo=No available clients")
                           .arg(CMiscUtility::GetFileName(journalName)),
                       true);
    if (m_pNC)
        m_pNC->SetReportFormStatusBarText(sent ? QStringLiteral("Waiting for NC Velmar to analyze data")
                                               : QStringLiteral("Send journal file to NC Velmar failed"));
    // The journal exists whether or not a client heard of it; the library
    // keeps it for the next one.
    return 0;
}

void CSiemensTmrResultMonitor::slotHotlinkResult(unsigned int handleID, const QVector<HotlinkResultType>& results)
{
    if (!m_pHotlink || handleID != m_pHotlink->HandleID() || results.isEmpty())
        return;

    const HotlinkResultType& result = results.first();
    if (result.errCode != 0) {
        CLogger::Error(QStringLiteral("Get TMR result file state failed. HandleID=%1, VarName=%2, ErrCode=%3")
                           .arg(handleID)
                           .arg(CMiscUtility::GetFileName(result.varName),
                                HexCode(static_cast<int>(result.errCode))),
                       true);
        return;
    }
    // Only 1 means a finished result; the 0 written back here comes round
    // again and is ignored with every other value.
    if (result.flag && result.value.toString().toInt() == 1)
        HandleTmrResultFile();
}
