// The net server under what a hostile or broken network sends: raw bytes
// on the port, hundreds of connections that never say anything, messages
// of 100 KB, and a request folder that would fill up with fates. Through
// all of it the server keeps serving a well-behaved client.
#include "NetServerLibrary.h"
#include "TestHost.h"
#include "harvel_net_v1.grpc.pb.h"

#include <grpcpp/grpcpp.h>

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <fstream>
#include <future>

using namespace harvel::net::v1;

namespace {

// Connects to 127.0.0.1:port, or gives -1.
int RawConnect(const std::string& address)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_port = htons(std::uint16_t(std::stoi(address.substr(address.rfind(':') + 1))));
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa) == 0)
        return fd;
    if (fd >= 0)
        close(fd);
    return -1;
}

int CountFates(const std::string& folder)
{
    return QDir(QString::fromStdString(folder))
        .entryList({QStringLiteral("*.REC"), QStringLiteral("*.REP")}, QDir::Files)
        .size();
}

} // namespace

class TestHostileInput : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void garbageAndIdleConnectionsLeaveOthersServed();
    void aMessageOf100KBIsAnsweredWithAStatus();
    void fatesOfRequestsAreKeptByCount();

private:
    // A read of R variables with a deadline: the sign that the server serves.
    grpc::Status ReadR(ReadRVarReply& reply)
    {
        grpc::ClientContext ctx;
        ctx.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(10));
        ReadRVarRequest request;
        request.set_index(1);
        request.set_count(2);
        return m_machine->ReadRVar(&ctx, request, &reply);
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    NetServerLibrary m_lib;
    void* m_table[ZYN_CALLBACK_COUNT] = {};
    std::unique_ptr<Machine::Stub> m_machine;
    std::unique_ptr<Files::Stub> m_files;
};

void TestHostileInput::init()
{
    TestHost::Instance().Reset();
    TestHost::Instance().FillTable(m_table);
    m_dir = std::make_unique<QTemporaryDir>();
    const std::string appl = m_dir->path().toStdString() + "/appl";
    QVERIFY(QDir().mkpath(QString::fromStdString(appl)));
    std::string error;
    QVERIFY2(m_lib.Load(appl, "client_idle_seconds = 2\n", error), error.c_str());
    QVERIFY2(m_lib.CreateAndStart(m_table, appl, error), error.c_str());
    auto channel = grpc::CreateChannel(m_lib.address, grpc::InsecureChannelCredentials());
    m_machine = Machine::NewStub(channel);
    m_files = Files::NewStub(channel);
}

void TestHostileInput::cleanup()
{
    m_machine.reset();
    m_files.reset();
    m_lib.StopAndRelease();
    m_lib.Unload();
    m_dir.reset();
}

