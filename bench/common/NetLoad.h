#pragma once

// What the net benchmarks share: a bare gRPC unary echo as the baseline of
// every figure, the same R-variable read as the measured call, and the
// drivers for latency and throughput.

#include <grpcpp/grpcpp.h>

#include <functional>
#include <memory>
#include <string>

namespace benchnet {

struct Stats
{
    double median = 0; // microseconds
    double p99 = 0;
};

using Call = std::function<bool()>;

// Times `calls` calls one after the other, after a tenth as many to warm up.
Stats Latency(int calls, const Call& call);
// Calls per second of `clients` threads, each with a connection of its own
// made by `make`, running for `seconds`.
double Throughput(int clients, double seconds, const std::function<Call()>& make);

// An echo server on 127.0.0.1 on a free port, in this process.
class EchoServer
{
public:
    EchoServer();
    ~EchoServer();
    const std::string& address() const { return m_address; }

private:
    std::unique_ptr<grpc::Service> m_service;
    std::unique_ptr<grpc::Server> m_server;
    std::string m_address;
};

// An echo of ten doubles over a connection of its own.
Call MakeEchoCall(const std::string& address);
// A read of the ten R variables from R10 over a connection of its own;
// it fails unless R11 reads `r11`, so that a wrong answer cannot pass.
Call MakeReadRVarCall(const std::string& address, double r11);

} // namespace benchnet
