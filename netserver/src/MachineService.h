#ifndef MACHINESERVICE_H
#define MACHINESERVICE_H

#include "harvel_net_v1.grpc.pb.h"

class NetServer;

// The requests that the HMI answers: each checks what it can without the
// HMI, then asks the plug-in's callback on a worker thread.
class MachineService final : public harvel::net::v1::Machine::CallbackService
{
public:
    explicit MachineService(NetServer& server);

    grpc::ServerUnaryReactor* ReadRVar(grpc::CallbackServerContext* ctx,
                                       const harvel::net::v1::ReadRVarRequest* request,
                                       harvel::net::v1::ReadRVarReply* reply) override;
    grpc::ServerUnaryReactor* WriteRVar(grpc::CallbackServerContext* ctx,
                                        const harvel::net::v1::WriteRVarRequest* request,
                                        harvel::net::v1::Reply* reply) override;
    grpc::ServerUnaryReactor* SelectProgram(grpc::CallbackServerContext* ctx,
                                            const harvel::net::v1::SelectProgramRequest* request,
                                            harvel::net::v1::Reply* reply) override;
    grpc::ServerUnaryReactor* SendMessage(grpc::CallbackServerContext* ctx,
                                          const harvel::net::v1::MessageRequest* request,
                                          harvel::net::v1::MessageReply* reply) override;
    grpc::ServerUnaryReactor* GetMachineConfiguration(grpc::CallbackServerContext* ctx,
                                                      const harvel::net::v1::Empty* request,
                                                      harvel::net::v1::DocumentReply* reply) override;
    grpc::ServerUnaryReactor* GetCalibrationResult(grpc::CallbackServerContext* ctx,
                                                   const harvel::net::v1::Empty* request,
                                                   harvel::net::v1::DocumentReply* reply) override;
    grpc::ServerUnaryReactor* GetSkipPosition(grpc::CallbackServerContext* ctx,
                                              const harvel::net::v1::Empty* request,
                                              harvel::net::v1::SkipPositionReply* reply) override;

private:
    NetServer& m_server;
};

#endif
