#ifndef MAINTHREAD_H
#define MAINTHREAD_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

// Plays the HMI's main thread behind a blocking queued connection: a
// caller posts its work and sleeps until this one thread has run it, one
// request after the other.
class MainThread
{
public:
    MainThread();
    ~MainThread();

    void Call(const std::function<void()>& work);

private:
    void Run();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_queue;
    bool m_stop = false;
    std::thread m_thread;
};

#endif
