#ifndef NETSERVER_H
#define NETSERVER_H

#include "CallbackTable.h"
#include "ServerConfig.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace grpc { class Server; }

class FileService;
class MachineService;
class NotificationService;
class PathPolicy;
class PeerTracker;
class RequestWatcher;
class WorkerPool;

// One instance of the library: the folders, the plug-in's callbacks and,
// while it runs, the gRPC server with everything that serves it. Entry
// points reach it from the HMI main thread; services from gRPC's threads.
class NetServer
{
public:
    NetServer(const std::string& applDir, const CallbackTable& callbacks);
    ~NetServer();

    // Makes the journal, request and working folders.
    bool Prepare(std::string& error);
    const std::string& JournalDir() const { return m_journalDir; }
    const std::string& ReqDir() const { return m_reqDir; }

    bool Start(const std::string& ip, unsigned short port);
    void Stop();
    unsigned short Port() const { return m_port; }
    // From the first moment of a stop: nobody is told of what ends now.
    bool Stopping() const { return m_stopping; }

    bool NotifyLogFile(const std::string& file, const std::vector<std::string>& peers);
    bool NotifyJournal(const std::string& journalFile);
    bool NotifyProgramStatus(int status, bool flag, const std::string& program,
                             const std::string& text);
    bool NotifyMachineStatus(int status, const std::string& text1, const std::string& text2,
                             const std::string& text3, bool flag);
    bool NotifyAxisPos(const std::vector<std::pair<std::string, double>>& axes);

    // For the services, valid while running.
    const CallbackTable& Callbacks() const { return m_callbacks; }
    const ServerConfig& Config() const { return m_config; }
    const PathPolicy& Paths() const { return *m_paths; }
    // For work that may outlive a stop (a worker let go inside a callback).
    std::shared_ptr<const PathPolicy> SharedPaths() const { return m_paths; }
    const std::string& ApplDir() const { return m_applDir; }
    const std::string& UploadDir() const { return m_uploadDir; }
    WorkerPool& Workers() { return *m_workers; }
    PeerTracker& Peers() { return *m_peers; }
    std::shared_ptr<RequestWatcher> Requests() { return m_requests; }
    // Runs a job on the one thread that reports events to the plug-in, in
    // order. The job must not touch the server after its callback returns:
    // at stop it may be let go while it waits inside the callback.
    void PostEvent(std::function<void()> job);

private:
    void Housekeep();
    void Complain(const std::string& text) const;

    std::string m_applDir;
    std::string m_journalDir;
    std::string m_reqDir;
    std::string m_uploadDir;
    CallbackTable m_callbacks;
    ServerConfig m_config;
    std::shared_ptr<const PathPolicy> m_paths;

    std::unique_ptr<WorkerPool> m_workers;
    std::unique_ptr<WorkerPool> m_events;
    std::unique_ptr<PeerTracker> m_peers;
    std::shared_ptr<RequestWatcher> m_requests;
    std::unique_ptr<MachineService> m_machine;
    std::unique_ptr<FileService> m_files;
    std::unique_ptr<NotificationService> m_notifications;
    std::unique_ptr<grpc::Server> m_server;
    unsigned short m_port = 0;
    std::atomic<bool> m_stopping{false};

    std::thread m_housekeeper;
    std::mutex m_housekeeperMutex;
    std::condition_variable m_housekeeperWake;
    bool m_housekeeperStop = false;
};

#endif
