// bench_vnck: what a variable read and write through SlQCap cost in-process,
// beside a mutex-guarded hash lookup (the least a keyed variable store can
// cost), and how long a change takes to reach a subscriber, beside the
// configured update period.
#include "SlQCap.h"
#include "VirtualNc.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QHash>
#include <QMutex>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

double nsPerOp(qint64 ns, int n)
{
    return double(ns) / n;
}

// Waits in the event loop until the subscriber has seen value, returns ms.
double notifyDelay(SlQCap& cap, double& seen, double value)
{
    QElapsedTimer t;
    t.start();
    cap.write(QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VAR[3]"), value);
    while (seen != value && t.elapsed() < 10000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    return t.nsecsElapsed() / 1e6;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const bool quick = qEnvironmentVariableIntValue("HARVEL_BENCH_QUICK") == 1;
    const int n = quick ? 20000 : 200000;
    const int samples = quick ? 10 : 40;
    QTextStream out(stdout);

    QTemporaryDir tmp;
    QString error;
    QScopedPointer<VirtualNc> nc(VirtualNc::open(tmp.path() + QStringLiteral("/machine"), error));
    if (!nc) {
        fprintf(stderr, "bench_vnck: %s\n", qPrintable(error));
        return 1;
    }
    const QString address = QStringLiteral("/NC/_N_NC_GD3_ACX/TMR_VAR[3]");
    SlQCap cap("bench");

    // Baseline: the same key looked up in a plain guarded hash.
    QHash<QString, QVariant> store;
    for (int i = 0; i < 64; ++i)
        store.insert(QStringLiteral("/nc/_n_nc_gd3_acx/var%1").arg(i), double(i));
    store.insert(address.toLower(), 1.0);
    QMutex mutex;
    QElapsedTimer t;
    double sink = 0;
    t.start();
    for (int i = 0; i < n; ++i) {
        QMutexLocker lock(&mutex);
        sink += store.value(address.toLower()).toDouble();
    }
    const double baseRead = nsPerOp(t.nsecsElapsed(), n);
    t.restart();
    for (int i = 0; i < n; ++i) {
        QMutexLocker lock(&mutex);
        store[address.toLower()] = double(i);
    }
    const double baseWrite = nsPerOp(t.nsecsElapsed(), n);

    QVariant v;
    t.restart();
    for (int i = 0; i < n; ++i) {
        cap.read(address, v);
        sink += v.toDouble();
    }
    const double read = nsPerOp(t.nsecsElapsed(), n);
    t.restart();
    for (int i = 0; i < n; ++i)
        cap.write(address, double(i));
    const double write = nsPerOp(t.nsecsElapsed(), n);
    QCoreApplication::processEvents(); // the queued change notifications

    out << "variable access through SlQCap, " << n << " operations each\n";
    out << QStringLiteral("  read  %1 ns/op   baseline hash lookup %2 ns/op\n").arg(read, 0, 'f', 0).arg(baseRead, 0, 'f', 0);
    out << QStringLiteral("  write %1 ns/op   baseline hash store  %2 ns/op\n").arg(write, 0, 'f', 0).arg(baseWrite, 0, 'f', 0);

    // Notification delay: after a quiet spell the change goes out at once;
    // right after a notification it waits for the rest of the period.
    double seen = -1;
    QObject::connect(&cap, &SlQCap::adviseData, &cap,
                     [&seen](SlCapErrorEnum, const QVariant& value, const SlCapSupplementInfoType&) { seen = value.toDouble(); });
    SlQCapHandle h;
    cap.write(address, -1.0);
    cap.advise(address, h);
    while (seen != -1.0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    const int period = nc->updatePeriodMs();
    QList<double> quiet, busy;
    for (int i = 0; i < samples; ++i) {
        QElapsedTimer idle;
        idle.start();
        while (idle.elapsed() < period + 20)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        quiet << notifyDelay(cap, seen, 1000.0 + i);
        busy << notifyDelay(cap, seen, 2000.0 + i);
    }
    auto stats = [](QList<double> d) {
        std::sort(d.begin(), d.end());
        double sum = 0;
        for (double x : d)
            sum += x;
        return QStringLiteral("mean %1 ms, median %2 ms, max %3 ms")
            .arg(sum / d.size(), 0, 'f', 2).arg(d[d.size() / 2], 0, 'f', 2).arg(d.last(), 0, 'f', 2);
    };
    out << "change to notification, " << samples << " samples each, update period " << period << " ms\n";
    out << "  after a quiet period:        " << stats(quiet) << "\n";
    out << "  right after a notification:  " << stats(busy) << "\n";
    if (sink == 42.4242)
        out << "";
    return 0;
}
