// The library alone, driven through its C interface with a host of the
// test's own, and real gRPC clients over loopback; also what a hostile or
// broken network sends: raw bytes, idle connections, big messages.

#include "NetServerLibrary.h"
#include "TestHost.h"
#include "harvel_net_v1.grpc.pb.h"

#include <google/protobuf/text_format.h>
#include <grpcpp/grpcpp.h>
#include <grpcpp/impl/client_unary_call.h>

#include <QtTest>

#include <arpa/inet.h>
#include <csignal>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <future>
#include <sstream>

using namespace harvel::net::v1;
using Code = grpc::StatusCode;

namespace {

const char kConfig[] = "max_upload_bytes = 1000000\nmax_r_count = 50\nclient_idle_seconds = 2\n";

std::string ReadAll(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

bool Exists(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

QStringList FilesIn(const std::string& folder)
{
    return QDir(QString::fromStdString(folder)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
}

// A path in protobuf's text form; the paths here hold no quotes.
std::string Quoted(const std::string& path)
{
    return '"' + QString::fromStdString(path).replace("\\", "\\\\").toStdString() + '"';
}

std::size_t Asked()
{
    std::lock_guard<std::mutex> lock(TestHost::Instance().mutex);
    return TestHost::Instance().peers.size();
}

// A call's status, and its reply in protobuf's short text form.
struct Outcome { Code code; std::string reply; };

template <class Stub, class Req, class Rep>
Outcome Unary(Stub* stub, grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Req&, Rep*),
              const std::string& text)
{
    Req request;
    Rep reply;
    if (!google::protobuf::TextFormat::ParseFromString(text, &request))
        qFatal("bad request text %s", text.c_str());
    grpc::ClientContext ctx;
    const grpc::Status status = (stub->*rpc)(&ctx, request, &reply);
    return {status.error_code(), reply.ShortDebugString()};
}

struct Client
{
    explicit Client(const std::string& address)
        : channel(grpc::CreateChannel(address, grpc::InsecureChannelCredentials())),
          machine(Machine::NewStub(channel)),
          files(Files::NewStub(channel)),
          notifications(Notifications::NewStub(channel))
    {
    }

    // A unary call by its name, the request in protobuf's text form.
    Outcome Call(const std::string& rpc, const std::string& request = std::string())
    {
        Machine::Stub* m = machine.get();
        if (rpc == "ReadRVar") return Unary(m, &Machine::Stub::ReadRVar, request);
        if (rpc == "WriteRVar") return Unary(m, &Machine::Stub::WriteRVar, request);
        if (rpc == "SelectProgram") return Unary(m, &Machine::Stub::SelectProgram, request);
        if (rpc == "SendMessage") return Unary(m, &Machine::Stub::SendMessage, request);
        if (rpc == "GetCalibrationResult") return Unary(m, &Machine::Stub::GetCalibrationResult, request);
        if (rpc == "GetSkipPosition") return Unary(m, &Machine::Stub::GetSkipPosition, request);
        if (rpc == "CheckFileExists") return Unary(files.get(), &Files::Stub::CheckFileExists, request);
        if (rpc == "SendRequestFile") return Unary(files.get(), &Files::Stub::SendRequestFile, request);
        if (rpc == "AcknowledgeJournal")
            return Unary(notifications.get(), &Notifications::Stub::AcknowledgeJournal, request);
        qFatal("no call %s", rpc.c_str());
    }

    Code Upload(int type, const std::string& name, const std::string& data, std::uint64_t declared)
    {
        grpc::ClientContext ctx;
        Reply reply;
        auto writer = files->UploadFile(&ctx, &reply);
        UploadRequest header;
        header.mutable_header()->set_file_type(FileType(type));
        header.mutable_header()->set_file_name(name);
        header.mutable_header()->set_size(declared);
        writer->Write(header);
        for (std::size_t at = 0; at < data.size(); at += 50000) {
            UploadRequest chunk;
            chunk.set_data(data.substr(at, 50000));
            if (!writer->Write(chunk))
                break;
        }
        writer->WritesDone();
        const grpc::Status status = writer->Finish();
        return status.ok() && !reply.ok() ? Code::UNKNOWN : status.error_code();
    }

    Code Download(const std::string& path, std::string& data, DownloadHeader* header = nullptr)
    {
        grpc::ClientContext ctx;
        PathRequest request;
        request.set_path(path);
        auto reader = files->DownloadFile(&ctx, request);
        DownloadReply part;
        while (reader->Read(&part)) {
            if (!part.has_header())
                data += part.data();
            else if (header)
                *header = part.header();
        }
        return reader->Finish().error_code();
    }

    std::shared_ptr<grpc::Channel> channel;
    std::unique_ptr<Machine::Stub> machine;
    std::unique_ptr<Files::Stub> files;
    std::unique_ptr<Notifications::Stub> notifications;
};

// A subscription read on a thread of its own.
struct Subscription
{
    Subscription(Client& client, bool journals)
    {
        SubscribeRequest request;
        google::protobuf::TextFormat::ParseFromString(
            "program_status: true machine_status: true axis_positions: true log_files: true", &request);
        request.set_journals(journals);
        reader = client.notifications->Subscribe(&ctx, request);
        thread = std::thread([this] {
            Notification n;
            while (reader->Read(&n)) {
                std::lock_guard<std::mutex> lock(mutex);
                received.push_back(n);
                changed.notify_all();
            }
            std::lock_guard<std::mutex> lock(mutex);
            ended = true;
            changed.notify_all();
        });
    }
    ~Subscription()
    {
        ctx.TryCancel();
        thread.join();
        reader->Finish();
    }

    bool WaitFor(const std::function<bool()>& pred)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(20), pred);
    }

    // Bytes of one file as received so far, once its last chunk came.
    std::string File(const std::string& name, bool journal = true)
    {
        std::string data;
        bool complete = false;
        for (const Notification& n : received) {
            const FileChunk& chunk = journal ? n.journal() : n.log_file();
            if ((journal ? !n.has_journal() : !n.has_log_file()) || chunk.name() != name)
                continue;
            data = chunk.offset() == 0 ? chunk.data() : data + chunk.data();
            complete = chunk.last();
        }
        return complete ? data : "<incomplete>";
    }

    grpc::ClientContext ctx;
    std::unique_ptr<grpc::ClientReader<Notification>> reader;
    std::thread thread;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Notification> received;
    bool ended = false;
};

// Connects to 127.0.0.1:port, or gives -1.
int RawConnect(const std::string& address)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in sa{};
    sa.sin_family = AF_INET;
    sa.sin_port = htons(std::uint16_t(std::stoi(address.substr(address.rfind(':') + 1))));
    sa.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

}  // namespace

