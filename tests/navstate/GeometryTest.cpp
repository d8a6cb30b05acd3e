#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <tuple>
#include <utility>

#include "gnsstime/GpsTime.h"
#include "navstate/Geodesy.h"
#include "navstate/NavState.h"
#include "tests/navstate/NavTestSupport.h"

namespace
{
constexpr double kDeg = std::numbers::pi / 180.0;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr uint32_t kWeek = 2111; // 25 June 2020

// Broadcast records of station ESBC00DNK, 25 June 2020 12:00, as the RINEX
// file prints them, line by line (BeiDou times in BDT).
struct SBroadcast
{
    bool bdt;
    double toc, af0, af1, af2, iode, crs, dn, m0, cuc, e, cus, sqrtA, toe, cic, omega0, cis, i0, crc, omega, omegaDot,
        idot, tgd;
};
constexpr SBroadcast kG07 = {false, 388800.0, -3.125914372504e-04, -8.753886504564e-12, 0.0, //
                             36.0, 3.75e-01, 5.106998441270e-09, -2.196298569634e+00,       //
                             -2.980232238770e-07, 1.403154002037e-02, 5.675479769707e-06, 5.153651992798e+03,
                             388800.0, 2.533197402954e-07, -5.655694076531e-01, -8.381903171539e-08,
                             9.530046994424e-01, 2.629687500000e+02, -2.385949900139e+00, -8.173197589343e-09,
                             1.078616357272e-10, -1.117587089539e-08};
constexpr SBroadcast kC11 = {true, 388800.0, -4.506245022640e-04, -2.404831889180e-11, -4.065758146821e-20,
                             10.0, 8.617187500000e+01, 3.445500661790e-09, 2.356934551190e+00,
                             4.188623279333e-06, 1.845736987889e-03, 3.980007022619e-06, 5.282602237701e+03,
                             388800.0, -4.516914486885e-08, 1.881039771828e+00, -4.097819328308e-08,
                             9.899110943419e-01, 2.905156250000e+02, -2.140728248324e+00, -6.802069047764e-09,
                             7.286017777600e-11, 4.0e-09};

// GLONASS R02, tb 12:15 UTC: position km, velocity km/s, luni-solar
// acceleration km/s2; then the position of the next record, 30 minutes later.
constexpr double kR02[9] = {-9.983247070312e+03, 5.047906738281e+03, 2.296504052734e+04, -2.054879188538e+00,
                            -2.364778518677e+00, -3.791494369507e-01, 9.313225746155e-10, 0.0, -2.793967723846e-09};
constexpr double kR02Next[3] = {-1.386860156250e+04, 1.183571289062e+03, 2.140719482422e+04};
constexpr double kR02TauN = -4.332726821303e-04, kR02Gamma = 1.818989403546e-12;

// BDT runs 14 s behind GPS time; the BeiDou table keeps GPS times, with Omega0
// turned on by the earth rotation of those 14 s.
constexpr double kBdtShift = 14.0;
constexpr double kOmegaE = 7.2921151467e-5;

SGpsEphemeris TableRecord(const SBroadcast& b)
{
    const double shift = b.bdt ? kBdtShift : 0.0;
    SGpsEphemeris r{};
    r.m_uStatus = kStatusInFit;
    r.m_uIode = static_cast<uint16_t>(b.iode);
    r.m_uToeWeek = r.m_uTocWeek = kWeek;
    r.m_dToc = b.toc + shift, r.m_dToe = b.toe + shift, r.m_dOmega0 = b.omega0 + shift * kOmegaE;
    r.m_dAf0 = b.af0, r.m_dAf1 = b.af1, r.m_dAf2 = b.af2, r.m_dTgd = b.tgd, r.m_dCrs = b.crs, r.m_dDeltaN = b.dn;
    r.m_dM0 = b.m0, r.m_dCuc = b.cuc, r.m_dEcc = b.e, r.m_dCus = b.cus, r.m_dSqrtA = b.sqrtA, r.m_dCic = b.cic;
    r.m_dCis = b.cis, r.m_dI0 = b.i0, r.m_dCrc = b.crc, r.m_dOmega = b.omega, r.m_dOmegaDot = b.omegaDot;
    r.m_dIdot = b.idot;
    return r;
}

// IS-GPS-200's user algorithm, written out on its own (fixed-point Kepler
// iteration, textbook order of terms), at t seconds of week in the record's
// time scale. Gives the position and returns the clock correction.
double ReferenceSatellite(const SBroadcast& b, double t, double p[3])
{
    const double mu = 3.986005e14, relativity = -4.442807633e-10;
    const double tk = std::remainder(t - b.toe, 604800.0), tc = std::remainder(t - b.toc, 604800.0);
    const double a = b.sqrtA * b.sqrtA;
    const double mk = b.m0 + (std::sqrt(mu / (a * a * a)) + b.dn) * tk;
    double ek = mk;
    for (int i = 0; i < 60; ++i)
        ek = mk + b.e * std::sin(ek);
    const double phi = std::atan2(std::sqrt(1.0 - b.e * b.e) * std::sin(ek), std::cos(ek) - b.e) + b.omega;
    const double s2 = std::sin(2 * phi), c2 = std::cos(2 * phi);
    const double u = phi + b.cus * s2 + b.cuc * c2;
    const double r = a * (1.0 - b.e * std::cos(ek)) + b.crs * s2 + b.crc * c2;
    const double i = b.i0 + b.idot * tk + b.cis * s2 + b.cic * c2;
    const double node = b.omega0 + (b.omegaDot - kOmegaE) * tk - kOmegaE * b.toe;
    const double xo = r * std::cos(u), yo = r * std::sin(u);
    p[0] = xo * std::cos(node) - yo * std::cos(i) * std::sin(node);
    p[1] = xo * std::sin(node) + yo * std::cos(i) * std::cos(node);
    p[2] = yo * std::sin(i);
    return b.af0 + b.af1 * tc + b.af2 * tc * tc + relativity * b.e * b.sqrtA * std::sin(ek) - b.tgd;
}

// GLONASS equations of motion (earth-fixed frame, J2, constant luni-solar
// acceleration) from their physical constants, integrated by RK4 in one-second
// steps over `span` seconds. Metres, GLONASS frame.
void ReferenceGlonass(double span, double s[6])
{
    const double mu = 3.986004418e14, ae = 6378136.0, j2 = 1.08263e-3, w = 7.292115e-5;
    const auto motion = [&](const double y[6], double d[6]) {
        const double r = std::sqrt(y[0] * y[0] + y[1] * y[1] + y[2] * y[2]), z2 = y[2] * y[2] / (r * r);
        const double central = -mu / (r * r * r), zonal = -1.5 * j2 * mu * ae * ae / std::pow(r, 5);
        d[0] = y[3], d[1] = y[4], d[2] = y[5];
        d[3] = (central + zonal * (1 - 5 * z2) + w * w) * y[0] + 2 * w * y[4] + kR02[6] * 1e3;
        d[4] = (central + zonal * (1 - 5 * z2) + w * w) * y[1] - 2 * w * y[3] + kR02[7] * 1e3;
        d[5] = (central + zonal * (3 - 5 * z2)) * y[2] + kR02[8] * 1e3;
    };
    for (int j = 0; j < 6; ++j)
        s[j] = kR02[j] * 1e3;
    const int n = static_cast<int>(std::fabs(span));
    const double h = n != 0 ? span / n : 0.0;
    for (int step = 0; step < n; ++step)
    {
        double k[4][6], y[6];
        motion(s, k[0]);
        for (int stage = 1; stage < 4; ++stage)
        {
            for (int j = 0; j < 6; ++j)
                y[j] = s[j] + (stage == 3 ? h : h / 2) * k[stage - 1][j];
            motion(y, k[stage]);
        }
        for (int j = 0; j < 6; ++j)
            s[j] += h / 6 * (k[0][j] + 2 * k[1][j] + 2 * k[2][j] + k[3][j]);
    }
}


// R02 in slot 2 of a GLONASS table, in use, with tb at (week, seconds).
SGlonassEphemeris& PutR02(CGlonassNavState& table, uint32_t week, double seconds)
{
    SGlonassEphemeris& r = table.m_aGloEphemeris[1];
    r.m_uStatus = kStatusInFit, r.m_uTb = 765, r.m_uGpsWeek = week, r.m_dGpsSeconds = seconds;
    r.m_dX = kR02[0], r.m_dY = kR02[1], r.m_dZ = kR02[2], r.m_dVx = kR02[3], r.m_dVy = kR02[4], r.m_dVz = kR02[5];
    r.m_dAx = kR02[6], r.m_dAy = kR02[7], r.m_dAz = kR02[8], r.m_dTauN = kR02TauN, r.m_dGamma = kR02Gamma;
    return r;
}

// Each test has a run of its own: log time unset, the receiver nowhere yet.
class GeometryTest : public ::testing::Test
{
protected:
    SNavTestRun m_Run;
};
} // namespace

