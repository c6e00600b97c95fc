// Round trip of an R-variable read of 10 values through the net server
// library, the callback answered by a thread standing in for the HMI's
// main thread, beside a bare gRPC unary echo of the same size measured in
// the same run; then reads per second with 1, 4 and 16 clients.

#include "MainThread.h"
#include "NetServerLibrary.h"
#include "bench_echo.grpc.pb.h"
#include "harvel_net_v1.grpc.pb.h"

#include <grpcpp/grpcpp.h>

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

using Clock = std::chrono::steady_clock;

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

class EchoService final : public harvel::bench::Echo::CallbackService
{
    grpc::ServerUnaryReactor* Echo(grpc::CallbackServerContext* ctx,
                                   const harvel::bench::EchoMessage* request,
                                   harvel::bench::EchoMessage* reply) override
    {
        *reply = *request;
        auto* reactor = ctx->DefaultReactor();
        reactor->Finish(grpc::Status::OK);
        return reactor;
    }
};

struct Stats
{
    double median = 0;
    double p99 = 0;
};

Stats Latency(int calls, const std::function<bool()>& call)
{
    std::vector<double> us;
    us.reserve(std::size_t(calls));
    for (int i = 0; i < calls / 10; ++i)
        call();  // warm up
    for (int i = 0; i < calls; ++i) {
        const auto start = Clock::now();
        if (!call()) {
            std::fprintf(stderr, "bench: a call failed\n");
            std::exit(1);
        }
        us.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    std::sort(us.begin(), us.end());
    return Stats{us[us.size() / 2], us[std::min(us.size() - 1, us.size() * 99 / 100)]};
}

double Throughput(int clients, double seconds, const std::function<std::function<bool()>()>& make)
{
    std::atomic<bool> go{false}, stop{false}, failed{false};
    std::atomic<long long> total{0};
    std::vector<std::thread> threads;
    for (int c = 0; c < clients; ++c)
        threads.emplace_back([&] {
            std::function<bool()> call = make();  // a connection of its own
            call();
            while (!go)
                std::this_thread::yield();
            long long n = 0;
            while (!stop) {
                if (!call()) {
                    failed = true;
                    break;
                }
                ++n;
            }
            total += n;
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto start = Clock::now();
    go = true;
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    stop = true;
    for (auto& t : threads)
        t.join();
    const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    if (failed) {
        std::fprintf(stderr, "bench: a call failed under load\n");
        std::exit(1);
    }
    return double(total) / elapsed;
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

    // The baseline: bare gRPC.
    EchoService echo;
    grpc::ServerBuilder builder;
    int echoPort = 0;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &echoPort);
    builder.RegisterService(&echo);
    std::unique_ptr<grpc::Server> echoServer = builder.BuildAndStart();
    const std::string echoAddress = "127.0.0.1:" + std::to_string(echoPort);

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

    auto makeEcho = [&echoAddress]() -> std::function<bool()> {
        grpc::ChannelArguments args;
        args.SetInt("bench.channel", std::rand());  // no sharing of connections
        auto stub = std::shared_ptr<harvel::bench::Echo::Stub>(harvel::bench::Echo::NewStub(
            grpc::CreateCustomChannel(echoAddress, grpc::InsecureChannelCredentials(), args)));
        return [stub] {
            grpc::ClientContext ctx;
            harvel::bench::EchoMessage request, reply;
            for (int i = 0; i < 10; ++i)
                request.add_values(i * 0.5);
            return stub->Echo(&ctx, request, &reply).ok() && reply.values_size() == 10;
        };
    };
    auto makeReadAt = [](const std::string& address) -> std::function<bool()> {
        grpc::ChannelArguments args;
        args.SetInt("bench.channel", std::rand());
        auto stub = std::shared_ptr<harvel::net::v1::Machine::Stub>(
            harvel::net::v1::Machine::NewStub(grpc::CreateCustomChannel(
                address, grpc::InsecureChannelCredentials(), args)));
        return [stub] {
            grpc::ClientContext ctx;
            harvel::net::v1::ReadRVarRequest request;
            request.set_index(10);
            request.set_count(10);
            harvel::net::v1::ReadRVarReply reply;
            return stub->ReadRVar(&ctx, request, &reply).ok() && reply.ok()
                && reply.values_size() == 10 && reply.values(0) == 5.0;
        };
    };
    auto makeRead = [&] { return makeReadAt(lib.address); };

    std::printf("net server benchmark (%s): %d calls for latency, %.1f s per throughput run\n",
                quick ? "quick" : "full", calls, seconds);
    const Stats echoLatency = Latency(calls, makeEcho());
    const Stats directLatency = Latency(calls, makeReadAt(direct.address));
    const Stats readLatency = Latency(calls, makeRead());
    std::printf("%-36s median %8.1f us   p99 %8.1f us\n", "bare gRPC unary echo (10 doubles)",
                echoLatency.median, echoLatency.p99);
    std::printf("%-36s median %8.1f us   p99 %8.1f us   (%.2fx the echo's median)\n",
                "read, answered on library's thread", directLatency.median, directLatency.p99,
                directLatency.median / echoLatency.median);
    std::printf("%-36s median %8.1f us   p99 %8.1f us   (%.2fx the echo's median)\n",
                "read via a stand-in main thread", readLatency.median, readLatency.p99,
                readLatency.median / echoLatency.median);
    for (int clients : {1, 4, 16}) {
        const double echoRate = Throughput(clients, seconds, makeEcho);
        const double readRate = Throughput(clients, seconds, makeRead);
        std::printf("%2d client(s): %9.0f reads/s   (echo %9.0f calls/s)\n", clients, readRate,
                    echoRate);
    }

    direct.StopAndRelease();
    lib.StopAndRelease();
    echoServer->Shutdown(std::chrono::system_clock::now());
    g_main = nullptr;
    std::system(("rm -rf '" + appl + "'").c_str());
    return 0;
}
