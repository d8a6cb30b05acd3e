#include "obsconv/Bin76Decoder.h"

#include <cmath>

#include "logio/ByteReader.h"
#include "navstate/NavState.h"
#include "obsconv/EpochAssembly.h"
#include "obsconv/FixedPoint.h"
#include "obsconv/ObsConstants.h"
#include "obsconv/SatelliteUpkeep.h"
#include "rinex/ObsWriter.h"

namespace
{
using namespace PackedObsRecord;

// Frame offsets of the per-channel parts. L2 records and L1 P words exist for
// 12 channels, L1 records and channel words for 15, of which 12 are driven.
constexpr uint32_t kL2RecordsOffset = 24;
constexpr uint32_t kL1RecordsOffset = 168;
constexpr uint32_t kChannelWordsOffset = 348;
constexpr uint32_t kL1PWordsOffset = 408;

// L1 P word: code fragment in the low 16 bits, signal to noise above.
constexpr uint32_t kL1PSnrShift = 16;

// L2 and L1 P are GPS signals; satellites numbered above this have none.
constexpr uint32_t kHighestGpsPRN = 32;

// Multiplied onto the raw 12-bit signal to noise value before the logarithm:
// L1 C/A, and L2 or L1 P.
constexpr double kSnrScaleL1 = kSnrScale12Bit;
constexpr double kSnrScaleL2L1P = 0.1164;
// L2 cycles per metre (1227.6 MHz over the speed of light): with the L1
// value, turns the code range into the phase estimate that the phase
// fragment is placed on.
constexpr double kL2CyclesPerMetre = 4.094832832652519;

bool IsEmptyRecord(uint32_t word0, uint32_t word1, uint32_t word2)
{
    return word0 == 0 && word1 == 0 && word2 == 0;
}
} // namespace

void DecodeBin76Slot(SObsSlot& slot, const uint8_t* frame)
{
    // Only 12 channels are driven, and only the three GPS signals live here.
    const uint32_t n = slot.m_uChannel;
    const uint32_t signal = slot.m_uSignal;
    if (n >= kChannelsPerMessage)
        return;
    if (signal != kSignalL1 && signal != kSignalGpsL2 && signal != kSignalGpsL1P)
        return;

    const uint32_t l1Record = kL1RecordsOffset + kRecordSize * n;
    const uint32_t record = signal == kSignalGpsL2 ? kL2RecordsOffset + kRecordSize * n : l1Record;
    const uint32_t channelWord = ReadU32(frame, kChannelWordsOffset + kWordSize * n);
    const uint32_t word0 = ReadU32(frame, record + kWord0Offset);
    const uint32_t word1 = ReadU32(frame, record + kWord1Offset);
    const uint32_t word2 = ReadU32(frame, record + kWord2Offset);

    uint32_t prn = channelWord & kPrnMask;
    // A number the GPS table can't place leaves the channel empty for this
    // message; the look-up also registers numbers above 32 in the extended rows.
    const int32_t row = g_GpsNavState.SatIndexFromPRN(static_cast<int32_t>(prn));
    if (row < 0 || row >= static_cast<int32_t>(kSatRows))
        prn = 0;
    // An all-zero record is how the receiver says the signal isn't tracked.
    if (IsEmptyRecord(word0, word1, word2))
        prn = 0;
    if (signal != kSignalL1 && prn > kHighestGpsPRN)
        prn = 0;

    // A different satellite in the channel restarts its slip memory.
    const bool fresh = prn != slot.m_uPRN;
    slot.m_uPRN = prn;
    if (prn == 0)
        return; // the measurements of the last occupant stay, unused

    const uint32_t l1PWord = signal == kSignalGpsL1P ? ReadU32(frame, kL1PWordsOffset + kWordSize * n) : 0;
    const uint32_t rawSnr = signal == kSignalGpsL1P ? (l1PWord >> kL1PSnrShift) & kSnrMask : word0 & kSnrMask;
    const double snrScale = signal == kSignalL1 ? kSnrScaleL1 : kSnrScaleL2L1P;
    slot.m_dSnr = rawSnr != 0 ? 10.0 * std::log10(rawSnr * snrScale) : 0.0;

    // L1 C/A and L1 P read the same counter; each slot keeps its own memory.
    const uint32_t counter = (word0 >> kSlipCounterShift) & kSlipCounterMask;
    if (fresh)
        slot.m_uSlipCounter = counter; // a new satellite starts with delta 0
    // Unsigned subtraction wraps at 2^32, a multiple of 256: 255 -> 1 gives 2.
    slot.m_uSlipDelta = (counter - slot.m_uSlipCounter) % kSlipModulus;
    slot.m_uSlipCounter = counter;

    slot.m_bGoodLock = (word1 & kGoodLockMask) != 0 ? 1 : 0;
    slot.m_dDoppler = DoubleFromFixed((word1 >> kDopplerShift) & kDopplerMask, kDopplerFractionBits,
                                      ((word1 >> kDopplerSignShift) & 1u) != 0);

    // The L1 C/A code range is sent whole, 35 bits, across the channel word
    // and the L1 record; every other code range is its low 16 bits, placed
    // on that anchor.
    const uint32_t l1Word2 = ReadU32(frame, l1Record + kWord2Offset);
    uint64_t code = (static_cast<uint64_t>(channelWord >> kAnchorHighShift) << kCodeFragmentBits) |
                    (l1Word2 & kLow16Mask);
    const uint32_t codeFragment = signal == kSignalGpsL1P ? l1PWord & kLow16Mask : word2 & kLow16Mask;
    code = MergeLowBits(code, codeFragment, kCodeFragmentBits);
    slot.m_dPseudorange = DoubleFromFixed(code, kCodeFractionBits, false);

    // The phase comes modulo 8192 cycles; the whole cycles above that are
    // taken from the code range anew at every epoch.
    const double cyclesPerMetre = signal == kSignalGpsL2 ? kL2CyclesPerMetre : kL1CyclesPerMetre;
    uint64_t phase = FixedFromDouble(slot.m_dPseudorange * cyclesPerMetre, kPhaseFractionBits);
    const uint32_t phaseFragment = ((word1 >> kPhaseHighShift) & kPhaseHighMask) << kPhaseLowShift |
                                   word2 >> kPhaseLowShift;
    phase = MergeLowBits(phase, phaseFragment, kPhaseFragmentBits);
    slot.m_dPhase = DoubleFromFixed(phase, kPhaseFractionBits, false);

    // Every observation re-evaluates its satellite's ephemeris, which is how a
    // record that arrived since the last epoch comes into use.
    KeepSatelliteUp(g_GpsNavState, prn, slot);
}

void OnBin76(const uint8_t* frame)
{
    FlushIfEpochChanged();
    for (uint32_t n = 0; n < kChannelsPerMessage; ++n)
    {
        DecodeBin76Slot(g_aSlotGpsL1[n], frame);
        DecodeBin76Slot(g_aSlotGpsL2[n], frame);
        DecodeBin76Slot(g_aSlotGpsL1P[n], frame);
        AddGpsSlots(g_aSlotGpsL1[n], g_aSlotGpsL2[n], g_aSlotGpsL1P[n]);
    }
}
