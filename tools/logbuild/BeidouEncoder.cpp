#include "logbuild/BeidouEncoder.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace
{
// --- Units of the B1I interface -------------------------------------------

constexpr double Pow2(int exponent)
{
    double value = 1.0;
    for (; exponent > 0; --exponent)
        value *= 2.0;
    for (; exponent < 0; ++exponent)
        value /= 2.0;
    return value;
}

constexpr double kPi = std::numbers::pi;
constexpr double kReferenceTimeUnit = 8.0; // toc, toe
constexpr double kUnitA0 = Pow2(-33);
constexpr double kUnitA1 = Pow2(-50);
constexpr double kUnitA2 = Pow2(-66);
constexpr double kUnitSqrtA = Pow2(-19);
constexpr double kUnitEcc = Pow2(-33);
constexpr double kUnitAngle = kPi * Pow2(-31); // semicircles x 2^-31, in radians
constexpr double kUnitRate = kPi * Pow2(-43);  // semicircles/s x 2^-43, in radians/s
constexpr double kUnitHarmonic = Pow2(-31);
constexpr double kUnitRadius = Pow2(-6);
constexpr double kUnitTgd = 0.1e-9;
constexpr double kUnitAlpha[4] = {Pow2(-30), Pow2(-27), Pow2(-24), Pow2(-24)};
constexpr double kUnitBeta[4] = {Pow2(11), Pow2(14), Pow2(16), Pow2(16)};

// --- Subframe structure ---------------------------------------------------

constexpr uint32_t kPreamble = 0x712;
constexpr uint32_t kDataBits = 224;         // 26 in word 0, 22 in each of the nine others
constexpr uint32_t kFirstWordDataBits = 26; // preamble, reserved, FraID, SOW high 8
constexpr uint32_t kWordDataBits = 22;      // two code words of 11 data bits
constexpr uint32_t kCodeDataBits = 11;
constexpr uint32_t kCodeParityBits = 4;
constexpr uint32_t kBchGenerator = 0x13; // g(X) = X^4 + X + 1
constexpr uint32_t kWordMask = 0x3FFFFFFF;
constexpr uint32_t kD1SubFrameSeconds = 6;
constexpr uint32_t kD2FrameSeconds = 3;
constexpr uint32_t kD2Pages = 10;
constexpr uint16_t kRawFormSatelliteBase = 100;

uint32_t Mask(uint32_t width)
{
    return width >= 32 ? 0xFFFFFFFFu : (1u << width) - 1u;
}

// Low `width` bits of `value`, read as signed and extended to 32 bits.
uint32_t Extended(int64_t value, uint32_t width)
{
    const uint32_t bits = static_cast<uint32_t>(value) & Mask(width);
    if (width < 32 && (bits >> (width - 1)) != 0)
        return bits | ~Mask(width);
    return bits;
}

// Parity of one BCH(15,11) code word: remainder of data x X^4 divided by g(X).
uint32_t BchParity(uint32_t data)
{
    uint32_t remainder = data << kCodeParityBits;
    for (uint32_t bit = kCodeDataBits + kCodeParityBits - 1; bit >= kCodeParityBits; --bit)
    {
        if (remainder & (1u << bit))
            remainder ^= kBchGenerator << (bit - kCodeParityBits);
    }
    return remainder;
}

// The 224 data bits of one subframe in the order they are sent.
class CSubFrameBits
{
public:
    CSubFrameBits(uint32_t frameId, uint32_t sow)
    {
        Put(kPreamble, 11).Put(0, 4).Put(frameId, 3).Put(sow, 20);
    }

    // The low `width` bits of `value`, highest first.
    CSubFrameBits& Put(uint64_t value, uint32_t width)
    {
        if (m_uCount + width > kDataBits)
            throw std::logic_error("BeiDou subframe holds more than 224 data bits");
        for (uint32_t i = width; i-- > 0;)
            m_aBits[m_uCount++] = static_cast<uint8_t>(value >> i & 1u);
        return *this;
    }
    CSubFrameBits& PutSigned(int64_t value, uint32_t width) { return Put(static_cast<uint64_t>(value), width); }
    // The upper `highWidth` bits of a `width`-bit field; its rest follows later.
    CSubFrameBits& PutHigh(int64_t value, uint32_t width, uint32_t highWidth)
    {
        return Put((static_cast<uint64_t>(value) & Mask(width)) >> (width - highWidth), highWidth);
    }

    // Words as sent: word 0 with the parity of its last 11 data bits (the
    // first 15 are not coded); every later word with its two code words
    // interleaved bit by bit, data then parity. Unused bits are zero.
    BeidouSubFrameWords Words(bool inverted) const
    {
        BeidouSubFrameWords words{};
        const uint32_t first = Take(0, kFirstWordDataBits);
        words[0] = first << kCodeParityBits | BchParity(first & Mask(kCodeDataBits));
        for (uint32_t k = 1; k < words.size(); ++k)
        {
            const uint32_t at = kFirstWordDataBits + (k - 1) * kWordDataBits;
            const uint32_t code1 = Take(at, kCodeDataBits);
            const uint32_t code2 = Take(at + kCodeDataBits, kCodeDataBits);
            const uint32_t sent1 = code1 << kCodeParityBits | BchParity(code1);
            const uint32_t sent2 = code2 << kCodeParityBits | BchParity(code2);
            uint32_t word = 0;
            for (uint32_t i = 0; i < kCodeDataBits + kCodeParityBits; ++i)
            {
                const uint32_t from = kCodeDataBits + kCodeParityBits - 1 - i;
                word |= (sent1 >> from & 1u) << (29 - 2 * i);
                word |= (sent2 >> from & 1u) << (28 - 2 * i);
            }
            words[k] = word;
        }
        if (inverted)
        {
            for (uint32_t& word : words)
                word = ~word & kWordMask;
        }
        return words;
    }

private:
    uint32_t Take(uint32_t at, uint32_t width) const
    {
        uint32_t value = 0;
        for (uint32_t i = 0; i < width; ++i)
            value = value << 1 | m_aBits[at + i];
        return value;
    }

    std::array<uint8_t, kDataBits> m_aBits{};
    uint32_t m_uCount = 0;
};

// --- Quantization ---------------------------------------------------------

// `value` in `unit`s, rounded and held within the signed range of `width` bits.
int32_t SignedField(double value, double unit, uint32_t width)
{
    const double limit = std::ldexp(1.0, static_cast<int>(width) - 1);
    const double scaled = std::isnan(value) ? 0.0 : std::clamp(std::round(value / unit), -limit, limit - 1.0);
    return static_cast<int32_t>(static_cast<int64_t>(scaled));
}

uint32_t UnsignedField(double value, double unit, uint32_t width)
{
    const double limit = std::ldexp(1.0, static_cast<int>(width));
    const double scaled = std::isnan(value) ? 0.0 : std::clamp(std::round(value / unit), 0.0, limit - 1.0);
    return static_cast<uint32_t>(static_cast<uint64_t>(scaled));
}
} // namespace