class TestNetServer : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void callsAreAnsweredOrRefused();
    void journalsComeBackUntilAcknowledged();
    void notificationsAndLogFilesReachSubscribers();
    void stopReturnsWhileACallbackWaits();
    void stopReturnsAfterASubscriberLeftMidFile();
    void clientsArriveOnceLeaveAndShareNoPort();
    void tlsComesFromTheConfigurationFile();
    void aVanishedSubscriberIsReportedGone();
    void scriptsReadHarvelClientsAnswers();
    // Hostile input.
    void garbageAndIdleConnectionsLeaveOthersServed();
    void fatesOfRequestsAreKeptByCount();

private:
    std::string AppDir() const { return m_dir->path().toStdString() + "/appl"; }
    // Stops the server and starts it again with another configuration.
    bool Restart(const std::string& config, void** table = nullptr);

    std::unique_ptr<QTemporaryDir> m_dir;
    NetServerLibrary m_lib;
    void* m_table[ZYN_CALLBACK_COUNT] = {};
};

void TestNetServer::init()
{
    TestHost::Instance().Reset();
    TestHost::Instance().FillTable(m_table);
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir().mkpath(QString::fromStdString(AppDir())));
    std::string error;
    QVERIFY2(m_lib.Load(AppDir(), kConfig, error), error.c_str());
    QVERIFY2(m_lib.CreateAndStart(m_table, AppDir(), error), error.c_str());
}

void TestNetServer::cleanup()
{
    m_lib.StopAndRelease();
    m_lib.Unload();
    std::lock_guard<std::mutex> lock(TestHost::Instance().mutex);
    QVERIFY2(!TestHost::Instance().calledFromForbiddenThread,
             "a callback ran on the thread of the entry points");
}

bool TestNetServer::Restart(const std::string& config, void** table)
{
    m_lib.StopAndRelease();
    if (!config.empty())
        WriteFile(AppDir() + "/ZynNetServer.conf", config);
    std::string error;
    return m_lib.CreateAndStart(table ? table : m_table, AppDir(), error);
}

