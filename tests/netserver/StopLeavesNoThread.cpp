// After StopServer no thread of the library may run: the plug-in unloads
// it right after. Here a request is inside its callback when the stop
// comes, and the callback returns within the stop's time; the process
// must then be down to its own thread. The client is another process, so
// that no gRPC object of ours keeps gRPC's threads alive.

#include "NetServerLibrary.h"

#include <dirent.h>
#include <spawn.h>
#include <sys/wait.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

extern char** environ;

namespace {

std::atomic<bool> g_entered{false};

int Threads()
{
    int n = 0;
    if (DIR* dir = opendir("/proc/self/task")) {
        while (const dirent* entry = readdir(dir))
            n += entry->d_name[0] != '.';
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

bool Arrival(const char*, const char*, int) { return true; }

int Fail(const std::string& what)
{
    std::fprintf(stderr, "FAIL: %s\n", what.c_str());
    return 1;
}

}  // namespace

int main(int argc, char** argv)
{
    // Some runtimes (the thread checker's) start a helper thread of their
    // own with the first thread a process makes: let that happen first.
    std::thread([] {}).join();
    const int baseline = Threads();
    char folder[] = "/tmp/netserver_stop_threads-XXXXXX";
    if (argc < 2 || !mkdtemp(folder))
        return Fail("usage: netserver_stop_threads HARVEL_CLIENT");
    void* table[ZYN_CALLBACK_COUNT] = {};
    table[ZYN_CB_READ_RVAR] = reinterpret_cast<void*>(&SlowRead);
    table[ZYN_CB_CLIENT_ACTION] = reinterpret_cast<void*>(&Arrival);
    NetServerLibrary lib;
    std::string error;
    if (!lib.Load(folder, "", error) || !lib.CreateAndStart(table, folder, error))
        return Fail(error);
    if (Threads() <= baseline)
        return Fail("the running server shows no threads of its own");

    char* clientArgs[] = {argv[1], const_cast<char*>("--server"), lib.address.data(),
                          const_cast<char*>("read-r"), const_cast<char*>("0"), const_cast<char*>("3"), nullptr};
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
    waitpid(client, nullptr, 0);
    std::system(("rm -rf '" + std::string(folder) + "'").c_str());
    if (after != baseline)
        return Fail(std::to_string(after) + " threads after StopServer, " + std::to_string(baseline) + " before");
    return 0;
}
