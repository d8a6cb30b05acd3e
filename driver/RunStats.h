#pragma once

#include <cstdint>
#include <cstdio>

#include "gnsstime/GpsTime.h"

// What a run found and wrote; zero at the start of the conversion.
struct SRunStats
{
    uint32_t m_uObsEpochsFound = 0;  // accepted BIN96 or BIN76, repeats of an epoch included
    uint32_t m_uGpsEphFound = 0;     // BIN95
    uint32_t m_uIonoUtcFound = 0;    // BIN94
    uint32_t m_uEpochsWritten = 0;   // epochs with at least one satellite
    uint32_t m_uObsWritten = 0;      // satellites summed over those epochs
    uint32_t m_uNavSatsWritten = 0;  // satellites with a first navigation record, all systems
    uint32_t m_uNavWrites = 0;       // navigation records written, all systems
    GpsTime m_timeFirstEpoch{};      // week 0 while no epoch was processed
    uint32_t m_uGlonassObsFound = 0; // BIN66, dropped ones included
    uint32_t m_uGlonassEphFound = 0; // BIN65
    uint32_t m_uBeidouObsFound = 0;  // BIN36, dropped ones included
    uint32_t m_uBeidouEphFound = 0;  // BIN35
};

// Prints the end-of-run summary of `stats` to `stream`, which is not null.
void WriteRunSummary(std::FILE* stream, const SRunStats& stats);