SBeidouEphemerisFields QuantizeBeidouEphemeris(const SBeidouEphemerisValues& v)
{
    SBeidouEphemerisFields f;
    f.m_uSatellite = v.m_uSatellite;
    f.m_uSow = v.m_uSow & Mask(20);
    f.m_uWeek = v.m_uWeek & Mask(13);
    f.m_uToc = UnsignedField(v.m_dToc, kReferenceTimeUnit, 17);
    f.m_uToe = UnsignedField(v.m_dToe, kReferenceTimeUnit, 17);
    f.m_iA0 = SignedField(v.m_dAf0, kUnitA0, 24);
    f.m_iA1 = SignedField(v.m_dAf1, kUnitA1, 22);
    f.m_iA2 = SignedField(v.m_dAf2, kUnitA2, 11);
    f.m_uSqrtA = UnsignedField(v.m_dSqrtA, kUnitSqrtA, 32);
    f.m_uEcc = UnsignedField(v.m_dEcc, kUnitEcc, 32);
    f.m_iOmega = SignedField(v.m_dOmega, kUnitAngle, 32);
    f.m_iM0 = SignedField(v.m_dM0, kUnitAngle, 32);
    f.m_iOmega0 = SignedField(v.m_dOmega0, kUnitAngle, 32);
    f.m_iI0 = SignedField(v.m_dI0, kUnitAngle, 32);
    f.m_iDeltaN = SignedField(v.m_dDeltaN, kUnitRate, 16);
    f.m_iOmegaDot = SignedField(v.m_dOmegaDot, kUnitRate, 24);
    f.m_iIdot = SignedField(v.m_dIdot, kUnitRate, 14);
    f.m_iCuc = SignedField(v.m_dCuc, kUnitHarmonic, 18);
    f.m_iCus = SignedField(v.m_dCus, kUnitHarmonic, 18);
    f.m_iCic = SignedField(v.m_dCic, kUnitHarmonic, 18);
    f.m_iCis = SignedField(v.m_dCis, kUnitHarmonic, 18);
    f.m_iCrc = SignedField(v.m_dCrc, kUnitRadius, 18);
    f.m_iCrs = SignedField(v.m_dCrs, kUnitRadius, 18);
    f.m_iTgd1 = SignedField(v.m_dTgd1, kUnitTgd, 10);
    f.m_iTgd2 = SignedField(v.m_dTgd2, kUnitTgd, 10);
    for (int i = 0; i < 4; ++i)
    {
        f.m_aiAlpha[i] = SignedField(v.m_adAlpha[i], kUnitAlpha[i], 8);
        f.m_aiBeta[i] = SignedField(v.m_adBeta[i], kUnitBeta[i], 8);
    }
    f.m_uSatH1 = v.m_uSatH1 & Mask(1);
    f.m_uAodc = v.m_uAodc & Mask(5);
    f.m_uUrai = v.m_uUrai & Mask(4);
    f.m_uAode = v.m_uAode & Mask(5);
    return f;
}

