#include "obsconv/Bin76Decoder.h"

#include <initializer_list>

#include "logio/ByteReader.h"
#include "navstate/NavState.h"
#include "obsconv/EpochAssembly.h"
#include "obsconv/ObsFate.h"
#include "obsconv/ObsConstants.h"
#include "obsconv/PackedRecord.h"
#include "obsconv/SatelliteUpkeep.h"

namespace
{
using namespace PackedObsRecord;

// The message drives 15 channels: L1 records and channel words exist for all
// of them, L2 records and L1 P words for the first 12 only. A satellite on
// channel 12, 13 or 14 has L1 C/A alone.
constexpr uint32_t kBin76Channels = 15;
constexpr uint32_t kBin76DualChannels = 12;
static_assert(kBin76Channels <= kSlotsPerArray, "every channel needs a slot");

// Frame offsets of the per-channel parts.
constexpr uint32_t kL2RecordsOffset = 24;
constexpr uint32_t kL1RecordsOffset = 168;
constexpr uint32_t kChannelWordsOffset = 348;
constexpr uint32_t kL1PWordsOffset = 408;

// L1 P word: code fragment in the low 16 bits, signal to noise above.
constexpr uint32_t kL1PSnrShift = 16;

// L2 and L1 P are GPS signals; satellites numbered above this have none.
constexpr uint32_t kHighestGpsPRN = 32;

// Multiplied onto the raw 12-bit signal to noise value of L2 and L1 P before
// the logarithm (L1 C/A takes the common 12-bit scale).
constexpr double kSnrScaleL2L1P = 0.1164;
const CSnrTable kSnrTableL2L1P(kSnrScaleL2L1P);
// L2 cycles per metre (1227.6 MHz over the speed of light): with the L1
// value, turns the code range into the phase estimate that the phase
// fragment is placed on.
constexpr double kL2CyclesPerMetre = 4.094832832652519;

// The channel word and the record of channel `n` for `signal`: L2 has its
// own record, L1 C/A and L1 P read the L1 record.
SPackedRecord ChannelWords(const uint8_t* frame, uint32_t n, uint32_t signal)
{
    const uint32_t record = signal == kSignalGpsL2 ? kL2RecordsOffset + kRecordSize * n : kL1RecordsOffset + kRecordSize * n;
    return ReadPackedRecord(frame, kChannelWordsOffset + kWordSize * n, record);
}

// The satellite number a channel's record of `signal` sends, 0 for none: an
// empty record, and L2 and L1 P of a number above 32, are no signal.
uint32_t NumberSent(const SPackedRecord& words, uint32_t signal)
{
    const uint32_t number = words.IsEmpty() ? 0 : words.Prn();
    return signal != kSignalL1 && number > kHighestGpsPRN ? 0 : number;
}
} // namespace

