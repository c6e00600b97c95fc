// 32 measurement applications reading and writing R parameters at once,
// each in a range of its own, while an operator message holds the HMI's
// main thread in its nested event loop; then the message is answered, and
// the HMI is told to end (SIGTERM) in the middle of the same load: the net
// server must let go of every call within 2 s and the HMI end cleanly.
// harvel-hmi runs as a process of its own, the clients as threads here.

#include "CtlClient.h"
#include "NetLinkFixture.h"

#include "harvel_net_v1.grpc.pb.h"

#include <grpcpp/grpcpp.h>

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTcpServer>
#include <QtTest>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

using namespace NetLinkFixture;
namespace v1 = harvel::net::v1;

namespace {
const int kClients = 32;
const int kValues = 8; // per client, at index client * 9: 32 ranges in the machine's 300

// One client's rounds of write, then read back. Stops at the first wrong
// answer (counted) or when told; an error after `stopped` is expected.
struct Client
{
    int id = 0;
    std::atomic<int> rounds{0}; // watched by the main thread while the client runs
    QString error;

    void Run(const std::string& server, int maxRounds, const std::atomic<bool>& stop)
    {
        auto stub = v1::Machine::NewStub(grpc::CreateChannel(server, grpc::InsecureChannelCredentials()));
        for (int r = 0; r < maxRounds && !stop; ++r) {
            v1::WriteRVarRequest write;
            write.set_index(id * 9);
            for (int k = 0; k < kValues; ++k)
                write.add_values(id * 1000 + r + k * 0.125);
            v1::Reply written;
            grpc::ClientContext wctx;
            wctx.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
            grpc::Status s = stub->WriteRVar(&wctx, write, &written);
            if (!s.ok() || !written.ok()) {
                error = QStringLiteral("write %1: %2 %3").arg(r).arg(QString::fromStdString(s.error_message()),
                                                                     QString::fromStdString(written.err_info()));
                return;
            }
            v1::ReadRVarRequest read;
            read.set_index(id * 9);
            read.set_count(kValues);
            v1::ReadRVarReply values;
            grpc::ClientContext rctx;
            rctx.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
            s = stub->ReadRVar(&rctx, read, &values);
            if (!s.ok() || !values.ok() || values.values_size() != kValues) {
                error = QStringLiteral("read %1: %2 %3").arg(r).arg(QString::fromStdString(s.error_message()),
                                                                    QString::fromStdString(values.err_info()));
                return;
            }
            for (int k = 0; k < kValues; ++k)
                if (values.values(k) != id * 1000 + r + k * 0.125) {
                    error = QStringLiteral("round %1: R%2 is %3").arg(r).arg(id * 9 + k).arg(values.values(k));
                    return;
                }
            rounds.store(r + 1);
        }
    }
};
} // namespace

class TestNetLoad : public QObject
{
    Q_OBJECT

private slots:
    void clientsUnderAMessageThenStopUnderLoad();

private:
    CtlResult Hmi(const QStringList& args)
    {
        return CtlClient::call(m_machine.path(), QStringList{QStringLiteral("hmi")} + args, 20000);
    }
    QString Screen()
    {
        return QJsonDocument::fromJson(Hmi({QStringLiteral("state"), QStringLiteral("--json")}).out.toUtf8())
            .object()
            .value(QStringLiteral("screen"))
            .toString();
    }

    QTemporaryDir m_machine;
};

