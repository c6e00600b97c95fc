#include "ZynNetServerCallback.h"

#include "Logger.h"
#include "MiscUtility.h"
#include "ZynNetClientCollect.h"
#include "ZynNetServer.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QMetaMethod>
#include <QThread>

#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#endif

CZynNetServerCallback CZynNetServerCallback::m_instance;

namespace {
// Peers and the library's method names are plain ASCII.
QString FromAscii(const char* text)
{
    return QString::fromLatin1(text);
}

// Names of files the library made itself, in its own folders: decoded as
// QFile encodes, so that the name finds the same file again whatever bytes
// a client chose for it.
QString FromFileSystem(const char* path)
{
    return path ? QFile::decodeName(path) : QString();
}

#if defined(__SANITIZE_THREAD__)
// ThreadSanitizer cannot see the hand-over of a blocking queued signal: Qt
// posts the call to the main thread and waits on a semaphore, both inside
// libQt5Core, which is not built for thread checks. It would take the
// arguments the slot reads from the waiting callback's frame, and the
// answers the slot writes there, for races. So the bridge marks the
// hand-over: the library's thread releases toMainThread once the arguments
// are in place (slotHandingOver), the main thread acquires it before it
// delivers a queued call and releases fromMainThread after it
// (DeliverMarked), and the library's thread acquires that when its emit
// returns (BackFromMainThread); a receiver called directly on the
// library's thread is ordered after its connection the same way
// (connectNotify). The marks are per thread, not per call: a queued call
// the main thread delivers while a callback waits is ordered with that
// callback too, which could hide a race, never invent one.
char toMainThread;
char fromMainThread;
// A receiver connected in one thread and called directly in the library's:
// Qt publishes the connection under a lock inside libQt5Core as well.
char connected;
// The event the main thread is delivering through DeliverMarked, so that
// the delivery it starts itself passes; a slot's nested event loop
// delivers others, which are marked in turn.
thread_local QEvent* delivering = nullptr;

bool DeliverMarked(void** data)
{
    QObject* const receiver = static_cast<QObject*>(data[0]);
    QEvent* const event = static_cast<QEvent*>(data[1]);
    if (event->type() != QEvent::MetaCall || event == delivering
        || QThread::currentThread() != CZynNetServerCallback::m_instance.thread())
        return false;
    QEvent* const outer = delivering;
    delivering = event;
    __tsan_acquire(&toMainThread);
    *static_cast<bool*>(data[2]) = QCoreApplication::sendEvent(receiver, event);
    __tsan_release(&fromMainThread);
    delivering = outer;
    return true;
}
#endif

// After every emit: the main thread's slot is done with the callback's
// frame.
void BackFromMainThread()
{
#if defined(__SANITIZE_THREAD__)
    __tsan_acquire(&fromMainThread);
#endif
}
} // namespace

CZynNetServerCallback::CZynNetServerCallback()
{
#if defined(__SANITIZE_THREAD__)
    // Qt calls a signal's connections in the order they were made, so this
    // one runs in the emitting thread ahead of every receiver's, with all
    // arguments in place. The host's main thread delivers queued calls
    // through Qt's event notification, the one hook every host has.
    const QMetaObject& meta = staticMetaObject;
    const QMetaMethod handingOver = meta.method(meta.indexOfSlot("slotHandingOver()"));
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Signal)
            connect(this, meta.method(i), this, handingOver, Qt::DirectConnection);
    }
    QInternal::registerCallback(QInternal::EventNotifyCallback, DeliverMarked);
#endif
}

CZynNetServerCallback::~CZynNetServerCallback()
{
#if defined(__SANITIZE_THREAD__)
    QInternal::unregisterCallback(QInternal::EventNotifyCallback, DeliverMarked);
#endif
}

void CZynNetServerCallback::connectNotify(const QMetaMethod& signal)
{
    Q_UNUSED(signal);
#if defined(__SANITIZE_THREAD__)
    __tsan_release(&connected);
#endif
}

void CZynNetServerCallback::slotHandingOver()
{
#if defined(__SANITIZE_THREAD__)
    __tsan_acquire(&connected);
    __tsan_release(&toMainThread);
#endif
}

bool CZynNetServerCallback::UploadFileCallback(const char* peer, int fileType, const char* filePath,
                                               char* errInfo, unsigned int errSize)
{
    bool isOK = false;
    QString errText;
    emit m_instance.signalUploadFile(FromAscii(peer), fileType, QString::fromUtf8(filePath), isOK, errText);
    BackFromMainThread();
    CMiscUtility::QStr2CharArray(errText, errInfo, errSize);
    return isOK;
}

