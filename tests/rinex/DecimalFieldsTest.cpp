#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "rinex/DecimalFields.h"

namespace
{
struct SFixedFormat
{
    const char* m_szFormat;
    size_t (*m_pFormat)(double, char*, size_t);
    double m_dUnit; // one unit of the last decimal
};

const SFixedFormat kFormats[] = {
    {"%14.3f", FormatF14_3, 1e-3},
    {"%11.7f", FormatF11_7, 1e-7},
    {"%12.6f", FormatF12_6, 1e-6},
};

// The value and both of its neighbouring doubles.
void AddWithNeighbours(std::vector<double>& values, double v)
{
    values.push_back(v);
    values.push_back(std::nextafter(v, -INFINITY));
    values.push_back(std::nextafter(v, INFINITY));
}

// Values at every magnitude and at the rounding boundaries of a format whose
// last decimal is `unit`.
std::vector<double> ValuesFor(double unit, std::mt19937_64& random)
{
    std::vector<double> values = {0.0, -0.0, 1e-300, -1e-300, 4.9e-324, -4.9e-324, DBL_MIN, 0.4999 * unit,
                                  -0.4999 * unit, 0.5 * unit, -0.5 * unit, 1e9 - 0.5 * unit, -(1e9 - 0.5 * unit), 1e9,
                                  -1e9, 1e12, -123456789012.5, DBL_MAX, -DBL_MAX, INFINITY, -INFINITY,
                                  std::numeric_limits<double>::quiet_NaN(), 59.99999995, 59.9999999499999, 60.0};
    // Exact binary halves of a unit go to the even neighbour: the odd
    // multiples of 2^-k just below the unit are such halves of some place.
    for (double j : {0.0, 1.0, 2.0, 3.0, 1e3, 123456.0, 62499999999.0})
    {
        values.push_back((2 * j + 1) / 16);
        values.push_back(-(2 * j + 1) / 16);
        values.push_back((2 * j + 1) / 1024);
    }
    // Decimal halves that no double holds exactly, from both sides.
    for (int i = 0; i < 2000; ++i)
    {
        const double whole = static_cast<double>(random() % 2000000000) - 1e9;
        const double fraction = std::floor(static_cast<double>(random() % 1000000000) * unit * 1e-9 / unit) * unit;
        AddWithNeighbours(values, whole + fraction + 0.5 * unit);
        AddWithNeighbours(values, static_cast<double>(random() % 60) + fraction + 0.5 * unit);
    }
    // Magnitudes from 1e-12 to 1e12 with both signs, as code ranges, phases,
    // Dopplers and seconds of every size give them.
    std::uniform_real_distribution<double> exponent(-12.0, 12.0);
    for (int i = 0; i < 100000; ++i)
    {
        const double v = std::pow(10.0, exponent(random));
        values.push_back((random() & 1) != 0 ? -v : v);
    }
    return values;
}
} // namespace

TEST(DecimalFields, FixedFieldsGiveTheBytesOfSnprintfOverEveryMagnitudeAndRoundingBoundary)
{
    std::mt19937_64 random(20261123);
    for (const SFixedFormat& format : kFormats)
    {
        int mismatches = 0;
        for (double v : ValuesFor(format.m_dUnit, random))
        {
            char expected[512];
            char got[512];
            std::snprintf(expected, sizeof(expected), format.m_szFormat, v);
            const size_t n = format.m_pFormat(v, got, sizeof(got));
            if ((std::string(got) != expected || n != std::strlen(expected)) && ++mismatches <= 10)
                ADD_FAILURE() << format.m_szFormat << " " << std::hexfloat << v << ": '" << got << "' instead of '"
                              << expected << "'";
        }
        EXPECT_EQ(mismatches, 0) << format.m_szFormat;
    }
}

TEST(DecimalFields, IntegerFieldsGiveTheBytesOfSnprintfAtEveryWidth)
{
    std::mt19937_64 random(7);
    std::vector<int32_t> values = {0, 1, -1, 9, 10, 99, 100, -100, 999999, 1000000, -999999, INT_MAX, INT_MIN};
    for (int i = 0; i < 5000; ++i)
        values.push_back(static_cast<int32_t>(random()) >> (random() % 32));
    for (uint32_t width = 0; width <= 17; ++width)
        for (int32_t v : values)
        {
            char expected[64];
            char got[64];
            std::snprintf(expected, sizeof(expected), "%*d", static_cast<int>(width), v);
            const size_t n = FormatIntField(v, width, got, sizeof(got));
            ASSERT_EQ(std::string(got), expected) << "width " << width;
            ASSERT_EQ(n, std::strlen(expected));
        }
}

TEST(DecimalFields, RoundingCountsUnitsOfTheLastPlace)
{
    uint64_t units = 0;
    ASSERT_TRUE(RoundToDecimals(-0.0625, 3, units)); // an exact half goes to the even neighbour
    EXPECT_EQ(units, 62u);
    ASSERT_TRUE(RoundToDecimals(59.5, 0, units));
    EXPECT_EQ(units, 60u);
    ASSERT_TRUE(RoundToDecimals(0.0009765625, 3, units)); // 0.9765625 thousandths
    EXPECT_EQ(units, 1u);
    EXPECT_FALSE(RoundToDecimals(1e9, 3, units));
    EXPECT_FALSE(RoundToDecimals(std::numeric_limits<double>::quiet_NaN(), 3, units));
}
