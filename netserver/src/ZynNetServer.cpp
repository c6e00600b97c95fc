// The nine entry points: plain C over the one NetServer of the process.

#include "ZynNetServer.h"

#include "NetServer.h"
#include "Utf8Text.h"

#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#define ZYN_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

// The plug-in calls from its main thread only, but nothing stops a host
// from doing otherwise, and a Notify racing a Stop must not crash.
std::mutex g_mutex;
std::unique_ptr<NetServer> g_server;

void CopyOut(const std::string& text, char* buffer, unsigned int size)
{
    if (!buffer || size == 0)
        return;
    const std::size_t n = text.size() < size - 1 ? text.size() : size - 1;
    std::memcpy(buffer, text.data(), n);
    buffer[n] = '\0';
}

}  // namespace

ZYN_EXPORT bool CreateInstance(const char* applDir, void** callbacks, int callbackCount,
                               char* journalDir, unsigned int journalDirSize, char* reqDir,
                               unsigned int reqDirSize)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    g_server.reset();
    if (!applDir || !*applDir)
        return false;
    auto server = std::make_unique<NetServer>(applDir, CallbackTable(callbacks, callbackCount));
    std::string error;
    const bool prepared = server->Prepare(error);
    CopyOut(server->JournalDir(), journalDir, journalDirSize);
    CopyOut(server->ReqDir(), reqDir, reqDirSize);
    g_server = std::move(server);
    return prepared;
}

ZYN_EXPORT bool StartServer(const char* ip, unsigned short port)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_server && g_server->Start(ip ? ip : "", port);
}

ZYN_EXPORT void StopServer(void)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    if (g_server)
        g_server->Stop();
}

ZYN_EXPORT void ReleaseInstance(void)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    g_server.reset();
}

ZYN_EXPORT bool NotifyLogFile(const char* file, const char** peers, int count)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    if (!g_server || !file || !peers || count <= 0)
        return false;
    std::vector<std::string> list;
    for (int i = 0; i < count; ++i)
        if (peers[i])
            list.emplace_back(peers[i]);
    return g_server->NotifyLogFile(file, list);
}

ZYN_EXPORT bool NotifyJournal(const char* journalFile)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_server && journalFile && g_server->NotifyJournal(journalFile);
}

ZYN_EXPORT bool NotifyProgramStatus(int status, bool flag, const char* program, const char* text)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_server
        && g_server->NotifyProgramStatus(status, flag, Utf8Text::FromCString(program),
                                         Utf8Text::FromCString(text));
}

ZYN_EXPORT bool NotifyMachineStatus(int status, const char* text1, const char* text2,
                                    const char* text3, bool flag)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_server
        && g_server->NotifyMachineStatus(status, Utf8Text::FromCString(text1),
                                         Utf8Text::FromCString(text2),
                                         Utf8Text::FromCString(text3), flag);
}

ZYN_EXPORT bool NotifyAxisPos(char** names, double* positions, int count)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    if (!g_server || !names || !positions || count <= 0 || count > ZYN_MAX_AXES)
        return false;
    std::vector<std::pair<std::string, double>> axes;
    axes.reserve(std::size_t(count));
    for (int i = 0; i < count; ++i)
        axes.emplace_back(Utf8Text::FromBuffer(names[i], ZYN_AXIS_NAME_SIZE), positions[i]);
    return g_server->NotifyAxisPos(axes);
}

ZYN_EXPORT unsigned short GetServerPort(void)
{
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_server ? g_server->Port() : 0;
}