void CZynNetServerCallback::GetJournalsCallback(const char* peer, const char* resultFile, bool succeeded)
{
    if (succeeded)
        CLogger::Info(QStringLiteral("Send result file succeeded. Peer=%1, ResultFile=%2")
                          .arg(FromAscii(peer), FromFileSystem(resultFile)),
                      true);
    else
        CLogger::Error(QStringLiteral("Send result file failed. Peer=%1, ResultFile=%2")
                           .arg(FromAscii(peer), FromFileSystem(resultFile)),
                       true);
}

bool CZynNetServerCallback::RequestInteractiveCallback(const char* peer, const char* reqFile,
                                                       const char* receivedFile, char* errInfo,
                                                       unsigned int errSize)
{
    // Only the last suffix goes, and the file stays in its folder: the
    // request processor must hear of the file under its final name only, so
    // the rename comes before the announcement.
    const QString received = FromFileSystem(receivedFile);
    const QString reqPath = CMiscUtility::GetFilePath(received) + CMiscUtility::GetFileNameNoSuffix(received, '.')
                            + QStringLiteral(".req");
    const bool renamed = CMiscUtility::RenameFile(received, reqPath, true);
    const QString errText = renamed ? QString() : QStringLiteral("Cannot rename file");
    CMiscUtility::QStr2CharArray(errText, errInfo, errSize);

    if (renamed) {
        CLogger::Info(QStringLiteral("Receive req file succeeded. Peer=%1, ReqFile=%2")
                          .arg(FromAscii(peer), FromFileSystem(reqFile)),
                      true);
        emit m_instance.signalReceivedReqFile(reqPath);
        BackFromMainThread();
    } else {
        CLogger::Error(QStringLiteral("Receive req file failed. Peer=%1, ReqFile=%2, ErrInfo=%3")
                           .arg(FromAscii(peer), FromFileSystem(reqFile), errText),
                       true);
    }
    return renamed;
}

bool CZynNetServerCallback::GetInteractiveResultCallback(const char* peer, const char* reqFile, bool keep,
                                                         const char* resultFile, char* errInfo,
                                                         unsigned int errSize)
{
    // What keep means is the library's affair; the plug-in only removes an
    // answer when told to.
    const bool result = keep ? true : CMiscUtility::RemoveFile(FromFileSystem(resultFile));
    CMiscUtility::QStr2CharArray(QString(), errInfo, errSize);
    return result;
}

bool CZynNetServerCallback::SelectProgramCallback(const char* peer, const char* prgFileName, char* errInfo,
                                                  unsigned int errSize)
{
    bool isOK = false;
    QString errText;
    emit m_instance.signalSelectProgram(FromAscii(peer), QString::fromUtf8(prgFileName), isOK, errText);
    BackFromMainThread();
    CMiscUtility::QStr2CharArray(errText, errInfo, errSize);
    return isOK;
}

bool CZynNetServerCallback::ReadRVarCallback(const char* peer, int index, int count, double* values,
                                             char* errInfo, unsigned int errSize)
{
    bool isOK = false;
    QString errText;
    QList<double> list;
    emit m_instance.signalReadRVar(FromAscii(peer), index, count, list, isOK, errText);
    BackFromMainThread();
    CMiscUtility::QStr2CharArray(errText, errInfo, errSize);
    // The library's buffer holds exactly count doubles; an answer of any
    // other length is not written, so that it can never overrun.
    if (isOK && values && count >= 1 && list.size() == count) {
        for (int i = 0; i < count; ++i)
            values[i] = list.at(i);
    }
    return isOK;
}

bool CZynNetServerCallback::WriteRVarCallback(const char* peer, int index, int count, const double* values,
                                              char* errInfo, unsigned int errSize)
{
    bool isOK = false;
    QString errText;
    // Without values the list stays empty and the service refuses it, which
    // answers the client better than a refusal here would.
    QList<double> list;
    if (values && count >= 1) {
        list.reserve(count);
        for (int i = 0; i < count; ++i)
            list.append(values[i]);
    }
    emit m_instance.signalWriteRVar(FromAscii(peer), index, count, list, isOK, errText);
    BackFromMainThread();
    CMiscUtility::QStr2CharArray(errText, errInfo, errSize);
    return isOK;
}

bool CZynNetServerCallback::SendMsgCallback(const char* peer, unsigned long long id, int type, int style,
                                            const char* messageText, const char* inputName, int* clickedButton,
                                            char* inputValue, unsigned int inputValueSize, char* errInfo,
                                            unsigned int errSize)
{
    bool isOK = false;
    QString errText;
    int button = 0;
    QString input;
    // Returns when the operator has answered, however long that takes.
    emit m_instance.signalSendMsg(FromAscii(peer), id, type, style, QString::fromUtf8(messageText),
                                  QString::fromUtf8(inputName), button, input, isOK, errText);
    BackFromMainThread();
    if (clickedButton)
        *clickedButton = button;
    CMiscUtility::QStr2CharArray(input, inputValue, inputValueSize);
    CMiscUtility::QStr2CharArray(errText, errInfo, errSize);
    return isOK;
}

