#pragma once

#include <cstdint>

// GLONASS counts its days NT from 1 in four-year intervals N4, in Moscow
// time. This turns a Moscow time into the UTC day it belongs to, and the day
// of the interval into a year of the interval and a day of that year.

// Moscow time runs three hours ahead of UTC; a Moscow time in the first three
// hours of a day belongs to the UTC day before.
constexpr double kMoscowAheadOfUtc = 10800.0;
constexpr double kMoscowDayWrap = 75600.0; // one day less the three hours

// The first year of an interval is the leap year; interval 1 starts with 1996.
constexpr uint32_t kGlonassDaysInInterval = 1461;
constexpr uint32_t kLastDayOfYear1 = 366;
constexpr uint32_t kLastDayOfYear2 = 731;
constexpr uint32_t kLastDayOfYear3 = 1096;
constexpr uint32_t kYearsPerInterval = 4;

// Moves `seconds` of Moscow day `day` of interval `interval` to the UTC day:
// the day before, possibly the last day of the interval before, for the
// first three hours. The caller's integer type decides how a damaged 0 steps
// below zero.
template <typename T>
void MoscowToUtcDay(T& interval, T& day, double& seconds)
{
    if (seconds < kMoscowAheadOfUtc)
    {
        seconds += kMoscowDayWrap;
        if (day == 1)
        {
            day = kGlonassDaysInInterval;
            --interval;
        }
        else
        {
            --day;
        }
    }
    else
    {
        seconds -= kMoscowAheadOfUtc;
    }
}

// The year of the interval, 1 to 4, of day `day` of the interval; `day`
// becomes the day of that year.
template <typename T>
T YearOfInterval(T& day)
{
    if (day <= static_cast<T>(kLastDayOfYear1))
        return 1;
    if (day <= static_cast<T>(kLastDayOfYear2))
    {
        day -= kLastDayOfYear1;
        return 2;
    }
    if (day <= static_cast<T>(kLastDayOfYear3))
    {
        day -= kLastDayOfYear2;
        return 3;
    }
    day -= kLastDayOfYear3;
    return 4;
}
