#include "obsconv/Bin66Decoder.h"

#include <cmath>

#include "logio/ByteReader.h"
#include "navstate/GlonassFrequencies.h"
#include "navstate/NavState.h"
#include "obsconv/EpochAssembly.h"
#include "obsconv/FixedPoint.h"
#include "obsconv/ObsConstants.h"
#include "obsconv/SatelliteUpkeep.h"

namespace
{
using namespace PackedObsRecord;

// Frame offsets of the per-channel parts, each for the message's 12 channels.
constexpr uint32_t kL1RecordsOffset = 24;
constexpr uint32_t kL2RecordsOffset = 168;
constexpr uint32_t kChannelWordsOffset = 312;

// Columns of g_aGlonassWavelength.
constexpr uint32_t kWavelengthL1 = 0;
constexpr uint32_t kWavelengthL2 = 1;
} // namespace

void DecodeBin66Slot(SObsSlot& slot, const uint8_t* frame)
{
    // Only the message's 12 channels exist, and only GLONASS L1 and L2 live here.
    const uint32_t n = slot.m_uChannel;
    const uint32_t signal = slot.m_uSignal;
    if (n >= kChannelsPerMessage)
        return;
    if (signal != kSignalL1 && signal != kSignalGloL2)
        return;

    const uint32_t l1Record = kL1RecordsOffset + kRecordSize * n;
    const uint32_t record = signal == kSignalGloL2 ? kL2RecordsOffset + kRecordSize * n : l1Record;
    const uint32_t channelWord = ReadU32(frame, kChannelWordsOffset + kWordSize * n);
    const uint32_t word0 = ReadU32(frame, record + kWord0Offset);
    const uint32_t word1 = ReadU32(frame, record + kWord1Offset);
    const uint32_t word2 = ReadU32(frame, record + kWord2Offset);

    // Only slots 1 to 24 have a row, which is also the slot's row of the
    // wavelength table. An all-zero record is a signal not tracked.
    uint32_t prn = channelWord & kPrnMask;
    const int32_t row = g_GlonassNavState.SatIndexFromPRN(static_cast<int32_t>(prn));
    if (row < 0 || row >= static_cast<int32_t>(kGlonassSlots))
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

    // The L1 code range is sent whole across the channel word and the L1
    // record; the L2 code range is its low 16 bits, placed on it.
    const uint32_t l1Word2 = ReadU32(frame, l1Record + kWord2Offset);
    uint64_t code = (static_cast<uint64_t>(channelWord >> kAnchorHighShift) << kCodeFragmentBits) |
                    (l1Word2 & kLow16Mask);
    code = MergeLowBits(code, word2 & kLow16Mask, kCodeFragmentBits);
    slot.m_dPseudorange = DoubleFromFixed(code, kCodeFractionBits, false);

    // GLONASS shares out frequencies by slot: the code range turns into whole
    // cycles through the slot's own wavelength, which follows the channel of
    // its first ephemeris. The phase comes modulo 8192 cycles.
    const double wavelength = g_aGlonassWavelength[row][signal == kSignalGloL2 ? kWavelengthL2 : kWavelengthL1];
    uint64_t phase = FixedFromDouble(slot.m_dPseudorange / wavelength, kPhaseFractionBits);
    const uint32_t phaseFragment = ((word1 >> kPhaseHighShift) & kPhaseHighMask) << kPhaseLowShift |
                                   word2 >> kPhaseLowShift;
    phase = MergeLowBits(phase, phaseFragment, kPhaseFragmentBits);
    slot.m_dPhase = DoubleFromFixed(phase, kPhaseFractionBits, false);

    // Every observation re-evaluates its satellite's ephemeris, which is how a
    // record that arrived since the last epoch comes into use.
    KeepSatelliteUp(g_GlonassNavState, prn, slot);
}

void OnBin66(const uint8_t* frame)
{
    for (uint32_t n = 0; n < kChannelsPerMessage; ++n)
    {
        DecodeBin66Slot(g_aSlotGloL1[n], frame);
        DecodeBin66Slot(g_aSlotGloL2[n], frame);
        AddGloSlots(g_aSlotGloL1[n], g_aSlotGloL2[n]);
    }
}