bool CZynNetServerCallback::ClientActionCallback(const char* peer, const char* callMethodName, int actionType)
{
    const QString peerText = FromAscii(peer);
    const QString method = FromAscii(callMethodName);
    if (actionType == ZYN_CLIENT_DISCONNECTED)
        CLogger::Info(QStringLiteral("ZYN Net client disconnected. Peer=%1").arg(peerText), true);
    else if (actionType == ZYN_CLIENT_CONNECTED)
        CLogger::Info(QStringLiteral("ZYN Net client connected. Peer=%1, Method=%2").arg(peerText, method), true);

    // Only 1 is a departure; any other value counts as an arrival.
    CZynNetClientCollect::AddOrUpdateClient(peerText, method, actionType == ZYN_CLIENT_DISCONNECTED);
    emit m_instance.signalClientAction(peerText, method, actionType);
    BackFromMainThread();
    return true;
}

bool CZynNetServerCallback::GetLogFilesCallback(const char* peer, const char* logFileName, int sendState)
{
    emit m_instance.signalGetLogFiles(FromAscii(peer), FromFileSystem(logFileName), sendState);
    BackFromMainThread();
    return true;
}

bool CZynNetServerCallback::GetMachineConfigurationCallback(const char* peer, char* fileContent,
                                                            unsigned int fileContentSize, char* errInfo,
                                                            unsigned int errSize)
{
    bool isOK = false;
    QString errText;
    QString content;
    emit m_instance.signalGetMachineConfiguration(FromAscii(peer), content, isOK, errText);
    BackFromMainThread();
    // A document longer than the buffer is cut, and still a success: the
    // library's size is part of the interface.
    CMiscUtility::QStr2CharArray(content, fileContent, fileContentSize);
    CMiscUtility::QStr2CharArray(errText, errInfo, errSize);
    return isOK;
}

bool CZynNetServerCallback::CheckFileExistsCallback(const char* peer, const char* fileName, bool* isExists,
                                                    char* errInfo, unsigned int errSize)
{
    bool isOK = false;
    QString errText;
    bool exists = false;
    emit m_instance.signalCheckFileExists(FromAscii(peer), QString::fromUtf8(fileName), exists, isOK, errText);
    BackFromMainThread();
    if (isExists)
        *isExists = exists;
    CMiscUtility::QStr2CharArray(errText, errInfo, errSize);
    return isOK;
}

bool CZynNetServerCallback::DownloadFileCallback(const char* peer, const char* srcFileName, char* dstFileName,
                                                 unsigned int dstFileNameSize, bool* dstFileNeedRemove,
                                                 char* errInfo, unsigned int errSize)
{
    bool isOK = false;
    QString errText;
    QString dstFile;
    bool needRemove = false;
    emit m_instance.signalDownloadFile(FromAscii(peer), QString::fromUtf8(srcFileName), dstFile, needRemove, isOK,
                                       errText);
    BackFromMainThread();
    if (dstFileNeedRemove)
        *dstFileNeedRemove = needRemove;
    CMiscUtility::QStr2CharArray(dstFile, dstFileName, dstFileNameSize);
    CMiscUtility::QStr2CharArray(errText, errInfo, errSize);
    return isOK;
}

bool CZynNetServerCallback::GetCalibrationResultCallback(const char* peer, char* fileContent,
                                                         unsigned int fileContentSize, char* errInfo,
                                                         unsigned int errSize)
{
    bool isOK = false;
    QString errText;
    QString content;
    emit m_instance.signalGetCalibrationResult(FromAscii(peer), content, isOK, errText);
    BackFromMainThread();
    CMiscUtility::QStr2CharArray(content, fileContent, fileContentSize);
    CMiscUtility::QStr2CharArray(errText, errInfo, errSize);
    return isOK;
}

bool CZynNetServerCallback::GetSkipPositionCallback(const char* peer, double* x, double* y, double* z, double* a,
                                                    double* b, double* c, char* errInfo, unsigned int errSize)
{
    bool isOK = false;
    QString errText;
    double px = 0.0, py = 0.0, pz = 0.0, pa = 0.0, pb = 0.0, pc = 0.0;
    emit m_instance.signalGetSkipPosition(FromAscii(peer), px, py, pz, pa, pb, pc, isOK, errText);
    BackFromMainThread();
    if (x)
        *x = px;
    if (y)
        *y = py;
    if (z)
        *z = pz;
    if (a)
        *a = pa;
    if (b)
        *b = pb;
    if (c)
        *c = pc;
    CMiscUtility::QStr2CharArray(errText, errInfo, errSize);
    return isOK;
}
