#include "PeerTracker.h"

#include "ZynNetServer.h"

PeerTracker::PeerTracker(std::chrono::seconds idle, Sink sink)
    : m_idle(idle), m_sink(std::move(sink))
{
}

void PeerTracker::CallStarted(const std::string& peer, const std::string& method)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_clients.find(peer);
    if (it == m_clients.end()) {
        it = m_clients.emplace(peer, Client()).first;
        m_sink(peer, method, ZYN_CLIENT_CONNECTED);
    }
    ++it->second.openCalls;
    it->second.method = method;
    it->second.lastSeen = std::chrono::steady_clock::now();
}

void PeerTracker::CallEnded(const std::string& peer, bool cutOff)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    auto it = m_clients.find(peer);
    if (it == m_clients.end())
        return;
    it->second.lastSeen = std::chrono::steady_clock::now();
    if (--it->second.openCalls > 0 || !cutOff)
        return;
    m_sink(peer, it->second.method, ZYN_CLIENT_DISCONNECTED);
    m_clients.erase(it);
}

void PeerTracker::Expire(std::chrono::steady_clock::time_point now)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto it = m_clients.begin(); it != m_clients.end();) {
        if (it->second.openCalls == 0 && now - it->second.lastSeen >= m_idle) {
            m_sink(it->first, it->second.method, ZYN_CLIENT_DISCONNECTED);
            it = m_clients.erase(it);
        } else {
            ++it;
        }
    }
}

void PeerTracker::Clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_clients.clear();
}

std::string PeerTracker::PeerString(const std::string& grpcPeer)
{
    std::string out;
    out.reserve(grpcPeer.size());
    for (std::size_t i = 0; i < grpcPeer.size(); ++i) {
        if (grpcPeer[i] == '%' && i + 2 < grpcPeer.size()) {
            const std::string code = grpcPeer.substr(i + 1, 2);
            if (code == "5B" || code == "5b") { out += '['; i += 2; continue; }
            if (code == "5D" || code == "5d") { out += ']'; i += 2; continue; }
        }
        out += grpcPeer[i];
    }
    return out;
}
