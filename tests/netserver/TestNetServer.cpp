// The library alone, driven through its C interface with a host of the
// test's own, and a real gRPC client over loopback.

#include "FreezingProxy.h"
#include "NetServerLibrary.h"
#include "TestHost.h"
#include "harvel_net_v1.grpc.pb.h"

#include <grpcpp/grpcpp.h>

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <future>
#include <sstream>

using namespace harvel::net::v1;

namespace {

const char kConfig[] =
    "# limits small enough to test\n"
    "max_upload_bytes = 1000000\n"
    "max_r_count = 50\n"
    "client_idle_seconds = 2\n";

std::string ReadAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool Exists(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

std::vector<std::string> FilesIn(const std::string& folder)
{
    std::vector<std::string> names;
    QDir dir(QString::fromStdString(folder));
    for (const QString& name : dir.entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot))
        names.push_back(name.toStdString());
    return names;
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

    grpc::Status Read(int index, int count, ReadRVarReply& reply)
    {
        grpc::ClientContext ctx;
        ReadRVarRequest request;
        request.set_index(index);
        request.set_count(count);
        return machine->ReadRVar(&ctx, request, &reply);
    }

    grpc::Status Exists(const std::string& path, CheckFileExistsReply& reply)
    {
        grpc::ClientContext ctx;
        PathRequest request;
        request.set_path(path);
        return files->CheckFileExists(&ctx, request, &reply);
    }

    grpc::Status Upload(int type, const std::string& name, const std::string& data,
                        std::uint64_t declared, Reply& reply)
    {
        grpc::ClientContext ctx;
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
        return writer->Finish();
    }

    grpc::Status Download(const std::string& path, DownloadHeader& header, std::string& data)
    {
        grpc::ClientContext ctx;
        PathRequest request;
        request.set_path(path);
        auto reader = files->DownloadFile(&ctx, request);
        DownloadReply part;
        while (reader->Read(&part)) {
            if (part.has_header())
                header = part.header();
            else
                data += part.data();
        }
        return reader->Finish();
    }

    grpc::Status Request(const std::string& name, const std::string& line, RequestFileReply& reply)
    {
        grpc::ClientContext ctx;
        RequestFileRequest request;
        request.set_name(name);
        request.set_content(line);
        return files->SendRequestFile(&ctx, request, &reply);
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
        request.set_journals(journals);
        request.set_program_status(true);
        request.set_machine_status(true);
        request.set_axis_positions(true);
        request.set_log_files(true);
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
    ~Subscription() { Cancel(); }

    void Cancel()
    {
        if (!thread.joinable())
            return;
        ctx.TryCancel();
        thread.join();
        reader->Finish();
    }

    bool WaitFor(const std::function<bool()>& pred)
    {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(20), pred);
    }

    // Bytes of one file as received so far, and whether its last chunk came.
    std::string File(const std::string& name, bool journal, bool& complete)
    {
        std::string data;
        complete = false;
        for (const Notification& n : received) {
            const FileChunk* chunk = journal ? (n.has_journal() ? &n.journal() : nullptr)
                                             : (n.has_log_file() ? &n.log_file() : nullptr);
            if (!chunk || chunk->name() != name)
                continue;
            if (chunk->offset() == 0)
                data.clear();
            data += chunk->data();
            complete = chunk->last();
        }
        return data;
    }

    int CountJournalStarts(const std::string& name)
    {
        int n = 0;
        for (const Notification& m : received)
            if (m.has_journal() && m.journal().name() == name && m.journal().offset() == 0)
                ++n;
        return n;
    }

    grpc::ClientContext ctx;
    std::unique_ptr<grpc::ClientReader<Notification>> reader;
    std::thread thread;
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Notification> received;
    bool ended = false;
};

}  // namespace

class TestNetServer : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void rVariablesReachTheHostWithThePeer();
    void refusalsAreStatusesAndAnswersAreReplies();
    void pathsOutsideTheServedFoldersAreRefused();
    void uploadsArriveWholeOrNotAtAll();
    void downloadsRemoveTheTemporaryCopy();
    void requestFilesReportTheirFate();
    void journalsComeBackUntilAcknowledged();
    void notificationsAndLogFilesReachSubscribers();
    void aWaitingMessageHoldsUpNobodyElse();
    void stopReturnsWhileACallbackWaits();
    void stopReturnsAfterASubscriberLeftMidFile();
    void clientsArriveOnceAndLeave();
    void tlsComesFromTheConfigurationFile();
    void aVanishedSubscriberIsReportedGone();
    void aPortInUseIsNotShared();

private:
    void** Table() { return m_table; }
    std::string AppDir() const { return m_dir->path().toStdString() + "/appl"; }

    std::unique_ptr<QTemporaryDir> m_dir;
    NetServerLibrary m_lib;
    void* m_table[ZYN_CALLBACK_COUNT] = {};
};

