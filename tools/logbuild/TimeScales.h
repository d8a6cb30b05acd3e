#pragma once

#include <cstdint>

// The time scales of the logs the builders write and of the RINEX files they
// read. Like the carriers, these are the builder's own and stand in a
// namespace of their own, apart from the converter's time arithmetic.
namespace logbuild
{
constexpr double kSecondsPerWeek = 604800.0;
constexpr double kSecondsPerDay = 86400.0;
constexpr uint32_t kBeidouWeekOffset = 1356; // GPS week of the first BDT week
constexpr double kBeidouBehindGps = 14.0;    // BDT = GPS time - 14 s
} // namespace logbuild