BeidouDecodedWords EncodeBeidouDecodedWords(const SBeidouEphemerisFields& f)
{
    const auto bytes = [](const int32_t (&four)[4]) {
        uint32_t word = 0;
        for (int32_t b : four)
            word = word << 8 | (static_cast<uint32_t>(b) & 0xFFu);
        return word;
    };
    return {
        f.m_uSow & Mask(20),
        f.m_uToc & Mask(17),
        Extended(f.m_iA0, 24),
        Extended(f.m_iA1, 22),
        Extended(f.m_iA2, 11),
        f.m_uToe & Mask(17),
        f.m_uSqrtA,
        f.m_uEcc,
        static_cast<uint32_t>(f.m_iOmega),
        Extended(f.m_iDeltaN, 16),
        static_cast<uint32_t>(f.m_iM0),
        static_cast<uint32_t>(f.m_iOmega0),
        Extended(f.m_iOmegaDot, 24),
        static_cast<uint32_t>(f.m_iI0),
        Extended(f.m_iIdot, 14),
        Extended(f.m_iCuc, 18),
        Extended(f.m_iCus, 18),
        Extended(f.m_iCrc, 18),
        Extended(f.m_iCrs, 18),
        Extended(f.m_iCic, 18),
        Extended(f.m_iCis, 18),
        (static_cast<uint32_t>(f.m_iTgd1) & Mask(10)) | (static_cast<uint32_t>(f.m_iTgd2) & Mask(10)) << 10,
        f.m_uWeek & Mask(13),
        bytes(f.m_aiAlpha),
        bytes(f.m_aiBeta),
        (f.m_uSatH1 & Mask(1)) << 14 | (f.m_uAodc & Mask(5)) << 9 | (f.m_uUrai & Mask(4)) << 5 | (f.m_uAode & Mask(5)),
    };
}

BeidouSubFrameWords EncodeBeidouD1SubFrame(const SBeidouEphemerisFields& f, uint32_t frameId, uint32_t sow,
                                           bool inverted)
{
    CSubFrameBits b(frameId, sow);
    switch (frameId)
    {
    case 1:
        b.Put(f.m_uSatH1, 1).Put(f.m_uAodc, 5).Put(f.m_uUrai, 4).Put(f.m_uWeek, 13).Put(f.m_uToc, 17);
        b.PutSigned(f.m_iTgd1, 10).PutSigned(f.m_iTgd2, 10);
        for (int32_t alpha : f.m_aiAlpha)
            b.PutSigned(alpha, 8);
        for (int32_t beta : f.m_aiBeta)
            b.PutSigned(beta, 8);
        b.PutSigned(f.m_iA2, 11).PutSigned(f.m_iA0, 24).PutSigned(f.m_iA1, 22).Put(f.m_uAode, 5);
        break;
    case 2:
        b.PutSigned(f.m_iDeltaN, 16).PutSigned(f.m_iCuc, 18).PutSigned(f.m_iM0, 32).Put(f.m_uEcc, 32);
        b.PutSigned(f.m_iCus, 18).PutSigned(f.m_iCrc, 18).PutSigned(f.m_iCrs, 18).Put(f.m_uSqrtA, 32);
        b.PutHigh(f.m_uToe, 17, 2);
        break;
    case 3:
        b.Put(f.m_uToe, 15).PutSigned(f.m_iI0, 32).PutSigned(f.m_iCic, 18).PutSigned(f.m_iOmegaDot, 24);
        b.PutSigned(f.m_iCis, 18).PutSigned(f.m_iIdot, 14).PutSigned(f.m_iOmega0, 32).PutSigned(f.m_iOmega, 32);
        break;
    default:
        throw std::invalid_argument("D1 ephemeris subframes are 1 to 3");
    }
    return b.Words(inverted);
}

