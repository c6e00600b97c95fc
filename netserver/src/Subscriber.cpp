#include "Subscriber.h"

#include "JournalStore.h"
#include "NetServer.h"
#include "NotificationService.h"
#include "PeerTracker.h"
#include "ThreadCheck.h"
#include "Utf8Text.h"
#include "ZynNetServer.h"

#include <sys/stat.h>

using namespace harvel::net::v1;

namespace {

constexpr std::size_t kChunkBytes = 64 * 1024;
constexpr std::size_t kMaxQueued = 10000;

}  // namespace

Subscriber::Subscriber(NetServer& server, NotificationService& service,
                       grpc::CallbackServerContext* ctx, unsigned topics)
    : m_server(server),
      m_service(service),
      m_peer(PeerTracker::PeerString(ctx->peer())),
      m_topics(topics)
{
    m_server.Peers().CallStarted(m_peer, "Subscribe");
    // gRPC gets the subscriber when the handler returns it and cancels and
    // ends it on threads of its own; the order is kept inside libgrpc.
    HARVEL_HANDED_OVER(this);
}

bool Subscriber::Post(const Notification& message, Topic topic)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_finished || m_finishPending || !Wants(topic))
        return false;
    // Only the latest positions matter to a client that lags behind.
    if (topic == kAxisPositions && !m_queue.empty() && m_queue.back().topic == kAxisPositions
        && m_queue.back().path.empty() && !(m_queue.size() == 1 && m_fileOpen)) {
        m_queue.back().message = message;
        return true;
    }
    if (m_queue.size() >= kMaxQueued) {
        FinishLocked(grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED,
                                  "the client reads its notifications too slowly"));
        return false;
    }
    m_queue.push_back(Item{topic, message, std::string()});
    Pump();
    return true;
}

bool Subscriber::PostFile(Topic topic, const std::string& path)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_finished || m_finishPending || !Wants(topic) || m_queue.size() >= kMaxQueued)
        return false;
    m_queue.push_back(Item{topic, Notification(), path});
    Pump();
    return true;
}

bool Subscriber::NextFileChunk(Item& item)
{
    if (!m_fileOpen) {
        struct stat st;
        m_file.open(item.path, std::ios::binary);
        if (!m_file || stat(item.path.c_str(), &st) != 0) {
            m_file.close();
            return false;
        }
        m_fileOpen = true;
        m_fileSize = std::uint64_t(st.st_size);
        m_fileOffset = 0;
    }
    FileChunk* chunk = item.topic == kJournals ? m_current.mutable_journal()
                                                : m_current.mutable_log_file();
    // A name that is not UTF-8 would make the client drop the whole stream.
    chunk->set_name(Utf8Text::Repair(JournalStore::BaseName(item.path)));
    chunk->set_size(m_fileSize);
    chunk->set_offset(m_fileOffset);
    std::string* data = chunk->mutable_data();
    const std::uint64_t left = m_fileSize - m_fileOffset;
    data->resize(std::size_t(left < kChunkBytes ? left : kChunkBytes));
    if (!data->empty())
        m_file.read(&(*data)[0], std::streamsize(data->size()));
    if (std::size_t(m_file.gcount()) != data->size() && !data->empty()) {
        m_file.close();
        m_fileOpen = false;
        return false;
    }
    m_fileOffset += data->size();
    chunk->set_last(m_fileOffset >= m_fileSize);
    return true;
}

void Subscriber::Pump()
{
    while (!m_writing && !m_finished && !m_queue.empty()) {
        Item& item = m_queue.front();
        if (item.path.empty()) {
            m_current = std::move(item.message);
            m_queue.pop_front();
        } else {
            m_current.Clear();
            if (!NextFileChunk(item)) {
                // Gone or unreadable: nothing the client can be given.
                if (item.topic == kJournals)
                    m_service.ReportJournalUndelivered(m_peer, item.path);
                else
                    m_service.ReportLogFile(m_peer, item.path, ZYN_LOG_FAILED);
                m_queue.pop_front();
                continue;
            }
            if (m_fileOffset >= m_fileSize) {
                m_file.close();
                m_fileOpen = false;
                m_fileEndsWithWrite = true;
                m_fileTopic = item.topic;
                m_filePath = item.path;
                m_queue.pop_front();
            }
        }
        m_writing = true;
        StartWrite(&m_current);
    }
    if (!m_writing && m_finishPending && !m_finished) {
        m_finished = true;
        Finish(m_finishStatus);
    }
}

void Subscriber::OnWriteDone(bool ok)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_writing = false;
    if (m_fileEndsWithWrite) {
        m_fileEndsWithWrite = false;
        if (m_fileTopic == kJournals) {
            // Sent is not yet delivered: that takes the client's word.
            if (ok && !m_finishPending)
                m_sentJournals.push_back(m_filePath);
            else
                m_service.ReportJournalUndelivered(m_peer, m_filePath);
        } else {
            m_service.ReportLogFile(m_peer, m_filePath,
                                    ok ? ZYN_LOG_SUCCEEDED : ZYN_LOG_FAILED);
        }
    }
    // A cancel that came while this write was pending has left the finish
    // to us: Pump makes it now that nothing is in flight, or the call never
    // ends and the server's stop waits for it for ever.
    if (!ok)
        FinishLocked(grpc::Status(grpc::StatusCode::CANCELLED, "stream broken"));
    Pump();
}

void Subscriber::FinishLocked(const grpc::Status& status)
{
    if (m_finished || m_finishPending)
        return;
    m_finishPending = true;
    m_finishStatus = status;
    // Whatever did not get through is reported as such; journals stay
    // pending for the next subscriber.
    for (const Item& item : m_queue) {
        if (item.path.empty())
            continue;
        if (item.topic == kJournals)
            m_service.ReportJournalUndelivered(m_peer, item.path);
        else
            m_service.ReportLogFile(m_peer, item.path, ZYN_LOG_FAILED);
    }
    m_queue.clear();
    if (m_fileOpen) {
        m_file.close();
        m_fileOpen = false;
    }
    for (const std::string& path : m_sentJournals)
        m_service.ReportJournalUndelivered(m_peer, path);
    m_sentJournals.clear();
    if (!m_writing) {
        m_finished = true;
        Finish(status);
    }
}

void Subscriber::OnCancel()
{
    HARVEL_TAKEN_OVER(this);
    m_cutOff = true;
    std::lock_guard<std::mutex> lock(m_mutex);
    FinishLocked(grpc::Status(grpc::StatusCode::CANCELLED, "subscription ended"));
}

void Subscriber::OnDone()
{
    HARVEL_TAKEN_OVER(this);
    m_service.Detach(this);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
    }
    m_server.Peers().CallEnded(m_peer, m_cutOff);
    delete this;
}
