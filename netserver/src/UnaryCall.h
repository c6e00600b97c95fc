#ifndef UNARYCALL_H
#define UNARYCALL_H

#include "NetServer.h"
#include "PeerTracker.h"
#include "ThreadCheck.h"
#include "WorkerPool.h"

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

// One unary call whose answer comes from a worker thread, or later still.
// The call can end three ways: the answer, the client's cancel, or the
// server's stop, which cancels it too. Whoever comes first finishes it;
// an answer that comes after a cancel is dropped without touching the
// call, which may be gone by then.
template <class Reply>
class UnaryCall : public grpc::ServerUnaryReactor
{
public:
    class Completion
    {
    public:
        // False if the call had already ended.
        bool Done(const grpc::Status& status, Reply reply = Reply())
        {
            UnaryCall* call;
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                if (m_finished)
                    return false;
                m_finished = true;
                call = m_call;
            }
            // Nobody else finishes the call now, so it lives until Finish.
            *call->m_reply = std::move(reply);
            call->Finish(status);
            return true;
        }

        bool IsOpen()
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            return !m_finished;
        }

        const std::string& Peer() const { return m_peer; }

        // Called once if the client's side of the call ends (cancel,
        // deadline, connection lost, server stop) before Done: the work
        // still running is waited on by nobody. Set before anything can
        // cancel the work's effect, i.e. first thing in the work.
        void OnAbandoned(std::function<void()> handler)
        {
            bool now;
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                now = m_finished && m_cancelled;
                if (!now)
                    m_abandoned = std::move(handler);
            }
            if (now)
                handler();
        }

    private:
        friend class UnaryCall;
        std::mutex m_mutex;
        UnaryCall* m_call = nullptr;
        bool m_finished = false;
        bool m_cancelled = false;
        std::function<void()> m_abandoned;
        std::string m_peer;
    };

    using Work = std::function<grpc::Status(const std::string& peer, Reply& reply)>;
    using AsyncWork = std::function<void(std::shared_ptr<Completion>)>;

    // Runs work on a worker thread unless check already failed.
    static grpc::ServerUnaryReactor* Run(NetServer& server, grpc::CallbackServerContext* ctx,
                                         const char* method, Reply* reply,
                                         const grpc::Status& check, Work work)
    {
        return RunAsync(server, ctx, method, reply, check,
                        [work](std::shared_ptr<Completion> completion) {
                            Reply out;
                            const grpc::Status status = work(completion->Peer(), out);
                            completion->Done(status, std::move(out));
                        });
    }

    // The work gets the completion and may hand it on; someone must call
    // Done on it unless the call is cancelled.
    static grpc::ServerUnaryReactor* RunAsync(NetServer& server, grpc::CallbackServerContext* ctx,
                                              const char* method, Reply* reply,
                                              const grpc::Status& check, AsyncWork work)
    {
        auto* call = new UnaryCall(server, ctx, method, reply);
        std::shared_ptr<Completion> completion = call->m_completion;
        if (!check.ok()) {
            completion->Done(check);
        } else if (!server.Workers().Submit([completion, work] { work(completion); })) {
            completion->Done(grpc::Status(grpc::StatusCode::RESOURCE_EXHAUSTED,
                                          "the server is busy; try again"));
        }
        return call;
    }

    void OnCancel() override
    {
        HARVEL_TAKEN_OVER(this);
        m_cutOff = true;
        std::function<void()> abandoned;
        {
            std::lock_guard<std::mutex> lock(m_completion->m_mutex);
            if (!m_completion->m_finished) {
                m_completion->m_cancelled = true;
                abandoned = std::move(m_completion->m_abandoned);
            }
        }
        m_completion->Done(grpc::Status(grpc::StatusCode::CANCELLED, "call cancelled"));
        if (abandoned)
            abandoned();
    }

    void OnDone() override
    {
        HARVEL_TAKEN_OVER(this);
        m_server.Peers().CallEnded(m_completion->m_peer, m_cutOff);
        delete this;
    }

private:
    UnaryCall(NetServer& server, grpc::CallbackServerContext* ctx, const char* method,
              Reply* reply)
        : m_server(server), m_reply(reply), m_completion(std::make_shared<Completion>())
    {
        m_completion->m_call = this;
        m_completion->m_peer = PeerTracker::PeerString(ctx->peer());
        m_server.Peers().CallStarted(m_completion->m_peer, method);
        // gRPC gets the call when the handler returns it and calls OnCancel
        // and OnDone on threads of its own.
        HARVEL_HANDED_OVER(this);
    }

    NetServer& m_server;
    Reply* m_reply;
    std::shared_ptr<Completion> m_completion;
    std::atomic<bool> m_cutOff{false};
};

#endif
