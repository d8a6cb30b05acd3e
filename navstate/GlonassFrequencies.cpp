#include "navstate/GlonassFrequencies.h"

#include <cstring>

namespace
{
// The channels of the slots until their first ephemeris says otherwise.
constexpr int16_t kDefaultGlonassChannel[kGlonassSlots] = {
    9,  4, 13, 14,  9, 4, 13,  2, // slots 1-8
    6,  1,  8,  7,  6, 1,  8,  7, // slots 9-16
    12, 5, 11, 10, 12, 5, 11, 10, // slots 17-24
};

// Base frequency and channel spacing of each band, Hz.
constexpr double kGloL1BaseHz = 1.602e9;
constexpr double kGloL1StepHz = 562500.0;
constexpr double kGloL2BaseHz = 1.246e9;
constexpr double kGloL2StepHz = 437500.0;
} // namespace

CGlonassFrequencies::CGlonassFrequencies()
{
    std::memcpy(m_aGlonassChannel, kDefaultGlonassChannel, sizeof(m_aGlonassChannel));
    ComputeGlonassWavelengths();
}

void CGlonassFrequencies::ComputeSlotWavelengths(uint32_t row)
{
    const double k = static_cast<double>(FrequencyChannel(row));
    m_aGlonassWavelength[row][0] = kSpeedOfLight / (k * kGloL1StepHz + kGloL1BaseHz);
    m_aGlonassWavelength[row][1] = kSpeedOfLight / (k * kGloL2StepHz + kGloL2BaseHz);
}

void CGlonassFrequencies::ComputeGlonassWavelengths()
{
    for (uint32_t row = 0; row < kGlonassSlots; ++row)
        ComputeSlotWavelengths(row);
}

void CGlonassFrequencies::SetGlonassSlotChannel(uint32_t slot, int16_t channelCode)
{
    if (slot < 1 || slot > kGlonassSlots)
        return;
    m_aGlonassChannel[slot - 1] = channelCode;
    ComputeSlotWavelengths(slot - 1);
}
