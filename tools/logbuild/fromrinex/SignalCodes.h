#pragma once

#include <cstdint>

// The RINEX observation codes each message signal is made from. The
// quality report's feed (tools/qcfeed) lists the same codes for the records
// it makes without a log.
namespace fromrinex
{
// Observation codes of each message signal, in order of preference.
struct SSignalCodes
{
    const char* m_szCode;
    const char* m_szPhase;
    const char* m_szDoppler;
    const char* m_szSnr;
};
constexpr SSignalCodes kGpsL1{"C1C", "L1C", "D1C", "S1C"};
constexpr SSignalCodes kGpsL2{"C2W", "L2W", "D2W", "S2W"};
constexpr SSignalCodes kGpsL1P{"C1W", "L1W", "D1W", "S1W"}; // code and strength only
constexpr SSignalCodes kGlonassL1{"C1C", "L1C", "D1C", "S1C"};
constexpr SSignalCodes kGlonassL2[] = {{"C2C", "L2C", "D2C", "S2C"}, {"C2P", "L2P", "D2P", "S2P"}};
// BIN36 bands, each with the codes it takes: 0 B1 (named "2" from RINEX
// 3.03 on, "1" before), 1 B2, 2 B3.
struct SBeidouBandCodes
{
    uint32_t m_uBand;
    SSignalCodes m_Codes;
};
constexpr SBeidouBandCodes kBeidouBandCodes[] = {{0, {"C2I", "L2I", "D2I", "S2I"}},
                                                 {0, {"C1I", "L1I", "D1I", "S1I"}},
                                                 {1, {"C7I", "L7I", "D7I", "S7I"}},
                                                 {2, {"C6I", "L6I", "D6I", "S6I"}}};
} // namespace fromrinex
