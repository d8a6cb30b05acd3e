#pragma once

#include <array>
#include <cstddef>
#include <istream>
#include <map>
#include <string>
#include <vector>

#include "logbuild/RinexObsReader.h"

// Reads RINEX 3 navigation files, mixed or of one system: the header's
// ionosphere, time correction and leap second lines, and the records of every
// system as plain numbers. GLONASS records may have three or four broadcast
// orbit lines (3.05 adds the fourth): a record takes every line behind its
// first that starts with a blank.

struct SRinexTimeCorrection
{
    double m_dA0 = 0.0;      // seconds
    double m_dA1 = 0.0;      // seconds per second
    int m_iRefSeconds = 0;   // reference time, seconds of week
    int m_iRefWeek = 0;      // reference week
};

struct SRinexLeapSeconds
{
    bool m_bPresent = false;
    int m_iDeltaLs = 0;
    // The announced event; when the line leaves it blank, no change is due:
    // the count after it equals m_iDeltaLs and week and day are 0.
    int m_iDeltaLsf = 0;
    int m_iWeekLsf = 0;
    int m_iDayLsf = 0;
};

struct SRinexNavHeader
{
    double m_dVersion = 0.0;
    // IONOSPHERIC CORR by type ("GPSA", "GPSB", "BDSA", ...).
    std::map<std::string, std::array<double, 4>> m_Ionosphere;
    // TIME SYSTEM CORR by type ("GPUT", "BDUT", "GLUT", ...).
    std::map<std::string, SRinexTimeCorrection> m_TimeCorrections;
    SRinexLeapSeconds m_Leap;
};

struct SRinexNavRecord
{
    char m_cSystem = ' ';
    int m_iPrn = 0;
    SRinexDateTime m_Time; // clock reference time, in the system's own time scale
    // The three clock fields of the first line, then four per broadcast orbit
    // line: field f (from 1) of orbit line n (from 1) is element 3 + 4(n - 1) + f - 1.
    // A blank field is NaN.
    std::vector<double> m_adValues;

    bool Has(size_t index) const;
    // The value, or `fallback` for a blank or missing field.
    double Get(size_t index, double fallback = 0.0) const;
};

class CRinexNavReader : public CRinexLineSource
{
public:
    explicit CRinexNavReader(std::istream& in) : CRinexLineSource(in) {}

    // Reads the header up to END OF HEADER. False, with a reason in Error(),
    // for anything but a RINEX 3 navigation file.
    bool ReadHeader();
    const SRinexNavHeader& Header() const { return m_Header; }

    // The next record of any system. False at the end of the text, or on a
    // record that can't be read, with a reason in Error().
    bool NextRecord(SRinexNavRecord& record);

private:
    SRinexNavHeader m_Header;
    std::string m_szPending; // a record's first line, read while looking for the end of the one before
    bool m_bHavePending = false;
};
