#include "logbuild/Bin76Encoder.h"

#include <cmath>

namespace
{
constexpr uint16_t kBin76Number = 76;
constexpr size_t kUnusedAfterWeek = 6;

// Fixed-point units: code in 1/256 m (35 bits whole, 16 bits as a fragment),
// phase in 1/1024 cycle (23 bits, modulo 8192 cycles), Doppler in 1/512 Hz
// (23-bit magnitude and a sign), signal to noise as a 12-bit raw value.
constexpr double kCodeUnitsPerMetre = 256.0;
constexpr uint64_t kCodeMax = (uint64_t{1} << 35) - 1;
constexpr double kPhaseUnitsPerCycle = 1024.0;
constexpr double kPhaseModulusCycles = 8192.0;
constexpr uint32_t kPhaseFragmentMask = 0x7FFFFF;
constexpr double kDopplerUnitsPerHz = 512.0;
constexpr uint64_t kDopplerMax = 0x7FFFFF;
constexpr uint64_t kSnrRawMax = 0xFFF;

// Raw signal to noise = 10^(dB / 10) / scale.
constexpr double kSnrScaleL1 = 0.1024;
constexpr double kSnrScaleL2L1P = 0.1164;

// A non-negative value in whole units, rounded to nearest and held within 0 to `max`.
uint64_t Units(double value, double unitsPerValue, uint64_t max)
{
    const double scaled = std::floor(value * unitsPerValue + 0.5);
    if (!(scaled > 0.0))
        return 0; // also NaN
    if (scaled >= static_cast<double>(max))
        return max;
    return static_cast<uint64_t>(scaled);
}

uint32_t CodeLow16(double metres)
{
    return static_cast<uint32_t>(Units(metres, kCodeUnitsPerMetre, kCodeMax) & 0xFFFF);
}

// The phase modulo 8192 cycles, in 1/1024 cycle: 23 bits.
uint32_t PhaseFragment(double cycles)
{
    if (!std::isfinite(cycles))
        return 0;
    double wrapped = std::fmod(cycles, kPhaseModulusCycles);
    if (wrapped < 0.0)
        wrapped += kPhaseModulusCycles;
    // Rounding up to the full modulus wraps to 0 under the mask.
    const auto units = static_cast<uint32_t>(std::floor(wrapped * kPhaseUnitsPerCycle + 0.5));
    return units & kPhaseFragmentMask;
}

uint32_t SnrRaw(double snr, double scale)
{
    if (snr == 0.0 || std::isnan(snr))
        return 0;
    const uint64_t raw = Units(std::pow(10.0, snr / 10.0), 1.0 / scale, kSnrRawMax);
    return static_cast<uint32_t>(raw == 0 ? 1 : raw);
}

// The three words of an observation record; all zero for a signal not tracked.
void PutRecord(CPayloadWriter& p, const SBin76Signal& s, double snrScale, uint32_t codeLow16)
{
    if (!s.m_bPresent)
    {
        p.Zeros(12);
        return;
    }
    const uint32_t phase = PhaseFragment(s.m_dPhase);
    const auto doppler = static_cast<uint32_t>(Units(std::fabs(s.m_dDoppler), kDopplerUnitsPerHz, kDopplerMax));
    const uint32_t word0 = SnrRaw(s.m_dSnr, snrScale) | static_cast<uint32_t>(s.m_uSlipCounter) << 24;
    const uint32_t word1 = (s.m_bGoodLock ? 1u : 0u) | doppler << 1 | (s.m_dDoppler < 0.0 ? 1u : 0u) << 24 |
                           (phase >> 16) << 25;
    const uint32_t word2 = codeLow16 | (phase & 0xFFFF) << 16;
    p.U32(word0).U32(word1).U32(word2);
}

bool IsUsed(const std::vector<SBin76Channel>& channels, size_t n)
{
    return n < channels.size() && channels[n].m_uPrn != 0;
}

// The whole code range that the other code ranges are placed on: L1 C/A's,
// or for a channel without L1 C/A one taken from L2's. A reader completes the
// channel word's upper bits with the L1 record's low 16, which are zero when
// that record is empty, and places the L2 fragment on the result: the upper
// bits must then be those of the multiple of 2^16 nearest the L2 code range,
// or an L2 code range whose low bits are above 0x8000 comes back 256 m low.
uint64_t AnchorUnits(const SBin76Channel& c)
{
    if (c.m_L1.m_bPresent)
        return Units(c.m_L1.m_dPseudorange, kCodeUnitsPerMetre, kCodeMax);
    if (!c.m_L2.m_bPresent)
        return 0;
    constexpr uint64_t kLowMask = 0xFFFF;
    constexpr uint64_t kHalf = 0x8000;
    const uint64_t rounded = (Units(c.m_L2.m_dPseudorange, kCodeUnitsPerMetre, kCodeMax) + kHalf - 1) & ~kLowMask;
    return rounded < kCodeMax ? rounded : kCodeMax & ~kLowMask;
}
} // namespace

Bytes MakeBin76Frame(uint16_t week, double seconds, const std::vector<SBin76Channel>& channels)
{
    CPayloadWriter p;
    p.Double(seconds).U16(week).Zeros(kUnusedAfterWeek);

    for (size_t n = 0; n < kBin76DualChannels; ++n)
    {
        if (IsUsed(channels, n))
            PutRecord(p, channels[n].m_L2, kSnrScaleL2L1P, CodeLow16(channels[n].m_L2.m_dPseudorange));
        else
            p.Zeros(12);
    }
    for (size_t n = 0; n < kBin76L1Channels; ++n)
    {
        if (IsUsed(channels, n))
        {
            const auto anchorLow = static_cast<uint32_t>(AnchorUnits(channels[n]) & 0xFFFF);
            PutRecord(p, channels[n].m_L1, kSnrScaleL1, anchorLow);
        }
        else
            p.Zeros(12);
    }
    for (size_t n = 0; n < kBin76L1Channels; ++n)
    {
        uint32_t word = 0;
        if (IsUsed(channels, n))
            word = channels[n].m_uPrn | static_cast<uint32_t>(AnchorUnits(channels[n]) >> 16) << 13;
        p.U32(word);
    }
    for (size_t n = 0; n < kBin76DualChannels; ++n)
    {
        uint32_t word = 0;
        if (IsUsed(channels, n) && channels[n].m_L1.m_bPresent)
        {
            const SBin76Channel& c = channels[n];
            const double code = c.m_L1P.m_dPseudorange != 0.0 ? c.m_L1P.m_dPseudorange : c.m_L1.m_dPseudorange;
            word = CodeLow16(code) | SnrRaw(c.m_L1P.m_dSnr, kSnrScaleL2L1P) << 16;
        }
        p.U32(word);
    }
    return MakeBinFrame(kBin76Number, p.GetBytes());
}
