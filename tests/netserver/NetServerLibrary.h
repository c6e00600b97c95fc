#ifndef NETSERVERLIBRARY_H
#define NETSERVERLIBRARY_H

#include "ZynNetServer.h"

#include <string>

// The library as the plug-in sees it: a copy in an application folder,
// opened with dlopen, reached only through its exported names.
class NetServerLibrary
{
public:
    ~NetServerLibrary() { Unload(); }

    // Copies the built library into folder (with an optional
    // ZynNetServer.conf beside it) and opens the copy.
    bool Load(const std::string& folder, const std::string& config, std::string& error);
    void Unload();

    // Creates an instance over table and starts it on 127.0.0.1.
    bool CreateAndStart(void** table, const std::string& applDir, std::string& error,
                        unsigned short port = 0);
    void StopAndRelease();

    ZynCreateInstanceFn createInstance = nullptr;
    ZynStartServerFn startServer = nullptr;
    ZynStopServerFn stopServer = nullptr;
    ZynReleaseInstanceFn releaseInstance = nullptr;
    ZynNotifyLogFileFn notifyLogFile = nullptr;
    ZynNotifyJournalFn notifyJournal = nullptr;
    ZynNotifyProgramStatusFn notifyProgramStatus = nullptr;
    ZynNotifyMachineStatusFn notifyMachineStatus = nullptr;
    ZynNotifyAxisPosFn notifyAxisPos = nullptr;
    ZynGetServerPortFn getServerPort = nullptr;

    std::string journalDir;
    std::string reqDir;
    std::string address;  // 127.0.0.1:port once started

private:
    void* m_handle = nullptr;
};

#endif
