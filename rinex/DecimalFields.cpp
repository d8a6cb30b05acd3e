#include "rinex/DecimalFields.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace
{
// Magnitudes from here on take printf: their whole part can run past the
// fields' widths, and their products past the exact arithmetic below.
constexpr double kFastLimit = 1e9;
constexpr uint32_t kMaxDecimals = 9;
constexpr uint64_t kPowersOfTen[kMaxDecimals + 1] = {1,      10,      100,      1000,      10000,
                                                      100000, 1000000, 10000000, 100000000, 1000000000};
// The IEEE 754 double: 52 stored mantissa bits below an exponent biased by 1023.
constexpr int kStoredMantissaBits = 52;
constexpr int kExponentBias = 1023;

// Text is made right-aligned in a buffer of this size, which holds the
// widest fast field (a sign, ten whole digits, the point, nine decimals).
constexpr size_t kTextSize = 24;
// The fast path wants this much room at the destination.
constexpr size_t kMinFastDestination = 32;

// "00" to "99".
constexpr char kDigitPairs[] = "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
                               "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
                               "8081828384858687888990919293949596979899";

__extension__ typedef unsigned __int128 Uint128; // the exact product of a mantissa and a power of ten

// Puts the digits of `whole` (at least one) in front of `at` and returns the new front.
char* PutWholeDigits(char* at, uint32_t whole)
{
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
    return at;
}

// Copies the text [at, end) to `dst` right-aligned in `width` columns with
// blanks in front, as printf pads, and terminates it. `text` is the buffer
// the text ends in, blank in front of `at`.
size_t PutPadded(const char (&text)[kTextSize], const char* at, uint32_t width, char* dst)
{
    const size_t length = static_cast<size_t>(text + kTextSize - at);
    if (length <= width)
    {
        std::memcpy(dst, text + kTextSize - width, width);
        dst[width] = '\0';
        return width;
    }
    std::memcpy(dst, at, length);
    dst[length] = '\0';
    return length;
}

// RoundToDecimals for the power of ten `power`, computed in 128 bits, which
// hold the product of a 53-bit mantissa and the power.
bool RoundOnPower(double value, uint64_t power, uint64_t& units)
{
    const double magnitude = std::fabs(value);
    if (!(magnitude < kFastLimit))
        return false;

    // magnitude = mantissa / 2^shift exactly, and so is the product with the
    // power of ten. It is rounded to a whole number of units, a half to the
    // even neighbour, as printf does.
    uint64_t bits = 0;
    std::memcpy(&bits, &magnitude, sizeof(bits));
    const int biased = static_cast<int>(bits >> kStoredMantissaBits);
    uint64_t mantissa = bits & ((uint64_t{1} << kStoredMantissaBits) - 1);
    if (biased != 0)
        mantissa |= uint64_t{1} << kStoredMantissaBits; // the hidden bit of a normal number
    // A subnormal number has the exponent of the smallest normal one.
    const int shift = kExponentBias + kStoredMantissaBits - (biased != 0 ? biased : 1); // at least 23 below the limit
    const Uint128 product = static_cast<Uint128>(mantissa) * power;
    constexpr int kProductBits = 8 * sizeof(Uint128);
    if (shift >= kProductBits)
    {
        units = 0; // the product is below half a unit
        return true;
    }
    units = static_cast<uint64_t>(product >> shift);
    const Uint128 rest = product & ((Uint128{1} << shift) - 1);
    const Uint128 half = Uint128{1} << (shift - 1);
    if (rest > half || (rest == half && (units & 1) != 0))
        ++units;
    return true;
}

template <uint32_t Width, uint32_t Decimals>
size_t FormatFixed(double value, char* dst, size_t size, const char* format)
{
    static_assert(Width < kTextSize && Decimals <= kMaxDecimals);
    uint64_t units = 0;
    if (size < kMinFastDestination || !RoundOnPower(value, kPowersOfTen[Decimals], units))
        return static_cast<size_t>(std::snprintf(dst, size, format, value));

    char text[kTextSize];
    std::memset(text, ' ', sizeof(text));
    char* at = text + kTextSize;
    // Below the limit the whole part fits 32 bits, the decimals too.
    uint32_t decimals = static_cast<uint32_t>(units % kPowersOfTen[Decimals]);
    const uint32_t whole = static_cast<uint32_t>(units / kPowersOfTen[Decimals]);
    for (uint32_t i = 0; i + 1 < Decimals; i += 2)
    {
        at -= 2;
        std::memcpy(at, kDigitPairs + 2 * (decimals % 100), 2);
        decimals /= 100;
    }
    if constexpr (Decimals % 2 != 0)
        *--at = static_cast<char>('0' + decimals);
    if constexpr (Decimals > 0)
        *--at = '.';
    at = PutWholeDigits(at, whole);
    if (std::signbit(value))
        *--at = '-';
    return PutPadded(text, at, Width, dst);
}
} // namespace

bool RoundToDecimals(double value, uint32_t decimals, uint64_t& units)
{
    return decimals <= kMaxDecimals && RoundOnPower(value, kPowersOfTen[decimals], units);
}

size_t FormatF14_3(double value, char* dst, size_t size)
{
    constexpr size_t kWidth = 14;
    if (size >= kMinFastDestination && TryFormatF14_3(value, dst))
        return kWidth;
    return FormatFixed<kWidth, 3>(value, dst, size, "%14.3f");
}

size_t FormatF11_7(double value, char* dst, size_t size)
{
    return FormatFixed<11, 7>(value, dst, size, "%11.7f");
}

size_t FormatF12_6(double value, char* dst, size_t size)
{
    return FormatFixed<12, 6>(value, dst, size, "%12.6f");
}

bool SecondsShowAsSixty(double seconds)
{
    char text[kMinFastDestination];
    FormatF11_7(seconds, text, sizeof(text));
    return std::strcmp(text, " 60.0000000") == 0;
}

size_t FormatIntField(int32_t value, uint32_t width, char* dst, size_t size)
{
    constexpr uint32_t kMaxWidth = 16;
    if (size < kMinFastDestination || width > kMaxWidth)
        return static_cast<size_t>(std::snprintf(dst, size, "%*d", static_cast<int>(width), value));
    char text[kTextSize];
    std::memset(text, ' ', sizeof(text));
    // The magnitude in unsigned arithmetic holds the most negative value too.
    const uint32_t magnitude = value < 0 ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
    char* at = PutWholeDigits(text + kTextSize, magnitude);
    if (value < 0)
        *--at = '-';
    return PutPadded(text, at, width, dst);
}

void AppendFixedField(char* line, size_t size, size_t& length, FixedFieldFormat format, double value)
{
    if (length + 1 < size)
        length = std::min(length + format(value, line + length, size - length), size - 1);
}

void AppendIntField(char* line, size_t size, size_t& length, int32_t value, uint32_t width)
{
    if (length + 1 < size)
        length = std::min(length + FormatIntField(value, width, line + length, size - length), size - 1);
}
