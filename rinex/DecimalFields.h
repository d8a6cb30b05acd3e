#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

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

// Whether the seconds of a clock time show as " 60.0000000" in "%11.7f": a
// time that belongs to the next minute, which the writers carry over.
bool SecondsShowAsSixty(double seconds);

// "%<width>d" for a width of at most 16.
size_t FormatIntField(int32_t value, uint32_t width, char* dst, size_t size);

// Appends a field to the line of `length` characters in `line`, which holds
// `size` bytes: the line stays terminated, a field too long for the room is
// cut, and `length` moves on to the line's end.
using FixedFieldFormat = size_t (*)(double value, char* dst, size_t size);
void AppendFixedField(char* line, size_t size, size_t& length, FixedFieldFormat format, double value);
void AppendIntField(char* line, size_t size, size_t& length, int32_t value, uint32_t width);

// The "%14.3f" field written inline, for the satellite lines that make it in
// bulk: 14 characters and a terminator at `dst`, which holds at least 17
// bytes. False, writing nothing, for a value it doesn't take: a magnitude
// of a billion or more, infinities and NaN, and a product with a thousand
// that lies too near a half to be rounded in doubles. Those go to
// FormatF14_3.
inline bool TryFormatF14_3(double value, char* dst);

namespace DecimalFieldsDetail
{
// The digits of every number below 1000 as three byte values 0 to 9, the
// first digit in the lowest byte, so that a group lands in memory in reading
// order; the fourth byte is zero. Made once, at compile time; 4 KB.
constexpr uint32_t kGroupCount = 1000;
constexpr std::array<uint32_t, kGroupCount> MakeThreeDigitGroups()
{
    std::array<uint32_t, kGroupCount> groups{};
    for (uint32_t v = 0; v < kGroupCount; ++v)
        groups[v] = (v / 100) | (v / 10 % 10) << 8 | (v % 10) << 16;
    return groups;
}
inline constexpr std::array<uint32_t, kGroupCount> kThreeDigitGroups = MakeThreeDigitGroups();

// "%14.3f" of a value whose magnitude rounds to `thousandths`, below a
// billion whole units. The twelve digits are four groups of three:
// millions, thousands and units of the whole part, and the decimals.
// Columns 1 to 8 take the first eight whole digits, with the leading zeros
// turned to blanks; column 9 (the last whole digit, never blank), the point
// and the decimals follow.
inline void PutF14_3(uint64_t thousandths, bool negative, char* dst)
{
    constexpr uint64_t kAsciiZeros = 0x3030303030303030;
    constexpr uint64_t kBlanks = 0x2020202020202020;
    constexpr uint32_t kThousand = kGroupCount;
    constexpr uint32_t kGroupBits = 24;
    constexpr uint32_t kLastDigitShift = 16;
    constexpr uint64_t kPointInSecondByte = uint64_t{'.'} << 8;
    constexpr uint64_t kDigitsAroundPoint = 0x3030300030; // ASCII zeros in the digit bytes of the tail
    // Below a billion the whole part fits 32 bits, whose divisions are cheaper.
    const uint32_t units = static_cast<uint32_t>(thousandths / kThousand);
    const uint32_t thousands = units / kThousand;
    const uint32_t millions = units / (kThousand * kThousand);
    const uint32_t millionsGroup = kThreeDigitGroups[millions];
    const uint32_t thousandsGroup = kThreeDigitGroups[thousands - millions * kThousand];
    const uint32_t unitsGroup = kThreeDigitGroups[units - thousands * kThousand];
    const uint32_t decimalsGroup = kThreeDigitGroups[thousandths - uint64_t{units} * kThousand];

    // The first eight whole digits; the third of the units is cut off here.
    const uint64_t whole = millionsGroup | uint64_t{thousandsGroup} << kGroupBits | uint64_t{unitsGroup}
                                                                                        << (2 * kGroupBits);
    // The bits below the lowest set bit cover exactly the leading zero
    // digits (all eight when there is none), and the low bits of the first
    // nonzero one, which are zero in both the digit and the blank.
    const uint64_t leading = (whole & (0 - whole)) - 1;
    const uint64_t wholeText = whole | kAsciiZeros;
    const uint64_t head = wholeText ^ ((wholeText ^ kBlanks) & leading);
    // The last whole digit, the point and the decimals; the bytes above are
    // zero and give the terminator.
    const uint64_t tail = ((unitsGroup >> kLastDigitShift) | kPointInSecondByte | uint64_t{decimalsGroup} << 16) |
                          kDigitsAroundPoint;
    const uint32_t blanks = static_cast<uint32_t>(std::countr_zero(whole)) / 8; // leading blanks in columns 1 to 8

    dst[0] = ' ';
    std::memcpy(dst + 1, &head, sizeof(head));
    std::memcpy(dst + 9, &tail, sizeof(tail));
    dst[blanks] = negative ? '-' : ' '; // in front of the first digit
}
} // namespace DecimalFieldsDetail

inline bool TryFormatF14_3(double value, char* dst)
{
    constexpr double kThousand = 1000;
    // Products below this round to fewer than a billion whole units.
    constexpr double kFastProductLimit = 1e12 - 0.5;
    // Adding 2^52 to a double below 2^51 rounds it to the nearest whole
    // number and leaves that number in the stored mantissa bits.
    constexpr double kTwoTo52 = 4503599627370496.0;
    constexpr uint64_t kTwoTo52Bits = 0x4330000000000000;
    // The product in doubles lies within 2^-14 of the exact one below 2^40,
    // so it rounds the same unless its fraction is near one half.
    constexpr double kNearHalf = 1.0 / 4096;
    const double scaled = std::fabs(value) * kThousand;
    if (!(scaled < kFastProductLimit))
        return false;
    const double rounded = scaled + kTwoTo52;
    const double fraction = scaled - (rounded - kTwoTo52); // exact, within a half of zero
    if (std::fabs(fraction) >= 0.5 - kNearHalf)
        return false;
    DecimalFieldsDetail::PutF14_3(std::bit_cast<uint64_t>(rounded) - kTwoTo52Bits, std::signbit(value), dst);
    return true;
}
