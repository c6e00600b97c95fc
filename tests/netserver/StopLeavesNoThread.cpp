// After StopServer no thread of the library may run: the plug-in unloads
// it right after. Here a request is inside its callback when the stop
// comes, and the callback returns within the stop's time; the process
// must then be down to its own thread. The client is another process, so
// that no gRPC object of ours keeps gRPC's threads alive.

#include "NetServerLibrary.h"

#include <dirent.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

extern char** environ;

namespace {

std::atomic<bool> g_entered{false};

int Threads()
{
    int n = 0;
    if (DIR* dir = opendir("/proc/self/task")) {
        while (const dirent* entry = readdir(dir))
            if (entry->d_name[0] != '.')
                ++n;
        closedir(dir);
    }
    return n;
}

bool SlowRead(const char*, int, int count, double* values, char*, unsigned int)
{
    g_entered = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    for (int i = 0; i < count; ++i)
        values[i] = i;
    return true;
}

bool Arrival(const char*, const char*, int)
{
    return true;
}

int Fail(const char* what)
{
    std::fprintf(stderr, "FAIL: %s\n", what);
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return Fail("usage: netserver_stop_threads HARVEL_CLIENT");
    const int baseline = Threads();
    char folder[] = "/tmp/netserver_stop_threads-XXXXXX";
    if (!mkdtemp(folder))
        return Fail("mkdtemp");
    void* table[ZYN_CALLBACK_COUNT] = {};
    table[ZYN_CB_READ_RVAR] = reinterpret_cast<void*>(&SlowRead);
    table[ZYN_CB_CLIENT_ACTION] = reinterpret_cast<void*>(&Arrival);
    NetServerLibrary lib;
    std::string error;
    if (!lib.Load(folder, "", error) || !lib.CreateAndStart(table, folder, error))
        return Fail(error.c_str());
    if (Threads() <= baseline)
        return Fail("the running server shows no threads of its own");

    const std::string server = lib.address;
    char* clientArgs[] = {argv[1], const_cast<char*>("--server"), const_cast<char*>(server.c_str()),
                          const_cast<char*>("read-r"), const_cast<char*>("0"),
                          const_cast<char*>("3"), nullptr};
    pid_t client = 0;
    if (posix_spawn(&client, argv[1], nullptr, nullptr, clientArgs, environ) != 0)
        return Fail("cannot start harvel-client");
    for (int i = 0; i < 3000 && !g_entered; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (!g_entered)
        return Fail("the request never reached its callback");

    lib.stopServer();
    const int after = Threads();
    lib.releaseInstance();
    int status = 0;
    waitpid(client, &status, 0);
    std::system(("rm -rf '" + std::string(folder) + "'").c_str());
    if (after != baseline) {
        std::fprintf(stderr, "FAIL: %d threads after StopServer, %d before the start\n", after,
                     baseline);
        return 1;
    }
    std::printf("ok: back to %d thread(s) when StopServer returned\n", after);
    return 0;
}
