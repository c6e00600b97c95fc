#include "RequestWatcher.h"

#include "Utf8Text.h"

#include <algorithm>
#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <sys/stat.h>

using namespace harvel::net::v1;

namespace {

bool Exists(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

}  // namespace

RequestWatcher::RequestWatcher(std::size_t maxAnswerBytes, AnswerSink sink)
    : m_maxAnswerBytes(maxAnswerBytes), m_sink(std::move(sink))
{
}

void RequestWatcher::Add(Pending pending)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closed) {
        pending.completion->Done(
            grpc::Status(grpc::StatusCode::UNAVAILABLE, "the server is stopping"));
        return;
    }
    m_pending.push_back(std::move(pending));
}

void RequestWatcher::Poll()
{
    std::vector<Pending> settled;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (auto it = m_pending.begin(); it != m_pending.end();) {
            // The plug-in renames .tmp to .req before it answers the
            // callback, and processes it later on its own timer.
            if (Exists(it->base + ".req") || Exists(it->base + ".tmp")) {
                ++it;
                continue;
            }
            settled.push_back(std::move(*it));
            it = m_pending.erase(it);
        }
    }
    for (Pending& pending : settled)
        Settle(pending);
    if (!settled.empty()) {
        const std::string& base = settled.front().base;
        KeepNewestFates(base.substr(0, base.find_last_of('/')), kFatesKept);
    }
}

void RequestWatcher::KeepNewestFates(const std::string& folder, std::size_t keep)
{
    struct Fate
    {
        std::string path;
        struct timespec written;
    };
    std::vector<Fate> fates;
    DIR* dir = opendir(folder.c_str());
    if (!dir)
        return;
    while (const dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name.size() < 5)
            continue;
        const std::string suffix = name.substr(name.size() - 4);
        if (suffix != ".REC" && suffix != ".REP")
            continue;
        struct stat st;
        const std::string path = folder + "/" + name;
        if (stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode))
            fates.push_back({path, st.st_mtim});
    }
    closedir(dir);
    if (fates.size() <= keep)
        return;
    // Newest first; the name decides between equal times, so that the
    // choice does not depend on the order of the folder.
    std::sort(fates.begin(), fates.end(), [](const Fate& a, const Fate& b) {
        if (a.written.tv_sec != b.written.tv_sec)
            return a.written.tv_sec > b.written.tv_sec;
        if (a.written.tv_nsec != b.written.tv_nsec)
            return a.written.tv_nsec > b.written.tv_nsec;
        return a.path > b.path;
    });
    for (std::size_t i = keep; i < fates.size(); ++i)
        std::remove(fates[i].path.c_str());
}

bool RequestWatcher::Settle(Pending& pending)
{
    RequestFileReply reply;
    reply.set_ok(true);
    reply.set_file_name(pending.reqName);
    if (Exists(pending.base + ".REC"))
        reply.set_outcome(REQUEST_OUTCOME_CARRIED_OUT_KEPT);
    else if (Exists(pending.base + ".REP"))
        reply.set_outcome(REQUEST_OUTCOME_FAILED);
    else
        reply.set_outcome(REQUEST_OUTCOME_CARRIED_OUT);

    if (reply.outcome() == REQUEST_OUTCOME_FAILED) {
        reply.set_err_info("The machine could not carry out the request; its log tells why");
    } else if (!pending.answerName.empty()) {
        const std::string folder = pending.base.substr(0, pending.base.find_last_of('/'));
        const std::string answerPath = folder + "/" + pending.answerName;
        std::ifstream in(answerPath, std::ios::binary);
        if (in) {
            std::string content;
            content.resize(m_maxAnswerBytes);
            in.read(&content[0], std::streamsize(content.size()));
            content.resize(std::size_t(in.gcount()));
            reply.set_answer_name(Utf8Text::Repair(pending.answerName));
            reply.set_answer(content);
            in.close();
            // The answer has reached the client; the plug-in may drop it.
            m_sink(pending.peer, pending.reqName, answerPath);
        } else {
            reply.set_err_info("The request was carried out but left no answer file "
                               + Utf8Text::Repair(pending.answerName));
        }
    }
    return pending.completion->Done(grpc::Status::OK, std::move(reply));
}

void RequestWatcher::Close()
{
    std::vector<Pending> dropped;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
        dropped.swap(m_pending);
    }
    for (Pending& pending : dropped)
        pending.completion->Done(
            grpc::Status(grpc::StatusCode::UNAVAILABLE, "the server is stopping"));
}

std::size_t RequestWatcher::Count()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_pending.size();
}
