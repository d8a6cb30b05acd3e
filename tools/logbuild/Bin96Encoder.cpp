#include "logbuild/Bin96Encoder.h"

#include <algorithm>
#include <cmath>

#include "logbuild/Carriers.h"

namespace
{
constexpr uint32_t kDopplerShift = 4; // the Doppler fills bits 4 to 31 of word 1
constexpr double kDopplerUnitsPerMps = 4096.0;
constexpr int32_t kDopplerMax = (1 << 27) - 1;
constexpr double kSnrScale = 0.8192;
} // namespace

SBin96Channel MakeBin96Channel(uint8_t prn, const SBin76Signal& l1)
{
    using logbuild::kL1CyclesPerMetre;
    SBin96Channel c;
    c.m_uPrn = prn;
    if (l1.m_dSnr != 0.0)
    {
        const double raw = std::round(std::pow(10.0, l1.m_dSnr / 10.0) / kSnrScale);
        c.m_uSnrRaw = static_cast<uint8_t>(std::clamp(raw, 1.0, 255.0));
    }
    c.m_uSlipCounter = l1.m_uSlipCounter;
    c.m_bGoodLock = l1.m_bGoodLock;
    const double doppler = std::round(l1.m_dDoppler / kL1CyclesPerMetre * kDopplerUnitsPerMps);
    c.m_iDoppler = static_cast<int32_t>(
        std::clamp(doppler, -static_cast<double>(kDopplerMax), static_cast<double>(kDopplerMax)));
    c.m_dPseudorange = l1.m_dPseudorange;
    c.m_dPhase = l1.m_dPhase / kL1CyclesPerMetre;
    return c;
}

Bytes MakeBin96Frame(uint16_t week, double seconds, const std::vector<SBin96Channel>& channels)
{
    CPayloadWriter p;
    p.U16(0).U16(week).Double(seconds);
    for (size_t ch = 0; ch < kBin96Channels; ++ch)
    {
        if (ch >= channels.size())
        {
            p.Zeros(24); // an empty channel
            continue;
        }
        const SBin96Channel& c = channels[ch];
        const uint32_t word0 = static_cast<uint32_t>(c.m_uPrn) | static_cast<uint32_t>(c.m_uSnrRaw) << 8 |
                               static_cast<uint32_t>(c.m_uSlipCounter) << 24;
        const uint32_t word1 = static_cast<uint32_t>(c.m_iDoppler) << kDopplerShift | (c.m_bGoodLock ? 1u : 0u);
        p.U32(word0).U32(word1).Double(c.m_dPseudorange).Double(c.m_dPhase);
    }
    return MakeBinFrame(96, p.GetBytes());
}
