// The net link over the real net server library, installed in an
// application folder as on the machine and driven by harvel-client: the
// registry of clients, the host's states and what it logs, notifications as
// a subscriber sees them, and the callback bridge to a receiver in the main
// thread connected as the component connects.

#include "LogFile.h"
#include "NetLinkFixture.h"
#include "NetReceiver.h"
#include "ZynNetClientCollect.h"
#include "ZynNetServerCallback.h"
#include "ZynNetServerHost.h"

#include <QDir>
#include <QSet>
#include <QTcpServer>
#include <QtTest>

#include <atomic>
#include <functional>
#include <thread>

using namespace NetLinkFixture;

class TestZynNetLink : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void peerStrings_data();
    void peerStrings();
    void registryKeepsOneRecordPerClient();
    void hostStatesAndWhatTheyLog();
    void notificationsReachASubscriber();
    void stopReturnsWhileARequestWaitsForTheMainThread();
    void requestsCrossTheBridgeBothWays();
    void bridgeRulesTheLibraryCannotProvoke();

private:
    QString Started();
    ClientRun Client(const QStringList& args) { return RunClient(m_server, args); }
    // Runs f on a thread of its own, as the library calls, while this
    // thread serves the blocking connections.
    static void OffMainThread(const std::function<void()>& f);
    static bool Listed(const QString& peer, tagClientInfo* found = nullptr);

    QTemporaryDir m_dir;
    QString m_applDir;
    QString m_server;
    LogFile m_log;
    NetReceiver m_receiver;
};

void TestZynNetLink::OffMainThread(const std::function<void()>& f)
{
    std::atomic<bool> done{false};
    std::thread worker([&] {
        f();
        done = true;
    });
    QElapsedTimer waited;
    waited.start();
    while (!done && waited.elapsed() < 60000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    worker.join();
}

bool TestZynNetLink::Listed(const QString& peer, tagClientInfo* found)
{
    for (const tagClientInfo& info : CZynNetClientCollect::GetClientList()) {
        if (info.peer == peer && found)
            *found = info;
        if (info.peer == peer)
            return true;
    }
    return false;
}

void TestZynNetLink::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_applDir = m_dir.path() + QStringLiteral("/appl");
    QVERIFY(QDir().mkpath(m_applDir + QStringLiteral("/logs")));
    m_log.Start(m_applDir + QStringLiteral("/logs/SiemensHarvel.log"));
    QVERIFY(InstallNetServer(m_applDir));
    QVERIFY(m_receiver.Connect(&CZynNetServerCallback::m_instance));
}

void TestZynNetLink::cleanupTestCase()
{
    CZynNetServerHost::Stop();
    m_receiver.Disconnect(&CZynNetServerCallback::m_instance);
    LogFile::Stop();
}

void TestZynNetLink::init()
{
    m_receiver.answerOK = true;
    m_receiver.answerErrInfo.clear();
    m_receiver.answerValues.clear();
    m_receiver.answerText.clear();
    m_receiver.calls.clear();
    m_receiver.receivedReqFiles.clear();
    m_receiver.onReqFile = nullptr;
}

QString TestZynNetLink::Started()
{
    CZynNetServerHost::Stop();
    CZynNetServerHost::Initialize(m_applDir);
    if (!CZynNetServerHost::Start(true, QStringLiteral("127.0.0.1"), 0))
        return QString();
    m_server = QStringLiteral("127.0.0.1:%1").arg(ServerPort(m_applDir));
    return m_server;
}

void TestZynNetLink::peerStrings_data()
{
    QTest::addColumn<QString>("peer");
    QTest::addColumn<QString>("parsed");  // "protocol address port", empty if refused
    QTest::newRow("ipv4") << "ipv4:10.0.0.7:5000" << "ipv4 10.0.0.7 5000";
    // The address keeps every colon between the first and the last.
    QTest::newRow("ipv6 loopback") << "ipv6:[::1]:43210" << "ipv6 [::1] 43210";
    QTest::newRow("blanks around the parts") << " ipv4 : 1.2.3.4 : 80 " << "ipv4 1.2.3.4 80";
    QTest::newRow("no colon") << "unix" << "";
    QTest::newRow("one colon") << "unix:/tmp/socket" << "";
    QTest::newRow("no address") << "ipv4::80" << "";
    QTest::newRow("port too big") << "ipv4:1.2.3.4:70000" << "";
}