void TestNetServer::init()
{
    TestHost::Instance().Reset();
    TestHost::Instance().FillTable(m_table);
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    QVERIFY(QDir().mkpath(QString::fromStdString(AppDir())));
    std::string error;
    QVERIFY2(m_lib.Load(AppDir(), kConfig, error), error.c_str());
    QVERIFY2(m_lib.CreateAndStart(m_table, AppDir(), error), error.c_str());
}

void TestNetServer::cleanup()
{
    m_lib.StopAndRelease();
    m_lib.Unload();
    {
        std::lock_guard<std::mutex> lock(TestHost::Instance().mutex);
        QVERIFY2(!TestHost::Instance().calledFromForbiddenThread,
                 "a callback ran on the thread of the entry points");
    }
    m_dir.reset();
}

void TestNetServer::rVariablesReachTheHostWithThePeer()
{
    QCOMPARE(m_lib.journalDir, AppDir() + "/zyn/journal");
    QCOMPARE(m_lib.reqDir, AppDir() + "/zyn/req");
    QVERIFY(Exists(m_lib.journalDir) && Exists(m_lib.reqDir));

    Client client(m_lib.address);
    {
        grpc::ClientContext ctx;
        WriteRVarRequest request;
        request.set_index(10);
        for (double v : {1.5, -2.0, 1e300})
            request.add_values(v);
        Reply reply;
        QVERIFY(client.machine->WriteRVar(&ctx, request, &reply).ok());
        QVERIFY(reply.ok());
    }
    ReadRVarReply reply;
    QVERIFY(client.Read(9, 5, reply).ok());
    QVERIFY(reply.ok());
    QCOMPARE(reply.values_size(), 5);
    QCOMPARE(reply.values(0), 9.25);
    QCOMPARE(reply.values(1), 1.5);
    QCOMPARE(reply.values(2), -2.0);
    QCOMPARE(reply.values(3), 1e300);
    QCOMPARE(reply.values(4), 13.25);

    // The host sees gRPC's peer string of this very connection.
    std::lock_guard<std::mutex> lock(TestHost::Instance().mutex);
    const std::string peer = TestHost::Instance().peers.back();
    QVERIFY2(peer.rfind("ipv4:127.0.0.1:", 0) == 0, peer.c_str());
    QVERIFY(std::stoi(peer.substr(15)) > 0);
}

void TestNetServer::refusalsAreStatusesAndAnswersAreReplies()
{
    Client client(m_lib.address);
    ReadRVarReply reply;

    // The machine's no is an answer, with its words.
    QVERIFY(client.Read(99, 2, reply).ok());
    QVERIFY(!reply.ok());
    QCOMPARE(reply.err_info(), std::string("Address out of range [0, 99]"));
    QCOMPARE(reply.values_size(), 0);

    // Over the limit never reaches the host.
    auto asked = [] {
        std::lock_guard<std::mutex> lock(TestHost::Instance().mutex);
        return TestHost::Instance().peers.size();
    };
    const std::size_t before = asked();
    grpc::Status status = client.Read(0, 51, reply);
    QCOMPARE(status.error_code(), grpc::StatusCode::OUT_OF_RANGE);
    QCOMPARE(asked(), before);

    // An error of the host's own, cut inside a character, still travels.
    {
        grpc::ClientContext ctx;
        DocumentReply doc;
        QVERIFY(client.machine->GetMachineConfiguration(&ctx, Empty(), &doc).ok());
        QVERIFY(doc.ok());
        QVERIFY(doc.content().rfind("<?xml", 0) == 0);
        QVERIFY(doc.content().find("<Model>\xC3\xA4</Model>") != std::string::npos);
        // Cut inside the last character: the stump is dropped.
        QCOMPARE(doc.content().back(), 'x');
    }
    {
        grpc::ClientContext ctx;
        DocumentReply doc;
        QVERIFY(client.machine->GetCalibrationResult(&ctx, Empty(), &doc).ok());
        QVERIFY(!doc.ok());
        QCOMPARE(doc.err_info(), std::string("Cannot get rotab center (0x81501031)"));
    }
    {
        grpc::ClientContext ctx;
        MessageRequest message;
        message.set_text(std::string("a\0b", 3));
        MessageReply answer;
        QCOMPARE(client.machine->SendMessage(&ctx, message, &answer).error_code(),
                 grpc::StatusCode::INVALID_ARGUMENT);
    }

    // Nobody home: not the machine's no, and the client can tell.
    {
        std::lock_guard<std::mutex> lock(TestHost::Instance().mutex);
        TestHost::Instance().noReceiver = true;
    }
    status = client.Read(0, 1, reply);
    QCOMPARE(status.error_code(), grpc::StatusCode::UNAVAILABLE);

    // A table without an entry answers the same, and nothing crashes.
    m_lib.StopAndRelease();
    void* partial[ZYN_CALLBACK_COUNT] = {};
    std::string error;
    QVERIFY(m_lib.CreateAndStart(partial, AppDir(), error));
    Client again(m_lib.address);
    QCOMPARE(again.Read(0, 1, reply).error_code(), grpc::StatusCode::UNAVAILABLE);
    grpc::ClientContext ctx;
    SkipPositionReply skip;
    QCOMPARE(again.machine->GetSkipPosition(&ctx, Empty(), &skip).error_code(),
             grpc::StatusCode::UNAVAILABLE);
}

