#pragma once

#include <cstdint>
#include <vector>

#include "logbuild/Bin66Encoder.h"
#include "logbuild/FrameWriter.h"

// Builds BIN36 frames, the BeiDou observation message: one band of 20
// channels, from measurements in physical units, as a receiver would send
// them. A receiver sends the bands of an epoch as a numbered set of packets,
// one message per band. Each channel's signal travels in the observation
// record of BIN76 and BIN66 (an SBin76Signal here too).
//
// What survives the message, and so what a decoder gives back:
// - The code range is sent whole, in 1/256 m, from 0 to 2^27 m.
// - The carrier phase is sent modulo 8192 cycles, in 1/1024 cycle. A decoder
//   places it within 4096 cycles of its code range divided by the band's
//   wavelength; a phase farther off comes back shifted by a whole multiple
//   of 8192 cycles.
// - Doppler in 1/512 Hz, up to 16384 Hz either way; the sign as given.
// - Signal to noise in dB as 10 log10 of a 12-bit raw value times 0.1024;
//   0.0 dB is sent as raw 0, which reads back as 0.0 ("no value").
// Values outside these ranges are held at the nearest end.

struct SBin36Channel
{
    uint8_t m_uPrn = 0;    // BeiDou satellite number; 0 leaves the channel empty
    SBin76Signal m_Signal; // the band's signal; not present: an all-zero record
};

// Where a message stands in the set of its epoch. Each field has 4 bits;
// values above 15 throw std::out_of_range. Band values above 2 name no band,
// and a reader ignores such a message, as it would one of a receiver that
// knows more bands.
struct SBin36Packet
{
    uint32_t m_uBand = 0;  // 0 B1, 1 B2, 2 B3
    uint32_t m_uIndex = 0; // this message's place in the set, from 0
    uint32_t m_uCount = 1; // messages in the set
};

constexpr size_t kBin36Channels = 20;

// A whole BIN36 frame of GPS week and seconds of week; channel n of the
// message is element n of `channels`, and channels beyond the vector are
// empty. More than 20 channels throw std::out_of_range.
Bytes MakeBin36Frame(uint16_t week, double seconds, const SBin36Packet& packet,
                     const std::vector<SBin36Channel>& channels);
