#include "obsconv/Bin96Decoder.h"

#include "logio/ByteReader.h"
#include "navstate/NavState.h"
#include "obsconv/EpochAssembly.h"
#include "obsconv/ObsFate.h"
#include "obsconv/ObsConstants.h"
#include "obsconv/SatelliteUpkeep.h"

namespace
{
// Channel records start behind the week and seconds, one every 24 bytes.
constexpr uint32_t kBin96FirstChannelOffset = 20;
constexpr uint32_t kBin96ChannelRecordSize = 24;

// Field offsets inside a channel record.
constexpr uint32_t kRecordWord0Offset = 0;       // satellite, signal to noise, slip counter
constexpr uint32_t kRecordWord1Offset = 4;       // good lock, Doppler
constexpr uint32_t kRecordPseudorangeOffset = 8; // metres
constexpr uint32_t kRecordPhaseOffset = 16;      // metres

// Bit fields of word 0.
constexpr uint32_t kPrnMask = 0xFF;
constexpr uint32_t kSnrShift = 8;
constexpr uint32_t kSnrMask = 0xFF;
constexpr uint32_t kSlipCounterShift = 24;
constexpr uint32_t kSlipCounterMask = 0xFF;

// Bit fields of word 1: the good-lock flag, and above bit 3 the Doppler as a
// signed 28-bit value.
constexpr int32_t kGoodLockMask = 0x1;
constexpr int32_t kDopplerShift = 4;

// Multiplied onto the raw 8-bit signal to noise value before the logarithm.
constexpr double kSnrScale8Bit = 0.8192;
const CSnrTable kSnrTable8Bit(kSnrScale8Bit);
// The L1 cycles per metre over 4096: Doppler in 1/4096 m/s to Hz.
constexpr double kL1DopplerScale = 0.0012829676436940242;

// The first word of channel `n`'s record: satellite, signal to noise, slip counter.
uint32_t RecordWord0(const uint8_t* frame, uint32_t n)
{
    return ReadU32(frame, kBin96FirstChannelOffset + kBin96ChannelRecordSize * n + kRecordWord0Offset);
}
} // namespace

// Runs for every observation of the log: everything it calls is inlined
// into it.
[[gnu::flatten]] void DecodeBin96Slot(SObsSlot& slot, const uint8_t* frame, CGpsNavState& gps, const SMaskRule& mask)
{
    // Only the 12 records of the message exist; any other channel is never read.
    if (slot.m_uChannel >= kChannelsPerMessage)
        return;
    const uint32_t record = kBin96FirstChannelOffset + kBin96ChannelRecordSize * slot.m_uChannel;

    const uint32_t word0 = ReadU32(frame, record + kRecordWord0Offset);
    // 0, or a fourth distinct number above 32, has no row.
    slot.m_uNumberInMessage = word0 & kPrnMask;
    const uint32_t prn = PrnWithRow(gps, slot.m_uNumberInMessage, kSatRows);

    // A different satellite in the channel restarts its slip memory.
    const bool fresh = prn != slot.m_uPRN;
    slot.m_uPRN = prn;
    if (prn == 0)
        return; // the measurements of the last occupant stay, unused

    SetSnrFromRaw(slot, (word0 >> kSnrShift) & kSnrMask, kSnrTable8Bit);
    TakeSlipCounter(slot, (word0 >> kSlipCounterShift) & kSlipCounterMask, fresh);

    const int32_t word1 = ReadI32(frame, record + kRecordWord1Offset);
    slot.m_bGoodLock = (word1 & kGoodLockMask) != 0 ? 1 : 0;
    // Arithmetic shift: a negative Doppler keeps its sign.
    slot.m_dDoppler = (word1 >> kDopplerShift) * kL1DopplerScale;

    slot.m_dPseudorange = ReadDouble(frame, record + kRecordPseudorangeOffset);
    slot.m_dPhase = ReadDouble(frame, record + kRecordPhaseOffset) * kL1CyclesPerMetre;

    // Every observation re-evaluates its satellite's ephemeris, which is how a
    // record that arrived since the last epoch comes into use.
    KeepSatelliteUp(gps, prn, slot, mask);
}

void OnBin96(const uint8_t* frame, SObsIntake& intake)
{
    intake.m_Assembly.FlushIfEpochChanged();
    for (uint32_t n = 0; n < kChannelsPerMessage; ++n)
    {
        SObsSlot& slot = intake.m_Slots.m_aSlotGpsL1[n];
        DecodeBin96Slot(slot, frame, intake.m_Gps, intake.m_Mask);
        intake.m_Assembly.AddGpsL1Slot(slot);
    }
}

uint32_t ListBin96Observations(const uint8_t* frame, ObsInMessage& out)
{
    uint32_t count = 0;
    for (uint32_t n = 0; n < kChannelsPerMessage; ++n)
    {
        const uint32_t number = RecordWord0(frame, n) & kPrnMask;
        if (number != 0)
            out[count++] = SObsInMessage{eSystemGps, number, kSignalL1, 0};
    }
    return count;
}
