#include "logbuild/GpsEphemerisEncoder.h"

#include <cmath>
#include <stdexcept>
#include <string>

namespace
{
// Scale factors as the receiver's tools use them (short decimals near the
// powers of two of IS-GPS-200). Dividing by the same doubles the reader
// multiplies with makes integer x factor come back as the same integer.
constexpr double kF19 = 1.907348633e-6;
constexpr double kF29 = 1.862645149e-9;
constexpr double kF31 = 4.656612873e-10;
constexpr double kF33 = 1.164153218e-10;
constexpr double kF43 = 1.136868377e-13;
constexpr double kF55 = 2.775557562e-17;
constexpr double kFPi31 = 1.4629180792428494e-9;
constexpr double kFPi43 = 3.5715773412817597e-13;
constexpr double kTimeScale = 16.0;
constexpr double kHarmonicRadiusScale = 0.03125;

// BIN93 scale factors.
constexpr double kSbasXyScale = 0.08;
constexpr double kSbasZScale = 0.4;
constexpr double kSbasVxyScale = 0.000625;
constexpr double kSbasVzScale = 0.004;
constexpr double kSbasAxyScale = 1.25e-5;
constexpr double kSbasAzScale = 6.25e-5;
constexpr double kSbasAf0Scale = 4.656612873077e-10;
constexpr double kSbasAf1Scale = 9.094947017729e-13;

constexpr uint32_t kTlmPreamble = 0x8B;
constexpr uint32_t kTowCountsPerWeek = 100800; // 6-second counts
constexpr uint32_t kSecondsPerTowCount = 6;
constexpr uint32_t kWeekNumberBits = 10;

constexpr uint16_t kBin95Number = 95;
constexpr uint16_t kBin93Number = 93;

// An integer that must fit `width` bits, signed (two's complement) or not;
// returns its low `width` bits.
uint32_t FieldBits(int64_t value, uint32_t width, bool isSigned, const char* name)
{
    const int64_t lowest = isSigned ? -(int64_t{1} << (width - 1)) : 0;
    const int64_t highest = isSigned ? (int64_t{1} << (width - 1)) - 1 : (int64_t{1} << width) - 1;
    if (value < lowest || value > highest)
        throw std::out_of_range(std::string("ephemeris field out of range: ") + name);
    const uint64_t mask = (uint64_t{1} << width) - 1;
    return static_cast<uint32_t>(static_cast<uint64_t>(value) & mask);
}

// A physical value as the nearest integer of its scale, in `width` bits.
uint32_t Quantised(double value, double scale, uint32_t width, bool isSigned, const char* name)
{
    const double steps = value / scale;
    if (!std::isfinite(steps) || std::fabs(steps) > 9.0e15)
        throw std::out_of_range(std::string("ephemeris field out of range: ") + name);
    return FieldBits(std::llround(steps), width, isSigned, name);
}

int32_t QuantisedI32(double value, double scale, const char* name)
{
    return static_cast<int32_t>(Quantised(value, scale, 32, true, name));
}

int16_t QuantisedI16(double value, double scale, const char* name)
{
    return static_cast<int16_t>(static_cast<uint16_t>(Quantised(value, scale, 16, true, name)));
}

// Places `bits` at bits `high` down to `low` of a 30-bit word.
void Put(uint32_t& word, uint32_t bits, uint32_t high, uint32_t low)
{
    const uint32_t width = high - low + 1;
    const uint32_t mask = width >= 32 ? 0xFFFFFFFFu : (1u << width) - 1u;
    word |= (bits & mask) << low;
}

// A 32-bit field over two words: its high 8 bits go to bits 13-6 of the
// first, its low 24 bits to bits 29-6 of the second.
void PutSplit(uint32_t& first, uint32_t& second, uint32_t bits)
{
    Put(first, bits >> 24, 13, 6);
    Put(second, bits, 29, 6);
}
} // namespace

