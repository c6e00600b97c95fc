#ifndef FILEHANDLE_H
#define FILEHANDLE_H

#include <string>

// An open file descriptor that closes itself. The path fence hands these
// out so that what was checked is what is read or written: a name may be
// pointed elsewhere the moment after the check, the descriptor cannot.
class FileHandle
{
public:
    FileHandle() = default;
    explicit FileHandle(int fd) : m_fd(fd) {}
    ~FileHandle() { Reset(); }
    FileHandle(FileHandle&& other) noexcept : m_fd(other.Release()) {}
    FileHandle& operator=(FileHandle&& other) noexcept;
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    bool IsOpen() const { return m_fd >= 0; }
    int Get() const { return m_fd; }
    int Release();
    void Reset(int fd = -1);

    // Where the kernel has this descriptor's file now, links resolved;
    // empty when it cannot tell.
    std::string RealPath() const;
    // The same file opened anew with flags (for a descriptor opened only
    // to look at the file, O_PATH); never a different file of that name.
    FileHandle Reopen(int flags) const;
    // Writes all of size bytes; false on any error.
    bool WriteAll(const char* data, std::size_t size) const;

private:
    int m_fd = -1;
};

#endif
