// The net server host with the real library installed in an application
// folder: its states, what it logs, the notifications as a subscribed
// harvel-client sees them, and a stop while a request waits for the main
// thread.

#include "LogFile.h"
#include "NetLinkFixture.h"
#include "NetReceiver.h"
#include "ZynNetClientCollect.h"
#include "ZynNetServerCallback.h"
#include "ZynNetServerHost.h"

#include <QDir>
#include <QTcpServer>
#include <QtTest>

#include <atomic>
#include <thread>

using namespace NetLinkFixture;

class TestZynNetServerHost : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();

    void disabledOrMissingLibraryStartsNothing();
    void failedStartLeavesTheLibraryForStop();
    void startAndRestart();
    void notificationsReachASubscriber();
    void stopReturnsWhileARequestWaitsForTheMainThread();

private:
    QString StartedServer(const QString& ip);

    QTemporaryDir m_dir;
    QString m_applDir;
    LogFile m_log;
    NetReceiver m_receiver;
};

void TestZynNetServerHost::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_applDir = m_dir.path() + QStringLiteral("/appl");
    QVERIFY(QDir().mkpath(m_applDir + QStringLiteral("/logs")));
    m_log.Start(m_applDir + QStringLiteral("/logs/SiemensHarvel.log"));
    QVERIFY(InstallNetServer(m_applDir));
    QVERIFY(m_receiver.Connect(&CZynNetServerCallback::m_instance));
}

void TestZynNetServerHost::cleanupTestCase()
{
    CZynNetServerHost::Stop();
    m_receiver.Disconnect(&CZynNetServerCallback::m_instance);
    LogFile::Stop();
}

void TestZynNetServerHost::cleanup()
{
    CZynNetServerHost::Stop();
    CZynNetServerHost::Initialize(m_applDir);
}

QString TestZynNetServerHost::StartedServer(const QString& ip)
{
    CZynNetServerHost::Initialize(m_applDir);
    if (!CZynNetServerHost::Start(true, ip, 0))
        return QString();
    return QString::number(ServerPort(m_applDir));
}

void TestZynNetServerHost::disabledOrMissingLibraryStartsNothing()
{
    const QString empty = m_dir.path() + QStringLiteral("/empty");
    QVERIFY(QDir().mkpath(empty));
    m_log.SinceMark();

    // A disabled server is no failure, and nothing is even loaded.
    CZynNetServerHost::Initialize(empty);
    QVERIFY(CZynNetServerHost::Start(false, QStringLiteral("127.0.0.1"), 0));
    QVERIFY(!CZynNetServerHost::m_isRunning);
    QVERIFY(!CZynNetServerHost::m_qLib.isLoaded());
    CZynNetServerHost::Stop();
    QCOMPARE(m_log.SinceMark(), QStringList());

    // Enabled without the library: the loader's reason, and still no stop
    // to log.
    QVERIFY(!CZynNetServerHost::Start(true, QStringLiteral("127.0.0.1"), 0));
    QVERIFY(!CZynNetServerHost::m_isRunning);
    CZynNetServerHost::Stop();
    const QStringList lines = m_log.SinceMark();
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines.first().contains(QStringLiteral(" | ERR | ")), qPrintable(lines.first()));
    QVERIFY2(lines.first().contains(QStringLiteral("Cannot start ZYN Net Server. ErrInfo=")), qPrintable(lines.first()));
    QVERIFY2(lines.first().contains(QStringLiteral("libZynNetServer.so")), qPrintable(lines.first()));

    // Nothing to notify through.
    QVERIFY(!CZynNetServerHost::NotifyProgramStatusChanged(ZYN_PROG_STARTED, true, QStringLiteral("A"), QString()));
    QVERIFY(!CZynNetServerHost::NotifyAxisPosChanged({tagAxisInfo()}));
    QVERIFY(!CZynNetServerHost::NotifyLogFileSending(QStringLiteral("x.log"), {QStringLiteral("ipv4:1.2.3.4:5")}));
}

void TestZynNetServerHost::failedStartLeavesTheLibraryForStop()
{
    QTcpServer busy;
    QVERIFY(busy.listen(QHostAddress::LocalHost, 0));
    m_log.SinceMark();
    CZynNetServerHost::Initialize(m_applDir);
    QVERIFY(!CZynNetServerHost::Start(true, QStringLiteral("127.0.0.1"), busy.serverPort()));
    QVERIFY(!CZynNetServerHost::m_isRunning);
    QVERIFY(CZynNetServerHost::m_qLib.isLoaded());
    CZynNetServerHost::Stop();
    QVERIFY(!CZynNetServerHost::m_qLib.isLoaded());
    const QStringList lines = m_log.SinceMark();
    QCOMPARE(lines.size(), 2);
    QVERIFY2(lines.at(0).endsWith(QStringLiteral(" | ERR | ") + lines.at(0).section(QStringLiteral(" | "), 2, 2)
                                  + QStringLiteral(" | Cannot start ZYN Net Server. ErrInfo=Failed to call StartServer")),
             qPrintable(lines.at(0)));
    QVERIFY2(lines.at(1).endsWith(QStringLiteral("| Stop ZYN Net Server succeeded.")), qPrintable(lines.at(1)));
}