void TestNetServer::callsAreAnsweredOrRefused()
{
    QCOMPARE(m_lib.journalDir, AppDir() + "/zyn/journal");
    QCOMPARE(m_lib.reqDir, AppDir() + "/zyn/req");
    const std::string inside = AppDir() + "/report/a.pdf";
    QVERIFY(QDir().mkpath(QString::fromStdString(AppDir() + "/report")));
    WriteFile(inside, "pdf");
    // A link inside the folder that leads out of it.
    QVERIFY(symlink("/etc", (AppDir() + "/report/out").c_str()) == 0);

    // The machine's no is an answer with its words; what the library
    // refuses is a status, and the host is never asked.
    struct Row { const char* rpc; std::string request; Code code; std::string reply; bool asks; };
    const Row rows[] = {
        {"WriteRVar", "index: 10 values: [1.5, -2, 1e300]", Code::OK, "ok: true", true},
        {"ReadRVar", "index: 9 count: 5", Code::OK,
         "ok: true values: 9.25 values: 1.5 values: -2 values: 1e+300 values: 13.25", true},
        {"ReadRVar", "index: 99 count: 2", Code::OK, "err_info: \"Address out of range [0, 99]\"", true},
        {"ReadRVar", "count: 51", Code::OUT_OF_RANGE, "", false},
        {"GetCalibrationResult", "", Code::OK, "err_info: \"Cannot get rotab center (0x81501031)\"", true},
        {"GetSkipPosition", "", Code::OK, "ok: true x: 1.5 y: -2.5 z: 3", true},
        {"SendMessage", "text: \"a\\000b\"", Code::INVALID_ARGUMENT, "", false},
        // Programs: a bare name goes as it is, a path by the fence of files.
        {"SelectProgram", "program: \"PART1.MPF\"", Code::OK, "ok: true", true},
        {"SelectProgram", "program: \"//NC/WKS.DIR/B.MPF\"", Code::OK, "ok: true", true},
        {"SelectProgram", "program: \"MISSING.MPF\"", Code::OK, "err_info: \"Program does not exist\"", true},
        {"SelectProgram", "program: \"..\"", Code::INVALID_ARGUMENT, "", false},
        {"SelectProgram", "program: \"/tmp/X.MPF\"", Code::PERMISSION_DENIED, "", false},
        {"CheckFileExists", "path: " + Quoted(inside), Code::OK, "ok: true exists: true", true},
        {"CheckFileExists", "path: \"//NC/WKS.DIR/TELMOR.WPD/A.MPF\"", Code::OK, "ok: true exists: true", true},
        // An answer file with a folder would let the machine write anywhere.
        {"SendRequestFile", "name: \"x\" content: \"4 7 0 25 ../../ANS.RES\"", Code::INVALID_ARGUMENT, "", false},
        {"SendRequestFile", "name: \"../x\" content: \"3 7 0 25 1\"", Code::INVALID_ARGUMENT, "", false},
        {"SendRequestFile", "content: \"" + std::string(100 * 1024, '3') + "\"", Code::RESOURCE_EXHAUSTED, "", false},
    };
    Client client(m_lib.address);
    for (const Row& row : rows) {
        const std::size_t before = Asked();
        const Outcome outcome = client.Call(row.rpc, row.request);
        QVERIFY2(outcome.code == row.code, (row.request + ": " + std::to_string(outcome.code)).c_str());
        QCOMPARE(outcome.reply, row.reply);
        QCOMPARE(Asked(), before + row.asks);
    }

    // Paths outside the served folders, asked to look at or to send.
    const std::pair<std::string, Code> outside[] = {
        {"/etc/passwd", Code::PERMISSION_DENIED},
        {AppDir() + "/../secret", Code::INVALID_ARGUMENT},
        {"//NC/WKS.DIR/../../x", Code::INVALID_ARGUMENT},
        {"\\\\NC\\WKS.DIR\\..\\x", Code::INVALID_ARGUMENT},
        {"//127.0.0.1/telmor/x", Code::PERMISSION_DENIED},
        {"relative/file", Code::PERMISSION_DENIED},
        {AppDir() + "/report/out/passwd", Code::PERMISSION_DENIED},
        {AppDir() + "x/sibling", Code::PERMISSION_DENIED},
        {"", Code::INVALID_ARGUMENT},
    };
    const std::size_t before = Asked();
    for (const auto& [path, code] : outside) {
        QCOMPARE(client.Call("CheckFileExists", "path: " + Quoted(path)).code, code);
        std::string data;
        QCOMPARE(client.Download(path, data), code);
        QVERIFY(data.empty());
    }
    // Uploads: refused by name or size before the host sees them, or
    // handed over whole.
    const std::pair<std::string, std::uint64_t> refused[] = {
        {"../evil.spf", 1}, {"sub/evil.spf", 1}, {"", 1},
        {"short.spf", 10},  // less than told
        {"long.spf", 0},    // more than told
        {"big.spf", 2000000},
    };
    for (const auto& [name, declared] : refused)
        QCOMPARE(client.Upload(0, name, declared ? "x" : "abcdef", declared ? declared : 3),
                 declared == 2000000 ? Code::RESOURCE_EXHAUSTED : Code::INVALID_ARGUMENT);
    QCOMPARE(Asked(), before);
    QCOMPARE(FilesIn(AppDir() + "/zyn/upload"), QStringList());
    DownloadHeader header;
    std::string data;
    QCOMPARE(client.Download(inside, data, &header), Code::OK);
    QCOMPARE(header.ShortDebugString() + data, std::string("ok: true file_name: \"a.pdf\" size: 3pdf"));
    for (int i = 0; i < 300000; ++i)
        data += char(i * 7 % 251);
    QCOMPARE(client.Upload(ZYN_FILE_REPORT, "Report 1.pdf", data, data.size()), Code::OK);
    {
        std::lock_guard<std::mutex> lock(TestHost::Instance().mutex);
        QCOMPARE(TestHost::Instance().uploadType, int(ZYN_FILE_REPORT));
        QVERIFY(QString::fromStdString(TestHost::Instance().uploadPath).endsWith("/Report 1.pdf"));
        QVERIFY(TestHost::Instance().uploadContent == data);
    }

    // The host's document, cut inside its last character: the stump goes.
    DocumentReply doc;
    {
        grpc::ClientContext ctx;
        QVERIFY(client.machine->GetMachineConfiguration(&ctx, Empty(), &doc).ok());
    }
    QVERIFY(doc.ok() && doc.content().rfind("<?xml", 0) == 0);
    QVERIFY(doc.content().find("<Model>\xC3\xA4</Model>") != std::string::npos);
    QCOMPARE(doc.content().back(), 'x');

    // A table without the entry: not the machine's no.
    void* empty[ZYN_CALLBACK_COUNT] = {};
    QVERIFY(Restart("", empty));
    Client again(m_lib.address);
    QCOMPARE(again.Call("ReadRVar", "count: 1").code, Code::UNAVAILABLE);
    QCOMPARE(again.Call("GetSkipPosition").code, Code::UNAVAILABLE);
}

