#pragma once

#include <cstdint>

// Fixed-point helpers of the packed observation messages (BIN76, BIN66,
// BIN36). These messages send unsigned integers in binary fractions, and
// most values only as their low bits, which are placed on a nearby full
// value sent elsewhere in the message.

// `value` / 2^fractionBits as a double, negated when `negative` is set. A zero
// value gives 0.0 whatever the sign. Exact for values below 2^53.
double DoubleFromFixed(uint64_t value, uint32_t fractionBits, bool negative);

// |x| * 2^fractionBits rounded half up; the sign of x is dropped. Values at or
// above 2^64 (and infinities) give the largest 64-bit value, NaN gives 0.
uint64_t FixedFromDouble(double x, uint32_t fractionBits);

// Puts the low `width` bits of `bits` into `value` and returns the value with
// these low bits that lies nearest to the old one, carrying into or borrowing
// from the upper bits (modulo 2^64). A distance of exactly half the modulus
// 2^width goes upward when the old low bits are at least half, and stays
// otherwise. A width of 0 returns `value`; 64 or more returns `bits`.
uint64_t MergeLowBits(uint64_t value, uint64_t bits, uint32_t width);
