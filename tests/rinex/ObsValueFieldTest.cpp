#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "rinex/ObsValueField.h"

namespace
{
std::string Reference(double value)
{
    char text[512];
    std::snprintf(text, sizeof(text), "%14.3f", value);
    return text;
}

std::string Fast(double value)
{
    char text[512];
    const size_t n = FormatObsValue(value, text, sizeof(text));
    EXPECT_EQ(n, std::string(text).size()) << value;
    return text;
}

// The value and both of its neighbouring doubles.
void AddWithNeighbours(std::vector<double>& values, double v)
{
    values.push_back(v);
    values.push_back(std::nextafter(v, -INFINITY));
    values.push_back(std::nextafter(v, INFINITY));
}
} // namespace

TEST(ObsValueField, GivesTheBytesOfSnprintfOverEveryMagnitudeAndRoundingBoundary)
{
    std::vector<double> values = {0.0, -0.0, 1e-300, -1e-300, 4.9e-324, -4.9e-324, DBL_MIN, 0.0004999, -0.0004999,
                                  0.0005, -0.0005, 999999999.9995, -999999999.9995, 1e9, -1e9, 1e12, -123456789012.5,
                                  DBL_MAX, -DBL_MAX, INFINITY, -INFINITY, std::numeric_limits<double>::quiet_NaN()};
    // Exact halves of a thousandth are odd sixteenths: they go to the even neighbour.
    for (double j : {0.0, 1.0, 2.0, 3.0, 1e3, 123456.0, 62499999999.0})
    {
        values.push_back((2 * j + 1) / 16);
        values.push_back(-(2 * j + 1) / 16);
    }
    // Decimal halves that no double holds exactly, from both sides.
    std::mt19937_64 random(20261123);
    for (int i = 0; i < 2000; ++i)
    {
        const double whole = static_cast<double>(random() % 2000000000) - 1e9;
        AddWithNeighbours(values, whole + static_cast<double>(random() % 1000) / 1000.0 + 0.0005);
    }
    // Magnitudes from 1e-12 to 1e12 with both signs, as code ranges, phases
    // and Dopplers of every size give them.
    std::uniform_real_distribution<double> exponent(-12.0, 12.0);
    for (int i = 0; i < 200000; ++i)
    {
        const double v = std::pow(10.0, exponent(random));
        values.push_back((random() & 1) != 0 ? -v : v);
    }

    int mismatches = 0;
    for (double v : values)
    {
        const std::string expected = Reference(v);
        const std::string got = Fast(v);
        if (got != expected && ++mismatches <= 10)
            ADD_FAILURE() << std::hexfloat << v << ": '" << got << "' instead of '" << expected << "'";
    }
    EXPECT_EQ(mismatches, 0);
}
