// replay_writes: writes a file the way a conversion's flushes write its
// observation file, and prints the seconds that took. The conversion hands
// the kernel one append per epoch (the epoch before, pushed out by the
// flush) and one positioned write of the header's changed line, TIME OF LAST
// OBS. This program makes exactly those calls, with the lengths taken from a
// converted observation file, so what it measures is the cost of that write
// pattern alone, without any of the conversion's own work: the part of a
// conversion's time that no faster code can remove while the files stay
// complete at every epoch. The bytes come from one buffer that stays in the
// cache, as the conversion's line buffer does; only their number is the
// file's.
//
// usage: replay_writes OBS_FILE OUTPUT
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace
{
constexpr size_t kLineBytes = 81;
constexpr std::string_view kLastObsLabel = "TIME OF LAST OBS";
constexpr std::string_view kEndOfHeaderLabel = "END OF HEADER";

// Where the header's TIME OF LAST OBS line lies, how long the header is, and
// how long each epoch record is, from its "> " line to the next one.
struct SWritePattern
{
    size_t m_uLastObsLine = std::string::npos;
    size_t m_uHeaderBytes = 0;
    std::vector<size_t> m_aEpochBytes;
};

bool ReadPattern(const char* path, SWritePattern& pattern)
{
    std::FILE* file = std::fopen(path, "rb");
    if (!file)
        return false;
    std::string line;
    size_t at = 0;
    bool inHeader = true;
    int c = 0;
    while ((c = std::fgetc(file)) != EOF)
    {
        line.push_back(static_cast<char>(c));
        if (c != '\n')
            continue;
        if (inHeader)
        {
            if (line.find(kLastObsLabel) != std::string::npos)
                pattern.m_uLastObsLine = at;
            if (line.find(kEndOfHeaderLabel) != std::string::npos)
            {
                inHeader = false;
                pattern.m_uHeaderBytes = at + line.size();
            }
        }
        else if (line[0] == '>' || pattern.m_aEpochBytes.empty())
            pattern.m_aEpochBytes.push_back(line.size());
        else
            pattern.m_aEpochBytes.back() += line.size();
        at += line.size();
        line.clear();
    }
    std::fclose(file);
    return !inHeader && pattern.m_uLastObsLine != std::string::npos;
}

bool WriteAll(int fd, const char* data, size_t length, off_t at, bool positioned)
{
    while (length > 0)
    {
        const ssize_t n = positioned ? pwrite(fd, data, length, at) : write(fd, data, length);
        if (n <= 0)
            return false;
        data += n;
        length -= static_cast<size_t>(n);
        at += n;
    }
    return true;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: replay_writes OBS_FILE OUTPUT\n");
        return 2;
    }
    SWritePattern pattern;
    if (!ReadPattern(argv[1], pattern))
    {
        std::fprintf(stderr, "replay_writes: %s is no observation file\n", argv[1]);
        return 1;
    }
    size_t largest = std::max(pattern.m_uHeaderBytes, kLineBytes);
    for (const size_t bytes : pattern.m_aEpochBytes)
        largest = std::max(largest, bytes);
    const std::string text(largest, ' ');

    const auto start = std::chrono::steady_clock::now();
    const int fd = open(argv[2], O_CREAT | O_TRUNC | O_WRONLY, 0644);
    if (fd < 0)
    {
        std::fprintf(stderr, "replay_writes: cannot write %s\n", argv[2]);
        return 1;
    }
    bool ok = WriteAll(fd, text.data(), pattern.m_uHeaderBytes, 0, false);
    for (const size_t bytes : pattern.m_aEpochBytes)
    {
        if (!ok)
            break;
        ok = WriteAll(fd, text.data(), bytes, 0, false) &&
             WriteAll(fd, text.data(), kLineBytes, static_cast<off_t>(pattern.m_uLastObsLine), true);
    }
    ok = close(fd) == 0 && ok;
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    if (!ok)
    {
        std::fprintf(stderr, "replay_writes: writing %s failed\n", argv[2]);
        return 1;
    }
    std::printf("%.4f %zu\n", took.count(), pattern.m_aEpochBytes.size());
    return 0;
}
