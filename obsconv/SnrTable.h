#pragma once

#include <cstdint>

// Signal to noise in dB of a raw strength value: 10 log10(raw * scale), 0.0
// for a raw 0. Every observation carries one, so the logarithm is taken once
// per raw value of a 12-bit field when the table is made, and looked up
// after that; a wider raw value is computed as it comes.
class CSnrTable
{
public:
    static constexpr uint32_t kRawValues = 4096;

    explicit CSnrTable(double scale);

    double Db(uint32_t raw) const { return raw < kRawValues ? m_adDb[raw] : Compute(raw); }

private:
    double Compute(uint32_t raw) const;

    double m_dScale;
    double m_adDb[kRawValues];
};
