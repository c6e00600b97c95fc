#include "TestHost.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace {

void Put(const std::string& text, char* buffer, unsigned int size)
{
    if (!buffer || size == 0)
        return;
    const std::size_t n = text.size() < size - 1 ? text.size() : size - 1;
    std::memcpy(buffer, text.data(), n);
    buffer[n] = '\0';
}

// Every callback starts here: record who calls, and whether anyone is home.
bool Enter(const char* peer)
{
    TestHost& host = TestHost::Instance();
    std::unique_lock<std::mutex> lock(host.mutex);
    if (host.holdCallbacks) {
        ++host.callbacksWaiting;
        host.changed.notify_all();
        host.changed.wait(lock, [&host] { return !host.holdCallbacks; });
        --host.callbacksWaiting;
        ++host.callbacksReturned;
        host.changed.notify_all();
    }
    host.callbackThreads.insert(std::this_thread::get_id());
    if (std::this_thread::get_id() == host.forbiddenThread)
        host.calledFromForbiddenThread = true;
    if (peer)
        host.peers.emplace_back(peer);
    return !host.noReceiver;
}

void Record(const std::string& event)
{
    TestHost& host = TestHost::Instance();
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        host.events.push_back(event);
    }
    host.changed.notify_all();
}

bool UploadFile(const char* peer, int fileType, const char* filePath, char* errInfo,
                unsigned int errSize)
{
    if (!Enter(peer))
        return false;
    TestHost& host = TestHost::Instance();
    std::ifstream in(filePath, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    std::lock_guard<std::mutex> lock(host.mutex);
    host.uploadType = fileType;
    host.uploadPath = filePath;
    host.uploadContent = content.str();
    if (!host.uploadAnswer)
        Put("Unknown file type " + std::to_string(fileType), errInfo, errSize);
    return host.uploadAnswer;
}

void GetJournals(const char* peer, const char* resultFile, bool succeeded)
{
    Enter(nullptr);
    Record(std::string("journal ") + peer + " " + resultFile + " " + (succeeded ? "1" : "0"));
}

bool RequestInteractive(const char* peer, const char* reqFile, const char* receivedFile,
                        char* errInfo, unsigned int errSize)
{
    if (!Enter(peer))
        return false;
    std::string path = receivedFile;
    const std::string renamed = path.substr(0, path.find_last_of('.')) + ".req";
    if (std::rename(receivedFile, renamed.c_str()) != 0) {
        Put("Cannot rename file", errInfo, errSize);
        return false;
    }
    TestHost& host = TestHost::Instance();
    {
        std::lock_guard<std::mutex> lock(host.mutex);
        host.requests.push_back(renamed);
    }
    host.changed.notify_all();
    Put("", errInfo, errSize);
    return true;
}

bool GetInteractiveResult(const char* peer, const char* reqFile, bool keep,
                          const char* resultFile, char* errInfo, unsigned int errSize)
{
    Enter(nullptr);
    if (!keep)
        std::remove(resultFile);
    Record(std::string("answer ") + reqFile + " " + (keep ? "keep" : "drop"));
    Put("", errInfo, errSize);
    return true;
}

bool SelectProgram(const char* peer, const char* prgFileName, char* errInfo, unsigned int errSize)
{
    if (!Enter(peer))
        return false;
    TestHost& host = TestHost::Instance();
    std::lock_guard<std::mutex> lock(host.mutex);
    host.askedPaths.emplace_back(prgFileName);
    if (std::string(prgFileName).find("MISSING") != std::string::npos) {
        Put("Program does not exist", errInfo, errSize);
        return false;
    }
    return true;
}

bool ReadRVar(const char* peer, int index, int count, double* values, char* errInfo,
              unsigned int errSize)
{
    if (!Enter(peer))
        return false;
    TestHost& host = TestHost::Instance();
    std::lock_guard<std::mutex> lock(host.mutex);
    const int total = int(host.rvars.size());
    if (index < 0 || count < 1 || index + count > total) {
        Put("Address out of range [0, " + std::to_string(total - 1) + "]", errInfo, errSize);
        return false;
    }
    for (int i = 0; i < count; ++i)
        values[i] = host.rvars[std::size_t(index + i)];
    return true;
}

bool WriteRVar(const char* peer, int index, int count, const double* values, char* errInfo,
               unsigned int errSize)
{
    if (!Enter(peer))
        return false;
    TestHost& host = TestHost::Instance();
    std::lock_guard<std::mutex> lock(host.mutex);
    const int total = int(host.rvars.size());
    if (!values || count < 1) {
        Put("Invalid count", errInfo, errSize);
        return false;
    }
    if (index < 0 || index + count > total) {
        Put("Address out of range [0, " + std::to_string(total - 1) + "]", errInfo, errSize);
        return false;
    }
    for (int i = 0; i < count; ++i)
        host.rvars[std::size_t(index + i)] = values[i];
    return true;
}

bool SendMsg(const char* peer, unsigned long long id, int type, int style,
             const char* messageText, const char* inputName, int* clickedButton,
             char* inputValue, unsigned int inputValueSize, char* errInfo, unsigned int errSize)
{
    if (!Enter(peer))
        return false;
    TestHost& host = TestHost::Instance();
    std::unique_lock<std::mutex> lock(host.mutex);
    ++host.messagesWaiting;
    host.changed.notify_all();
    // As long as the operator takes: no time-out.
    host.changed.wait(lock, [&host] { return !host.holdMessages; });
    --host.messagesWaiting;
    ++host.messagesReturned;
    host.changed.notify_all();
    *clickedButton = int(id % 7);
    Put(std::string("typed:") + messageText + "/" + inputName, inputValue, inputValueSize);
    return true;
}

bool ClientAction(const char* peer, const char* callMethodName, int actionType)
{
    Enter(nullptr);
    Record(std::string(actionType == ZYN_CLIENT_DISCONNECTED ? "gone " : "connect ") + peer + " "
           + callMethodName);
    return true;
}

bool GetLogFiles(const char* peer, const char* logFileName, int sendState)
{
    Enter(nullptr);
    Record(std::string("log ") + peer + " " + logFileName + " " + std::to_string(sendState));
    return true;
}

bool GetMachineConfiguration(const char* peer, char* fileContent, unsigned int fileContentSize,
                             char* errInfo, unsigned int errSize)
{
    if (!Enter(peer))
        return false;
    // The plug-in cuts at the buffer's size, possibly inside a character.
    std::string doc = "<?xml version=\"1.0\" encoding=\"utf-8\"?><Machine><Model>\xC3\xA4</Model>";
    doc += std::string(fileContentSize, 'x');
    doc.replace(fileContentSize - 2, 2, "\xC3\xA4");
    Put(doc, fileContent, fileContentSize);
    return true;
}

bool CheckFileExists(const char* peer, const char* fileName, bool* isExists, char* errInfo,
                     unsigned int errSize)
{
    if (!Enter(peer))
        return false;
    TestHost& host = TestHost::Instance();
    std::lock_guard<std::mutex> lock(host.mutex);
    host.askedPaths.emplace_back(fileName);
    std::ifstream probe(fileName);
    *isExists = bool(probe) || std::string(fileName).rfind("//NC/", 0) == 0;
    return true;
}

bool DownloadFile(const char* peer, const char* srcFileName, char* dstFileName,
                  unsigned int dstFileNameSize, bool* dstFileNeedRemove, char* errInfo,
                  unsigned int errSize)
{
    if (!Enter(peer))
        return false;
    TestHost& host = TestHost::Instance();
    std::lock_guard<std::mutex> lock(host.mutex);
    host.askedPaths.emplace_back(srcFileName);
    // Like the plug-in, a local file is sent from where it lies.
    if (host.downloadFile.empty() && std::ifstream(srcFileName)) {
        Put(srcFileName, dstFileName, dstFileNameSize);
        *dstFileNeedRemove = false;
        return true;
    }
    if (host.downloadFile.empty()) {
        Put("File not found", errInfo, errSize);
        return false;
    }
    Put(host.downloadFile, dstFileName, dstFileNameSize);
    *dstFileNeedRemove = host.downloadRemove;
    return true;
}

bool GetCalibrationResult(const char* peer, char* fileContent, unsigned int fileContentSize,
                          char* errInfo, unsigned int errSize)
{
    if (!Enter(peer))
        return false;
    Put("Cannot get rotab center (0x81501031)", errInfo, errSize);
    return false;
}

bool GetSkipPosition(const char* peer, double* x, double* y, double* z, double* a, double* b,
                     double* c, char* errInfo, unsigned int errSize)
{
    if (!Enter(peer))
        return false;
    *x = 1.5;
    *y = -2.5;
    *z = 3;
    *a = *b = *c = 0;
    return true;
}

}  // namespace

