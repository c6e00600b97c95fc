#include "ZynNetServerHost.h"

#include "Logger.h"
#include "MiscUtility.h"
#include "ZynNetServerCallback.h"

#include <QByteArray>

#include <cstring>
#include <vector>

QLibrary CZynNetServerHost::m_qLib;
bool CZynNetServerHost::m_isRunning = false;
QString CZynNetServerHost::m_applDir;
QString CZynNetServerHost::m_libFilePath;
QString CZynNetServerHost::m_journalDir;
QString CZynNetServerHost::m_reqDir;
char** CZynNetServerHost::m_pAxesNameBuf = nullptr;
double* CZynNetServerHost::m_pAxesPosBuf = nullptr;

namespace {
const int kDirBufferSize = ZYN_DIR_BUFFER_SIZE;
const int kMaxAxes = ZYN_MAX_AXES;
const int kAxisNameSize = ZYN_AXIS_NAME_SIZE;
} // namespace

bool CZynNetServerHost::Initialize(const QString& applDir)
{
    m_applDir = applDir;
    m_libFilePath = QStringLiteral("%1/libZynNetServer.so").arg(applDir);

    // Made once and never freed: axis positions are sent on every update of
    // the hotlink, and the buffers are reused so that an update allocates
    // nothing. They live as long as the process.
    if (!m_pAxesNameBuf) {
        m_pAxesNameBuf = new char*[kMaxAxes];
        for (int i = 0; i < kMaxAxes; ++i)
            m_pAxesNameBuf[i] = new char[kAxisNameSize]();
    }
    if (!m_pAxesPosBuf)
        m_pAxesPosBuf = new double[kMaxAxes]();
    return true;
}

QFunctionPointer CZynNetServerHost::Resolve(const char* name)
{
    // Resolved at every use: an older library may lack an entry point, and
    // then only that one operation is missing.
    return m_qLib.isLoaded() ? m_qLib.resolve(name) : nullptr;
}

bool CZynNetServerHost::Start(bool enable, const QString& ip, unsigned short port)
{
    Stop();
    if (!enable)
        return true;

    m_qLib.setFileName(m_libFilePath);
    if (!m_qLib.load() || !m_qLib.isLoaded()) {
        CLogger::Error(QStringLiteral("Cannot start ZYN Net Server. ErrInfo=%1").arg(m_qLib.errorString()), true);
        return false;
    }

    auto createInstance = reinterpret_cast<ZynCreateInstanceFn>(Resolve("CreateInstance"));
    if (!createInstance) {
        CLogger::Error(QStringLiteral("Cannot start ZYN Net Server. ErrInfo=CreateInstance not found"), true);
        return false;
    }

    void* callbacks[ZYN_CALLBACK_COUNT] = {};
    callbacks[ZYN_CB_UPLOAD_FILE] = reinterpret_cast<void*>(&CZynNetServerCallback::UploadFileCallback);
    callbacks[ZYN_CB_GET_JOURNALS] = reinterpret_cast<void*>(&CZynNetServerCallback::GetJournalsCallback);
    callbacks[ZYN_CB_REQUEST_INTERACTIVE] =
        reinterpret_cast<void*>(&CZynNetServerCallback::RequestInteractiveCallback);
    callbacks[ZYN_CB_GET_INTERACTIVE_RESULT] =
        reinterpret_cast<void*>(&CZynNetServerCallback::GetInteractiveResultCallback);
    callbacks[ZYN_CB_SELECT_PROGRAM] = reinterpret_cast<void*>(&CZynNetServerCallback::SelectProgramCallback);
    callbacks[ZYN_CB_READ_RVAR] = reinterpret_cast<void*>(&CZynNetServerCallback::ReadRVarCallback);
    callbacks[ZYN_CB_WRITE_RVAR] = reinterpret_cast<void*>(&CZynNetServerCallback::WriteRVarCallback);
    callbacks[ZYN_CB_SEND_MSG] = reinterpret_cast<void*>(&CZynNetServerCallback::SendMsgCallback);
    callbacks[ZYN_CB_CLIENT_ACTION] = reinterpret_cast<void*>(&CZynNetServerCallback::ClientActionCallback);
    callbacks[ZYN_CB_GET_LOG_FILES] = reinterpret_cast<void*>(&CZynNetServerCallback::GetLogFilesCallback);
    callbacks[ZYN_CB_GET_MACHINE_CONFIGURATION] =
        reinterpret_cast<void*>(&CZynNetServerCallback::GetMachineConfigurationCallback);
    callbacks[ZYN_CB_CHECK_FILE_EXISTS] =
        reinterpret_cast<void*>(&CZynNetServerCallback::CheckFileExistsCallback);
    callbacks[ZYN_CB_DOWNLOAD_FILE] = reinterpret_cast<void*>(&CZynNetServerCallback::DownloadFileCallback);
    callbacks[ZYN_CB_GET_CALIBRATION_RESULT] =
        reinterpret_cast<void*>(&CZynNetServerCallback::GetCalibrationResultCallback);
    callbacks[ZYN_CB_GET_SKIP_POSITION] =
        reinterpret_cast<void*>(&CZynNetServerCallback::GetSkipPositionCallback);

    char journalDir[kDirBufferSize] = {};
    char reqDir[kDirBufferSize] = {};
    createInstance(m_applDir.toLocal8Bit().constData(), callbacks, ZYN_CALLBACK_COUNT, journalDir, kDirBufferSize,
                   reqDir, kDirBufferSize);
    m_journalDir = CMiscUtility::NormalizePath(journalDir);
    m_reqDir = CMiscUtility::NormalizePath(reqDir);

    auto startServer = reinterpret_cast<ZynStartServerFn>(Resolve("StartServer"));
    if (!startServer) {
        CLogger::Error(QStringLiteral("Cannot start ZYN Net Server. ErrInfo=StartServer not found"), true);
        return false;
    }
    if (!startServer(ip.toLocal8Bit().constData(), port)) {
        // The library has written its own reason into its log beside it.
        CLogger::Error(QStringLiteral("Cannot start ZYN Net Server. ErrInfo=Failed to call StartServer"), true);
        return false;
    }

    CLogger::Info(QStringLiteral("Start ZYN Net Server succeeded. Address=%1:%2").arg(ip).arg(port), true);
    m_isRunning = true;
    return true;
}