void TestZynNetLink::peerStrings()
{
    QFETCH(QString, peer);
    QFETCH(QString, parsed);
    tagClientInfo info;
    QCOMPARE(CZynNetClientCollect::ParsePeer(peer, info), !parsed.isEmpty());
    if (!parsed.isEmpty())
        QCOMPARE(QStringLiteral("%1 %2 %3").arg(info.protocol, info.address).arg(info.port), parsed);
    // A client with a peer string nobody can read never shows up.
    QCOMPARE(CZynNetClientCollect::AddOrUpdateClient(peer, QStringLiteral("ReadRVar"), false), !parsed.isEmpty());
    QCOMPARE(Listed(peer), !parsed.isEmpty());
    CZynNetClientCollect::AddOrUpdateClient(peer, QString(), true);
}

void TestZynNetLink::registryKeepsOneRecordPerClient()
{
    const QString peer = QStringLiteral("ipv6:[::1]:50001");
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(peer, QStringLiteral("ReadRVar"), false));
    tagClientInfo first, again, back;
    QVERIFY(Listed(peer, &first));
    QVERIFY(first.id > 0 && first.connectTime.isValid());
    QCOMPARE(first.updateTime, first.connectTime);
    // Arriving again, even with another method and later, is no new client.
    QTest::qWait(5);
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(peer, QStringLiteral("Subscribe"), false));
    QVERIFY(Listed(peer, &again));
    QCOMPARE(QStringList({QString::number(again.id), again.connectTime.toString(Qt::ISODateWithMs),
                          again.updateTime.toString(Qt::ISODateWithMs), again.method}),
             QStringList({QString::number(first.id), first.connectTime.toString(Qt::ISODateWithMs),
                          first.updateTime.toString(Qt::ISODateWithMs), QStringLiteral("ReadRVar")}));
    // Gone and back is a new client; a departure nobody arrived for is no error.
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(peer, QString(), true));
    QVERIFY(!Listed(peer));
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(QStringLiteral("ipv4:10.9.9.9:1"), QString(), true));
    QVERIFY(CZynNetClientCollect::AddOrUpdateClient(peer, QStringLiteral("Subscribe"), false));
    QVERIFY(Listed(peer, &back));
    QVERIFY(back.id > first.id);
    QCOMPARE(back.method, QStringLiteral("Subscribe"));

    // The list goes by peer string; ids follow the arrivals, and a peer
    // string nobody can read spends no number.
    const QStringList arrivals = {QStringLiteral("ipv4:192.168.0.2:9000"), QStringLiteral("ipv4:1.2.3.4:70000"),
                                  QStringLiteral("ipv4:10.0.0.3:80")};
    for (const QString& p : arrivals)
        QCOMPARE(CZynNetClientCollect::AddOrUpdateClient(p, QStringLiteral("ReadRVar"), false), !p.endsWith("70000"));
    QStringList listed;
    QList<quint64> ids;
    for (const tagClientInfo& info : CZynNetClientCollect::GetClientList()) {
        listed << info.peer;
        ids << info.id;
    }
    QCOMPARE(listed, (QStringList{arrivals.at(2), arrivals.at(0), peer}));
    QCOMPARE(ids, (QList<quint64>{back.id + 2, back.id + 1, back.id}));
    for (const QString& p : listed)
        CZynNetClientCollect::AddOrUpdateClient(p, QString(), true);

    // The library reports from several threads while the main thread reads
    // whole records only.
    const int threads = 4, perThread = 300;
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([t] {
            for (int i = 0; i < perThread; ++i) {
                const QString p = QStringLiteral("ipv4:10.1.%1.%2:%3").arg(t).arg(i % 250).arg(1000 + i);
                CZynNetClientCollect::AddOrUpdateClient(p, QStringLiteral("ReadRVar"), false);
                CZynNetClientCollect::AddOrUpdateClient(p, QStringLiteral("ReadRVar"), false);
                if (i % 2)
                    CZynNetClientCollect::AddOrUpdateClient(p, QString(), true);
            }
        });
    }
    int torn = 0;
    for (int i = 0; i < 200; ++i)
        for (const tagClientInfo& info : CZynNetClientCollect::GetClientList())
            torn += info.id == 0 || info.address.isEmpty() || !info.connectTime.isValid();
    for (std::thread& writer : writers)
        writer.join();
    QCOMPARE(torn, 0);
    // Every second peer stayed, each under an id of its own.
    QSet<quint64> distinct;
    for (const tagClientInfo& info : CZynNetClientCollect::GetClientList()) {
        distinct.insert(info.id);
        CZynNetClientCollect::AddOrUpdateClient(info.peer, QString(), true);
    }
    QCOMPARE(distinct.size(), threads * perThread / 2);
}

