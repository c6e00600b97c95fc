#include "PathPolicy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
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

std::string RealOrSame(const std::string& path)
{
    char resolved[PATH_MAX];
    return realpath(path.c_str(), resolved) ? std::string(resolved) : path;
}

std::string WithoutTrailingSlashes(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

grpc::Status Invalid(const std::string& text)
{
    return grpc::Status(grpc::StatusCode::INVALID_ARGUMENT, text);
}

}  // namespace

PathPolicy::PathPolicy(const std::string& applDir, const std::string& ncFolder)
    : m_applDir(WithoutTrailingSlashes(Slashes(applDir))),
      m_ncFolder(ncFolder.empty() ? std::string() : WithoutTrailingSlashes(ncFolder))
{
    m_realRoots.push_back(RealOrSame(m_applDir));
    if (!m_ncFolder.empty())
        m_realRoots.push_back(RealOrSame(m_ncFolder));
}

bool PathPolicy::Inside(const std::string& real) const
{
    if (real.empty())
        return false;
    for (const std::string& root : m_realRoots)
        if (real == root || StartsWithFolder(real, root))
            return true;
    return false;
}

grpc::Status PathPolicy::Denied(const std::string& shown) const
{
    return grpc::Status(grpc::StatusCode::PERMISSION_DENIED,
                        shown + " lies outside the served folders");
}

bool PathPolicy::HostPath(const std::string& normalized, std::string& host) const
{
    if (IsNcPath(normalized)) {
        if (m_ncFolder.empty())
            return false;
        host = m_ncFolder + normalized.substr(4);
        return true;
    }
    host = normalized;
    return true;
}

grpc::Status PathPolicy::Fence(const std::string& shown, const std::string& host,
                               FileHandle* file) const
{
    // The kernel's own walk, links and links to links included; what it
    // reached is judged by where it really lies.
    std::string probe = host;
    for (bool first = true;; first = false) {
        FileHandle opened(::open(probe.c_str(), O_PATH | O_CLOEXEC));
        if (opened.IsOpen()) {
            if (!Inside(opened.RealPath()))
                return Denied(shown);
            // What does not exist yet is judged by the nearest folder that
            // does: that is where it would be made.
            if (first && file)
                *file = std::move(opened);
            return grpc::Status::OK;
        }
        const int error = errno;
        if (first && error != ENOENT && error != ENOTDIR)
            return Denied(shown);  // a loop of links, a folder we may not look into
        struct stat st;
        if (::lstat(probe.c_str(), &st) == 0 && S_ISLNK(st.st_mode))
            return Denied(shown);  // a link into nothing: where it leads is not ours to vouch for
        probe = WithoutTrailingSlashes(probe);
        const std::size_t slash = probe.find_last_of('/');
        if (slash == std::string::npos || slash == 0)
            return Denied(shown);
        probe.erase(slash);
    }
}

grpc::Status PathPolicy::CheckServedPath(const std::string& path, std::string& normalized,
                                         FileHandle* file, std::string* hostPath) const
{
    if (file)
        file->Reset();
    if (hostPath)
        hostPath->clear();
    if (path.empty())
        return Invalid("path is empty");
    if (path.size() > kMaxPath)
        return Invalid("path is longer than " + std::to_string(kMaxPath) + " bytes");
    if (HasControl(path))
        return Invalid("path holds control characters");
    normalized = Slashes(path);
    if (HasDotComponent(normalized))
        return Invalid("path must not hold '.' or '..' components");
    const bool local = normalized[0] == '/' && normalized[1] != '/'
        && (StartsWithFolder(normalized, m_applDir) || StartsWithFolder(normalized, m_realRoots.front()));
    if (!IsNcPath(normalized) && !local)
        return grpc::Status(grpc::StatusCode::PERMISSION_DENIED,
                            "only the NC file system (//NC/...) and " + m_applDir + " are served");
    std::string host;
    if (!HostPath(normalized, host))
        return grpc::Status::OK;  // the NC's own file service answers for it
    if (hostPath)
        *hostPath = host;
    return Fence(normalized, host, file);
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

grpc::Status PathPolicy::OpenLocalFile(const std::string& path, FileHandle& file) const
{
    file.Reset();
    if (path.empty() || path[0] != '/')
        return grpc::Status(grpc::StatusCode::INTERNAL, "the machine named no local file");
    return Fence(path, path, &file);
}

grpc::Status PathPolicy::CreateFile(const std::string& folder, const std::string& name,
                                    FileHandle& file) const
{
    file.Reset();
    const grpc::Status valid = CheckFileName(name, "file");
    if (!valid.ok())
        return valid;
    FileHandle dir(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!dir.IsOpen())
        return grpc::Status(grpc::StatusCode::INTERNAL, "cannot open the folder " + folder);
    if (!Inside(dir.RealPath()))
        return Denied(folder);
    // Made in the folder just checked; an existing name, a link included,
    // is not written through.
    file.Reset(::openat(dir.Get(), name.c_str(),
                        O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY, 0600));
    if (!file.IsOpen())
        return grpc::Status(grpc::StatusCode::INTERNAL,
                            "cannot create " + name + " in " + folder);
    return grpc::Status::OK;
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