BeidouSubFrameWords EncodeBeidouD2Page(const SBeidouEphemerisFields& f, uint32_t page, uint32_t sow, bool inverted)
{
    CSubFrameBits b(1, sow);
    b.Put(page, 4);
    switch (page)
    {
    case 1:
        b.Put(f.m_uSatH1, 1).Put(f.m_uAodc, 5).Put(f.m_uUrai, 4).Put(f.m_uWeek, 13).Put(f.m_uToc, 17);
        b.PutSigned(f.m_iTgd1, 10).PutSigned(f.m_iTgd2, 10);
        break;
    case 2:
        for (int32_t alpha : f.m_aiAlpha)
            b.PutSigned(alpha, 8);
        for (int32_t beta : f.m_aiBeta)
            b.PutSigned(beta, 8);
        break;
    case 3:
        b.Put(0, 38).PutSigned(f.m_iA0, 24).PutHigh(f.m_iA1, 22, 4);
        break;
    case 4:
        b.PutSigned(f.m_iA1, 18).PutSigned(f.m_iA2, 11).Put(f.m_uAode, 5).PutSigned(f.m_iDeltaN, 16);
        b.PutHigh(f.m_iCuc, 18, 14);
        break;
    case 5:
        b.PutSigned(f.m_iCuc, 4).PutSigned(f.m_iM0, 32).PutSigned(f.m_iCus, 18).PutHigh(f.m_uEcc, 32, 10);
        break;
    case 6:
        b.Put(f.m_uEcc, 22).Put(f.m_uSqrtA, 32).PutHigh(f.m_iCic, 18, 10);
        break;
    case 7:
        b.PutSigned(f.m_iCic, 8).PutSigned(f.m_iCis, 18).Put(f.m_uToe, 17).PutHigh(f.m_iI0, 32, 21);
        break;
    case 8:
        b.PutSigned(f.m_iI0, 11).PutSigned(f.m_iCrc, 18).PutSigned(f.m_iCrs, 18).PutHigh(f.m_iOmegaDot, 24, 19);
        break;
    case 9:
        b.PutSigned(f.m_iOmegaDot, 5).PutSigned(f.m_iOmega0, 32).PutHigh(f.m_iOmega, 32, 27);
        break;
    case 10:
        b.PutSigned(f.m_iOmega, 5).PutSigned(f.m_iIdot, 14);
        break;
    default:
        throw std::invalid_argument("D2 subframe 1 has pages 1 to 10");
    }
    return b.Words(inverted);
}

BeidouSubFrameWords EncodeBeidouEmptySubFrame(uint32_t frameId, uint32_t sow, bool inverted)
{
    return CSubFrameBits(frameId, sow).Words(inverted);
}

Bytes MakeBin35DecodedFrame(uint16_t satellite, uint16_t channel, const BeidouDecodedWords& words)
{
    CPayloadWriter p;
    p.U16(satellite).U16(channel).U32(0);
    for (uint32_t word : words)
        p.U32(word);
    p.Zeros(16);
    return MakeBinFrame(35, p.GetBytes());
}

Bytes MakeBin35DecodedFrame(const SBeidouEphemerisFields& fields, uint16_t channel)
{
    return MakeBin35DecodedFrame(static_cast<uint16_t>(fields.m_uSatellite), channel,
                                 EncodeBeidouDecodedWords(fields));
}

Bytes MakeBin35RawFrame(uint32_t satellite, uint16_t channel, const BeidouSubFrameWords& first,
                        const BeidouSubFrameWords& second, const BeidouSubFrameWords& third)
{
    CPayloadWriter p;
    p.U16(static_cast<uint16_t>(satellite + kRawFormSatelliteBase)).U16(channel).U32(0);
    for (const BeidouSubFrameWords* subFrame : {&first, &second, &third})
    {
        for (uint32_t word : *subFrame)
            p.U32(word);
    }
    return MakeBinFrame(35, p.GetBytes());
}

Bytes MakeBin35D1Frame(const SBeidouEphemerisFields& fields, uint16_t channel, bool inverted)
{
    const uint32_t sow = fields.m_uSow;
    return MakeBin35RawFrame(fields.m_uSatellite, channel, EncodeBeidouD1SubFrame(fields, 1, sow, inverted),
                             EncodeBeidouD1SubFrame(fields, 2, sow + kD1SubFrameSeconds, inverted),
                             EncodeBeidouD1SubFrame(fields, 3, sow + 2 * kD1SubFrameSeconds, inverted));
}

std::vector<Bytes> MakeBin35D2Frames(const SBeidouEphemerisFields& fields, uint16_t channel, bool inverted)
{
    std::vector<Bytes> frames;
    for (uint32_t page = 1; page <= kD2Pages; ++page)
    {
        const uint32_t sow = fields.m_uSow + kD2FrameSeconds * (page - 1);
        frames.push_back(MakeBin35RawFrame(fields.m_uSatellite, channel, EncodeBeidouD2Page(fields, page, sow, inverted),
                                           EncodeBeidouEmptySubFrame(2, sow, inverted),
                                           EncodeBeidouEmptySubFrame(3, sow, inverted)));
    }
    return frames;
}
