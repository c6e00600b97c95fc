#include "CtlServer.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>

namespace {
// sockaddr_un holds 108 bytes including the NUL.
constexpr int kMaxSocketPath = 107;
}

CtlServer::CtlServer(QObject* parent) : QObject(parent) {}

CtlServer::~CtlServer() { close(); }

QString CtlServer::socketPath(const QString& machineDir)
{
    return QDir(machineDir).absoluteFilePath(QStringLiteral("harvel-ctl.sock"));
}

bool CtlServer::listen(const QString& machineDir, QString& error)
{
    close();
    const QString path = socketPath(machineDir);
    if (path.toLocal8Bit().size() > kMaxSocketPath) {
        error = QStringLiteral("control socket path too long (%1 bytes, at most %2): %3")
                    .arg(path.toLocal8Bit().size()).arg(kMaxSocketPath).arg(path);
        return false;
    }
    // A socket file left by a crashed host would block the name forever.
    QLocalServer::removeServer(path);
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(path)) {
        error = QStringLiteral("cannot listen on %1: %2").arg(path, m_server->errorString());
        delete m_server;
        m_server = nullptr;
        return false;
    }
    m_path = path;
    connect(m_server, &QLocalServer::newConnection, this, &CtlServer::onNewConnection);
    return true;
}

void CtlServer::close()
{
    if (!m_server)
        return;
    m_server->close();
    delete m_server;
    m_server = nullptr;
    QFile::remove(m_path);
    m_path.clear();
}

void CtlServer::registerHandler(const QString& word, Handler handler)
{
    m_handlers.insert(word, std::move(handler));
}

CtlResult CtlServer::dispatch(const QStringList& args) const
{
    if (args.isEmpty())
        return CtlResult::fail(QStringLiteral("no command given"), 2);
    const auto it = m_handlers.constFind(args.first());
    if (it == m_handlers.constEnd()) {
        QStringList known = m_handlers.keys();
        known.sort();
        return CtlResult::fail(QStringLiteral("unknown command '%1' (this host serves: %2)")
                                   .arg(args.first(), known.join(QStringLiteral(", "))), 2);
    }
    return it.value()(args.mid(1));
}

void CtlServer::onNewConnection()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { onReadyRead(socket); });
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void CtlServer::onReadyRead(QLocalSocket* socket)
{
    while (socket->canReadLine()) {
        const QByteArray line = socket->readLine();
        QJsonParseError perr;
        const QJsonDocument doc = QJsonDocument::fromJson(line, &perr);
        CtlResult result;
        if (doc.isNull() || !doc.isObject() || !doc.object().value(QStringLiteral("args")).isArray()) {
            result = CtlResult::fail(QStringLiteral("malformed control request: %1").arg(perr.errorString()), 2);
        } else {
            QStringList args;
            for (const QJsonValue& v : doc.object().value(QStringLiteral("args")).toArray())
                args << v.toString();
            result = dispatch(args);
        }
        QJsonObject reply;
        reply.insert(QStringLiteral("code"), result.code);
        reply.insert(QStringLiteral("out"), result.out);
        reply.insert(QStringLiteral("err"), result.err);
        // The handler may have run a nested event loop in which the client
        // went away; the socket object itself is still ours until deleteLater.
        if (socket->state() == QLocalSocket::ConnectedState) {
            socket->write(QJsonDocument(reply).toJson(QJsonDocument::Compact) + '\n');
            socket->flush();
        }
    }
}
