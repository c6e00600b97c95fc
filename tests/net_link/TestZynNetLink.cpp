// The net link over the real net server library, installed in an
// application folder as on the machine and driven by harvel-client: the
// registry of clients, the host's states and what it logs, notifications as
// a subscriber sees them, and the callback bridge to a receiver in the main
// thread connected as the component connects.

#include "Logger.h"
#include "NetLinkFixture.h"
#include "NetReceiver.h"
#include "ZynNetClientCollect.h"
#include "ZynNetServerHost.h"

#include <QDir>
#include <QSet>
#include <QTcpServer>
#include <QThreadPool>

#include <thread>

using namespace NetLinkFixture;
using Host = CZynNetServerHost;
using Bridge = CZynNetServerCallback;

namespace {
bool Add(const QString& peer, const QString& method, bool gone = false)
{
    return CZynNetClientCollect::AddOrUpdateClient(peer, method, gone);
}

// The record of a peer; id 0 if it is not listed.
tagClientInfo Find(const QString& peer)
{
    for (const tagClientInfo& info : CZynNetClientCollect::GetClientList())
        if (info.peer == peer)
            return info;
    return tagClientInfo();
}

// Runs f on a thread of its own, as the library calls, while this thread
// serves the blocking connections.
void OffMainThread(const std::function<void()>& f)
{
    std::atomic<bool> done{false};
    std::thread worker([&] {
        f();
        done = true;
    });
    while (!done)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    worker.join();
}
} // namespace

class TestZynNetLink : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_applDir = m_dir.path() + "/appl";
        QVERIFY(QDir().mkpath(m_applDir + "/logs"));
        CLogger::Initialize(m_applDir + "/logs/SiemensHarvel.log", 10);
        QVERIFY(InstallNetServer(m_applDir));
        QVERIFY(m_receiver.Connect(&Bridge::m_instance));
    }
    void cleanupTestCase()
    {
        Host::Stop();
        m_receiver.Disconnect(&Bridge::m_instance);
        // The logger's pool thread ends here, not in a race with the exit of
        // the process, where the leak checker would count its thread data.
        CLogger::UnInitialize();
        QThreadPool::globalInstance()->waitForDone();
    }

    void peerStrings_data();
    void peerStrings();
    void registryKeepsOneRecordPerClient();
    void hostStatesAndWhatTheyLog();
    void notificationsReachASubscriber();
    void stopReturnsWhileARequestWaitsForTheMainThread();
    void requestsCrossTheBridgeBothWays();
    void bridgeRulesTheLibraryCannotProvoke();

private:
    QString Started()
    {
        Host::Stop();
        Host::Initialize(m_applDir);
        if (!Host::Start(true, "127.0.0.1", 0))
            return QString();
        return m_server = QStringLiteral("127.0.0.1:%1").arg(ServerPort(m_applDir));
    }
    ClientRun Client(const QString& words, const QStringList& more = {})
    {
        return RunClient(m_server, words.split(' ') + more);
    }

    // The plug-in's log as the logger's worker wrote it, lines with text.
    QStringList Logged(const QString& text) const
    {
        QFile file(m_applDir + "/logs/SiemensHarvel.log");
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).split('\n').filter(text) : QStringList();
    }
    // Everything logged since the last mark: a fresh marker line is logged
    // and waited for, so what stands before it is complete.
    QStringList SinceMark()
    {
        const QString marker = QStringLiteral("net link test mark %1").arg(++m_marks);
        CLogger::Info(marker, true);
        QStringList lines;
        int end = -1;
        for (int waited = 0; end < 0 && waited < 20000; waited += 10) {
            QTest::qWait(10);
            lines = Logged(QString());
            end = lines.indexOf(QRegularExpression(".*" + marker + "$"));
        }
        const int begin = m_lastMarkLine;
        m_lastMarkLine = end + 1;
        return lines.mid(begin, end - begin);
    }

    QTemporaryDir m_dir;
    QString m_applDir;
    QString m_server;
    int m_marks = 0;
    int m_lastMarkLine = 0;
    NetReceiver m_receiver;
};

void TestZynNetLink::peerStrings_data()
{
    QTest::addColumn<QString>("peer");
    QTest::addColumn<QString>("parsed"); // "protocol address port", empty if refused
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
    QCOMPARE(Add(peer, "ReadRVar"), !parsed.isEmpty());
    QCOMPARE(Find(peer).id != 0, !parsed.isEmpty());
    Add(peer, QString(), true);
}

