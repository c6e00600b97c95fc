#include "NetServer.h"

#include "FileService.h"
#include "MachineService.h"
#include "NotificationService.h"
#include "PathPolicy.h"
#include "PeerTracker.h"
#include "RequestWatcher.h"
#include "WorkerPool.h"

#include <grpcpp/ext/health_check_service_server_builder_option.h>
#include <grpcpp/grpcpp.h>
#include <grpcpp/health_check_service_interface.h>

#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <sstream>

using namespace harvel::net::v1;

namespace {

// Stop must be back within two seconds; this leaves room for what follows
// the wait for the worker threads.
constexpr auto kStopGrace = std::chrono::milliseconds(200);
constexpr auto kStopBudget = std::chrono::milliseconds(1000);
constexpr std::size_t kMaxAnswerBytes = 1024 * 1024;

bool MakeFolder(const std::string& path, std::string& error)
{
    std::string partial;
    std::size_t pos = 0;
    while (pos != std::string::npos) {
        pos = path.find('/', pos + 1);
        partial = path.substr(0, pos);
        if (partial.empty())
            continue;
        if (mkdir(partial.c_str(), 0755) != 0 && errno != EEXIST) {
            error = "cannot make folder " + partial;
            return false;
        }
    }
    return true;
}

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


std::string ListenAddress(const std::string& ip, unsigned short port)
{
    std::string host = ip.empty() ? "0.0.0.0" : ip;
    if (host.find(':') != std::string::npos && host.front() != '[')
        host = "[" + host + "]";
    return host + ":" + std::to_string(port);
}

}  // namespace

NetServer::NetServer(const std::string& applDir, const CallbackTable& callbacks)
    : m_applDir(applDir), m_callbacks(callbacks)
{
    while (m_applDir.size() > 1 && m_applDir.back() == '/')
        m_applDir.pop_back();
    m_journalDir = m_applDir + "/zyn/journal";
    m_reqDir = m_applDir + "/zyn/req";
    m_uploadDir = m_applDir + "/zyn/upload";
    m_paths = std::make_shared<const PathPolicy>(m_applDir, std::string());
}

NetServer::~NetServer()
{
    Stop();
}

bool NetServer::Prepare(std::string& error)
{
    return MakeFolder(m_journalDir, error) && MakeFolder(m_reqDir, error)
        && MakeFolder(m_uploadDir, error);
}

