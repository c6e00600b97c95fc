// Round trip of an R-variable read of 10 values through the plug-in in the
// virtual machine: harvel's own net server library, the callback bridge,
// the blocking hop to the HMI's main thread, the NC service and the
// virtual NC. Beside it a bare gRPC unary echo of the same size, measured
// in the same run; then reads per second with 1, 4 and 16 clients.

#include "BenchMachine.h"
#include "HmiHost.h"
#include "VirtualNc.h"
#include "NetLoad.h"

#include <QApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <thread>
#include <vector>

namespace {

// The clients run on threads of their own while this, the HMI's main
// thread, keeps its event loop turning for the plug-in's slots.
template <typename Work>
auto OffMainThread(Work work) -> decltype(work())
{
    decltype(work()) result{};
    QEventLoop loop;
    std::thread worker([&] {
        result = work();
        QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
    });
    loop.exec();
    worker.join();
    return result;
}

benchnet::Stats Latency(int calls, const benchnet::Call& call)
{
    return OffMainThread([&] { return benchnet::Latency(calls, call); });
}

double Throughput(int clients, double seconds, const std::function<benchnet::Call()>& make)
{
    return OffMainThread([&] { return benchnet::Throughput(clients, seconds, make); });
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}
} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    HmiHost::prepareApplication(); // as harvel-hmi
    QApplication app(argc, argv);
    const bool quick = qgetenv("HARVEL_BENCH_QUICK") == "1";
    const int calls = quick ? 2000 : 20000;
    const double seconds = quick ? 0.5 : 3.0;

    // The machine: the plug-in installed with its net server on a free port.
    BenchMachine machine;
    HmiHost host;
    QString error;
    if (!machine.Install(true, error) || !machine.Start(host, error)) {
        std::fprintf(stderr, "bench: %s\n", qPrintable(error));
        return 1;
    }
    const unsigned short port = machine.ServerPort();
    const std::string address = "127.0.0.1:" + std::to_string(port);
    for (int i = 0; i < 10; ++i)
        host.nc()->control({QStringLiteral("set"), QStringLiteral("/Channel/Parameter/r[u1,%1]").arg(10 + i),
                            QString::number(i * 0.5)});

    // The baseline: bare gRPC, in this process as well.
    benchnet::EchoServer echo;
    auto makeEcho = [&echo] { return benchnet::MakeEchoCall(echo.address()); };
    auto makeRead = [&address] { return benchnet::MakeReadRVarCall(address, 0.5); };

    // The load of a shared machine changes from second to second: echo and
    // read take turns in short rounds, and each round's ratio compares two
    // figures taken under the same load. The medians over the rounds are
    // reported, with the spread of the ratio.
    const int rounds = quick ? 10 : 20;
    const int perRound = calls / rounds;
    std::printf("plug-in net benchmark (%s): %d calls for latency in %d rounds, %.1f s per throughput run\n",
                quick ? "quick" : "full", perRound * rounds, rounds, seconds);
    const benchnet::Call echoCall = makeEcho();
    const benchnet::Call readCall = makeRead();
    std::vector<double> echoMedians, echoP99s, readMedians, readP99s, ratios;
    for (int round = 0; round < rounds; ++round) {
        const benchnet::Stats echoLatency = Latency(perRound, echoCall);
        const benchnet::Stats readLatency = Latency(perRound, readCall);
        echoMedians.push_back(echoLatency.median);
        echoP99s.push_back(echoLatency.p99);
        readMedians.push_back(readLatency.median);
        readP99s.push_back(readLatency.p99);
        ratios.push_back(readLatency.median / echoLatency.median);
    }
    const double lowRatio = *std::min_element(ratios.begin(), ratios.end());
    const double highRatio = *std::max_element(ratios.begin(), ratios.end());
    std::printf("%-40s median %8.1f us   p99 %8.1f us\n", "bare gRPC unary echo (10 doubles)", Median(echoMedians),
                Median(echoP99s));
    std::printf("%-40s median %8.1f us   p99 %8.1f us   (%.2fx the echo's median; rounds %.2fx to %.2fx)\n",
                "read of 10 R variables via the plug-in", Median(readMedians), Median(readP99s), Median(ratios),
                lowRatio, highRatio);
    for (int clients : {1, 4, 16}) {
        const double echoRate = Throughput(clients, seconds, makeEcho);
        const double readRate = Throughput(clients, seconds, makeRead);
        std::printf("%2d client(s): %9.0f reads/s   (echo %9.0f calls/s)\n", clients, readRate, echoRate);
    }

    host.shutdown();
    return 0;
}
