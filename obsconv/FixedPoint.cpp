#include "obsconv/FixedPoint.h"

#include <cmath>
#include <cstring>
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
    // Scaling by a power of two is exact; only the integer's own conversion
    // can round, and that not below 2^53. The sign goes on as a bit, not by a
    // branch (Doppler signs change at random), and never onto a zero.
    const double magnitude = ScaleDown(static_cast<double>(value), fractionBits);
    uint64_t bits = 0;
    std::memcpy(&bits, &magnitude, sizeof(bits));
    bits |= static_cast<uint64_t>(negative && value != 0) << 63;
    double result = 0.0;
    std::memcpy(&result, &bits, sizeof(result));
    return result;
}

uint64_t FixedFromDouble(double x, uint32_t fractionBits)
{
    const double scaled = ScaleUp(std::fabs(x), fractionBits);
    if (std::isnan(scaled))
        return 0;
    // Half up from the integer part, whose difference to the value is exact:
    // adding 0.5 first would round wrongly just below one half and above 2^52.
    // The step up is added as a number, not taken as a branch: its direction
    // is as good as random from one observation to the next.
    // From 2^52 on every double is whole, so the step never reaches 2^64.
    const double whole = std::floor(scaled);
    if (whole >= kTwoTo64)
        return std::numeric_limits<uint64_t>::max();
    return static_cast<uint64_t>(whole) + (scaled - whole >= 0.5 ? 1 : 0);
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
    // The step from the old low bits up to the new ones, modulo 2^width; a
    // step above half the modulus is a step down. Unsigned arithmetic: a
    // carry out of or a borrow below the 64 bits wraps. Worked out without
    // branches, as the steps' directions are as good as random.
    const uint64_t step = (bits - value) & mask;
    return value + step - (step > half ? full : 0);
}