void CZynNetServerHost::Stop()
{
    if (m_qLib.isLoaded()) {
        // Stop before release before unload: the server must have let go of
        // every call before the callback table is forgotten, and the table
        // before the code goes.
        if (auto stopServer = reinterpret_cast<ZynStopServerFn>(Resolve("StopServer")))
            stopServer();
        if (auto releaseInstance = reinterpret_cast<ZynReleaseInstanceFn>(Resolve("ReleaseInstance")))
            releaseInstance();
        m_qLib.unload();
        CLogger::Info(QStringLiteral("Stop ZYN Net Server succeeded."), true);
    }
    m_isRunning = false;
}

bool CZynNetServerHost::NotifyJournalGenerated(const QString& journalFile)
{
    auto notify = reinterpret_cast<ZynNotifyJournalFn>(Resolve("NotifyJournal"));
    if (!notify)
        return false;
    return notify(journalFile.toLocal8Bit().constData());
}

bool CZynNetServerHost::NotifyProgramStatusChanged(tagZynProgStatus status, bool flag, const QString& program,
                                                   const QString& text)
{
    auto notify = reinterpret_cast<ZynNotifyProgramStatusFn>(Resolve("NotifyProgramStatus"));
    if (!notify)
        return false;
    return notify(static_cast<int>(status), flag, program.toLocal8Bit().constData(),
                  text.toLocal8Bit().constData());
}

bool CZynNetServerHost::NotifyMachineStatusChanged(tagZynMachStatus status, bool flag, const QString& text1,
                                                   const QString& text2, const QString& text3)
{
    auto notify = reinterpret_cast<ZynNotifyMachineStatusFn>(Resolve("NotifyMachineStatus"));
    if (!notify)
        return false;
    // The library wants the flag last here, unlike for the program status.
    return notify(static_cast<int>(status), text1.toLocal8Bit().constData(), text2.toLocal8Bit().constData(),
                  text3.toLocal8Bit().constData(), flag);
}

bool CZynNetServerHost::NotifyLogFileSending(const QString& file, const QList<QString>& peers)
{
    if (file.isEmpty() || peers.isEmpty())
        return false;
    auto notify = reinterpret_cast<ZynNotifyLogFileFn>(Resolve("NotifyLogFile"));
    if (!notify)
        return false;

    // The copies need only last for the call; the library keeps its own.
    std::vector<QByteArray> copies;
    copies.reserve(static_cast<size_t>(peers.size()));
    std::vector<const char*> pointers(static_cast<size_t>(peers.size()), nullptr);
    for (int i = 0; i < peers.size(); ++i) {
        copies.push_back(peers.at(i).toLocal8Bit());
        pointers[static_cast<size_t>(i)] = copies.back().constData();
    }
    return notify(file.toLocal8Bit().constData(), pointers.data(), peers.size());
}

bool CZynNetServerHost::NotifyAxisPosChanged(const QList<tagAxisInfo>& axes)
{
    if (axes.isEmpty() || !m_pAxesNameBuf || !m_pAxesPosBuf)
        return false;
    auto notify = reinterpret_cast<ZynNotifyAxisPosFn>(Resolve("NotifyAxisPos"));
    if (!notify)
        return false;

    // The interface takes 30 axes of 15-byte names; what lies beyond is
    // dropped rather than refused, so that a big machine still reports the
    // axes that fit.
    const int count = qMin(axes.size(), kMaxAxes);
    for (int i = 0; i < count; ++i) {
        const tagAxisInfo& axis = axes.at(i);
        m_pAxesPosBuf[i] = axis.value;
        char* name = m_pAxesNameBuf[i];
        if (!name)
            return false;
        const QByteArray bytes = axis.name.toLocal8Bit().left(kAxisNameSize - 1);
        std::memcpy(name, bytes.constData(), static_cast<size_t>(bytes.size()));
        name[bytes.size()] = '\0';
    }
    return notify(m_pAxesNameBuf, m_pAxesPosBuf, count);
}
