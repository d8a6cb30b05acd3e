#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Writes frames of every kind the reader knows, with correct or deliberately
// broken checks. The tests and the log-building tools share it.

using Bytes = std::vector<uint8_t>;

// Builds a little-endian payload field by field.
class CPayloadWriter
{
public:
    CPayloadWriter& U8(uint8_t value);
    CPayloadWriter& U16(uint16_t value);
    CPayloadWriter& I16(int16_t value);
    CPayloadWriter& U32(uint32_t value);
    CPayloadWriter& I32(int32_t value);
    CPayloadWriter& Double(double value);
    CPayloadWriter& Text(const std::string& text, size_t width); // NUL-padded or cut to width
    CPayloadWriter& Zeros(size_t count);
    // Overwrites bytes already written, at `offset` of the payload.
    CPayloadWriter& PutU32At(size_t offset, uint32_t value);
    CPayloadWriter& PutDoubleAt(size_t offset, double value);

    const Bytes& GetBytes() const { return m_aBytes; }
    size_t Size() const { return m_aBytes.size(); }

private:
    CPayloadWriter& Raw(const void* data, size_t count);
    Bytes m_aBytes;
};

// "$BIN" frame: header, payload, 16-bit sum of the payload, then `lineEnd`
// ("\r\n" as a receiver writes it). With `goodCheck` false the sum is off by one.
Bytes MakeBinFrame(uint16_t number, const Bytes& payload, bool goodCheck = true,
                   const std::string& lineEnd = "\r\n");

// A "$BIN" frame of message `number` with `payloadLength` zero bytes of payload.
Bytes MakeZeroBinFrame(uint16_t number, uint32_t payloadLength);

// Site frame: sync bytes, class, identifier, length, payload, CRC-16/X-25.
Bytes MakeSiteFrame(uint8_t frameClass, uint8_t identifier, const Bytes& payload, bool goodCheck = true);
// Site frame of class 1 carrying a marker name and number of 20 bytes each.
Bytes MakeMarkerSiteFrame(uint8_t identifier, const std::string& name, const std::string& number);

// Sentence: the text as given, which should start with "$" and end in a line end.
Bytes MakeSentence(const std::string& text);

// RTCM 3 frame: preamble, six spare bits (`spareBits`), 10-bit length, payload, CRC-24Q.
Bytes MakeRtcm3Frame(const Bytes& payload, bool goodCheck = true, uint8_t spareBits = 0);

// Packed frame: "I", bit-packed header with the length field in the shortest
// form, body, CRC of `checkType` (0: CRC-8, 1: CRC-16/XMODEM, 2: CRC-32/BZIP2).
Bytes MakePackedFrame(const Bytes& body, uint32_t checkType, bool goodCheck = true);

// Appends `piece` to `log`.
void AppendBytes(Bytes& log, const Bytes& piece);
