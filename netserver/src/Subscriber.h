#ifndef SUBSCRIBER_H
#define SUBSCRIBER_H

#include "harvel_net_v1.grpc.pb.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

class NetServer;
class NotificationService;

// One client's stream of notifications. Anything may post from any thread;
// the stream writes one message at a time, files in chunks as the writes
// complete, so a slow client holds up nobody but itself.
class Subscriber : public grpc::ServerWriteReactor<harvel::net::v1::Notification>
{
public:
    enum Topic : unsigned {
        kJournals = 1,
        kProgramStatus = 2,
        kMachineStatus = 4,
        kAxisPositions = 8,
        kLogFiles = 16
    };

    Subscriber(NetServer& server, NotificationService& service, grpc::CallbackServerContext* ctx,
               unsigned topics);

    const std::string& Peer() const { return m_peer; }
    bool Wants(Topic topic) const { return (m_topics & topic) != 0; }

    // False if the stream has ended or the client lags too far behind.
    bool Post(const harvel::net::v1::Notification& message, Topic topic);
    // A journal or a log file; the outcome goes to the plug-in by the
    // service's reports.
    bool PostFile(Topic topic, const std::string& path);

    void OnWriteDone(bool ok) override;
    void OnCancel() override;
    void OnDone() override;

private:
    struct Item
    {
        Topic topic;
        harvel::net::v1::Notification message;
        std::string path;  // set for a file
    };

    // With m_mutex held:
    void Pump();
    bool NextFileChunk(Item& item);
    void FinishLocked(const grpc::Status& status);

    NetServer& m_server;
    NotificationService& m_service;
    std::string m_peer;
    unsigned m_topics;
    std::atomic<bool> m_cutOff{false};

    std::mutex m_mutex;
    std::deque<Item> m_queue;
    bool m_writing = false;
    bool m_finished = false;
    bool m_finishPending = false;
    grpc::Status m_finishStatus;
    harvel::net::v1::Notification m_current;

    // The file at the head of the queue, while it is being sent.
    std::ifstream m_file;
    bool m_fileOpen = false;
    std::uint64_t m_fileSize = 0;
    std::uint64_t m_fileOffset = 0;
    // The chunk in flight is the file's last: done when its write is.
    bool m_fileEndsWithWrite = false;
    Topic m_fileTopic = kJournals;
    std::string m_filePath;
    std::vector<std::string> m_sentJournals;
};

#endif