void TestNetServer::journalsComeBackUntilAcknowledged()
{
    TestHost& host = TestHost::Instance();
    const std::string name = "Telmor20261122010203.cna";
    const std::string journal = m_lib.journalDir + "/" + name;
    std::string content(150000, 'j');
    content[0] = 'J';
    WriteFile(journal, content);
    // Nobody listens: false, and the journal waits.
    QVERIFY(!m_lib.notifyJournal(journal.c_str()));
    {
        Client client(m_lib.address);
        Subscription first(client, true);
        QVERIFY(first.WaitFor([&] { return first.File(name) == content; }));
    }
    // Sent without a word back is not delivered.
    QVERIFY(host.WaitFor([&] { return host.HasEvent("journal ipv4:127.0.0.1:", journal + " 0"); }));

    // It survives a restart of the library and comes again.
    QVERIFY(Restart(""));
    Client client(m_lib.address);
    Subscription second(client, true);
    QVERIFY(second.WaitFor([&] { return second.File(name) == content; }));
    const std::string ack = "name: \"" + name + "\"";
    QCOMPARE(client.Call("AcknowledgeJournal", ack).reply, std::string("known: true"));
    QVERIFY(host.WaitFor([&] { return host.HasEvent("journal ", journal + " 1"); }));
    QVERIFY(!Exists(journal));
    QVERIFY(Exists(m_lib.journalDir + "/acknowledged/" + name));

    // A second word changes nothing; a new journal goes to the live stream.
    QCOMPARE(client.Call("AcknowledgeJournal", ack).reply, std::string());
    const std::string next = m_lib.journalDir + "/Telmor20261122010300.cna";
    WriteFile(next, "");
    QVERIFY(m_lib.notifyJournal(next.c_str()));
    QVERIFY(second.WaitFor([&] { return second.File("Telmor20261122010300.cna").empty(); }));
    {
        std::lock_guard<std::mutex> lock(second.mutex);
        QCOMPARE(std::count_if(second.received.begin(), second.received.end(), [&](const Notification& n) {
                     return n.journal().name() == name && n.journal().offset() == 0;
                 }), 1L);
    }
    QVERIFY(!m_lib.notifyJournal((m_lib.journalDir + "/missing.cna").c_str()));

    // A name in the local 8-bit encoding reaches the client as UTF-8, and
    // that name is what the client acknowledges.
    const std::string latin = m_lib.journalDir + "/Telmor\xE4.cna";
    WriteFile(latin, "x");
    QVERIFY(m_lib.notifyJournal(latin.c_str()));
    QVERIFY(second.WaitFor([&] { return second.File("Telmor\xEF\xBF\xBD.cna") == "x"; }));
    QCOMPARE(client.Call("AcknowledgeJournal", "name: \"Telmor\\357\\277\\275.cna\"").reply,
             std::string("known: true"));
    QVERIFY(Exists(m_lib.journalDir + "/acknowledged/Telmor\xE4.cna"));
    // Qt cannot name this file to remove it with the temporary folder.
    std::remove((m_lib.journalDir + "/acknowledged/Telmor\xE4.cna").c_str());
}

