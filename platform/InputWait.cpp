#include "platform/InputWait.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

EReadResult ReadSome(int fd, uint8_t* buffer, size_t size, size_t& got)
{
    got = 0;
    const ssize_t n = read(fd, buffer, size);
    if (n > 0)
    {
        got = static_cast<size_t>(n);
        return eReadData;
    }
    if (n < 0 && errno == EINTR)
        return eReadInterrupted;
    return eReadEnd;
}

bool InputReadyNow(int fd)
{
    pollfd entry{fd, POLLIN, 0};
    for (;;)
    {
        const int n = poll(&entry, 1, 0);
        if (n >= 0)
            return n > 0;
        if (errno != EINTR)
            return true; // a read will tell what is wrong
    }
}

bool IsRegularFile(int fd)
{
    struct stat st{};
    return fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
}

int64_t MonotonicMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}
