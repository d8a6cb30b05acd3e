#pragma once

#include <cstdint>

#include "logbuild/RinexObsReader.h"
#include "logbuild/TimeScales.h"

// The weeks of the log: GPS weeks for the observation messages and the
// transmission times, BDT weeks for BeiDou records.
namespace fromrinex
{
using logbuild::kBeidouBehindGps;
using logbuild::kBeidouWeekOffset;
using logbuild::kSecondsPerDay;
using logbuild::kSecondsPerWeek;

// When the navigation file has no LEAP SECONDS line.
constexpr int kDefaultLeapSeconds = 18;

// Week and seconds of week of a calendar time.
struct SWeekTime
{
    uint32_t m_uWeek = 0;
    double m_dSeconds = 0.0;
    double Total() const { return m_uWeek * kSecondsPerWeek + m_dSeconds; }
};

// A RINEX time in GPS weeks (from 6 January 1980) and in BDT weeks (from
// 1 January 2006).
SWeekTime GpsWeekTime(const SRinexDateTime& t);
SWeekTime BdtWeekTime(const SRinexDateTime& t);

// Seconds of week of a total time.
double SecondsOfWeek(double total);
} // namespace fromrinex