void TestNetServer::pathsOutsideTheServedFoldersAreRefused()
{
    Client client(m_lib.address);
    const std::string inside = AppDir() + "/report/a.pdf";
    QVERIFY(QDir().mkpath(QString::fromStdString(AppDir() + "/report")));
    WriteFile(inside, "pdf");
    // A link inside the folder that leads out of it.
    QVERIFY(symlink("/etc", (AppDir() + "/report/out").c_str()) == 0);

    struct Case { std::string path; grpc::StatusCode code; };
    const std::vector<Case> refused = {
        {"/etc/passwd", grpc::StatusCode::PERMISSION_DENIED},
        {AppDir() + "/../secret", grpc::StatusCode::INVALID_ARGUMENT},
        {"//NC/WKS.DIR/../../x", grpc::StatusCode::INVALID_ARGUMENT},
        {"\\\\NC\\WKS.DIR\\..\\x", grpc::StatusCode::INVALID_ARGUMENT},
        {"//127.0.0.1/telmor/x", grpc::StatusCode::PERMISSION_DENIED},
        {"relative/file", grpc::StatusCode::PERMISSION_DENIED},
        {AppDir() + "/report/out/passwd", grpc::StatusCode::PERMISSION_DENIED},
        {AppDir() + "x/sibling", grpc::StatusCode::PERMISSION_DENIED},
        {"", grpc::StatusCode::INVALID_ARGUMENT},
    };
    for (const Case& c : refused) {
        CheckFileExistsReply reply;
        QCOMPARE(client.Exists(c.path, reply).error_code(), c.code);
        DownloadHeader header;
        std::string data;
        QCOMPARE(client.Download(c.path, header, data).error_code(), c.code);
        QVERIFY(data.empty());
    }
    {
        std::lock_guard<std::mutex> lock(TestHost::Instance().mutex);
        QVERIFY(TestHost::Instance().askedPaths.empty());
    }

    CheckFileExistsReply reply;
    QVERIFY(client.Exists(inside, reply).ok());
    QVERIFY(reply.ok() && reply.exists());
    QVERIFY(client.Exists("//NC/WKS.DIR/TELMOR.WPD/A.MPF", reply).ok());
    QVERIFY(reply.exists());

    // Programs: a bare name goes as it is, a path by the same fence.
    for (const std::string& program : {std::string("PART1.MPF"), std::string("//NC/WKS.DIR/B.MPF")}) {
        grpc::ClientContext ctx;
        SelectProgramRequest request;
        request.set_program(program);
        Reply answer;
        QVERIFY(client.machine->SelectProgram(&ctx, request, &answer).ok());
        QVERIFY(answer.ok());
    }
    for (const std::string& program : {std::string(".."), std::string("/tmp/X.MPF")}) {
        grpc::ClientContext ctx;
        SelectProgramRequest request;
        request.set_program(program);
        Reply answer;
        QVERIFY(!client.machine->SelectProgram(&ctx, request, &answer).ok());
    }
    grpc::ClientContext ctx;
    SelectProgramRequest request;
    request.set_program("MISSING.MPF");
    Reply answer;
    QVERIFY(client.machine->SelectProgram(&ctx, request, &answer).ok());
    QCOMPARE(answer.err_info(), std::string("Program does not exist"));
}

void TestNetServer::uploadsArriveWholeOrNotAtAll()
{
    Client client(m_lib.address);
    std::string data(300000, '\0');
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = char(i * 7 % 251);
    Reply reply;
    QVERIFY(client.Upload(ZYN_FILE_REPORT, "Report 1.pdf", data, data.size(), reply).ok());
    QVERIFY(reply.ok());
    {
        std::lock_guard<std::mutex> lock(TestHost::Instance().mutex);
        TestHost& host = TestHost::Instance();
        QCOMPARE(host.uploadType, int(ZYN_FILE_REPORT));
        QVERIFY(host.uploadPath.size() > 13);
        QCOMPARE(host.uploadPath.substr(host.uploadPath.size() - 13), std::string("/Report 1.pdf"));
        QVERIFY(host.uploadContent == data);
        host.uploadPath.clear();
    }
    // Nothing stays behind in the library's own folder.
    QVERIFY(FilesIn(AppDir() + "/zyn/upload").empty());

    struct Case { std::string name; std::string data; std::uint64_t declared; grpc::StatusCode code; };
    const std::vector<Case> refused = {
        {"../evil.spf", "x", 1, grpc::StatusCode::INVALID_ARGUMENT},
        {"sub/evil.spf", "x", 1, grpc::StatusCode::INVALID_ARGUMENT},
        {"", "x", 1, grpc::StatusCode::INVALID_ARGUMENT},
        {"short.spf", "abc", 10, grpc::StatusCode::INVALID_ARGUMENT},   // less than told
        {"long.spf", "abcdef", 3, grpc::StatusCode::INVALID_ARGUMENT},  // more than told
        {"big.spf", "x", 2000000, grpc::StatusCode::RESOURCE_EXHAUSTED},
    };
    for (const Case& c : refused) {
        QCOMPARE(client.Upload(0, c.name, c.data, c.declared, reply).error_code(), c.code);
    }
    std::lock_guard<std::mutex> lock(TestHost::Instance().mutex);
    QVERIFY(TestHost::Instance().uploadPath.find("evil") == std::string::npos);
    QVERIFY(TestHost::Instance().uploadPath.find("short") == std::string::npos);
    QVERIFY(FilesIn(AppDir() + "/zyn/upload").empty());
}

