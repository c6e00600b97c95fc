#include "TestHost.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace {

TestHost& Host() { return TestHost::Instance(); }

bool Put(const std::string& text, char* buffer, unsigned int size, bool result = false)
{
    if (buffer && size > 0) {
        const std::size_t n = text.size() < size - 1 ? text.size() : size - 1;
        std::memcpy(buffer, text.data(), n);
        buffer[n] = '\0';
    }
    return result;
}

// Every callback starts here: record who calls.
void Enter(const char* peer)
{
    std::unique_lock<std::mutex> lock(Host().mutex);
    if (Host().holdCallbacks) {
        ++Host().callbacksWaiting;
        Host().changed.notify_all();
        Host().changed.wait(lock, [] { return !Host().holdCallbacks; });
        --Host().callbacksWaiting;
        ++Host().callbacksReturned;
        Host().changed.notify_all();
    }
    if (std::this_thread::get_id() == Host().forbiddenThread)
        Host().calledFromForbiddenThread = true;
    if (peer)
        Host().peers.emplace_back(peer);
}

bool Record(const std::string& event)
{
    Enter(nullptr);
    {
        std::lock_guard<std::mutex> lock(Host().mutex);
        Host().events.push_back(event);
    }
    Host().changed.notify_all();
    return true;
}

bool UploadFile(const char* peer, int fileType, const char* filePath, char*, unsigned int)
{
    Enter(peer);
    std::ostringstream content;
    content << std::ifstream(filePath, std::ios::binary).rdbuf();
    std::lock_guard<std::mutex> lock(Host().mutex);
    Host().uploadType = fileType;
    Host().uploadPath = filePath;
    Host().uploadContent = content.str();
    return true;
}

void GetJournals(const char* peer, const char* resultFile, bool succeeded)
{
    Record(std::string("journal ") + peer + " " + resultFile + " " + (succeeded ? "1" : "0"));
}

bool RequestInteractive(const char* peer, const char*, const char* receivedFile, char* errInfo,
                        unsigned int errSize)
{
    Enter(peer);
    const std::string path = receivedFile;
    const std::string renamed = path.substr(0, path.find_last_of('.')) + ".req";
    if (std::rename(receivedFile, renamed.c_str()) != 0)
        return Put("Cannot rename file", errInfo, errSize);
    {
        std::lock_guard<std::mutex> lock(Host().mutex);
        Host().requests.push_back(renamed);
    }
    Host().changed.notify_all();
    return Put("", errInfo, errSize, true);
}

bool SelectProgram(const char* peer, const char* prgFileName, char* errInfo, unsigned int errSize)
{
    Enter(peer);
    if (std::strstr(prgFileName, "MISSING"))
        return Put("Program does not exist", errInfo, errSize);
    return true;
}

bool InRange(int index, int count, char* errInfo, unsigned int errSize)
{
    const int total = int(Host().rvars.size());
    if (index >= 0 && count >= 1 && index + count <= total)
        return true;
    return Put("Address out of range [0, " + std::to_string(total - 1) + "]", errInfo, errSize);
}

bool ReadRVar(const char* peer, int index, int count, double* values, char* errInfo,
              unsigned int errSize)
{
    Enter(peer);
    std::lock_guard<std::mutex> lock(Host().mutex);
    if (!InRange(index, count, errInfo, errSize))
        return false;
    for (int i = 0; i < count; ++i)
        values[i] = Host().rvars[std::size_t(index + i)];
    return true;
}

bool WriteRVar(const char* peer, int index, int count, const double* values, char* errInfo,
               unsigned int errSize)
{
    Enter(peer);
    std::lock_guard<std::mutex> lock(Host().mutex);
    if (!InRange(index, count, errInfo, errSize))
        return false;
    for (int i = 0; i < count; ++i)
        Host().rvars[std::size_t(index + i)] = values[i];
    return true;
}

bool SendMsg(const char* peer, unsigned long long id, int, int, const char* messageText,
             const char* inputName, int* clickedButton, char* inputValue,
             unsigned int inputValueSize, char*, unsigned int)
{
    Enter(peer);
    *clickedButton = int(id % 7);
    return Put(std::string("typed:") + messageText + "/" + inputName, inputValue, inputValueSize,
               true);
}

bool ClientAction(const char* peer, const char* callMethodName, int actionType)
{
    return Record(std::string(actionType == ZYN_CLIENT_DISCONNECTED ? "gone " : "connect ") + peer
                  + " " + callMethodName);
}

bool GetLogFiles(const char* peer, const char* logFileName, int sendState)
{
    return Record(std::string("log ") + peer + " " + logFileName + " " + std::to_string(sendState));
}

bool GetMachineConfiguration(const char* peer, char* fileContent, unsigned int fileContentSize,
                             char*, unsigned int)
{
    Enter(peer);
    // The plug-in cuts at the buffer's size, possibly inside a character.
    std::string doc = "<?xml version=\"1.0\" encoding=\"utf-8\"?><Machine><Model>\xC3\xA4</Model>";
    doc += std::string(fileContentSize, 'x');
    doc.replace(fileContentSize - 2, 2, "\xC3\xA4");
    return Put(doc, fileContent, fileContentSize, true);
}

bool CheckFileExists(const char* peer, const char* fileName, bool* isExists, char*, unsigned int)
{
    Enter(peer);
    *isExists = bool(std::ifstream(fileName)) || std::string(fileName).rfind("//NC/", 0) == 0;
    return true;
}

bool DownloadFile(const char* peer, const char* srcFileName, char* dstFileName,
                  unsigned int dstFileNameSize, bool* dstFileNeedRemove, char* errInfo,
                  unsigned int errSize)
{
    Enter(peer);
    // Like the plug-in, a local file is sent from where it lies.
    if (!std::ifstream(srcFileName))
        return Put("File not found", errInfo, errSize);
    *dstFileNeedRemove = false;
    return Put(srcFileName, dstFileName, dstFileNameSize, true);
}

bool GetCalibrationResult(const char* peer, char*, unsigned int, char* errInfo,
                          unsigned int errSize)
{
    Enter(peer);
    return Put("Cannot get rotab center (0x81501031)", errInfo, errSize);
}

bool GetSkipPosition(const char* peer, double* x, double* y, double* z, double* a, double* b,
                     double* c, char*, unsigned int)
{
    *x = 1.5;
    *y = -2.5;
    *z = 3;
    *a = *b = *c = 0;
    Enter(peer);
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
    rvars.resize(100);
    for (std::size_t i = 0; i < rvars.size(); ++i)
        rvars[i] = double(i) + 0.25;
    holdCallbacks = false;
    callbacksWaiting = callbacksReturned = 0;
    events.clear();
    peers.clear();
    uploadType = -1;
    uploadPath.clear();
    uploadContent.clear();
    requests.clear();
    forbiddenThread = std::this_thread::get_id();
    calledFromForbiddenThread = false;
}

void TestHost::FillTable(void** table)
{
    table[ZYN_CB_UPLOAD_FILE] = reinterpret_cast<void*>(&UploadFile);
    table[ZYN_CB_GET_JOURNALS] = reinterpret_cast<void*>(&GetJournals);
    table[ZYN_CB_REQUEST_INTERACTIVE] = reinterpret_cast<void*>(&RequestInteractive);
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

bool TestHost::HasEvent(const std::string& prefix, const std::string& part)
{
    for (const std::string& e : events)
        if (e.rfind(prefix, 0) == 0 && e.find(part) != std::string::npos)
            return true;
    return false;
}
