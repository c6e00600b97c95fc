#include "ServerConfig.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

std::string Trim(const std::string& s)
{
    const auto first = s.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return std::string();
    const auto last = s.find_last_not_of(" \t\r\n");
    return s.substr(first, last - first + 1);
}

std::string Lower(std::string s)
{
    for (char& c : s)
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    return s;
}

bool ParseBool(const std::string& value, bool& out)
{
    const std::string v = Lower(value);
    if (v == "on" || v == "yes" || v == "true" || v == "1") { out = true; return true; }
    if (v == "off" || v == "no" || v == "false" || v == "0") { out = false; return true; }
    return false;
}

template <class T>
bool ParseNumber(const std::string& value, T min, T max, T& out)
{
    if (value.empty() || value[0] == '-')
        return false;
    errno = 0;
    char* end = nullptr;
    const unsigned long long n = std::strtoull(value.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || n < static_cast<unsigned long long>(min)
        || n > static_cast<unsigned long long>(max))
        return false;
    out = static_cast<T>(n);
    return true;
}

std::string Resolve(const std::string& folder, const std::string& file)
{
    if (file.empty() || file[0] == '/')
        return file;
    return folder + "/" + file;
}

}  // namespace

bool ServerConfig::Load(const std::string& path, std::string& error)
{
    // Only a file that is there but cannot be read is an error: without
    // one the server runs with its defaults.
    struct stat st;
    if (stat(path.c_str(), &st) != 0 && errno == ENOENT)
        return true;
    std::ifstream in(path);
    if (!in) {
        error = "cannot read " + path;
        return false;
    }
    const auto slash = path.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash);

    std::string line;
    int lineNo = 0;
    while (std::getline(in, line)) {
        ++lineNo;
        line = Trim(line);
        if (line.empty() || line[0] == '#' || line[0] == ';')
            continue;
        const auto eq = line.find('=');
        if (eq == std::string::npos) {
            error = path + ":" + std::to_string(lineNo) + ": expected key = value";
            return false;
        }
        const std::string key = Lower(Trim(line.substr(0, eq)));
        const std::string value = Trim(line.substr(eq + 1));
        bool ok = true;
        if (key == "tls")
            ok = ParseBool(value, tls);
        else if (key == "tls_certificate")
            certificateFile = Resolve(folder, value);
        else if (key == "tls_private_key")
            privateKeyFile = Resolve(folder, value);
        else if (key == "tls_client_ca")
            clientCaFile = Resolve(folder, value);
        else if (key == "nc_folder")
            ncFolder = Resolve(folder, value);
        else if (key == "tls_client_auth") {
            const std::string v = Lower(value);
            if (v == "none") clientAuth = ClientAuth::None;
            else if (v == "request") clientAuth = ClientAuth::Request;
            else if (v == "require") clientAuth = ClientAuth::Require;
            else ok = false;
        }
        else if (key == "max_message_bytes")
            ok = ParseNumber(value, 1024, INT_MAX, maxMessageBytes);
        else if (key == "max_upload_bytes")
            ok = ParseNumber<std::uint64_t>(value, 0, UINT64_MAX, maxUploadBytes);
        else if (key == "max_download_bytes")
            ok = ParseNumber<std::uint64_t>(value, 0, UINT64_MAX, maxDownloadBytes);
        else if (key == "max_request_file_bytes")
            ok = ParseNumber(value, 16, 16 * 1024 * 1024, maxRequestFileBytes);
        else if (key == "max_r_count")
            ok = ParseNumber(value, 1, 1000000, maxRVarCount);
        else if (key == "max_text_bytes")
            ok = ParseNumber(value, 64, 16 * 1024 * 1024, maxTextBytes);
        else if (key == "max_workers")
            ok = ParseNumber(value, 1, 1024, maxWorkers);
        else if (key == "max_queued_requests")
            ok = ParseNumber(value, 1, 1000000, maxQueuedRequests);
        else if (key == "keepalive_seconds")
            ok = ParseNumber(value, 1, 86400, keepaliveSeconds);
        else if (key == "keepalive_timeout_seconds")
            ok = ParseNumber(value, 1, 3600, keepaliveTimeoutSeconds);
        else if (key == "client_idle_seconds")
            ok = ParseNumber(value, 1, 86400, clientIdleSeconds);
        else {
            error = path + ":" + std::to_string(lineNo) + ": unknown key " + key;
            return false;
        }
        if (!ok) {
            error = path + ":" + std::to_string(lineNo) + ": bad value for " + key;
            return false;
        }
    }
    if (tls && (certificateFile.empty() || privateKeyFile.empty())) {
        error = path + ": tls needs tls_certificate and tls_private_key";
        return false;
    }
    if (tls && clientAuth != ClientAuth::None && clientCaFile.empty()) {
        error = path + ": tls_client_auth needs tls_client_ca";
        return false;
    }
    return true;
}

std::string ServerConfig::DefaultPath()
{
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(&ServerConfig::DefaultPath), &info) == 0
        || !info.dli_fname)
        return "ZynNetServer.conf";
    std::string lib = info.dli_fname;
    char resolved[PATH_MAX];
    if (realpath(lib.c_str(), resolved))
        lib = resolved;
    const auto slash = lib.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : lib.substr(0, slash);
    return folder + "/ZynNetServer.conf";
}
