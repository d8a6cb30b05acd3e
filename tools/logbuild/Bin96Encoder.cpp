#include "logbuild/Bin96Encoder.h"

namespace
{
constexpr size_t kChannels = 12;
constexpr uint32_t kDopplerShift = 4; // the Doppler fills bits 4 to 31 of word 1
} // namespace

Bytes MakeBin96Frame(uint16_t week, double seconds, const std::vector<SBin96Channel>& channels)
{
    CPayloadWriter p;
    p.U16(0).U16(week).Double(seconds);
    for (size_t ch = 0; ch < kChannels; ++ch)
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
