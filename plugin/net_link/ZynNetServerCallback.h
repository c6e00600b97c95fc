#pragma once

#include <QList>
#include <QObject>
#include <QString>

// The bridge between the net server library's threads and the HMI main
// thread. The library calls the static functions below on threads of its
// own; each turns its C arguments into Qt values and emits a signal of the
// one instance. The signals carry their results by reference, which is
// only sound because every receiver is connected with
// Qt::BlockingQueuedConnection: the calling thread waits in the callback's
// frame until the slot has written the answer. Never connect them any other
// way across threads, and never call a callback from the main thread.
class CZynNetServerCallback : public QObject
{
    Q_OBJECT
public:
    static CZynNetServerCallback m_instance;

    CZynNetServerCallback();
    ~CZynNetServerCallback() override;

    static bool UploadFileCallback(const char* peer, int fileType, const char* filePath, char* errInfo,
                                   unsigned int errSize);
    static void GetJournalsCallback(const char* peer, const char* resultFile, bool succeeded);
    static bool RequestInteractiveCallback(const char* peer, const char* reqFile, const char* receivedFile,
                                           char* errInfo, unsigned int errSize);
    static bool GetInteractiveResultCallback(const char* peer, const char* reqFile, bool keep,
                                             const char* resultFile, char* errInfo, unsigned int errSize);
    static bool SelectProgramCallback(const char* peer, const char* prgFileName, char* errInfo,
                                      unsigned int errSize);
    static bool ReadRVarCallback(const char* peer, int index, int count, double* values, char* errInfo,
                                 unsigned int errSize);
    static bool WriteRVarCallback(const char* peer, int index, int count, const double* values, char* errInfo,
                                  unsigned int errSize);
    static bool SendMsgCallback(const char* peer, unsigned long long id, int type, int style,
                                const char* messageText, const char* inputName, int* clickedButton,
                                char* inputValue, unsigned int inputValueSize, char* errInfo,
                                unsigned int errSize);
    static bool ClientActionCallback(const char* peer, const char* callMethodName, int actionType);
    static bool GetLogFilesCallback(const char* peer, const char* logFileName, int sendState);
    static bool GetMachineConfigurationCallback(const char* peer, char* fileContent, unsigned int fileContentSize,
                                                char* errInfo, unsigned int errSize);
    static bool CheckFileExistsCallback(const char* peer, const char* fileName, bool* isExists, char* errInfo,
                                        unsigned int errSize);
    static bool DownloadFileCallback(const char* peer, const char* srcFileName, char* dstFileName,
                                     unsigned int dstFileNameSize, bool* dstFileNeedRemove, char* errInfo,
                                     unsigned int errSize);
    static bool GetCalibrationResultCallback(const char* peer, char* fileContent, unsigned int fileContentSize,
                                             char* errInfo, unsigned int errSize);
    static bool GetSkipPositionCallback(const char* peer, double* x, double* y, double* z, double* a, double* b,
                                        double* c, char* errInfo, unsigned int errSize);

signals:
    void signalUploadFile(const QString& peer, int fileType, const QString& filePath, bool& isOK,
                          QString& errInfo);
    void signalSelectProgram(const QString& peer, const QString& prgFileName, bool& isOK, QString& errInfo);
    void signalReadRVar(const QString& peer, int index, int count, QList<double>& values, bool& isOK,
                        QString& errInfo);
    void signalWriteRVar(const QString& peer, int index, int count, const QList<double>& values, bool& isOK,
                         QString& errInfo);
    void signalSendMsg(const QString& peer, unsigned long long id, int type, int style, const QString& messageText,
                       const QString& inputName, int& clickedButton, QString& inputValue, bool& isOK,
                       QString& errInfo);
    void signalClientAction(const QString& peer, const QString& callMethodName, int actionType);
    void signalGetLogFiles(const QString& peer, const QString& logFileName, int sendState);
    void signalGetMachineConfiguration(const QString& peer, QString& fileContent, bool& isOK, QString& errInfo);
    void signalCheckFileExists(const QString& peer, const QString& fileName, bool& isExists, bool& isOK,
                               QString& errInfo);
    void signalDownloadFile(const QString& peer, const QString& srcFileName, QString& dstFileName,
                            bool& dstFileNeedRemove, bool& isOK, QString& errInfo);
    void signalGetCalibrationResult(const QString& peer, QString& fileContent, bool& isOK, QString& errInfo);
    void signalReceivedReqFile(const QString& reqFilePath);
    void signalGetSkipPosition(const QString& peer, double& x, double& y, double& z, double& a, double& b,
                               double& c, bool& isOK, QString& errInfo);

protected:
    void connectNotify(const QMetaMethod& signal) override;

private slots:
    // Connected first to every signal in thread-checked builds: see the
    // constructor.
    void slotHandingOver();
};
