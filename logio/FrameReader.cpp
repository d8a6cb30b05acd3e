#include "logio/FrameReader.h"

#include <cstring>

#include "logio/BinaryMessages.h"
#include "logio/ByteReader.h"
#include "logio/FrameParsers.h"
#include "platform/InputWait.h"

namespace
{
constexpr uint32_t kBinChecksumEnd = kBinHeaderSize + 2; // header and checksum, beside the payload

// The buffer is compacted only when a large frame might no longer fit behind
// the data; a Fill then mostly reads straight on without moving anything.
constexpr uint32_t kCompactCapacity = 4096;
constexpr uint32_t kMinFreeBehindData = 2048;

// Parsers in kind order: the index is the kind number.
constexpr FrameParser kParsers[kFrameKindCount] = {
    MatchPackedFrame, MatchRtcm3Frame, MatchBinFrame, MatchSiteFrame, MatchSentence,
};

inline bool IsLineEnd(uint8_t b) { return b == '\r' || b == '\n'; }
} // namespace

EMatchResult MatchBinFrame(const uint8_t* bytes, uint32_t available, uint32_t* length)
{
    static constexpr uint8_t kSync[4] = {'$', 'B', 'I', 'N'};
    const uint32_t syncAvailable = available < 4 ? available : 4;
    for (uint32_t i = 0; i < syncAvailable; ++i)
        if (bytes[i] != kSync[i])
            return eMatchNone;
    if (available < kBinChecksumEnd)
        return eMatchMore;
    const uint32_t payload = ReadU16(bytes, kBinPayloadLengthOffset);
    if (payload > kBinMaxPayload)
        return eMatchNone;
    // The line end is waited for even when the frame turns out to have none,
    // so the length given out does not depend on where a read happened to end.
    if (available < payload + kBinFrameOverhead)
        return eMatchMore;
    uint16_t sum = 0;
    const uint8_t* data = bytes + kBinHeaderSize;
    for (uint32_t i = 0; i < payload; ++i)
        sum = static_cast<uint16_t>(sum + data[i]);
    if (sum != ReadU16(bytes, kBinHeaderSize + payload))
        return eMatchNone;
    uint32_t end = payload + kBinChecksumEnd;
    if (bytes[end] == '\r')
    {
        ++end;
        if (bytes[end] == '\n')
            ++end;
    }
    if (length)
        *length = end;
    return eMatchFrame;
}

CBinFrameReader::CBinFrameReader(uint8_t* buffer, uint32_t capacity, const uint8_t enabled[kFrameKindCount])
    : m_pBuffer(buffer),
      m_uCapacity(capacity),
      m_uReadPos(0),
      m_uWritePos(0),
      m_uSkipped(0),
      m_uLastSkipped(0),
      m_bEndOfInput(0)
{
    std::memcpy(m_abEnabled, enabled, kFrameKindCount);
    std::memcpy(m_abCandidate, enabled, kFrameKindCount);
}

uint32_t CBinFrameReader::MakeRoom()
{
    if (m_uReadPos >= m_uWritePos)
        m_uReadPos = m_uWritePos = 0;
    if (m_uReadPos != 0)
    {
        const bool roomBehind = m_uCapacity >= kCompactCapacity && m_uCapacity - m_uWritePos >= kMinFreeBehindData;
        if (!roomBehind)
        {
            std::memmove(m_pBuffer, m_pBuffer + m_uReadPos, m_uWritePos - m_uReadPos);
            m_uWritePos -= m_uReadPos;
            m_uReadPos = 0;
        }
    }
    // Full even after compacting: whatever is held can't become a frame.
    if (m_uWritePos >= m_uCapacity)
        m_uReadPos = m_uWritePos = 0;
    return m_uCapacity - m_uWritePos;
}

uint32_t CBinFrameReader::Fill(std::FILE* stream)
{
    if (!stream)
        return 0;
    const uint32_t room = MakeRoom();
    const size_t got = std::fread(m_pBuffer + m_uWritePos, 1, room, stream);
    if (got == 0)
    {
        m_bEndOfInput = 1;
        return 0;
    }
    m_uWritePos += static_cast<uint32_t>(got);
    m_bEndOfInput = std::feof(stream) ? 1 : 0;
    return static_cast<uint32_t>(got);
}

uint32_t CBinFrameReader::Fill(int fd)
{
    const uint32_t room = MakeRoom();
    size_t got = 0;
    switch (ReadSome(fd, m_pBuffer + m_uWritePos, room, got))
    {
    case eReadData:
        m_uWritePos += static_cast<uint32_t>(got);
        return static_cast<uint32_t>(got);
    case eReadEnd:
        m_bEndOfInput = 1;
        return 0;
    case eReadInterrupted:
        break;
    }
    return 0;
}

bool CBinFrameReader::NextFrame(const uint8_t** frame, uint32_t* length, uint32_t* kind)
{
    SkipLineEnds();
    if (m_uReadPos >= m_uWritePos)
        return false;
    for (;;)
    {
        uint32_t frameLength = 0;
        uint32_t frameKind = kFrameKindCount;
        EMatchResult result = MatchFrame(m_pBuffer + m_uReadPos, m_uWritePos - m_uReadPos, &frameLength,
                                         m_abCandidate, &frameKind);
        // Waiting is pointless when the frame could never fit in the buffer or
        // when no more bytes will come: then the position is given up.
        if (result == eMatchMore &&
            ((m_uWritePos >= m_uCapacity && m_uReadPos == 0) || m_bEndOfInput))
            result = eMatchNone;

        if (result == eMatchFrame)
        {
            if (frame)
                *frame = m_pBuffer + m_uReadPos;
            if (length)
                *length = frameLength;
            if (kind)
                *kind = frameKind;
            m_uLastSkipped = m_uSkipped;
            m_uSkipped = 0;
            m_uReadPos += frameLength;
            ResetCandidates();
            SkipLineEnds();
            return true;
        }
        if (result == eMatchMore)
            return false; // the candidates stay narrowed for the next Fill
        ++m_uSkipped;
        ++m_uReadPos;
        ResetCandidates();
        if (m_uReadPos >= m_uWritePos)
            return false;
    }
}

void CBinFrameReader::SkipLineEnds()
{
    while (m_uReadPos < m_uWritePos && IsLineEnd(m_pBuffer[m_uReadPos]))
        ++m_uReadPos;
}

void CBinFrameReader::ResetCandidates()
{
    std::memcpy(m_abCandidate, m_abEnabled, kFrameKindCount);
}

EMatchResult CBinFrameReader::MatchFrame(const uint8_t* bytes, uint32_t available, uint32_t* length,
                                         uint8_t candidates[kFrameKindCount], uint32_t* kind)
{
    EMatchResult result = eMatchNone;
    for (uint32_t k = 0; k < kFrameKindCount; ++k)
    {
        if (!candidates[k])
            continue;
        switch (kParsers[k](bytes, available, length))
        {
        case eMatchNone:
            candidates[k] = 0; // not asked again at this position
            break;
        case eMatchMore:
            result = eMatchMore;
            break;
        case eMatchFrame:
            if (kind)
                *kind = k;
            return eMatchFrame;
        }
    }
    return result;
}
