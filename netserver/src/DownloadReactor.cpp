#include "DownloadReactor.h"

#include "CallbackAnswer.h"
#include "NetServer.h"
#include "PathPolicy.h"
#include "PeerTracker.h"
#include "Utf8Text.h"
#include "WorkerPool.h"

#include <sys/stat.h>

#include <cstdio>

using namespace harvel::net::v1;

namespace {

constexpr std::size_t kChunkBytes = 64 * 1024;
constexpr std::size_t kFileNameSize = 1024;

}  // namespace

DownloadReactor::DownloadReactor(NetServer& server, grpc::CallbackServerContext* ctx,
                                 const std::string& path)
    : m_server(server),
      m_shared(std::make_shared<Shared>()),
      m_peer(PeerTracker::PeerString(ctx->peer()))
{
    m_server.Peers().CallStarted(m_peer, "DownloadFile");
    std::lock_guard<std::mutex> lock(m_shared->mutex);
    const grpc::Status check = m_server.Paths().CheckServedPath(path, m_path);
    if (!check.ok()) {
        FinishLocked(check);
        return;
    }
    const auto callback = m_server.Callbacks().Get<ZynDownloadFileCallback>(ZYN_CB_DOWNLOAD_FILE);
    std::shared_ptr<Shared> shared = m_shared;
    const std::string peer = m_peer;
    const std::string src = m_path;
    DownloadReactor* self = this;
    const bool queued = m_server.Workers().Submit([=] {
        bool ok = false;
        bool needRemove = false;
        std::string errInfo;
        std::string file;
        grpc::Status status;
        if (!callback) {
            status = CallbackAnswer::NoHandler("DownloadFile");
        } else {
            char dst[kFileNameSize] = {};
            char err[CallbackAnswer::kErrInfoSize] = {};
            ok = callback(peer.c_str(), src.c_str(), dst, unsigned(sizeof dst), &needRemove, err,
                          unsigned(sizeof err));
            status = CallbackAnswer::Settle("DownloadFile", ok, err, sizeof err, errInfo);
            file.assign(dst, strnlen(dst, sizeof dst));
        }
        std::lock_guard<std::mutex> lock(shared->mutex);
        if (shared->finished) {
            // Nobody will send it; a temporary copy must not stay behind.
            if (needRemove && !file.empty())
                std::remove(file.c_str());
            return;
        }
        if (!status.ok()) {
            if (needRemove && !file.empty())
                std::remove(file.c_str());
            self->FinishLocked(status);
            return;
        }
        self->Begin(ok, errInfo, file, needRemove);
    });
    if (!queued)
        FinishLocked(grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED,
                                  "the server is busy; try again"));
}

void DownloadReactor::Begin(bool ok, const std::string& errInfo, const std::string& file,
                            bool needRemove)
{
    m_file = file;
    m_removeFile = needRemove && !file.empty();
    DownloadHeader* header = m_message.mutable_header();
    header->set_ok(ok);
    header->set_err_info(errInfo);
    if (ok) {
        struct stat st;
        if (file.empty() || stat(file.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) {
            FinishLocked(grpc::Status(grpc::StatusCode::NOT_FOUND,
                                      "the machine named no readable file to send"));
            return;
        }
        m_size = std::uint64_t(st.st_size);
        if (m_size > m_server.Config().maxDownloadBytes) {
            FinishLocked(grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED,
                                      "file is larger than "
                                          + std::to_string(m_server.Config().maxDownloadBytes)
                                          + " bytes"));
            return;
        }
        m_in.open(file, std::ios::binary);
        if (!m_in) {
            FinishLocked(grpc::Status(grpc::StatusCode::INTERNAL, "cannot read " + file));
            return;
        }
        header->set_size(m_size);
        header->set_file_name(Utf8Text::Repair(m_path.substr(m_path.find_last_of('/') + 1)));
    }
    m_finishAfterWrite = !ok;
    m_writing = true;
    StartWrite(&m_message);
}

void DownloadReactor::WriteNextChunk()
{
    std::string* data = m_message.mutable_data();
    const std::uint64_t left = m_size - m_sent;
    data->resize(std::size_t(left < kChunkBytes ? left : kChunkBytes));
    m_in.read(&(*data)[0], std::streamsize(data->size()));
    if (std::size_t(m_in.gcount()) != data->size()) {
        FinishLocked(grpc::Status(grpc::StatusCode::DATA_LOSS, "the file changed while sent"));
        return;
    }
    m_sent += data->size();
    m_writing = true;
    StartWrite(&m_message);
}

void DownloadReactor::OnWriteDone(bool ok)
{
    std::lock_guard<std::mutex> lock(m_shared->mutex);
    m_writing = false;
    if (m_shared->finished)
        return;
    if (!ok || m_cutOff) {
        FinishLocked(grpc::Status(grpc::StatusCode::CANCELLED, "download cancelled"));
    } else if (m_finishAfterWrite || m_sent >= m_size) {
        FinishLocked(grpc::Status::OK);
    } else {
        WriteNextChunk();
    }
}

void DownloadReactor::FinishLocked(const grpc::Status& status)
{
    if (m_shared->finished)
        return;
    m_shared->finished = true;
    Finish(status);
}

void DownloadReactor::OnCancel()
{
    m_cutOff = true;
    std::lock_guard<std::mutex> lock(m_shared->mutex);
    if (!m_writing)
        FinishLocked(grpc::Status(grpc::StatusCode::CANCELLED, "download cancelled"));
}

void DownloadReactor::OnDone()
{
    {
        std::lock_guard<std::mutex> lock(m_shared->mutex);
    }
    if (m_in.is_open())
        m_in.close();
    if (m_removeFile)
        std::remove(m_file.c_str());
    m_server.Peers().CallEnded(m_peer, m_cutOff);
    delete this;
}
