#pragma once

#include <cstdint>

// The three BeiDou bands of the observations, in the order of their columns
// and of the band field of the messages.
constexpr uint32_t kBeidouBands = 3;

// Carrier wavelength of each band in metres: B1 1561.098 MHz, B2 1207.14 MHz,
// B3 1268.52 MHz.
constexpr double kBeidouBandWavelength[kBeidouBands] = {
    0.192039486310276,
    0.248349369584306,
    0.236332464604421,
};
