#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "rinex/NumberFields.h"
#include "support/ExpectedText.h"

namespace
{

using FieldFn = int (*)(double, char*);

struct SFieldKind
{
    FieldFn m_fn;
    int m_iWidth;
    int m_iDecimals;
};
constexpr SFieldKind kD19{FormatD19, 19, 12};
constexpr SFieldKind kD17{FormatD17, 17, 10};
constexpr SFieldKind kD16{FormatD16, 16, 9};
constexpr SFieldKind kD12{FormatD12, 12, 4};

std::string Field(const SFieldKind& kind, double value)
{
    char dst[64];
    std::memset(dst, '#', sizeof(dst));
    const int width = kind.m_fn(value, dst);
    EXPECT_EQ(width, kind.m_iWidth);
    EXPECT_EQ(std::strlen(dst), static_cast<size_t>(kind.m_iWidth)) << dst;
    return dst;
}

TEST(NumberFieldsTest, FieldsKeepWidthSignAndTwoDigitExponentAtTheEdges)
{
    const double subnormal = std::numeric_limits<double>::denorm_min();
    const double inf = std::numeric_limits<double>::infinity();
    const struct
    {
        SFieldKind m_kind;
        double m_dValue;
        const char* m_szExpected;
    } cases[] = {
        {kD19, 1.5e-09, " 1.500000000000D-09"},
        {kD19, -225000.0, "-2.250000000000D+05"},
        {kD19, 0.0, " 0.000000000000D+00"},
        {kD19, -0.0, "-0.000000000000D+00"},
        {kD19, 9.9999999999999e9, " 1.000000000000D+10"}, // rounding carries into the exponent
        {kD19, -1e-99, "-1.000000000000D-99"},
        // From 100 on the exponent has no room: the field shows its last two digits.
        {kD19, 9.9999999999999e99, " 1.000000000000D+00"},
        {kD19, -1e-100, "-1.000000000000D-00"},
        {kD19, 1e-300, " 1.000000000000D-00"},
        {kD19, subnormal, " 4.940656458412D-24"},
        {kD19, -inf, "               -INF"},
        {kD17, -0.0, "-0.0000000000D+00"},
        {kD16, -2.5e-14, "-2.500000000D-14"},
        {kD12, 1.5e-08, "  1.5000D-08"},
        {kD12, -5.9604644775e-08, " -5.9605D-08"},
        {kD12, 9.99996e5, "  1.0000D+06"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Field(c.m_kind, c.m_dValue), c.m_szExpected) << c.m_dValue;
}

TEST(NumberFieldsTest, AllFieldsAgreeWithIndependentConstructionOverWideSweep)
{
    std::mt19937_64 random(20200621);
    std::uniform_real_distribution<double> mantissa(1.0, 10.0);
    std::uniform_int_distribution<int> exponent(-330, 310);
    const SFieldKind kinds[] = {kD19, kD17, kD16, kD12};
    for (int i = 0; i < 20000; ++i)
    {
        // Half from decimal mantissas and exponents (rounding near .5 and 9.99..),
        // half from raw bit patterns (subnormals and every exponent).
        double value = 0.0;
        if (i % 2 == 0)
        {
            value = mantissa(random) * std::pow(10.0, exponent(random));
        }
        else
        {
            const uint64_t bits = random();
            std::memcpy(&value, &bits, sizeof(value));
        }
        if (!std::isfinite(value))
            continue;
        if (i % 3 == 0)
            value = -value;
        for (const SFieldKind& kind : kinds)
            ASSERT_EQ(Field(kind, value), DField(value, kind.m_iDecimals, kind.m_iWidth)) << value;
    }
}

} // namespace
