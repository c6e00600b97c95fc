#ifndef TESTHOST_H
#define TESTHOST_H

#include "ZynNetServer.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// A stand-in for the plug-in behind the callback table: 100 R variables,
// the local file system, and a record of every event the library reports.
class TestHost
{
public:
    static TestHost& Instance();

    void Reset();
    void FillTable(void** table);

    // Waits, at most timeout, until pred holds; pred runs under the lock.
    bool WaitFor(const std::function<bool()>& pred,
                 std::chrono::milliseconds timeout = std::chrono::seconds(20));
    // Under the lock: whether an event starts with prefix and holds part.
    bool HasEvent(const std::string& prefix, const std::string& part = std::string());

    std::mutex mutex;
    std::condition_variable changed;

    std::vector<double> rvars;
    std::vector<std::string> events;      // "connect PEER METHOD", "journal PEER PATH 1", ...
    std::vector<std::string> peers;       // peers of request callbacks

    // every callback waits while held, as if the main thread were busy
    bool holdCallbacks = false;
    int callbacksWaiting = 0;
    int callbacksReturned = 0;

    // the last upload
    int uploadType = -1;
    std::string uploadPath;
    std::string uploadContent;

    // request files, renamed to .req and waiting for the test to decide
    std::deque<std::string> requests;

    // calls made from inside the library's own entry points would deadlock
    // the plug-in; the test thread marks itself here
    std::thread::id forbiddenThread;
    bool calledFromForbiddenThread = false;
};

#endif
