#include "NetReceiver.h"

#include "ZynNetServerCallback.h"

#include <algorithm>
#include <iterator>

bool NetReceiver::Connect(CZynNetServerCallback* bridge)
{
    using B = CZynNetServerCallback;
    const Qt::ConnectionType type = Qt::BlockingQueuedConnection;
    const bool made[] = {
        bool(connect(bridge, &B::signalUploadFile, this, &NetReceiver::slotUploadFile, type)),
        bool(connect(bridge, &B::signalSelectProgram, this, &NetReceiver::slotSelectProgram, type)),
        bool(connect(bridge, &B::signalReadRVar, this, &NetReceiver::slotReadRVar, type)),
        bool(connect(bridge, &B::signalWriteRVar, this, &NetReceiver::slotWriteRVar, type)),
        bool(connect(bridge, &B::signalSendMsg, this, &NetReceiver::slotSendMsg, type)),
        bool(connect(bridge, &B::signalClientAction, this, &NetReceiver::slotClientAction, type)),
        bool(connect(bridge, &B::signalGetLogFiles, this, &NetReceiver::slotGetLogFiles, type)),
        bool(connect(bridge, &B::signalGetMachineConfiguration, this, &NetReceiver::slotGetMachineConfiguration, type)),
        bool(connect(bridge, &B::signalCheckFileExists, this, &NetReceiver::slotCheckFileExists, type)),
        bool(connect(bridge, &B::signalDownloadFile, this, &NetReceiver::slotDownloadFile, type)),
        bool(connect(bridge, &B::signalGetCalibrationResult, this, &NetReceiver::slotGetCalibrationResult, type)),
        bool(connect(bridge, &B::signalReceivedReqFile, this, &NetReceiver::slotReceivedReqFile, type)),
        bool(connect(bridge, &B::signalGetSkipPosition, this, &NetReceiver::slotGetSkipPosition, type)),
    };
    return std::count(std::begin(made), std::end(made), true) == 13;
}

void NetReceiver::Disconnect(CZynNetServerCallback* bridge)
{
    bridge->disconnect(this);
}

void NetReceiver::Answer(const QString& call, const QString& peer, bool& isOK, QString& errInfo)
{
    ++slotsEntered;
    calls << call;
    lastPeer = peer;
    isOK = answerOK;
    if (!answerOK)
        errInfo = answerErrInfo;
}

void NetReceiver::slotUploadFile(const QString& peer, int fileType, const QString& filePath, bool& isOK, QString& errInfo)
{
    lastFile = filePath;
    Answer(QStringLiteral("UploadFile %1").arg(fileType), peer, isOK, errInfo);
}

void NetReceiver::slotSelectProgram(const QString& peer, const QString& prgFileName, bool& isOK, QString& errInfo)
{
    lastFile = prgFileName;
    Answer(QStringLiteral("SelectProgram"), peer, isOK, errInfo);
}

void NetReceiver::slotReadRVar(const QString& peer, int index, int count, QList<double>& values, bool& isOK,
                               QString& errInfo)
{
    values = answerValues;
    Answer(QStringLiteral("ReadRVar %1 %2").arg(index).arg(count), peer, isOK, errInfo);
}

void NetReceiver::slotWriteRVar(const QString& peer, int index, int count, const QList<double>& values, bool& isOK,
                                QString& errInfo)
{
    lastValues = values;
    Answer(QStringLiteral("WriteRVar %1 %2").arg(index).arg(count), peer, isOK, errInfo);
}

void NetReceiver::slotSendMsg(const QString& peer, unsigned long long id, int type, int style,
                              const QString& messageText, const QString& inputName, int& clickedButton,
                              QString& inputValue, bool& isOK, QString& errInfo)
{
    clickedButton = answerButton;
    inputValue = answerText;
    Answer(QStringLiteral("SendMsg %1 %2 %3 %4 %5").arg(id).arg(type).arg(style).arg(messageText, inputName), peer,
           isOK, errInfo);
}

void NetReceiver::slotClientAction(const QString& peer, const QString& callMethodName, int actionType)
{
    clientActions << QStringLiteral("%1 %2 %3").arg(peer, callMethodName).arg(actionType);
}

void NetReceiver::slotGetLogFiles(const QString& peer, const QString& logFileName, int sendState)
{
    logFileStates << QStringLiteral("%1 %2 %3").arg(peer, logFileName).arg(sendState);
}

void NetReceiver::slotGetMachineConfiguration(const QString& peer, QString& fileContent, bool& isOK, QString& errInfo)
{
    fileContent = answerText;
    Answer(QStringLiteral("GetMachineConfiguration"), peer, isOK, errInfo);
}

void NetReceiver::slotCheckFileExists(const QString& peer, const QString& fileName, bool& isExists, bool& isOK,
                                      QString& errInfo)
{
    lastFile = fileName;
    isExists = answerFlag;
    Answer(QStringLiteral("CheckFileExists"), peer, isOK, errInfo);
}

void NetReceiver::slotDownloadFile(const QString& peer, const QString& srcFileName, QString& dstFileName,
                                   bool& dstFileNeedRemove, bool& isOK, QString& errInfo)
{
    lastFile = srcFileName;
    dstFileName = answerText;
    dstFileNeedRemove = answerFlag;
    Answer(QStringLiteral("DownloadFile"), peer, isOK, errInfo);
}

void NetReceiver::slotGetCalibrationResult(const QString& peer, QString& fileContent, bool& isOK, QString& errInfo)
{
    fileContent = answerText;
    Answer(QStringLiteral("GetCalibrationResult"), peer, isOK, errInfo);
}

void NetReceiver::slotReceivedReqFile(const QString& reqFilePath)
{
    receivedReqFiles << reqFilePath;
    if (onReqFile)
        onReqFile(reqFilePath);
}

void NetReceiver::slotGetSkipPosition(const QString& peer, double& x, double& y, double& z, double& a, double& b,
                                      double& c, bool& isOK, QString& errInfo)
{
    // Six values a step apart, so that a swap shows.
    x = answerPosition;
    y = x + 1;
    z = x + 2;
    a = x + 3;
    b = x + 4;
    c = x + 5;
    Answer(QStringLiteral("GetSkipPosition"), peer, isOK, errInfo);
}
