#include "NetServerLibrary.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <type_traits>

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
        if (!in || !(std::ofstream(copy, std::ios::binary) << in.rdbuf())) {
            error = "cannot copy " + BuiltLibraryPath();
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
