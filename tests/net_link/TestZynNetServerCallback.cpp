// Net requests from harvel-client through the real net server library,
// installed in an application folder, across the callback bridge to a
// receiver in the main thread connected as the component connects: what
// the whole chain does not show (identifiers and names as the library spells
// them, a missing receiver), and the bridge's own rules for what the library
// cannot provoke.

#include "LogFile.h"
#include "NetLinkFixture.h"
#include "NetReceiver.h"
#include "ZynNetClientCollect.h"
#include "ZynNetServerCallback.h"
#include "ZynNetServerHost.h"

#include <QDir>
#include <QtTest>

#include <cmath>
#include <functional>
#include <thread>

using namespace NetLinkFixture;

class TestZynNetServerCallback : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void answersTravelInUtf8AndAreCutToTheBuffers();
    void messageWaitsForItsAnswer();
    void requestFiles();
    void withoutReceiverTheClientHearsUnavailable();
    void answersOfTheWrongSizeAreNotWritten();
    void receivedRequestFileIsRenamedBeforeItIsAnnounced_data();
    void receivedRequestFileIsRenamedBeforeItIsAnnounced();
    void onlyActionOneIsADeparture();

private:
    ClientRun Client(const QStringList& args) { return RunClient(m_server, args); }
    // Runs f on a thread of its own, as the library calls, while this
    // thread serves the blocking connections.
    static void OffMainThread(const std::function<void()>& f);
    static QList<double> Numbers(const QString& lines);

    QTemporaryDir m_dir;
    QString m_applDir;
    QString m_server;
    LogFile m_log;
    NetReceiver m_receiver;
};

void TestZynNetServerCallback::OffMainThread(const std::function<void()>& f)
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

QList<double> TestZynNetServerCallback::Numbers(const QString& lines)
{
    QList<double> numbers;
    for (const QString& line : lines.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        numbers << line.trimmed().toDouble();
    return numbers;
}

void TestZynNetServerCallback::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_applDir = m_dir.path() + QStringLiteral("/appl");
    QVERIFY(QDir().mkpath(m_applDir + QStringLiteral("/logs")));
    m_log.Start(m_applDir + QStringLiteral("/logs/SiemensHarvel.log"));
    QVERIFY(InstallNetServer(m_applDir));

    QVERIFY(m_receiver.Connect(&CZynNetServerCallback::m_instance));
    CZynNetServerHost::Initialize(m_applDir);
    QVERIFY(CZynNetServerHost::Start(true, QStringLiteral("127.0.0.1"), 0));
    const quint16 port = ServerPort(m_applDir);
    QVERIFY(port != 0);
    m_server = QStringLiteral("127.0.0.1:%1").arg(port);
}

void TestZynNetServerCallback::cleanupTestCase()
{
    CZynNetServerHost::Stop();
    m_receiver.Disconnect(&CZynNetServerCallback::m_instance);
    LogFile::Stop();
}

void TestZynNetServerCallback::init()
{
    m_receiver.answerOK = true;
    m_receiver.answerErrInfo.clear();
    m_receiver.answerValues.clear();
    m_receiver.answerText.clear();
    m_receiver.answerFlag = false;
    m_receiver.calls.clear();
    m_receiver.receivedReqFiles.clear();
    m_receiver.onReqFile = nullptr;
}

void TestZynNetServerCallback::answersTravelInUtf8AndAreCutToTheBuffers()
{
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
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(Numbers(run.out.replace(QRegularExpression(QStringLiteral("[a-z]=")), QString())),
             (QList<double>{10.5, 11.5, 12.5, 13.5, 14.5, 15.5}));
}

void TestZynNetServerCallback::messageWaitsForItsAnswer()
{
    m_receiver.answerButton = 2;
    m_receiver.answerText = QStringLiteral("12.5 mm");
    const ClientRun run = Client({QStringLiteral("message"), QStringLiteral("--type"), QStringLiteral("1"),
                                  QStringLiteral("--style"), QStringLiteral("3"), QStringLiteral("--text"),
                                  QStringLiteral("Durchmesser?"), QStringLiteral("--input-name"),
                                  QStringLiteral("D"), QStringLiteral("--id"), QStringLiteral("9007199254740993")});
    QVERIFY2(run.exitCode == 0, qPrintable(run.err));
    QCOMPARE(m_receiver.calls.last(), QStringLiteral("SendMsg 9007199254740993 1 3 Durchmesser? D"));
    QVERIFY2(run.out.contains(QStringLiteral("button=2")), qPrintable(run.out));
    QVERIFY2(run.out.contains(QStringLiteral("input=12.5 mm")), qPrintable(run.out));
}