bool NetServer::Start(const std::string& ip, unsigned short port)
{
    Stop();
    std::string error;
    ServerConfig config;
    const std::string configPath = ServerConfig::DefaultPath();
    if (!config.Load(configPath, error)) {
        Complain(error);
        return false;
    }
    std::shared_ptr<grpc::ServerCredentials> credentials;
    if (config.tls) {
        grpc::SslServerCredentialsOptions options;
        grpc::SslServerCredentialsOptions::PemKeyCertPair pair;
        if (!ReadFile(config.privateKeyFile, pair.private_key)
            || !ReadFile(config.certificateFile, pair.cert_chain)) {
            Complain("cannot read the TLS key or certificate named in " + configPath);
            return false;
        }
        options.pem_key_cert_pairs.push_back(pair);
        if (!config.clientCaFile.empty() && !ReadFile(config.clientCaFile, options.pem_root_certs)) {
            Complain("cannot read " + config.clientCaFile);
            return false;
        }
        switch (config.clientAuth) {
        case ServerConfig::ClientAuth::None:
            options.client_certificate_request = GRPC_SSL_DONT_REQUEST_CLIENT_CERTIFICATE;
            break;
        case ServerConfig::ClientAuth::Request:
            options.client_certificate_request =
                GRPC_SSL_REQUEST_CLIENT_CERTIFICATE_AND_VERIFY;
            break;
        case ServerConfig::ClientAuth::Require:
            options.client_certificate_request =
                GRPC_SSL_REQUEST_AND_REQUIRE_CLIENT_CERTIFICATE_AND_VERIFY;
            break;
        }
        credentials = grpc::SslServerCredentials(options);
    } else {
        credentials = grpc::InsecureServerCredentials();
    }
    if (!Prepare(error)) {
        Complain(error);
        return false;
    }
    m_config = config;
    m_paths = std::make_shared<const PathPolicy>(m_applDir, config.ncFolder);

    const CallbackTable callbacks = m_callbacks;
    m_workers = std::make_unique<WorkerPool>(config.maxWorkers, config.maxQueuedRequests);
    m_events = std::make_unique<WorkerPool>(1, 100000);
    m_peers = std::make_unique<PeerTracker>(
        std::chrono::seconds(config.clientIdleSeconds),
        [this, callbacks](const std::string& peer, const std::string& method, int action) {
            const auto callback =
                callbacks.Get<ZynClientActionCallback>(ZYN_CB_CLIENT_ACTION);
            if (callback)
                PostEvent([callback, peer, method, action] {
                    callback(peer.c_str(), method.c_str(), action);
                });
        });
    m_requests = std::make_shared<RequestWatcher>(
        kMaxAnswerBytes,
        [this, callbacks](const std::string& peer, const std::string& reqName,
                          const std::string& answerPath) {
            const auto callback = callbacks.Get<ZynGetInteractiveResultCallback>(
                ZYN_CB_GET_INTERACTIVE_RESULT);
            if (!callback) {
                std::remove(answerPath.c_str());
                return;
            }
            PostEvent([callback, peer, reqName, answerPath] {
                char err[256] = {};
                callback(peer.c_str(), reqName.c_str(), false, answerPath.c_str(), err,
                         unsigned(sizeof err));
            });
        });
    m_machine = std::make_unique<MachineService>(*this);
    m_files = std::make_unique<FileService>(*this);
    m_notifications = std::make_unique<NotificationService>(*this);

    grpc::EnableDefaultHealthCheckService(true);
    grpc::ServerBuilder builder;
    int boundPort = 0;
    builder.AddListeningPort(ListenAddress(ip, port), credentials, &boundPort);
    builder.SetMaxReceiveMessageSize(config.maxMessageBytes);
    builder.SetMaxSendMessageSize(config.maxMessageBytes);
    // A second server on the same port must fail, not share it silently.
    builder.AddChannelArgument(GRPC_ARG_ALLOW_REUSEPORT, 0);
    // Keepalive finds a client that vanished without a word, so that its
    // subscription ends and it is reported gone.
    builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIME_MS, config.keepaliveSeconds * 1000);
    builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIMEOUT_MS,
                               config.keepaliveTimeoutSeconds * 1000);
    builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_PERMIT_WITHOUT_CALLS, 1);
    builder.AddChannelArgument(GRPC_ARG_HTTP2_MIN_RECV_PING_INTERVAL_WITHOUT_DATA_MS, 1000);
    builder.AddChannelArgument(GRPC_ARG_HTTP2_MAX_PING_STRIKES, 0);
    builder.RegisterService(m_machine.get());
    builder.RegisterService(m_files.get());
    builder.RegisterService(m_notifications.get());
    m_server = builder.BuildAndStart();
    if (!m_server || boundPort == 0) {
        Complain("cannot listen on " + ListenAddress(ip, port));
        Stop();
        return false;
    }
    m_port = static_cast<unsigned short>(boundPort);
    m_stopping = false;
    if (auto* health = m_server->GetHealthCheckService()) {
        health->SetServingStatus(true);
        for (const char* service : {"harvel.net.v1.Machine", "harvel.net.v1.Files",
                                    "harvel.net.v1.Notifications"})
            health->SetServingStatus(service, true);
    }
    {
        std::lock_guard<std::mutex> lock(m_housekeeperMutex);
        m_housekeeperStop = false;
    }
    m_housekeeper = std::thread(&NetServer::Housekeep, this);
    return true;
}

void NetServer::Complain(const std::string& text) const
{
    // The plug-in only learns that the start failed; the reason goes where
    // an operator looks: the HMI's error output and a file of our own.
    std::fprintf(stderr, "ZynNetServer: %s\n", text.c_str());
    std::ofstream log(m_applDir + "/zyn/ZynNetServer.log", std::ios::app);
    if (log) {
        const std::time_t now = std::time(nullptr);
        char stamp[32] = {};
        std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", std::localtime(&now));
        log << stamp << " " << text << "\n";
    }
}

