#pragma once

#include <cstdint>
#include <vector>

#include "logbuild/FrameWriter.h"

// Builds BIN76 frames, the dual-frequency GPS observation message, from
// measurements in physical units, as a receiver would send them.
//
// What survives the message, and so what a decoder gives back:
// - The L1 C/A code range is sent whole, in 1/256 m, from 0 to 2^27 m. The L2
//   and L1 P code ranges are sent as their low 16 bits and come back as the
//   value with those bits nearest the L1 C/A code range: they must lie within
//   128 m of it. A channel without L1 C/A sends its L2 code range whole.
// - Carrier phases are sent modulo 8192 cycles, in 1/1024 cycle. A decoder
//   places them within 4096 cycles of its code range times the signal's
//   cycles per metre; a phase farther off comes back shifted by a whole
//   multiple of 8192 cycles.
// - Doppler in 1/512 Hz, up to 16384 Hz either way; the sign as given.
// - Signal to noise in dB as 10 log10 of a 12-bit raw value times a scale
//   (0.1024 for L1 C/A, 0.1164 for L2 and L1 P); 0.0 dB is sent as raw 0,
//   which reads back as 0.0 ("no value").
// Values outside these ranges are held at the nearest end.

// One carrier signal of a channel: L1 C/A or L2.
struct SBin76Signal
{
    bool m_bPresent = false;     // false: the record is all zero, the signal isn't tracked
    double m_dPseudorange = 0.0; // metres
    double m_dPhase = 0.0;       // cycles
    double m_dDoppler = 0.0;     // Hz, the receiver's sign
    double m_dSnr = 0.0;         // dB
    uint8_t m_uSlipCounter = 0;  // the receiver's slip counter
    bool m_bGoodLock = true;
};

// The L1 P code of a channel. It shares the L1 C/A record's phase, Doppler,
// slip counter and lock flag, and is only decoded when L1 C/A is present.
struct SBin76L1P
{
    double m_dPseudorange = 0.0; // metres; 0.0 sends the L1 C/A code range's low bits
    double m_dSnr = 0.0;         // dB
};

struct SBin76Channel
{
    uint8_t m_uPrn = 0; // 0 leaves the channel empty
    SBin76Signal m_L1;
    SBin76Signal m_L2;
    SBin76L1P m_L1P;
};

// Channels the message has room for: 15 carry L1 C/A, the first 12 of them
// also L2 and L1 P.
constexpr size_t kBin76L1Channels = 15;
constexpr size_t kBin76DualChannels = 12;

// A whole BIN76 frame of week and seconds of week; channel n of the message
// is element n of `channels`, channels beyond the vector are empty, and
// elements beyond the message's room are left out (L2 and L1 P of channels
// 12 to 14 as well).
Bytes MakeBin76Frame(uint16_t week, double seconds, const std::vector<SBin76Channel>& channels);
