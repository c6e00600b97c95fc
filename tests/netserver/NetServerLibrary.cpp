#include "NetServerLibrary.h"

#include <dlfcn.h>

#include <cstdlib>
#include <fstream>
#include <type_traits>

bool NetServerLibrary::Load(const std::string& folder, const std::string& config,
                            std::string& error)
{
    const std::string copy = folder + "/libZynNetServer.so";
    const char* bin = std::getenv("HARVEL_BINARY_DIR");
    const std::string built = std::string(bin ? bin : ".") + "/lib/libZynNetServer.so";
    // A library once opened stays mapped; writing over it would change
    // code that runs.
    if (!std::ifstream(copy)) {
        std::ifstream in(built, std::ios::binary);
        if (!in || !(std::ofstream(copy, std::ios::binary) << in.rdbuf())) {
            error = "cannot copy " + built;
            return false;
        }
    }
    if (!config.empty())
        std::ofstream(folder + "/ZynNetServer.conf", std::ios::trunc) << config;
    m_handle = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle) {
        error = dlerror();
        return false;
    }
    // Each entry point under its exported name; one missing is an error.
    bool all = true;
    auto resolve = [&](auto& fn, const char* name) {
        fn = reinterpret_cast<std::remove_reference_t<decltype(fn)>>(dlsym(m_handle, name));
        all = all && fn;
    };
    resolve(createInstance, "CreateInstance");
    resolve(startServer, "StartServer");
    resolve(stopServer, "StopServer");
    resolve(releaseInstance, "ReleaseInstance");
    resolve(notifyLogFile, "NotifyLogFile");
    resolve(notifyJournal, "NotifyJournal");
    resolve(notifyProgramStatus, "NotifyProgramStatus");
    resolve(notifyMachineStatus, "NotifyMachineStatus");
    resolve(notifyAxisPos, "NotifyAxisPos");
    resolve(getServerPort, "GetServerPort");
    if (!all)
        error = "an entry point is missing";
    return all;
}

void NetServerLibrary::Unload()
{
    if (m_handle)
        dlclose(m_handle);
    m_handle = nullptr;
}

bool NetServerLibrary::CreateAndStart(void** table, const std::string& applDir,
                                      std::string& error, unsigned short port)
{
    char journal[ZYN_DIR_BUFFER_SIZE] = {};
    char req[ZYN_DIR_BUFFER_SIZE] = {};
    if (!createInstance(applDir.c_str(), table, ZYN_CALLBACK_COUNT, journal, sizeof journal, req,
                        sizeof req)) {
        error = "CreateInstance failed";
        return false;
    }
    journalDir = journal;
    reqDir = req;
    if (!startServer("127.0.0.1", port)) {
        error = "StartServer failed";
        return false;
    }
    address = "127.0.0.1:" + std::to_string(getServerPort());
    return true;
}

void NetServerLibrary::StopAndRelease()
{
    if (!m_handle)
        return;
    stopServer();
    releaseInstance();
}
