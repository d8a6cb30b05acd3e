#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "logbuild/RinexObsReader.h"
#include "logbuild/fromrinex/LogBuilder.h"
#include "logbuild/fromrinex/Options.h"
#include "logbuild/fromrinex/Summary.h"

// rinex2log's whole job short of the files: the log of an observation text
// and its navigation text, as the receiver would have written it. The tests
// build their logs of station data the same way, with faults put into the
// epochs through the hook before anything is sent.
namespace fromrinex
{
struct SBuiltLog
{
    explicit SBuiltLog(const SOptions& options) : m_Log(options.m_bDamage, options.m_uSeed) {}

    CLogBuilder m_Log;
    StatsBySystem m_Stats;
    size_t m_uEpochsIn = 0;
    size_t m_uEpochsSent = 0;
    double m_dSpanSent = 0.0; // seconds from the first epoch sent to the last
    // Where the messages of each epoch sent begin in the log (the ephemerides
    // due at that epoch first): offsets between two frames.
    std::vector<size_t> m_auEpochOffsets;
    bool m_bLeapSecondsAssumed = false; // the navigation file has no LEAP SECONDS line
    bool m_bHaveBdut = false;
};

// Changes the epochs read from the observation text before they are sent.
using EpochHook = std::function<void(std::vector<SRinexObsEpoch>&)>;

// The log of `obsText` and `navText` with `options` (the file names of which
// only name the texts in `error`). Nothing, with the reason in `error`, when
// a text can't be read or has no epoch in GPS time.
std::optional<SBuiltLog> BuildLog(const SOptions& options, const std::string& obsText, const std::string& navText,
                                  std::string& error, const EpochHook& hook = nullptr);
} // namespace fromrinex
