#pragma once

#include <cstdint>
#include <cstdio>

#include "gnsstime/GpsTime.h"

// What a run found and wrote; zeroed at the start of the conversion.
struct SRunStats
{
    uint32_t m_uObsEpochsFound;  // accepted BIN96 or BIN76, repeats of an epoch included
    uint32_t m_uGpsEphFound;     // BIN95
    uint32_t m_uSbasEphFound;    // BIN93; counted, never printed
    uint32_t m_uIonoUtcFound;    // BIN94
    uint32_t m_uEpochsWritten;   // epochs with at least one satellite
    uint32_t m_uObsWritten;      // satellites summed over those epochs
    uint32_t m_uNavSatsWritten;  // satellites with a first navigation record, all systems
    uint32_t m_uNavWrites;       // navigation records written, all systems
    GpsTime m_timeFirstEpoch;    // week 0 while no epoch was processed
    uint32_t m_uGlonassObsFound; // BIN66, dropped ones included
    uint32_t m_uGlonassEphFound; // BIN65
    uint32_t m_uBeidouObsFound;  // BIN36, dropped ones included
    uint32_t m_uBeidouEphFound;  // BIN35
};

extern SRunStats RunStats;

// Prints the end-of-run summary to `stream`, which is not null. Changes nothing.
void WriteRunSummary(std::FILE* stream);