TEST_F(GeometryTest, KeplerStateAgreesWithTheUserAlgorithmOnRealGpsAndBeidouRecords)
{
    m_Run.SetLogTime(388800.0, kWeek);
    SBroadcast weekStart = kG07; // reference time at the week's start, asked for from the week before
    weekStart.toc = weekStart.toe = 0.0;
    // The BeiDou record also in the rows of C41 and C63: every BeiDou row is a Kepler one.
    for (const auto& [b, offset, number] :
         {std::tuple{&kG07, 0.0, 7u}, {&kG07, -1800.0, 7u}, {&kG07, 7200.0, 7u}, {&kC11, 0.0, 11u},
          {&kC11, -3600.0, 41u}, {&kC11, 5400.0, 63u}, {&weekStart, -1800.0, 7u}})
    {
        SCOPED_TRACE(::testing::Message() << "sqrtA " << b->sqrtA << ", offset " << offset << ", number " << number);
        const double t = b->toe + offset; // in the record's own time scale
        const double seconds = std::fmod(t + (b->bdt ? kBdtShift : 0.0) + 604800.0, 604800.0);
        const GpsTime when{kWeek, seconds};
        std::unique_ptr<CGpsNavState> table =
            b->bdt ? m_Run.Beidou() : m_Run.Gps();
        table->m_aEphemeris[number - 1] = TableRecord(*b);
        table->ComputeSatState(number, &when);
        const SSatState& s = table->m_aSatState[number - 1];
        ASSERT_EQ(s.m_uValid, 1u);
        EXPECT_EQ(s.m_timeState.m_dSeconds, seconds);

        double p[3], before[3], after[3], wide[2][3];
        EXPECT_NEAR(s.m_dClockBias, ReferenceSatellite(*b, t, p), 1e-13);
        EXPECT_LT(VectorLength(s.m_dX - p[0], s.m_dY - p[1], s.m_dZ - p[2]), 1e-3); // measured 4e-6 m
        ReferenceSatellite(*b, t - 0.1, before);
        ReferenceSatellite(*b, t + 0.1, after);
        ReferenceSatellite(*b, t - 10.0, wide[0]);
        ReferenceSatellite(*b, t + 10.0, wide[1]);
        const double v[3] = {s.m_dVx, s.m_dVy, s.m_dVz}, a[3] = {s.m_dAx, s.m_dAy, s.m_dAz};
        for (int i = 0; i < 3; ++i)
        {
            EXPECT_NEAR(v[i], (after[i] - before[i]) / 0.2, 1e-5) << "velocity " << i; // measured 9e-7 m/s
            // No oblateness in the acceleration: measured 7e-5 m/s2 from the true curvature.
            EXPECT_NEAR(a[i], (wide[1][i] - 2 * p[i] + wide[0][i]) / 100.0, 2e-4) << "acceleration " << i;
        }
    }
}

