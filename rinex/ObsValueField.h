#pragma once

#include <cstddef>

// The observation file's value field "%14.3f": a code range, phase or
// Doppler with three decimals, right-aligned in 14 columns. The satellite
// lines are most of what a run writes, so this field is made here digit by
// digit instead of by the printf machinery; the bytes are exactly those of
// snprintf with "%14.3f", rounding of halves and the sign of a negative zero
// included ("        -0.000").

// Writes the field and a terminator to `dst`, which holds `size` bytes, and
// returns the number of characters, as snprintf does: 14 for every value
// below a billion, more for a wider one. A value too wide, infinite or NaN
// goes through snprintf itself.
size_t FormatObsValue(double value, char* dst, size_t size);
