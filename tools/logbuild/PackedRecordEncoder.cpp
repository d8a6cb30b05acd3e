#include "logbuild/PackedRecordEncoder.h"

#include <cmath>

namespace
{
constexpr size_t kRecordBytes = 12;
constexpr double kCodeUnitsPerMetre = 256.0;
constexpr uint64_t kCodeMax = (uint64_t{1} << 35) - 1;
constexpr uint32_t kCodeLowBits = 16;
constexpr uint64_t kCodeLowMask = 0xFFFF;
constexpr double kPhaseUnitsPerCycle = 1024.0;
constexpr double kPhaseModulusCycles = 8192.0;
constexpr uint32_t kPhaseFragmentMask = 0x7FFFFF;
constexpr double kDopplerUnitsPerHz = 512.0;
constexpr uint64_t kDopplerMax = 0x7FFFFF;
constexpr uint64_t kSnrRawMax = 0xFFF;
// Channel word: the code range's bits 16 to 34 stand above bit 12.
constexpr uint32_t kAnchorHighShift = 13;

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
} // namespace

uint64_t PackedCodeUnits(double metres)
{
    return Units(metres, kCodeUnitsPerMetre, kCodeMax);
}

uint32_t PackedSnrRaw(double snr, double scale)
{
    if (snr == 0.0 || std::isnan(snr))
        return 0;
    const uint64_t raw = Units(std::pow(10.0, snr / 10.0), 1.0 / scale, kSnrRawMax);
    return static_cast<uint32_t>(raw == 0 ? 1 : raw);
}

void AppendPackedObsRecord(CPayloadWriter& payload, const SBin76Signal& signal, double snrScale,
                           uint64_t codeUnits)
{
    if (!signal.m_bPresent)
    {
        payload.Zeros(kRecordBytes);
        return;
    }
    const uint32_t phase = PhaseFragment(signal.m_dPhase);
    const auto doppler =
        static_cast<uint32_t>(Units(std::fabs(signal.m_dDoppler), kDopplerUnitsPerHz, kDopplerMax));
    const uint32_t word0 = PackedSnrRaw(signal.m_dSnr, snrScale) | static_cast<uint32_t>(signal.m_uSlipCounter) << 24;
    const uint32_t word1 = (signal.m_bGoodLock ? 1u : 0u) | doppler << 1 |
                           (signal.m_dDoppler < 0.0 ? 1u : 0u) << 24 | (phase >> 16) << 25;
    const uint32_t word2 = static_cast<uint32_t>(codeUnits & kCodeLowMask) | (phase & 0xFFFF) << 16;
    payload.U32(word0).U32(word1).U32(word2);
}

uint32_t PackedChannelWord(uint8_t satellite, uint64_t codeUnits)
{
    return satellite | static_cast<uint32_t>((codeUnits & kCodeMax) >> kCodeLowBits) << kAnchorHighShift;
}

uint64_t AnchorCodeUnits(const SBin76Signal& l1, const SBin76Signal& l2)
{
    if (l1.m_bPresent)
        return PackedCodeUnits(l1.m_dPseudorange);
    if (!l2.m_bPresent)
        return 0;
    const uint64_t half = uint64_t{1} << (kCodeLowBits - 1);
    const uint64_t rounded = (PackedCodeUnits(l2.m_dPseudorange) + half - 1) & ~kCodeLowMask;
    return rounded < kCodeMax ? rounded : kCodeMax & ~kCodeLowMask;
}
