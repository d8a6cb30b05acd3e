#include "obsconv/Bin36Decoder.h"

#include "logio/ByteReader.h"
#include "navstate/BeidouCarriers.h"
#include "navstate/NavState.h"
#include "obsconv/EpochAssembly.h"
#include "obsconv/ObsFate.h"
#include "obsconv/ObsConstants.h"
#include "obsconv/PackedRecord.h"
#include "obsconv/SatelliteUpkeep.h"

namespace
{
using namespace PackedObsRecord;

// The message drives 20 channels, one slot of its band each.
constexpr uint32_t kBin36Channels = 20;
static_assert(kBin36Channels <= kBdsSlotsPerBand, "every channel needs a slot");

// Frame offsets: the packet word, then 20 observation records and 20 channel words.
constexpr uint32_t kPacketWordOffset = 20;
constexpr uint32_t kRecordsOffset = 24;
constexpr uint32_t kChannelWordsOffset = 264;

// Packet word: the number of packets in the set in bits 20-23, this packet's
// index from 0 in bits 24-27, the band in bits 28-31.
constexpr uint32_t kPacketCountShift = 20;
constexpr uint32_t kPacketIndexShift = 24;
constexpr uint32_t kBandShift = 28;
constexpr uint32_t kPacketFieldMask = 0xF;

uint32_t PacketField(const uint8_t* frame, uint32_t shift)
{
    return (ReadU32(frame, kPacketWordOffset) >> shift) & kPacketFieldMask;
}

SPackedRecord ChannelWords(const uint8_t* frame, uint32_t n)
{
    return ReadPackedRecord(frame, kChannelWordsOffset + kWordSize * n, kRecordsOffset + kRecordSize * n);
}
} // namespace

// Runs for every observation of the log: everything it calls is inlined
// into it.
[[gnu::flatten]] void DecodeBin36Slot(SObsSlot& slot, const uint8_t* frame, CBeidouNavState& beidou, const SMaskRule& mask)
{
    // Only the message's 20 channels and the three bands exist.
    const uint32_t n = slot.m_uChannel;
    const uint32_t band = PacketField(frame, kBandShift);
    if (n >= kBin36Channels || band >= kBdsSlotBands)
        return;

    const SPackedRecord words = ChannelWords(frame, n);
    slot.m_uNumberInMessage = words.IsEmpty() ? 0 : words.Prn();
    const uint32_t prn = slot.m_uNumberInMessage == 0 ? 0 : PrnWithRow(beidou, slot.m_uNumberInMessage, kBeidouRows);

    // A different satellite in the channel restarts its slip memory.
    const bool fresh = prn != slot.m_uPRN;
    slot.m_uPRN = prn;
    if (prn == 0)
        return; // the measurements of the last occupant stay, unused

    DecodeRecordState(slot, words, words.m_uWord0 & kSnrMask, kSnrTable12Bit, fresh);

    // One signal per message: the code range is sent whole, across the
    // channel word and the record itself.
    slot.m_dPseudorange = CodeOnAnchor(CodeAnchor(words.m_uChannelWord, words.m_uWord2), words.m_uWord2);

    // The phase comes modulo 8192 cycles; the whole cycles above that are
    // taken from the code range in cycles of the band anew at every epoch.
    slot.m_dPhase = PhaseOnEstimate(slot.m_dPseudorange / kBeidouBandWavelength[band], words);

    // Every observation re-evaluates its satellite's ephemeris, which is how a
    // record that arrived since the last epoch comes into use.
    KeepSatelliteUp(beidou, prn, slot, mask);
}

void OnBin36(const uint8_t* frame, SObsIntake& intake)
{
    intake.m_Assembly.FlushIfEpochChanged();
    const uint32_t band = PacketField(frame, kBandShift);
    if (band >= kBdsSlotBands)
        return;
    // While no epoch is open, only the set's last packet may open one: the
    // earlier packets of the second count for slips only. A set of 0 packets
    // has no last one.
    const uint32_t count = PacketField(frame, kPacketCountShift);
    const uint32_t index = PacketField(frame, kPacketIndexShift);
    const bool lastPacket = count != 0 && index == count - 1;
    // The intake's parts are taken once: a slot written in the loop could,
    // for the compiler, be any of them.
    SObsSlot* const slots = intake.m_Slots.m_aSlotBds[band];
    CBeidouNavState& beidou = intake.m_Beidou;
    const SMaskRule& mask = intake.m_Mask;
    CEpochAssembly& assembly = intake.m_Assembly;
    for (uint32_t n = 0; n < kBin36Channels; ++n)
    {
        DecodeBin36Slot(slots[n], frame, beidou, mask);
        assembly.AddBdsSlot(slots[n], lastPacket, band);
    }
}

uint32_t ListBin36Observations(const uint8_t* frame, ObsInMessage& out)
{
    const uint32_t band = PacketField(frame, kBandShift);
    if (band >= kBdsSlotBands)
        return 0;
    uint32_t count = 0;
    for (uint32_t n = 0; n < kBin36Channels; ++n)
    {
        const SPackedRecord words = ChannelWords(frame, n);
        if (!words.IsEmpty() && words.Prn() != 0)
            out[count++] = SObsInMessage{eSystemBeidou, words.Prn(), kSignalL1, band};
    }
    return count;
}
