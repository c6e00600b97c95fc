#include "NetClient.h"

#include "TransferProgress.h"

#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

using namespace harvel::net::v1;

namespace {

constexpr std::size_t kChunkBytes = 64 * 1024;

bool ReadFile(const std::string& path, std::string& content)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::ostringstream text;
    text << in.rdbuf();
    content = text.str();
    return true;
}

std::string BaseName(const std::string& path)
{
    const auto slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// A name of a file and nothing else: no folder part, no way up.
bool IsBareName(const std::string& name)
{
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos
           && name.find('\\') == std::string::npos && name.find('\0') == std::string::npos;
}

// A file appears under its name only once it is whole and on disk.
class SafeFile
{
public:
    explicit SafeFile(const std::string& path)
        : m_path(path), m_temp(path + ".part"), m_out(m_temp, std::ios::binary | std::ios::trunc)
    {
    }
    ~SafeFile()
    {
        if (!m_committed) {
            m_out.close();
            std::remove(m_temp.c_str());
        }
    }
    bool Ok() const { return bool(m_out); }
    void Write(const std::string& data) { m_out.write(data.data(), std::streamsize(data.size())); }
    bool Commit()
    {
        m_out.flush();
        m_out.close();
        if (!m_out)
            return false;
        if (FILE* f = std::fopen(m_temp.c_str(), "rb")) {
            fsync(fileno(f));
            std::fclose(f);
        }
        m_committed = std::rename(m_temp.c_str(), m_path.c_str()) == 0;
        return m_committed;
    }

private:
    std::string m_path;
    std::string m_temp;
    std::ofstream m_out;
    bool m_committed = false;
};

std::string Quote(const std::string& text)
{
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\')
            out += '\\';
        if (c == '\n') {
            out += "\\n";
            continue;
        }
        out += c;
    }
    return out + "\"";
}

}  // namespace

NetClient::NetClient(const std::string& server, const Tls& tls, double timeoutSeconds,
                     bool progress)
    : m_server(server), m_timeout(timeoutSeconds), m_progress(progress)
{
    std::shared_ptr<grpc::ChannelCredentials> credentials;
    grpc::ChannelArguments args;
    if (tls.enabled) {
        grpc::SslCredentialsOptions options;
        if (!tls.caFile.empty() && !ReadFile(tls.caFile, options.pem_root_certs)) {
            m_error = "cannot read " + tls.caFile;
            return;
        }
        if (!tls.certFile.empty() || !tls.keyFile.empty()) {
            if (!ReadFile(tls.certFile, options.pem_cert_chain)
                || !ReadFile(tls.keyFile, options.pem_private_key)) {
                m_error = "--cert and --key need two readable files";
                return;
            }
        }
        if (!tls.serverName.empty())
            args.SetSslTargetNameOverride(tls.serverName);
        credentials = grpc::SslCredentials(options);
    } else {
        credentials = grpc::InsecureChannelCredentials();
    }
    // A watch runs for hours: keepalive tells it when the machine is gone.
    args.SetInt(GRPC_ARG_KEEPALIVE_TIME_MS, 20000);
    args.SetInt(GRPC_ARG_KEEPALIVE_TIMEOUT_MS, 10000);
    args.SetInt(GRPC_ARG_MAX_RECEIVE_MESSAGE_LENGTH, 16 * 1024 * 1024);
    m_channel = grpc::CreateCustomChannel(server, credentials, args);
    m_machine = Machine::NewStub(m_channel);
    m_files = Files::NewStub(m_channel);
    m_notifications = Notifications::NewStub(m_channel);
}

void NetClient::Prepare(grpc::ClientContext& ctx, bool mayWait) const
{
    // A message waits for the operator and a watch for the machine: only
    // an explicit --timeout bounds them.
    if (m_timeout > 0)
        ctx.set_deadline(std::chrono::system_clock::now()
                         + std::chrono::milliseconds(static_cast<long long>(m_timeout * 1000)));
    (void)mayWait;
}