// Runs for every observation of the log: everything it calls is inlined
// into it.
[[gnu::flatten]] void DecodeBin76Slot(SObsSlot& slot, const uint8_t* frame, CGpsNavState& gps, const SMaskRule& mask)
{
    // Only the message's channels, and only the three GPS signals live here.
    const uint32_t n = slot.m_uChannel;
    const uint32_t signal = slot.m_uSignal;
    if (n >= kBin76Channels)
        return;
    if (signal != kSignalL1 && signal != kSignalGpsL2 && signal != kSignalGpsL1P)
        return;
    if (signal != kSignalL1 && n >= kBin76DualChannels)
    {
        slot.m_uPRN = 0; // the channel has no record of this signal: as an empty one
        slot.m_uNumberInMessage = 0;
        return;
    }

    const uint32_t l1Record = kL1RecordsOffset + kRecordSize * n;
    const SPackedRecord words = ChannelWords(frame, n, signal);
    slot.m_uNumberInMessage = NumberSent(words, signal);
    uint32_t prn = words.IsEmpty() ? 0 : PrnWithRow(gps, words.Prn(), kSatRows);
    if (signal != kSignalL1 && prn > kHighestGpsPRN)
        prn = 0;

    // A different satellite in the channel restarts its slip memory.
    const bool fresh = prn != slot.m_uPRN;
    slot.m_uPRN = prn;
    if (prn == 0)
        return; // the measurements of the last occupant stay, unused

    const uint32_t l1PWord = signal == kSignalGpsL1P ? ReadU32(frame, kL1PWordsOffset + kWordSize * n) : 0;
    const uint32_t rawSnr = signal == kSignalGpsL1P ? (l1PWord >> kL1PSnrShift) & kSnrMask : words.m_uWord0 & kSnrMask;
    // L1 C/A and L1 P read the same counter; each slot keeps its own memory.
    DecodeRecordState(slot, words, rawSnr, signal == kSignalL1 ? kSnrTable12Bit : kSnrTableL2L1P, fresh);

    // The L1 C/A code range is sent whole, 35 bits, across the channel word
    // and the L1 record; every other code range is its low 16 bits, placed
    // on that anchor.
    const uint64_t anchor = CodeAnchor(words.m_uChannelWord, ReadU32(frame, l1Record + kWord2Offset));
    slot.m_dPseudorange = CodeOnAnchor(anchor, signal == kSignalGpsL1P ? l1PWord : words.m_uWord2);

    // The phase comes modulo 8192 cycles; the whole cycles above that are
    // taken from the code range anew at every epoch.
    const double cyclesPerMetre = signal == kSignalGpsL2 ? kL2CyclesPerMetre : kL1CyclesPerMetre;
    slot.m_dPhase = PhaseOnEstimate(slot.m_dPseudorange * cyclesPerMetre, words);

    // Every observation re-evaluates its satellite's ephemeris, which is how a
    // record that arrived since the last epoch comes into use.
    KeepSatelliteUp(gps, prn, slot, mask);
}

void OnBin76(const uint8_t* frame, SObsIntake& intake)
{
    intake.m_Assembly.FlushIfEpochChanged();
    // The intake's parts are taken once: a slot written in the loop could,
    // for the compiler, be any of them.
    SObsSlots& slots = intake.m_Slots;
    CGpsNavState& gps = intake.m_Gps;
    const SMaskRule& mask = intake.m_Mask;
    CEpochAssembly& assembly = intake.m_Assembly;
    for (uint32_t n = 0; n < kBin76DualChannels; ++n)
    {
        DecodeBin76Slot(slots.m_aSlotGpsL1[n], frame, gps, mask);
        DecodeBin76Slot(slots.m_aSlotGpsL2[n], frame, gps, mask);
        DecodeBin76Slot(slots.m_aSlotGpsL1P[n], frame, gps, mask);
        assembly.AddGpsSlots(slots.m_aSlotGpsL1[n], slots.m_aSlotGpsL2[n], slots.m_aSlotGpsL1P[n]);
    }
    // The channels without L2 and L1 P: their L2 and L1 P slots stay empty.
    for (uint32_t n = kBin76DualChannels; n < kBin76Channels; ++n)
    {
        DecodeBin76Slot(slots.m_aSlotGpsL1[n], frame, gps, mask);
        assembly.AddGpsL1Slot(slots.m_aSlotGpsL1[n]);
    }
}

uint32_t ListBin76Observations(const uint8_t* frame, ObsInMessage& out)
{
    uint32_t count = 0;
    for (uint32_t n = 0; n < kBin76Channels; ++n)
    {
        for (const uint32_t signal : {kSignalL1, kSignalGpsL2, kSignalGpsL1P})
        {
            if (signal != kSignalL1 && n >= kBin76DualChannels)
                break;
            const uint32_t number = NumberSent(ChannelWords(frame, n, signal), signal);
            if (number != 0)
                out[count++] = SObsInMessage{eSystemGps, number, signal, 0};
        }
    }
    return count;
}
