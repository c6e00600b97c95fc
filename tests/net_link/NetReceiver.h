#pragma once

#include "ZynNetServerCallback.h"

#include <QObject>
#include <QStringList>

#include <functional>

// Stands where the component stands: in the main thread, on the other end of
// blocking connections, answering as a test told it and keeping what came.
class NetReceiver : public QObject
{
    Q_OBJECT
public:
    bool Connect(CZynNetServerCallback* b)
    {
        using B = CZynNetServerCallback;
        using R = NetReceiver;
        const auto t = Qt::BlockingQueuedConnection;
        return connect(b, &B::signalSelectProgram, this, &R::slotSelectProgram, t)
            && connect(b, &B::signalReadRVar, this, &R::slotReadRVar, t)
            && connect(b, &B::signalWriteRVar, this, &R::slotWriteRVar, t)
            && connect(b, &B::signalSendMsg, this, &R::slotSendMsg, t)
            && connect(b, &B::signalClientAction, this, &R::slotClientAction, t)
            && connect(b, &B::signalGetLogFiles, this, &R::slotGetLogFiles, t)
            && connect(b, &B::signalGetCalibrationResult, this, &R::slotGetCalibrationResult, t)
            && connect(b, &B::signalReceivedReqFile, this, &R::slotReceivedReqFile, t)
            && connect(b, &B::signalGetSkipPosition, this, &R::slotGetSkipPosition, t);
    }
    void Disconnect(CZynNetServerCallback* bridge) { bridge->disconnect(this); }

    bool answerOK = true;
    QString answerErrInfo;
    QList<double> answerValues;
    QString answerText; // document, input value
    int answerButton = 0;
    double answerPosition = 0.0;

    QStringList calls; // name and arguments of each answered call
    QString lastPeer;
    QList<double> lastValues;
    QString lastFile;
    QStringList receivedReqFiles;
    QStringList clientActions; // "peer method action"
    QStringList logFileStates; // "peer file state"
    std::function<void(const QString&)> onReqFile;

public slots:
    void slotSelectProgram(const QString& peer, const QString& file, bool& isOK, QString& errInfo)
    {
        lastFile = file;
        Answer("SelectProgram", peer, isOK, errInfo);
    }
    void slotReadRVar(const QString& peer, int index, int count, QList<double>& values, bool& isOK, QString& errInfo)
    {
        values = answerValues;
        Answer(QStringLiteral("ReadRVar %1 %2").arg(index).arg(count), peer, isOK, errInfo);
    }
    void slotWriteRVar(const QString& peer, int index, int count, const QList<double>& values, bool& isOK,
                       QString& errInfo)
    {
        lastValues = values;
        Answer(QStringLiteral("WriteRVar %1 %2").arg(index).arg(count), peer, isOK, errInfo);
    }
    void slotSendMsg(const QString& peer, unsigned long long id, int type, int style, const QString& text,
                     const QString& inputName, int& button, QString& input, bool& isOK, QString& errInfo)
    {
        button = answerButton;
        input = answerText;
        Answer(QStringLiteral("SendMsg %1 %2 %3 %4 %5").arg(id).arg(type).arg(style).arg(text, inputName), peer, isOK,
               errInfo);
    }
    void slotClientAction(const QString& peer, const QString& method, int action)
    {
        clientActions << QStringLiteral("%1 %2 %3").arg(peer, method).arg(action);
    }
    void slotGetLogFiles(const QString& peer, const QString& file, int state)
    {
        logFileStates << QStringLiteral("%1 %2 %3").arg(peer, file).arg(state);
    }
    void slotGetCalibrationResult(const QString& peer, QString& content, bool& isOK, QString& errInfo)
    {
        content = answerText;
        Answer("GetCalibrationResult", peer, isOK, errInfo);
    }
    void slotReceivedReqFile(const QString& path)
    {
        receivedReqFiles << path;
        if (onReqFile)
            onReqFile(path);
    }
    // Six values a step apart, so that a swap shows.
    void slotGetSkipPosition(const QString& peer, double& x, double& y, double& z, double& a, double& b, double& c,
                             bool& isOK, QString& errInfo)
    {
        double* axes[] = {&x, &y, &z, &a, &b, &c};
        for (int i = 0; i < 6; ++i)
            *axes[i] = answerPosition + i;
        Answer("GetSkipPosition", peer, isOK, errInfo);
    }

private:
    void Answer(const QString& call, const QString& peer, bool& isOK, QString& errInfo)
    {
        calls << call;
        lastPeer = peer;
        isOK = answerOK;
        if (!answerOK)
            errInfo = answerErrInfo;
    }
};
