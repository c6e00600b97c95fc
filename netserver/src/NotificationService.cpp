#include "NotificationService.h"

#include "NetServer.h"
#include "PeerTracker.h"
#include "UnaryCall.h"

using namespace harvel::net::v1;

NotificationService::NotificationService(NetServer& server)
    : m_server(server), m_journals(server.JournalDir())
{
    m_journals.Scan();
}

grpc::ServerWriteReactor<Notification>* NotificationService::Subscribe(
    grpc::CallbackServerContext* ctx, const SubscribeRequest* request)
{
    unsigned topics = 0;
    if (request->journals()) topics |= Subscriber::kJournals;
    if (request->program_status()) topics |= Subscriber::kProgramStatus;
    if (request->machine_status()) topics |= Subscriber::kMachineStatus;
    if (request->axis_positions()) topics |= Subscriber::kAxisPositions;
    if (request->log_files()) topics |= Subscriber::kLogFiles;
    if (topics == 0)
        topics = ~0u;
    auto* subscriber = new Subscriber(m_server, *this, ctx, topics);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_subscribers.insert(subscriber);
    // What is pending goes out first, in the order it was made.
    if (subscriber->Wants(Subscriber::kJournals))
        for (const std::string& path : m_journals.Pending())
            subscriber->PostFile(Subscriber::kJournals, path);
    return subscriber;
}

grpc::ServerUnaryReactor* NotificationService::AcknowledgeJournal(
    grpc::CallbackServerContext* ctx, const AcknowledgeJournalRequest* request,
    AcknowledgeJournalReply* reply)
{
    std::string path;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        path = m_journals.Acknowledge(request->name());
    }
    const auto callback = m_server.Callbacks().Get<ZynGetJournalsCallback>(ZYN_CB_GET_JOURNALS);
    const std::string peer = PeerTracker::PeerString(ctx->peer());
    if (!path.empty() && callback)
        m_server.PostEvent([callback, peer, path] { callback(peer.c_str(), path.c_str(), true); });
    reply->set_known(!path.empty());
    // No worker needed: the answer is already known.
    grpc::ServerUnaryReactor* reactor = ctx->DefaultReactor();
    reactor->Finish(grpc::Status::OK);
    return reactor;
}

bool NotificationService::Publish(const Notification& message, Subscriber::Topic topic)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    bool taken = false;
    for (Subscriber* subscriber : m_subscribers)
        taken = subscriber->Post(message, topic) || taken;
    return taken;
}

bool NotificationService::AddJournal(const std::string& path)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const bool known = m_journals.IsPending(path);
    if (!m_journals.Add(path))
        return false;
    if (known)
        return false;
    bool taken = false;
    for (Subscriber* subscriber : m_subscribers)
        taken = subscriber->PostFile(Subscriber::kJournals, path) || taken;
    return taken;
}

bool NotificationService::SendLogFile(const std::string& file,
                                      const std::vector<std::string>& peers)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    bool any = false;
    for (const std::string& peer : peers) {
        Subscriber* target = nullptr;
        for (Subscriber* subscriber : m_subscribers)
            if (subscriber->Peer() == peer && subscriber->Wants(Subscriber::kLogFiles))
                target = subscriber;
        // The exporting state must reach the plug-in before the outcome.
        ReportLogFile(peer, file, ZYN_LOG_EXPORTING);
        if (target && target->PostFile(Subscriber::kLogFiles, file))
            any = true;
        else
            ReportLogFile(peer, file, ZYN_LOG_FAILED);
    }
    return any;
}

void NotificationService::ReportJournalUndelivered(const std::string& peer,
                                                   const std::string& path)
{
    const auto callback = m_server.Callbacks().Get<ZynGetJournalsCallback>(ZYN_CB_GET_JOURNALS);
    if (!callback)
        return;
    NotificationService* self = this;
    m_server.PostEvent([self, callback, peer, path] {
        // Someone else may have acknowledged it meanwhile: then nothing failed.
        {
            std::lock_guard<std::mutex> lock(self->m_mutex);
            if (!self->m_journals.IsPending(path))
                return;
        }
        callback(peer.c_str(), path.c_str(), false);
    });
}

void NotificationService::ReportLogFile(const std::string& peer, const std::string& file,
                                        int state)
{
    const auto callback = m_server.Callbacks().Get<ZynGetLogFilesCallback>(ZYN_CB_GET_LOG_FILES);
    if (!callback)
        return;
    m_server.PostEvent([callback, peer, file, state] {
        callback(peer.c_str(), file.c_str(), state);
    });
}

void NotificationService::Detach(Subscriber* subscriber)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_subscribers.erase(subscriber);
}