void NetServer::Housekeep()
{
    auto lastExpire = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> lock(m_housekeeperMutex);
    while (!m_housekeeperStop) {
        m_housekeeperWake.wait_for(lock, std::chrono::milliseconds(50));
        if (m_housekeeperStop)
            break;
        lock.unlock();
        m_requests->Poll();
        const auto now = std::chrono::steady_clock::now();
        if (now - lastExpire >= std::chrono::milliseconds(500)) {
            m_peers->Expire(now);
            lastExpire = now;
        }
        lock.lock();
    }
}

void NetServer::Stop()
{
    m_stopping = true;
    const auto deadline = std::chrono::steady_clock::now() + kStopBudget;
    if (m_housekeeper.joinable()) {
        {
            std::lock_guard<std::mutex> lock(m_housekeeperMutex);
            m_housekeeperStop = true;
        }
        m_housekeeperWake.notify_all();
        m_housekeeper.join();
    }
    if (m_requests)
        m_requests->Close();
    if (m_server) {
        if (auto* health = m_server->GetHealthCheckService())
            health->SetServingStatus(false);
        // Calls still open after the grace are cancelled, and every
        // reactor finishes on its cancel, so this does not wait for a
        // callback that waits for us.
        m_server->Shutdown(std::chrono::system_clock::now() + kStopGrace);
    }
    // Nobody is left to tell about departures.
    if (m_peers)
        m_peers->Clear();
    if (m_workers)
        m_workers->Stop(deadline);
    if (m_events)
        m_events->Stop(deadline);
    m_server.reset();
    m_notifications.reset();
    m_files.reset();
    m_machine.reset();
    m_requests.reset();
    m_peers.reset();
    m_events.reset();
    m_workers.reset();
    m_port = 0;
}

void NetServer::PostEvent(std::function<void()> job)
{
    // What the stop itself ends (subscriptions cut off, departures) is
    // nobody's news: the HMI thread that would hear it is the one stopping
    // us, and would hold the stop for the whole budget.
    if (m_stopping)
        return;
    if (m_events)
        m_events->Submit(std::move(job));
}

bool NetServer::NotifyLogFile(const std::string& file, const std::vector<std::string>& peers)
{
    if (!m_notifications || file.empty() || peers.empty())
        return false;
    return m_notifications->SendLogFile(file, peers);
}

bool NetServer::NotifyJournal(const std::string& journalFile)
{
    if (!m_notifications || journalFile.empty())
        return false;
    return m_notifications->AddJournal(journalFile);
}

bool NetServer::NotifyProgramStatus(int status, bool flag, const std::string& program,
                                    const std::string& text)
{
    if (!m_notifications)
        return false;
    Notification message;
    ProgramStatus* event = message.mutable_program_status();
    event->set_status(status);
    event->set_flag(flag);
    event->set_program(program);
    event->set_text(text);
    return m_notifications->Publish(message, Subscriber::kProgramStatus);
}

bool NetServer::NotifyMachineStatus(int status, const std::string& text1,
                                    const std::string& text2, const std::string& text3,
                                    bool flag)
{
    if (!m_notifications)
        return false;
    Notification message;
    MachineStatus* event = message.mutable_machine_status();
    event->set_status(status);
    event->set_text1(text1);
    event->set_text2(text2);
    event->set_text3(text3);
    event->set_flag(flag);
    return m_notifications->Publish(message, Subscriber::kMachineStatus);
}

bool NetServer::NotifyAxisPos(const std::vector<std::pair<std::string, double>>& axes)
{
    if (!m_notifications)
        return false;
    Notification message;
    AxisPositions* event = message.mutable_axis_positions();
    for (const auto& axis : axes) {
        AxisPosition* position = event->add_axes();
        position->set_name(axis.first);
        position->set_position(axis.second);
    }
    return m_notifications->Publish(message, Subscriber::kAxisPositions);
}
