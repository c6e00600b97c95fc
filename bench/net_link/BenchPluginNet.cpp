// Round trip of an R-variable read of 10 values through the plug-in in the
// virtual machine: harvel's own net server library, the callback bridge,
// the blocking hop to the HMI's main thread, the NC service and the
// virtual NC. Beside it a bare gRPC unary echo of the same size, measured
// in the same run; then reads per second with 1, 4 and 16 clients.

#include "HmiHost.h"
#include "VirtualNc.h"
#include "bench_echo.grpc.pb.h"
#include "harvel_net_v1.grpc.pb.h"

#include <grpcpp/grpcpp.h>

#include <QApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTimer>

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <thread>
#include <vector>

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

struct Stats
{
    double median = 0;
    double p99 = 0;
};

using Call = std::function<bool()>;

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

Stats Latency(int calls, const Call& call)
{
    return OffMainThread([&] {
        std::vector<double> us;
        us.reserve(std::size_t(calls));
        for (int i = 0; i < calls / 10; ++i)
            call(); // warm up
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
    });
}

double Throughput(int clients, double seconds, const std::function<Call()>& make)
{
    return OffMainThread([&] {
        std::atomic<bool> go{false}, stop{false}, failed{false};
        std::atomic<long long> total{0};
        std::vector<std::thread> threads;
        for (int c = 0; c < clients; ++c)
            threads.emplace_back([&] {
                Call call = make(); // a connection of its own
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
    });
}

// The port the plug-in's net server took, asked of the library it loaded.
unsigned short ServerPort(const QString& applDir)
{
    const QByteArray path = QFile::encodeName(QFileInfo(applDir + QStringLiteral("/libZynNetServer.so")).canonicalFilePath());
    void* handle = dlopen(path.constData(), RTLD_NOW | RTLD_NOLOAD);
    if (!handle)
        return 0;
    unsigned short port = 0;
    if (auto getPort = reinterpret_cast<unsigned short (*)()>(dlsym(handle, "GetServerPort")))
        port = getPort();
    dlclose(handle);
    return port;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const bool quick = qgetenv("HARVEL_BENCH_QUICK") == "1";
    const int calls = quick ? 2000 : 20000;
    const double seconds = quick ? 0.5 : 3.0;

    // The machine: the plug-in installed with its net server on a free port.
    QTemporaryDir machine;
    const QString install = QStringLiteral("HARVEL_BUILD_DIR='%1' bash '%2' --net-server 127.0.0.1:0 '%3' >/dev/null")
                                .arg(QStringLiteral(HARVEL_BINARY_DIR), QStringLiteral(HARVEL_INSTALL_SCRIPT),
                                     machine.path());
    if (!machine.isValid() || std::system(install.toLocal8Bit().constData()) != 0) {
        std::fprintf(stderr, "bench: cannot install the plug-in\n");
        return 1;
    }
    HmiHost host;
    const QStringList problems = host.start(machine.path());
    if (!problems.isEmpty()) {
        std::fprintf(stderr, "bench: %s\n", qPrintable(problems.join(QLatin1Char('\n'))));
        return 1;
    }
    const unsigned short port =
        ServerPort(machine.path() + QStringLiteral("/card/oem/sinumerik/hmi/NorvaneZYN/appl"));
    if (port == 0) {
        std::fprintf(stderr, "bench: the plug-in's net server did not start\n");
        return 1;
    }
    const std::string address = "127.0.0.1:" + std::to_string(port);
    for (int i = 0; i < 10; ++i)
        host.nc()->control({QStringLiteral("set"), QStringLiteral("/Channel/Parameter/r[u1,%1]").arg(10 + i),
                            QString::number(i * 0.5)});

    // The baseline: bare gRPC, in this process as well.
    EchoService echo;
    grpc::ServerBuilder builder;
    int echoPort = 0;
    builder.AddListeningPort("127.0.0.1:0", grpc::InsecureServerCredentials(), &echoPort);
    builder.RegisterService(&echo);
    std::unique_ptr<grpc::Server> echoServer = builder.BuildAndStart();
    const std::string echoAddress = "127.0.0.1:" + std::to_string(echoPort);

    auto makeEcho = [&echoAddress]() -> Call {
        grpc::ChannelArguments args;
        args.SetInt("bench.channel", std::rand()); // no sharing of connections
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
    auto makeRead = [&address]() -> Call {
        grpc::ChannelArguments args;
        args.SetInt("bench.channel", std::rand());
        auto stub = std::shared_ptr<harvel::net::v1::Machine::Stub>(harvel::net::v1::Machine::NewStub(
            grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), args)));
        return [stub] {
            grpc::ClientContext ctx;
            harvel::net::v1::ReadRVarRequest request;
            request.set_index(10);
            request.set_count(10);
            harvel::net::v1::ReadRVarReply reply;
            return stub->ReadRVar(&ctx, request, &reply).ok() && reply.ok() && reply.values_size() == 10
                   && reply.values(1) == 0.5;
        };
    };

    std::printf("plug-in net benchmark (%s): %d calls for latency, %.1f s per throughput run\n",
                quick ? "quick" : "full", calls, seconds);
    const Stats echoLatency = Latency(calls, makeEcho());
    const Stats readLatency = Latency(calls, makeRead());
    std::printf("%-40s median %8.1f us   p99 %8.1f us\n", "bare gRPC unary echo (10 doubles)", echoLatency.median,
                echoLatency.p99);
    std::printf("%-40s median %8.1f us   p99 %8.1f us   (%.2fx the echo's median)\n",
                "read of 10 R variables via the plug-in", readLatency.median, readLatency.p99,
                readLatency.median / echoLatency.median);
    for (int clients : {1, 4, 16}) {
        const double echoRate = Throughput(clients, seconds, makeEcho);
        const double readRate = Throughput(clients, seconds, makeRead);
        std::printf("%2d client(s): %9.0f reads/s   (echo %9.0f calls/s)\n", clients, readRate, echoRate);
    }

    echoServer->Shutdown(std::chrono::system_clock::now());
    host.shutdown();
    return 0;
}
