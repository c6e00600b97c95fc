// A burst of request files through the plug-in in the virtual machine, in
// each of its two modes: from harvel's net server (all calls sent at once
// over gRPC) and from the target folder (all files dropped at once).
// Figures: files per second, and the longest stall of the HMI's event loop,
// seen as the lateness of a 10 ms timer on the main thread; its idle
// lateness, measured in the same run, is the baseline. The request work is
// cut into slices of 500 ms, so no stall should pass 550 ms.
//
// Each mode runs in a child process of its own: one plug-in per process,
// as on the machine.

#include "BenchMachine.h"
#include "HmiHost.h"
#include "VirtualNc.h"

#include "harvel_net_v1.grpc.pb.h"

#include <grpcpp/grpcpp.h>

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

const int kStallTargetMs = 550;
const int kProbeMs = 10;

// The lateness of a timer that should fire every kProbeMs on this thread.
class StallProbe
{
public:
    StallProbe()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(kProbeMs);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            const qint64 now = m_clock.nsecsElapsed();
            m_worst = std::max(m_worst, (now - m_last) / 1e6 - kProbeMs);
            m_last = now;
        });
    }
    void Start()
    {
        m_worst = 0;
        m_clock.start();
        m_last = 0;
        m_timer.start();
    }
    double Stop()
    {
        m_timer.stop();
        return m_worst;
    }

private:
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_last = 0;
    double m_worst = 0;
};

void Serve(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// Turns the event loop until done says so, looking every 20 ms.
void ServeUntil(const std::function<bool()>& done, int limitMs)
{
    QElapsedTimer waited;
    waited.start();
    while (!done() && waited.elapsed() < limitMs)
        Serve(20);
}

// The four kinds in turn, each a change the NC can take again and again.
QString RequestLine(int i)
{
    switch (i % 4) {
    case 0: return QStringLiteral("3 7 0 %1 %2").arg(i % 1000).arg(i * 0.5);
    case 1: return QStringLiteral("1 7 0 G54 0 0 # # # 0.001 -0.001 0.002 0");
    case 2: return QStringLiteral("2 7 0 DRILL_8 0 0 0.002 -0.001 1");
    default: return QStringLiteral("4 7 0 %1 ANS%2.RES").arg(i % 1000).arg(i);
    }
}

// Sends all count requests at once, as calls of their own on one
// connection, while this thread serves the plug-in; the number that came
// back carried out.
int SendBurst(const std::string& address, int count)
{
    struct Call
    {
        grpc::ClientContext ctx;
        harvel::net::v1::RequestFileRequest request;
        harvel::net::v1::RequestFileReply reply;
    };
    auto stub = harvel::net::v1::Files::NewStub(grpc::CreateChannel(address, grpc::InsecureChannelCredentials()));
    std::vector<std::unique_ptr<Call>> calls;
    std::atomic<int> done{0};
    std::atomic<int> good{0};
    for (int i = 0; i < count; ++i) {
        calls.emplace_back(new Call);
        Call* call = calls.back().get();
        call->request.set_name("B" + std::to_string(i));
        call->request.set_content(RequestLine(i).toStdString());
        stub->async()->SendRequestFile(&call->ctx, &call->request, &call->reply, [call, &done, &good](grpc::Status status) {
            if (status.ok() && call->reply.ok() && call->reply.outcome() == harvel::net::v1::REQUEST_OUTCOME_CARRIED_OUT)
                ++good;
            ++done;
        });
    }
    ServeUntil([&] { return done == count; }, 600000);
    return good;
}

int RunMode(bool netServer, bool quick)
{
    const int count = quick ? 200 : 1000;
    BenchMachine machine;
    QString error;
    if (!machine.Install(netServer, error)) {
        std::fprintf(stderr, "bench: %s\n", qPrintable(error));
        return 1;
    }
    {
        QSettings ini(machine.CfgDir() + QStringLiteral("/TMRNC.INI"),
                      QSettings::IniFormat);
        ini.setValue(QStringLiteral("TMRNC/wofsaxes"), QStringLiteral("1-2-3-0-0-0"));
    }
    HmiHost host;
    if (!machine.Start(host, error)) {
        std::fprintf(stderr, "bench: %s\n", qPrintable(error));
        return 1;
    }

    StallProbe probe;
    probe.Start();
    Serve(1500);
    const double idle = probe.Stop();

    QElapsedTimer clock;
    int carriedOut = 0;
    if (netServer) {
        const unsigned short port = machine.ServerPort();
        probe.Start();
        clock.start();
        carriedOut = SendBurst("127.0.0.1:" + std::to_string(port), count);
    } else {
        // Written aside and put in place in one step, so that no pass sees
        // half of the burst.
        const QString target = machine.Path() + QStringLiteral("/net/127.0.0.1/telmor");
        const QString staging = target + QStringLiteral("/staging");
        QDir().mkpath(staging);
        QDir(target + QStringLiteral("/req")).removeRecursively();
        for (int i = 0; i < count; ++i) {
            QFile file(QStringLiteral("%1/B%2.req").arg(staging).arg(i, 4, 10, QLatin1Char('0')));
            if (!file.open(QIODevice::WriteOnly) || file.write(RequestLine(i).toUtf8()) < 0)
                return 1;
        }
        const QString req = target + QStringLiteral("/req");
        probe.Start();
        clock.start();
        if (!QDir().rename(staging, req))
            return 1;
        const auto waiting = [&req] {
            return QDir(req).entryList({QStringLiteral("*.req"), QStringLiteral("*.REP")}, QDir::Files).size();
        };
        ServeUntil([&] { return waiting() == 0; }, 600000);
        const int failed = QDir(req).entryList({QStringLiteral("*.REP")}, QDir::Files).size();
        carriedOut = count - waiting() - failed;
    }
    const double seconds = clock.elapsed() / 1000.0;
    const double stall = probe.Stop();
    host.shutdown();

    std::printf("%-14s %5d files in %6.2f s = %7.1f files/s (%d carried out); longest event loop stall %6.1f ms "
                "(idle %4.1f ms); target <= %d ms: %s\n",
                netServer ? "net server" : "target folder", count, seconds, count / seconds, carriedOut, stall, idle,
                kStallTargetMs, stall <= kStallTargetMs ? "met" : "NOT met");
    std::fflush(stdout);
    return carriedOut == count ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    const bool quick = qgetenv("HARVEL_BENCH_QUICK") == "1" || args.contains(QStringLiteral("--quick"));
    const int mode = args.indexOf(QStringLiteral("--mode"));
    if (mode > 0 && mode + 1 < args.size())
        return RunMode(args.at(mode + 1) == QLatin1String("net"), quick);

    std::printf("request file benchmark (%s): a burst in each mode, the HMI's event loop watched by a %d ms timer\n",
                quick ? "quick" : "full", kProbeMs);
    std::fflush(stdout);
    int status = 0;
    for (const char* which : {"net", "folder"}) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedChannels);
        QStringList childArgs{QStringLiteral("--mode"), QLatin1String(which)};
        if (quick)
            childArgs << QStringLiteral("--quick");
        child.start(app.applicationFilePath(), childArgs);
        if (!child.waitForFinished(-1) || child.exitStatus() != QProcess::NormalExit || child.exitCode() != 0)
            status = 1;
    }
    return status;
}
