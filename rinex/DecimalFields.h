#pragma once

#include <cstddef>
#include <cstdint>

// The decimal fields of the observation file that are written at every
// epoch: the value field "%14.3f" of the satellite lines (a code range, phase
// or Doppler with three decimals), the seconds "%11.7f" of the epoch line,
// the seconds "%12.6f" of the header's observation times and the integer
// fields "%Nd" around them. They are most of what a run writes, so they are
// made here digit by digit instead of by the printf machinery; the bytes are
// exactly those of snprintf with the same format, rounding of halves and the
// sign of a negative zero included ("        -0.000").

// |value| rounded to `decimals` places (at most 9) as printf rounds it: on
// the exact binary value, a half to the even neighbour. The result counts
// units of the last place. False for a magnitude of a billion or more, for
// infinities and NaN: those are left to printf.
bool RoundToDecimals(double value, uint32_t decimals, uint64_t& units);

// Each writes its field and a terminator to `dst`, which holds `size` bytes,
// and returns the number of characters, as snprintf does: the field's width
// for every value that fits it, more for a wider one. Values the fast path
// doesn't take, and destinations below 32 bytes, go through snprintf itself.
size_t FormatF14_3(double value, char* dst, size_t size); // "%14.3f"
size_t FormatF11_7(double value, char* dst, size_t size); // "%11.7f"
size_t FormatF12_6(double value, char* dst, size_t size); // "%12.6f"

// "%<width>d" for a width of at most 16.
size_t FormatIntField(int32_t value, uint32_t width, char* dst, size_t size);

// Appends a field to the line of `length` characters in `line`, which holds
// `size` bytes: the line stays terminated, a field too long for the room is
// cut, and `length` moves on to the line's end.
using FixedFieldFormat = size_t (*)(double value, char* dst, size_t size);
void AppendFixedField(char* line, size_t size, size_t& length, FixedFieldFormat format, double value);
void AppendIntField(char* line, size_t size, size_t& length, int32_t value, uint32_t width);