void TestZynNetLink::hostStatesAndWhatTheyLog()
{
    const QString empty = m_dir.path() + QStringLiteral("/empty");
    QVERIFY(QDir().mkpath(empty));
    m_log.SinceMark();
    // A disabled server is no failure, and nothing is even loaded.
    CZynNetServerHost::Initialize(empty);
    QVERIFY(CZynNetServerHost::Start(false, QStringLiteral("127.0.0.1"), 0));
    QVERIFY(!CZynNetServerHost::m_isRunning && !CZynNetServerHost::m_qLib.isLoaded());
    CZynNetServerHost::Stop();
    QCOMPARE(m_log.SinceMark(), QStringList());
    // Enabled without the library: the loader's reason, and no stop to log.
    QVERIFY(!CZynNetServerHost::Start(true, QStringLiteral("127.0.0.1"), 0));
    QVERIFY(!CZynNetServerHost::m_isRunning);
    CZynNetServerHost::Stop();
    QStringList lines = m_log.SinceMark();
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines.first().contains(QStringLiteral(" | ERR | "))
                 && lines.first().contains(QStringLiteral("Cannot start ZYN Net Server. ErrInfo="))
                 && lines.first().contains(QStringLiteral("libZynNetServer.so")),
             qPrintable(lines.first()));
    // Nothing to notify through.
    QVERIFY(!CZynNetServerHost::NotifyProgramStatusChanged(ZYN_PROG_STARTED, true, QStringLiteral("A"), QString()));
    QVERIFY(!CZynNetServerHost::NotifyAxisPosChanged({tagAxisInfo()}));
    QVERIFY(!CZynNetServerHost::NotifyLogFileSending(QStringLiteral("x.log"), {QStringLiteral("ipv4:1.2.3.4:5")}));

    // A start that fails leaves the library loaded for the stop to unload.
    QTcpServer busy;
    QVERIFY(busy.listen(QHostAddress::LocalHost, 0));
    CZynNetServerHost::Initialize(m_applDir);
    QVERIFY(!CZynNetServerHost::Start(true, QStringLiteral("127.0.0.1"), busy.serverPort()));
    QVERIFY(!CZynNetServerHost::m_isRunning && CZynNetServerHost::m_qLib.isLoaded());
    CZynNetServerHost::Stop();
    QVERIFY(!CZynNetServerHost::m_qLib.isLoaded());
    // A second start stops the first one before it begins.
    QVERIFY(CZynNetServerHost::Start(true, QStringLiteral("127.0.0.1"), 0));
    QVERIFY(CZynNetServerHost::Start(true, QStringLiteral("127.0.0.1"), 0));
    QVERIFY(CZynNetServerHost::m_isRunning);
    CZynNetServerHost::Stop();
    QVERIFY(!CZynNetServerHost::m_isRunning);
    QVERIFY(!CZynNetServerHost::NotifyJournalGenerated(m_applDir + QStringLiteral("/zyn/journal/x.cna")));
    lines = m_log.SinceMark();
    const QString stopped = QStringLiteral("Stop ZYN Net Server succeeded.");
    const QString started = QStringLiteral("Start ZYN Net Server succeeded. Address=127.0.0.1:0");
    const QStringList texts = {QStringLiteral("Cannot start ZYN Net Server. ErrInfo=Failed to call StartServer"),
                               stopped, started, stopped, started, stopped};
    QCOMPARE(lines.size(), texts.size());
    for (int i = 0; i < lines.size(); ++i)
        QVERIFY2(lines.at(i).endsWith(QStringLiteral(" | %1 | %2 | %3").arg(i ? "INF" : "ERR",
                                                                            lines.at(i).section(QStringLiteral(" | "), 2, 2), texts.at(i))),
                 qPrintable(lines.at(i)));
}

