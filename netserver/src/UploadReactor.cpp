#include "UploadReactor.h"

#include "CallbackAnswer.h"
#include "NetServer.h"
#include "PathPolicy.h"
#include "PeerTracker.h"
#include "WorkerPool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <random>

using namespace harvel::net::v1;

namespace {

std::string FolderTag()
{
    static std::atomic<unsigned> serial{0};
    static const unsigned seed = std::random_device()();
    char tag[24];
    std::snprintf(tag, sizeof tag, "u%08x%06x", seed, (serial++) & 0xFFFFFF);
    return tag;
}

}  // namespace

UploadReactor::UploadReactor(NetServer& server, grpc::CallbackServerContext* ctx, Reply* reply)
    : m_server(server),
      m_ctx(ctx),
      m_reply(reply),
      m_shared(std::make_shared<Shared>()),
      m_peer(PeerTracker::PeerString(ctx->peer()))
{
    m_server.Peers().CallStarted(m_peer, "UploadFile");
    std::lock_guard<std::mutex> lock(m_shared->mutex);
    m_shared->reading = true;
    StartRead(&m_request);
}

grpc::Status UploadReactor::TakeHeader()
{
    if (!m_request.has_header())
        return grpc::Status(grpc::StatusCode::INVALID_ARGUMENT,
                            "an upload starts with its header");
    const UploadHeader& header = m_request.header();
    const grpc::Status name = PathPolicy::CheckFileName(header.file_name(), "file");
    if (!name.ok())
        return name;
    if (header.size() > m_server.Config().maxUploadBytes)
        return grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED,
                            "file is larger than "
                                + std::to_string(m_server.Config().maxUploadBytes) + " bytes");
    m_fileType = header.file_type();
    m_expected = header.size();
    // The upload folder must not lead out of the served folders, neither
    // before the file's own folder is made in it nor when the file is.
    FileHandle uploads;
    grpc::Status fenced = m_server.Paths().OpenLocalFile(m_server.UploadDir(), uploads);
    if (!fenced.ok())
        return fenced;
    const std::string tag = FolderTag();
    if (!uploads.IsOpen() || mkdirat(uploads.Get(), tag.c_str(), 0700) != 0)
        return grpc::Status(grpc::StatusCode::INTERNAL, "cannot make the upload folder");
    m_folder = m_server.UploadDir() + "/" + tag;
    m_path = m_folder + "/" + header.file_name();
    fenced = m_server.Paths().CreateFile(m_folder, header.file_name(), m_out);
    if (!fenced.ok())
        return fenced;
    m_haveHeader = true;
    return grpc::Status::OK;
}

grpc::Status UploadReactor::TakeData()
{
    if (m_request.has_header())
        return grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, "a second header");
    const std::string& data = m_request.data();
    if (m_received + data.size() > m_expected)
        return grpc::Status(grpc::StatusCode::INVALID_ARGUMENT,
                            "more data than the header's size of " + std::to_string(m_expected)
                                + " bytes");
    if (!m_out.WriteAll(data.data(), data.size()))
        return grpc::Status(grpc::StatusCode::INTERNAL, "cannot store the upload");
    m_received += data.size();
    return grpc::Status::OK;
}

void UploadReactor::OnReadDone(bool ok)
{
    std::lock_guard<std::mutex> lock(m_shared->mutex);
    m_shared->reading = false;
    if (m_shared->finished)
        return;
    if (!ok) {
        // Either the client has sent everything or it is gone; only a
        // complete file of a caller still there goes on.
        if (m_cutOff || m_ctx->IsCancelled()) {
            FinishLocked(grpc::Status(grpc::StatusCode::CANCELLED, "upload cancelled"));
        } else if (!m_haveHeader) {
            FinishLocked(grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, "no header"));
        } else if (m_received != m_expected) {
            FinishLocked(grpc::Status(grpc::StatusCode::INVALID_ARGUMENT,
                                      "upload incomplete: " + std::to_string(m_received) + " of "
                                          + std::to_string(m_expected) + " bytes"));
        } else {
            const bool stored = ::close(m_out.Release()) == 0;
            if (!stored)
                FinishLocked(grpc::Status(grpc::StatusCode::INTERNAL, "cannot store the upload"));
            else
                Handover();
        }
        return;
    }
    const grpc::Status status = m_haveHeader ? TakeData() : TakeHeader();
    if (!status.ok()) {
        FinishLocked(status);
        return;
    }
    m_shared->reading = true;
    StartRead(&m_request);
}

void UploadReactor::Handover()
{
    const auto callback = m_server.Callbacks().Get<ZynUploadFileCallback>(ZYN_CB_UPLOAD_FILE);
    m_handedOver = true;
    std::shared_ptr<Shared> shared = m_shared;
    const std::string peer = m_peer;
    const std::string path = m_path;
    const std::string folder = m_folder;
    const int fileType = m_fileType;
    UploadReactor* self = this;
    const bool queued = m_server.Workers().Submit([=] {
        grpc::Status status;
        bool ok = false;
        std::string errInfo;
        if (!callback) {
            status = CallbackAnswer::NoHandler("UploadFile");
        } else {
            char err[CallbackAnswer::kErrInfoSize] = {};
            ok = callback(peer.c_str(), fileType, path.c_str(), err, unsigned(sizeof err));
            status = CallbackAnswer::Settle("UploadFile", ok, err, sizeof err, errInfo);
        }
        // The plug-in has moved the file away or given up on it.
        std::error_code ec;
        std::filesystem::remove_all(folder, ec);
        std::lock_guard<std::mutex> lock(shared->mutex);
        if (shared->finished)
            return;
        self->m_reply->set_ok(ok);
        self->m_reply->set_err_info(errInfo);
        self->FinishLocked(status);
    });
    if (!queued) {
        m_handedOver = false;
        FinishLocked(grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED,
                                  "the server is busy; try again"));
    }
}

void UploadReactor::FinishLocked(const grpc::Status& status)
{
    if (m_shared->finished)
        return;
    m_shared->finished = true;
    // What never reached the plug-in is gone before the client hears why.
    if (!m_handedOver)
        Discard();
    Finish(status);
}

void UploadReactor::Discard()
{
    m_out.Reset();
    if (!m_folder.empty()) {
        std::error_code ec;
        std::filesystem::remove_all(m_folder, ec);
        m_folder.clear();
    }
}

void UploadReactor::OnCancel()
{
    m_cutOff = true;
    std::lock_guard<std::mutex> lock(m_shared->mutex);
    // A pending read ends with false and finishes there.
    if (!m_shared->reading)
        FinishLocked(grpc::Status(grpc::StatusCode::CANCELLED, "upload cancelled"));
}

void UploadReactor::OnDone()
{
    {
        std::lock_guard<std::mutex> lock(m_shared->mutex);
    }
    // A file that never reached the plug-in is nobody's.
    if (!m_handedOver)
        Discard();
    m_server.Peers().CallEnded(m_peer, m_cutOff);
    delete this;
}