void TestNetServer::notificationsAndLogFilesReachSubscribers()
{
    TestHost& host = TestHost::Instance();
    Client client(m_lib.address);
    QVERIFY(!m_lib.notifyProgramStatus(ZYN_PROG_STARTED, true, "P.MPF", ""));  // nobody yet
    Subscription sub(client, false);
    // The subscription is known once its arrival is reported.
    QVERIFY(host.WaitFor([&] { return host.HasEvent("connect ", " Subscribe"); }));
    std::string peer;
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        peer = host.events.front().substr(8, host.events.front().find(' ', 8) - 8);
    }
    QVERIFY(m_lib.notifyProgramStatus(ZYN_PROG_ENDED_OTHERWISE, false, "P.MPF", "Program execution canceled"));
    QVERIFY(m_lib.notifyMachineStatus(ZYN_MACH_ALARM, "Alarm \xFC", "", "", false));
    char names[ZYN_MAX_AXES][ZYN_AXIS_NAME_SIZE] = {{'X', '1'}, {}, {'Q'}};
    char* namePtrs[ZYN_MAX_AXES + 1];
    double positions[ZYN_MAX_AXES + 1] = {12.5, -1};
    for (int i = 0; i <= ZYN_MAX_AXES; ++i)
        namePtrs[i] = names[i % ZYN_MAX_AXES];
    std::memcpy(names[1], "ABCDEFGHIJKLMNOPQRST", ZYN_AXIS_NAME_SIZE);  // no NUL in the buffer
    QVERIFY(!m_lib.notifyAxisPos(namePtrs, positions, ZYN_MAX_AXES + 1));
    QVERIFY(m_lib.notifyAxisPos(namePtrs, positions, 2));

    const std::string log = AppDir() + "/logs/20261122.log";
    QVERIFY(QDir().mkpath(QString::fromStdString(AppDir() + "/logs")));
    WriteFile(log, "line 1\nline 2\n");
    const char* targets[] = {peer.c_str(), "ipv4:10.9.9.9:1"};
    QVERIFY(m_lib.notifyLogFile(log.c_str(), targets, 2));
    QVERIFY(sub.WaitFor([&] { return sub.File("20261122.log", false) == "line 1\nline 2\n"; }));
    // Each peer's reports come in order; between peers any order is fine.
    QVERIFY(host.WaitFor([&] {
        std::string mine, other, rest;
        for (const std::string& e : host.events)
            (e.rfind("log " + peer + " " + log, 0) == 0 ? mine : e.rfind("log ipv4:10.9.9.9:1 " + log, 0) == 0 ? other : rest) += e.back();
        return mine == "12" && other == "13";
    }));
    // Local 8-bit text that is not UTF-8 arrives repaired, not lost.
    std::lock_guard<std::mutex> lock(sub.mutex);
    std::string seen;
    for (const Notification& n : sub.received)
        if (!n.has_log_file())
            seen += n.ShortDebugString() + "\n";
    QCOMPARE(seen, std::string("program_status { status: 3 program: \"P.MPF\" text: \"Program execution canceled\" }\n"
                               "machine_status { status: 3 text1: \"Alarm \\357\\277\\275\" }\n"
                               "axis_positions { axes { name: \"X1\" position: 12.5 } "
                               "axes { name: \"ABCDEFGHIJKLMNOP\" position: -1 } }\n"));
}

void TestNetServer::stopReturnsWhileACallbackWaits()
{
    TestHost& host = TestHost::Instance();
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        host.holdCallbacks = true;
    }
    const std::string local = AppDir() + "/local.txt";
    WriteFile(local, "data");
    // One call of every kind, each stuck in its callback; the connection's
    // arrival waits too, on the thread that reports events.
    Client client(m_lib.address);
    std::vector<std::future<Code>> calls;
    const std::pair<std::string, std::string> unary[] = {
        {"SendMessage", "text: \"wait\""}, {"ReadRVar", "count: 1"}, {"CheckFileExists", "path: " + Quoted(local)},
        {"SendRequestFile", "name: \"r\" content: \"3 7 0 1 1\""}};
    for (const auto& [rpc, request] : unary)
        calls.push_back(std::async(std::launch::async, [&client, rpc = rpc, request = request] {
            return client.Call(rpc, request).code;
        }));
    calls.push_back(std::async(std::launch::async, [&] {
        std::string data;
        return client.Download(local, data);
    }));
    calls.push_back(std::async(std::launch::async, [&] { return client.Upload(0, "a.spf", "abc", 3); }));
    Subscription subscription(client, true);
    QVERIFY(host.WaitFor([&] { return host.callbacksWaiting == 7; }));

    // The HMI's main thread stops the server while the callbacks wait for
    // that very thread: the stop must not wait for them.
    QElapsedTimer timer;
    timer.start();
    m_lib.stopServer();
    QVERIFY2(timer.elapsed() < 5000, "StopServer waited for the callbacks");
    m_lib.releaseInstance();
    for (auto& call : calls)
        QVERIFY(call.get() != Code::OK);
    QVERIFY(subscription.WaitFor([&] { return subscription.ended; }));

    // The plug-in unloads the library; the callbacks return later into it,
    // so its code must still be there.
    m_lib.Unload();
    QVERIFY2(ReadAll("/proc/self/maps").find(AppDir() + "/libZynNetServer.so") != std::string::npos,
             "the library was unmapped while threads were still inside callbacks");
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        host.holdCallbacks = false;
    }
    host.changed.notify_all();
    QVERIFY(host.WaitFor([&] { return host.callbacksReturned == 7; }));
    // Give the released threads time to run back through the library's code.
    QThread::msleep(300);
    QCOMPARE(FilesIn(AppDir() + "/zyn/upload"), QStringList());
}

