#pragma once

#include <cstdint>
#include <vector>

#include "logbuild/Bin76Encoder.h"
#include "logbuild/FrameWriter.h"

// Builds BIN66 frames, the GLONASS observation message, from measurements in
// physical units, as a receiver would send them. Each signal travels in the
// 12-byte observation record of BIN76 (an SBin76Signal here too), and the
// helpers below that pack that record serve the BeiDou message as well.
//
// What survives the message, and so what a decoder gives back:
// - The L1 code range is sent whole, in 1/256 m, from 0 to 2^27 m. The L2
//   code range is sent as its low 16 bits and comes back as the value with
//   those bits nearest the L1 code range: it must lie within 128 m of it.
//   Without L1 the L2 code range comes back whole.
// - Carrier phases are sent modulo 8192 cycles, in 1/1024 cycle. A decoder
//   places them within 4096 cycles of its code range divided by the slot's
//   wavelength on the band; a phase farther off comes back shifted by a
//   whole multiple of 8192 cycles. The message carries no frequency channel:
//   the wavelengths are the reader's.
// - Doppler in 1/512 Hz, up to 16384 Hz either way; the sign as given.
// - Signal to noise in dB as 10 log10 of a 12-bit raw value times 0.1024, on
//   both bands; 0.0 dB is sent as raw 0, which reads back as 0.0 ("no value").
// Values outside these ranges are held at the nearest end.

struct SBin66Channel
{
    uint8_t m_uSlot = 0; // GLONASS slot number; 0 leaves the channel empty
    SBin76Signal m_L1;   // not present: an all-zero record, the signal isn't tracked
    SBin76Signal m_L2;
};

constexpr size_t kBin66Channels = 12;

// A whole BIN66 frame of GPS week and seconds of week; channel n of the
// message is element n of `channels`, and channels beyond the vector are
// empty. More than 12 channels throw std::out_of_range.
Bytes MakeBin66Frame(uint16_t week, double seconds, const std::vector<SBin66Channel>& channels);