void TestZynNetLink::notificationsReachASubscriber()
{
    QVERIFY(!Started().isEmpty());
    const QString saved = m_dir.path() + QStringLiteral("/saved");
    QVERIFY(QDir().mkpath(saved));
    QProcess watch;
    watch.start(BinaryDir() + QStringLiteral("/bin/harvel-client"),
                {QStringLiteral("--server"), m_server, QStringLiteral("watch"), QStringLiteral("--journals"), saved,
                 QStringLiteral("--logs"), saved, QStringLiteral("--count"), QStringLiteral("5")});
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
            for (const tagClientInfo& info : CZynNetClientCollect::GetClientList())
                if (info.method == QLatin1String("Subscribe"))
                    subscriber = info.peer;
            return !subscriber.isEmpty();
        }(),
        30000);
    QVERIFY(CZynNetServerHost::NotifyLogFileSending(m_applDir + QStringLiteral("/logs/SiemensHarvel.log"), {subscriber}));

    QTRY_VERIFY_WITH_TIMEOUT(watch.state() == QProcess::NotRunning, 60000);
    QCOMPARE(watch.exitCode(), 0);
    const QStringList lines = QString::fromUtf8(watch.readAllStandardOutput()).split(QLatin1Char('\n'));
    // The machine status' flag goes last to the library, and arrives as the flag.
    const QStringList want = {
        QStringLiteral("program-status status=1 flag=1 program=\"//NC/WKS.DIR/A.WPD/A.MPF\""),
        QStringLiteral("machine-status status=3 flag=0 text1=\"Alarm 61000\""),
        QStringLiteral("axis-positions ABCDEFGHIJKLMNO=0.5 AX1=1.5"),
        QStringLiteral("journal Telmor20261122030405a.cna 10 saved")};
    for (const QString& start : want)
        QVERIFY2(lines.filter(start).size() == 1, qPrintable(start + QLatin1Char('\n') + lines.join(QLatin1Char('\n'))));
    // The client tells the start of the log file and its end.
    const QStringList logLines = lines.filter(QStringLiteral("log-file SiemensHarvel.log"));
    QCOMPARE(logLines.size(), 2);
    QVERIFY2(logLines.first().endsWith(QStringLiteral(" exporting")), qPrintable(logLines.first()));
    QVERIFY(lines.filter(QStringLiteral("machine-status")).first().contains(QStringLiteral("third")));
    const QStringList pairs = lines.filter(QStringLiteral("axis-positions")).first().split(QLatin1Char(' ')).mid(1);
    QCOMPARE(pairs.size(), 30);
    QCOMPARE(pairs.last(), QStringLiteral("AX29=29.5"));
    QVERIFY(lines.filter(QStringLiteral("journal Telmor")).first().endsWith(QStringLiteral(" acknowledged")));
    QFile savedJournal(saved + QStringLiteral("/Telmor20261122030405a.cna"));
    QVERIFY(savedJournal.open(QIODevice::ReadOnly));
    QCOMPARE(savedJournal.readAll(), QByteArray("JOURNAL 1\n"));
    // The library reports the delivery back, and the plug-in logs it.
    QTRY_VERIFY_WITH_TIMEOUT(!m_log.Matching(QStringLiteral("Send result file succeeded. Peer=%1, ResultFile=").arg(subscriber))
                                  .filter(QStringLiteral("Telmor20261122030405a.cna"))
                                  .isEmpty(),
                             20000);
    // Progress of the log file: exporting, then done, for that peer.
    QTRY_VERIFY_WITH_TIMEOUT(m_receiver.logFileStates.filter(subscriber).size() >= 2, 20000);
    const QStringList states = m_receiver.logFileStates.filter(subscriber);
    QVERIFY2(states.first().endsWith(QStringLiteral("SiemensHarvel.log 1")), qPrintable(states.join(',')));
    QVERIFY2(states.last().endsWith(QStringLiteral("SiemensHarvel.log 2")), qPrintable(states.join(',')));
}

void TestZynNetLink::stopReturnsWhileARequestWaitsForTheMainThread()
{
    QVERIFY(!Started().isEmpty());
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
                 {QStringLiteral("--server"), m_server, QStringLiteral("read-r"), QStringLiteral("0"), QStringLiteral("1")});
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
    QVERIFY(!Started().isEmpty());
    m_receiver.answerValues = {4.5};
    const ClientRun run = Client({QStringLiteral("read-r"), QStringLiteral("0"), QStringLiteral("1")});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, QStringLiteral("4.5\n"));
}

