#pragma once

#include <cstdint>

#include "gnsstime/GpsTime.h"
#include "navstate/BeidouCarriers.h"
#include "navstate/NavState.h"

// An epoch as the epoch assembly hands it on, as plain data: its time, every
// signal of every satellite that was added, which signals the log has shown
// so far, the interval, and the satellites of its epoch line. Whoever drives
// the assembly passes it to the observation writer.

// One signal of one satellite in the pending epoch.
struct SObsEntry
{
    double m_dPseudorange; // metres
    double m_dPhase;       // cycles
    double m_dDoppler;     // Hz, in the sign the file shows
    uint32_t m_uLli;       // a loss of lock was seen since the last written epoch
    uint32_t m_uStrength;  // signal strength digit, 1 to 9
    uint32_t m_uPRN;       // satellite number; survives the reset between epochs
    uint8_t m_bValid;      // holds data of the pending epoch
    uint8_t m_bGood;       // carrier lock flag set and a row of its own (not an SBAS row)
};

// A signal counts in the epoch when it holds data of the epoch with a good lock.
inline bool IsListed(const SObsEntry& entry)
{
    return entry.m_bValid && entry.m_bGood;
}

constexpr uint32_t kBdsBands = kBeidouBands;

// Satellites of one epoch line, all systems: every GPS number up to 32, every
// GLONASS slot and every BeiDou number may stand in it at once.
constexpr uint32_t kEpochListSize = kFixedRows + kGlonassSlots + kBeidouRows;

// An element of the epoch line's list is the satellite number plus its
// system's base, so that the list tells the systems apart by number ranges.
enum ESystem : int32_t
{
    eSystemNone = -1,
    eSystemGps = 0,
    eSystemGlonass = 1,
    eSystemBeidou = 2,
};
constexpr int32_t g_aSystemBase[3] = {0, 35, 59};

// The system of a list element, eSystemNone for none.
inline int32_t SystemOfListEntry(int32_t element)
{
    for (int32_t system = eSystemBeidou; system >= eSystemGps; --system)
        if (element > g_aSystemBase[system])
            return system;
    return eSystemNone;
}

struct SObsEpoch
{
    GpsTime m_timeEpoch;     // time of the epoch
    GpsTime m_timeFirstObs;  // time of the first epoch handed on
    double m_dInterval;      // seconds: given by -N, or learnt from the log
    uint8_t m_bIntervalFixed; // -N gave the interval

    // The signals the log has shown so far: they decide the file's columns.
    uint8_t m_bSeenL2;       // a BIN76 or BIN66 message: GPS and GLONASS lines carry L2
    uint8_t m_bSeenL1P;      // the same with -P1: GPS lines carry C1Y
    uint8_t m_bSeenGlonass;  // a BIN66 message
    uint8_t m_abSeenBeidou[kBdsBands]; // a BIN36 message of the band

    SObsEntry m_aGpsL1[kSatRows];
    SObsEntry m_aGpsL2[kSatRows];
    SObsEntry m_aGpsL1P[kSatRows];
    SObsEntry m_aGloL1[kSatRows];
    SObsEntry m_aGloL2[kSatRows];
    SObsEntry m_aBds[kBdsBands][kBeidouRows];
    // BeiDou rows behind this one have never been reached: they hold nothing.
    uint32_t m_uBdsRowsInUse;

    // The satellites of the epoch line, in the order of their lines: GPS
    // rows ascending, then GLONASS slots, then BeiDou rows.
    int32_t m_aiList[kEpochListSize];
    uint32_t m_uListCount;
};

// Makes the epoch line's list: every satellite with data, in ascending row
// order per system; the list has room for all of them. Numbers outside a
// system's range never enter it: the list tells systems apart by number
// ranges alone.
void SelectListed(SObsEpoch& epoch);

// Clears what belongs to the pending epoch alone (the loss-of-lock marks and
// the flags); measurements, numbers and strengths live on.
void ClearEpochTables(SObsEpoch& epoch);
