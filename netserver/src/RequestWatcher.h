#ifndef REQUESTWATCHER_H
#define REQUESTWATCHER_H

#include "UnaryCall.h"
#include "harvel_net_v1.pb.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// Waits for the fate of the request files handed to the plug-in. The
// machine tells the outcome only by what becomes of the file: removed
// (done), renamed to .REC (done, kept) or to .REP (failed); a read leaves
// its answer in a file of the request folder.
class RequestWatcher
{
public:
    using Completion = UnaryCall<harvel::net::v1::RequestFileReply>::Completion;
    // (peer, reqName, answerPath): hand the answer file back to the plug-in.
    using AnswerSink = std::function<void(const std::string&, const std::string&,
                                          const std::string&)>;

    struct Pending
    {
        std::string peer;
        std::string reqName;     // bare name ending in .req
        std::string base;        // full path without suffix
        std::string answerName;  // empty unless the request is a read
        std::shared_ptr<Completion> completion;
    };

    RequestWatcher(std::size_t maxAnswerBytes, AnswerSink sink);

    void Add(Pending pending);
    // Looks at every pending file once; called by the housekeeping thread.
    void Poll();
    // No more outcomes are looked for; the calls end with the server.
    void Close();
    std::size_t Count();

    // The plug-in leaves a .REC or .REP file behind for every request it
    // keeps or refuses; of those in folder only the newest keep stay.
    static constexpr std::size_t kFatesKept = 200;
    static void KeepNewestFates(const std::string& folder, std::size_t keep);

private:
    bool Settle(Pending& pending);

    std::mutex m_mutex;
    std::vector<Pending> m_pending;
    bool m_closed = false;
    std::size_t m_maxAnswerBytes;
    AnswerSink m_sink;
};

#endif
