#include "logbuild/Bin66Encoder.h"

#include <stdexcept>

#include "logbuild/PackedRecordEncoder.h"

namespace
{
constexpr uint16_t kBin66Number = 66;
constexpr size_t kUnusedAfterWeek = 6;
} // namespace

Bytes MakeBin66Frame(uint16_t week, double seconds, const std::vector<SBin66Channel>& channels)
{
    if (channels.size() > kBin66Channels)
        throw std::out_of_range("BIN66 carries at most 12 channels");
    const SBin66Channel empty;
    auto channel = [&](size_t n) -> const SBin66Channel& {
        return n < channels.size() && channels[n].m_uSlot != 0 ? channels[n] : empty;
    };
    auto anchor = [&](size_t n) { return AnchorCodeUnits(channel(n).m_L1, channel(n).m_L2); };

    CPayloadWriter p;
    p.Double(seconds).U16(week).Zeros(kUnusedAfterWeek);
    // The L1 records carry the low 16 bits of their channel's whole code
    // range, the channel words its upper bits.
    for (size_t n = 0; n < kBin66Channels; ++n)
        AppendPackedObsRecord(p, channel(n).m_L1, kSnrScale12Bit, anchor(n));
    for (size_t n = 0; n < kBin66Channels; ++n)
        AppendPackedObsRecord(p, channel(n).m_L2, kSnrScale12Bit, PackedCodeUnits(channel(n).m_L2.m_dPseudorange));
    for (size_t n = 0; n < kBin66Channels; ++n)
        p.U32(channel(n).m_uSlot == 0 ? 0 : PackedChannelWord(channel(n).m_uSlot, anchor(n)));
    return MakeBinFrame(kBin66Number, p.GetBytes());
}