void TestZynNetServerHost::startAndRestart()
{
    m_log.SinceMark();
    QVERIFY(!StartedServer(QStringLiteral("127.0.0.1")).isEmpty());
    QVERIFY(CZynNetServerHost::m_isRunning);

    // A second start stops the first one before it begins.
    QVERIFY(CZynNetServerHost::Start(true, QStringLiteral("127.0.0.1"), 0));
    QVERIFY(CZynNetServerHost::m_isRunning);
    const QStringList lines = m_log.SinceMark();
    QCOMPARE(lines.size(), 3);
    QVERIFY2(lines.at(0).endsWith(QStringLiteral(" | Start ZYN Net Server succeeded. Address=127.0.0.1:0")),
             qPrintable(lines.at(0)));
    QVERIFY(lines.at(0).contains(QStringLiteral(" | INF | ")));
    QVERIFY(lines.at(1).endsWith(QStringLiteral(" | Stop ZYN Net Server succeeded.")));
    QVERIFY(lines.at(2).endsWith(QStringLiteral(" | Start ZYN Net Server succeeded. Address=127.0.0.1:0")));

    CZynNetServerHost::Stop();
    QVERIFY(!CZynNetServerHost::m_isRunning);
    QVERIFY(!CZynNetServerHost::NotifyJournalGenerated(m_applDir + QStringLiteral("/zyn/journal/x.cna")));
}

void TestZynNetServerHost::notificationsReachASubscriber()
{
    const QString port = StartedServer(QStringLiteral("127.0.0.1"));
    QVERIFY(!port.isEmpty());
    const QString saved = m_dir.path() + QStringLiteral("/saved");
    QVERIFY(QDir().mkpath(saved));

    QProcess watch;
    watch.start(BinaryDir() + QStringLiteral("/bin/harvel-client"),
                {QStringLiteral("--server"), QStringLiteral("127.0.0.1:") + port, QStringLiteral("watch"),
                 QStringLiteral("--journals"), saved, QStringLiteral("--logs"), saved, QStringLiteral("--count"),
                 QStringLiteral("5")});
    QVERIFY(watch.waitForStarted());

    // The first notice that a subscriber takes tells that it is there.
    QVERIFY(RetryUntil([] {
        return CZynNetServerHost::NotifyProgramStatusChanged(ZYN_PROG_STARTED, true,
                                                             QStringLiteral("//NC/WKS.DIR/A.WPD/A.MPF"), QString());
    }));
    QVERIFY(CZynNetServerHost::NotifyMachineStatusChanged(ZYN_MACH_ALARM, false, QStringLiteral("Alarm 61000"),
                                                          QString(), QStringLiteral("third")));

    // More axes than the interface carries, one name longer than it does.
    QList<tagAxisInfo> axes;
    for (int i = 0; i < 31; ++i) {
        tagAxisInfo axis;
        axis.index = i;
        axis.name = i == 0 ? QStringLiteral("ABCDEFGHIJKLMNOPQRST") : QStringLiteral("AX%1").arg(i);
        axis.value = i + 0.5;
        axes << axis;
    }
    QVERIFY(CZynNetServerHost::NotifyAxisPosChanged(axes));

    const QString journal = CZynNetServerHost::m_journalDir + QStringLiteral("/Telmor20261122030405a.cna");
    {
        QFile file(journal);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("JOURNAL 1\n");
    }
    QVERIFY(CZynNetServerHost::NotifyJournalGenerated(journal));

    // The log file goes to the subscriber by its peer, as the export screen
    // picks it from the registry.
    QString subscriber;
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            for (const tagClientInfo& info : CZynNetClientCollect::GetClientList()) {
                if (info.method == QLatin1String("Subscribe"))
                    subscriber = info.peer;
            }
            return !subscriber.isEmpty();
        }(),
        30000);
    const QString logFile = m_applDir + QStringLiteral("/logs/SiemensHarvel.log");
    QVERIFY(CZynNetServerHost::NotifyLogFileSending(logFile, {subscriber}));

    QTRY_VERIFY_WITH_TIMEOUT(watch.state() == QProcess::NotRunning, 60000);
    QCOMPARE(watch.exitCode(), 0);
    const QStringList lines = QString::fromUtf8(watch.readAllStandardOutput()).split(QLatin1Char('\n'));

    const QStringList program = lines.filter(QStringLiteral("program-status"));
    QCOMPARE(program.size(), 1);
    QVERIFY2(program.first().contains(QStringLiteral("status=1 flag=1")), qPrintable(program.first()));
    QVERIFY(program.first().contains(QStringLiteral("//NC/WKS.DIR/A.WPD/A.MPF")));
    const QStringList machine = lines.filter(QStringLiteral("machine-status"));
    QCOMPARE(machine.size(), 1);
    // The flag goes last to the library, and arrives as the flag.
    QVERIFY2(machine.first().contains(QStringLiteral("status=3 flag=0")), qPrintable(machine.first()));
    QVERIFY(machine.first().contains(QStringLiteral("Alarm 61000")));
    QVERIFY(machine.first().contains(QStringLiteral("third")));

    const QStringList positions = lines.filter(QStringLiteral("axis-positions"));
    QCOMPARE(positions.size(), 1);
    const QStringList pairs = positions.first().split(QLatin1Char(' '), Qt::SkipEmptyParts).mid(1);
    QCOMPARE(pairs.size(), 30);
    QCOMPARE(pairs.first(), QStringLiteral("ABCDEFGHIJKLMNO=0.5"));
    QCOMPARE(pairs.last(), QStringLiteral("AX29=29.5"));

    const QStringList journals = lines.filter(QStringLiteral("journal Telmor20261122030405a.cna"));
    QCOMPARE(journals.size(), 1);
    QVERIFY2(journals.first().contains(QStringLiteral("acknowledged"))
                 && !journals.first().contains(QStringLiteral("not-acknowledged")),
             qPrintable(journals.first()));
    QFile savedJournal(saved + QStringLiteral("/Telmor20261122030405a.cna"));
    QVERIFY(savedJournal.open(QIODevice::ReadOnly));
    QCOMPARE(savedJournal.readAll(), QByteArray("JOURNAL 1\n"));
    // The library reports the delivery back, and the plug-in logs it.
    QTRY_VERIFY_WITH_TIMEOUT(!m_log.Matching(QStringLiteral("Send result file succeeded. Peer=%1, ResultFile=").arg(subscriber))
                                  .filter(QStringLiteral("Telmor20261122030405a.cna"))
                                  .isEmpty(),
                             20000);

    // The client tells the start of the file and its end.
    const QStringList logLines = lines.filter(QStringLiteral("log-file SiemensHarvel.log"));
    QCOMPARE(logLines.size(), 2);
    QVERIFY2(logLines.first().endsWith(QStringLiteral(" exporting")), qPrintable(logLines.first()));
    // Progress of the log file: exporting, then done, for that peer.
    QTRY_VERIFY_WITH_TIMEOUT(m_receiver.logFileStates.filter(subscriber).size() >= 2, 20000);
    const QStringList states = m_receiver.logFileStates.filter(subscriber);
    QVERIFY2(states.first().endsWith(QStringLiteral("SiemensHarvel.log 1")), qPrintable(states.join(',')));
    QVERIFY2(states.last().endsWith(QStringLiteral("SiemensHarvel.log 2")), qPrintable(states.join(',')));
}

