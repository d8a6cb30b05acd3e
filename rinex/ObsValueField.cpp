#include "rinex/ObsValueField.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace
{
constexpr int kWidth = 14;
constexpr uint64_t kThousand = 1000;
// Values of this size and above take the general path: their whole part can
// run past the width.
constexpr double kFastLimit = 1e9;
// The IEEE 754 double: 52 stored mantissa bits below an exponent biased by 1023.
constexpr int kStoredMantissaBits = 52;
constexpr int kExponentBias = 1023;
} // namespace

size_t FormatObsValue(double value, char* dst, size_t size)
{
    const double magnitude = std::fabs(value);
    if (!(magnitude < kFastLimit) || size <= kWidth + 1)
        return static_cast<size_t>(std::snprintf(dst, size, "%14.3f", value));

    // magnitude = mantissa / 2^shift exactly. Thousandths are rounded on that
    // exact value, a half to the even neighbour, as printf does; the product
    // stays below 2^63 for every mantissa.
    uint64_t bits = 0;
    std::memcpy(&bits, &magnitude, sizeof(bits));
    const int biased = static_cast<int>(bits >> kStoredMantissaBits);
    uint64_t mantissa = bits & ((uint64_t{1} << kStoredMantissaBits) - 1);
    if (biased != 0)
        mantissa |= uint64_t{1} << kStoredMantissaBits; // the hidden bit of a normal number
    // A subnormal number has the exponent of the smallest normal one.
    const int shift = kExponentBias + kStoredMantissaBits - (biased != 0 ? biased : 1); // at least 23 below the limit
    const uint64_t product = mantissa * kThousand;
    uint64_t thousandths = 0;
    if (shift < 64)
    {
        thousandths = product >> shift;
        const uint64_t rest = product & ((uint64_t{1} << shift) - 1);
        const uint64_t half = uint64_t{1} << (shift - 1);
        if (rest > half || (rest == half && (thousandths & 1) != 0))
            ++thousandths;
    }
    // A shift of 64 or more leaves the product below half a thousandth: 0.

    // Digits from the right: three decimals, the point, the whole part.
    // Below the limit the whole part has at most ten digits and fits 32 bits.
    char text[24];
    char* at = text + sizeof(text);
    uint32_t whole = static_cast<uint32_t>(thousandths / kThousand);
    uint32_t decimals = static_cast<uint32_t>(thousandths % kThousand);
    for (int i = 0; i < 3; ++i)
    {
        *--at = static_cast<char>('0' + decimals % 10);
        decimals /= 10;
    }
    *--at = '.';
    do
    {
        *--at = static_cast<char>('0' + whole % 10);
        whole /= 10;
    } while (whole != 0);
    if (std::signbit(value))
        *--at = '-';

    const size_t digits = static_cast<size_t>(text + sizeof(text) - at);
    const size_t pad = digits < kWidth ? kWidth - digits : 0;
    size_t n = 0;
    for (; n < pad; ++n)
        dst[n] = ' ';
    for (size_t i = 0; i < digits; ++i)
        dst[n++] = at[i];
    dst[n] = '\0';
    return n;
}
