#pragma once

#include <cstdint>

#include "logbuild/RinexObsReader.h"

// The time scales of the log: GPS weeks for the observation messages and
// the transmission times, BDT weeks for BeiDou records. The builder counts
// them on its own, apart from the converter's time arithmetic.
namespace fromrinex
{
constexpr double kSecondsPerWeek = 604800.0;
constexpr double kSecondsPerDay = 86400.0;
constexpr uint32_t kBeidouWeekOffset = 1356; // GPS week of the first BDT week
constexpr double kBeidouBehindGps = 14.0;    // BDT = GPS time - 14 s

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