void TestNetServer::stopReturnsAfterASubscriberLeftMidFile()
{
    // Clients that leave while a chunk of a large journal is being written
    // to them: the cancel and the failed write may reach the subscription in
    // either order, and it must end either way.
    const std::string journal = m_lib.journalDir + "/Telmor20261122020304.cna";
    WriteFile(journal, std::string(8 * 1024 * 1024, 'x'));
    QVERIFY(!m_lib.notifyJournal(journal.c_str()));
    for (int i = 0; i < 40; ++i) {
        Client client(m_lib.address);
        grpc::ClientContext ctx;
        SubscribeRequest request;
        request.set_journals(true);
        auto reader = client.notifications->Subscribe(&ctx, request);
        Notification n;
        for (int chunk = 0; chunk < i % 8 && reader->Read(&n); ++chunk) {
        }
        ctx.TryCancel();
        reader->Finish();
    }
    // A subscription that never ends makes the stop wait for it for ever.
    auto stopped = std::make_shared<std::promise<void>>();
    std::future<void> done = stopped->get_future();
    std::thread([this, stopped] {
        m_lib.stopServer();
        stopped->set_value();
    }).detach();
    if (done.wait_for(std::chrono::seconds(30)) != std::future_status::ready)
        qFatal("StopServer did not return after subscribers left in the middle of a file");
    m_lib.releaseInstance();
}

void TestNetServer::clientsArriveOnceLeaveAndShareNoPort()
{
    TestHost& host = TestHost::Instance();
    {
        Client client(m_lib.address);
        for (int i = 0; i < 5; ++i)
            QCOMPARE(client.Call("ReadRVar", "count: 1").code, Code::OK);
        // One arrival for the connection, not one per call; gone after idling.
        QVERIFY(host.WaitFor([&] { return host.HasEvent("gone "); }));
        std::lock_guard<std::mutex> lock(host.mutex);
        QCOMPARE(host.events.size(), std::size_t(2));
        QVERIFY(host.events[0].rfind("connect ipv4:127.0.0.1:", 0) == 0);
        QVERIFY(host.events[0].find(" ReadRVar") != std::string::npos);
        QCOMPARE(host.events[1], "gone " + host.events[0].substr(8));
    }

    // A second copy of the library must not quietly split the clients of
    // a port with the first.
    const std::string other = m_dir->path().toStdString() + "/other";
    QVERIFY(QDir().mkpath(QString::fromStdString(other)));
    NetServerLibrary second;
    std::string error;
    QVERIFY2(second.Load(other, "", error), error.c_str());
    QVERIFY(!second.CreateAndStart(m_table, other, error, m_lib.getServerPort()));
    QCOMPARE(error, std::string("StartServer failed"));
    QCOMPARE(second.getServerPort(), (unsigned short)0);
    second.StopAndRelease();
}

