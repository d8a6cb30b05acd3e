#pragma once

// The local date and time of the machine, for the "PGM / RUN BY / DATE" lines.
struct SLocalClock
{
    int m_iYear;   // four digits
    int m_iMonth;  // 1 to 12
    int m_iDay;    // 1 to 31
    int m_iHour;   // 0 to 23
    int m_iMinute; // 0 to 59
    int m_iSecond; // 0 to 60
};

// Reads the local clock now.
SLocalClock GetLocalClock();