void TestZynNetLink::registryKeepsOneRecordPerClient()
{
    const QString peer = "ipv6:[::1]:50001";
    QVERIFY(Add(peer, "ReadRVar"));
    const tagClientInfo first = Find(peer);
    QVERIFY(first.id > 0 && first.connectTime.isValid() && first.updateTime == first.connectTime);
    // Arriving again, even with another method and later, is no new client.
    QTest::qWait(5);
    QVERIFY(Add(peer, "Subscribe"));
    const tagClientInfo again = Find(peer);
    QVERIFY(again.id == first.id && again.connectTime == first.connectTime && again.updateTime == first.updateTime);
    QCOMPARE(again.method, QStringLiteral("ReadRVar"));
    // Gone and back is a new client; a departure nobody arrived for is no error.
    QVERIFY(Add(peer, QString(), true) && Find(peer).id == 0);
    QVERIFY(Add("ipv4:10.9.9.9:1", QString(), true));
    QVERIFY(Add(peer, "Subscribe"));
    const tagClientInfo back = Find(peer);
    QVERIFY(back.id > first.id && back.method == "Subscribe");

    // The list goes by peer string; ids follow the arrivals, and a peer
    // string nobody can read spends no number.
    for (const char* p : {"ipv4:192.168.0.2:9000", "ipv4:1.2.3.4:70000", "ipv4:10.0.0.3:80"})
        Add(p, "ReadRVar");
    QStringList listed;
    for (const tagClientInfo& info : CZynNetClientCollect::GetClientList()) {
        listed << QStringLiteral("%1 %2").arg(info.peer).arg(info.id - back.id);
        Add(info.peer, QString(), true);
    }
    QCOMPARE(listed, QStringList({"ipv4:10.0.0.3:80 2", "ipv4:192.168.0.2:9000 1", peer + " 0"}));

    // The library reports from several threads while the main thread reads
    // whole records only.
    const int threads = 4, perThread = 300;
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([t] {
            for (int i = 0; i < perThread; ++i) {
                const QString p = QStringLiteral("ipv4:10.1.%1.%2:%3").arg(t).arg(i % 250).arg(1000 + i);
                Add(p, "ReadRVar");
                Add(p, "ReadRVar");
                if (i % 2)
                    Add(p, QString(), true);
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
        Add(info.peer, QString(), true);
    }
    QCOMPARE(distinct.size(), threads * perThread / 2);
}

void TestZynNetLink::hostStatesAndWhatTheyLog()
{
    const QString empty = m_dir.path() + "/empty";
    QVERIFY(QDir().mkpath(empty));
    SinceMark();
    // A disabled server is no failure, and nothing is even loaded.
    Host::Initialize(empty);
    QVERIFY(Host::Start(false, "127.0.0.1", 0));
    QVERIFY(!Host::m_isRunning && !Host::m_qLib.isLoaded());
    Host::Stop();
    QCOMPARE(SinceMark(), QStringList());
    // Enabled without the library: the loader's reason, no stop to log, and
    // nothing to notify through.
    QVERIFY(!Host::Start(true, "127.0.0.1", 0));
    QVERIFY(!Host::m_isRunning);
    Host::Stop();
    QStringList lines = SinceMark();
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines.first().contains(" | ERR | ") && lines.first().contains("Cannot start ZYN Net Server. ErrInfo=")
                 && lines.first().contains("libZynNetServer.so"),
             qPrintable(lines.first()));
    QVERIFY(!Host::NotifyProgramStatusChanged(ZYN_PROG_STARTED, true, "A", QString()));
    QVERIFY(!Host::NotifyAxisPosChanged({tagAxisInfo()}));
    QVERIFY(!Host::NotifyLogFileSending("x.log", {"ipv4:1.2.3.4:5"}));

    // A start that fails leaves the library loaded for the stop to unload.
    QTcpServer busy;
    QVERIFY(busy.listen(QHostAddress::LocalHost, 0));
    Host::Initialize(m_applDir);
    QVERIFY(!Host::Start(true, "127.0.0.1", busy.serverPort()));
    QVERIFY(!Host::m_isRunning && Host::m_qLib.isLoaded());
    Host::Stop();
    QVERIFY(!Host::m_qLib.isLoaded());
    // A second start stops the first one before it begins.
    QVERIFY(Host::Start(true, "127.0.0.1", 0));
    QVERIFY(Host::Start(true, "127.0.0.1", 0));
    QVERIFY(Host::m_isRunning);
    Host::Stop();
    QVERIFY(!Host::m_isRunning);
    QVERIFY(!Host::NotifyJournalGenerated(m_applDir + "/zyn/journal/x.cna"));
    const QString stopped = "INF | Stop ZYN Net Server succeeded.";
    const QString started = "INF | Start ZYN Net Server succeeded. Address=127.0.0.1:0";
    const QStringList texts = {"ERR | Cannot start ZYN Net Server. ErrInfo=Failed to call StartServer",
                               stopped, started, stopped, started, stopped};
    lines = SinceMark();
    QCOMPARE(lines.size(), texts.size());
    for (int i = 0; i < lines.size(); ++i) {
        const QStringList parts = lines.at(i).split(" | ");
        QCOMPARE(parts.at(1) + " | " + parts.mid(3).join(" | "), texts.at(i));
    }
}

void TestZynNetLink::notificationsReachASubscriber()
{
    QVERIFY(!Started().isEmpty());
    const QString saved = m_dir.path() + "/saved";
    QVERIFY(QDir().mkpath(saved));
    QProcess watch;
    watch.start(BinaryDir() + "/bin/harvel-client",
                {"--server", m_server, "watch", "--journals", saved, "--logs", saved, "--count", "5"});
    QVERIFY(watch.waitForStarted());

    // The first notice that a subscriber takes tells that it is there.
    QVERIFY(RetryUntil([] {
        return Host::NotifyProgramStatusChanged(ZYN_PROG_STARTED, true, "//NC/WKS.DIR/A.WPD/A.MPF", QString());
    }));
    // The machine status' flag goes last to the library.
    QVERIFY(Host::NotifyMachineStatusChanged(ZYN_MACH_ALARM, false, "Alarm 61000", QString(), "third"));
    // More axes than the interface carries, one name longer than it does.
    QList<tagAxisInfo> axes;
    QString axisLine = "axis-positions ABCDEFGHIJKLMNO=0.5";
    for (int i = 0; i < 31; ++i) {
        tagAxisInfo axis;
        axis.index = i;
        axis.name = i == 0 ? QStringLiteral("ABCDEFGHIJKLMNOPQRST") : QStringLiteral("AX%1").arg(i);
        axis.value = i + 0.5;
        axes << axis;
        if (i > 0 && i < 30)
            axisLine += QStringLiteral(" AX%1=%1.5").arg(i);
    }
    QVERIFY(Host::NotifyAxisPosChanged(axes));
    const QString journal = Host::m_journalDir + "/Telmor20261122030405a.cna";
    QFile file(journal);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("JOURNAL 1\n") == 10);
    file.close();
    QVERIFY(Host::NotifyJournalGenerated(journal));
    // The log file goes to the subscriber by its peer, as the export screen
    // picks it from the registry.
    QString subscriber;
    QVERIFY(RetryUntil([&] {
        for (const tagClientInfo& info : CZynNetClientCollect::GetClientList())
            if (info.method == "Subscribe")
                subscriber = info.peer;
        return !subscriber.isEmpty();
    }));
    QVERIFY(Host::NotifyLogFileSending(m_applDir + "/logs/SiemensHarvel.log", {subscriber}));

    QTRY_VERIFY_WITH_TIMEOUT(watch.state() == QProcess::NotRunning, 60000);
    QCOMPARE(watch.exitCode(), 0);
    const QStringList lines = QString::fromUtf8(watch.readAllStandardOutput()).split('\n');
    for (const QString& line :
         {QStringLiteral(R"(program-status status=1 flag=1 program="//NC/WKS.DIR/A.WPD/A.MPF" text="")"),
          QStringLiteral(R"(machine-status status=3 flag=0 text1="Alarm 61000" text2="" text3="third")"), axisLine,
          "journal Telmor20261122030405a.cna 10 saved " + saved + "/Telmor20261122030405a.cna acknowledged"})
        QVERIFY2(lines.count(line) == 1, qPrintable(line + "\n" + lines.join('\n')));
    // The library reports the delivery back, and the plug-in logs it.
    QTRY_VERIFY_WITH_TIMEOUT(!Logged("Send result file succeeded. Peer=" + subscriber + ", ResultFile=")
                                  .filter("Telmor20261122030405a.cna")
                                  .isEmpty(),
                             20000);
    // Progress of the log file: exporting, then done, for that peer.
    QTRY_VERIFY_WITH_TIMEOUT(m_receiver.logFileStates.filter(subscriber).size() >= 2, 20000);
    const QStringList states = m_receiver.logFileStates.filter(subscriber);
    QVERIFY2(states.first().endsWith("SiemensHarvel.log 1") && states.last().endsWith("SiemensHarvel.log 2"),
             qPrintable(states.join(',')));
}

void TestZynNetLink::stopReturnsWhileARequestWaitsForTheMainThread()
{
    QVERIFY(!Started().isEmpty());
    // Told on the library's thread, before it starts to wait for this one.
    std::atomic<bool> waiting{false};
    m_receiver.Disconnect(&Bridge::m_instance);
    const QMetaObject::Connection spy = connect(
        &Bridge::m_instance, &Bridge::signalReadRVar, &m_receiver,
        [&waiting](const QString&, int, int, QList<double>&, bool&, QString&) { waiting = true; }, Qt::DirectConnection);
    QVERIFY(m_receiver.Connect(&Bridge::m_instance));
    const int entered = m_receiver.calls.size();
    QProcess client;
    client.start(BinaryDir() + "/bin/harvel-client", {"--server", m_server, "read-r", "0", "1"});
    // The main thread is busy, as it is when the HMI closes the plug-in.
    for (int waited = 0; !waiting && waited < 60000; waited += 5)
        QThread::msleep(5);
    QVERIFY(waiting);
    Host::Stop();
    QVERIFY(!Host::m_isRunning);
    disconnect(spy);
    // The waiting thread is let go by the slot, then returns into the
    // library's code, which must still be there.
    QTRY_COMPARE_WITH_TIMEOUT(m_receiver.calls.size(), entered + 1, 20000);
    QTRY_VERIFY_WITH_TIMEOUT(client.state() == QProcess::NotRunning, 30000);
    QCOMPARE(client.exitCode(), 2);
}

void TestZynNetLink::requestsCrossTheBridgeBothWays()
{
    QVERIFY(!Started().isEmpty());
    // Names and the machine's words in UTF-8 both ways, the peer beside them.
    const QString program = QStringLiteral("//NC/WKS.DIR/MESSUNG_\u00dc.WPD/PR\u00dcF.MPF");
    m_receiver.answerOK = false;
    m_receiver.answerErrInfo = QStringLiteral("Program does not exist \u00e4");
    ClientRun run = Client("select", {program});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(m_receiver.lastFile, program);
    QVERIFY2(run.err.contains(m_receiver.answerErrInfo), qPrintable(run.err));
    QVERIFY2(m_receiver.lastPeer.startsWith("ipv4:127.0.0.1:"), qPrintable(m_receiver.lastPeer));

    // Beyond the library's buffer a document is cut, and still an answer.
    m_receiver.answerOK = true;
    m_receiver.answerText = QString(3 * 1024 * 1024 / 2, 'r');
    run = Client("calibration");
    QVERIFY(run.exitCode == 0 && run.out.size() == 1024 * 1024 - 1);
    m_receiver.answerPosition = 10.5;
    QCOMPARE(Client("skip-position").out, QStringLiteral("x=10.5\ny=11.5\nz=12.5\na=13.5\nb=14.5\nc=15.5\n"));
    m_receiver.answerButton = 2;
    m_receiver.answerText = "12.5 mm";
    run = Client("message --type 1 --style 3 --text Durchmesser? --input-name D --id 9007199254740993");
    QCOMPARE(run.out, QStringLiteral("button=2\ninput=12.5 mm\n"));
    QCOMPARE(m_receiver.calls.last(), QStringLiteral("SendMsg 9007199254740993 1 3 Durchmesser? D"));

    // Request files: announced in the library's folder under the name the
    // client gave, in UTF-8 too; carried out once the machine takes it away.
    m_receiver.onReqFile = [](const QString& path) { QFile::remove(path); };
    const QString name = QStringLiteral("Pr\u00fcfung");
    QCOMPARE(Client("request", {"1 G54 X 1.5", "--name", name}).out, QStringLiteral("carried out\n"));
    QCOMPARE(m_receiver.receivedReqFiles.size(), 1);
    const QFileInfo announced(m_receiver.receivedReqFiles.first());
    QCOMPARE(announced.path(), Host::m_reqDir);
    QVERIFY2(announced.fileName().startsWith(name + '.') && announced.suffix() == "req", qPrintable(announced.fileName()));
    QTRY_VERIFY_WITH_TIMEOUT(!Logged("Receive req file succeeded. Peer=ipv4:127.0.0.1:")
                                  .filter(", ReqFile=" + announced.fileName())
                                  .filter("| INF | ")
                                  .isEmpty(),
                             20000);

    // Nobody in the HMI to answer is not the machine's no.
    m_receiver.Disconnect(&Bridge::m_instance);
    m_receiver.calls.clear();
    run = Client("read-r 0 1");
    QVERIFY(m_receiver.Connect(&Bridge::m_instance));
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.err.contains("unavailable"), qPrintable(run.err));
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
    OffMainThread([&] { result = Bridge::ReadRVarCallback("ipv4:127.0.0.1:1", 0, 3, values, errInfo, 8); });
    QVERIFY(result && values[0] == -1.0 && values[2] == -1.0 && errInfo[0] == '\0');
    // No values to write reach the service as none, for it to refuse.
    m_receiver.lastValues = {9.0};
    OffMainThread([&] { Bridge::WriteRVarCallback("ipv4:127.0.0.1:1", 0, 2, nullptr, errInfo, 8); });
    QCOMPARE(m_receiver.calls.last(), QStringLiteral("WriteRVar 0 2"));
    QVERIFY(m_receiver.lastValues.isEmpty());
    // The machine's words are cut to the buffer.
    m_receiver.answerOK = false;
    m_receiver.answerErrInfo = "Cannot read R variable";
    OffMainThread([&] { result = Bridge::ReadRVarCallback("ipv4:127.0.0.1:1", 0, 2, values, errInfo, 8); });
    QVERIFY(!result);
    QCOMPARE(QByteArray(errInfo), QByteArray("Cannot "));

    // A received request file is renamed before it is announced, replacing
    // an older request of that name; only the last suffix goes. Nothing to
    // rename: no announcement, the reason to the library and the log.
    const QString folder = m_dir.path() + "/direct/";
    QVERIFY(QDir().mkpath(folder));
    for (const char* c : {"abc.tmp abc.req", "abc.x.tmp abc.x.req", "abc abc.req"}) {
        const QString from = folder + QString(c).section(' ', 0, 0), to = folder + QString(c).section(' ', 1, 1);
        QFile file(from), old(to);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("1 G54 X 1\n") > 0 && old.open(QIODevice::WriteOnly));
        file.close();
        bool seenUnderFinalName = false;
        m_receiver.onReqFile = [&](const QString&) { seenUnderFinalName = !QFile::exists(from) && QFileInfo(to).size() > 0; };
        char err[64] = "stale";
        const QByteArray fromBytes = QFile::encodeName(from);
        for (const char* reqFile : {"net.req", "gone.req"}) {
            m_receiver.receivedReqFiles.clear();
            OffMainThread([&] {
                result = Bridge::RequestInteractiveCallback("ipv4:127.0.0.1:9", reqFile, fromBytes.constData(), err, 64);
            });
            const bool first = reqFile[0] == 'n';
            QVERIFY2(result == first && seenUnderFinalName, c);
            QCOMPARE(QByteArray(err), first ? QByteArray() : QByteArray("Cannot rename file"));
            QCOMPARE(m_receiver.receivedReqFiles, first ? QStringList{to} : QStringList());
            QVERIFY(!first || QFile::remove(to));
        }
    }
    QTRY_VERIFY_WITH_TIMEOUT(!Logged("| ERR | ")
                                  .filter("Receive req file failed. Peer=ipv4:127.0.0.1:9, ReqFile=gone.req, "
                                          "ErrInfo=Cannot rename file")
                                  .isEmpty(),
                             20000);

    // Arrivals and departures are logged; only action 1 is a departure, and
    // an action the library does not name is an arrival, logged by nobody.
    const char* const peer = "ipv6:[fd00::2]:40001";
    m_receiver.clientActions.clear();
    SinceMark();
    for (int action : {2, 7, 1}) {
        OffMainThread([&] { result = Bridge::ClientActionCallback(peer, "Subscribe", action); });
        QVERIFY(result && (Find(peer).id != 0) == (action != 1));
    }
    QCOMPARE(m_receiver.clientActions.join(','), QStringLiteral("%1 Subscribe 2,%1 Subscribe 7,%1 Subscribe 1").arg(peer));
    QStringList lines;
    for (const QString& line : SinceMark().filter(peer))
        lines << line.section(" | ", 1, 1) + " | " + line.section(" | ", 3);
    QCOMPARE(lines, QStringList({"INF | ZYN Net client connected. Peer=ipv6:[fd00::2]:40001, Method=Subscribe",
                                 "INF | ZYN Net client disconnected. Peer=ipv6:[fd00::2]:40001"}));
}

QTEST_GUILESS_MAIN(TestZynNetLink)
#include "TestZynNetLink.moc"