void TestZynNetLink::requestsCrossTheBridgeBothWays()
{
    QVERIFY(!Started().isEmpty());
    // Names and the machine's words in UTF-8 both ways, the peer beside them.
    const QString program = QStringLiteral("//NC/WKS.DIR/MESSUNG_\u00dc.WPD/PR\u00dcF.MPF");
    m_receiver.answerOK = false;
    m_receiver.answerErrInfo = QStringLiteral("Program does not exist \u00e4");
    ClientRun run = Client({QStringLiteral("select"), program});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(m_receiver.lastFile, program);
    QVERIFY2(run.err.contains(m_receiver.answerErrInfo), qPrintable(run.err));
    QVERIFY2(m_receiver.lastPeer.startsWith(QStringLiteral("ipv4:127.0.0.1:")), qPrintable(m_receiver.lastPeer));

    // Beyond the library's buffer a document is cut, and still an answer.
    m_receiver.answerOK = true;
    m_receiver.answerText = QString(3 * 1024 * 1024 / 2, QLatin1Char('r'));
    run = Client({QStringLiteral("calibration")});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out.size(), 1024 * 1024 - 1);
    m_receiver.answerPosition = 10.5;
    run = Client({QStringLiteral("skip-position")});
    QCOMPARE(run.out, QStringLiteral("x=10.5\ny=11.5\nz=12.5\na=13.5\nb=14.5\nc=15.5\n"));
    m_receiver.answerButton = 2;
    m_receiver.answerText = QStringLiteral("12.5 mm");
    run = Client({QStringLiteral("message"), QStringLiteral("--type"), QStringLiteral("1"), QStringLiteral("--style"),
                  QStringLiteral("3"), QStringLiteral("--text"), QStringLiteral("Durchmesser?"), QStringLiteral("--input-name"),
                  QStringLiteral("D"), QStringLiteral("--id"), QStringLiteral("9007199254740993")});
    QCOMPARE(run.out, QStringLiteral("button=2\ninput=12.5 mm\n"));
    QCOMPARE(m_receiver.calls.last(), QStringLiteral("SendMsg 9007199254740993 1 3 Durchmesser? D"));

    // Request files: announced in the library's folder under the name the
    // client gave, in UTF-8 too; carried out once the machine takes it away.
    m_receiver.onReqFile = [](const QString& path) { QFile::remove(path); };
    for (const QString& name : {QStringLiteral("wofs"), QStringLiteral("Pr\u00fcfung")}) {
        m_receiver.receivedReqFiles.clear();
        run = Client({QStringLiteral("request"), QStringLiteral("1 G54 X 1.5"), QStringLiteral("--name"), name});
        QCOMPARE(run.out, QStringLiteral("carried out\n"));
        QCOMPARE(m_receiver.receivedReqFiles.size(), 1);
        const QFileInfo announced(m_receiver.receivedReqFiles.first());
        QCOMPARE(announced.path(), CZynNetServerHost::m_reqDir);
        QVERIFY2(announced.fileName().startsWith(name + QLatin1Char('.')) && announced.suffix() == QLatin1String("req"),
                 qPrintable(announced.fileName()));
        QTRY_VERIFY_WITH_TIMEOUT(!m_log.Matching(QStringLiteral("| INF | "))
                                      .filter(QStringLiteral("Receive req file succeeded. Peer=ipv4:127.0.0.1:"))
                                      .filter(QStringLiteral(", ReqFile=%1").arg(announced.fileName()))
                                      .isEmpty(),
                                 20000);
    }

    // Nobody in the HMI to answer is not the machine's no.
    m_receiver.Disconnect(&CZynNetServerCallback::m_instance);
    m_receiver.calls.clear();
    run = Client({QStringLiteral("read-r"), QStringLiteral("0"), QStringLiteral("1")});
    QVERIFY(m_receiver.Connect(&CZynNetServerCallback::m_instance));
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.err.contains(QStringLiteral("unavailable")), qPrintable(run.err));
    QVERIFY(m_receiver.calls.isEmpty());
}