void TestNetServer::downloadsRemoveTheTemporaryCopy()
{
    Client client(m_lib.address);
    const std::string copy = AppDir() + "/copy.tmp";
    std::string content(200001, 'a');
    content.back() = 'z';
    WriteFile(copy, content);
    {
        std::lock_guard<std::mutex> lock(TestHost::Instance().mutex);
        TestHost::Instance().downloadFile = copy;
        TestHost::Instance().downloadRemove = true;
    }
    DownloadHeader header;
    std::string data;
    QVERIFY(client.Download("//NC/WKS.DIR/TELMOR.WPD/PART.MPF", header, data).ok());
    QVERIFY(header.ok());
    QCOMPARE(header.file_name(), std::string("PART.MPF"));
    QCOMPARE(header.size(), std::uint64_t(content.size()));
    QVERIFY(data == content);
    QVERIFY(TestHost::Instance().WaitFor([&] { return !Exists(copy); }));
}

void TestNetServer::requestFilesReportTheirFate()
{
    Client client(m_lib.address);
    TestHost& host = TestHost::Instance();

    // The test plays the plug-in's request processor: it takes the
    // announced file and decides its fate.
    auto serve = [&](const std::function<void(const std::string&)>& fate) {
        std::string req;
        QVERIFY(host.WaitFor([&] { return !host.requests.empty(); }));
        {
            std::lock_guard<std::mutex> lock(host.mutex);
            req = host.requests.front();
            host.requests.pop_front();
        }
        QVERIFY(Exists(req));
        fate(req);
    };
    auto stem = [](const std::string& req) { return req.substr(0, req.size() - 4); };

    // A read: the answer comes back, then the library lets it go.
    auto read = std::async(std::launch::async, [&] {
        RequestFileReply reply;
        const grpc::Status status = client.Request("ask.req", "4 7 0 25 ANS25.RES", reply);
        return std::make_pair(status, reply);
    });
    serve([&](const std::string& req) {
        QCOMPARE(ReadAll(req), std::string("4 7 0 25 ANS25.RES"));
        WriteFile(m_lib.reqDir + "/ANS25.RES", "1.5");
        std::remove(req.c_str());
    });
    auto [readStatus, readReply] = read.get();
    QVERIFY2(readStatus.ok(), readStatus.error_message().c_str());
    QCOMPARE(readReply.outcome(), REQUEST_OUTCOME_CARRIED_OUT);
    QCOMPARE(readReply.answer(), std::string("1.5"));
    QCOMPARE(readReply.answer_name(), std::string("ANS25.RES"));
    QVERIFY(readReply.file_name().rfind("ask.", 0) == 0);
    QVERIFY(host.WaitFor([&] { return host.HasEvent("answer " + readReply.file_name() + " drop"); }));
    QVERIFY(!Exists(m_lib.reqDir + "/ANS25.RES"));

    // A request without a name still gets a file, and a failed one says so.
    auto unnamed = std::async(std::launch::async, [&] {
        RequestFileReply reply;
        client.Request("", "3 7 1 25 1.5", reply);
        return reply;
    });
    serve([&](const std::string& req) { std::rename(req.c_str(), (stem(req) + ".REP").c_str()); });
    QCOMPARE(unnamed.get().outcome(), REQUEST_OUTCOME_FAILED);

    // An answer file with a folder would let the machine write anywhere.
    RequestFileReply reply;
    QCOMPARE(client.Request("x", "4 7 0 25 ../../ANS.RES", reply).error_code(),
             grpc::StatusCode::INVALID_ARGUMENT);
    QCOMPARE(client.Request("../x", "3 7 0 25 1", reply).error_code(),
             grpc::StatusCode::INVALID_ARGUMENT);
    QCOMPARE(client.Request("x", std::string(70000, '3'), reply).error_code(),
             grpc::StatusCode::RESOURCE_EXHAUSTED);
    std::lock_guard<std::mutex> lock(host.mutex);
    QVERIFY(host.requests.empty());
}