TEST_F(GeometryTest, GlonassStateAgreesWithAFineIntegrationUpToFortyFiveMinutes)
{
    double s[6];
    ReferenceGlonass(1800.0, s); // the reference lands near the next broadcast position (2.0 m)
    EXPECT_LT(VectorLength(s[0] - kR02Next[0] * 1e3, s[1] - kR02Next[1] * 1e3, s[2] - kR02Next[2] * 1e3), 5.0);

    for (const double dt : {0.0, -900.0, 900.0, 1800.0, 2700.0, 3000.0})
    {
        SCOPED_TRACE(dt);
        // tb 300 s from a week boundary, on the side that puts the time wanted in the other week.
        const GpsTime tb = dt < 0.0 ? GpsTime{kWeek + 1, 300.0} : GpsTime{kWeek, 604500.0};
        const double total = tb.m_dSeconds + dt;
        const GpsTime when = total < 0.0 ? GpsTime{kWeek, total + 604800.0}
                             : total >= 604800.0 ? GpsTime{kWeek + 1, total - 604800.0}
                                                 : GpsTime{tb.m_uWeek, total};
        m_Run.SetLogTime(when.m_dSeconds, when.m_uWeek);
        auto table = m_Run.Glonass();
        PutR02(*table, tb.m_uWeek, tb.m_dSeconds);
        table->UpdateElevation(2, true); // the state comes through the table's own propagation
        const SSatState& got = table->m_aSatState[1];
        ASSERT_EQ(got.m_uValid, 1u);
        EXPECT_EQ(got.m_uIodeAtState, 765);
        EXPECT_NEAR(got.m_dClockBias, kR02TauN - dt * kR02Gamma, 1e-18);

        ReferenceGlonass(dt, s);
        // Into WGS 84: small rotations, scale and shift of the GLONASS frame.
        const double ra = 1.664e-6, rb = 5.8e-8, rc = 1.18e-7, scale = 1.0 - 2.614e-9, shift[3] = {0.404, 0.357, -0.476};
        const double turn[3][3] = {{1.0, -ra, rb}, {ra, 1.0, rc}, {-rb, -rc, 1.0}};
        const double pos[3] = {got.m_dX, got.m_dY, got.m_dZ}, vel[3] = {got.m_dVx, got.m_dVy, got.m_dVz};
        for (int i = 0; i < 3; ++i)
        {
            const double* row = turn[i];
            EXPECT_NEAR(pos[i], (row[0] * s[0] + row[1] * s[1] + row[2] * s[2]) * scale + shift[i], 0.01)
                << "position " << i; // measured 2.5 mm
            EXPECT_NEAR(vel[i], row[0] * s[3] + row[1] * s[4] + row[2] * s[5], 1e-5) << "velocity " << i;
        }
    }
}

