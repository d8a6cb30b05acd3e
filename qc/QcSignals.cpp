#include "qc/QcSignals.h"

#include <cmath>
#include <cstdio>

// GPS L1 P has no carrier phase of its own in the messages: its multipath
// combination takes the L1 C/A phase. BeiDou B1I pairs with B3I where a
// satellite has it (the newer satellites have no B2I), else with B2I.
const SQcSignalInfo kQcSignals[kQcSignalCount] = {
    {eQcGps, "C1C", "L1C", "GPS L1 C/A", 1575.42e6, eQcGpsL1CA, {eQcGpsL2, kQcNoSignal}, true, 0},
    {eQcGps, "C2Y", "L2Y", "GPS L2", 1227.60e6, eQcGpsL2, {eQcGpsL1CA, kQcNoSignal}, false, 1},
    {eQcGps, "C1Y", "L1C", "GPS L1 P", 1575.42e6, eQcGpsL1CA, {eQcGpsL2, kQcNoSignal}, false, 2},
    {eQcGlonass, "C1C", "L1C", "GLONASS L1", 1602.0e6, eQcGloL1, {eQcGloL2, kQcNoSignal}, true, 0},
    {eQcGlonass, "C2C", "L2C", "GLONASS L2", 1246.0e6, eQcGloL2, {eQcGloL1, kQcNoSignal}, false, 1},
    {eQcBeidou, "C2I", "L2I", "BeiDou B1I", 1561.098e6, eQcBdsB1, {eQcBdsB3, eQcBdsB2}, true, 0},
    {eQcBeidou, "C7I", "L7I", "BeiDou B2I", 1207.14e6, eQcBdsB2, {eQcBdsB1, kQcNoSignal}, false, 1},
    {eQcBeidou, "C6I", "L6I", "BeiDou B3I", 1268.52e6, eQcBdsB3, {eQcBdsB1, kQcNoSignal}, false, 2},
};

char SystemLetter(uint32_t system)
{
    static const char kLetters[kQcSystemCount] = {'G', 'R', 'C', 'S'};
    return system < kQcSystemCount ? kLetters[system] : '?';
}

std::string SatelliteName(uint32_t system, uint32_t number)
{
    char text[16];
    std::snprintf(text, sizeof text, "%c%02u", SystemLetter(system), number % 1000);
    return text;
}

double QcSeconds(const GpsTime& time)
{
    return static_cast<double>(time.m_uWeek) * kSecondsPerWeek + time.m_dSeconds;
}

GpsTime QcGpsTime(double seconds)
{
    const double week = std::floor(seconds / kSecondsPerWeek);
    return GpsTime{static_cast<uint32_t>(week), seconds - week * kSecondsPerWeek};
}

std::string FormatQcTime(double seconds)
{
    SCalendarTime calendar{};
    const GpsTime time = QcGpsTime(std::floor(seconds + 0.5));
    GpsPlusToCalendar(time, calendar, 0.0);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", calendar.m_iYear, calendar.m_iMonth,
                  calendar.m_iDay, calendar.m_iHour, calendar.m_iMinute, calendar.m_iSecond);
    return text;
}