void TestNetServer::journalsComeBackUntilAcknowledged()
{
    TestHost& host = TestHost::Instance();
    const std::string journal = m_lib.journalDir + "/Telmor20261122010203.cna";
    std::string content(150000, 'j');
    content[0] = 'J';
    WriteFile(journal, content);
    // Nobody listens: false, and the journal waits.
    QVERIFY(!m_lib.notifyJournal(journal.c_str()));

    Client client(m_lib.address);
    {
        Subscription first(client, true);
        bool complete = false;
        QVERIFY(first.WaitFor([&] { return first.File("Telmor20261122010203.cna", true, complete) == content && complete; }));
        first.Cancel();
    }
    // Sent without a word back is not delivered.
    QVERIFY(host.WaitFor([&] { return host.HasEvent("journal ipv4:127.0.0.1:"); }));
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        bool failedReport = false;
        for (const std::string& e : host.events)
            if (e.rfind("journal ", 0) == 0 && e.find(journal + " 0") != std::string::npos)
                failedReport = true;
        QVERIFY(failedReport);
    }

    // It survives a restart of the library and comes again.
    m_lib.StopAndRelease();
    std::string error;
    QVERIFY(m_lib.CreateAndStart(m_table, AppDir(), error));
    Client again(m_lib.address);
    Subscription second(again, true);
    bool complete = false;
    QVERIFY(second.WaitFor([&] { return second.File("Telmor20261122010203.cna", true, complete) == content && complete; }));
    {
        grpc::ClientContext ctx;
        AcknowledgeJournalRequest ack;
        ack.set_name("Telmor20261122010203.cna");
        AcknowledgeJournalReply known;
        QVERIFY(again.notifications->AcknowledgeJournal(&ctx, ack, &known).ok());
        QVERIFY(known.known());
    }
    QVERIFY(host.WaitFor([&] {
        for (const std::string& e : host.events)
            if (e.rfind("journal ", 0) == 0 && e.find(journal + " 1") != std::string::npos)
                return true;
        return false;
    }));
    QVERIFY(!Exists(journal));
    QVERIFY(Exists(m_lib.journalDir + "/acknowledged/Telmor20261122010203.cna"));

    // A second word changes nothing; a new journal goes to the live stream.
    {
        grpc::ClientContext ctx;
        AcknowledgeJournalRequest ack;
        ack.set_name("Telmor20261122010203.cna");
        AcknowledgeJournalReply known;
        QVERIFY(again.notifications->AcknowledgeJournal(&ctx, ack, &known).ok());
        QVERIFY(!known.known());
    }
    const std::string next = m_lib.journalDir + "/Telmor20261122010300.cna";
    WriteFile(next, "");
    QVERIFY(m_lib.notifyJournal(next.c_str()));
    QVERIFY(second.WaitFor([&] { second.File("Telmor20261122010300.cna", true, complete); return complete; }));
    {
        std::lock_guard<std::mutex> lock(second.mutex);
        QCOMPARE(second.CountJournalStarts("Telmor20261122010203.cna"), 1);
    }
    QVERIFY(!m_lib.notifyJournal((m_lib.journalDir + "/missing.cna").c_str()));

    // A name in the local 8-bit encoding reaches the client as UTF-8, and
    // that name is what the client acknowledges.
    const std::string latin = m_lib.journalDir + "/Telmor\xE4.cna";
    WriteFile(latin, "x");
    QVERIFY(m_lib.notifyJournal(latin.c_str()));
    const std::string shown = "Telmor\xEF\xBF\xBD.cna";
    QVERIFY(second.WaitFor([&] { second.File(shown, true, complete); return complete; }));
    grpc::ClientContext ctx;
    AcknowledgeJournalRequest ack;
    ack.set_name(shown);
    AcknowledgeJournalReply known;
    QVERIFY(again.notifications->AcknowledgeJournal(&ctx, ack, &known).ok());
    QVERIFY(known.known());
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
    QVERIFY(host.WaitFor([&] { return host.HasEvent("connect "); }));
    std::string peer;
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        for (const std::string& e : host.events)
            if (e.rfind("connect ", 0) == 0 && e.find(" Subscribe") != std::string::npos)
                peer = e.substr(8, e.find(' ', 8) - 8);
    }
    QVERIFY(!peer.empty());

    QVERIFY(m_lib.notifyProgramStatus(ZYN_PROG_ENDED_OTHERWISE, false, "P.MPF",
                                      "Program execution canceled"));
    QVERIFY(m_lib.notifyMachineStatus(ZYN_MACH_ALARM, "Alarm \xFC", "", "", false));
    char names[ZYN_MAX_AXES][ZYN_AXIS_NAME_SIZE] = {};
    char* namePtrs[ZYN_MAX_AXES + 1];
    double positions[ZYN_MAX_AXES + 1] = {};
    for (int i = 0; i <= ZYN_MAX_AXES; ++i)
        namePtrs[i] = names[i < ZYN_MAX_AXES ? i : 0];
    std::strcpy(names[0], "X1");
    std::memcpy(names[1], "ABCDEFGHIJKLMNOPQRST", ZYN_AXIS_NAME_SIZE);  // no NUL in the buffer
    positions[0] = 12.5;
    positions[1] = -1;
    QVERIFY(!m_lib.notifyAxisPos(namePtrs, positions, ZYN_MAX_AXES + 1));
    QVERIFY(m_lib.notifyAxisPos(namePtrs, positions, 2));

    const std::string log = AppDir() + "/logs/20261122.log";
    QVERIFY(QDir().mkpath(QString::fromStdString(AppDir() + "/logs")));
    WriteFile(log, "line 1\nline 2\n");
    const char* targets[] = {peer.c_str(), "ipv4:10.9.9.9:1"};
    QVERIFY(m_lib.notifyLogFile(log.c_str(), targets, 2));

    bool complete = false;
    QVERIFY(sub.WaitFor([&] { return sub.File("20261122.log", false, complete) == "line 1\nline 2\n" && complete; }));
    // Each peer's reports come in order; between peers any order is fine.
    QVERIFY(host.WaitFor([&] {
        return host.HasEvent("log " + peer + " " + log + " 2")
            && host.HasEvent("log ipv4:10.9.9.9:1 " + log + " 3");
    }));
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        std::vector<std::string> mine, other;
        for (const std::string& e : host.events) {
            if (e.rfind("log " + peer, 0) == 0) mine.push_back(e.substr(e.size() - 1));
            if (e.rfind("log ipv4:10.9.9.9:1", 0) == 0) other.push_back(e.substr(e.size() - 1));
        }
        QCOMPARE(mine, (std::vector<std::string>{"1", "2"}));
        QCOMPARE(other, (std::vector<std::string>{"1", "3"}));
    }
    std::lock_guard<std::mutex> lock(sub.mutex);
    int programs = 0, machines = 0, axes = 0;
    for (const Notification& n : sub.received) {
        if (n.has_program_status()) {
            ++programs;
            QCOMPARE(n.program_status().status(), int(ZYN_PROG_ENDED_OTHERWISE));
            QCOMPARE(n.program_status().text(), std::string("Program execution canceled"));
        }
        if (n.has_machine_status()) {
            ++machines;
            // Local 8-bit text that is not UTF-8 arrives repaired, not lost.
            QCOMPARE(n.machine_status().text1(), std::string("Alarm \xEF\xBF\xBD"));
        }
        if (n.has_axis_positions()) {
            ++axes;
            QCOMPARE(n.axis_positions().axes_size(), 2);
            QCOMPARE(n.axis_positions().axes(0).name(), std::string("X1"));
            QCOMPARE(n.axis_positions().axes(0).position(), 12.5);
            QCOMPARE(n.axis_positions().axes(1).name(), std::string("ABCDEFGHIJKLMNOP"));
        }
    }
    QCOMPARE(programs, 1);
    QCOMPARE(machines, 1);
    QCOMPARE(axes, 1);
}