void TestZynNetServerCallback::requestFiles()
{
    const QString reqDir = CZynNetServerHost::m_reqDir;
    QCOMPARE(reqDir, m_applDir + QStringLiteral("/zyn/req"));

    // Carried out: the machine takes the file away.
    m_receiver.onReqFile = [](const QString& path) { QFile::remove(path); };
    ClientRun run = Client({QStringLiteral("request"), QStringLiteral("1 G54 X 1.5"), QStringLiteral("--name"),
                            QStringLiteral("wofs")});
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.out.contains(QStringLiteral("carried out")), qPrintable(run.out));
    QCOMPARE(m_receiver.receivedReqFiles.size(), 1);
    const QFileInfo announced(m_receiver.receivedReqFiles.first());
    QCOMPARE(announced.path(), reqDir);
    QVERIFY2(announced.fileName().startsWith(QStringLiteral("wofs.")), qPrintable(announced.fileName()));
    QCOMPARE(announced.suffix(), QStringLiteral("req"));
    QTRY_VERIFY_WITH_TIMEOUT(!m_log.Matching(QStringLiteral("| INF | "))
                                  .filter(QStringLiteral("Receive req file succeeded. Peer=ipv4:127.0.0.1:"))
                                  .filter(QStringLiteral(", ReqFile=%1").arg(announced.fileName()))
                                  .isEmpty(),
                             20000);

    // A name the library spelled in UTF-8 still finds its file.
    m_receiver.receivedReqFiles.clear();
    run = Client({QStringLiteral("request"), QStringLiteral("1 G55 Y 2"), QStringLiteral("--name"),
                  QStringLiteral("Pr\u00fcfung")});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(m_receiver.receivedReqFiles.size(), 1);
    QVERIFY2(QFileInfo(m_receiver.receivedReqFiles.first()).fileName().startsWith(QStringLiteral("Pr\u00fcfung.")),
             qPrintable(m_receiver.receivedReqFiles.first()));
}

void TestZynNetServerCallback::withoutReceiverTheClientHearsUnavailable()
{
    // Nobody in the HMI to answer is not the machine's no.
    m_receiver.Disconnect(&CZynNetServerCallback::m_instance);
    const ClientRun run = Client({QStringLiteral("read-r"), QStringLiteral("0"), QStringLiteral("1")});
    QVERIFY(m_receiver.Connect(&CZynNetServerCallback::m_instance));
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.err.contains(QStringLiteral("unavailable")), qPrintable(run.err));
    QVERIFY(m_receiver.calls.isEmpty());
}

void TestZynNetServerCallback::answersOfTheWrongSizeAreNotWritten()
{
    // The library's buffer has room for count values; a list of another
    // length is not written, and the answer stands.
    m_receiver.answerValues = {1.0, 2.0};
    double values[3] = {-1.0, -1.0, -1.0};
    char errInfo[8] = "x";
    bool result = false;
    OffMainThread([&] {
        result = CZynNetServerCallback::ReadRVarCallback("ipv4:127.0.0.1:1", 0, 3, values, errInfo, sizeof errInfo);
    });
    QVERIFY(result);
    QCOMPARE(values[0], -1.0);
    QCOMPARE(values[2], -1.0);
    QCOMPARE(errInfo[0], '\0');

    // No values to write reach the service as none, for it to refuse.
    m_receiver.lastValues = {9.0};
    OffMainThread([&] {
        result = CZynNetServerCallback::WriteRVarCallback("ipv4:127.0.0.1:1", 0, 2, nullptr, errInfo, sizeof errInfo);
    });
    QCOMPARE(m_receiver.calls.last(), QStringLiteral("WriteRVar 0 2"));
    QVERIFY(m_receiver.lastValues.isEmpty());

    // The machine's words are cut to the buffer.
    m_receiver.answerOK = false;
    m_receiver.answerErrInfo = QStringLiteral("Cannot read R variable");
    OffMainThread([&] {
        result = CZynNetServerCallback::ReadRVarCallback("ipv4:127.0.0.1:1", 0, 2, values, errInfo, sizeof errInfo);
    });
    QVERIFY(!result);
    QCOMPARE(QByteArray(errInfo), QByteArray("Cannot "));
}

