#pragma once

// Helpers shared by the log input tests: exact-size copies (so that AddressSanitizer
// sees any read past the bytes a parser was given), log streams, and a driver
// that runs a reader over a whole log the way the conversion loop does.

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "logbuild/FrameWriter.h"
#include "logio/FrameParsers.h"
#include "logio/FrameReader.h"

inline constexpr uint8_t kAllKinds[kFrameKindCount] = {1, 1, 1, 1, 1};

inline FrameParser ParserOfKind(uint32_t kind)
{
    static constexpr FrameParser kParsers[kFrameKindCount] = {MatchPackedFrame, MatchRtcm3Frame, MatchBinFrame,
                                                              MatchSiteFrame, MatchSentence};
    return kParsers[kind];
}

// Runs `parser` on a heap copy of exactly the first `available` bytes.
inline EMatchResult MatchExact(FrameParser parser, const Bytes& bytes, size_t available, uint32_t* length)
{
    std::unique_ptr<uint8_t[]> copy(new uint8_t[available]);
    if (available)
        std::memcpy(copy.get(), bytes.data(), available);
    return parser(copy.get(), static_cast<uint32_t>(available), length);
}

using LogStream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

inline LogStream OpenLogStream(const Bytes& log)
{
    LogStream stream(std::tmpfile(), &std::fclose);
    if (!log.empty())
        std::fwrite(log.data(), 1, log.size(), stream.get());
    std::rewind(stream.get());
    return stream;
}

inline Bytes Concat(std::initializer_list<Bytes> pieces)
{
    Bytes log;
    for (const Bytes& piece : pieces)
        AppendBytes(log, piece);
    return log;
}

inline Bytes Text(const std::string& text) { return Bytes(text.begin(), text.end()); }

// Payload bytes that vary, so that sums and checks see more than zeros.
inline Bytes Pattern(size_t size, uint8_t seed)
{
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(seed + i * 37);
    return bytes;
}

struct SDelivered
{
    Bytes m_aBytes;
    uint32_t m_uKind;
    uint32_t m_uLastSkipped;
    bool operator==(const SDelivered&) const = default;
};

struct SReaderRun
{
    std::vector<SDelivered> m_aFrames;
    uint32_t m_uSkippedAtEnd = 0;
    std::string m_szFault; // first broken reader invariant, empty if none
};

// Fill, then NextFrame until it returns false, until the input has ended.
// Every delivery is checked to lie inside the bytes read so far and to pass its
// own parser again at the same place.
inline SReaderRun ReadWholeLog(const Bytes& log, uint32_t capacity, const uint8_t* enabled = kAllKinds)
{
    SReaderRun run;
    LogStream stream = OpenLogStream(log);
    std::unique_ptr<uint8_t[]> buffer(new uint8_t[capacity]);
    CBinFrameReader reader(buffer.get(), capacity, enabled);
    auto fault = [&](const std::string& what) {
        if (run.m_szFault.empty())
            run.m_szFault = what + " after " + std::to_string(run.m_aFrames.size()) + " frames";
    };
    while (!reader.m_bEndOfInput)
    {
        reader.Fill(stream.get());
        const uint8_t* frame = nullptr;
        uint32_t length = 0;
        uint32_t kind = 0;
        while (reader.NextFrame(&frame, &length, &kind))
        {
            const uint8_t* written = reader.m_pBuffer + reader.m_uWritePos;
            if (kind >= kFrameKindCount || !enabled[kind])
                fault("kind " + std::to_string(kind) + " delivered");
            else if (frame < reader.m_pBuffer || length == 0 || frame + length > written)
                fault("frame outside the written bytes");
            else
            {
                uint32_t again = 0;
                const auto available = static_cast<uint32_t>(written - frame);
                if (ParserOfKind(kind)(frame, available, &again) != eMatchFrame || again != length)
                    fault("frame not confirmed by its parser");
            }
            run.m_aFrames.push_back({Bytes(frame, frame + length), kind, reader.m_uLastSkipped});
        }
        if (reader.m_uReadPos > reader.m_uWritePos || reader.m_uWritePos > reader.m_uCapacity)
            fault("positions out of order");
    }
    if (reader.m_uReadPos != reader.m_uWritePos)
        fault("bytes left unconsumed at the end of the input");
    run.m_uSkippedAtEnd = reader.m_uSkipped;
    return run;
}
