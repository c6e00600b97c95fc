#include "FreezingProxy.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <vector>

FreezingProxy::FreezingProxy(unsigned short targetPort)
    : m_targetPort(targetPort)
{
    m_listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    if (bind(m_listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0
        && listen(m_listener, 4) == 0
        && getsockname(m_listener, reinterpret_cast<sockaddr*>(&addr), &len) == 0)
        m_port = ntohs(addr.sin_port);
    m_thread = std::thread(&FreezingProxy::Run, this);
}

FreezingProxy::~FreezingProxy()
{
    m_stop = true;
    m_thread.join();
    close(m_listener);
}

void FreezingProxy::Run()
{
    std::vector<int> pairs;  // client, server, client, server, ...
    char buffer[65536];
    while (!m_stop) {
        std::vector<pollfd> fds{{m_listener, POLLIN, 0}};
        for (int fd : pairs)
            fds.push_back({fd, short(m_frozen ? 0 : POLLIN), 0});
        if (poll(fds.data(), fds.size(), 50) <= 0)
            continue;
        if (fds[0].revents & POLLIN) {
            const int client = accept(m_listener, nullptr, nullptr);
            const int server = socket(AF_INET, SOCK_STREAM, 0);
            sockaddr_in addr{};
            addr.sin_family = AF_INET;
            addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            addr.sin_port = htons(m_targetPort);
            if (client >= 0
                && connect(server, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) {
                pairs.push_back(client);
                pairs.push_back(server);
            } else {
                close(client);
                close(server);
            }
        }
        for (std::size_t i = 1; i < fds.size(); ++i) {
            if (m_frozen || !(fds[i].revents & (POLLIN | POLLHUP)))
                continue;
            const std::size_t me = i - 1;
            const int other = pairs[me ^ 1];
            const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
            if (n > 0)
                (void)!write(other, buffer, std::size_t(n));
        }
    }
    for (int fd : pairs)
        close(fd);
}
