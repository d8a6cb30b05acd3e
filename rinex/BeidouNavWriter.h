#pragma once

#include <cstdint>

#include "gnsstime/GpsTime.h"
#include "navstate/NavRecords.h"
#include "rinex/NavWriter.h"

// The BeiDou navigation file: the record of one satellite and issue in BDT,
// the BDUT line from the stored BIN34, and the LEAP SECONDS line, which waits
// for the run's UTC state to give the leap seconds. The header reserves
// its four lines as the GPS header does; lines 0 and 1 stay blank COMMENT
// lines.
class CWriteRinexBeiDouNav : public CWriteRinexNav
{
public:
    // Records from `table`; the BDUT line from the BIN34 and the leap
    // seconds from `utc`.
    CWriteRinexBeiDouNav(CBeidouNavState& table, CUtcState& utc);

    // Version line, program line, four blank reserved lines, end of header.
    // Called only from the pass.
    void WriteHeader();
    // The pass over satellites 1 to 63: a record goes out when its toe key
    // differs from the last one written for the satellite. Then fills the
    // LEAP SECONDS line once the run's UTC state gives the leap seconds, and
    // the BDUT line once behind the header.
    void WritePending();
    // Appends the record of satellite `number` at the stream's position.
    void WriteBeidouRecord(uint32_t number, const SBeidouEphemeris& record);
    // Fills the BDUT line from the stored BIN34. The conversion loop calls it
    // after every BIN34 it stores, so the file shows the log's last one.
    void WriteBdutLine();

    uint8_t m_bLeapPassDone = 0;
    uint8_t m_bBdutWritten = 0;

private:
    CBeidouNavState& m_Table;
};


