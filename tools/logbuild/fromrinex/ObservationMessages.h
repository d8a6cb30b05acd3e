#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "logbuild/Bin76Encoder.h"
#include "logbuild/FrameWriter.h"
#include "logbuild/RinexObsReader.h"
#include "logbuild/fromrinex/SignalCodes.h"
#include "logbuild/fromrinex/WeekTime.h"

// The observation messages of an epoch, made from the satellites on their
// channels (element n of `onChannels` on channel n; null leaves it empty).
// The messages carry the Doppler with the opposite sign of RINEX's, and
// signal to noise in a 1 kHz band (C/N0 less 30 dB); the encoders quantise
// the rest.
namespace fromrinex
{
// The receiver's slip counters, one per satellite and carrier: a counter
// steps when the file marks a loss of lock on that carrier phase.
class CSlipCounters
{
public:
    uint8_t Update(const SRinexSatObs& sat, const char* phaseCode);

private:
    std::map<std::string, uint8_t> m_Counters;
};

// One signal of a satellite from its codes; not present without a code
// range, and without the lock flag without a carrier phase (how a receiver
// reports a code-only measurement).
SBin76Signal MakeSignal(const SRinexSatObs& sat, const SSignalCodes& codes, CSlipCounters& slips);

// GPS: BIN96 (L1 C/A) or BIN76 (L1 C/A, L2 and L1 P; the last three of its
// 15 channels carry L1 C/A alone).
Bytes MakeGpsObsFrame(const SWeekTime& time, bool bin96, const std::vector<const SRinexSatObs*>& onChannels,
                      CSlipCounters& slips);
// GLONASS: BIN66, L1 C/A and L2 C/A or, without it, L2 P.
Bytes MakeGlonassObsFrame(const SWeekTime& time, const std::vector<const SRinexSatObs*>& onChannels,
                          CSlipCounters& slips);
// BeiDou: packet `index` of a set of `bands.size()` BIN36, band bands[index].
Bytes MakeBeidouObsFrame(const SWeekTime& time, const std::vector<SBeidouBandCodes>& bands, size_t index,
                         const std::vector<const SRinexSatObs*>& onChannels, CSlipCounters& slips);
} // namespace fromrinex
