#include "gnsstime/GpsTime.h"

#include <cmath>
#include <cstdint>

namespace
{

// Days from 1 March of year 0 of the Gregorian calendar to 6 January 1980:
// 719468 days to 1 January 1970, and 3657 more to the GPS epoch.
constexpr int64_t kDaysFromMarchYear0ToGpsEpoch = 719468 + 3657;

// Seconds this far outside the week are first brought near it in one step,
// so that a damaged seconds value can't keep the week loop running for
// billions of rounds.
constexpr double kStepwiseLimit = 1024.0 * kSecondsPerWeek;

// Brings the seconds into [0, 604800) and moves the week with them.
//
// The week is moved one week at a time, as a receiver's seconds of week are
// at most a week or two off. For values beyond kStepwiseLimit the whole weeks
// are taken off in one exact step first; the result is the same as stepping,
// since each of those steps is exact at these magnitudes.
void BringIntoWeek(GpsTime& time)
{
    double& seconds = time.m_dSeconds;
    if (!std::isfinite(seconds))
    {
        // Only a damaged message carries such a value; take the start of its
        // week rather than loop forever or convert garbage to an integer.
        seconds = 0.0;
        return;
    }

    if (std::fabs(seconds) >= kStepwiseLimit)
    {
        double rest = std::fmod(seconds, kSecondsPerWeek); // exact, sign of seconds
        if (rest == 0.0)
            rest = 0.0; // no negative zero: stepping up from below ends on +0.0
        // The whole weeks taken off, kept modulo 2^32 like the week counter.
        double weeks = std::fmod(std::floor((seconds - rest) / kSecondsPerWeek), 4294967296.0);
        if (weeks < 0.0)
            weeks += 4294967296.0;
        time.m_uWeek += static_cast<uint32_t>(static_cast<uint64_t>(weeks));
        seconds = rest;
    }

    while (seconds < 0.0)
    {
        seconds += kSecondsPerWeek;
        --time.m_uWeek;
    }
    while (seconds >= kSecondsPerWeek)
    {
        seconds -= kSecondsPerWeek;
        ++time.m_uWeek;
    }
}

// Quotient of a by b > 0, rounded toward minus infinity.
int64_t FloorDiv(int64_t a, int64_t b)
{
    return (a >= 0 ? a : a - (b - 1)) / b;
}

// Year, month and day of the day `dayCount` after 6 January 1980, which is
// negative for days before it.
//
// This is the full Gregorian calendar, counted in 64 bits. A count of seconds
// since the epoch in 32 signed bits runs out during week 3550 (January 2048),
// and taking every fourth year as a leap year puts every date from 1 March
// 2100 on one day early. Both are well inside the working life of logs
// recorded today, so neither limit is taken. From 1980 to 28 February 2100
// the dates are the same as under the every-fourth-year rule.
void DateFromDayCount(int64_t dayCount, SCalendarTime& calendar)
{
    // Counting from 1 March puts the leap day at the end of the counted year,
    // so that the length of every month but the last is fixed.
    const int64_t days = dayCount + kDaysFromMarchYear0ToGpsEpoch;
    const int64_t era = FloorDiv(days, 146097);                    // 400-year cycles
    const int64_t dayOfEra = days - era * 146097;                  // 0 to 146096
    const int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365; // 0 to 399
    const int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int64_t monthFromMarch = (5 * dayOfYear + 2) / 153; // 0 is March, 11 is February
    const int64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;

    calendar.m_iYear = static_cast<int32_t>(era * 400 + yearOfEra + (month <= 2 ? 1 : 0));
    calendar.m_iMonth = static_cast<int32_t>(month);
    calendar.m_iDay = static_cast<int32_t>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
}

} // namespace