TEST_F(GeometryTest, ElevationAndAzimuthOfASatelliteSeenFromTheReceiver)
{
    m_Run.SetLogTime(389000.0, kWeek);
    const double station[3] = {3582105.2910, 532589.7313, 5232754.8054}; // ESBC00DNK
    std::copy(station, station + 3, m_Run.m_Receiver.m_adXyz);
    EcefToNeuMatrix(station, m_Run.m_Receiver.m_adNeuMatrix);
    const double* neu = m_Run.m_Receiver.m_adNeuMatrix;

    // Azimuth, elevation (degrees) and range (metres). The satellite stands
    // still in an SBAS row, so it is exactly where the record puts it.
    const double cases[][3] = {{0.0, 90.0, 2.0e7}, {10.0, 0.0, 2.0e7}, {359.5, 30.0, 2.0e7},
                               {100.0, -10.0, 2.0e7}, {200.0, 45.0, 3.6e7}, {45.0, 45.0, 9999.0}};
    for (const auto& [az, el, range] : cases)
    {
        SCOPED_TRACE(::testing::Message() << az << " " << el << " " << range);
        auto table = m_Run.Gps();
        SGpsEphemeris& r = table->m_aEphemeris[32];
        r.m_uStatus = kStatusInFit;
        r.m_uToeWeek = kWeek;
        const double local[3] = {std::cos(el * kDeg) * std::cos(az * kDeg), std::cos(el * kDeg) * std::sin(az * kDeg),
                                 std::sin(el * kDeg)};
        double* sat[3] = {&r.m_dTgd, &r.m_dTgd2, &r.m_dCrs}; // the SBAS position
        for (int i = 0; i < 3; ++i)
            *sat[i] = station[i] + range * (local[0] * neu[i] + local[1] * neu[3 + i] + local[2] * neu[6 + i]);
        table->m_adElevation[32] = -1.0;

        table->UpdateElevation(33, true);
        EXPECT_NEAR(table->m_adElevation[32], range < 10000.0 ? -1.0 : el, 1e-8); // too near: kept
        if (std::fabs(el) < 90.0 && range >= 10000.0) // the azimuth of the zenith is rounding noise
        {
            EXPECT_NEAR(table->m_adAzimuth[32], az, 1e-8);
        }
    }
}

