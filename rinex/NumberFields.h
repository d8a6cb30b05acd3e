#pragma once

#include <cstdint>

class CWriteRinexNav;

// The number fields of the navigation files, in FORTRAN form: fixed width, a
// `D` for the exponent letter and an exponent of exactly two digits, e.g.
// " 1.500000000000D-09" or "-2.250000000000D+05". Every number a navigation
// file shows goes through one of these.

// Field widths, the terminator not counted. A destination holds width + 1.
constexpr int kFieldD19 = 19; // D19.12: record clock fields and all orbit fields
constexpr int kFieldD17 = 17; // D17.10: first value of TIME SYSTEM CORR
constexpr int kFieldD16 = 16; // D16.9: second value of TIME SYSTEM CORR
constexpr int kFieldD12 = 12; // D12.4: IONOSPHERIC CORR

// Each writes its field and a terminator to `dst` and returns the field width.
int FormatD19(double value, char* dst);
int FormatD17(double value, char* dst);
int FormatD16(double value, char* dst);
int FormatD12(double value, char* dst);

// Writes one broadcast orbit line to the writer's stream: four blanks, then
// the four values as D19.12 fields directly behind each other, 80 characters
// and the line feed.
void WriteOrbitRow(const CWriteRinexNav& writer, double a, double b, double c, double d);