int NetClient::Transport(const grpc::Status& status) const
{
    std::cerr << "harvel-client: " << m_server << ": ";
    switch (status.error_code()) {
    case grpc::StatusCode::UNAVAILABLE: std::cerr << "unavailable: "; break;
    case grpc::StatusCode::INVALID_ARGUMENT: std::cerr << "invalid argument: "; break;
    case grpc::StatusCode::PERMISSION_DENIED: std::cerr << "permission denied: "; break;
    case grpc::StatusCode::RESOURCE_EXHAUSTED: std::cerr << "too large: "; break;
    case grpc::StatusCode::OUT_OF_RANGE: std::cerr << "out of range: "; break;
    case grpc::StatusCode::DEADLINE_EXCEEDED: std::cerr << "timed out: "; break;
    default: std::cerr << "error " << int(status.error_code()) << ": "; break;
    }
    std::cerr << status.error_message() << "\n";
    return kFailed;
}

int NetClient::Answer(bool ok, const std::string& errInfo) const
{
    if (ok)
        return kYes;
    std::cerr << errInfo << "\n";
    return kNo;
}

std::string NetClient::Number(double value)
{
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

int NetClient::ReadR(int index, int count)
{
    grpc::ClientContext ctx;
    Prepare(ctx, false);
    ReadRVarRequest request;
    request.set_index(index);
    request.set_count(count);
    ReadRVarReply reply;
    const grpc::Status status = m_machine->ReadRVar(&ctx, request, &reply);
    if (!status.ok())
        return Transport(status);
    if (reply.ok())
        for (double v : reply.values())
            std::cout << Number(v) << "\n";
    return Answer(reply.ok(), reply.err_info());
}

int NetClient::WriteR(int index, const std::vector<double>& values)
{
    grpc::ClientContext ctx;
    Prepare(ctx, false);
    WriteRVarRequest request;
    request.set_index(index);
    for (double v : values)
        request.add_values(v);
    Reply reply;
    const grpc::Status status = m_machine->WriteRVar(&ctx, request, &reply);
    return status.ok() ? Answer(reply.ok(), reply.err_info()) : Transport(status);
}

int NetClient::Select(const std::string& program)
{
    grpc::ClientContext ctx;
    Prepare(ctx, false);
    SelectProgramRequest request;
    request.set_program(program);
    Reply reply;
    const grpc::Status status = m_machine->SelectProgram(&ctx, request, &reply);
    return status.ok() ? Answer(reply.ok(), reply.err_info()) : Transport(status);
}

int NetClient::SkipPosition()
{
    grpc::ClientContext ctx;
    Prepare(ctx, false);
    SkipPositionReply reply;
    const grpc::Status status = m_machine->GetSkipPosition(&ctx, Empty(), &reply);
    if (!status.ok())
        return Transport(status);
    if (reply.ok())
        std::cout << "x=" << Number(reply.x()) << "\ny=" << Number(reply.y())
                  << "\nz=" << Number(reply.z()) << "\na=" << Number(reply.a())
                  << "\nb=" << Number(reply.b()) << "\nc=" << Number(reply.c()) << "\n";
    return Answer(reply.ok(), reply.err_info());
}

int NetClient::Message(unsigned long long id, int type, int style, const std::string& text,
                       const std::string& inputName)
{
    grpc::ClientContext ctx;
    Prepare(ctx, true);
    MessageRequest request;
    request.set_id(id);
    request.set_type(type);
    request.set_style(style);
    request.set_text(text);
    request.set_input_name(inputName);
    MessageReply reply;
    const grpc::Status status = m_machine->SendMessage(&ctx, request, &reply);
    if (!status.ok())
        return Transport(status);
    if (reply.ok())
        std::cout << "button=" << reply.clicked_button() << "\ninput=" << reply.input_value()
                  << "\n";
    return Answer(reply.ok(), reply.err_info());
}

int NetClient::MachineConfig()
{
    grpc::ClientContext ctx;
    Prepare(ctx, false);
    DocumentReply reply;
    const grpc::Status status = m_machine->GetMachineConfiguration(&ctx, Empty(), &reply);
    if (!status.ok())
        return Transport(status);
    if (reply.ok())
        std::cout << reply.content();
    return Answer(reply.ok(), reply.err_info());
}

int NetClient::Calibration()
{
    grpc::ClientContext ctx;
    Prepare(ctx, false);
    DocumentReply reply;
    const grpc::Status status = m_machine->GetCalibrationResult(&ctx, Empty(), &reply);
    if (!status.ok())
        return Transport(status);
    if (reply.ok())
        std::cout << reply.content();
    return Answer(reply.ok(), reply.err_info());
}

int NetClient::Exists(const std::string& path)
{
    grpc::ClientContext ctx;
    Prepare(ctx, false);
    PathRequest request;
    request.set_path(path);
    CheckFileExistsReply reply;
    const grpc::Status status = m_files->CheckFileExists(&ctx, request, &reply);
    if (!status.ok())
        return Transport(status);
    if (reply.ok())
        std::cout << (reply.exists() ? "yes" : "no") << "\n";
    return Answer(reply.ok(), reply.err_info());
}

int NetClient::Upload(int fileType, const std::string& file)
{
    std::ifstream in(file, std::ios::binary);
    struct stat st;
    if (!in || stat(file.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) {
        std::cerr << "harvel-client: cannot read " << file << "\n";
        return kFailed;
    }
    const std::uint64_t size = std::uint64_t(st.st_size);
    grpc::ClientContext ctx;
    Prepare(ctx, false);
    Reply reply;
    auto writer = m_files->UploadFile(&ctx, &reply);
    UploadRequest header;
    header.mutable_header()->set_file_type(FileType(fileType));
    header.mutable_header()->set_file_name(BaseName(file));
    header.mutable_header()->set_size(size);
    bool sent = writer->Write(header);
    TransferProgress progress("upload " + BaseName(file), size, m_progress);
    std::uint64_t done = 0;
    std::string chunk(kChunkBytes, '\0');
    while (sent && done < size) {
        in.read(&chunk[0], std::streamsize(chunk.size()));
        const std::size_t got = std::size_t(in.gcount());
        if (got == 0)
            break;  // the file shrank; the server refuses the short upload
        UploadRequest data;
        data.set_data(chunk.substr(0, got));
        sent = writer->Write(data);
        done += got;
        progress.Update(done);
    }
    writer->WritesDone();
    const grpc::Status status = writer->Finish();
    progress.Finish();
    return status.ok() ? Answer(reply.ok(), reply.err_info()) : Transport(status);
}

int NetClient::Download(const std::string& path, const std::string& outFile)
{
    grpc::ClientContext ctx;
    Prepare(ctx, false);
    PathRequest request;
    request.set_path(path);
    auto reader = m_files->DownloadFile(&ctx, request);
    DownloadReply part;
    if (!reader->Read(&part) || !part.has_header()) {
        const grpc::Status status = reader->Finish();
        return Transport(status.ok() ? grpc::Status(grpc::StatusCode::INTERNAL, "no header")
                                     : status);
    }
    const DownloadHeader header = part.header();
    if (!header.ok()) {
        reader->Finish();
        return Answer(false, header.err_info());
    }
    SafeFile out(outFile);
    if (!out.Ok()) {
        ctx.TryCancel();
        reader->Finish();
        std::cerr << "harvel-client: cannot write " << outFile << "\n";
        return kFailed;
    }
    TransferProgress progress("download " + header.file_name(), header.size(), m_progress);
    std::uint64_t done = 0;
    while (reader->Read(&part)) {
        out.Write(part.data());
        done += part.data().size();
        progress.Update(done);
    }
    progress.Finish();
    const grpc::Status status = reader->Finish();
    if (!status.ok())
        return Transport(status);
    if (done != header.size()) {
        std::cerr << "harvel-client: download incomplete: " << done << " of " << header.size()
                  << " bytes\n";
        return kFailed;
    }
    if (!out.Commit()) {
        std::cerr << "harvel-client: cannot write " << outFile << "\n";
        return kFailed;
    }
    return kYes;
}

int NetClient::Request(const std::string& line, const std::string& name)
{
    grpc::ClientContext ctx;
    Prepare(ctx, false);
    RequestFileRequest request;
    request.set_name(name);
    request.set_content(line);
    RequestFileReply reply;
    const grpc::Status status = m_files->SendRequestFile(&ctx, request, &reply);
    if (!status.ok())
        return Transport(status);
    if (!reply.ok())
        return Answer(false, reply.err_info());
    switch (reply.outcome()) {
    case REQUEST_OUTCOME_CARRIED_OUT: std::cout << "carried out\n"; break;
    case REQUEST_OUTCOME_CARRIED_OUT_KEPT: std::cout << "carried out, kept\n"; break;
    case REQUEST_OUTCOME_FAILED: std::cout << "failed\n"; break;
    default: std::cout << "unknown\n"; break;
    }
    if (!reply.answer_name().empty())
        std::cout << reply.answer() << "\n";
    if (reply.outcome() == REQUEST_OUTCOME_FAILED)
        return Answer(false, reply.err_info());
    if (!reply.err_info().empty())
        std::cerr << reply.err_info() << "\n";
    return kYes;
}

int NetClient::Watch(const std::string& journalDir, const std::string& logDir, long long count)
{
    grpc::ClientContext ctx;
    Prepare(ctx, true);
    SubscribeRequest request;  // everything
    auto reader = m_notifications->Subscribe(&ctx, request);
    std::unique_ptr<SafeFile> journal;
    std::unique_ptr<SafeFile> log;
    // The log file under way: its name as sent, and whether it may be saved.
    std::string logName;
    bool logRefused = false;
    bool logUnderWay = false;
    Notification n;
    long long seen = 0;
    while ((count <= 0 || seen < count) && reader->Read(&n)) {
        if (n.has_log_file()) {
            const FileChunk& chunk = n.log_file();
            if (chunk.offset() == 0) {
                // A log file is the machine's to name, but only as a bare
                // name: one with a folder part would write outside DIR.
                logName = chunk.name();
                logRefused = !IsBareName(logName);
                logUnderWay = true;
                log.reset();
                if (logRefused)
                    std::cerr << "harvel-client: log file " << Quote(logName)
                              << " refused: not a bare file name\n";
                else if (!logDir.empty())
                    log = std::make_unique<SafeFile>(logDir + "/" + logName);
                std::cout << "log-file " << logName << " " << chunk.size() << " exporting" << std::endl;
            }
            if (!logUnderWay)
                continue;  // the rest of a file whose start came before we did
            if (log)
                log->Write(chunk.data());
            if (!chunk.last())
                continue;
            ++seen;
            logUnderWay = false;
            std::cout << "log-file " << logName << " " << chunk.size();
            if (logRefused)
                std::cout << " refused";
            else if (log && log->Commit())
                std::cout << " saved " << logDir << "/" << logName;
            else if (!logDir.empty())
                std::cout << " not-saved";
            std::cout << std::endl;
            log.reset();
            continue;
        }
        if (n.has_journal()) {
            const FileChunk& chunk = n.journal();
            // A chunk's name comes from the machine: only its last part counts.
            const std::string name = BaseName(chunk.name());
            if (chunk.offset() == 0 && !journalDir.empty() && !name.empty() && name != "..")
                journal = std::make_unique<SafeFile>(journalDir + "/" + name);
            if (journal)
                journal->Write(chunk.data());
            if (!chunk.last())
                continue;
            ++seen;
            std::cout << "journal " << name << " " << chunk.size();
            const bool saved = journal && journal->Commit();
            journal.reset();
            if (saved) {
                std::cout << " saved " << journalDir << "/" << name;
                // Only a journal that is safely on disk may leave the machine.
                grpc::ClientContext ackCtx;
                Prepare(ackCtx, false);
                AcknowledgeJournalRequest ack;
                ack.set_name(chunk.name());
                AcknowledgeJournalReply known;
                const grpc::Status status = m_notifications->AcknowledgeJournal(&ackCtx, ack, &known);
                std::cout << (status.ok() ? " acknowledged" : " not-acknowledged");
            } else if (!journalDir.empty()) {
                std::cout << " not-saved";
            }
            std::cout << std::endl;
            continue;
        }
        ++seen;
        if (n.has_program_status()) {
            const ProgramStatus& s = n.program_status();
            std::cout << "program-status status=" << s.status() << " flag=" << int(s.flag())
                      << " program=" << Quote(s.program()) << " text=" << Quote(s.text());
        } else if (n.has_machine_status()) {
            const MachineStatus& s = n.machine_status();
            std::cout << "machine-status status=" << s.status() << " flag=" << int(s.flag())
                      << " text1=" << Quote(s.text1()) << " text2=" << Quote(s.text2())
                      << " text3=" << Quote(s.text3());
        } else if (n.has_axis_positions()) {
            std::cout << "axis-positions";
            for (const AxisPosition& a : n.axis_positions().axes())
                std::cout << " " << a.name() << "=" << Number(a.position());
        } else {
            std::cout << "unknown-notification";
        }
        std::cout << std::endl;
    }
    // A log file cut off by the end of the stream is not on disk: its part
    // goes with the SafeFile.
    if (logUnderWay)
        std::cout << "log-file " << logName << " " << (logRefused ? "refused" : "not-saved") << std::endl;
    if (count > 0 && seen >= count) {
        ctx.TryCancel();
        reader->Finish();
        return kYes;
    }
    return Transport(reader->Finish());
}