void TestZynNetServerCallback::receivedRequestFileIsRenamedBeforeItIsAnnounced_data()
{
    QTest::addColumn<QString>("received");
    QTest::addColumn<QString>("announced");
    QTest::newRow("one suffix") << "abc.tmp" << "abc.req";
    QTest::newRow("only the last suffix goes") << "abc.x.tmp" << "abc.x.req";
    QTest::newRow("no suffix") << "abc" << "abc.req";
}

void TestZynNetServerCallback::receivedRequestFileIsRenamedBeforeItIsAnnounced()
{
    QFETCH(QString, received);
    QFETCH(QString, announced);
    const QString folder = m_dir.path() + QStringLiteral("/direct");
    QVERIFY(QDir().mkpath(folder));
    const QString from = folder + QLatin1Char('/') + received;
    const QString to = folder + QLatin1Char('/') + announced;
    {
        QFile file(from);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("1 G54 X 1\n");
    }
    // An older request of the same name is replaced.
    {
        QFile old(to);
        QVERIFY(old.open(QIODevice::WriteOnly));
    }
    bool seenUnderFinalName = false;
    m_receiver.onReqFile = [&](const QString& path) {
        seenUnderFinalName = !QFile::exists(from) && QFileInfo(path).size() > 0;
    };
    char errInfo[64] = "stale";
    bool result = false;
    const QByteArray fromBytes = QFile::encodeName(from);
    OffMainThread([&] {
        result = CZynNetServerCallback::RequestInteractiveCallback("ipv4:127.0.0.1:9", "net.req",
                                                                   fromBytes.constData(), errInfo, sizeof errInfo);
    });
    QVERIFY(result);
    QCOMPARE(errInfo[0], '\0');
    QCOMPARE(m_receiver.receivedReqFiles, QStringList{to});
    QVERIFY(seenUnderFinalName);
    QVERIFY(QFile::remove(to));

    // Nothing to rename: no announcement, the reason to the library and
    // the log.
    m_receiver.receivedReqFiles.clear();
    OffMainThread([&] {
        result = CZynNetServerCallback::RequestInteractiveCallback("ipv4:127.0.0.1:9", "gone.req",
                                                                   fromBytes.constData(), errInfo, sizeof errInfo);
    });
    QVERIFY(!result);
    QCOMPARE(QByteArray(errInfo), QByteArray("Cannot rename file"));
    QVERIFY(m_receiver.receivedReqFiles.isEmpty());
    QTRY_VERIFY_WITH_TIMEOUT(!m_log.Matching(QStringLiteral("Receive req file failed. Peer=ipv4:127.0.0.1:9, "
                                                            "ReqFile=gone.req, ErrInfo=Cannot rename file"))
                                  .filter(QStringLiteral("| ERR | "))
                                  .isEmpty(),
                             20000);
}

void TestZynNetServerCallback::onlyActionOneIsADeparture()
{
    const char* const peer = "ipv6:[fd00::2]:40001";
    auto listed = [peer] {
        for (const tagClientInfo& info : CZynNetClientCollect::GetClientList()) {
            if (info.peer == QLatin1String(peer))
                return true;
        }
        return false;
    };
    m_receiver.clientActions.clear();
    m_log.SinceMark();

    // An action the library does not name is an arrival, told to nobody.
    bool result = false;
    OffMainThread([&] { result = CZynNetServerCallback::ClientActionCallback(peer, "Subscribe", 7); });
    QVERIFY(result);
    QVERIFY(listed());
    QCOMPARE(m_receiver.clientActions, QStringList{QStringLiteral("ipv6:[fd00::2]:40001 Subscribe 7")});
    QVERIFY(m_log.SinceMark().filter(QLatin1String(peer)).isEmpty());

    OffMainThread([&] { result = CZynNetServerCallback::ClientActionCallback(peer, "Subscribe", 1); });
    QVERIFY(result);
    QVERIFY(!listed());
    const QStringList lines = m_log.SinceMark().filter(QLatin1String(peer));
    QCOMPARE(lines.size(), 1);
    QVERIFY2(lines.first().contains(QStringLiteral(" | INF | "))
                 && lines.first().endsWith(QStringLiteral(" | ZYN Net client disconnected. Peer=ipv6:[fd00::2]:40001")),
             qPrintable(lines.first()));
    QCOMPARE(m_receiver.clientActions.size(), 2);
}

QTEST_GUILESS_MAIN(TestZynNetServerCallback)
#include "TestZynNetServerCallback.moc"
