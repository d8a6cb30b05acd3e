// Satellite position, velocity, acceleration and clock from a broadcast
// Kepler record (GPS and BeiDou rows alike, one formula set with the GPS
// constants), or from the geostationary state of an SBAS row; and the short
// polynomial by which a computed state is carried to another time.

#include <cmath>
#include <cstdint>
#include <limits>

#include "gnsstime/GpsTime.h"
#include "navstate/NavState.h"
#include "navstate/Orbits.h"

// Records outside the accepted range (eccentricity 1 or more, a zero or NaN
// semi-major axis, huge times) are computed like any other: the arithmetic
// runs into infinities and NaNs, which IEEE doubles carry through without
// harm; the worst such a record gives is a meaningless state and pair of
// angles for its own satellite.
static_assert(std::numeric_limits<double>::is_iec559, "orbit arithmetic relies on IEEE doubles");

namespace
{
// Held at exactly these values; the derived ones are not recomputed from the
// rate, so that every run gives the same digits.
constexpr double kSqrtMu = 19964981.84322;                  // metres^1.5 per second
constexpr double kMu = 3.986005e14;                         // metres^3 per second^2
constexpr double kTwiceEarthRate = 0.000145842302934;
constexpr double kEarthRateSquared = 5.3174943312731555e-9;
constexpr double kRelativity = -4.442807633e-10;            // seconds per square root of metre
constexpr double kHalfWeek = 302400.0;                      // seconds
constexpr double kKeplerStop = 1e-14;                       // radians

// Newton's method from E = M needs a handful of steps for the eccentricities
// that intake accepts (below 0.2). The cap only matters for other records:
// an eccentricity near or above 1, or a mean anomaly so large that adjacent
// doubles lie further apart than the stop, where the steps can go on forever.
constexpr int kKeplerMaxIterations = 50;

// Answers of PredictSatState.
constexpr uint32_t kNoState = 0;
constexpr uint32_t kStateFilled = 2;

// A time difference brought into the half week around 0. Weeks play no part:
// a reference time just across a week boundary still gives a small difference.
// Exactly +half a week stays as it is.
double WrapHalfWeek(double dt)
{
    if (dt > kHalfWeek)
        return dt - kSecondsPerWeek;
    if (dt < -kHalfWeek)
        return dt + kSecondsPerWeek;
    return dt;
}

// Eccentric anomaly for mean anomaly `m` and eccentricity `e`. M is not
// reduced to one turn. A NaN step ends the loop, as it is not above the stop.
double SolveKepler(double m, double e)
{
    double ecc = m;
    for (int i = 0; i < kKeplerMaxIterations; ++i)
    {
        const double next = (e * std::sin(ecc) + m - ecc) / (1.0 - e * std::cos(ecc)) + ecc;
        const bool converged = !(std::fabs(next - ecc) > kKeplerStop);
        ecc = next;
        if (converged)
            break;
    }
    return ecc;
}

// An SBAS row's record holds its geostationary state in the nine doubles from
// m_dTgd to m_dCrc: position, velocity, acceleration.
void GeoState(const SGpsEphemeris& eph, SSatState& state)
{
    state.m_uIode = eph.m_uIode;
    state.m_dX = eph.m_dTgd;     // m_dGeoX
    state.m_dY = eph.m_dTgd2;    // m_dGeoY
    state.m_dZ = eph.m_dCrs;     // m_dGeoZ
    state.m_dVx = eph.m_dDeltaN; // m_dGeoVx
    state.m_dVy = eph.m_dCuc;    // m_dGeoVy
    state.m_dVz = eph.m_dCus;    // m_dGeoVz
    state.m_dAx = eph.m_dCic;    // m_dGeoAx
    state.m_dAy = eph.m_dCis;    // m_dGeoAy
    state.m_dAz = eph.m_dCrc;    // m_dGeoAz
    state.m_dClockBias = eph.m_dAf0;
    state.m_dClockDrift = eph.m_dAf1;
}
} // namespace

