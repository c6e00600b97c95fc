#include "MainThread.h"

MainThread::MainThread()
    : m_thread(&MainThread::Run, this)
{
}

MainThread::~MainThread()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void MainThread::Call(const std::function<void()>& work)
{
    std::mutex doneMutex;
    std::condition_variable doneWake;
    bool done = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_queue.push_back([&] {
            work();
            std::lock_guard<std::mutex> doneLock(doneMutex);
            done = true;
            doneWake.notify_one();
        });
    }
    m_wake.notify_one();
    std::unique_lock<std::mutex> lock(doneMutex);
    doneWake.wait(lock, [&] { return done; });
}

void MainThread::Run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stop || !m_queue.empty(); });
        if (m_queue.empty())
            return;
        std::function<void()> work = std::move(m_queue.front());
        m_queue.pop_front();
        lock.unlock();
        work();
        lock.lock();
    }
}
