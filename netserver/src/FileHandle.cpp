#include "FileHandle.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

namespace {

std::string ProcLink(int fd)
{
    return "/proc/self/fd/" + std::to_string(fd);
}

}  // namespace

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept
{
    if (this != &other)
        Reset(other.Release());
    return *this;
}

int FileHandle::Release()
{
    const int fd = m_fd;
    m_fd = -1;
    return fd;
}

void FileHandle::Reset(int fd)
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = fd;
}

std::string FileHandle::RealPath() const
{
    if (m_fd < 0)
        return std::string();
    char target[PATH_MAX + 1];
    const ssize_t n = ::readlink(ProcLink(m_fd).c_str(), target, PATH_MAX);
    if (n <= 0 || n >= PATH_MAX)
        return std::string();
    // The kernel marks a file removed since it was opened; such a path
    // names nothing that could be checked.
    const std::string path(target, std::size_t(n));
    if (path.empty() || path[0] != '/')
        return std::string();
    static const std::string kDeleted = " (deleted)";
    if (path.size() > kDeleted.size()
        && path.compare(path.size() - kDeleted.size(), kDeleted.size(), kDeleted) == 0)
        return std::string();
    return path;
}

FileHandle FileHandle::Reopen(int flags) const
{
    if (m_fd < 0)
        return FileHandle();
    // The magic link leads to the open file itself, not to its name.
    return FileHandle(::open(ProcLink(m_fd).c_str(), flags | O_CLOEXEC | O_NOCTTY));
}

bool FileHandle::WriteAll(const char* data, std::size_t size) const
{
    while (size > 0) {
        const ssize_t n = ::write(m_fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        data += n;
        size -= std::size_t(n);
    }
    return true;
}
