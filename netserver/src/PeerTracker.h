#ifndef PEERTRACKER_H
#define PEERTRACKER_H

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>

// Arrivals and departures of clients, as the plug-in's client registry
// wants them: one arrival per connection, not one per call, so that a
// client reading in a loop does not send two blocking notices per read to
// the HMI. gRPC does not tell when a connection closes; a client is gone
// when its last call was cut off (keepalive found it dead, it cancelled)
// or when it has had no call for the idle time.
class PeerTracker
{
public:
    // (peer, method, actionType) for the client action callback.
    using Sink = std::function<void(const std::string&, const std::string&, int)>;

    PeerTracker(std::chrono::seconds idle, Sink sink);

    void CallStarted(const std::string& peer, const std::string& method);
    void CallEnded(const std::string& peer, bool cutOff);
    // Reports those idle too long; called now and then.
    void Expire(std::chrono::steady_clock::time_point now);
    // Forgets everyone without a word: at stop there is nobody to tell.
    void Clear();

    // gRPC writes an IPv6 peer as ipv6:%5B::1%5D:port.
    static std::string PeerString(const std::string& grpcPeer);

private:
    struct Client
    {
        int openCalls = 0;
        std::string method;
        std::chrono::steady_clock::time_point lastSeen;
    };

    std::mutex m_mutex;
    std::map<std::string, Client> m_clients;
    std::chrono::seconds m_idle;
    Sink m_sink;
};

#endif