void TestNetServer::tlsComesFromTheConfigurationFile()
{
    const std::string d = m_dir->path().toStdString();
    auto openssl = [&](const std::string& args) {
        return std::system(("cd '" + d + "' && openssl " + args + " >/dev/null 2>&1").c_str()) == 0;
    };
    WriteFile(d + "/san.ext", "subjectAltName=DNS:localhost,IP:127.0.0.1\n");
    const std::string ec = " -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes";
    if (!openssl("req -x509" + ec + " -keyout ca.key -out ca.pem -days 2 -subj /CN=TestCA"))
        QSKIP("openssl cannot make certificates here");
    for (const std::string who : {"server", "client"}) {
        QVERIFY(openssl("req" + ec + " -keyout " + who + ".key -out " + who + ".csr -subj /CN=localhost"));
        QVERIFY(openssl("x509 -req -in " + who + ".csr -CA ca.pem -CAkey ca.key -CAcreateserial -out " + who
                        + ".pem -days 2 -extfile san.ext"));
    }
    // A configuration that cannot be used must not silently serve in clear.
    QVERIFY(!Restart("tls = on\ntls_certificate = " + d + "/server.pem\n"));
    QVERIFY(ReadAll(AppDir() + "/zyn/ZynNetServer.log").find("tls needs tls_certificate and tls_private_key")
            != std::string::npos);
    QVERIFY(Restart("tls = on\ntls_certificate = " + d + "/server.pem\ntls_private_key = " + d
                    + "/server.key\ntls_client_ca = " + d + "/ca.pem\ntls_client_auth = require\n"));

    auto read = [&](std::shared_ptr<grpc::ChannelCredentials> credentials) {
        grpc::ChannelArguments args;
        args.SetSslTargetNameOverride("localhost");
        auto stub = Machine::NewStub(grpc::CreateCustomChannel(m_lib.address, credentials, args));
        return Unary(stub.get(), &Machine::Stub::ReadRVar, "count: 1").code == Code::OK;
    };
    grpc::SslCredentialsOptions withCert;
    withCert.pem_root_certs = ReadAll(d + "/ca.pem");
    withCert.pem_cert_chain = ReadAll(d + "/client.pem");
    withCert.pem_private_key = ReadAll(d + "/client.key");
    const grpc::SslCredentialsOptions withoutCert{withCert.pem_root_certs, "", ""};
    QVERIFY(read(grpc::SslCredentials(withCert)));
    QVERIFY(!read(grpc::SslCredentials(withoutCert)));
    QVERIFY(!read(grpc::InsecureChannelCredentials()));
}

void TestNetServer::aVanishedSubscriberIsReportedGone()
{
    // Short keepalive, and no idle expiry to mistake for it.
    QVERIFY(Restart("keepalive_seconds = 1\nkeepalive_timeout_seconds = 1\nclient_idle_seconds = 3600\n"));
    TestHost& host = TestHost::Instance();
    QProcess watch;
    watch.start(QCoreApplication::applicationDirPath() + "/harvel-client",
                {"--server", QString::fromStdString(m_lib.address), "watch"});
    QVERIFY(watch.waitForStarted());
    QVERIFY(host.WaitFor([&] { return host.HasEvent("connect "); }));
    // The PC is gone without a word: no FIN, no RST, no answer to pings.
    ::kill(pid_t(watch.processId()), SIGSTOP);
    const bool gone = host.WaitFor([&] { return host.HasEvent("gone "); }, std::chrono::seconds(60));
    watch.kill();
    watch.waitForFinished();
    QVERIFY(gone);
    std::lock_guard<std::mutex> lock(host.mutex);
    QVERIFY(host.events.back().find(" Subscribe") != std::string::npos);
}

void TestNetServer::scriptsReadHarvelClientsAnswers()
{
    // Exit 0 is the machine's yes, 1 its no with its words, 2 a refusal
    // before it is asked; large files come whole or not at all.
    const QString source = QString::fromStdString(AppDir()) + "/up.pdf", target = source + ".bin";
    std::string payload;
    for (int i = 0; i < 300000; ++i)
        payload += char(i * 13 % 253);
    WriteFile(source.toStdString(), payload);
    const QString server = QString::fromStdString(m_lib.address);
    const struct { QStringList args; int code; const char* out; const char* err; } rows[] = {
        {{"write-r", "5", "-1.5", "2e3"}, 0, "", ""},
        {{"read-r", "4", "3"}, 0, "4.25\n-1.5\n2000\n", ""},
        {{"read-r", "99", "2"}, 1, "", "Address out of range [0, 99]\n"},
        {{"calibration"}, 1, "", "Cannot get rotab center (0x81501031)\n"},
        {{"download", source, target}, 0, "", ""},
        {{"download", "//NC/NONE.MPF", target + "2"}, 1, "", "File not found\n"},
        {{"read-r", "x", "1"}, 2, "", nullptr},
        {{"frobnicate"}, 2, "", nullptr},
        {{"--server", "127.0.0.1:1", "read-r", "0", "1"}, 2, "", nullptr},
    };
    for (const auto& row : rows) {
        QProcess client;
        client.start(QCoreApplication::applicationDirPath() + "/harvel-client", QStringList{"--server", server} + row.args);
        QVERIFY(client.waitForFinished(60000));
        QCOMPARE(client.exitCode(), row.code);
        QCOMPARE(QString(client.readAllStandardOutput()), QString(row.out));
        if (row.err)
            QCOMPARE(QString(client.readAllStandardError()), QString(row.err));
    }
    QVERIFY(ReadAll(target.toStdString()) == payload);
    QCOMPARE(FilesIn(AppDir()).filter("bin2"), QStringList());

    // The standard health service, asked without its stubs: its request
    // has the service's name as field 1, its answer SERVING (1) as field 1.
    Client client(m_lib.address);
    for (const std::string service : {"", "harvel.net.v1.Machine"}) {
        grpc::ClientContext ctx;
        PathRequest request;
        request.set_path(service);
        ReadRVarRequest status;
        QVERIFY(grpc::internal::BlockingUnaryCall(client.channel.get(),
                                                  grpc::internal::RpcMethod("/grpc.health.v1.Health/Check",
                                                                            grpc::internal::RpcMethod::NORMAL_RPC),
                                                  &ctx, request, &status).ok());
        QCOMPARE(status.index(), 1);
    }
}