TestHost& TestHost::Instance()
{
    static TestHost host;
    return host;
}

void TestHost::Reset()
{
    std::lock_guard<std::mutex> lock(mutex);
    rvars.assign(100, 0.0);
    for (std::size_t i = 0; i < rvars.size(); ++i)
        rvars[i] = double(i) + 0.25;
    noReceiver = false;
    callbackThreads.clear();
    events.clear();
    peers.clear();
    askedPaths.clear();
    holdCallbacks = false;
    callbacksWaiting = 0;
    callbacksReturned = 0;
    holdMessages = false;
    messagesWaiting = 0;
    messagesReturned = 0;
    uploadType = -1;
    uploadPath.clear();
    uploadContent.clear();
    uploadAnswer = true;
    downloadFile.clear();
    downloadRemove = false;
    requests.clear();
    forbiddenThread = std::this_thread::get_id();
    calledFromForbiddenThread = false;
}

void TestHost::FillTable(void** table)
{
    table[ZYN_CB_UPLOAD_FILE] = reinterpret_cast<void*>(&UploadFile);
    table[ZYN_CB_GET_JOURNALS] = reinterpret_cast<void*>(&GetJournals);
    table[ZYN_CB_REQUEST_INTERACTIVE] = reinterpret_cast<void*>(&RequestInteractive);
    table[ZYN_CB_GET_INTERACTIVE_RESULT] = reinterpret_cast<void*>(&GetInteractiveResult);
    table[ZYN_CB_SELECT_PROGRAM] = reinterpret_cast<void*>(&SelectProgram);
    table[ZYN_CB_READ_RVAR] = reinterpret_cast<void*>(&ReadRVar);
    table[ZYN_CB_WRITE_RVAR] = reinterpret_cast<void*>(&WriteRVar);
    table[ZYN_CB_SEND_MSG] = reinterpret_cast<void*>(&SendMsg);
    table[ZYN_CB_CLIENT_ACTION] = reinterpret_cast<void*>(&ClientAction);
    table[ZYN_CB_GET_LOG_FILES] = reinterpret_cast<void*>(&GetLogFiles);
    table[ZYN_CB_GET_MACHINE_CONFIGURATION] = reinterpret_cast<void*>(&GetMachineConfiguration);
    table[ZYN_CB_CHECK_FILE_EXISTS] = reinterpret_cast<void*>(&CheckFileExists);
    table[ZYN_CB_DOWNLOAD_FILE] = reinterpret_cast<void*>(&DownloadFile);
    table[ZYN_CB_GET_CALIBRATION_RESULT] = reinterpret_cast<void*>(&GetCalibrationResult);
    table[ZYN_CB_GET_SKIP_POSITION] = reinterpret_cast<void*>(&GetSkipPosition);
}

bool TestHost::WaitFor(const std::function<bool()>& pred, std::chrono::milliseconds timeout)
{
    // Some conditions are about files, which nobody announces: look again
    // now and then, not only when woken.
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    std::unique_lock<std::mutex> lock(mutex);
    while (!pred()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        changed.wait_for(lock, std::chrono::milliseconds(20));
    }
    return true;
}

std::vector<std::string> TestHost::Events()
{
    std::lock_guard<std::mutex> lock(mutex);
    return events;
}

bool TestHost::HasEvent(const std::string& prefix)
{
    for (const std::string& e : events)
        if (e.rfind(prefix, 0) == 0)
            return true;
    return false;
}
