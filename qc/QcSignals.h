#pragma once

#include <cstdint>
#include <string>

#include "gnsstime/GpsTime.h"
#include "qc/QcInput.h"

// What the report knows of each signal: its system, the names the
// observation file gives its code and phase, its band's nominal frequency,
// and which carrier phases its multipath and slip tests combine it with.

constexpr double kQcSpeedOfLight = 299792458.0; // m/s
constexpr uint32_t kQcNoSignal = 0xFFFFFFFFu;

struct SQcSignalInfo
{
    uint32_t m_uSystem;
    const char* m_szCode;      // observation code of the code range, "C1C"
    const char* m_szPhase;     // of the carrier phase, "L1C"; the phase of another signal for L1 P
    const char* m_szLabel;     // for people, "GPS L1 C/A"
    double m_dFrequency;       // Hz; for GLONASS the band's nominal frequency (channel 0)
    uint32_t m_uPhaseSignal;   // the signal whose carrier phase goes with this code
    // The other carrier of the multipath combination, in order of preference.
    uint32_t m_auPartner[2];
    bool m_bFirst;             // the first signal of its system: a satellite "is tracked" when it has it
    uint32_t m_uSlot;          // place among its system's signals, 0 to kQcSlotsPerSatellite - 1
};

constexpr uint32_t kQcSlotsPerSatellite = 3;

extern const SQcSignalInfo kQcSignals[kQcSignalCount];

// One letter per system, as the observation file writes it: G, R, C, S.
char SystemLetter(uint32_t system);
// "G05", "R11", "C36".
std::string SatelliteName(uint32_t system, uint32_t number);
// A GPS time as seconds since the GPS epoch; plenty for differences of microseconds.
double QcSeconds(const GpsTime& time);
// The GPS time of such seconds.
GpsTime QcGpsTime(double seconds);
// "2020-06-25 06:00:00" of seconds since the GPS epoch.
std::string FormatQcTime(double seconds);
