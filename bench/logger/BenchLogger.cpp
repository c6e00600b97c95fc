// What a line of log costs its caller, beside the cheapest thing a logger
// could do under a lock (append a ready record to a mutex-guarded queue),
// measured in the same run; and how fast the worker writes lines out.
#include "Logger.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMutex>
#include <QQueue>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

namespace {
using Clock = std::chrono::steady_clock;

struct Figures
{
    double median = 0, p99 = 0, max = 0;
};

Figures Summarize(std::vector<double>& ns)
{
    std::sort(ns.begin(), ns.end());
    Figures f;
    f.median = ns[ns.size() / 2];
    f.p99 = ns[std::min(ns.size() - 1, ns.size() * 99 / 100)];
    f.max = ns.back();
    return f;
}

// Runs `call` perThread times on each of `threads` threads, timing each call.
Figures Measure(int threads, int perThread, const std::function<void(int, int)>& call)
{
    std::vector<std::vector<double>> samples(threads);
    std::vector<QThread*> workers;
    for (int t = 0; t < threads; ++t) {
        samples[t].reserve(perThread);
        workers.push_back(QThread::create([&, t] {
            for (int i = 0; i < perThread; ++i) {
                const auto start = Clock::now();
                call(t, i);
                samples[t].push_back(std::chrono::duration<double, std::nano>(Clock::now() - start).count());
            }
        }));
    }
    for (QThread* w : workers)
        w->start();
    for (QThread* w : workers) {
        w->wait();
        delete w;
    }
    std::vector<double> all;
    for (auto& s : samples)
        all.insert(all.end(), s.begin(), s.end());
    return Summarize(all);
}

QMutex g_baselineMutex;
QQueue<CLogger::Log> g_baselineQueue;
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const bool quick = qgetenv("HARVEL_BENCH_QUICK") == "1";
    const int perThread = quick ? 20000 : 200000;
    const QString message = QStringLiteral("Handle TMR result file succeeded. File=//NC/WKS.DIR/TELMOR.WPD/RESULT.MPF");

    QTemporaryDir tmp;
    CLogger::Initialize(tmp.path() + QStringLiteral("/logs/SiemensHarvel.log"), 1000);

    std::printf("logger caller cost per line, %d lines per thread\n", perThread);
    std::printf("%-8s %-22s %10s %10s %10s\n", "threads", "what", "median ns", "p99 ns", "max ns");
    bool withinTarget = true;
    for (int threads : {1, 4}) {
        const Figures base = Measure(threads, perThread, [&](int, int) {
            CLogger::Log log{20260528, message};
            g_baselineMutex.lock();
            g_baselineQueue.append(log);
            g_baselineMutex.unlock();
        });
        {
            QMutexLocker lock(&g_baselineMutex);
            g_baselineQueue.clear();
        }
        const Figures logger = Measure(threads, perThread, [&](int, int) { CLogger::Info(message, true); });
        std::printf("%-8d %-22s %10.0f %10.0f %10.0f\n", threads, "baseline queue append", base.median, base.p99,
                    base.max);
        std::printf("%-8d %-22s %10.0f %10.0f %10.0f\n", threads, "CLogger::Info", logger.median, logger.p99,
                    logger.max);
        const double ratio = logger.median / base.median;
        std::printf("%-8d %-22s %10.2f %10.2f\n", threads, "ratio (target <= 2)", ratio, logger.p99 / base.p99);
        withinTarget = withinTarget && ratio <= 2.0;
    }
    CLogger::UnInitialize();

    // The worker's own step, without its pause between passes.
    const int lines = quick ? 50000 : 500000;
    QFile file;
    CLogger::Log log{20260528, QStringLiteral("2026-05-28 09:14:03.207 | INF | 7f3a | ") + message + QLatin1Char('\n')};
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < lines; ++i)
        CLogger::WriteFile(log, file);
    file.close();
    const double seconds = timer.nsecsElapsed() / 1e9;
    std::printf("worker writes %.0f lines/s (%d lines of %d bytes in %.3f s)\n", lines / seconds, lines,
                int(log.text.toUtf8().size()), seconds);
    std::printf("caller cost within 2x baseline: %s\n", withinTarget ? "yes" : "NO");
    return 0;
}