void KeplerState(const SGpsEphemeris& eph, const GpsTime& time, SSatState& state)
{
    const double t = time.m_dSeconds;
    state.m_uIode = eph.m_uIode;

    const double tk = WrapHalfWeek(t - eph.m_dToe);
    const double a = eph.m_dSqrtA * eph.m_dSqrtA;
    const double n0 = kSqrtMu / (eph.m_dSqrtA * a);
    const double n = n0 + eph.m_dDeltaN;
    const double m = n * tk + eph.m_dM0;

    const double e = eph.m_dEcc;
    const double ecc = SolveKepler(m, e);
    const double sinE = std::sin(ecc);
    const double cosE = std::cos(ecc);
    const double c = 1.0 - e * cosE;
    const double s = std::sqrt(1.0 - e * e);
    const double v = std::atan2(s * sinE, cosE - e);

    // Argument of latitude, radius and inclination with their harmonic corrections.
    const double phi = eph.m_dOmega + v;
    const double c2 = std::cos(2.0 * phi);
    const double s2 = std::sin(2.0 * phi);
    const double u = (eph.m_dCuc * c2 + eph.m_dCus * s2) + phi;
    const double r = (eph.m_dCrc * c2 + eph.m_dCrs * s2) + c * a;
    const double incl = ((eph.m_dCic * c2 + eph.m_dCis * s2) + eph.m_dIdot * tk) + eph.m_dI0;

    const double cosU = std::cos(u);
    const double sinU = std::sin(u);
    const double xp = r * cosU;
    const double yp = r * sinU;

    // Longitude of the node in the earth-fixed frame.
    const double w = eph.m_dOmegaDot - kEarthRate;
    const double node = (w * tk + eph.m_dOmega0) - eph.m_dToe * kEarthRate;
    const double cosN = std::cos(node);
    const double sinN = std::sin(node);
    const double cosI = std::cos(incl);
    const double sinI = std::sin(incl);

    state.m_dX = cosN * xp - (sinN * yp) * cosI;
    state.m_dY = (cosN * yp) * cosI + sinN * xp;
    state.m_dZ = yp * sinI;

    // Velocity: the time derivative of the same formulas.
    const double ed = (1.0 / c) * n;
    const double vd = ((1.0 / c) * ed) * s;
    const double ud = (2.0 * (eph.m_dCus * c2 - eph.m_dCuc * s2) + 1.0) * vd;
    const double rd = 2.0 * ((eph.m_dCrs * c2 - eph.m_dCrc * s2) * vd) + ((e * ed) * sinE) * a;
    const double id = 2.0 * ((eph.m_dCis * c2 - eph.m_dCic * s2) * vd) + eph.m_dIdot;
    const double xd = rd * cosU - ud * yp;
    const double yd = ud * xp + rd * sinU;
    const double wi = id * yp;
    const double q = yd * cosI - wi * sinI;

    state.m_dVx = (xd * cosN - state.m_dY * w) - q * sinN;
    state.m_dVy = (state.m_dX * w + q * cosN) + xd * sinN;
    state.m_dVz = wi * cosI + yd * sinI;

    // Acceleration: central field seen from the rotating earth (centrifugal and
    // Coriolis terms), no oblateness. Good enough for the short polynomial.
    const double k = -kMu / (r * r * r);
    const double k2 = k + kEarthRateSquared;
    state.m_dAx = state.m_dX * k2 + state.m_dVy * kTwiceEarthRate;
    state.m_dAy = state.m_dY * k2 - state.m_dVx * kTwiceEarthRate;
    state.m_dAz = state.m_dZ * k;

    // Clock, with the relativistic term of the eccentric orbit and the group delay.
    const double relativity = ((eph.m_dSqrtA * e) * sinE) * kRelativity;
    const double tc = WrapHalfWeek(t - eph.m_dToc);
    state.m_dClockBias = (((eph.m_dAf2 * tc + eph.m_dAf1) * tc + eph.m_dAf0) + relativity) - eph.m_dTgd;
    state.m_dClockDrift = 2.0 * (eph.m_dAf2 * tc) + eph.m_dAf1;
}

void CGpsNavState::ComputeSatState(uint32_t prn, const GpsTime* time)
{
    uint32_t row = 0;
    if (!RowOfPRN(prn, row))
        return;

    const GpsTime& log = m_LogTime.Now();
    if (log.m_uWeek == 0)
        return;
    const GpsTime when = time != nullptr ? *time : log;

    // Only a record within its fit interval and healthy enough to be evaluated
    // gives a state; otherwise the last one stays.
    const SGpsEphemeris& record = m_aEphemeris[row];
    if (record.m_uStatus != kStatusInFit)
        return;

    SSatState state{};
    if (row < m_uFixedRows)
    {
        KeplerState(record, when, state);
        state.m_timeState = when;
    }
    else
    {
        // The SBAS state holds at the record's reference time, whatever was asked:
        // the polynomial carries it from there.
        GeoState(record, state);
        state.m_timeState = GpsTime{record.m_uToeWeek, record.m_dToe};
    }
    state.m_uIodeAtState = record.m_uIode;
    state.m_uStatusAtState = record.m_uStatus;
    state.m_uHealthAtState = record.m_uHealth;
    state.m_uValid = 1;
    m_aSatState[row] = state;
}

uint32_t CGpsNavState::PredictSatState(uint32_t prn, uint32_t /*week*/, double seconds, SSatState& out)
{
    uint32_t row = 0;
    if (!RowOfPRN(prn, row))
        return kNoState;
    const SSatState& state = m_aSatState[row];
    if ((state.m_uStatusAtState & 3) == 0 || state.m_uValid != 1)
        return kNoState;

    const double dt = WrapHalfWeek(seconds - state.m_timeState.m_dSeconds);
    const double half = dt * dt * 0.5;
    out.m_dX = state.m_dAx * half + state.m_dVx * dt + state.m_dX;
    out.m_dY = state.m_dAy * half + state.m_dVy * dt + state.m_dY;
    out.m_dZ = state.m_dAz * half + state.m_dVz * dt + state.m_dZ;
    out.m_dVx = state.m_dAx * dt + state.m_dVx;
    out.m_dVy = state.m_dAy * dt + state.m_dVy;
    out.m_dVz = state.m_dAz * dt + state.m_dVz;
    out.m_dClockBias = state.m_dClockDrift * dt + state.m_dClockBias;
    out.m_dClockDrift = state.m_dClockDrift;
    out.m_uIode = state.m_uIodeAtState;
    return kStateFilled;
}
