#include "FileService.h"

#include "CallbackAnswer.h"
#include "DownloadReactor.h"
#include "NetServer.h"
#include "PathPolicy.h"
#include "RequestWatcher.h"
#include "UnaryCall.h"
#include "UploadReactor.h"

#include <atomic>
#include <cstdio>
#include <fstream>
#include <random>

using namespace harvel::net::v1;

namespace {

std::string UniqueTag()
{
    static std::atomic<unsigned> serial{0};
    static const unsigned seed = std::random_device()();
    char tag[24];
    std::snprintf(tag, sizeof tag, "%08x%04x", seed, (serial++) & 0xFFFF);
    return tag;
}

std::string EndsWithReq(const std::string& name)
{
    if (name.size() > 4) {
        std::string tail = name.substr(name.size() - 4);
        for (char& c : tail)
            if (c >= 'A' && c <= 'Z')
                c = char(c - 'A' + 'a');
        if (tail == ".req")
            return name.substr(0, name.size() - 4);
    }
    return name;
}

// The first line split at single blanks, as the machine reads it.
std::vector<std::string> Fields(const std::string& content)
{
    std::string line = content.substr(0, content.find_first_of("\r\n"));
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (;;) {
        const std::size_t blank = line.find(' ', start);
        fields.push_back(line.substr(start, blank - start));
        if (blank == std::string::npos)
            break;
        start = blank + 1;
    }
    return fields;
}

std::string Trim(const std::string& s)
{
    const auto first = s.find_first_not_of(" \t");
    if (first == std::string::npos)
        return std::string();
    return s.substr(first, s.find_last_not_of(" \t") - first + 1);
}

}  // namespace

FileService::FileService(NetServer& server)
    : m_server(server)
{
}

grpc::ServerUnaryReactor* FileService::CheckFileExists(grpc::CallbackServerContext* ctx,
                                                       const PathRequest* request,
                                                       CheckFileExistsReply* reply)
{
    const auto callback =
        m_server.Callbacks().Get<ZynCheckFileExistsCallback>(ZYN_CB_CHECK_FILE_EXISTS);
    std::string path;
    const grpc::Status check = m_server.Paths().CheckServedPath(request->path(), path);
    return UnaryCall<CheckFileExistsReply>::Run(
        m_server, ctx, "CheckFileExists", reply, check,
        [callback, path](const std::string& peer, CheckFileExistsReply& out) {
            if (!callback)
                return CallbackAnswer::NoHandler("CheckFileExists");
            bool exists = false;
            char err[CallbackAnswer::kErrInfoSize] = {};
            const bool ok =
                callback(peer.c_str(), path.c_str(), &exists, err, unsigned(sizeof err));
            std::string errInfo;
            const grpc::Status status =
                CallbackAnswer::Settle("CheckFileExists", ok, err, sizeof err, errInfo);
            out.set_ok(ok);
            out.set_err_info(errInfo);
            out.set_exists(exists);
            return status;
        });
}

grpc::ServerReadReactor<UploadRequest>* FileService::UploadFile(grpc::CallbackServerContext* ctx,
                                                                Reply* reply)
{
    return new UploadReactor(m_server, ctx, reply);
}

grpc::ServerWriteReactor<DownloadReply>* FileService::DownloadFile(
    grpc::CallbackServerContext* ctx, const PathRequest* request)
{
    return new DownloadReactor(m_server, ctx, request->path());
}

grpc::ServerUnaryReactor* FileService::SendRequestFile(grpc::CallbackServerContext* ctx,
                                                       const RequestFileRequest* request,
                                                       RequestFileReply* reply)
{
    const auto callback =
        m_server.Callbacks().Get<ZynRequestInteractiveCallback>(ZYN_CB_REQUEST_INTERACTIVE);
    const std::string& content = request->content();
    std::string base = EndsWithReq(request->name().empty() ? "net" : request->name());
    grpc::Status check = PathPolicy::CheckFileName(base, "request file");
    if (check.ok() && content.empty())
        check = grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, "request file is empty");
    if (check.ok() && content.size() > std::size_t(m_server.Config().maxRequestFileBytes))
        check = grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED,
                             "request file is larger than "
                                 + std::to_string(m_server.Config().maxRequestFileBytes)
                                 + " bytes");
    // A read names the file the machine writes its answer into, in the
    // request folder; a name with a folder would let it write anywhere.
    std::string answerName;
    if (check.ok()) {
        const std::vector<std::string> fields = Fields(content);
        if (fields.size() >= 5 && Trim(fields[0]) == "4") {
            answerName = fields[4];
            check = PathPolicy::CheckFileName(answerName, "answer file");
        }
    }
    // Each request gets a name of its own, so that two clients sending the
    // same name cannot take each other's outcome.
    const std::string fileBase = m_server.ReqDir() + "/" + base + "." + UniqueTag();
    const std::string tempPath = fileBase + ".tmp";
    if (check.ok()) {
        std::ofstream out(tempPath, std::ios::binary | std::ios::trunc);
        out.write(content.data(), std::streamsize(content.size()));
        out.close();
        if (!out)
            check = grpc::Status(grpc::StatusCode::INTERNAL,
                                 "cannot store the request file in the request folder");
    }
    const std::string reqName = fileBase.substr(fileBase.find_last_of('/') + 1) + ".req";
    std::shared_ptr<RequestWatcher> watcher = m_server.Requests();
    return UnaryCall<RequestFileReply>::RunAsync(
        m_server, ctx, "SendRequestFile", reply, check,
        [watcher, callback, tempPath, fileBase, reqName, answerName](
            std::shared_ptr<UnaryCall<RequestFileReply>::Completion> completion) {
            if (!callback) {
                std::remove(tempPath.c_str());
                completion->Done(CallbackAnswer::NoHandler("SendRequestFile"));
                return;
            }
            const std::string& peer = completion->Peer();
            char err[CallbackAnswer::kErrInfoSize] = {};
            const bool ok = callback(peer.c_str(), reqName.c_str(), tempPath.c_str(), err,
                                     unsigned(sizeof err));
            std::string errInfo;
            const grpc::Status status =
                CallbackAnswer::Settle("SendRequestFile", ok, err, sizeof err, errInfo);
            if (!ok) {
                std::remove(tempPath.c_str());
                RequestFileReply reply;
                reply.set_ok(false);
                reply.set_err_info(errInfo);
                reply.set_file_name(reqName);
                completion->Done(status, reply);
                return;
            }
            RequestWatcher::Pending pending;
            pending.peer = peer;
            pending.reqName = reqName;
            pending.base = fileBase;
            pending.answerName = answerName;
            pending.completion = completion;
            watcher->Add(std::move(pending));
        });
}