void GpsToCalendar(GpsTime& time, SCalendarTime& calendar)
{
    BringIntoWeek(time);

    // Whole seconds and the fraction, which is carried unchanged into the
    // calendar's seconds so that sub-second epochs print exactly.
    const double wholeSeconds = std::floor(time.m_dSeconds);
    const int64_t secondOfWeek = static_cast<int64_t>(wholeSeconds);
    const double fraction = time.m_dSeconds - wholeSeconds;

    // The week counter runs modulo 2^32, so a time a little before the epoch
    // (only a damaged message gives one) stands at the top of its range. Read
    // as a signed count it is dated before 1980, in four-digit years like
    // every other, instead of 82 million years ahead.
    const int64_t week = static_cast<int32_t>(time.m_uWeek);
    const int64_t sinceEpoch = week * kWeekSeconds + secondOfWeek;
    const int64_t dayCount = FloorDiv(sinceEpoch, kDaySeconds);
    const int64_t secondOfDay = sinceEpoch - dayCount * kDaySeconds;

    DateFromDayCount(dayCount, calendar);

    const int32_t hour = static_cast<int32_t>(secondOfDay / 3600);
    const int32_t minute = static_cast<int32_t>((secondOfDay - hour * 3600) / 60);
    calendar.m_iHour = hour;
    calendar.m_iMinute = minute;
    calendar.m_dSeconds =
        static_cast<double>(secondOfDay - (static_cast<int64_t>(hour) * 60 + minute) * 60) + fraction;
    calendar.m_iSecond = static_cast<int32_t>(calendar.m_dSeconds);
}

void GpsPlusToCalendar(const GpsTime& time, SCalendarTime& calendar, double offset)
{
    // The writers' offsets are a fraction of a second, so one carry into the
    // next week is all the copy can need before the conversion proper.
    GpsTime shifted = time;
    shifted.m_dSeconds += offset;
    if (shifted.m_dSeconds >= kSecondsPerWeek)
    {
        shifted.m_dSeconds -= kSecondsPerWeek;
        ++shifted.m_uWeek;
    }
    GpsToCalendar(shifted, calendar);
}

double GpsUtcOffset(const GpsTime& time, const SUtcParams& utc)
{
    if (utc.m_uStatus != kUtcParamsFilled)
        return 0.0;

    // Seconds from `time` to the leap second event. The event may lie in an
    // earlier week than `time`, so the week difference is signed.
    const int64_t weeksToEvent =
        static_cast<int64_t>(utc.m_uWnLsf) - static_cast<int64_t>(time.m_uWeek);
    const double toEvent =
        static_cast<double>(weeksToEvent * kWeekSeconds + static_cast<int64_t>(utc.m_uDn) * kDaySeconds) -
        time.m_dSeconds;

    // The count before the event holds up to the event and not a moment
    // after it.
    const int32_t leapSeconds = (toEvent + utc.m_iDtLs >= 0.0) ? utc.m_iDtLs : utc.m_iDtLsf;

    // Time since the reference of the UTC data, again with a signed week
    // difference, scales the drift term.
    const int64_t weeksSinceReference =
        static_cast<int64_t>(time.m_uWeek) - static_cast<int64_t>(utc.m_uWnt);
    return (static_cast<double>(weeksSinceReference * kWeekSeconds) + time.m_dSeconds -
            static_cast<double>(utc.m_uTot)) *
               utc.m_dA1 +
           leapSeconds + utc.m_dA0;
}

uint16_t WeekOfReference(uint16_t week, double referenceSeconds, double dataSeconds)
{
    constexpr double kHalfWeekSeconds = kSecondsPerWeek / 2.0;
    const double apart = referenceSeconds - dataSeconds;
    if (apart > kHalfWeekSeconds)
        return static_cast<uint16_t>(week - 1);
    if (apart < -kHalfWeekSeconds)
        return static_cast<uint16_t>(week + 1);
    return week;
}

void GpsToBdt(GpsTime& time)
{
    time.m_dSeconds -= static_cast<double>(kBdtBehindGpsSeconds);
    if (time.m_dSeconds < 0.0)
    {
        time.m_dSeconds += kSecondsPerWeek;
        --time.m_uWeek;
    }
}

uint32_t RoundToUnsigned(double value)
{
    const double rounded = value + 0.5;
    // Values that don't fit are held at the ends of the range (no number at
    // all gives 0) instead of being converted with an undefined result.
    if (!(rounded >= 0.0))
        return 0;
    if (rounded >= 4294967296.0)
        return UINT32_MAX;
    return static_cast<uint32_t>(rounded);
}
