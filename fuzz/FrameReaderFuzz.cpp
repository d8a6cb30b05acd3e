// Fuzz target: the frame reader and the five frame parsers.
//
// 1. Each parser is asked about every prefix of the input (up to a bound) and
//    about the whole of it, from a heap copy of exactly that many bytes, so a
//    read past `available` is caught by the address sanitizer. The reader
//    strikes a kind out at a position for good once it answers "none", and
//    keeps a frame it has found, so the answers must not change their mind
//    when more bytes arrive: "none" stays "none" and a frame keeps its length.
// 2. The input, taken as a log, goes through CBinFrameReader as the
//    conversion loop drives it (Fill, then NextFrame until it has nothing),
//    once with the loop's own buffer of 16384 bytes and once with a small
//    buffer chosen by the first input byte. Every delivered frame must lie
//    inside the bytes read, start with its kind's start bytes and pass its
//    parser on its own bytes. As long as no sentence is longer than the small
//    buffer, both runs must deliver the same frames. (The counts of skipped
//    bytes may differ: a line end that a damaged stretch ends on counts as
//    skipped, unless a read ended just in front of it.)

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "fuzz/FuzzCheck.h"
#include "logio/FrameParsers.h"
#include "logio/FrameReader.h"

namespace
{
constexpr uint32_t kLoopCapacity = 16384;
// Every frame but a sentence fits 2050 bytes; the small buffers hold that.
constexpr uint32_t kSmallestCapacity = 2051;
// Prefixes up to this length are all tried; beyond it only the whole input.
constexpr uint32_t kPrefixBound = 96;

constexpr FrameParser kParsers[kFrameKindCount] = {
    MatchPackedFrame, MatchRtcm3Frame, MatchBinFrame, MatchSiteFrame, MatchSentence,
};

struct SAnswer
{
    EMatchResult m_eResult;
    uint32_t m_uLength;
};

// One parser on exactly `available` bytes of a fresh heap block.
SAnswer Ask(FrameParser parser, const uint8_t* bytes, uint32_t available)
{
    std::vector<uint8_t> copy(bytes, bytes + available);
    constexpr uint32_t kUntouched = 0xA5A5A5A5u;
    uint32_t length = kUntouched;
    const EMatchResult result = parser(copy.data(), available, &length);
    FUZZ_CHECK(result == eMatchNone || result == eMatchMore || result == eMatchFrame);
    if (result != eMatchFrame)
        FUZZ_CHECK(length == kUntouched); // written only with a frame
    else
        FUZZ_CHECK(length >= 1 && length <= available);
    FUZZ_CHECK(parser(copy.data(), available, nullptr) == result); // a null length is allowed
    return {result, result == eMatchFrame ? length : 0};
}

void CheckParsers(const uint8_t* data, uint32_t size)
{
    for (FrameParser parser : kParsers)
    {
        FUZZ_CHECK(parser(data, 0, nullptr) == eMatchMore);
        SAnswer previous{eMatchMore, 0};
        const uint32_t last = size < kPrefixBound ? size : kPrefixBound;
        for (uint32_t available = 1; available <= size; ++available)
        {
            if (available > last && available != size)
                continue;
            const SAnswer answer = Ask(parser, data, available);
            if (previous.m_eResult == eMatchNone)
                FUZZ_CHECK(answer.m_eResult == eMatchNone);
            if (previous.m_eResult == eMatchFrame)
                FUZZ_CHECK(answer.m_eResult == eMatchFrame && answer.m_uLength == previous.m_uLength);
            previous = answer;
        }
    }
}

bool StartsLikeKind(const uint8_t* frame, uint32_t length, uint32_t kind)
{
    switch (kind)
    {
    case eFramePacked:
        return frame[0] == 'I';
    case eFrameRtcm3:
        return frame[0] == 0xD3;
    case eFrameBin:
        return length >= 10 && std::memcmp(frame, "$BIN", 4) == 0;
    case eFrameSite:
        return length >= 8 && frame[0] == 0xB7 && frame[1] == 0x59;
    case eFrameSentence:
        return frame[0] == '$' && (frame[length - 1] == '\r' || frame[length - 1] == '\n');
    default:
        return false;
    }
}

struct SDelivered
{
    uint32_t m_uKind;
    std::vector<uint8_t> m_aBytes;
    bool operator==(const SDelivered&) const = default;
};

std::vector<SDelivered> ReadAll(const uint8_t* data, size_t size, uint32_t capacity)
{
    std::vector<SDelivered> frames;
    // fmemopen refuses an empty buffer on some C libraries; a temporary file never does.
    std::FILE* stream = std::tmpfile();
    FUZZ_CHECK(stream != nullptr);
    if (size != 0)
        FUZZ_CHECK(std::fwrite(data, 1, size, stream) == size);
    std::rewind(stream);

    std::vector<uint8_t> buffer(capacity);
    const uint8_t enabled[kFrameKindCount] = {1, 1, 1, 1, 1};
    CBinFrameReader reader(buffer.data(), capacity, enabled);
    // As the conversion loop does it: until the input's end.
    while (!std::feof(stream) && !std::ferror(stream))
    {
        reader.Fill(stream);
        FUZZ_CHECK(reader.m_uReadPos <= reader.m_uWritePos && reader.m_uWritePos <= reader.m_uCapacity);
        const uint8_t* frame = nullptr;
        uint32_t length = 0;
        uint32_t kind = 0;
        while (reader.NextFrame(&frame, &length, &kind))
        {
            FUZZ_CHECK(reader.m_uReadPos <= reader.m_uWritePos && reader.m_uWritePos <= reader.m_uCapacity);
            FUZZ_CHECK(kind < kFrameKindCount && length >= 1);
            FUZZ_CHECK(frame >= buffer.data() && frame + length <= buffer.data() + reader.m_uWritePos);
            FUZZ_CHECK(StartsLikeKind(frame, length, kind));
            // A frame is whole on its own bytes; a "$BIN" frame needs its two
            // line-end bytes in view, which the reader always had.
            const uint32_t inView = static_cast<uint32_t>(buffer.data() + reader.m_uWritePos - frame);
            FUZZ_CHECK(kParsers[kind](frame, inView, nullptr) == eMatchFrame);
            frames.push_back({kind, std::vector<uint8_t>(frame, frame + length)});
        }
        FUZZ_CHECK(reader.m_uReadPos <= reader.m_uWritePos && reader.m_uWritePos <= reader.m_uCapacity);
    }
    std::fclose(stream);
    return frames;
}

// The longest stretch a sentence could claim: from a "$" to the byte that
// settles it (a line end, a NUL, "BIN" behind the "$") or to the input's end.
size_t LongestSentenceSpan(const uint8_t* data, size_t size)
{
    size_t longest = 0;
    for (size_t start = 0; start < size; ++start)
    {
        if (data[start] != '$')
            continue;
        size_t end = start + 1;
        while (end < size && data[end] != '\r' && data[end] != '\n' && data[end] != 0)
        {
            if (end == start + 3 && data[start + 1] == 'B' && data[start + 2] == 'I' && data[end] == 'N')
                break;
            ++end;
        }
        longest = end - start + 1 > longest ? end - start + 1 : longest;
        if (longest > kLoopCapacity)
            break;
    }
    return longest;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
    {
        FUZZ_CHECK(ReadAll(data, size, kLoopCapacity).empty());
        return 0;
    }
    CheckParsers(data + 1, static_cast<uint32_t>(size - 1));

    // Small buffers from 2051 up to 6131 bytes: below and above the 4096 at
    // which Fill stops compacting on every call.
    const uint32_t small = kSmallestCapacity + 16u * data[0];
    const std::vector<SDelivered> large = ReadAll(data + 1, size - 1, kLoopCapacity);
    const std::vector<SDelivered> other = ReadAll(data + 1, size - 1, small);
    if (LongestSentenceSpan(data + 1, size - 1) < small)
        FUZZ_CHECK(large == other);
    return 0;
}