TEST_F(GeometryTest, StateIsMadeOnlyFromARecordInFitOnceTheLogTimeIsSetAndSbasRunsFromItsReferenceTime)
{
    for (const auto& [status, week, made] : {std::tuple{kStatusInFit, kWeek, true}, {kStatusOutsideFit, kWeek, false},
                                             {kStatusStored, kWeek, false}, {static_cast<uint16_t>(kStatusInFit + kStatusUnhealthy), kWeek, false},
                                             {kStatusInFit, 0u, false}})
    {
        SCOPED_TRACE(::testing::Message() << status << " " << week);
        m_Run.SetLogTime(388800.0, week);
        auto gps = m_Run.Gps();
        auto glonass = m_Run.Glonass();
        gps->m_aEphemeris[6] = TableRecord(kG07);
        gps->m_aEphemeris[6].m_uStatus = status;
        PutR02(*glonass, kWeek, 388800.0).m_uStatus = status;
        gps->ComputeSatState(7, nullptr);
        glonass->ComputeSatState(2, nullptr);
        SSatState out{};
        EXPECT_EQ(gps->PredictSatState(7, kWeek, 388800.0, out), made ? 2u : 0u);
        EXPECT_EQ(glonass->PredictSatState(2, kWeek, 388800.0, out), made ? 2u : 0u);
    }

    // An SBAS state holds at the record's reference time and is carried from there, across the week's end.
    m_Run.SetLogTime(100.0, kWeek + 1);
    auto sbas = m_Run.Gps();
    SGpsEphemeris& r = sbas->m_aEphemeris[33];
    r.m_uStatus = kStatusInFit, r.m_uToeWeek = kWeek, r.m_dToe = 604700.0;
    r.m_dTgd = 4.0e7, r.m_dDeltaN = 2.0, r.m_dCic = 0.01, r.m_dAf0 = 1e-6, r.m_dAf1 = 1e-9; // X, Vx, Ax, clock
    sbas->ComputeSatState(34, nullptr);
    SSatState out{};
    ASSERT_EQ(sbas->PredictSatState(34, kWeek + 1, 100.0, out), 2u);
    EXPECT_DOUBLE_EQ(out.m_dX, 4.0e7 + 2.0 * 200.0 + 0.01 * 200.0 * 200.0 / 2);
    EXPECT_DOUBLE_EQ(out.m_dVx, 2.0 + 0.01 * 200.0);
    EXPECT_DOUBLE_EQ(out.m_dClockBias, 1e-6 + 1e-9 * 200.0);
}

TEST_F(GeometryTest, RecordsOutsideTheAcceptedRangeFinishWithoutHanging)
{
    m_Run.SetLogTime(388800.0, kWeek);
    // Eccentricity, M0, sqrt(A). Newton's steps never meet their stop for the
    // first two (neighbouring doubles of a huge M; a hyperbolic e).
    const double kepler[][3] = {{0.1, 1016049.371, kG07.sqrtA}, {5.0, 1.0, kG07.sqrtA},  {1.0, 0.0, kG07.sqrtA},
                                {kNaN, 0.5, kG07.sqrtA},          {0.01, 1e300, kG07.sqrtA}, {0.01, 0.5, 0.0}};
    for (const auto& [e, m0, sqrtA] : kepler)
    {
        auto table = m_Run.Gps();
        table->m_aEphemeris[6] = TableRecord(kG07);
        table->m_aEphemeris[6].m_dEcc = e, table->m_aEphemeris[6].m_dM0 = m0, table->m_aEphemeris[6].m_dSqrtA = sqrtA;
        table->ComputeSatState(7, nullptr);
        const SSatState& s = table->m_aSatState[6];
        ASSERT_EQ(s.m_uValid, 1u) << e << " " << m0;
        const double a = sqrtA * sqrtA, radius = VectorLength(s.m_dX, s.m_dY, s.m_dZ);
        if (e == 0.1) // any eccentric anomaly puts the satellite between perigee and apogee
        {
            EXPECT_TRUE(radius > a * (1 - e) - 1000.0 && radius < a * (1 + e) + 1000.0) << radius;
        }
    }
    // GLONASS spans far beyond the step limit or NaN, and a position at the centre.
    for (const auto& [x, week, seconds] : {std::tuple{kR02[0], 0xFFFFFFFFu, 388800.0}, {kR02[0], kWeek, kNaN},
                                           {kNaN, kWeek, 1e300}, {0.0, kWeek, 388900.0}})
    {
        auto table = m_Run.Glonass();
        PutR02(*table, kWeek, 388800.0).m_dX = x;
        const GpsTime when{week, seconds};
        table->ComputeSatState(2, &when);
        EXPECT_EQ(table->m_aSatState[1].m_uValid, 1u) << x << " " << week << " " << seconds;
    }
}
