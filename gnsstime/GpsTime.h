#pragma once

#include <cstdint>

// A GPS time: the full week count since 6 January 1980 (no rollover applied)
// and the seconds of that week. Week 0 means the time isn't set.
struct GpsTime
{
    uint32_t m_uWeek;
    double m_dSeconds;
};

// A calendar date and time made from a GPS time. Calendar dates are GPS-time
// dates: no leap second is applied.
struct SCalendarTime
{
    int32_t m_iYear;
    int32_t m_iMonth;   // 1 to 12
    int32_t m_iDay;     // 1 to 31
    int32_t m_iHour;    // 0 to 23
    int32_t m_iMinute;  // 0 to 59
    int32_t m_iSecond;  // whole seconds, 0 to 59
    double m_dSeconds;  // the seconds with their fraction
};

// Ionosphere and UTC parameters in the form the time conversions read.
constexpr uint16_t kUtcParamsFilled = 2;
struct SUtcParams
{
    uint16_t m_uStatus; // kUtcParamsFilled once taken from a BIN94, else 0
    double m_dAlpha0, m_dAlpha1, m_dAlpha2, m_dAlpha3;
    double m_dBeta0, m_dBeta1, m_dBeta2, m_dBeta3;
    double m_dA0;    // seconds
    double m_dA1;    // seconds per second
    uint32_t m_uTot; // reference time of the UTC data, seconds of week
    uint32_t m_uWnt; // reference week of the UTC data
    uint32_t m_uWnLsf; // week of the leap second event
    uint16_t m_uDn;    // day of the event, 1 to 7
    int16_t m_iDtLs;   // leap seconds before the event
    int16_t m_iDtLsf;  // leap seconds after the event
};

// Whole seconds of a day and of a week.
constexpr uint32_t kDaySeconds = 86400;
constexpr uint32_t kWeekSeconds = 7 * kDaySeconds;
constexpr double kSecondsPerWeek = kWeekSeconds;

// BeiDou time (BDT) runs this many whole seconds behind GPS time, and counts
// its weeks from GPS week 1356.
constexpr uint32_t kBdtBehindGpsSeconds = 14;
constexpr uint32_t kBdtFirstGpsWeek = 1356;

// The run's current time, moved only by the epoch messages. Week 0 while no
// epoch message has set it.
class CLogTime
{
public:
    void GetLogTime(GpsTime& time) const { time = m_time; }
    const GpsTime& Now() const { return m_time; }
    void SetLogTime(double seconds, uint32_t week) { m_time = GpsTime{week, seconds}; }

private:
    GpsTime m_time{};
};

// Fills `calendar`; `time` is first brought into the range of a week in place,
// so the caller's value can change. Dates follow the Gregorian calendar for
// any week count.
void GpsToCalendar(GpsTime& time, SCalendarTime& calendar);
// The same for `time` plus `offset` seconds, leaving `time` alone.
void GpsPlusToCalendar(const GpsTime& time, SCalendarTime& calendar, double offset);
// GPS time minus UTC at `time` in seconds, or 0.0 while `utc` is empty.
double GpsUtcOffset(const GpsTime& time, const SUtcParams& utc);
// The week of a reference time (`referenceSeconds`, seconds of week) of data
// sent in `week` at `dataSeconds`: that week, or the one next to it when the
// reference lies more than half a week from the time the data were sent.
uint16_t WeekOfReference(uint16_t week, double referenceSeconds, double dataSeconds);

// Moves a GPS time to BDT in place. The week stays a GPS week number.
void GpsToBdt(GpsTime& time);

// `value` + 0.5 truncated to unsigned 32 bits; values that don't fit are held
// at 0 or at the largest unsigned 32-bit value.
uint32_t RoundToUnsigned(double value);
