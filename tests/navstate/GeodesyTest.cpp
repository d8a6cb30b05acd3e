#include "navstate/Geodesy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tuple>

#include "navstate/NavState.h"

namespace
{
constexpr double kDeg = std::numbers::pi / 180.0;
constexpr double kSemiMinorAxis = 6356752.314245179; // a * sqrt(1 - e^2), from a and 1/f

double Dot(const double* a, const double* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

// Rows north, east, up: orthonormal, and east x north = up.
void ExpectNeuFrame(const double m[9])
{
    const double *n = m, *e = m + 3, *u = m + 6;
    for (const auto& [a, b, dot] : {std::tuple{n, n, 1.0}, {e, e, 1.0}, {u, u, 1.0}, {n, e, 0.0}, {n, u, 0.0},
                                    {e, u, 0.0}})
        EXPECT_NEAR(Dot(a, b), dot, 1e-12);
    EXPECT_NEAR(e[1] * n[2] - e[2] * n[1], u[0], 1e-12);
    EXPECT_NEAR(e[2] * n[0] - e[0] * n[2], u[1], 1e-12);
    EXPECT_NEAR(e[0] * n[1] - e[1] * n[0], u[2], 1e-12);
}

} // namespace

TEST(LlhToEcefTest, MatchesClosedFormReferenceValues)
{
    // Latitude and longitude in degrees, height, X, Y, Z: worked out apart from the
    // code from N = a / sqrt(1 - e^2 sin^2 lat), a = 6378137, 1/f = 298.257223563.
    const double cases[][6] = {
        {0.0, 0.0, 0.0, 6378137.0, 0.0, 0.0},
        {0.0, 0.0, 100.0, 6378237.0, 0.0, 0.0},
        {0.0, 90.0, 0.0, 0.0, 6378137.0, 0.0},
        {90.0, 0.0, 0.0, 0.0, 0.0, kSemiMinorAxis},
        {-90.0, 0.0, 10.0, 0.0, 0.0, -(kSemiMinorAxis + 10.0)},
        {45.0, 45.0, 0.0, 3194419.1450605746, 3194419.145060574, 4487348.408865919},
        {51.4778, 0.0, 46.0, 3980609.8612794587, 0.0, 4966860.510871189},
        {-33.8568, 151.2153, 58.0, -4647010.850946621, 2553100.1126162144, -3533299.4404001413}};
    for (const auto& c : cases)
    {
        const double llh[3] = {c[0] * kDeg, c[1] * kDeg, c[2]};
        double xyz[3];
        LlhToEcef(llh, xyz);
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(xyz[i], c[3 + i], 1e-4) << c[0] << " " << c[1] << " " << c[2] << ", axis " << i;
    }
}

TEST(EcefToNeuMatrixTest, RowsAreNorthEastUpOnTheGeocentricLatitude)
{
    const double places[][3] = {{0.0, 0.0, 250.0}, {0.0, 90.0, 0.0},   {0.0, -120.0, 0.0},     {0.0, 180.0, 0.0},
                                {45.0, 45.0, 0.0}, {51.4778, 0.0, 46.0}, {-33.8568, 151.2153, 58.0},
                                {89.0, -170.0, 3000.0}, {-75.0, 10.0, -20.0}};
    for (const auto& p : places)
    {
        SCOPED_TRACE(::testing::Message() << p[0] << " " << p[1]);
        const double llh[3] = {p[0] * kDeg, p[1] * kDeg, p[2]};
        double xyz[3], m[9];
        LlhToEcef(llh, xyz);
        EcefToNeuMatrix(xyz, m);
        ExpectNeuFrame(m);
        // Up points along the position (so height does not enter), east turns with the longitude.
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(m[6 + i], xyz[i] / std::sqrt(Dot(xyz, xyz)), 1e-12);
        EXPECT_NEAR(m[3], -std::sin(p[1] * kDeg), 1e-12);
        EXPECT_NEAR(m[4], std::cos(p[1] * kDeg), 1e-12);
        EXPECT_EQ(m[5], 0.0);
    }
    // At the pole, longitude 0 by atan2(0, 0): north is -X, east +Y, up +Z.
    const double pole[3] = {0.0, 0.0, kSemiMinorAxis};
    double m[9];
    EcefToNeuMatrix(pole, m);
    ExpectNeuFrame(m);
    EXPECT_NEAR(m[0], -1.0, 1e-12);
    EXPECT_NEAR(m[4], 1.0, 1e-12);
    EXPECT_NEAR(m[8], 1.0, 1e-12);
}

TEST(NavStateInitTest, TakesTheLocationOfTheRunOrElseAFixedDefaultPlace)
{
    const double sydney[3] = {-33.8568 * kDeg, 151.2153 * kDeg, 58.0};
    CNavState places[3]{};
    for (CNavState& place : places)
    {
        place.Init(&place == places, sydney); // the location is ignored without the flag
        double xyz[3], m[9];
        LlhToEcef(place.m_adLlh, xyz);
        EcefToNeuMatrix(xyz, m);
        EXPECT_TRUE(std::equal(xyz, xyz + 3, place.m_adXyz));
        EXPECT_TRUE(std::equal(m, m + 9, place.m_adNeuMatrix));
    }
    EXPECT_TRUE(std::equal(sydney, sydney + 3, places[0].m_adLlh));
    EXPECT_TRUE(std::equal(places[1].m_adLlh, places[1].m_adLlh + 3, places[2].m_adLlh));
    EXPECT_NE(places[1].m_adLlh[0], sydney[0]);
    EXPECT_GT(std::sqrt(Dot(places[1].m_adXyz, places[1].m_adXyz)), 6300000.0); // on the surface, not at the centre
}
