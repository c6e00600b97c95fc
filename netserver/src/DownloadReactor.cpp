#include "DownloadReactor.h"

#include "CallbackAnswer.h"
#include "NetServer.h"
#include "PathPolicy.h"
#include "PeerTracker.h"
#include "Utf8Text.h"
#include "WorkerPool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

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
    // The file the client named, opened where its links really lead; a
    // local file is later read through this very descriptor.
    auto source = std::make_shared<FileHandle>();
    std::string host;
    const grpc::Status check = m_server.Paths().CheckServedPath(path, m_path, source.get(), &host);
    if (!check.ok()) {
        FinishLocked(check);
        return;
    }
    const auto callback = m_server.Callbacks().Get<ZynDownloadFileCallback>(ZYN_CB_DOWNLOAD_FILE);
    std::shared_ptr<Shared> shared = m_shared;
    const std::string peer = m_peer;
    const std::string src = m_path;
    const std::shared_ptr<const PathPolicy> paths = m_server.SharedPaths();
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
        FileHandle content;
        if (status.ok() && ok)
            status = Settle(*paths, src, host, *source, file, content);
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
        self->Begin(ok, errInfo, std::move(content), file, needRemove);
    });
    if (!queued)
        FinishLocked(grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED,
                                  "the server is busy; try again"));
}

grpc::Status DownloadReactor::Settle(const PathPolicy& paths, const std::string& src,
                                     const std::string& host, const FileHandle& source,
                                     const std::string& file, FileHandle& content)
{
    if (file.empty())
        return grpc::Status(grpc::StatusCode::NOT_FOUND, "the machine named no readable file to send");
    // The client's own file: what was checked is what goes out.
    if (file == src && source.IsOpen()) {
        content = source.Reopen(O_RDONLY);
        if (!content.IsOpen())
            return grpc::Status(grpc::StatusCode::INTERNAL, "cannot read " + src);
        return grpc::Status::OK;
    }
    // A copy the machine made: it must lie in a served folder, and the
    // file it was copied from must still be the one checked, so that a
    // link swapped in meanwhile is caught rather than sent.
    FileHandle copy;
    grpc::Status status = paths.OpenLocalFile(file, copy);
    if (!status.ok())
        return status;
    content = copy.Reopen(O_RDONLY);
    if (!content.IsOpen())
        return grpc::Status(grpc::StatusCode::NOT_FOUND, "the machine named no readable file to send");
    if (host.empty())
        return status;
    FileHandle now;
    std::string again;
    status = paths.CheckServedPath(src, again, &now);
    if (!status.ok())
        return status;
    struct stat before, after;
    if (source.IsOpen() != now.IsOpen()
        || (source.IsOpen()
            && (fstat(source.Get(), &before) != 0 || fstat(now.Get(), &after) != 0
                || before.st_dev != after.st_dev || before.st_ino != after.st_ino)))
        return grpc::Status(grpc::StatusCode::PERMISSION_DENIED,
                            src + " changed while it was read");
    return grpc::Status::OK;
}

void DownloadReactor::Begin(bool ok, const std::string& errInfo, FileHandle content,
                            const std::string& file, bool needRemove)
{
    m_file = file;
    m_removeFile = needRemove && !file.empty();
    DownloadHeader* header = m_message.mutable_header();
    header->set_ok(ok);
    header->set_err_info(errInfo);
    if (ok) {
        struct stat st;
        if (!content.IsOpen() || fstat(content.Get(), &st) != 0 || !S_ISREG(st.st_mode)) {
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
        m_in = std::move(content);
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
    std::size_t got = 0;
    while (got < data->size()) {
        const ssize_t n = pread(m_in.Get(), &(*data)[got], data->size() - got, off_t(m_sent + got));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        got += std::size_t(n);
    }
    if (got != data->size()) {
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
    m_in.Reset();
    if (m_removeFile)
        std::remove(m_file.c_str());
    m_server.Peers().CallEnded(m_peer, m_cutOff);
    delete this;
}