void TestZynNetLink::bridgeRulesTheLibraryCannotProvoke()
{
    // The library's buffer has room for count values; a list of another
    // length is not written, and the answer stands.
    m_receiver.answerValues = {1.0, 2.0};
    double values[3] = {-1.0, -1.0, -1.0};
    char errInfo[8] = "x";
    bool result = false;
    OffMainThread([&] { result = CZynNetServerCallback::ReadRVarCallback("ipv4:127.0.0.1:1", 0, 3, values, errInfo, 8); });
    QVERIFY(result);
    QCOMPARE(QList<double>({values[0], values[2]}), QList<double>({-1.0, -1.0}));
    QCOMPARE(errInfo[0], '\0');
    // No values to write reach the service as none, for it to refuse.
    m_receiver.lastValues = {9.0};
    OffMainThread([&] { CZynNetServerCallback::WriteRVarCallback("ipv4:127.0.0.1:1", 0, 2, nullptr, errInfo, 8); });
    QCOMPARE(m_receiver.calls.last(), QStringLiteral("WriteRVar 0 2"));
    QVERIFY(m_receiver.lastValues.isEmpty());
    // The machine's words are cut to the buffer.
    m_receiver.answerOK = false;
    m_receiver.answerErrInfo = QStringLiteral("Cannot read R variable");
    OffMainThread([&] { result = CZynNetServerCallback::ReadRVarCallback("ipv4:127.0.0.1:1", 0, 2, values, errInfo, 8); });
    QVERIFY(!result);
    QCOMPARE(QByteArray(errInfo), QByteArray("Cannot "));

    // A received request file is renamed before it is announced, replacing
    // an older request of that name; only the last suffix goes.
    const QString folder = m_dir.path() + QStringLiteral("/direct");
    QVERIFY(QDir().mkpath(folder));
    const QStringList cases = {"abc.tmp abc.req", "abc.x.tmp abc.x.req", "abc abc.req"};
    for (const QString& c : cases) {
        const QString from = folder + QLatin1Char('/') + c.section(' ', 0, 0);
        const QString to = folder + QLatin1Char('/') + c.section(' ', 1, 1);
        QFile file(from), old(to);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("1 G54 X 1\n") > 0 && old.open(QIODevice::WriteOnly));
        file.close();
        bool seenUnderFinalName = false;
        m_receiver.onReqFile = [&](const QString&) { seenUnderFinalName = !QFile::exists(from) && QFileInfo(to).size() > 0; };
        m_receiver.receivedReqFiles.clear();
        char err[64] = "stale";
        const QByteArray fromBytes = QFile::encodeName(from);
        OffMainThread([&] {
            result = CZynNetServerCallback::RequestInteractiveCallback("ipv4:127.0.0.1:9", "net.req", fromBytes.constData(), err, 64);
        });
        QVERIFY2(result && err[0] == '\0' && seenUnderFinalName, qPrintable(c));
        QCOMPARE(m_receiver.receivedReqFiles, QStringList{to});
        QVERIFY(QFile::remove(to));
        // Nothing to rename: no announcement, the reason to the library and the log.
        m_receiver.receivedReqFiles.clear();
        OffMainThread([&] {
            result = CZynNetServerCallback::RequestInteractiveCallback("ipv4:127.0.0.1:9", "gone.req", fromBytes.constData(), err, 64);
        });
        QVERIFY(!result && m_receiver.receivedReqFiles.isEmpty());
        QCOMPARE(QByteArray(err), QByteArray("Cannot rename file"));
    }
    QTRY_VERIFY_WITH_TIMEOUT(!m_log.Matching(QStringLiteral("| ERR | ")).filter(QStringLiteral(
                                  "Receive req file failed. Peer=ipv4:127.0.0.1:9, ReqFile=gone.req, ErrInfo=Cannot rename file"))
                                  .isEmpty(),
                             20000);

    // Only action 1 is a departure; an action the library does not name is
    // an arrival, told to nobody in the log.
    const char* const peer = "ipv6:[fd00::2]:40001";
    m_receiver.clientActions.clear();
    m_log.SinceMark();
    OffMainThread([&] { result = CZynNetServerCallback::ClientActionCallback(peer, "Subscribe", 7); });
    QVERIFY(result && Listed(QLatin1String(peer)));
    QCOMPARE(m_receiver.clientActions, QStringList{QStringLiteral("ipv6:[fd00::2]:40001 Subscribe 7")});
    QVERIFY(m_log.SinceMark().filter(QLatin1String(peer)).isEmpty());
    OffMainThread([&] { result = CZynNetServerCallback::ClientActionCallback(peer, "Subscribe", 1); });
    QVERIFY(result && !Listed(QLatin1String(peer)));
    const QStringList lines = m_log.SinceMark().filter(QLatin1String(peer));
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines.first().contains(QStringLiteral(" | INF | "))
                 && lines.first().endsWith(QStringLiteral(" | ZYN Net client disconnected. Peer=ipv6:[fd00::2]:40001")),
             qPrintable(lines.first()));
    QCOMPARE(m_receiver.clientActions.size(), 2);
}

QTEST_GUILESS_MAIN(TestZynNetLink)
#include "TestZynNetLink.moc"
