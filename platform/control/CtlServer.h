#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

class QLocalServer;
class QLocalSocket;

// What one control command answers: the exit code harvel-ctl returns and
// the texts it prints on stdout and stderr.
struct CtlResult
{
    int code = 0;
    QString out;
    QString err;

    static CtlResult ok(const QString& out = QString()) { return {0, out, QString()}; }
    static CtlResult fail(const QString& err, int code = 1) { return {code, QString(), err}; }
};

// The control socket of a running virtual machine. Whoever hosts the NC or
// the operator interface registers one handler per first word ("nc", "hmi")
// and the server dispatches each request to it on the owner's thread, so
// handlers may touch the NC and the widgets freely.
//
// Wire format, one JSON object per line in each direction:
//   request  {"args": ["nc", "get", "/NC/..."]}
//   response {"code": 0, "out": "...", "err": "..."}
class CtlServer : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<CtlResult(const QStringList& args)>;

    explicit CtlServer(QObject* parent = nullptr);
    ~CtlServer() override;

    // The socket lives in the machine folder, so each machine has its own.
    static QString socketPath(const QString& machineDir);

    bool listen(const QString& machineDir, QString& error);
    void close();
    QString path() const { return m_path; }

    void registerHandler(const QString& word, Handler handler);
    // Runs a command in-process exactly as a socket request would.
    CtlResult dispatch(const QStringList& args) const;

private:
    void onNewConnection();
    void onReadyRead(QLocalSocket* socket);

    QLocalServer* m_server = nullptr;
    QString m_path;
    QHash<QString, Handler> m_handlers;
};
