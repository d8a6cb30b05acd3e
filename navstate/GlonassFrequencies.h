#pragma once

#include <cstdint>

#include "navstate/NavState.h"

// The carrier of each GLONASS slot. A slot's frequency channel is known from
// a default table until the slot's first ephemeris brings the channel the
// satellite actually uses; the observation file's phases and its SLOT / FRQ #
// lines follow these tables.

constexpr double kSpeedOfLight = 299792458.0; // m/s

// Frequency channel number plus 8 of each slot 1 to 24 (row slot - 1).
extern int16_t g_aGlonassChannel[kGlonassSlots];
// L1 and L2 wavelength in metres of each slot (row slot - 1).
extern double g_aGlonassWavelength[kGlonassSlots][2];

// Computes g_aGlonassWavelength from g_aGlonassChannel for all slots.
void ComputeGlonassWavelengths();

// Gives slot `slot` (1 to 24) the channel code `channelCode` (channel plus 8)
// and the wavelengths that go with it. Other slot numbers change nothing.
void SetGlonassSlotChannel(uint32_t slot, int16_t channelCode);
