#pragma once

#include <cstdint>

// The binary messages the converter knows. A message is one "$BIN" frame and
// is known by its number and exact frame length together (payload plus 12:
// header, checksum and CR LF). A record covers the whole frame from its first
// byte, so every field offset is a frame offset; the bytes are kept as they
// came and read field by field.

constexpr uint32_t kBinHeaderSize = 8;   // "$BIN", number, payload length
constexpr uint32_t kBinFrameOverhead = 12; // header, checksum, CR LF
constexpr uint32_t kBinMaxPayload = 2038;

template <uint16_t Number, uint32_t FrameLength>
struct SBinaryMsg
{
    static constexpr uint16_t kNumber = Number;
    static constexpr uint32_t kFrameLength = FrameLength;
    static constexpr uint32_t kPayloadLength = FrameLength - kBinFrameOverhead;
    uint8_t m_aFrame[FrameLength];
};

using SBinaryMsg96 = SBinaryMsg<96, 312>;   // GPS L1 observations
using SBinaryMsg76 = SBinaryMsg<76, 460>;   // GPS L1 and L2 observations
using SBinaryMsg95 = SBinaryMsg<95, 140>;   // GPS ephemeris subframes
using SBinaryMsg93 = SBinaryMsg<93, 68>;    // SBAS ephemeris
using SBinaryMsg94 = SBinaryMsg<94, 108>;   // ionosphere and UTC parameters
using SBinaryMsg65 = SBinaryMsg<65, 80>;    // GLONASS strings
using SBinaryMsg66 = SBinaryMsg<66, 364>;   // GLONASS observations
using SBinaryMsg35 = SBinaryMsg<35, 140>;   // BeiDou navigation subframe
using SBinaryMsg36 = SBinaryMsg<36, 348>;   // BeiDou observations
using SBinaryMsg34 = SBinaryMsg<34, 44>;    // BeiDou time correction to UTC
using SBinaryMsg101 = SBinaryMsg<101, 460>; // not interpreted
using SBinaryMsg102 = SBinaryMsg<102, 356>; // not interpreted
using SBinaryMsg103 = SBinaryMsg<103, 76>;  // not interpreted
using SBinaryMsg104 = SBinaryMsg<104, 292>; // not interpreted
using SBinaryMsg80 = SBinaryMsg<80, 52>;    // not interpreted
using SBinaryMsg62 = SBinaryMsg<62, 52>;    // not interpreted

// Frame offsets of the fields the conversion loop reads itself.
constexpr uint32_t kBinNumberOffset = 4;
constexpr uint32_t kBinPayloadLengthOffset = 6;
constexpr uint32_t kBin96WeekOffset = 10;
constexpr uint32_t kBin96SecondsOffset = 12;
constexpr uint32_t kBin76SecondsOffset = 8;
constexpr uint32_t kBin76WeekOffset = 16;
constexpr uint32_t kBin66SecondsOffset = 8;
constexpr uint32_t kBin36SecondsOffset = 8;
constexpr uint32_t kBin35ChannelOffset = 10;

// BIN94: ionosphere (four alphas, four betas) and UTC parameters.
constexpr uint32_t kBin94Alpha0 = 8;       // four doubles
constexpr uint32_t kBin94Beta0 = 40;       // four doubles
constexpr uint32_t kBin94A0 = 72;
constexpr uint32_t kBin94A1 = 80;
constexpr uint32_t kBin94Tot = 88;
constexpr uint32_t kBin94Wnt = 92;
constexpr uint32_t kBin94WnLsf = 94;
constexpr uint32_t kBin94Dn = 96;
constexpr uint32_t kBin94DtLs = 98;
constexpr uint32_t kBin94DtLsf = 100;
