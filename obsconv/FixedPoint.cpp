#include "obsconv/FixedPoint.h"

#include <cmath>
#include <limits>

namespace
{
// 2^64 as a double: the first magnitude a 64-bit fixed-point value can't hold.
constexpr double kTwoTo64 = 18446744073709551616.0;

// Binary exponents beyond this take every double to zero or infinity, so
// larger fraction bit counts are held here instead of overflowing an int.
constexpr uint32_t kExponentLimit = 2100;

int ScaleExponent(uint32_t fractionBits)
{
    return static_cast<int>(fractionBits < kExponentLimit ? fractionBits : kExponentLimit);
}

// 2^fractionBits. The messages' formats take a plain product, which is as
// exact as ldexp and much cheaper; wider exponents take ldexp.
constexpr uint32_t kProductLimit = 63;

double ScaleUp(double x, uint32_t fractionBits)
{
    if (fractionBits < kProductLimit)
        return x * static_cast<double>(uint64_t{1} << fractionBits);
    return std::ldexp(x, ScaleExponent(fractionBits));
}

double ScaleDown(double x, uint32_t fractionBits)
{
    if (fractionBits < kProductLimit)
        return x * (1.0 / static_cast<double>(uint64_t{1} << fractionBits));
    return std::ldexp(x, -ScaleExponent(fractionBits));
}
} // namespace

double DoubleFromFixed(uint64_t value, uint32_t fractionBits, bool negative)
{
    if (value == 0)
        return 0.0;
    // Scaling by a power of two is exact; only the integer's own conversion
    // can round, and that not below 2^53.
    const double magnitude = ScaleDown(static_cast<double>(value), fractionBits);
    return negative ? -magnitude : magnitude;
}

uint64_t FixedFromDouble(double x, uint32_t fractionBits)
{
    const double scaled = ScaleUp(std::fabs(x), fractionBits);
    if (std::isnan(scaled))
        return 0;
    // Half up from the integer part, whose difference to the value is exact:
    // adding 0.5 first would round wrongly just below one half and above 2^52.
    double whole = std::floor(scaled);
    if (scaled - whole >= 0.5)
        whole += 1.0;
    if (whole >= kTwoTo64)
        return std::numeric_limits<uint64_t>::max();
    return static_cast<uint64_t>(whole);
}

uint64_t MergeLowBits(uint64_t value, uint64_t bits, uint32_t width)
{
    if (width == 0)
        return value;
    if (width >= 64)
        return bits;
    const uint64_t full = uint64_t{1} << width;
    const uint64_t half = full >> 1;
    const uint64_t mask = full - 1;
    const uint64_t oldLow = value & mask;
    const uint64_t newLow = bits & mask;
    uint64_t merged = (value & ~mask) | newLow;
    // Unsigned arithmetic: a carry out of or a borrow below the 64 bits wraps.
    if (oldLow >= half)
    {
        if (newLow <= oldLow - half)
            merged += full;
    }
    else if (newLow > oldLow + half)
    {
        merged -= full;
    }
    return merged;
}
