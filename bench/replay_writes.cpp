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
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileIo.h"

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

    // The output is a buffered stream like the conversion's: an epoch waits
    // in its buffer until the next flush, which puts it out and then writes
    // the header's line in place.
    const auto start = std::chrono::steady_clock::now();
    std::FILE* out = std::fopen(argv[2], "w+");
    if (!out)
    {
        std::fprintf(stderr, "replay_writes: cannot write %s\n", argv[2]);
        return 1;
    }
    bool ok = std::fwrite(text.data(), 1, pattern.m_uHeaderBytes, out) == pattern.m_uHeaderBytes;
    for (const size_t bytes : pattern.m_aEpochBytes)
    {
        if (!ok)
            break;
        ok = std::fwrite(text.data(), 1, bytes, out) == bytes &&
             WriteAtStreamPos(out, static_cast<StreamPos>(pattern.m_uLastObsLine), text.data(), kLineBytes);
    }
    ok = std::fclose(out) == 0 && ok;
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    if (!ok)
    {
        std::fprintf(stderr, "replay_writes: writing %s failed\n", argv[2]);
        return 1;
    }
    std::printf("%.4f %zu\n", took.count(), pattern.m_aEpochBytes.size());
    return 0;
}