SGpsSubframes EncodeGpsSubframes(const SGpsEphemerisValues& v)
{
    SGpsSubframes s;
    uint32_t* sf1 = s.m_aauWord[0];
    uint32_t* sf2 = s.m_aauWord[1];
    uint32_t* sf3 = s.m_aauWord[2];

    // TLM and HOW. The HOW's count is the start of the next subframe when
    // the message's time is that of subframe 1.
    const uint32_t tow6 = v.m_uTxTime / kSecondsPerTowCount;
    for (uint32_t sf = 0; sf < 3; ++sf)
    {
        Put(s.m_aauWord[sf][0], kTlmPreamble, 29, 22);
        Put(s.m_aauWord[sf][1], (tow6 + sf + 1) % kTowCountsPerWeek, 29, 13);
        Put(s.m_aauWord[sf][1], sf + 1, 10, 8);
    }

    // Subframe 1.
    const uint32_t iodc = FieldBits(v.m_uIodc, 10, false, "IODC");
    Put(sf1[2], v.m_uWeek % (1u << kWeekNumberBits), 29, 20);
    Put(sf1[2], FieldBits(v.m_uUra, 4, false, "URA"), 17, 14);
    Put(sf1[2], FieldBits(v.m_uHealth, 6, false, "health"), 13, 8);
    Put(sf1[2], iodc >> 8, 7, 6);
    Put(sf1[3], FieldBits(v.m_uL2PFlag, 1, false, "L2 P flag"), 29, 29);
    Put(sf1[6], Quantised(v.m_dTgd, kF31, 8, true, "TGD"), 13, 6);
    Put(sf1[7], iodc, 29, 22);
    Put(sf1[7], Quantised(v.m_dToc, kTimeScale, 16, false, "toc"), 21, 6);
    Put(sf1[8], Quantised(v.m_dAf2, kF55, 8, true, "af2"), 29, 22);
    Put(sf1[8], Quantised(v.m_dAf1, kF43, 16, true, "af1"), 21, 6);
    Put(sf1[9], Quantised(v.m_dAf0, kF31, 22, true, "af0"), 29, 8);

    // Subframe 2.
    const uint32_t iode = FieldBits(v.m_uIode, 8, false, "IODE");
    Put(sf2[2], iode, 29, 22);
    Put(sf2[2], Quantised(v.m_dCrs, kHarmonicRadiusScale, 16, true, "Crs"), 21, 6);
    Put(sf2[3], Quantised(v.m_dDeltaN, kFPi43, 16, true, "delta n"), 29, 14);
    PutSplit(sf2[3], sf2[4], Quantised(v.m_dM0, kFPi31, 32, true, "M0"));
    Put(sf2[5], Quantised(v.m_dCuc, kF29, 16, true, "Cuc"), 29, 14);
    PutSplit(sf2[5], sf2[6], Quantised(v.m_dEcc, kF33, 32, false, "e"));
    Put(sf2[7], Quantised(v.m_dCus, kF29, 16, true, "Cus"), 29, 14);
    PutSplit(sf2[7], sf2[8], Quantised(v.m_dSqrtA, kF19, 32, false, "sqrt A"));
    Put(sf2[9], Quantised(v.m_dToe, kTimeScale, 16, false, "toe"), 29, 14);
    Put(sf2[9], FieldBits(v.m_uFitFlag, 1, false, "fit flag"), 13, 13);

    // Subframe 3.
    Put(sf3[2], Quantised(v.m_dCic, kF29, 16, true, "Cic"), 29, 14);
    PutSplit(sf3[2], sf3[3], Quantised(v.m_dOmega0, kFPi31, 32, true, "Omega0"));
    Put(sf3[4], Quantised(v.m_dCis, kF29, 16, true, "Cis"), 29, 14);
    PutSplit(sf3[4], sf3[5], Quantised(v.m_dI0, kFPi31, 32, true, "i0"));
    Put(sf3[6], Quantised(v.m_dCrc, kHarmonicRadiusScale, 16, true, "Crc"), 29, 14);
    PutSplit(sf3[6], sf3[7], Quantised(v.m_dOmega, kFPi31, 32, true, "omega"));
    Put(sf3[8], Quantised(v.m_dOmegaDot, kFPi43, 24, true, "Omega dot"), 29, 6);
    Put(sf3[9], iode, 29, 22);
    Put(sf3[9], Quantised(v.m_dIdot, kFPi43, 14, true, "IDOT"), 21, 8);
    return s;
}

Bytes MakeBin95Payload(uint16_t satellite, uint32_t tow6, const SGpsSubframes& subframes)
{
    CPayloadWriter p;
    p.U16(satellite).U16(0).U32(tow6);
    for (const auto& subframe : subframes.m_aauWord)
    {
        for (uint32_t word : subframe)
            p.U32(word);
    }
    return p.GetBytes();
}

Bytes MakeBin95Frame(uint16_t satellite, uint32_t tow6, const SGpsSubframes& subframes)
{
    return MakeBinFrame(kBin95Number, MakeBin95Payload(satellite, tow6, subframes));
}

Bytes MakeBin95Frame(const SGpsEphemerisValues& values)
{
    return MakeBin95Frame(values.m_uSatellite, values.m_uTxTime / kSecondsPerTowCount, EncodeGpsSubframes(values));
}

Bytes MakeBin93Payload(const SSbasEphemerisValues& v)
{
    CPayloadWriter p;
    p.U16(v.m_uSatellite).U16(v.m_uWeek).U32(v.m_uTow).U16(v.m_uIod).U16(v.m_uUraIndex).I32(v.m_iT0);
    p.I32(QuantisedI32(v.m_dGeoX, kSbasXyScale, "X"));
    p.I32(QuantisedI32(v.m_dGeoY, kSbasXyScale, "Y"));
    p.I32(QuantisedI32(v.m_dGeoZ, kSbasZScale, "Z"));
    p.I32(QuantisedI32(v.m_dGeoVx, kSbasVxyScale, "X dot"));
    p.I32(QuantisedI32(v.m_dGeoVy, kSbasVxyScale, "Y dot"));
    p.I32(QuantisedI32(v.m_dGeoVz, kSbasVzScale, "Z dot"));
    p.I32(QuantisedI32(v.m_dGeoAx, kSbasAxyScale, "X dot dot"));
    p.I32(QuantisedI32(v.m_dGeoAy, kSbasAxyScale, "Y dot dot"));
    p.I32(QuantisedI32(v.m_dGeoAz, kSbasAzScale, "Z dot dot"));
    p.I16(QuantisedI16(v.m_dAf0, kSbasAf0Scale, "af0"));
    p.I16(QuantisedI16(v.m_dAf1, kSbasAf1Scale, "af1"));
    return p.GetBytes();
}

Bytes MakeBin93Frame(const SSbasEphemerisValues& values)
{
    return MakeBinFrame(kBin93Number, MakeBin93Payload(values));
}
