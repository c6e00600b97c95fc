#ifndef FREEZINGPROXY_H
#define FREEZINGPROXY_H

#include <atomic>
#include <string>
#include <thread>

// A TCP relay on loopback that can go silent without closing anything:
// to the server, a client behind it vanishes the way a pulled cable or a
// crashed PC does.
class FreezingProxy
{
public:
    explicit FreezingProxy(unsigned short targetPort);
    ~FreezingProxy();

    unsigned short Port() const { return m_port; }
    void Freeze() { m_frozen = true; }

private:
    void Run();

    unsigned short m_targetPort;
    unsigned short m_port = 0;
    int m_listener = -1;
    std::atomic<bool> m_frozen{false};
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

#endif
