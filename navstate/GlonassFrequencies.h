#pragma once

#include <cstdint>

#include "navstate/NavState.h"

// The carrier of each GLONASS slot. A slot's frequency channel is known from
// a default table until the slot's first ephemeris brings the channel the
// satellite actually uses; the observation file's phases and its SLOT / FRQ #
// lines follow these tables.

constexpr double kSpeedOfLight = 299792458.0; // m/s

// A slot's channel is stored as its frequency channel number plus this.
constexpr int16_t kGlonassChannelCodeOffset = 8;

class CGlonassFrequencies
{
public:
    // The default channels, and their wavelengths.
    CGlonassFrequencies();

    // Computes m_aGlonassWavelength from m_aGlonassChannel for all slots.
    void ComputeGlonassWavelengths();
    // Gives slot `slot` (1 to 24) the channel code `channelCode` (channel
    // plus 8) and the wavelengths that go with it. Other slot numbers change
    // nothing.
    void SetGlonassSlotChannel(uint32_t slot, int16_t channelCode);

    // The frequency channel number (-7 to 6) of the slot of row `row`.
    int32_t FrequencyChannel(uint32_t row) const { return m_aGlonassChannel[row] - kGlonassChannelCodeOffset; }

    // Frequency channel number plus 8 of each slot 1 to 24 (row slot - 1).
    int16_t m_aGlonassChannel[kGlonassSlots];
    // L1 and L2 wavelength in metres of each slot (row slot - 1).
    double m_aGlonassWavelength[kGlonassSlots][2];

private:
    void ComputeSlotWavelengths(uint32_t row);
};
