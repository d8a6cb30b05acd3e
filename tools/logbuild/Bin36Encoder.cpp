#include "logbuild/Bin36Encoder.h"

#include <stdexcept>

#include "logbuild/PackedRecordEncoder.h"

namespace
{
constexpr uint16_t kBin36Number = 36;
constexpr size_t kUnusedAfterWeek = 2;

// Packet word: set size in bits 20-23, index in 24-27, band in 28-31.
constexpr uint32_t kPacketCountShift = 20;
constexpr uint32_t kPacketIndexShift = 24;
constexpr uint32_t kBandShift = 28;
constexpr uint32_t kPacketFieldMax = 15;

uint32_t PacketField(uint32_t value, uint32_t shift)
{
    if (value > kPacketFieldMax)
        throw std::out_of_range("a BIN36 packet field holds 0 to 15");
    return value << shift;
}
} // namespace

Bytes MakeBin36Frame(uint16_t week, double seconds, const SBin36Packet& packet,
                     const std::vector<SBin36Channel>& channels)
{
    if (channels.size() > kBin36Channels)
        throw std::out_of_range("BIN36 carries at most 20 channels");
    const SBin36Channel empty;
    auto channel = [&](size_t n) -> const SBin36Channel& {
        return n < channels.size() && channels[n].m_uPrn != 0 ? channels[n] : empty;
    };

    CPayloadWriter p;
    p.Double(seconds).U16(week).Zeros(kUnusedAfterWeek);
    p.U32(PacketField(packet.m_uCount, kPacketCountShift) | PacketField(packet.m_uIndex, kPacketIndexShift) |
          PacketField(packet.m_uBand, kBandShift));
    // One signal per channel: its record carries the low 16 bits of its own
    // code range, the channel word the upper bits.
    for (size_t n = 0; n < kBin36Channels; ++n)
        AppendPackedObsRecord(p, channel(n).m_Signal, kSnrScale12Bit,
                              PackedCodeUnits(channel(n).m_Signal.m_dPseudorange));
    for (size_t n = 0; n < kBin36Channels; ++n)
    {
        const SBin36Channel& c = channel(n);
        const uint64_t code = c.m_Signal.m_bPresent ? PackedCodeUnits(c.m_Signal.m_dPseudorange) : 0;
        p.U32(c.m_uPrn == 0 ? 0 : PackedChannelWord(c.m_uPrn, code));
    }
    return MakeBinFrame(kBin36Number, p.GetBytes());
}
