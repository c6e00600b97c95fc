// harvel-net-testhost APPLDIR [CONFIG]: the library served over the test's
// host, for clients written elsewhere (Python, harvel-client). Prints
// "port N" once listening; reads commands from stdin:
//   journal PATH | program STATUS TEXT | quit
// Request files are carried out at once: a read (4) answers "1.5", a
// write (3) is removed or kept (.REC), anything else fails (.REP).

#include "NetServerLibrary.h"
#include "TestHost.h"

#include <atomic>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

namespace {

void ServeRequests(std::atomic<bool>& stop, const std::string& reqDir)
{
    TestHost& host = TestHost::Instance();
    while (!stop) {
        std::string req;
        {
            std::unique_lock<std::mutex> lock(host.mutex);
            host.changed.wait_for(lock, std::chrono::milliseconds(100));
            if (host.requests.empty())
                continue;
            req = host.requests.front();
            host.requests.pop_front();
        }
        std::string line;
        std::getline(std::ifstream(req), line);
        std::istringstream fields(line);
        std::string code, machine, save, index, answer;
        fields >> code >> machine >> save >> index >> answer;
        const std::string stem = req.substr(0, req.size() - 4);
        if (code == "4" && !answer.empty())
            std::ofstream(reqDir + "/" + answer) << "1.5";
        if ((code == "4" && !answer.empty()) || (code == "3" && save != "1"))
            std::remove(req.c_str());
        else
            std::rename(req.c_str(), (stem + (code == "3" ? ".REC" : ".REP")).c_str());
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << "usage: harvel-net-testhost APPLDIR [CONFIG]\n";
        return 2;
    }
    const std::string applDir = argv[1];
    std::ostringstream config;
    if (argc > 2)
        config << std::ifstream(argv[2]).rdbuf();
    TestHost& host = TestHost::Instance();
    host.Reset();
    host.forbiddenThread = std::thread::id();
    void* table[ZYN_CALLBACK_COUNT] = {};
    host.FillTable(table);
    NetServerLibrary lib;
    std::string error;
    if (!lib.Load(applDir, config.str(), error) || !lib.CreateAndStart(table, applDir, error)) {
        std::cerr << "harvel-net-testhost: " << error << "\n";
        return 1;
    }
    std::atomic<bool> stop{false};
    std::thread requests(ServeRequests, std::ref(stop), lib.reqDir);
    std::cout << "port " << lib.getServerPort() << std::endl;

    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream words(line);
        std::string command, text;
        int status = 0;
        words >> command;
        if (command == "quit")
            break;
        bool ok = true;
        if (command == "journal") {
            words >> text;
            ok = lib.notifyJournal(text.c_str());
        } else if (command == "program") {
            words >> status;
            std::getline(words, text);
            ok = lib.notifyProgramStatus(status, true, "P.MPF", text.c_str());
        }
        std::cout << (ok ? "ok" : "no") << std::endl;
    }
    stop = true;
    requests.join();
    lib.StopAndRelease();
    return 0;
}
