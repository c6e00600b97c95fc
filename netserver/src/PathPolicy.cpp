#include "PathPolicy.h"

#include <climits>
#include <cstdlib>

namespace {

constexpr std::size_t kMaxPath = 1024;
constexpr std::size_t kMaxName = 255;

std::string Slashes(std::string s)
{
    for (char& c : s)
        if (c == '\\')
            c = '/';
    return s;
}

bool HasControl(const std::string& s)
{
    for (unsigned char c : s)
        if (c < 0x20 || c == 0x7F)
            return true;
    return false;
}

bool HasDotComponent(const std::string& path)
{
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string::npos)
            end = path.size();
        const std::string part = path.substr(start, end - start);
        if (part == "." || part == "..")
            return true;
        start = end + 1;
    }
    return false;
}

bool IsNcPath(const std::string& path)
{
    return path.size() > 5 && path[0] == '/' && path[1] == '/' && (path[2] == 'N' || path[2] == 'n')
        && (path[3] == 'C' || path[3] == 'c') && path[4] == '/';
}

bool StartsWithFolder(const std::string& path, const std::string& folder)
{
    return path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0
        && path[folder.size()] == '/';
}

grpc::Status Invalid(const std::string& text)
{
    return grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, text);
}

}  // namespace

PathPolicy::PathPolicy(const std::string& applDir)
    : m_applDir(Slashes(applDir))
{
    while (m_applDir.size() > 1 && m_applDir.back() == '/')
        m_applDir.pop_back();
    char resolved[PATH_MAX];
    m_realApplDir = realpath(m_applDir.c_str(), resolved) ? std::string(resolved) : m_applDir;
}

bool PathPolicy::InsideApplDir(const std::string& path) const
{
    if (!StartsWithFolder(path, m_applDir))
        return false;
    // A symbolic link inside the folder must not lead out of it. What does
    // not exist yet is judged by its folder.
    std::string probe = path;
    char resolved[PATH_MAX];
    while (!probe.empty()) {
        if (realpath(probe.c_str(), resolved)) {
            const std::string real = resolved;
            return real == m_realApplDir || StartsWithFolder(real, m_realApplDir);
        }
        const auto slash = probe.find_last_of('/');
        if (slash == std::string::npos || slash == 0)
            break;
        probe.erase(slash);
    }
    return false;
}

grpc::Status PathPolicy::CheckServedPath(const std::string& path, std::string& normalized) const
{
    if (path.empty())
        return Invalid("path is empty");
    if (path.size() > kMaxPath)
        return Invalid("path is longer than " + std::to_string(kMaxPath) + " bytes");
    if (HasControl(path))
        return Invalid("path holds control characters");
    normalized = Slashes(path);
    if (HasDotComponent(normalized))
        return Invalid("path must not hold '.' or '..' components");
    if (IsNcPath(normalized))
        return grpc::Status::OK;
    if (normalized[0] == '/' && normalized[1] != '/' && InsideApplDir(normalized))
        return grpc::Status::OK;
    return grpc::Status(grpc::StatusCode::PERMISSION_DENIED,
                        "only the NC file system (//NC/...) and " + m_applDir + " are served");
}

grpc::Status PathPolicy::CheckProgram(const std::string& program, std::string& normalized) const
{
    if (program.find('/') == std::string::npos && program.find('\\') == std::string::npos) {
        const grpc::Status status = CheckFileName(program, "program");
        normalized = program;
        return status;
    }
    return CheckServedPath(program, normalized);
}

grpc::Status PathPolicy::CheckFileName(const std::string& name, const char* what)
{
    const std::string label = what;
    if (name.empty())
        return Invalid(label + " name is empty");
    if (name.size() > kMaxName)
        return Invalid(label + " name is longer than " + std::to_string(kMaxName) + " bytes");
    if (HasControl(name))
        return Invalid(label + " name holds control characters");
    if (name.find('/') != std::string::npos || name.find('\\') != std::string::npos)
        return Invalid(label + " name must not hold a folder");
    if (name.find("..") != std::string::npos || name == ".")
        return Invalid(label + " name must not hold '..'");
    return grpc::Status::OK;
}
