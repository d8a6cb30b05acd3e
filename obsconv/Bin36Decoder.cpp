#include "obsconv/Bin36Decoder.h"

#include <cmath>

#include "logio/ByteReader.h"
#include "navstate/NavState.h"
#include "obsconv/EpochAssembly.h"
#include "obsconv/FixedPoint.h"
#include "obsconv/ObsConstants.h"
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

// Carrier wavelength of each band in metres: B1 1561.098 MHz, B2 1207.14 MHz,
// B3 1268.52 MHz.
constexpr double kBandWavelength[kBdsSlotBands] = {
    0.192039486310276,
    0.248349369584306,
    0.236332464604421,
};

uint32_t PacketField(const uint8_t* frame, uint32_t shift)
{
    return (ReadU32(frame, kPacketWordOffset) >> shift) & kPacketFieldMask;
}
} // namespace

void DecodeBin36Slot(SObsSlot& slot, const uint8_t* frame)
{
    // Only the message's 20 channels and the three bands exist.
    const uint32_t n = slot.m_uChannel;
    const uint32_t band = PacketField(frame, kBandShift);
    if (n >= kBin36Channels || band >= kBdsSlotBands)
        return;

    const uint32_t record = kRecordsOffset + kRecordSize * n;
    const uint32_t channelWord = ReadU32(frame, kChannelWordsOffset + kWordSize * n);
    const uint32_t word0 = ReadU32(frame, record + kWord0Offset);
    const uint32_t word1 = ReadU32(frame, record + kWord1Offset);
    const uint32_t word2 = ReadU32(frame, record + kWord2Offset);

    // A number the BeiDou table can't place leaves the channel empty for this
    // message; the look-up also registers numbers above 32 in the extended
    // rows. An all-zero record is a signal not tracked.
    uint32_t prn = channelWord & kPrnMask;
    const int32_t row = g_BeidouNavState.SatIndexFromPRN(static_cast<int32_t>(prn));
    if (row < 0 || row >= static_cast<int32_t>(kSatRows))
        prn = 0;
    if (word0 == 0 && word1 == 0 && word2 == 0)
        prn = 0;

    // A different satellite in the channel restarts its slip memory.
    const bool fresh = prn != slot.m_uPRN;
    slot.m_uPRN = prn;
    if (prn == 0)
        return; // the measurements of the last occupant stay, unused

    const uint32_t rawSnr = word0 & kSnrMask;
    slot.m_dSnr = rawSnr != 0 ? 10.0 * std::log10(rawSnr * kSnrScale12Bit) : 0.0;

    const uint32_t counter = (word0 >> kSlipCounterShift) & kSlipCounterMask;
    if (fresh)
        slot.m_uSlipCounter = counter; // a new satellite starts with delta 0
    // Unsigned subtraction wraps at 2^32, a multiple of 256: 255 -> 1 gives 2.
    slot.m_uSlipDelta = (counter - slot.m_uSlipCounter) % kSlipModulus;
    slot.m_uSlipCounter = counter;

    slot.m_bGoodLock = (word1 & kGoodLockMask) != 0 ? 1 : 0;
    slot.m_dDoppler = DoubleFromFixed((word1 >> kDopplerShift) & kDopplerMask, kDopplerFractionBits,
                                      ((word1 >> kDopplerSignShift) & 1u) != 0);

    // One signal per message: the code range is sent whole, across the
    // channel word and the record itself.
    const uint64_t code = (static_cast<uint64_t>(channelWord >> kAnchorHighShift) << kCodeFragmentBits) |
                          (word2 & kLow16Mask);
    slot.m_dPseudorange = DoubleFromFixed(code, kCodeFractionBits, false);

    // The phase comes modulo 8192 cycles; the whole cycles above that are
    // taken from the code range in cycles of the band anew at every epoch.
    uint64_t phase = FixedFromDouble(slot.m_dPseudorange / kBandWavelength[band], kPhaseFractionBits);
    const uint32_t phaseFragment = ((word1 >> kPhaseHighShift) & kPhaseHighMask) << kPhaseLowShift |
                                   word2 >> kPhaseLowShift;
    phase = MergeLowBits(phase, phaseFragment, kPhaseFragmentBits);
    slot.m_dPhase = DoubleFromFixed(phase, kPhaseFractionBits, false);

    // Every observation re-evaluates its satellite's ephemeris, which is how a
    // record that arrived since the last epoch comes into use.
    KeepSatelliteUp(g_BeidouNavState, prn, slot);
}

void OnBin36(const uint8_t* frame)
{
    FlushIfEpochChanged();
    const uint32_t band = PacketField(frame, kBandShift);
    if (band >= kBdsSlotBands)
        return;
    // While no epoch is open, only the set's last packet may open one: the
    // earlier packets of the second count for slips only. A set of 0 packets
    // has no last one.
    const uint32_t count = PacketField(frame, kPacketCountShift);
    const uint32_t index = PacketField(frame, kPacketIndexShift);
    const bool lastPacket = count != 0 && index == count - 1;
    for (uint32_t n = 0; n < kBin36Channels; ++n)
    {
        DecodeBin36Slot(g_aSlotBds[band][n], frame);
        AddBdsSlot(g_aSlotBds[band][n], lastPacket, band);
    }
}
