#include "obsconv/Bin66Decoder.h"

#include <initializer_list>

#include "logio/ByteReader.h"
#include "navstate/GlonassFrequencies.h"
#include "navstate/NavState.h"
#include "obsconv/EpochAssembly.h"
#include "obsconv/ObsFate.h"
#include "obsconv/ObsConstants.h"
#include "obsconv/PackedRecord.h"
#include "obsconv/SatelliteUpkeep.h"

namespace
{
using namespace PackedObsRecord;

// Frame offsets of the per-channel parts, each for the message's 12 channels.
constexpr uint32_t kL1RecordsOffset = 24;
constexpr uint32_t kL2RecordsOffset = 168;
constexpr uint32_t kChannelWordsOffset = 312;

// Columns of the wavelength table.
constexpr uint32_t kWavelengthL1 = 0;
constexpr uint32_t kWavelengthL2 = 1;

// The channel word and the record of channel `n` for `signal` (L1 or L2).
SPackedRecord ChannelWords(const uint8_t* frame, uint32_t n, uint32_t signal)
{
    const uint32_t record = signal == kSignalGloL2 ? kL2RecordsOffset + kRecordSize * n : kL1RecordsOffset + kRecordSize * n;
    return ReadPackedRecord(frame, kChannelWordsOffset + kWordSize * n, record);
}
} // namespace

// Runs for every observation of the log: everything it calls is inlined
// into it.
[[gnu::flatten]] void DecodeBin66Slot(SObsSlot& slot, const uint8_t* frame, CGlonassNavState& glonass,
                     const CGlonassFrequencies& frequencies, const SMaskRule& mask)
{
    // Only the message's 12 channels exist, and only GLONASS L1 and L2 live here.
    const uint32_t n = slot.m_uChannel;
    const uint32_t signal = slot.m_uSignal;
    if (n >= kChannelsPerMessage)
        return;
    if (signal != kSignalL1 && signal != kSignalGloL2)
        return;

    const uint32_t l1Record = kL1RecordsOffset + kRecordSize * n;
    const SPackedRecord words = ChannelWords(frame, n, signal);

    // Only slots 1 to 24 have a row, which is also the slot's row of the
    // wavelength table.
    slot.m_uNumberInMessage = words.IsEmpty() ? 0 : words.Prn();
    const uint32_t prn = slot.m_uNumberInMessage == 0 ? 0 : PrnWithRow(glonass, slot.m_uNumberInMessage, kGlonassSlots);

    // A different satellite in the channel restarts its slip memory.
    const bool fresh = prn != slot.m_uPRN;
    slot.m_uPRN = prn;
    if (prn == 0)
        return; // the measurements of the last occupant stay, unused

    DecodeRecordState(slot, words, words.m_uWord0 & kSnrMask, kSnrTable12Bit, fresh);

    // The L1 code range is sent whole across the channel word and the L1
    // record; the L2 code range is its low 16 bits, placed on it.
    const uint64_t anchor = CodeAnchor(words.m_uChannelWord, ReadU32(frame, l1Record + kWord2Offset));
    slot.m_dPseudorange = CodeOnAnchor(anchor, words.m_uWord2);

    // GLONASS shares out frequencies by slot: the code range turns into whole
    // cycles through the slot's own wavelength, which follows the channel of
    // its first ephemeris. The phase comes modulo 8192 cycles.
    const double wavelength = frequencies.m_aGlonassWavelength[prn - 1][signal == kSignalGloL2 ? kWavelengthL2 : kWavelengthL1];
    slot.m_dPhase = PhaseOnEstimate(slot.m_dPseudorange / wavelength, words);

    // Every observation re-evaluates its satellite's ephemeris, which is how a
    // record that arrived since the last epoch comes into use.
    KeepSatelliteUp(glonass, prn, slot, mask);
}

void OnBin66(const uint8_t* frame, SObsIntake& intake)
{
    // The intake's parts are taken once: a slot written in the loop could,
    // for the compiler, be any of them.
    SObsSlots& slots = intake.m_Slots;
    CGlonassNavState& glonass = intake.m_Glonass;
    const CGlonassFrequencies& frequencies = intake.m_Frequencies;
    const SMaskRule& mask = intake.m_Mask;
    CEpochAssembly& assembly = intake.m_Assembly;
    for (uint32_t n = 0; n < kChannelsPerMessage; ++n)
    {
        DecodeBin66Slot(slots.m_aSlotGloL1[n], frame, glonass, frequencies, mask);
        DecodeBin66Slot(slots.m_aSlotGloL2[n], frame, glonass, frequencies, mask);
        assembly.AddGloSlots(slots.m_aSlotGloL1[n], slots.m_aSlotGloL2[n]);
    }
}

uint32_t ListBin66Observations(const uint8_t* frame, ObsInMessage& out)
{
    uint32_t count = 0;
    for (uint32_t n = 0; n < kChannelsPerMessage; ++n)
    {
        for (const uint32_t signal : {kSignalL1, kSignalGloL2})
        {
            const SPackedRecord words = ChannelWords(frame, n, signal);
            if (!words.IsEmpty() && words.Prn() != 0)
                out[count++] = SObsInMessage{eSystemGlonass, words.Prn(), signal, 0};
        }
    }
    return count;
}
