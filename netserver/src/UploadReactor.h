#ifndef UPLOADREACTOR_H
#define UPLOADREACTOR_H

#include "FileHandle.h"
#include "harvel_net_v1.grpc.pb.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

class NetServer;

// One upload: the header names the file, data follows in chunks into a
// folder of its own under the upload folder. Only a file that arrived
// whole goes to the plug-in; whatever is left afterwards is removed.
class UploadReactor : public grpc::ServerReadReactor<harvel::net::v1::UploadRequest>
{
public:
    UploadReactor(NetServer& server, grpc::CallbackServerContext* ctx,
                  harvel::net::v1::Reply* reply);

    void OnReadDone(bool ok) override;
    void OnCancel() override;
    void OnDone() override;

private:
    struct Shared
    {
        std::mutex mutex;
        bool finished = false;
        bool reading = false;
    };

    grpc::Status TakeHeader();
    grpc::Status TakeData();
    void Handover();
    // Ends the call unless someone else did; m_shared->mutex must be held.
    void FinishLocked(const grpc::Status& status);
    void Discard();

    NetServer& m_server;
    grpc::CallbackServerContext* m_ctx;
    harvel::net::v1::Reply* m_reply;
    std::shared_ptr<Shared> m_shared;
    std::string m_peer;
    std::atomic<bool> m_cutOff{false};

    harvel::net::v1::UploadRequest m_request;
    bool m_haveHeader = false;
    int m_fileType = 0;
    std::string m_folder;
    std::string m_path;
    FileHandle m_out;
    std::uint64_t m_expected = 0;
    std::uint64_t m_received = 0;
    bool m_handedOver = false;
};

#endif
