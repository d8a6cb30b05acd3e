#pragma once

#include <cstdint>

#include "gnsstime/GpsTime.h"
#include "navstate/GlonassFrequencies.h"
#include "navstate/NavRecords.h"
#include "navstate/NavState.h"
#include "rinex/NavWriter.h"

// The GLONASS navigation file: a four-line record per slot and tb, the GLUT
// line that the first record fills in, and the LEAP SECONDS line, which waits
// for the run's UTC state to give the leap seconds. The header reserves
// only lines 2 (time correction) and 3 (leap seconds).
class CWriteRinexGlonassNav : public CWriteRinexNav
{
public:
    // Records from `table`, each with the frequency channel of its slot in
    // `frequencies`; the leap seconds from `utc`.
    CWriteRinexGlonassNav(CGlonassNavState& table, CUtcState& utc, const CGlonassFrequencies& frequencies);

    // Version line, program line, the reserved CORR TO SYSTEM TIME and LEAP
    // SECONDS lines, end of header. Called only from the pass.
    void WriteHeader();
    // The pass over slots 1 to 24: a record goes out when its tb differs from
    // the last one written for the slot. Then fills the LEAP SECONDS line once
    // the run's UTC state gives the leap seconds.
    void WritePending();
    // Appends the record of `slot` at the stream's position; the first record
    // of the run fills the GLUT line.
    void WriteGlonassRecord(uint32_t slot, const SGlonassEphemeris& record);

    // A new tb makes a new record.
    static uint32_t IssueKeyTb(const SGlonassEphemeris& record) { return record.m_uTb; }

    uint8_t m_bGlutWritten = 0;
    uint8_t m_bLeapPassDone = 0;

private:
    void WriteHeaderFromPass();

    CGlonassNavState& m_Table;
    const CGlonassFrequencies& m_Frequencies;
};

// UTC calendar date and time of GLONASS time: `seconds` of the Moscow day
// `nt` (1 to 1461) of four-year interval `n4`. Moscow time is UTC + 3 h with
// no other correction.
void GlonassToCalendar(uint32_t n4, uint32_t nt, double seconds, SCalendarTime& calendar);


