// harvel-net-testhost APPLDIR [--tls-config FILE]: the library served over
// the test's host, for clients written elsewhere (Python, harvel-client).
// Prints "port N" once listening; reads commands from stdin:
//   journal PATH | program STATUS TEXT | axes NAME=POS... | quit
// Request files are carried out at once: a read (4) answers "1.5", a
// write (3) is removed, anything else fails (.REP).

#include "NetServerLibrary.h"
#include "TestHost.h"

#include <atomic>
#include <cstdio>
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
        if (!host.WaitFor([&] { return !host.requests.empty() || stop; },
                          std::chrono::milliseconds(100)))
            continue;
        {
            std::lock_guard<std::mutex> lock(host.mutex);
            if (host.requests.empty())
                continue;
            req = host.requests.front();
            host.requests.pop_front();
        }
        std::ifstream in(req);
        std::string line;
        std::getline(in, line);
        in.close();
        std::istringstream fields(line);
        std::string code, machine, save, index, answer;
        fields >> code >> machine >> save >> index >> answer;
        const std::string stem = req.substr(0, req.size() - 4);
        if (code == "4" && !answer.empty()) {
            std::ofstream(reqDir + "/" + answer) << "1.5";
            std::remove(req.c_str());
        } else if (code == "3") {
            if (save == "1")
                std::rename(req.c_str(), (stem + ".REC").c_str());
            else
                std::remove(req.c_str());
        } else {
            std::rename(req.c_str(), (stem + ".REP").c_str());
        }
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
    std::string config;
    if (argc > 2) {
        std::ifstream in(argv[2]);
        std::ostringstream text;
        text << in.rdbuf();
        config = text.str();
    }
    TestHost& host = TestHost::Instance();
    host.Reset();
    host.forbiddenThread = std::thread::id();
    void* table[ZYN_CALLBACK_COUNT] = {};
    host.FillTable(table);
    NetServerLibrary lib;
    std::string error;
    if (!lib.Load(applDir, config, error) || !lib.CreateAndStart(table, applDir, error)) {
        std::cerr << "harvel-net-testhost: " << error << "\n";
        return 1;
    }
    std::atomic<bool> stop{false};
    std::thread requests(ServeRequests, std::ref(stop), lib.reqDir);
    std::cout << "port " << lib.getServerPort() << std::endl;

    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream words(line);
        std::string command;
        words >> command;
        bool ok = true;
        if (command == "quit") {
            break;
        } else if (command == "journal") {
            std::string path;
            words >> path;
            ok = lib.notifyJournal(path.c_str());
        } else if (command == "program") {
            int status = 0;
            std::string text;
            words >> status;
            std::getline(words, text);
            ok = lib.notifyProgramStatus(status, true, "P.MPF", text.c_str());
        } else if (command == "axes") {
            char names[ZYN_MAX_AXES][ZYN_AXIS_NAME_SIZE] = {};
            char* pointers[ZYN_MAX_AXES];
            double positions[ZYN_MAX_AXES] = {};
            int count = 0;
            std::string pair;
            while (count < ZYN_MAX_AXES && words >> pair) {
                const auto eq = pair.find('=');
                std::snprintf(names[count], ZYN_AXIS_NAME_SIZE, "%s", pair.substr(0, eq).c_str());
                positions[count] = std::atof(pair.substr(eq + 1).c_str());
                pointers[count] = names[count];
                ++count;
            }
            ok = lib.notifyAxisPos(pointers, positions, count);
        }
        std::cout << (ok ? "ok" : "no") << std::endl;
    }
    stop = true;
    host.changed.notify_all();
    requests.join();
    lib.StopAndRelease();
    return 0;
}
