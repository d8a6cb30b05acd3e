#include "logio/FrameParsers.h"

#include "logio/BitReader.h"
#include "logio/Crc.h"

// Each parser is asked at every byte of a damaged stretch, so each one turns a
// wrong first byte down before anything else, and only a plausible start gets
// as far as the length and the check.

namespace
{
constexpr uint8_t kSiteSync0 = 0xB7;
constexpr uint8_t kSiteSync1 = 0x59;
constexpr uint32_t kSiteHeaderSize = 6;  // sync, class, identifier, length
constexpr uint32_t kSiteMaxPayload = 2040;

constexpr uint8_t kRtcm3Preamble = 0xD3;
constexpr uint32_t kRtcm3HeaderSize = 3;  // preamble, spare bits and length
constexpr uint32_t kRtcm3CrcSize = 3;
constexpr uint32_t kRtcm3LengthBit = 14;  // behind the preamble and six spare bits

constexpr uint8_t kPackedStart = 'I';
constexpr uint32_t kPackedHeaderBytes = 4;  // the longest bit-packed header
constexpr uint32_t kPackedMaxSpan = 2047;   // covered bytes plus the check

// A prefix of one or two bits (0, 10 or 11) selects one of three field widths.
uint32_t ReadPrefix(const uint8_t* bytes, uint32_t& position)
{
    if (ReadBits(bytes, position, 1) == 0)
        return 0;
    return ReadBits(bytes, position, 1) == 0 ? 1 : 2;
}
} // namespace

EMatchResult MatchSiteFrame(const uint8_t* bytes, uint32_t available, uint32_t* length)
{
    if (available >= 1 && bytes[0] != kSiteSync0)
        return eMatchNone;
    if (available >= 2 && bytes[1] != kSiteSync1)
        return eMatchNone;
    if (available < kSiteHeaderSize + 2)
        return eMatchMore;
    const uint32_t payload = static_cast<uint32_t>(bytes[4]) | (static_cast<uint32_t>(bytes[5]) << 8);
    if (payload > kSiteMaxPayload)
        return eMatchNone;
    const uint32_t total = kSiteHeaderSize + payload + 2;
    if (available < total)
        return eMatchMore;
    // The check covers class, identifier, length and payload; it is stored
    // high byte first, unlike the length.
    const uint16_t stored = static_cast<uint16_t>((bytes[kSiteHeaderSize + payload] << 8) |
                                                  bytes[kSiteHeaderSize + payload + 1]);
    if (Crc16X25(bytes + 2, payload + 4) != stored)
        return eMatchNone;
    if (length)
        *length = total;
    return eMatchFrame;
}

EMatchResult MatchSentence(const uint8_t* bytes, uint32_t available, uint32_t* length)
{
    if (available == 0)
        return eMatchMore;
    if (bytes[0] != '$')
        return eMatchNone;
    for (uint32_t i = 1; i < available; ++i)
    {
        const uint8_t b = bytes[i];
        if (b == 0)
            return eMatchNone;
        // A "$BIN" frame that failed its own check must not come out as text.
        if (i == 3 && bytes[1] == 'B' && bytes[2] == 'I' && b == 'N')
            return eMatchNone;
        if (b == '\r' || b == '\n')
        {
            // One line-end character only: the LF of a CR LF pair is left to
            // the reader's line-end skipping.
            if (length)
                *length = i + 1;
            return eMatchFrame;
        }
    }
    return eMatchMore;
}

EMatchResult MatchRtcm3Frame(const uint8_t* bytes, uint32_t available, uint32_t* length)
{
    if (available == 0)
        return eMatchMore;
    if (bytes[0] != kRtcm3Preamble)
        return eMatchNone;
    if (available < kRtcm3HeaderSize + kRtcm3CrcSize)
        return eMatchMore;
    // The six bits above the length are not looked at: receivers disagree on
    // them, and the check decides anyway.
    uint32_t position = kRtcm3LengthBit;
    const uint32_t payload = ReadBits(bytes, position, 10);
    const uint32_t total = kRtcm3HeaderSize + payload + kRtcm3CrcSize;
    if (available < total)
        return eMatchMore;
    const uint8_t* crc = bytes + kRtcm3HeaderSize + payload;
    const uint32_t stored = (static_cast<uint32_t>(crc[0]) << 16) | (static_cast<uint32_t>(crc[1]) << 8) | crc[2];
    if (Crc24Q(bytes, kRtcm3HeaderSize + payload) != stored)
        return eMatchNone;
    if (length)
        *length = total;
    return eMatchFrame;
}

EMatchResult MatchPackedFrame(const uint8_t* bytes, uint32_t available, uint32_t* length)
{
    if (available == 0)
        return eMatchMore;
    if (bytes[0] != kPackedStart)
        return eMatchNone;
    if (available < 1 + kPackedHeaderBytes)
        return eMatchMore;

    // The header is read from bit 8, behind the "I"; all of it lies within the
    // four bytes checked for above.
    uint32_t position = 8;
    static constexpr uint32_t kFirstFieldBits[3] = {6, 8, 11};
    position += kFirstFieldBits[ReadPrefix(bytes, position)];

    uint32_t covered = 0;
    switch (ReadPrefix(bytes, position))
    {
    case 0:
        covered = ReadBits(bytes, position, 8);
        break;
    case 1:
        covered = ReadBits(bytes, position, 10) + 256;
        break;
    default:
        covered = ReadBits(bytes, position, 13) + 1280;
        break;
    }

    uint32_t checkType = ReadBits(bytes, position, 2);
    if (checkType == 3)
        checkType += ReadBits(bytes, position, 2);
    static constexpr uint32_t kCheckSize[3] = {1, 2, 4};
    if (checkType > 2)
        return eMatchNone;
    const uint32_t checkSize = kCheckSize[checkType];
    if (covered > kPackedMaxSpan - checkSize)
        return eMatchNone;
    const uint32_t total = 1 + covered + checkSize;
    if (available < total)
        return eMatchMore;

    // The check covers the bytes from offset 1, header included, and is
    // stored most significant byte first.
    const uint8_t* data = bytes + 1;
    uint32_t stored = 0;
    for (uint32_t i = 0; i < checkSize; ++i)
        stored = (stored << 8) | data[covered + i];
    uint32_t computed = 0;
    if (checkType == 0)
        computed = Crc8(data, covered);
    else if (checkType == 1)
        computed = Crc16Xmodem(data, covered);
    else
        computed = Crc32Bzip2(data, covered);
    if (computed != stored)
        return eMatchNone;
    if (length)
        *length = total;
    return eMatchFrame;
}
