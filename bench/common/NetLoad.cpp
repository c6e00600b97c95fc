#include "NetLoad.h"

#include "bench_echo.grpc.pb.h"
#include "harvel_net_v1.grpc.pb.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace benchnet {

using Clock = std::chrono::steady_clock;

namespace {
class EchoService final : public harvel::bench::Echo::CallbackService
{
    grpc::ServerUnaryReactor* Echo(grpc::CallbackServerContext* ctx, const harvel::bench::EchoMessage* request,
                                   harvel::bench::EchoMessage* reply) override
    {
        *reply = *request;
        auto* reactor = ctx->DefaultReactor();
        reactor->Finish(grpc::Status::OK);
        return reactor;
    }
};

std::shared_ptr<grpc::Channel> OwnChannel(const std::string& address)
{
    // A distinct argument keeps gRPC from sharing one connection among clients.
    grpc::ChannelArguments args;
    args.SetInt("bench.channel", std::rand());
    return grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), args);
}
} // namespace

Stats Latency(int calls, const Call& call)
{
    std::vector<double> us;
    us.reserve(std::size_t(calls));
    for (int i = 0; i < calls / 10; ++i)
        call();
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

double Throughput(int clients, double seconds, const std::function<Call()>& make)
{
    std::atomic<bool> go{false}, stop{false}, failed{false};
    std::atomic<long long> total{0};
    std::vector<std::thread> threads;
    for (int c = 0; c < clients; ++c)
        threads.emplace_back([&] {
            Call call = make();
            call(); // connect before the clock starts
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
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
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

EchoServer::EchoServer() : m_service(new EchoService)
{
    grpc::ServerBuilder builder;
    int port = 0;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &port);
    builder.RegisterService(m_service.get());
    m_server = builder.BuildAndStart();
    m_address = "127.0.0.1:" + std::to_string(port);
}

EchoServer::~EchoServer()
{
    m_server->Shutdown(std::chrono::system_clock::now());
}

Call MakeEchoCall(const std::string& address)
{
    auto stub = std::shared_ptr<harvel::bench::Echo::Stub>(harvel::bench::Echo::NewStub(OwnChannel(address)));
    return [stub] {
        grpc::ClientContext ctx;
        harvel::bench::EchoMessage request, reply;
        for (int i = 0; i < 10; ++i)
            request.add_values(i * 0.5);
        return stub->Echo(&ctx, request, &reply).ok() && reply.values_size() == 10;
    };
}

Call MakeReadRVarCall(const std::string& address, double r11)
{
    auto stub =
        std::shared_ptr<harvel::net::v1::Machine::Stub>(harvel::net::v1::Machine::NewStub(OwnChannel(address)));
    return [stub, r11] {
        grpc::ClientContext ctx;
        harvel::net::v1::ReadRVarRequest request;
        request.set_index(10);
        request.set_count(10);
        harvel::net::v1::ReadRVarReply reply;
        return stub->ReadRVar(&ctx, request, &reply).ok() && reply.ok() && reply.values_size() == 10 &&
               reply.values(1) == r11;
    };
}

} // namespace benchnet
