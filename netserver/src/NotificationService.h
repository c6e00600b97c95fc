#ifndef NOTIFICATIONSERVICE_H
#define NOTIFICATIONSERVICE_H

#include "JournalStore.h"
#include "Subscriber.h"
#include "harvel_net_v1.grpc.pb.h"

#include <mutex>
#include <set>
#include <string>
#include <vector>

class NetServer;

// The subscribers and the pending journals. Notify entry points post
// here from the HMI main thread; nothing here waits for a client.
class NotificationService final : public harvel::net::v1::Notifications::CallbackService
{
public:
    explicit NotificationService(NetServer& server);

    grpc::ServerWriteReactor<harvel::net::v1::Notification>* Subscribe(
        grpc::CallbackServerContext* ctx,
        const harvel::net::v1::SubscribeRequest* request) override;
    grpc::ServerUnaryReactor* AcknowledgeJournal(
        grpc::CallbackServerContext* ctx,
        const harvel::net::v1::AcknowledgeJournalRequest* request,
        harvel::net::v1::AcknowledgeJournalReply* reply) override;

    // True if at least one subscriber took it.
    bool Publish(const harvel::net::v1::Notification& message, Subscriber::Topic topic);
    bool AddJournal(const std::string& path);
    bool SendLogFile(const std::string& file, const std::vector<std::string>& peers);

    // From subscribers; each posts a report to the plug-in.
    void ReportJournalUndelivered(const std::string& peer, const std::string& path);
    void ReportLogFile(const std::string& peer, const std::string& file, int state);
    void Detach(Subscriber* subscriber);

private:
    NetServer& m_server;
    std::mutex m_mutex;
    std::set<Subscriber*> m_subscribers;
    JournalStore m_journals;
};

#endif