void TestNetServer::aWaitingMessageHoldsUpNobodyElse()
{
    TestHost& host = TestHost::Instance();
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        host.holdMessages = true;
    }
    Client client(m_lib.address);
    auto message = std::async(std::launch::async, [&] {
        grpc::ClientContext ctx;
        MessageRequest request;
        request.set_id(15);
        request.set_type(1);
        request.set_text("Measure?");
        request.set_input_name("Part");
        MessageReply reply;
        const grpc::Status status = client.machine->SendMessage(&ctx, request, &reply);
        return std::make_pair(status, reply);
    });
    QVERIFY(host.WaitFor([&] { return host.messagesWaiting == 1; }));

    // Eight clients read in parallel while the operator thinks.
    std::vector<std::future<bool>> readers;
    for (int i = 0; i < 8; ++i)
        readers.push_back(std::async(std::launch::async, [&, i] {
            Client other(m_lib.address);
            for (int n = 0; n < 20; ++n) {
                ReadRVarReply reply;
                if (!other.Read(i, 10, reply).ok() || reply.values(0) != i + 0.25)
                    return false;
            }
            return true;
        }));
    for (auto& r : readers)
        QVERIFY(r.get());
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        QCOMPARE(host.messagesWaiting, 1);
        host.holdMessages = false;
    }
    host.changed.notify_all();
    auto [status, reply] = message.get();
    QVERIFY(status.ok());
    QVERIFY(reply.ok());
    QCOMPARE(reply.clicked_button(), 15 % 7);
    QCOMPARE(reply.input_value(), std::string("typed:Measure?/Part"));
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
    std::vector<std::future<grpc::Status>> calls;
    calls.push_back(std::async(std::launch::async, [&] {
        grpc::ClientContext ctx;
        MessageRequest request;
        request.set_text("wait");
        MessageReply reply;
        return client.machine->SendMessage(&ctx, request, &reply);
    }));
    calls.push_back(std::async(std::launch::async, [&] {
        ReadRVarReply reply;
        return client.Read(0, 1, reply);
    }));
    calls.push_back(std::async(std::launch::async, [&] {
        CheckFileExistsReply reply;
        return client.Exists(local, reply);
    }));
    calls.push_back(std::async(std::launch::async, [&] {
        DownloadHeader header;
        std::string data;
        return client.Download(local, header, data);
    }));
    calls.push_back(std::async(std::launch::async, [&] {
        Reply reply;
        return client.Upload(0, "a.spf", "abc", 3, reply);
    }));
    calls.push_back(std::async(std::launch::async, [&] {
        RequestFileReply reply;
        return client.Request("r", "3 7 0 1 1", reply);
    }));
    Subscription subscription(client, true);
    QVERIFY(host.WaitFor([&] { return host.callbacksWaiting == 7; }));

    // The HMI's main thread stops the server while the callbacks wait for
    // that very thread: the stop must not wait for them.
    QElapsedTimer timer;
    timer.start();
    m_lib.stopServer();
    const qint64 stopMs = timer.elapsed();
    m_lib.releaseInstance();
    qInfo("StopServer returned after %lld ms with 7 callbacks waiting", stopMs);
    QVERIFY2(stopMs < 5000, "StopServer waited for the callbacks");
    for (auto& call : calls)
        QVERIFY(!call.get().ok());
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
    QVERIFY(FilesIn(AppDir() + "/zyn/upload").empty());

    // And the next load of the library serves as if nothing had happened.
    std::string error;
    QVERIFY2(m_lib.Load(AppDir(), kConfig, error), error.c_str());
    QVERIFY2(m_lib.CreateAndStart(m_table, AppDir(), error), error.c_str());
    Client again(m_lib.address);
    ReadRVarReply reply;
    QVERIFY(again.Read(1, 1, reply).ok());
    QCOMPARE(reply.values(0), 1.25);
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
        std::unique_ptr<grpc::ClientReader<Notification>> reader = client.notifications->Subscribe(&ctx, request);
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

