#include "navstate/GlonassFrequencies.h"

int16_t g_aGlonassChannel[kGlonassSlots] = {
    9,  4, 13, 14,  9, 4, 13,  2, // slots 1-8
    6,  1,  8,  7,  6, 1,  8,  7, // slots 9-16
    12, 5, 11, 10, 12, 5, 11, 10, // slots 17-24
};

double g_aGlonassWavelength[kGlonassSlots][2] = {};

namespace
{
// Base frequency and channel spacing of each band, Hz.
constexpr double kGloL1BaseHz = 1.602e9;
constexpr double kGloL1StepHz = 562500.0;
constexpr double kGloL2BaseHz = 1.246e9;
constexpr double kGloL2StepHz = 437500.0;
// The stored channel code is the channel number plus this.
constexpr int32_t kChannelCodeOffset = 8;

void ComputeSlotWavelengths(uint32_t row)
{
    const double k = static_cast<double>(g_aGlonassChannel[row] - kChannelCodeOffset);
    g_aGlonassWavelength[row][0] = kSpeedOfLight / (k * kGloL1StepHz + kGloL1BaseHz);
    g_aGlonassWavelength[row][1] = kSpeedOfLight / (k * kGloL2StepHz + kGloL2BaseHz);
}
} // namespace

void ComputeGlonassWavelengths()
{
    for (uint32_t row = 0; row < kGlonassSlots; ++row)
        ComputeSlotWavelengths(row);
}

void SetGlonassSlotChannel(uint32_t slot, int16_t channelCode)
{
    if (slot < 1 || slot > kGlonassSlots)
        return;
    g_aGlonassChannel[slot - 1] = channelCode;
    ComputeSlotWavelengths(slot - 1);
}
