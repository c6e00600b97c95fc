#pragma once

// A virtual machine with the plug-in installed by the install script and started by the operator interface hosted
// in the test, for following measurement results from the NC program's side: the result file written into the NC's
// file system, TMR_FILE raised, and the journal looked for where the plug-in must leave it.

#include "HmiHost.h"
#include "NetLinkFixture.h"
#include "VirtualNc.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

class ResultHandoverFixture
{
public:
    static constexpr const char* kTmrFile = "/NC/_N_NC_GD3_ACX/TMR_FILE";

    // netServer: an ADDRESS:PORT for the net server, or empty for none.
    bool Install(const QString& netServer) { return m_machine.isValid() && NetLinkFixture::InstallPlugin(m_machine.path(), netServer); }
    QStringList Start()
    {
        m_host.reset(new HmiHost);
        return m_host->start(m_machine.path());
    }
    void Stop()
    {
        if (m_host)
            m_host->shutdown();
        m_host.reset();
    }

    QString ApplDir() const { return QFileInfo(m_machine.path() + "/card/oem/sinumerik/hmi/NorvaneZYN/appl").canonicalFilePath(); }
    // The default result file //NC/WKS.DIR/TELMOR.WPD/RESULT.MPF.
    QString ResultFile() const { return m_machine.path() + "/nc/WKS.DIR/TELMOR.WPD/RESULT.MPF"; }
    // The default target //127.0.0.1/telmor.
    QString TargetJournalDir() const { return m_machine.path() + "/net/127.0.0.1/telmor/Journal"; }
    QString NetJournalDir() const { return ApplDir() + "/zyn/journal"; }
    QString Log() const { return QString::fromUtf8(ReadFile(ApplDir() + "/logs/SiemensHarvel.log")); }

    CtlResult Nc(const QStringList& args) { return m_host->nc()->control(args); }
    QString TmrFile() { return Nc({"get", kTmrFile}).out.trimmed(); }
    bool SetTmrFile(int value) { return Nc({"set", kTmrFile, QString::number(value)}).code == 0; }
    bool Fault(const QString& op, const QString& pattern, const QString& code)
    {
        return Nc({"fault", op, pattern, "--code", code, "--times", "1"}).code == 0;
    }

    // What an NC program does once its last result has been taken: lets the 0 go round the hotlink (a 1 written
    // before that would not be seen as a change), writes the file and raises the flag. It also waits for the next
    // second: the journal is named to the second, and a second result within it replaces the one before by design.
    bool Deliver(const QByteArray& content)
    {
        const QString taken = Second();
        QElapsedTimer settle;
        settle.start();
        while (settle.elapsed() < 2 * m_host->nc()->updatePeriodMs() || Second() == taken)
            QTest::qWait(10);
        // qWait ends in a sleep: on a starved machine the loop can end with
        // the hotlink's turn due but not yet run, and a 1 written before it
        // runs hides the 0 from the plug-in for good.
        QCoreApplication::processEvents();
        return WriteFile(ResultFile(), content) && SetTmrFile(1);
    }

    // The journal of the last good hand-over, from its log line; empty if none.
    QString LastJournal() const
    {
        QString last;
        for (auto it = QRegularExpression("Handle TMR result file succeeded\\. ResultFile=(\\S+\\.cna)\n").globalMatch(Log()); it.hasNext();)
            last = it.next().captured(1);
        return last;
    }

    static QString Second() { return QDateTime::currentDateTime().toString("yyyyMMddhhmmss"); }
    static bool WriteFile(const QString& path, const QByteArray& content)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size();
    }
    static QByteArray ReadFile(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }
    static QStringList Files(const QString& dir, const QString& pattern) { return QDir(dir).entryList({pattern}, QDir::Files, QDir::Name); }

    // The port a server started on port 0 got, asked of the loaded library.
    quint16 ServerPort() const { return NetLinkFixture::ServerPort(ApplDir()); }

    // harvel-client watching for journals, saving them into dir.
    static void StartWatch(QProcess& client, const QString& server, const QString& dir)
    {
        client.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        client.setStandardOutputFile(QProcess::nullDevice());
        client.start(NetLinkFixture::BinaryDir() + "/bin/harvel-client", {"--server", server, "watch", "--journals", dir});
    }

private:
    QTemporaryDir m_machine;
    QScopedPointer<HmiHost> m_host;
};
