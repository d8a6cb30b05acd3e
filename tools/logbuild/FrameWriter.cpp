#include "logbuild/FrameWriter.h"

#include <cstring>

#include "logio/Crc.h"

CPayloadWriter& CPayloadWriter::Raw(const void* data, size_t count)
{
    const auto* p = static_cast<const uint8_t*>(data);
    m_aBytes.insert(m_aBytes.end(), p, p + count);
    return *this;
}

CPayloadWriter& CPayloadWriter::U8(uint8_t value) { return Raw(&value, 1); }
CPayloadWriter& CPayloadWriter::U16(uint16_t value) { return Raw(&value, 2); }
CPayloadWriter& CPayloadWriter::I16(int16_t value) { return Raw(&value, 2); }
CPayloadWriter& CPayloadWriter::U32(uint32_t value) { return Raw(&value, 4); }
CPayloadWriter& CPayloadWriter::I32(int32_t value) { return Raw(&value, 4); }
CPayloadWriter& CPayloadWriter::Double(double value) { return Raw(&value, 8); }
CPayloadWriter& CPayloadWriter::Zeros(size_t count)
{
    m_aBytes.insert(m_aBytes.end(), count, 0);
    return *this;
}

CPayloadWriter& CPayloadWriter::Text(const std::string& text, size_t width)
{
    for (size_t i = 0; i < width; ++i)
        m_aBytes.push_back(i < text.size() ? static_cast<uint8_t>(text[i]) : 0);
    return *this;
}

CPayloadWriter& CPayloadWriter::PutU32At(size_t offset, uint32_t value)
{
    std::memcpy(m_aBytes.data() + offset, &value, 4);
    return *this;
}

CPayloadWriter& CPayloadWriter::PutDoubleAt(size_t offset, double value)
{
    std::memcpy(m_aBytes.data() + offset, &value, 8);
    return *this;
}

void AppendBytes(Bytes& log, const Bytes& piece)
{
    // Byte by byte: GCC 12 takes a range insert behind a short literal-built
    // vector for an out-of-bounds copy at -O2, a false alarm worth avoiding.
    log.reserve(log.size() + piece.size());
    for (uint8_t b : piece)
        log.push_back(b);
}

Bytes MakeBinFrame(uint16_t number, const Bytes& payload, bool goodCheck, const std::string& lineEnd)
{
    uint16_t sum = 0;
    for (uint8_t b : payload)
        sum = static_cast<uint16_t>(sum + b);
    if (!goodCheck)
        sum = static_cast<uint16_t>(sum + 1);
    CPayloadWriter w;
    w.Text("$BIN", 4).U16(number).U16(static_cast<uint16_t>(payload.size()));
    Bytes frame = w.GetBytes();
    AppendBytes(frame, payload);
    frame.push_back(static_cast<uint8_t>(sum & 0xFF));
    frame.push_back(static_cast<uint8_t>(sum >> 8));
    frame.insert(frame.end(), lineEnd.begin(), lineEnd.end());
    return frame;
}

Bytes MakeZeroBinFrame(uint16_t number, uint32_t payloadLength)
{
    return MakeBinFrame(number, Bytes(payloadLength, 0));
}

Bytes MakeSiteFrame(uint8_t frameClass, uint8_t identifier, const Bytes& payload, bool goodCheck)
{
    const auto length = static_cast<uint16_t>(payload.size());
    Bytes frame{0xB7, 0x59, frameClass, identifier, static_cast<uint8_t>(length & 0xFF),
                static_cast<uint8_t>(length >> 8)};
    AppendBytes(frame, payload);
    uint16_t crc = Crc16X25(frame.data() + 2, frame.size() - 2);
    if (!goodCheck)
        crc ^= 0x0001;
    frame.push_back(static_cast<uint8_t>(crc >> 8));
    frame.push_back(static_cast<uint8_t>(crc & 0xFF));
    return frame;
}

Bytes MakeMarkerSiteFrame(uint8_t identifier, const std::string& name, const std::string& number)
{
    CPayloadWriter w;
    w.Text(name, 20).Text(number, 20);
    return MakeSiteFrame(1, identifier, w.GetBytes());
}

Bytes MakeSentence(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

Bytes MakeRtcm3Frame(const Bytes& payload, bool goodCheck, uint8_t spareBits)
{
    const auto length = static_cast<uint32_t>(payload.size() & 0x3FF);
    Bytes frame{0xD3, static_cast<uint8_t>(((spareBits & 0x3F) << 2) | (length >> 8)),
                static_cast<uint8_t>(length & 0xFF)};
    AppendBytes(frame, payload);
    uint32_t crc = Crc24Q(frame.data(), frame.size());
    if (!goodCheck)
        crc ^= 0x000001;
    frame.push_back(static_cast<uint8_t>(crc >> 16));
    frame.push_back(static_cast<uint8_t>(crc >> 8));
    frame.push_back(static_cast<uint8_t>(crc));
    return frame;
}

namespace
{
// Writes bits most significant first.
class CBitWriter
{
public:
    void Put(uint32_t value, uint32_t count)
    {
        for (uint32_t i = count; i-- > 0;)
        {
            if (m_uBits % 8 == 0)
                m_aBytes.push_back(0);
            if ((value >> i) & 1u)
                m_aBytes.back() |= static_cast<uint8_t>(0x80u >> (m_uBits % 8));
            ++m_uBits;
        }
    }
    Bytes m_aBytes;
    uint32_t m_uBits = 0;
};

Bytes PackedHeader(uint32_t length, uint32_t checkType)
{
    CBitWriter bits;
    bits.Put(0, 1);    // first prefix 0
    bits.Put(0x15, 6); // first field, skipped by the reader
    if (length < 256)
    {
        bits.Put(0, 1);
        bits.Put(length, 8);
    }
    else if (length < 256 + 1024)
    {
        bits.Put(2, 2);
        bits.Put(length - 256, 10);
    }
    else
    {
        bits.Put(3, 2);
        bits.Put(length - 1280, 13);
    }
    bits.Put(checkType, 2);
    return bits.m_aBytes;
}
} // namespace

Bytes MakePackedFrame(const Bytes& body, uint32_t checkType, bool goodCheck)
{
    // The length counts the header too, whose size depends on the length.
    auto length = static_cast<uint32_t>(body.size() + 3);
    Bytes header = PackedHeader(length, checkType);
    length = static_cast<uint32_t>(header.size() + body.size());
    header = PackedHeader(length, checkType);

    Bytes frame{'I'};
    AppendBytes(frame, header);
    AppendBytes(frame, body);
    const uint8_t* covered = frame.data() + 1;
    const size_t count = frame.size() - 1;
    uint32_t crc = 0;
    uint32_t crcSize = 1;
    if (checkType == 0)
        crc = Crc8(covered, count);
    else if (checkType == 1)
    {
        crc = Crc16Xmodem(covered, count);
        crcSize = 2;
    }
    else
    {
        crc = Crc32Bzip2(covered, count);
        crcSize = 4;
    }
    if (!goodCheck)
        crc ^= 1u;
    for (uint32_t i = crcSize; i-- > 0;)
        frame.push_back(static_cast<uint8_t>(crc >> (8 * i)));
    return frame;
}
