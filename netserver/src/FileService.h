#ifndef FILESERVICE_H
#define FILESERVICE_H

#include "harvel_net_v1.grpc.pb.h"

class NetServer;

// Files between the client and the machine: tests for existence, uploads
// and downloads in chunks, and request files with their outcome.
class FileService final : public harvel::net::v1::Files::CallbackService
{
public:
    explicit FileService(NetServer& server);

    grpc::ServerUnaryReactor* CheckFileExists(grpc::CallbackServerContext* ctx,
                                              const harvel::net::v1::PathRequest* request,
                                              harvel::net::v1::CheckFileExistsReply* reply) override;
    grpc::ServerReadReactor<harvel::net::v1::UploadRequest>* UploadFile(
        grpc::CallbackServerContext* ctx, harvel::net::v1::Reply* reply) override;
    grpc::ServerWriteReactor<harvel::net::v1::DownloadReply>* DownloadFile(
        grpc::CallbackServerContext* ctx, const harvel::net::v1::PathRequest* request) override;
    grpc::ServerUnaryReactor* SendRequestFile(grpc::CallbackServerContext* ctx,
                                              const harvel::net::v1::RequestFileRequest* request,
                                              harvel::net::v1::RequestFileReply* reply) override;

private:
    NetServer& m_server;
};

#endif