void TestNetServer::clientsArriveOnceAndLeave()
{
    TestHost& host = TestHost::Instance();
    {
        Client client(m_lib.address);
        for (int i = 0; i < 5; ++i) {
            ReadRVarReply reply;
            QVERIFY(client.Read(0, 1, reply).ok());
        }
        // One arrival for the connection, not one per call; gone after idling.
        QVERIFY(host.WaitFor([&] { return host.HasEvent("gone "); }));
        std::lock_guard<std::mutex> lock(host.mutex);
        QCOMPARE(host.events.size(), std::size_t(2));
        QVERIFY(host.events[0].rfind("connect ipv4:127.0.0.1:", 0) == 0);
        QVERIFY(host.events[0].find(" ReadRVar") != std::string::npos);
        QCOMPARE(host.events[1], "gone " + host.events[0].substr(8));
    }
    // On "::" both families are served; an IPv6 peer's brackets arrive
    // unescaped, and an IPv4 client is still an ipv4 peer.
    const int probe = socket(AF_INET6, SOCK_STREAM, 0);
    if (probe < 0)
        QSKIP("no IPv6 here");
    close(probe);
    m_lib.StopAndRelease();
    char journal[ZYN_DIR_BUFFER_SIZE] = {}, req[ZYN_DIR_BUFFER_SIZE] = {};
    QVERIFY(m_lib.createInstance(AppDir().c_str(), m_table, ZYN_CALLBACK_COUNT, journal,
                                 sizeof journal, req, sizeof req));
    if (!m_lib.startServer("::", 0))
        QSKIP("cannot listen on ::");
    const std::string port = std::to_string(m_lib.getServerPort());
    for (const std::string& address : {"[::1]:" + port, "127.0.0.1:" + port}) {
        Client client(address);
        ReadRVarReply reply;
        QVERIFY(client.Read(0, 1, reply).ok());
    }
    std::lock_guard<std::mutex> lock(host.mutex);
    const std::vector<std::string>& peers = host.peers;
    QVERIFY2(peers[peers.size() - 2].rfind("ipv6:[::1]:", 0) == 0, peers[peers.size() - 2].c_str());
    QVERIFY2(peers.back().rfind("ipv4:127.0.0.1:", 0) == 0, peers.back().c_str());
}

