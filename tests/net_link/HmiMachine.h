#pragma once

// What the tests of harvel-hmi as a process share: a machine folder with the
// plug-in installed by the install script, harvel-hmi running on it (a query
// holds its main thread), worked through the control socket.

#include "CtlClient.h"
#include "NetLinkFixture.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>

namespace NetLinkFixture {

inline QByteArray FileBytes(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}
// A port that was free a moment ago.
inline QString FreePort()
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost, 0) ? QString::number(probe.serverPort()) : QString();
}

struct HmiMachine
{
    QTemporaryDir dir;
    QProcess hmi;
    QString server; // the net server's address; empty: the net server is off

    // Installs the plug-in, with the net server on a free port (its own
    // choice is told only to the process that loaded it).
    bool Install(bool withNet = true)
    {
        server = withNet ? "127.0.0.1:" + FreePort() : QString();
        return dir.isValid() && InstallPlugin(dir.path(), server);
    }
    bool Start()
    {
        hmi.start(BinaryDir() + "/bin/harvel-hmi", {"--machine", dir.path(), "--headless"});
        return hmi.waitForStarted(20000) && RetryUntil([this] { return Ctl({"hmi", "areas"}).code == 0; }, 60000);
    }
    void Stop()
    {
        if (hmi.state() != QProcess::Running)
            return;
        Ctl({"quit"});
        QVERIFY(hmi.waitForFinished(60000));
        QCOMPARE(hmi.exitCode(), 0);
    }

    CtlResult Ctl(const QStringList& args) { return CtlClient::call(dir.path(), args, 20000); }
    // An hmi or nc command that must be taken; a refusal is logged.
    bool Ok(const QStringList& args)
    {
        const CtlResult r = Ctl(args);
        if (r.code != 0)
            qWarning() << args << r.err;
        return r.code == 0;
    }
    bool Hmi(const QStringList& args) { return Ok(QStringList{"hmi"} + args); }
    QString Get(const QString& variable) { return Ctl({"nc", "get", variable}).out.trimmed(); }
    QString Read(const QString& widget) { return Ctl({"hmi", "read", widget}).out.trimmed(); }
    // A grid's rows as shown, empty cells at the end included.
    QStringList Rows(const QString& grid)
    {
        QString out = Ctl({"hmi", "read", grid}).out;
        if (out.endsWith(QLatin1Char('\n')))
            out.chop(1);
        return out.split(QLatin1Char('\n'));
    }
    QJsonObject State() { return QJsonDocument::fromJson(Ctl({"hmi", "state", "--json"}).out.toUtf8()).object(); }
    QString Area() { return State().value("area").toString(); }
    QString Screen() { return State().value("screen").toString(); }
    QString Caption() { return State().value("caption").toArray().at(0).toString(); }
    QString Status() { return State().value("status").toArray().at(0).toString(); }
    bool KeyEnabled(int position)
    {
        for (const QJsonValue& v : State().value("softkeys").toObject().value("myVr").toArray())
            if (v.toObject().value("position").toInt() == position)
                return v.toObject().value("enabled").toBool();
        return false;
    }
    bool WaitScreen(const QString& screen) { return RetryUntil([&] { return Screen() == screen; }, 20000); }
    // Presses a key and waits for the screen it leads to.
    bool Open(const QString& action, const QString& screen) { return Hmi({"key", action}) && WaitScreen(screen); }
    // A screen of the plug-in's area by its key on the horizontal bar.
    bool Show(int position, const QString& screen)
    {
        return Hmi({"area", "Norvane"}) && Hmi({"key", "--menu", "myHu", "--position", QString::number(position)})
            && WaitScreen(screen);
    }
    bool Fill(const QString& field, const QString& text) { return Hmi({"focus", field}) && Hmi({"type", "--clear", text}); }
    // Presses a key that asks first, and answers the query.
    bool KeyAndAnswer(const QString& action, const QString& answer)
    {
        return Hmi({"key", action}) && WaitScreen(QStringLiteral("screenMessage")) && Hmi({"key", answer});
    }
    // A tree item by its path; the operation runs after the answer, so an
    // item whose parent was just opened is waited for.
    bool Tree(const char* verb, const QString& path)
    {
        return RetryUntil([&] { return Ctl({"hmi", "tree", "fileTree", verb, path}).code == 0; }, 10000);
    }
    QString Path(const QString& rel) const { return dir.path() + QLatin1Char('/') + rel; }
    QString Appl(const QString& rel) const { return Path("card/oem/sinumerik/hmi/NorvaneZYN/appl/" + rel); }
    QString Log() const { return QString::fromUtf8(FileBytes(Appl("logs/SiemensHarvel.log"))); }
};

} // namespace NetLinkFixture
