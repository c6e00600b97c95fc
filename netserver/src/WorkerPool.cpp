#include "WorkerPool.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

struct WorkerPool::State
{
    std::mutex mutex;
    std::condition_variable wake;
    std::condition_variable ended;
    std::deque<std::function<void()>> jobs;
    std::vector<std::thread> threads;
    int maxThreads = 1;
    int maxQueued = 1;
    int idle = 0;
    int running = 0;  // threads that have not left Run
    bool stopping = false;
};

WorkerPool::WorkerPool(int maxThreads, int maxQueued)
    : m_state(std::make_shared<State>())
{
    m_state->maxThreads = maxThreads < 1 ? 1 : maxThreads;
    m_state->maxQueued = maxQueued < 1 ? 1 : maxQueued;
}

WorkerPool::~WorkerPool()
{
    Stop(std::chrono::steady_clock::now());
}

bool WorkerPool::Submit(std::function<void()> job)
{
    std::unique_lock<std::mutex> lock(m_state->mutex);
    if (m_state->stopping || int(m_state->jobs.size()) >= m_state->maxQueued)
        return false;
    m_state->jobs.push_back(std::move(job));
    if (m_state->idle >= int(m_state->jobs.size())
        || int(m_state->threads.size()) >= m_state->maxThreads) {
        lock.unlock();
        m_state->wake.notify_one();
        return true;
    }
    ++m_state->running;
    m_state->threads.emplace_back(&WorkerPool::Run, m_state);
    return true;
}

void WorkerPool::Run(std::shared_ptr<State> state)
{
    std::unique_lock<std::mutex> lock(state->mutex);
    for (;;) {
        while (!state->stopping && state->jobs.empty()) {
            ++state->idle;
            state->wake.wait(lock);
            --state->idle;
        }
        if (state->stopping)
            break;
        std::function<void()> job = std::move(state->jobs.front());
        state->jobs.pop_front();
        lock.unlock();
        job();
        job = nullptr;  // what the job holds goes before the lock is taken
        lock.lock();
    }
    --state->running;
    state->ended.notify_all();
}

bool WorkerPool::Stop(std::chrono::steady_clock::time_point deadline)
{
    std::deque<std::function<void()>> dropped;
    std::vector<std::thread> threads;
    bool allEnded;
    {
        std::unique_lock<std::mutex> lock(m_state->mutex);
        m_state->stopping = true;
        dropped.swap(m_state->jobs);
        m_state->wake.notify_all();
        allEnded = m_state->ended.wait_until(lock, deadline,
                                             [this] { return m_state->running == 0; });
        threads.swap(m_state->threads);
    }
    dropped.clear();
    for (std::thread& t : threads) {
        // A thread that has decremented running is past its last touch of
        // anything but the shared state, so joining it cannot block for
        // long; the others may sit in a callback for hours.
        if (allEnded)
            t.join();
        else
            t.detach();
    }
    return allEnded;
}
