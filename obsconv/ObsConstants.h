#pragma once

#include <cstdint>

// Constants that more than one observation decoder needs. Each stands here
// once, at exactly the value the receiver's messages are defined with.

// L1 cycles per metre: 1575.42 MHz over the speed of light. Turns BIN96's
// phase in metres into cycles, and BIN76's L1 code range into the phase
// estimate its fragment is placed on.
constexpr double kL1CyclesPerMetre = 5.255035468570723;

// The receiver's slip counter is 8 bits wide and wraps at 256.
constexpr uint32_t kSlipModulus = 256;

// The packed observation messages (BIN76, BIN66, BIN36) share one 12-byte
// observation record per signal and one channel word per channel. Their
// layout is kept in its own namespace: BIN96's record has fields of the same
// names with other positions.
namespace PackedObsRecord
{
constexpr uint32_t kRecordSize = 12;
constexpr uint32_t kWordSize = 4;

// The record's three words: signal to noise and slip counter; good lock,
// Doppler and the phase fragment's upper bits; code fragment and the phase
// fragment's lower bits.
constexpr uint32_t kWord0Offset = 0;
constexpr uint32_t kWord1Offset = 4;
constexpr uint32_t kWord2Offset = 8;

// Word 0: the raw 12-bit signal to noise in bits 0-11, the slip counter in 24-31.
constexpr uint32_t kSnrMask = 0xFFF;
constexpr uint32_t kSlipCounterShift = 24;
constexpr uint32_t kSlipCounterMask = 0xFF;

// Word 1: good lock in bit 0, the Doppler's magnitude in bits 1-23 and its
// sign in bit 24, the phase fragment's bits 16 to 22 in bits 25-31.
constexpr uint32_t kGoodLockMask = 0x1;
constexpr uint32_t kDopplerShift = 1;
constexpr uint32_t kDopplerMask = 0x7FFFFF;
constexpr uint32_t kDopplerSignShift = 24;
constexpr uint32_t kPhaseHighShift = 25;
constexpr uint32_t kPhaseHighMask = 0x7F;
// Word 2: the code fragment in bits 0-15, the phase fragment's bits 0 to 15 in 16-31.
constexpr uint32_t kPhaseLowShift = 16;
constexpr uint32_t kLow16Mask = 0xFFFF;

// Channel word: the satellite in bits 0-7, and above bit 12 the bits 16 to 34
// of the channel's whole code range.
constexpr uint32_t kPrnMask = 0xFF;
constexpr uint32_t kAnchorHighShift = 13;

// Fixed-point formats: code in 1/256 m, phase in 1/1024 cycle, Doppler in
// 1/512 Hz. Code fragments are the low 16 bits, phase fragments the low 23
// (the phase modulo 8192 cycles).
constexpr uint32_t kCodeFractionBits = 8;
constexpr uint32_t kPhaseFractionBits = 10;
constexpr uint32_t kDopplerFractionBits = 9;
constexpr uint32_t kCodeFragmentBits = 16;
constexpr uint32_t kPhaseFragmentBits = 23;

// Multiplied onto the raw 12-bit signal to noise value before the logarithm:
// BIN76's L1 C/A and every signal of BIN66 and BIN36.
constexpr double kSnrScale12Bit = 0.1024;
} // namespace PackedObsRecord
