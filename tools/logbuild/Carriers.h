#pragma once

// The carriers the log builders put measurements on. The converter has its
// own constants of the same names; these stand in a namespace of their own so
// that a test can include both, and the builder never takes the converter's:
// a wrong value there must show as a difference, not cancel out.
namespace logbuild
{
constexpr double kSpeedOfLight = 299792458.0;           // m/s
constexpr double kL1CyclesPerMetre = 5.255035468570723; // GPS L1, 1575.42 MHz
constexpr double kL2CyclesPerMetre = 4.094832832652519; // GPS L2, 1227.60 MHz
constexpr double kB1Hz = 1561.098e6;                    // BeiDou B1I
constexpr double kGlonassL1BaseHz = 1602e6;             // GLONASS L1 of frequency channel 0
constexpr double kGlonassL1StepHz = 562500.0;           // per frequency channel
} // namespace logbuild