void TestNetLoad::clientsUnderAMessageThenStopUnderLoad()
{
    QVERIFY(m_machine.isValid());
    QTcpServer probe;
    QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
    const QString server = QStringLiteral("127.0.0.1:%1").arg(probe.serverPort());
    probe.close();
    const QString install = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' --net-server %3 '%4' >/dev/null")
                                .arg(BinaryDir(), QStringLiteral(HARVEL_INSTALL_SCRIPT), server, m_machine.path());
    QVERIFY(std::system(install.toLocal8Bit().constData()) == 0);
    QProcess hmi;
    hmi.setProcessChannelMode(QProcess::ForwardedChannels);
    hmi.start(BinaryDir() + QStringLiteral("/bin/harvel-hmi"),
              {QStringLiteral("--machine"), m_machine.path(), QStringLiteral("--headless")});
    QVERIFY(hmi.waitForStarted(20000));
    QTRY_VERIFY_WITH_TIMEOUT(Hmi({QStringLiteral("areas")}).out.contains(QStringLiteral("Norvane SiemensHarvel ok")),
                             60000);

    QProcess message;
    message.start(BinaryDir() + QStringLiteral("/bin/harvel-client"),
                  {QStringLiteral("--server"), server, QStringLiteral("message"), QStringLiteral("--style"),
                   QStringLiteral("0"), QStringLiteral("--type"), QStringLiteral("0"), QStringLiteral("--text"),
                   QStringLiteral("Load under a message"), QStringLiteral("--id"), QStringLiteral("15")});
    QTRY_COMPARE_WITH_TIMEOUT(Screen(), QStringLiteral("screenIMSG"), 20000);

    // Round one: every client to its end while the message stands.
    const std::string address = server.toStdString();
    std::vector<Client> clients(kClients);
    std::atomic<bool> stop{false};
    {
        std::vector<std::thread> threads;
        for (int c = 0; c < kClients; ++c) {
            clients[c].id = c;
            threads.emplace_back([&, c] { clients[c].Run(address, 20, stop); });
        }
        for (auto& t : threads)
            t.join();
    }
    for (const Client& c : clients)
        QVERIFY2(c.error.isEmpty() && c.rounds == 20,
                 qPrintable(QStringLiteral("client %1 after %2 rounds: %3").arg(c.id).arg(c.rounds.load()).arg(c.error)));
    QCOMPARE(Screen(), QStringLiteral("screenIMSG"));
    QCOMPARE(message.state(), QProcess::Running);
    QCOMPARE(Hmi({QStringLiteral("key"), QStringLiteral("doOK")}).code, 0);
    QVERIFY(message.waitForFinished(20000));
    QCOMPARE(message.exitCode(), 0);
    QVERIFY2(message.readAllStandardOutput().contains("button=1"), "the message's answer did not reach its sender");

    // Round two: the HMI is told to end while the load runs.
    for (Client& c : clients) {
        c.rounds = 0;
        c.error.clear();
    }
    std::vector<std::thread> threads;
    for (int c = 0; c < kClients; ++c)
        threads.emplace_back([&, c] { clients[c].Run(address, 1000000, stop); });
    QTRY_VERIFY_WITH_TIMEOUT(std::all_of(clients.begin(), clients.end(), [](const Client& c) { return c.rounds > 2; }),
                             30000);
    const QDateTime termAt = QDateTime::currentDateTime();
    QElapsedTimer exitTime;
    exitTime.start();
    ::kill(pid_t(hmi.processId()), SIGTERM);
    const bool ended = hmi.waitForFinished(20000);
    const qint64 exitMs = exitTime.elapsed();
    stop = true;
    for (auto& t : threads)
        t.join();
    QVERIFY(ended);
    QCOMPARE(hmi.exitStatus(), QProcess::NormalExit);
    QCOMPARE(hmi.exitCode(), 0);
    // A client cut off by the stop sees an error, never a wrong value.
    for (const Client& c : clients)
        QVERIFY2(!c.error.startsWith(QLatin1String("round")), qPrintable(c.error));

    // The stop, from the signal to the server's last call let go.
    QFile logFile(m_machine.path() + QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl/logs/SiemensHarvel.log"));
    QVERIFY(logFile.open(QIODevice::ReadOnly));
    const QString log = QString::fromUtf8(logFile.readAll());
    const QRegularExpressionMatch stopLine =
        QRegularExpression(QStringLiteral("(\\S+ \\S+) \\| INF \\| \\w+ \\| Stop ZYN Net Server succeeded\\.\n"))
            .match(log);
    qint64 stopMs = exitMs;
    if (stopLine.hasMatch())
        stopMs = termAt.msecsTo(
            QDateTime::fromString(stopLine.captured(1), QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")));
    qInfo("SIGTERM to server stopped: %lld ms, to process exit: %lld ms%s", stopMs, exitMs,
          stopLine.hasMatch() ? "" : " (stop line not logged; exit time taken)");
    // The logger gives up its last lines at exit, the stop's among them at
    // times; then the whole exit stands for it, with room for the rest.
    const qint64 bound = stopLine.hasMatch() ? 2000 : 5000;
    QVERIFY2(stopMs <= bound, qPrintable(QStringLiteral("stop took %1 ms").arg(stopMs)));
}

QTEST_GUILESS_MAIN(TestNetLoad)
#include "TestNetLoad.moc"
