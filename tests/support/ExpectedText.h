#pragma once

#include <cstdint>
#include <string>

// The end-of-run summary as a user reads it, written out line by line from
// the counts a test expects.
struct SExpectedSummary
{
    uint32_t m_uWeek = 0;
    std::string m_szSeconds = "0.0";
    uint32_t m_uObsEpochsFound = 0;
    uint32_t m_uGpsEphFound = 0;
    uint32_t m_uIonoUtcFound = 0;
    uint32_t m_uEpochsWritten = 0;
    uint32_t m_uObsWritten = 0;
    uint32_t m_uAverage = 0;
    uint32_t m_uNavSatsWritten = 0;
    uint32_t m_uNavWrites = 0;
    uint32_t m_uGlonassObsFound = 0;
    uint32_t m_uGlonassEphFound = 0;
    uint32_t m_uBeidouObsFound = 0;
    uint32_t m_uBeidouEphFound = 0;
};

std::string SummaryText(const SExpectedSummary& s);

// The help text, byte for byte.
std::string HelpText();

// A navigation file's number field as a reader expects it: sign position
// (blank unless negative), one digit, point, `decimals` decimals, "D", the
// exponent's sign and two digits, right-aligned in `width` (the D12.4 field
// has one blank more than its digits need).
std::string DField(double value, int decimals, size_t width = 0);
