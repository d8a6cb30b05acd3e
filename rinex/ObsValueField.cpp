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

// "00" to "99".
constexpr char kDigitPairs[] = "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
                               "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
                               "8081828384858687888990919293949596979899";
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
    // Digits from the right, two at a time: three decimals, the point, the
    // whole part. Below the limit the whole part fits 32 bits and the text
    // the width, but for a whole part of exactly a billion.
    char text[24];
    char* at = text + sizeof(text);
    uint32_t whole = static_cast<uint32_t>(thousandths / kThousand);
    const uint32_t decimals = static_cast<uint32_t>(thousandths % kThousand);
    at -= 2;
    std::memcpy(at, kDigitPairs + 2 * (decimals % 100), 2);
    *--at = static_cast<char>('0' + decimals / 100);
    *--at = '.';
    while (whole >= 100)
    {
        at -= 2;
        std::memcpy(at, kDigitPairs + 2 * (whole % 100), 2);
        whole /= 100;
    }
    if (whole >= 10)
    {
        at -= 2;
        std::memcpy(at, kDigitPairs + 2 * whole, 2);
    }
    else
    {
        *--at = static_cast<char>('0' + whole);
    }
    if (std::signbit(value))
        *--at = '-';

    const size_t digits = static_cast<size_t>(text + sizeof(text) - at);
    const size_t pad = digits < kWidth ? kWidth - digits : 0;
    std::memset(dst, ' ', pad);
    std::memcpy(dst + pad, at, digits);
    dst[pad + digits] = '\0';
    return pad + digits;
}
