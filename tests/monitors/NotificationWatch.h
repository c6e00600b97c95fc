#pragma once

// The measurement application's side of the monitors: the real net server
// library, started by the plug-in's host from an application folder, and
// harvel-client watching every notification it sends.

#include "NetLinkFixture.h"
#include "ZynNetServerHost.h"

#include <QDir>
#include <QProcess>
#include <QStringList>
#include <QtTest>

class NotificationWatch
{
public:
    ~NotificationWatch() { Stop(); }

    // Starts the server and a subscribed client; false when either failed.
    bool Start(const QString& applDir)
    {
        Stop();
        if (!QDir().mkpath(applDir) || !NetLinkFixture::InstallNetServer(applDir))
            return false;
        CZynNetServerHost::Initialize(applDir);
        if (!CZynNetServerHost::Start(true, "127.0.0.1", 0))
            return false;
        const quint16 port = NetLinkFixture::ServerPort(applDir);
        m_client.reset(new QProcess);
        m_client->start(NetLinkFixture::BinaryDir() + "/bin/harvel-client",
                        {"--server", QStringLiteral("127.0.0.1:%1").arg(port), "watch"});
        if (!m_client->waitForStarted())
            return false;
        // The library takes a notice only once somebody listens; the
        // probes are thrown away with everything else before Take.
        if (!NetLinkFixture::RetryUntil(
                [] { return CZynNetServerHost::NotifyMachineStatusChanged(ZYN_MACH_NORMAL, false, "probe", {}, {}); }))
            return false;
        Take();
        return true;
    }

    void Stop()
    {
        CZynNetServerHost::Stop();
        if (m_client) {
            m_client->kill();
            m_client->waitForFinished();
            m_client.reset();
        }
        m_lines.clear();
    }

    // Waits until count lines that start with prefix have come and not been
    // taken yet.
    bool WaitFor(const QString& prefix, int count = 1)
    {
        for (int i = 0; i < 3000; ++i) {
            Read();
            int seen = 0;
            for (const QString& line : qAsConst(m_lines))
                seen += line.startsWith(prefix) ? 1 : 0;
            if (seen >= count)
                return true;
            QTest::qWait(10);
        }
        return false;
    }

    // Everything sent since the last Take. A marker goes out from this
    // thread behind what the monitors have sent so far, and the lines
    // before it are the whole story.
    QStringList Take()
    {
        const QString marker = QStringLiteral("marker %1").arg(++m_markers);
        CZynNetServerHost::NotifyMachineStatusChanged(ZYN_MACH_NORMAL, false, marker, QString(), QString());
        const QString markerLine = QStringLiteral("machine-status status=1 flag=0 text1=\"%1\"").arg(marker);
        QStringList taken;
        if (!WaitFor(markerLine))
            return {"<no marker>"};
        while (!m_lines.isEmpty()) {
            const QString line = m_lines.takeFirst();
            if (line.startsWith(markerLine))
                break;
            if (!line.contains("text1=\"probe\""))
                taken << line;
        }
        return taken;
    }

private:
    void Read()
    {
        while (m_client && m_client->canReadLine())
            m_lines << QString::fromUtf8(m_client->readLine()).chopped(1);
    }

    QScopedPointer<QProcess> m_client;
    QStringList m_lines;
    int m_markers = 0;
};
