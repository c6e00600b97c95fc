#include "NetServerLibrary.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

NetServerLibrary::~NetServerLibrary()
{
    Unload();
}

std::string NetServerLibrary::BuiltLibraryPath()
{
    if (const char* bin = std::getenv("HARVEL_BINARY_DIR"))
        return std::string(bin) + "/lib/libZynNetServer.so";
    // Executables live in bin/, libraries beside it in lib/.
    char self[4096] = {};
    const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    std::string exe = n > 0 ? std::string(self, std::size_t(n)) : std::string("./x");
    exe.erase(exe.find_last_of('/'));
    return exe + "/../lib/libZynNetServer.so";
}

bool NetServerLibrary::Load(const std::string& folder, const std::string& config,
                            std::string& error)
{
    const std::string copy = folder + "/libZynNetServer.so";
    // A library once opened stays mapped; writing over it would change
    // code that runs.
    if (!std::ifstream(copy)) {
        std::ifstream in(BuiltLibraryPath(), std::ios::binary);
        std::ofstream out(copy, std::ios::binary | std::ios::trunc);
        if (!in || !out) {
            error = "cannot copy " + BuiltLibraryPath();
            return false;
        }
        out << in.rdbuf();
    }
    if (!config.empty()) {
        std::ofstream out(folder + "/ZynNetServer.conf", std::ios::trunc);
        out << config;
    }
    m_handle = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle) {
        error = dlerror();
        return false;
    }
    auto resolve = [this](const char* name) { return dlsym(m_handle, name); };
    createInstance = reinterpret_cast<ZynCreateInstanceFn>(resolve("CreateInstance"));
    startServer = reinterpret_cast<ZynStartServerFn>(resolve("StartServer"));
    stopServer = reinterpret_cast<ZynStopServerFn>(resolve("StopServer"));
    releaseInstance = reinterpret_cast<ZynReleaseInstanceFn>(resolve("ReleaseInstance"));
    notifyLogFile = reinterpret_cast<ZynNotifyLogFileFn>(resolve("NotifyLogFile"));
    notifyJournal = reinterpret_cast<ZynNotifyJournalFn>(resolve("NotifyJournal"));
    notifyProgramStatus =
        reinterpret_cast<ZynNotifyProgramStatusFn>(resolve("NotifyProgramStatus"));
    notifyMachineStatus =
        reinterpret_cast<ZynNotifyMachineStatusFn>(resolve("NotifyMachineStatus"));
    notifyAxisPos = reinterpret_cast<ZynNotifyAxisPosFn>(resolve("NotifyAxisPos"));
    getServerPort = reinterpret_cast<ZynGetServerPortFn>(resolve("GetServerPort"));
    if (!createInstance || !startServer || !stopServer || !releaseInstance || !notifyLogFile
        || !notifyJournal || !notifyProgramStatus || !notifyMachineStatus || !notifyAxisPos) {
        error = "an entry point is missing";
        return false;
    }
    return true;
}

void NetServerLibrary::Unload()
{
    if (m_handle)
        dlclose(m_handle);
    m_handle = nullptr;
}

bool NetServerLibrary::CreateAndStart(void** table, const std::string& applDir,
                                      std::string& error)
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
    if (!startServer("127.0.0.1", 0)) {
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
