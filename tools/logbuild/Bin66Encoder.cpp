#include "logbuild/Bin66Encoder.h"

#include <cmath>
#include <stdexcept>

namespace
{
constexpr uint16_t kBin66Number = 66;
constexpr size_t kUnusedAfterWeek = 6;
constexpr size_t kRecordBytes = 12;

// Fixed-point units: code in 1/256 m (35 bits whole, 16 bits in a record),
// phase in 1/1024 cycle (23 bits, modulo 8192 cycles), Doppler in 1/512 Hz
// (23-bit magnitude and a sign), signal to noise as a 12-bit raw value.
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
// Raw signal to noise = 10^(dB / 10) / scale.
constexpr double kSnrScale = 0.1024;

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

// Raw 0 means "no value", so a real value never goes below 1.
uint32_t SnrRaw(double snr)
{
    if (snr == 0.0 || std::isnan(snr))
        return 0;
    const uint64_t raw = Units(std::pow(10.0, snr / 10.0), 1.0 / kSnrScale, kSnrRawMax);
    return static_cast<uint32_t>(raw == 0 ? 1 : raw);
}

// The whole code range that a channel word and its L1 record carry. A reader
// completes the upper bits with the L1 record's low 16; without L1 those are
// zero and the L2 code range is placed on the upper bits alone, so these are
// rounded to the nearest multiple of 2^16 for it to come back whole.
uint64_t AnchorUnits(const SBin66Channel& c)
{
    if (c.m_L1.m_bPresent)
        return PackedCodeUnits(c.m_L1.m_dPseudorange);
    if (c.m_L2.m_bPresent)
    {
        const uint64_t half = uint64_t{1} << (kCodeLowBits - 1);
        const uint64_t rounded = (PackedCodeUnits(c.m_L2.m_dPseudorange) + half - 1) & ~kCodeLowMask;
        return rounded < kCodeMax ? rounded : kCodeMax & ~kCodeLowMask;
    }
    return 0;
}
} // namespace

uint64_t PackedCodeUnits(double metres)
{
    return Units(metres, kCodeUnitsPerMetre, kCodeMax);
}

void AppendPackedObsRecord(CPayloadWriter& payload, const SBin76Signal& signal, uint64_t codeUnits)
{
    if (!signal.m_bPresent)
    {
        payload.Zeros(kRecordBytes);
        return;
    }
    const uint32_t phase = PhaseFragment(signal.m_dPhase);
    const auto doppler =
        static_cast<uint32_t>(Units(std::fabs(signal.m_dDoppler), kDopplerUnitsPerHz, kDopplerMax));
    const uint32_t word0 = SnrRaw(signal.m_dSnr) | static_cast<uint32_t>(signal.m_uSlipCounter) << 24;
    const uint32_t word1 = (signal.m_bGoodLock ? 1u : 0u) | doppler << 1 |
                           (signal.m_dDoppler < 0.0 ? 1u : 0u) << 24 | (phase >> 16) << 25;
    const uint32_t word2 = static_cast<uint32_t>(codeUnits & kCodeLowMask) | (phase & 0xFFFF) << 16;
    payload.U32(word0).U32(word1).U32(word2);
}

uint32_t PackedChannelWord(uint8_t satellite, uint64_t codeUnits)
{
    return satellite | static_cast<uint32_t>((codeUnits & kCodeMax) >> kCodeLowBits) << kAnchorHighShift;
}

Bytes MakeBin66Frame(uint16_t week, double seconds, const std::vector<SBin66Channel>& channels)
{
    if (channels.size() > kBin66Channels)
        throw std::out_of_range("BIN66 carries at most 12 channels");
    const SBin66Channel empty;
    auto channel = [&](size_t n) -> const SBin66Channel& {
        return n < channels.size() && channels[n].m_uSlot != 0 ? channels[n] : empty;
    };

    CPayloadWriter p;
    p.Double(seconds).U16(week).Zeros(kUnusedAfterWeek);
    // The L1 records carry the low 16 bits of their channel's whole code
    // range, the channel words its upper bits.
    for (size_t n = 0; n < kBin66Channels; ++n)
        AppendPackedObsRecord(p, channel(n).m_L1, AnchorUnits(channel(n)));
    for (size_t n = 0; n < kBin66Channels; ++n)
        AppendPackedObsRecord(p, channel(n).m_L2, PackedCodeUnits(channel(n).m_L2.m_dPseudorange));
    for (size_t n = 0; n < kBin66Channels; ++n)
        p.U32(channel(n).m_uSlot == 0 ? 0 : PackedChannelWord(channel(n).m_uSlot, AnchorUnits(channel(n))));
    return MakeBinFrame(kBin66Number, p.GetBytes());
}
