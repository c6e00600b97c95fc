#include "HmiSignalWatcher.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {
int g_pipe[2] = {-1, -1};
}

HmiSignalWatcher::HmiSignalWatcher(QObject* parent) : QObject(parent)
{
    if (g_pipe[0] >= 0 || ::pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &HmiSignalWatcher::readSignal);
    struct sigaction sa = {};
    sa.sa_handler = &HmiSignalWatcher::handle;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &sa, nullptr);
    ::sigaction(SIGTERM, &sa, nullptr);
}

HmiSignalWatcher::~HmiSignalWatcher()
{
    if (!m_notifier)
        return;
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    ::close(g_pipe[0]);
    ::close(g_pipe[1]);
    g_pipe[0] = g_pipe[1] = -1;
}

void HmiSignalWatcher::handle(int signal)
{
    const unsigned char byte = static_cast<unsigned char>(signal);
    // Nothing to do if the pipe is full: a quit is already pending.
    [[maybe_unused]] const ssize_t n = ::write(g_pipe[1], &byte, 1);
}

void HmiSignalWatcher::readSignal()
{
    unsigned char byte = 0;
    while (::read(g_pipe[0], &byte, 1) == 1)
        emit terminationRequested(byte);
}