void TestHostileInput::garbageAndIdleConnectionsLeaveOthersServed()
{
    // Connections that send bytes which are no HTTP/2, some binary, some a
    // plausible beginning, then stay open.
    std::vector<int> sockets;
    const std::string garbage[] = {std::string("GET / HTTP/1.1\r\nHost: x\r\n\r\n"),
                                   std::string("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n") + std::string(64, '\xff'),
                                   std::string(4096, '\0'), std::string("\x16\x03\x01\x02\x00\x01", 6)};
    for (const std::string& bytes : garbage) {
        const int fd = RawConnect(m_lib.address);
        QVERIFY(fd >= 0);
        QCOMPARE(send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), ssize_t(bytes.size()));
        sockets.push_back(fd);
    }
    // Hundreds of connections that never say a word.
    for (int i = 0; i < 300; ++i) {
        const int fd = RawConnect(m_lib.address);
        QVERIFY2(fd >= 0, qPrintable(QString::number(i)));
        sockets.push_back(fd);
    }
    ReadRVarReply reply;
    const grpc::Status status = ReadR(reply);
    QVERIFY2(status.ok(), status.error_message().c_str());
    QVERIFY(reply.ok());
    QCOMPARE(reply.values_size(), 2);
    // Nobody who never spoke gRPC counts as a client of the machine.
    TestHost& host = TestHost::Instance();
    auto connects = [&host] {
        int n = 0;
        for (const std::string& event : host.events)
            n += event.rfind("connect ", 0) == 0;
        return n;
    };
    QVERIFY(host.WaitFor([&] { return connects() >= 1; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    QVERIFY(host.WaitFor([&] { return connects() == 1; }, std::chrono::milliseconds(1)));
    for (int fd : sockets)
        close(fd);
    QVERIFY(ReadR(reply).ok());
}

void TestHostileInput::aMessageOf100KBIsAnsweredWithAStatus()
{
    // An operator message of 100 KB, and a request file of the same size:
    // each gets a status or an answer, and the server serves on.
    {
        grpc::ClientContext ctx;
        ctx.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(10));
        MessageRequest request;
        request.set_text(std::string(100 * 1024, 'M'));
        MessageReply reply;
        const grpc::Status status = m_machine->SendMessage(&ctx, request, &reply);
        QVERIFY2(status.ok() || !status.error_message().empty(), "a refusal without words");
        QVERIFY(status.ok() || status.error_code() != grpc::StatusCode::DEADLINE_EXCEEDED);
    }
    {
        grpc::ClientContext ctx;
        RequestFileRequest request;
        request.set_name("big");
        request.set_content(std::string(100 * 1024, '3'));
        RequestFileReply reply;
        const grpc::Status status = m_files->SendRequestFile(&ctx, request, &reply);
        QCOMPARE(status.error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
        QVERIFY(!status.error_message().empty());
    }
    ReadRVarReply reply;
    QVERIFY(ReadR(reply).ok());
}

void TestHostileInput::fatesOfRequestsAreKeptByCount()
{
    // 250 fates of an earlier day lie in the request folder.
    for (int i = 0; i < 250; ++i) {
        const std::string path = m_lib.reqDir + "/old" + std::to_string(i) + (i % 2 ? ".REC" : ".REP");
        std::ofstream(path) << "3 7 1 25 1.5";
        const timeval old[2] = {{1000000 + i, 0}, {1000000 + i, 0}};
        QVERIFY(utimes(path.c_str(), old) == 0);
    }
    std::ofstream(m_lib.reqDir + "/notes.txt") << "not a fate";

    TestHost& host = TestHost::Instance();
    auto sent = std::async(std::launch::async, [this] {
        grpc::ClientContext ctx;
        RequestFileRequest request;
        request.set_name("new");
        request.set_content("3 7 1 25 1.5");
        RequestFileReply reply;
        m_files->SendRequestFile(&ctx, request, &reply);
        return reply;
    });
    QVERIFY(host.WaitFor([&] { return !host.requests.empty(); }));
    std::string req;
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        req = host.requests.front();
        host.requests.pop_front();
    }
    const std::string kept = req.substr(0, req.size() - 4) + ".REC";
    QCOMPARE(std::rename(req.c_str(), kept.c_str()), 0);
    QCOMPARE(sent.get().outcome(), REQUEST_OUTCOME_CARRIED_OUT_KEPT);

    // The newest 200 stay, the new one among them; anything else is left.
    QVERIFY(host.WaitFor([&] { return CountFates(m_lib.reqDir) == 200; }));
    struct stat st;
    QCOMPARE(stat(kept.c_str(), &st), 0);
    QCOMPARE(stat((m_lib.reqDir + "/old249.REC").c_str(), &st), 0);
    QCOMPARE(stat((m_lib.reqDir + "/old51.REC").c_str(), &st), 0);
    QVERIFY(stat((m_lib.reqDir + "/old50.REP").c_str(), &st) != 0);
    QCOMPARE(stat((m_lib.reqDir + "/notes.txt").c_str(), &st), 0);
}

QTEST_GUILESS_MAIN(TestHostileInput)
#include "TestHostileInput.moc"
