#include "logbuild/fromrinex/WeekTime.h"

#include <chrono>
#include <cmath>

namespace fromrinex
{
namespace
{
int64_t DaysSinceUnixEpoch(int year, int month, int day)
{
    using namespace std::chrono;
    const sys_days date = std::chrono::year{year} / std::chrono::month{static_cast<unsigned>(month)} /
                          std::chrono::day{static_cast<unsigned>(day)};
    return date.time_since_epoch().count();
}

const int64_t kGpsEpochDays = DaysSinceUnixEpoch(1980, 1, 6);
const int64_t kBdtEpochDays = DaysSinceUnixEpoch(2006, 1, 1);

// Weeks counted from the day `epochDays`, a Sunday.
SWeekTime WeekTime(const SRinexDateTime& t, int64_t epochDays)
{
    const int64_t days = DaysSinceUnixEpoch(t.m_iYear, t.m_iMonth, t.m_iDay) - epochDays;
    SWeekTime w;
    w.m_uWeek = static_cast<uint32_t>(days / 7);
    w.m_dSeconds = static_cast<double>(days % 7) * kSecondsPerDay + t.m_iHour * 3600.0 + t.m_iMinute * 60.0 +
                   t.m_dSeconds;
    return w;
}
} // namespace

SWeekTime GpsWeekTime(const SRinexDateTime& t)
{
    return WeekTime(t, kGpsEpochDays);
}

SWeekTime BdtWeekTime(const SRinexDateTime& t)
{
    return WeekTime(t, kBdtEpochDays);
}

double SecondsOfWeek(double total)
{
    return total - std::floor(total / kSecondsPerWeek) * kSecondsPerWeek;
}
} // namespace fromrinex
