// Round trip of an R-variable read of 10 values through the net server
// library, the callback answered by a thread standing in for the HMI's
// main thread, beside a bare gRPC unary echo of the same size measured in
// the same run; then reads per second with 1, 4 and 16 clients.

#include "MainThread.h"
#include "NetServerLibrary.h"
#include "NetLoad.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <sys/stat.h>
#include <vector>


namespace {

MainThread* g_main = nullptr;
double g_rvars[1000];

bool ReadRVar(const char*, int index, int count, double* values, char* errInfo,
              unsigned int errSize)
{
    bool ok = false;
    g_main->Call([&] {
        if (index < 0 || count < 1 || index + count > 1000) {
            std::snprintf(errInfo, errSize, "Address out of range [0, 999]");
            return;
        }
        std::memcpy(values, g_rvars + index, sizeof(double) * std::size_t(count));
        ok = true;
    });
    return ok;
}

// The same answer without the hop to the main thread: what the library
// itself adds to a bare call.
bool ReadRVarDirect(const char*, int index, int count, double* values, char*, unsigned int)
{
    if (index < 0 || count < 1 || index + count > 1000)
        return false;
    std::memcpy(values, g_rvars + index, sizeof(double) * std::size_t(count));
    return true;
}

bool ClientAction(const char*, const char*, int)
{
    g_main->Call([] {});
    return true;
}

}  // namespace

int main()
{
    const bool quick = std::getenv("HARVEL_BENCH_QUICK")
                       && std::string(std::getenv("HARVEL_BENCH_QUICK")) == "1";
    const int calls = quick ? 2000 : 20000;
    const double seconds = quick ? 0.5 : 3.0;
    for (int i = 0; i < 1000; ++i)
        g_rvars[i] = i * 0.5;
    // The library is copied from the build tree it was built in.
    setenv("HARVEL_BINARY_DIR", HARVEL_BINARY_DIR, 0);

    // The baseline: bare gRPC.
    benchnet::EchoServer echo;

    // The library, as the plug-in loads it.
    char dirTemplate[] = "/tmp/bench_netserver-XXXXXX";
    if (!mkdtemp(dirTemplate)) {
        std::perror("mkdtemp");
        return 1;
    }
    const std::string appl = dirTemplate;
    MainThread mainThread;
    g_main = &mainThread;
    void* table[ZYN_CALLBACK_COUNT] = {};
    table[ZYN_CB_READ_RVAR] = reinterpret_cast<void*>(&ReadRVar);
    table[ZYN_CB_CLIENT_ACTION] = reinterpret_cast<void*>(&ClientAction);
    NetServerLibrary lib;
    std::string error;
    if (!lib.Load(appl, "", error) || !lib.CreateAndStart(table, appl, error)) {
        std::fprintf(stderr, "bench: %s\n", error.c_str());
        return 1;
    }

    // A second copy of the library, in a folder of its own, is a second
    // instance: its callback answers at once.
    const std::string applDirect = appl + "/direct";
    mkdir(applDirect.c_str(), 0755);
    void* directTable[ZYN_CALLBACK_COUNT] = {};
    directTable[ZYN_CB_READ_RVAR] = reinterpret_cast<void*>(&ReadRVarDirect);
    NetServerLibrary direct;
    if (!direct.Load(applDirect, "", error) || !direct.CreateAndStart(directTable, applDirect, error)) {
        std::fprintf(stderr, "bench: %s\n", error.c_str());
        return 1;
    }

    auto makeEcho = [&echo] { return benchnet::MakeEchoCall(echo.address()); };
    auto makeRead = [&lib] { return benchnet::MakeReadRVarCall(lib.address, g_rvars[11]); };

    std::printf("net server benchmark (%s): %d calls for latency, %.1f s per throughput run\n",
                quick ? "quick" : "full", calls, seconds);
    const benchnet::Stats echoLatency = benchnet::Latency(calls, makeEcho());
    const benchnet::Stats directLatency = benchnet::Latency(calls, benchnet::MakeReadRVarCall(direct.address, g_rvars[11]));
    const benchnet::Stats readLatency = benchnet::Latency(calls, makeRead());
    std::printf("%-36s median %8.1f us   p99 %8.1f us\n", "bare gRPC unary echo (10 doubles)",
                echoLatency.median, echoLatency.p99);
    std::printf("%-36s median %8.1f us   p99 %8.1f us   (%.2fx the echo's median)\n",
                "read, answered on library's thread", directLatency.median, directLatency.p99,
                directLatency.median / echoLatency.median);
    std::printf("%-36s median %8.1f us   p99 %8.1f us   (%.2fx the echo's median)\n",
                "read via a stand-in main thread", readLatency.median, readLatency.p99,
                readLatency.median / echoLatency.median);
    for (int clients : {1, 4, 16}) {
        const double echoRate = benchnet::Throughput(clients, seconds, makeEcho);
        const double readRate = benchnet::Throughput(clients, seconds, makeRead);
        std::printf("%2d client(s): %9.0f reads/s   (echo %9.0f calls/s)\n", clients, readRate,
                    echoRate);
    }

    direct.StopAndRelease();
    lib.StopAndRelease();
    g_main = nullptr;
    std::system(("rm -rf '" + appl + "'").c_str());
    return 0;
}
