#include <cstdint>
#include <cstdio>

#include "gnsstime/GlonassDays.h"
#include "gnsstime/GpsTime.h"
#include "navstate/GlonassFrequencies.h"
#include "navstate/NavState.h"
#include "navstate/UtcState.h"
#include "rinex/GlonassNavWriter.h"
#include "rinex/NumberFields.h"

// The GLONASS navigation file. A record's date comes straight from the day
// and tb fields of the strings, not from the GPS time the intake worked out,
// so the file shows the UTC time of tb as the satellite sent it.

namespace
{

constexpr const char* kGlonassTypeText = "R: GLONASS";

// The two reserved lines of the GLONASS header. The first record replaces
// the time correction placeholder by its GLUT line.
constexpr const char* kTimeCorrPlaceholder =
    "                                                            CORR TO SYSTEM TIME \n";
constexpr const char* kLeapSecondsPlaceholder =
    "                                                            LEAP SECONDS        \n";

// GLUT carries tau c only: the file has no drift term and no reference time
// or week for it.
constexpr double kGlutRate = 0.0;
constexpr unsigned long kGlutReferenceTime = 0;
constexpr unsigned long kGlutReferenceWeek = 0;

constexpr double kSecondsPerMinute = 60.0;

// Interval 1 starts with 1996.
constexpr int64_t kYearBeforeInterval0 = 1991;

// Days in the year before the start of each month, and the year's length.
constexpr int32_t kMonthStartCommon[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
constexpr int32_t kMonthStartLeap[13] = {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366};

constexpr double kHoursPerSecond = 0.0002777777777777778;
constexpr double kMinutesPerSecond = 0.016666666666666666;
constexpr int32_t kLastHour = 23;
constexpr int32_t kLastMinute = 59;

// Frequency number of the record's satellite, by n of string 4. An n outside
// the slots can only come from damaged strings; the slot the message arrived
// for stands in for it then.
double FrequencyNumber(const CGlonassFrequencies& frequencies, uint32_t stringSlot, uint32_t passSlot)
{
    uint32_t slot = stringSlot;
    if (slot < 1 || slot > kGlonassSlots)
        slot = passSlot;
    if (slot < 1 || slot > kGlonassSlots)
        return 0.0;
    return static_cast<double>(frequencies.FrequencyChannel(slot - 1));
}

} // namespace

CWriteRinexGlonassNav::CWriteRinexGlonassNav(CGlonassNavState& table, CUtcState& utc,
                                             const CGlonassFrequencies& frequencies)
    : CWriteRinexNav(table, utc), m_Table(table), m_Frequencies(frequencies)
{
}

void GlonassToCalendar(uint32_t n4, uint32_t nt, double seconds, SCalendarTime& calendar)
{
    // Signed and wide: an N4 or NT of 0 from damaged strings steps below
    // zero here instead of wrapping.
    int64_t interval = n4;
    int64_t day = nt;
    MoscowToUtcDay(interval, day, seconds);
    // Damaged strings can also carry a tb past midnight, an NT of 0 or an NT
    // beyond the 1461 days of an interval. The time then counts on into the
    // days and years around, as the GPS time that the intake works out for
    // the record does, and every field of the date keeps its width.
    for (; seconds >= kDaySeconds; seconds -= kDaySeconds)
        ++day;
    const int64_t yearInInterval = YearOfInterval(day);
    int32_t year = static_cast<int32_t>(yearInInterval + kYearsPerInterval * interval + kYearBeforeInterval0);
    const auto daysInYear = [](int32_t y) { return (y % 4 == 0 ? kMonthStartLeap : kMonthStartCommon)[12]; };
    while (day < 1)
        day += daysInYear(--year);
    while (day > daysInYear(year))
        day -= daysInYear(year++);
    calendar.m_iYear = year;

    // The first month whose end is not before the day.
    const int32_t* monthStart = year % 4 == 0 ? kMonthStartLeap : kMonthStartCommon;
    int32_t month = 1;
    while (month < 12 && monthStart[month] < day)
        ++month;
    calendar.m_iMonth = month;
    calendar.m_iDay = static_cast<int32_t>(day - monthStart[month - 1]);

    // Held to the day in floating point, before the conversion to an integer.
    double hours = seconds * kHoursPerSecond;
    if (hours > kLastHour)
        hours = kLastHour;
    const int32_t hour = static_cast<int32_t>(hours);
    double minutes = (seconds - hour * 3600) * kMinutesPerSecond;
    if (minutes > kLastMinute)
        minutes = kLastMinute;
    const int32_t minute = static_cast<int32_t>(minutes);
    calendar.m_iHour = hour;
    calendar.m_iMinute = minute;
    calendar.m_dSeconds = seconds - hour * 3600 - minute * 60;
    calendar.m_iSecond = static_cast<int32_t>(calendar.m_dSeconds);
}

void CWriteRinexGlonassNav::WriteHeader()
{
    if (m_pFile == nullptr)
        return;

    char versionLine[kNavLineBytes + 1];
    MakeVersionLine(kGlonassTypeText, versionLine);
    HeaderBegin(versionLine);
    ReserveLine(kReservedTimeSystemCorr, kTimeCorrPlaceholder);
    ReserveLine(kReservedLeapSeconds, kLeapSecondsPlaceholder);
    HeaderEnd();
}

void CWriteRinexGlonassNav::WriteHeaderFromPass()
{
    WriteHeader();
}

void CWriteRinexGlonassNav::WritePending()
{
    WriteNewIssues(*this, m_Table, kGlonassSlots, &CWriteRinexGlonassNav::WriteHeaderFromPass,
                   &CWriteRinexGlonassNav::IssueKeyTb, &CWriteRinexGlonassNav::WriteGlonassRecord);

    // The leap seconds come from the run's UTC state; until it is taken the
    // placeholder stays.
    if (m_bHeaderWritten && m_Utc.m_iGpsLeapSeconds != 0 && !m_bLeapPassDone)
    {
        FillLeapSecondsLine(m_Utc.m_iGpsLeapSeconds);
        m_bLeapPassDone = 1;
    }
}

void CWriteRinexGlonassNav::WriteGlonassRecord(uint32_t slot, const SGlonassEphemeris& record)
{
    if (m_pFile == nullptr)
        return;

    SCalendarTime calendar{};
    GlonassToCalendar(record.m_uN4, record.m_uNt, record.m_uTbMinutes * kSecondsPerMinute, calendar);

    // Only the first record of the run reaches the GLUT line: a later tau c
    // leaves the header as it is. RINEX's correction is -tau c.
    if (!m_bGlutWritten)
    {
        char a0[kFieldD17 + 1];
        char a1[kFieldD16 + 1];
        FormatD17(-record.m_dTauC, a0);
        FormatD16(kGlutRate, a1);
        FillReservedLine(kReservedTimeSystemCorr, "GLUT %17.17s%16.16s%7lu%5lu          TIME SYSTEM CORR    \n", a0,
                         a1, kGlutReferenceTime, kGlutReferenceWeek);
        m_bGlutWritten = 1;
    }

    // tb is a whole number of minutes, so the frame time is the UTC second
    // of the day of tb; the receiver's tk isn't used.
    const double frameTime = calendar.m_iHour * 3600.0 + calendar.m_iMinute * 60.0;

    // RINEX's clock bias has the sign of -tau n.
    WriteClockLine('R', slot, calendar, static_cast<int>(calendar.m_dSeconds), -record.m_dTauN, record.m_dGamma,
                   frameTime);

    // Kilometres, km/s and km/s2 as the record holds them. The health field
    // is Bn itself.
    WriteOrbitRow(*this, record.m_dX, record.m_dVx, record.m_dAx, record.m_uBn);
    WriteOrbitRow(*this, record.m_dY, record.m_dVy, record.m_dAy, FrequencyNumber(m_Frequencies, record.m_uSlot, slot));
    WriteOrbitRow(*this, record.m_dZ, record.m_dVz, record.m_dAz, record.m_uEn);
}
