#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>

class CZynNetServerCallback;

// Stands where the component will stand: in the main thread, on the other
// end of the thirteen blocking connections, answering what a test told it
// to and keeping what arrived.
class NetReceiver : public QObject
{
    Q_OBJECT
public:
    // The connections exactly as the component makes them; true if all
    // thirteen were made.
    bool Connect(CZynNetServerCallback* bridge);
    void Disconnect(CZynNetServerCallback* bridge);

    // Answers
    bool answerOK = true;
    QString answerErrInfo;
    QList<double> answerValues;
    QString answerText;      // document, download file, input value
    bool answerFlag = false; // exists, remove after download
    int answerButton = 0;
    double answerPosition = 0.0;

    // What came
    QStringList calls;       // one line per slot call: name and arguments
    QString lastPeer;
    QList<double> lastValues;
    QString lastFile;
    QStringList receivedReqFiles;
    QStringList clientActions;  // "peer method action"
    QStringList logFileStates;  // "peer file state"
    std::atomic<int> slotsEntered{0};

    // What the machine does with a request file it was told of.
    std::function<void(const QString&)> onReqFile;

public slots:
    void slotUploadFile(const QString& peer, int fileType, const QString& filePath, bool& isOK, QString& errInfo);
    void slotSelectProgram(const QString& peer, const QString& prgFileName, bool& isOK, QString& errInfo);
    void slotReadRVar(const QString& peer, int index, int count, QList<double>& values, bool& isOK,
                      QString& errInfo);
    void slotWriteRVar(const QString& peer, int index, int count, const QList<double>& values, bool& isOK,
                       QString& errInfo);
    void slotSendMsg(const QString& peer, unsigned long long id, int type, int style, const QString& messageText,
                     const QString& inputName, int& clickedButton, QString& inputValue, bool& isOK,
                     QString& errInfo);
    void slotClientAction(const QString& peer, const QString& callMethodName, int actionType);
    void slotGetLogFiles(const QString& peer, const QString& logFileName, int sendState);
    void slotGetMachineConfiguration(const QString& peer, QString& fileContent, bool& isOK, QString& errInfo);
    void slotCheckFileExists(const QString& peer, const QString& fileName, bool& isExists, bool& isOK,
                             QString& errInfo);
    void slotDownloadFile(const QString& peer, const QString& srcFileName, QString& dstFileName,
                          bool& dstFileNeedRemove, bool& isOK, QString& errInfo);
    void slotGetCalibrationResult(const QString& peer, QString& fileContent, bool& isOK, QString& errInfo);
    void slotReceivedReqFile(const QString& reqFilePath);
    void slotGetSkipPosition(const QString& peer, double& x, double& y, double& z, double& a, double& b,
                             double& c, bool& isOK, QString& errInfo);

private:
    void Answer(const QString& call, const QString& peer, bool& isOK, QString& errInfo);
};
