#include "logbuild/Bin76Encoder.h"

#include "logbuild/PackedRecordEncoder.h"

namespace
{
constexpr uint16_t kBin76Number = 76;
constexpr size_t kUnusedAfterWeek = 6;

bool IsUsed(const std::vector<SBin76Channel>& channels, size_t n)
{
    return n < channels.size() && channels[n].m_uPrn != 0;
}

uint64_t AnchorUnits(const SBin76Channel& c)
{
    return AnchorCodeUnits(c.m_L1, c.m_L2);
}
} // namespace

Bytes MakeBin76Frame(uint16_t week, double seconds, const std::vector<SBin76Channel>& channels)
{
    CPayloadWriter p;
    p.Double(seconds).U16(week).Zeros(kUnusedAfterWeek);

    for (size_t n = 0; n < kBin76DualChannels; ++n)
    {
        if (IsUsed(channels, n))
            AppendPackedObsRecord(p, channels[n].m_L2, kSnrScaleL2L1P, PackedCodeUnits(channels[n].m_L2.m_dPseudorange));
        else
            p.Zeros(12);
    }
    for (size_t n = 0; n < kBin76L1Channels; ++n)
    {
        if (IsUsed(channels, n))
        {
            AppendPackedObsRecord(p, channels[n].m_L1, kSnrScale12Bit, AnchorUnits(channels[n]));
        }
        else
            p.Zeros(12);
    }
    for (size_t n = 0; n < kBin76L1Channels; ++n)
    {
        uint32_t word = 0;
        if (IsUsed(channels, n))
            word = PackedChannelWord(channels[n].m_uPrn, AnchorUnits(channels[n]));
        p.U32(word);
    }
    for (size_t n = 0; n < kBin76DualChannels; ++n)
    {
        uint32_t word = 0;
        if (IsUsed(channels, n) && channels[n].m_L1.m_bPresent)
        {
            const SBin76Channel& c = channels[n];
            const double code = c.m_L1P.m_dPseudorange != 0.0 ? c.m_L1P.m_dPseudorange : c.m_L1.m_dPseudorange;
            word = static_cast<uint32_t>(PackedCodeUnits(code) & 0xFFFF) | PackedSnrRaw(c.m_L1P.m_dSnr, kSnrScaleL2L1P) << 16;
        }
        p.U32(word);
    }
    return MakeBinFrame(kBin76Number, p.GetBytes());
}
