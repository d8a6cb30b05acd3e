#pragma once

#include <cstdint>

#include "logbuild/Bin76Encoder.h"
#include "logbuild/FrameWriter.h"

// The packed observation record and channel word that BIN76, BIN66 and BIN36
// share, made from measurements in physical units.
//
// - Code ranges in 1/256 m: 35 bits, the low 16 in a record, bits 16 to 34
//   in the channel word.
// - Carrier phase modulo 8192 cycles, in 1/1024 cycle.
// - Doppler in 1/512 Hz, a 23-bit magnitude and a sign.
// - Signal to noise as a 12-bit raw value: 10^(dB / 10) / scale; 0.0 dB is
//   sent as raw 0 ("no value"), a real value never below raw 1.
// Values outside these ranges are held at the nearest end.

// Multiplied onto the raw signal to noise by the reader: BIN76 L1 C/A and
// every BIN66 and BIN36 signal, and BIN76 L2 and L1 P.
constexpr double kSnrScale12Bit = 0.1024;
constexpr double kSnrScaleL2L1P = 0.1164;

// A code range in packed units, held within the 35 bits.
uint64_t PackedCodeUnits(double metres);

// The raw signal to noise of `snr` dB for a reader's `scale`.
uint32_t PackedSnrRaw(double snr, double scale);

// Appends the three words of the record of `signal`, whose code range in
// packed units is `codeUnits` (the record carries its low 16 bits). A signal
// not present gives 12 zero bytes.
void AppendPackedObsRecord(CPayloadWriter& payload, const SBin76Signal& signal, double snrScale,
                           uint64_t codeUnits);

// A channel word: the satellite number, and the bits 16 to 34 of the code
// range in packed units that the record's low 16 bits complete.
uint32_t PackedChannelWord(uint8_t satellite, uint64_t codeUnits);

// The whole code range a channel word and its L1 record carry: L1's, or for
// a channel without L1 one taken from L2's. A reader completes the word's
// upper bits with the L1 record's low 16, which are zero when that record is
// empty, and places the L2 fragment on the result; the upper bits are then
// those of the multiple of 2^16 nearest the L2 code range, or an L2 code
// range whose low bits are above 0x8000 would come back 256 m low.
uint64_t AnchorCodeUnits(const SBin76Signal& l1, const SBin76Signal& l2);
