#pragma once

#include <cstdint>
#include <vector>

#include "logbuild/Bin76Encoder.h"
#include "logbuild/FrameWriter.h"

// One channel of a BIN96 message, in the units the message carries.
struct SBin96Channel
{
    uint8_t m_uPrn = 0;          // 0 leaves the channel empty
    uint8_t m_uSnrRaw = 0;       // raw signal to noise
    uint8_t m_uSlipCounter = 0;  // the receiver's slip counter
    bool m_bGoodLock = true;
    int32_t m_iDoppler = 0;      // 1/4096 metre per second, 28 bits signed
    double m_dPseudorange = 0.0; // metres
    double m_dPhase = 0.0;       // metres
};

constexpr size_t kBin96Channels = 12;

// The channel of an L1 C/A signal in physical units: signal to noise as a raw
// value of 10^(dB / 10) / 0.8192 held within 1 to 255 (0 for 0.0 dB, "no
// value"), Doppler from Hz to 1/4096 m/s held within its 28 bits, the phase
// from cycles to metres.
SBin96Channel MakeBin96Channel(uint8_t prn, const SBin76Signal& l1);

// A whole BIN96 frame: week, seconds of week and up to 12 channels (the rest empty).
Bytes MakeBin96Frame(uint16_t week, double seconds, const std::vector<SBin96Channel>& channels);
