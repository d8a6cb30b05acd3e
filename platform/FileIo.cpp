#include "platform/FileIo.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

static_assert(sizeof(off_t) >= 8, "file offsets must be 64-bit");

StreamPos GetStreamPos(std::FILE* stream)
{
    return static_cast<StreamPos>(ftello(stream));
}

bool SetStreamPos(std::FILE* stream, StreamPos pos)
{
    return fseeko(stream, static_cast<off_t>(pos), SEEK_SET) == 0;
}

bool WriteAtStreamPos(std::FILE* stream, StreamPos pos, const char* data, size_t length)
{
    if (std::fflush(stream) != 0)
        return false;
    const int fd = fileno(stream);
    while (length > 0)
    {
        const ssize_t n = pwrite(fd, data, length, static_cast<off_t>(pos));
        if (n <= 0)
            return false;
        data += n;
        length -= static_cast<size_t>(n);
        pos += n;
    }
    return true;
}

bool TruncateAtStreamPos(std::FILE* stream)
{
    if (std::fflush(stream) != 0)
        return false;
    const off_t at = ftello(stream);
    if (at < 0)
        return false;
    struct stat st{};
    if (fstat(fileno(stream), &st) == 0 && !S_ISREG(st.st_mode))
        return true;
    return ftruncate(fileno(stream), at) == 0;
}