void TestZynNetServerHost::stopReturnsWhileARequestWaitsForTheMainThread()
{
    const QString port = StartedServer(QStringLiteral("127.0.0.1"));
    QVERIFY(!port.isEmpty());

    // Told on the library's thread, before it starts to wait for this one.
    std::atomic<bool> waiting{false};
    m_receiver.Disconnect(&CZynNetServerCallback::m_instance);
    const QMetaObject::Connection spy = connect(
        &CZynNetServerCallback::m_instance, &CZynNetServerCallback::signalReadRVar, &m_receiver,
        [&waiting](const QString&, int, int, QList<double>&, bool&, QString&) { waiting = true; },
        Qt::DirectConnection);
    QVERIFY(m_receiver.Connect(&CZynNetServerCallback::m_instance));
    const int entered = m_receiver.slotsEntered;

    QProcess client;
    client.start(BinaryDir() + QStringLiteral("/bin/harvel-client"),
                 {QStringLiteral("--server"), QStringLiteral("127.0.0.1:") + port, QStringLiteral("read-r"),
                  QStringLiteral("0"), QStringLiteral("1")});
    QVERIFY(client.waitForStarted());
    // The main thread is busy, as it is when the HMI closes the plug-in.
    QElapsedTimer waited;
    waited.start();
    while (!waiting && waited.elapsed() < 60000)
        QThread::msleep(5);
    QVERIFY(waiting);

    CZynNetServerHost::Stop();
    QVERIFY(!CZynNetServerHost::m_isRunning);
    disconnect(spy);

    // The waiting thread is let go by the slot, then returns into the
    // library's code, which must still be there.
    QTRY_COMPARE_WITH_TIMEOUT(m_receiver.slotsEntered.load(), entered + 1, 20000);
    QTRY_VERIFY_WITH_TIMEOUT(client.state() == QProcess::NotRunning, 30000);
    QCOMPARE(client.exitCode(), 2);

    // And the host starts again after that.
    QVERIFY(!StartedServer(QStringLiteral("127.0.0.1")).isEmpty());
    const ClientRun run = RunClient(QStringLiteral("127.0.0.1:") + QString::number(ServerPort(m_applDir)),
                                    {QStringLiteral("read-r"), QStringLiteral("0"), QStringLiteral("1")});
    QCOMPARE(run.exitCode, 0);
}

QTEST_GUILESS_MAIN(TestZynNetServerHost)
#include "TestZynNetServerHost.moc"
