#include "navstate/Geodesy.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "driver/RunOptions.h"
#include "navstate/NavState.h"

namespace
{

constexpr double kDeg = std::numbers::pi / 180.0;
// Semi-minor axis of WGS 84, a * sqrt(1 - e^2), worked out from a and 1/f.
constexpr double kSemiMinorAxis = 6356752.314245179;

double Dot(const double* a, const double* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void Cross(const double* a, const double* b, double* out)
{
    out[0] = a[1] * b[2] - a[2] * b[1];
    out[1] = a[2] * b[0] - a[0] * b[2];
    out[2] = a[0] * b[1] - a[1] * b[0];
}

void ExpectOrthonormalRows(const double m[9])
{
    const double* north = m;
    const double* east = m + 3;
    const double* up = m + 6;
    EXPECT_NEAR(Dot(north, north), 1.0, 1e-12);
    EXPECT_NEAR(Dot(east, east), 1.0, 1e-12);
    EXPECT_NEAR(Dot(up, up), 1.0, 1e-12);
    EXPECT_NEAR(Dot(north, east), 0.0, 1e-12);
    EXPECT_NEAR(Dot(north, up), 0.0, 1e-12);
    EXPECT_NEAR(Dot(east, up), 0.0, 1e-12);
    // east x north = up: the frame is east, north, up turned into row order.
    double c[3];
    Cross(east, north, c);
    EXPECT_NEAR(c[0], up[0], 1e-12);
    EXPECT_NEAR(c[1], up[1], 1e-12);
    EXPECT_NEAR(c[2], up[2], 1e-12);
}

TEST(GeodesyConstants, HoldTheStatedValues)
{
    EXPECT_EQ(kWgs84SemiMajorAxis, 6378137.0);
    EXPECT_EQ(kWgs84Eccentricity, 0.0818191908426);
    EXPECT_EQ(kWgs84OneMinusEccSquared, 0.99330562000987);
    EXPECT_EQ(kMinElevationRange, 10000.0);
    EXPECT_EQ(kOneTurn, 6.2831853071796);
    EXPECT_EQ(kDegreesPerRadian, 57.2957795131);
}

TEST(LlhToEcef, OriginOfLatitudeAndLongitudeIsTheSemiMajorAxis)
{
    const double llh[3] = {0.0, 0.0, 0.0};
    double xyz[3] = {1.0, 1.0, 1.0};
    LlhToEcef(llh, xyz);
    EXPECT_EQ(xyz[0], 6378137.0);
    EXPECT_EQ(xyz[1], 0.0);
    EXPECT_EQ(xyz[2], 0.0);
}

TEST(LlhToEcef, HeightAddsAlongTheRadiusOnTheEquator)
{
    const double llh[3] = {0.0, 0.0, 100.0};
    double xyz[3];
    LlhToEcef(llh, xyz);
    EXPECT_EQ(xyz[0], 6378237.0);
    EXPECT_EQ(xyz[1], 0.0);
    EXPECT_EQ(xyz[2], 0.0);
}

TEST(LlhToEcef, NinetyDegreesEastLiesOnTheYAxis)
{
    const double llh[3] = {0.0, 90.0 * kDeg, 0.0};
    double xyz[3];
    LlhToEcef(llh, xyz);
    EXPECT_NEAR(xyz[0], 0.0, 1e-6);
    EXPECT_NEAR(xyz[1], 6378137.0, 1e-6);
    EXPECT_EQ(xyz[2], 0.0);
}

TEST(LlhToEcef, NorthPoleGivesTheSemiMinorAxis)
{
    const double llh[3] = {std::numbers::pi / 2.0, 0.0, 0.0};
    double xyz[3];
    LlhToEcef(llh, xyz);
    EXPECT_NEAR(xyz[0], 0.0, 1e-6);
    EXPECT_NEAR(xyz[1], 0.0, 1e-6);
    EXPECT_NEAR(xyz[2], kSemiMinorAxis, 1e-4);

    const double south[3] = {-std::numbers::pi / 2.0, 0.0, 10.0};
    LlhToEcef(south, xyz);
    EXPECT_NEAR(xyz[2], -(kSemiMinorAxis + 10.0), 1e-4);
}

TEST(LlhToEcef, MatchesTheClosedFormAtKnownPoints)
{
    // Reference values from N = a / sqrt(1 - e^2 sin^2 lat) with a = 6378137
    // and 1/f = 298.257223563, worked out independently of the code.
    struct Case
    {
        double latDeg, lonDeg, height, x, y, z;
    };
    const Case cases[] = {
        {45.0, 45.0, 0.0, 3194419.1450605746, 3194419.145060574, 4487348.408865919},
        {51.4778, 0.0, 46.0, 3980609.8612794587, 0.0, 4966860.510871189},
        {-33.8568, 151.2153, 58.0, -4647010.850946621, 2553100.1126162144, -3533299.4404001413},
    };
    for (const Case& c : cases)
    {
        const double llh[3] = {c.latDeg * kDeg, c.lonDeg * kDeg, c.height};
        double xyz[3];
        LlhToEcef(llh, xyz);
        EXPECT_NEAR(xyz[0], c.x, 1e-4) << c.latDeg << " " << c.lonDeg;
        EXPECT_NEAR(xyz[1], c.y, 1e-4) << c.latDeg << " " << c.lonDeg;
        EXPECT_NEAR(xyz[2], c.z, 1e-4) << c.latDeg << " " << c.lonDeg;
    }
}

TEST(EcefToNeuMatrix, OnTheEquatorUpPointsAlongThePosition)
{
    for (double lonDeg : {0.0, 30.0, 90.0, -120.0, 180.0})
    {
        const double llh[3] = {0.0, lonDeg * kDeg, 250.0};
        double xyz[3];
        LlhToEcef(llh, xyz);
        double m[9];
        EcefToNeuMatrix(xyz, m);
        ExpectOrthonormalRows(m);

        const double r = std::sqrt(Dot(xyz, xyz));
        EXPECT_NEAR(m[6], xyz[0] / r, 1e-12) << lonDeg;
        EXPECT_NEAR(m[7], xyz[1] / r, 1e-12) << lonDeg;
        EXPECT_NEAR(m[8], xyz[2] / r, 1e-12) << lonDeg;
        // North is the Z axis, east is the direction of growing longitude.
        EXPECT_NEAR(m[0], 0.0, 1e-12);
        EXPECT_NEAR(m[1], 0.0, 1e-12);
        EXPECT_NEAR(m[2], 1.0, 1e-12);
        EXPECT_NEAR(m[3], -std::sin(lonDeg * kDeg), 1e-12);
        EXPECT_NEAR(m[4], std::cos(lonDeg * kDeg), 1e-12);
        EXPECT_EQ(m[5], 0.0);
    }
}

TEST(EcefToNeuMatrix, RowsAreOrthonormalAndUpIsGeocentricAnywhere)
{
    const double places[][3] = {{45.0, 45.0, 0.0}, {51.4778, 0.0, 46.0}, {-33.8568, 151.2153, 58.0},
                                {89.0, -170.0, 3000.0}, {-75.0, 10.0, -20.0}};
    for (const auto& p : places)
    {
        const double llh[3] = {p[0] * kDeg, p[1] * kDeg, p[2]};
        double xyz[3];
        LlhToEcef(llh, xyz);
        double m[9];
        EcefToNeuMatrix(xyz, m);
        ExpectOrthonormalRows(m);
        // The matrix is built on the geocentric latitude: up is the position's direction.
        const double r = std::sqrt(Dot(xyz, xyz));
        EXPECT_NEAR(Dot(m + 6, xyz) / r, 1.0, 1e-12) << p[0] << " " << p[1];
        // North leans towards +Z.
        EXPECT_GT(m[2], 0.0);
    }
}

TEST(EcefToNeuMatrix, PointsOnOneRadiusLineShareTheMatrix)
{
    const double a[3] = {1234567.0, -2345678.0, 5432100.0};
    const double b[3] = {a[0] * 4.0, a[1] * 4.0, a[2] * 4.0};
    double ma[9];
    double mb[9];
    EcefToNeuMatrix(a, ma);
    EcefToNeuMatrix(b, mb);
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(ma[i], mb[i], 1e-15) << i;
}

TEST(EcefToNeuMatrix, PoleIsWellDefined)
{
    const double pole[3] = {0.0, 0.0, kSemiMinorAxis};
    double m[9];
    EcefToNeuMatrix(pole, m);
    for (int i = 0; i < 9; ++i)
        EXPECT_FALSE(std::isnan(m[i])) << i;
    ExpectOrthonormalRows(m);
    // Longitude 0 by atan2(0, 0): north is -X, east is +Y, up is +Z.
    EXPECT_NEAR(m[0], -1.0, 1e-12);
    EXPECT_NEAR(m[4], 1.0, 1e-12);
    EXPECT_NEAR(m[8], 1.0, 1e-12);
}

class NavStateInitTest : public ::testing::Test
{
protected:
    void SetUp() override { m_saved = RunOptions; }
    void TearDown() override { RunOptions = m_saved; }
    SRunOptions m_saved;
};

TEST_F(NavStateInitTest, TakesTheLocationOfTheRun)
{
    RunOptions.m_bHaveLocation = true;
    RunOptions.m_aLocationLlh[0] = -33.8568 * kDeg;
    RunOptions.m_aLocationLlh[1] = 151.2153 * kDeg;
    RunOptions.m_aLocationLlh[2] = 58.0;

    CNavState place{};
    place.Init();
    EXPECT_EQ(place.m_adLlh[0], RunOptions.m_aLocationLlh[0]);
    EXPECT_EQ(place.m_adLlh[1], RunOptions.m_aLocationLlh[1]);
    EXPECT_EQ(place.m_adLlh[2], RunOptions.m_aLocationLlh[2]);

    double xyz[3];
    LlhToEcef(RunOptions.m_aLocationLlh, xyz);
    double m[9];
    EcefToNeuMatrix(xyz, m);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(place.m_adXyz[i], xyz[i]);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(place.m_adNeuMatrix[i], m[i]);
}

TEST_F(NavStateInitTest, WithoutALocationTakesAFixedDefaultPlace)
{
    RunOptions.m_bHaveLocation = false;
    RunOptions.m_aLocationLlh[0] = 1.0; // ignored without the flag
    RunOptions.m_aLocationLlh[1] = 1.0;
    RunOptions.m_aLocationLlh[2] = 1.0;

    CNavState first{};
    first.Init();
    CNavState second{};
    second.Init();
    EXPECT_NE(first.m_adLlh[0], 1.0);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(first.m_adLlh[i], second.m_adLlh[i]);
        EXPECT_EQ(first.m_adXyz[i], second.m_adXyz[i]);
    }

    double xyz[3];
    LlhToEcef(first.m_adLlh, xyz);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(first.m_adXyz[i], xyz[i]);
    // A place on the ellipsoid's surface, not the origin.
    EXPECT_GT(std::sqrt(Dot(first.m_adXyz, first.m_adXyz)), 6300000.0);
    ExpectOrthonormalRows(first.m_adNeuMatrix);
}

} // namespace
