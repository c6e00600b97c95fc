#ifndef WORKERPOOL_H
#define WORKERPOOL_H

#include <chrono>
#include <functional>
#include <memory>

// Threads that call into the plug-in. A callback may wait for the HMI main
// thread for as long as an operator takes, so no gRPC thread ever runs
// one, and Stop cannot wait for them without end: a thread that is still
// inside a callback at the deadline is let go. It owns what it touches
// (the pool's shared state, its job), so it ends cleanly whenever the
// callback returns.
class WorkerPool
{
public:
    // maxThreads 1 makes a serial queue: jobs run one after the other in
    // the order of Submit.
    WorkerPool(int maxThreads, int maxQueued);
    ~WorkerPool();

    // False when stopping or when the queue is full.
    bool Submit(std::function<void()> job);

    // Drops jobs that have not started, waits until the deadline for those
    // that have, and detaches what is still running then. True if every
    // thread ended in time.
    bool Stop(std::chrono::steady_clock::time_point deadline);

private:
    struct State;
    static void Run(std::shared_ptr<State> state);

    std::shared_ptr<State> m_state;
};

#endif
