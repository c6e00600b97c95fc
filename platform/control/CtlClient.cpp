#include "CtlClient.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>

CtlResult CtlClient::call(const QString& machineDir, const QStringList& args, int timeoutMs)
{
    const QString path = CtlServer::socketPath(machineDir);
    QLocalSocket socket;
    socket.connectToServer(path);
    if (!socket.waitForConnected(qMin(timeoutMs, 5000)))
        return CtlResult::fail(QStringLiteral("no virtual machine is running at %1 (%2)")
                                   .arg(machineDir, socket.errorString()), 3);

    QJsonObject request;
    request.insert(QStringLiteral("args"), QJsonArray::fromStringList(args));
    socket.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
    if (!socket.waitForBytesWritten(timeoutMs))
        return CtlResult::fail(QStringLiteral("cannot send to %1: %2").arg(path, socket.errorString()), 3);

    QElapsedTimer timer;
    timer.start();
    while (!socket.canReadLine()) {
        const int left = timeoutMs - int(timer.elapsed());
        if (left <= 0 || !socket.waitForReadyRead(left))
            return CtlResult::fail(QStringLiteral("no answer from %1 within %2 ms").arg(path).arg(timeoutMs), 3);
    }
    const QJsonDocument doc = QJsonDocument::fromJson(socket.readLine());
    if (!doc.isObject())
        return CtlResult::fail(QStringLiteral("malformed answer from %1").arg(path), 3);
    const QJsonObject o = doc.object();
    return {o.value(QStringLiteral("code")).toInt(1), o.value(QStringLiteral("out")).toString(),
            o.value(QStringLiteral("err")).toString()};
}
