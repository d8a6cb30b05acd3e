#include "platform/FileAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace
{
constexpr mode_t kNewFileMode = 0666; // narrowed by the user's umask

SFileInfo InfoOf(int fd, const struct stat& st)
{
    SFileInfo info;
    info.m_uDevice = static_cast<uint64_t>(st.st_dev);
    info.m_uInode = static_cast<uint64_t>(st.st_ino);
    info.m_iSize = static_cast<int64_t>(st.st_size);
    info.m_bRegular = S_ISREG(st.st_mode);
    info.m_bDirectory = S_ISDIR(st.st_mode);
    info.m_bCharDevice = S_ISCHR(st.st_mode);
    info.m_bSeekable = lseek(fd, 0, SEEK_CUR) >= 0;
    return info;
}

int Describe(int fd, SFileInfo& info)
{
    struct stat st{};
    if (fstat(fd, &st) != 0)
        return errno;
    info = InfoOf(fd, st);
    return 0;
}

// Describes a file just opened; a file that can't be described is closed
// (and removed when it was made now).
int DescribeOpened(const char* path, int& fd, bool created, SFileInfo& info)
{
    const int error = Describe(fd, info);
    if (error != 0)
    {
        close(fd);
        fd = -1;
        if (created)
            unlink(path);
    }
    return error;
}
} // namespace

int OpenForReading(const char* path, int& fd, SFileInfo& info)
{
    fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return errno;
    return DescribeOpened(path, fd, false, info);
}

int OpenForWriting(const char* path, int& fd, bool& created, SFileInfo& info)
{
    created = false;
    fd = open(path, O_RDWR | O_CLOEXEC);
    if (fd < 0 && errno == ENOENT)
    {
        // O_EXCL: a file that appears meanwhile is not claimed as new.
        fd = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kNewFileMode);
        created = fd >= 0;
    }
    if (fd < 0)
        return errno;
    const int error = DescribeOpened(path, fd, created, info);
    if (error != 0)
        created = false;
    return error;
}

bool PathExists(const char* path)
{
    struct stat st{};
    return stat(path, &st) == 0;
}

std::string ReadFileHead(int fd, size_t size)
{
    std::string head(size, '\0');
    const ssize_t got = pread(fd, head.data(), size, 0);
    head.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return head;
}

int EmptyFile(int fd)
{
    return ftruncate(fd, 0) == 0 ? 0 : errno;
}

std::FILE* StreamOverDescriptor(int fd, const char* mode)
{
    return fdopen(fd, mode);
}

void CloseDescriptor(int fd)
{
    if (fd >= 0)
        close(fd);
}

void RemovePath(const char* path)
{
    unlink(path);
}

std::string SystemReason(int error)
{
    return std::strerror(error);
}