void TestNetServer::garbageAndIdleConnectionsLeaveOthersServed()
{
    // Connections that send bytes which are no HTTP/2, some binary, some a
    // plausible beginning, then stay open; and hundreds that never say a word.
    std::vector<int> sockets;
    const std::string garbage[] = {std::string("GET / HTTP/1.1\r\nHost: x\r\n\r\n"),
                                   std::string("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n") + std::string(64, '\xff'),
                                   std::string(4096, '\0'), std::string("\x16\x03\x01\x02\x00\x01", 6)};
    for (int i = 0; i < 304; ++i) {
        const int fd = RawConnect(m_lib.address);
        QVERIFY2(fd >= 0, qPrintable(QString::number(i)));
        sockets.push_back(fd);
        const std::string& bytes = garbage[i % 4];
        if (i < 4)
            QCOMPARE(send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), ssize_t(bytes.size()));
    }
    Client client(m_lib.address);
    QCOMPARE(client.Call("ReadRVar", "index: 1 count: 2").reply, std::string("ok: true values: 1.25 values: 2.25"));
    // Nobody who never spoke gRPC counts as a client of the machine.
    TestHost& host = TestHost::Instance();
    QVERIFY(host.WaitFor([&] { return host.HasEvent("connect "); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        QCOMPARE(host.events.size(), std::size_t(1));
    }
    for (int fd : sockets)
        close(fd);
    // An operator message of 100 KB gets an answer or a status with words.
    grpc::ClientContext ctx;
    ctx.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(10));
    MessageRequest request;
    request.set_text(std::string(100 * 1024, 'M'));
    MessageReply reply;
    const grpc::Status status = client.machine->SendMessage(&ctx, request, &reply);
    QVERIFY2(status.ok() || (!status.error_message().empty() && status.error_code() != Code::DEADLINE_EXCEEDED),
             status.error_message().c_str());
    QCOMPARE(client.Call("ReadRVar", "index: 1 count: 2").code, Code::OK);
}

void TestNetServer::fatesOfRequestsAreKeptByCount()
{
    // 250 fates of an earlier day lie in the request folder.
    for (int i = 0; i < 250; ++i) {
        const std::string path = m_lib.reqDir + "/old" + std::to_string(i) + (i % 2 ? ".REC" : ".REP");
        WriteFile(path, "3 7 1 25 1.5");
        const timeval old[2] = {{1000000 + i, 0}, {1000000 + i, 0}};
        QVERIFY(utimes(path.c_str(), old) == 0);
    }
    WriteFile(m_lib.reqDir + "/notes.txt", "not a fate");

    TestHost& host = TestHost::Instance();
    Client client(m_lib.address);
    auto sent = std::async(std::launch::async, [&] {
        return client.Call("SendRequestFile", "name: \"new\" content: \"3 7 1 25 1.5\"").reply;
    });
    QVERIFY(host.WaitFor([&] { return !host.requests.empty(); }));
    std::string req;
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        req = host.requests.front();
    }
    const std::string kept = req.substr(0, req.size() - 4) + ".REC";
    QCOMPARE(std::rename(req.c_str(), kept.c_str()), 0);
    QVERIFY(sent.get().find("REQUEST_OUTCOME_CARRIED_OUT_KEPT") != std::string::npos);

    // The newest 200 stay, the new one among them; anything else is left.
    auto fates = [&] {
        return QDir(QString::fromStdString(m_lib.reqDir)).entryList({"*.REC", "*.REP"}, QDir::Files).size();
    };
    QVERIFY(host.WaitFor([&] { return fates() == 200; }));
    QVERIFY(Exists(kept) && Exists(m_lib.reqDir + "/old249.REC") && Exists(m_lib.reqDir + "/old51.REC"));
    QVERIFY(!Exists(m_lib.reqDir + "/old50.REP"));
    QVERIFY(Exists(m_lib.reqDir + "/notes.txt"));
}

QTEST_GUILESS_MAIN(TestNetServer)
#include "TestNetServer.moc"
