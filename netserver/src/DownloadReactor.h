#ifndef DOWNLOADREACTOR_H
#define DOWNLOADREACTOR_H

#include "FileHandle.h"
#include "harvel_net_v1.grpc.pb.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

class NetServer;
class PathPolicy;

// One download: the plug-in names the local file to send (for an NC file
// a temporary copy, which is removed once the call has ended), then the
// header and the chunks go out one write at a time.
class DownloadReactor : public grpc::ServerWriteReactor<harvel::net::v1::DownloadReply>
{
public:
    DownloadReactor(NetServer& server, grpc::CallbackServerContext* ctx, const std::string& path);

    void OnWriteDone(bool ok) override;
    void OnCancel() override;
    void OnDone() override;

private:
    struct Shared
    {
        std::mutex mutex;
        bool finished = false;
    };

    // The descriptor to send from, once the machine has named its file.
    static grpc::Status Settle(const PathPolicy& paths, const std::string& src,
                               const std::string& host, const FileHandle& source,
                               const std::string& file, FileHandle& content);
    // With m_shared->mutex held:
    void Begin(bool ok, const std::string& errInfo, FileHandle content, const std::string& file,
               bool needRemove);
    void WriteNextChunk();
    void FinishLocked(const grpc::Status& status);

    NetServer& m_server;
    std::shared_ptr<Shared> m_shared;
    std::string m_peer;
    std::string m_path;
    std::atomic<bool> m_cutOff{false};
    bool m_writing = false;
    bool m_finishAfterWrite = false;

    std::string m_file;
    bool m_removeFile = false;
    FileHandle m_in;
    std::uint64_t m_size = 0;
    std::uint64_t m_sent = 0;
    harvel::net::v1::DownloadReply m_message;
};

#endif