void TestNetServer::tlsComesFromTheConfigurationFile()
{
    const QString dir = m_dir->path();
    auto openssl = [&](const QStringList& args) {
        QString command = "cd '" + dir + "' && openssl";
        for (const QString& arg : args)
            command += " '" + arg + "'";
        return std::system((command + " >/dev/null 2>&1").toLocal8Bit().constData()) == 0;
    };
    WriteFile(dir.toStdString() + "/san.ext", "subjectAltName=DNS:localhost,IP:127.0.0.1\n");
    const QStringList ec = {"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"};
    if (!openssl(QStringList{"req", "-x509"} + ec + QStringList{"-keyout", "ca.key", "-out", "ca.pem", "-days", "2", "-subj", "/CN=Test CA"}))
        QSKIP("openssl cannot make certificates here");
    for (const QString& who : {QString("server"), QString("client")}) {
        QVERIFY(openssl(QStringList{"req"} + ec + QStringList{"-keyout", who + ".key", "-out", who + ".csr", "-subj", "/CN=localhost"}));
        QVERIFY(openssl({"x509", "-req", "-in", who + ".csr", "-CA", "ca.pem", "-CAkey", "ca.key",
                         "-CAcreateserial", "-out", who + ".pem", "-days", "2", "-extfile", "san.ext"}));
    }
    const std::string d = dir.toStdString();
    const std::string conf = AppDir() + "/ZynNetServer.conf";

    // A configuration that cannot be used must not silently serve in clear.
    m_lib.StopAndRelease();
    WriteFile(conf, "tls = on\ntls_certificate = " + d + "/server.pem\n");
    std::string error;
    QVERIFY(!m_lib.CreateAndStart(m_table, AppDir(), error));
    QVERIFY(ReadAll(AppDir() + "/zyn/ZynNetServer.log").find("tls needs tls_certificate and tls_private_key")
            != std::string::npos);
    WriteFile(conf, "tls = on\ntls_certificate = " + d + "/server.pem\ntls_private_key = " + d
                        + "/server.key\ntls_client_ca = " + d + "/ca.pem\ntls_client_auth = require\n");
    QVERIFY2(m_lib.CreateAndStart(m_table, AppDir(), error), error.c_str());

    auto read = [&](std::shared_ptr<grpc::ChannelCredentials> credentials) {
        grpc::ChannelArguments args;
        args.SetSslTargetNameOverride("localhost");
        auto stub = Machine::NewStub(grpc::CreateCustomChannel(m_lib.address, credentials, args));
        grpc::ClientContext ctx;
        ctx.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
        ReadRVarRequest request;
        request.set_count(1);
        ReadRVarReply reply;
        return stub->ReadRVar(&ctx, request, &reply);
    };
    grpc::SslCredentialsOptions withCert;
    withCert.pem_root_certs = ReadAll(d + "/ca.pem");
    withCert.pem_cert_chain = ReadAll(d + "/client.pem");
    withCert.pem_private_key = ReadAll(d + "/client.key");
    grpc::SslCredentialsOptions withoutCert;
    withoutCert.pem_root_certs = withCert.pem_root_certs;
    QVERIFY(read(grpc::SslCredentials(withCert)).ok());
    QVERIFY(!read(grpc::SslCredentials(withoutCert)).ok());
    QVERIFY(!read(grpc::InsecureChannelCredentials()).ok());
}

void TestNetServer::aVanishedSubscriberIsReportedGone()
{
    // Short keepalive, and no idle expiry to mistake for it.
    m_lib.StopAndRelease();
    WriteFile(AppDir() + "/ZynNetServer.conf",
              "keepalive_seconds = 1\nkeepalive_timeout_seconds = 1\nclient_idle_seconds = 3600\n");
    std::string error;
    QVERIFY2(m_lib.CreateAndStart(m_table, AppDir(), error), error.c_str());
    TestHost& host = TestHost::Instance();

    FreezingProxy proxy(m_lib.getServerPort());
    QVERIFY(proxy.Port() != 0);
    Client client("127.0.0.1:" + std::to_string(proxy.Port()));
    Subscription subscription(client, false);
    QVERIFY(host.WaitFor([&] { return host.HasEvent("connect "); }));
    // The PC is gone without a word: no FIN, no RST, no answer to pings.
    proxy.Freeze();
    QVERIFY(host.WaitFor([&] { return host.HasEvent("gone "); }, std::chrono::seconds(60)));
    std::lock_guard<std::mutex> lock(host.mutex);
    QVERIFY(host.events.back().find(" Subscribe") != std::string::npos);
}

void TestNetServer::aPortInUseIsNotShared()
{
    // A second HMI, or a second copy of the library, must not quietly
    // split the clients of a port with the first.
    const std::string other = m_dir->path().toStdString() + "/other";
    QVERIFY(QDir().mkpath(QString::fromStdString(other)));
    NetServerLibrary second;
    std::string error;
    QVERIFY2(second.Load(other, "", error), error.c_str());
    char journal[ZYN_DIR_BUFFER_SIZE] = {}, req[ZYN_DIR_BUFFER_SIZE] = {};
    QVERIFY(second.createInstance(other.c_str(), m_table, ZYN_CALLBACK_COUNT, journal,
                                  sizeof journal, req, sizeof req));
    QVERIFY(!second.startServer("127.0.0.1", m_lib.getServerPort()));
    QCOMPARE(second.getServerPort(), (unsigned short)0);
    second.StopAndRelease();
}

QTEST_GUILESS_MAIN(TestNetServer)
#include "TestNetServer.moc"
