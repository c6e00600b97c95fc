// 32 measurement applications reading and writing R parameters at once,
// each in a range of its own, while an operator message holds the HMI's
// main thread in its nested event loop; then the message is answered, and
// the HMI is told to end (SIGTERM) in the middle of the same load: the net
// server must let go of every call within 2 s and the HMI end cleanly.
// harvel-hmi runs as a process of its own, the clients as threads here.

#include "HmiMachine.h"

#include "harvel_net_v1.grpc.pb.h"

#include <grpcpp/grpcpp.h>

#include <QDateTime>

#include <csignal>
#include <thread>

using namespace NetLinkFixture;
namespace v1 = harvel::net::v1;

namespace {
const int kClients = 32;
const int kValues = 8; // per client, at index client * 9: 32 ranges in the machine's 300

// One client's rounds of write, then read back. Stops at the first failed
// call, at the first wrong value (an error that starts with "round"), or
// when told; a failed call after `stop` is expected.
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
            v1::ReadRVarRequest read;
            v1::Reply written;
            v1::ReadRVarReply values;
            write.set_index(id * 9);
            read.set_index(id * 9);
            read.set_count(kValues);
            for (int k = 0; k < kValues; ++k)
                write.add_values(id * 1000 + r + k * 0.125);
            grpc::ClientContext wctx, rctx;
            wctx.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
            rctx.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(40));
            const grpc::Status w = stub->WriteRVar(&wctx, write, &written);
            const grpc::Status rd = w.ok() && written.ok() ? stub->ReadRVar(&rctx, read, &values) : grpc::Status();
            if (!w.ok() || !written.ok() || !rd.ok() || !values.ok() || values.values_size() != kValues) {
                error = QStringLiteral("call %1: %2").arg(r).arg(QString::fromStdString(
                    w.error_message() + rd.error_message() + written.err_info() + values.err_info()));
                return;
            }
            for (int k = 0; k < kValues; ++k)
                if (values.values(k) != id * 1000 + r + k * 0.125) {
                    error = QStringLiteral("round %1: R%2 is %3").arg(r).arg(id * 9 + k).arg(values.values(k));
                    return;
                }
            rounds = r + 1;
        }
    }
};
} // namespace

class TestNetLoad : public QObject
{
    Q_OBJECT

private slots:
    void clientsUnderAMessageThenStopUnderLoad();
};

void TestNetLoad::clientsUnderAMessageThenStopUnderLoad()
{
    HmiMachine m;
    QVERIFY(m.Install() && m.Start());
    QTRY_VERIFY_WITH_TIMEOUT(m.Ctl({"hmi", "areas"}).out.contains("Norvane SiemensHarvel ok"), 60000);
    QProcess message;
    message.start(BinaryDir() + "/bin/harvel-client",
                  QString("--server " + m.server + " message --style 0 --type 0 --text Load --id 15").split(' '));
    QTRY_COMPARE_WITH_TIMEOUT(m.Screen(), QStringLiteral("screenIMSG"), 20000);

    const std::string address = m.server.toStdString();
    std::vector<Client> clients(kClients);
    std::atomic<bool> stop{false};
    auto start = [&](int rounds) {
        std::vector<std::thread> threads;
        for (int c = 0; c < kClients; ++c) {
            clients[c].id = c;
            clients[c].rounds = 0;
            clients[c].error.clear();
            threads.emplace_back([&, c, rounds] { clients[c].Run(address, rounds, stop); });
        }
        return threads;
    };
    // Round one: every client to its end while the message stands.
    for (std::thread& t : start(20))
        t.join();
    for (const Client& c : clients)
        QVERIFY2(c.error.isEmpty() && c.rounds == 20,
                 qPrintable(QStringLiteral("client %1 after %2 rounds: %3").arg(c.id).arg(c.rounds.load()).arg(c.error)));
    QVERIFY(m.Screen() == "screenIMSG" && message.state() == QProcess::Running);
    QVERIFY(m.Hmi({"key", "doOK"}));
    QVERIFY(message.waitForFinished(20000));
    QCOMPARE(message.exitCode(), 0);
    QVERIFY2(message.readAllStandardOutput().contains("button=1"), "the message's answer did not reach its sender");

    // Round two: the HMI is told to end while the load runs.
    std::vector<std::thread> threads = start(1000000);
    QTRY_VERIFY_WITH_TIMEOUT(std::all_of(clients.begin(), clients.end(), [](const Client& c) { return c.rounds > 2; }),
                             30000);
    const QDateTime termAt = QDateTime::currentDateTime();
    ::kill(pid_t(m.hmi.processId()), SIGTERM);
    const bool ended = m.hmi.waitForFinished(20000);
    const qint64 exitMs = termAt.msecsTo(QDateTime::currentDateTime());
    stop = true;
    for (auto& t : threads)
        t.join();
    QVERIFY(ended && m.hmi.exitStatus() == QProcess::NormalExit);
    QCOMPARE(m.hmi.exitCode(), 0);
    // A client cut off by the stop sees an error, never a wrong value.
    for (const Client& c : clients)
        QVERIFY2(!c.error.startsWith("round"), qPrintable(c.error));

    // The stop, from the signal to the server's last call let go. The logger
    // gives up its last lines at exit, the stop's among them at times; then
    // the whole exit stands for it, with room for the rest.
    const QRegularExpressionMatch stopLine =
        QRegularExpression(R"((\S+ \S+) \| INF \| \w+ \| Stop ZYN Net Server succeeded\.\n)").match(m.Log());
    const qint64 stopMs = stopLine.hasMatch()
        ? termAt.msecsTo(QDateTime::fromString(stopLine.captured(1), "yyyy-MM-dd hh:mm:ss.zzz"))
        : exitMs;
    QVERIFY2(stopMs <= (stopLine.hasMatch() ? 2000 : 5000), qPrintable(QStringLiteral("stop took %1 ms").arg(stopMs)));
}

QTEST_GUILESS_MAIN(TestNetLoad)
#include "TestNetLoad.moc"
