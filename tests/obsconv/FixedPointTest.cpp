#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "obsconv/FixedPoint.h"

namespace
{
TEST(FixedPoint, MergeLowBitsTakesTheNearestValueAcrossCarryBorrowAndTheHalfway)
{
    struct SCase
    {
        uint64_t m_uValue;
        uint64_t m_uBits;
        uint32_t m_uWidth;
        uint64_t m_uExpected;
    };
    const SCase cases[] = {
        {0x1FFF0, 0x0010, 16, 0x20010},         // just past the top: carries
        {0x20010, 0xFFF0, 16, 0x1FFF0},         // just below the bottom: borrows
        {0x58000, 0x0000, 16, 0x60000},         // old = half, new = 0: exactly half, upward
        {0x57FFF, 0xFFFF, 16, 0x5FFFF},         // old = half - 1, new = full - 1: exactly half, stays
        {0x58000, 0x0001, 16, 0x50001},         // old = half, new = 1: nearer below, stays
        {0x50000, 0x8001, 16, 0x48001},         // old = 0, new beyond half: borrows
        {(5u << 23) + 0x7FFFFF, 0xFF800001, 23, (6u << 23) + 1}, // bits above the width are ignored
        {(5u << 23) + 0x400000, 0, 23, 6u << 23},               // old = half: upward
        {0x10, 0xFFF0, 16, 0xFFFFFFFFFFFFFFF0}, // a borrow below zero wraps the 64 bits
        {0xFFFFFFFFFFFFFFF0, 0x10, 16, 0x10},   // and a carry above the top
    };
    for (const SCase& c : cases)
        EXPECT_EQ(MergeLowBits(c.m_uValue, c.m_uBits, c.m_uWidth), c.m_uExpected)
            << std::hex << c.m_uValue << " <- " << c.m_uBits << " width " << std::dec << c.m_uWidth;
}

TEST(FixedPoint, DoubleFromFixedScalesExactlyAndNeverGivesNegativeZero)
{
    EXPECT_EQ(DoubleFromFixed(0x12345, 9, true), -0x12345 / 512.0);
    EXPECT_EQ(DoubleFromFixed((uint64_t{1} << 53) - 1, 8, false), 35184372088831.99609375); // still exact
    EXPECT_FALSE(std::signbit(DoubleFromFixed(0, 10, true)));
}

TEST(FixedPoint, FixedFromDoubleRoundsHalfUpOnTheMagnitudeAndSaturates)
{
    const double belowHalf = std::nextafter(0.5, 0.0);
    EXPECT_EQ(FixedFromDouble(2.5 / 1024, 10), 3u);
    EXPECT_EQ(FixedFromDouble(-2.5 / 1024, 10), 3u); // the sign is dropped
    EXPECT_EQ(FixedFromDouble(belowHalf, 0), 0u);     // no rounding up from just below one half
    EXPECT_EQ(FixedFromDouble(4503599627370497.0, 0), 4503599627370497u); // 2^52 + 1 stays odd
    EXPECT_EQ(FixedFromDouble(0.0, 10), 0u);
    EXPECT_EQ(FixedFromDouble(1e30, 10), std::numeric_limits<uint64_t>::max());
    EXPECT_EQ(FixedFromDouble(std::numeric_limits<double>::quiet_NaN(), 10), 0u);
}
} // namespace
