// Position of a GLONASS satellite: the broadcast position, velocity and
// luni-solar acceleration at tb are integrated to the time wanted with a
// fourth-order Runge-Kutta scheme in the earth-fixed frame of the GLONASS
// system, and the result is taken into WGS 84, the frame of all other geometry.

#include <cmath>
#include <cstdint>
#include <limits>

#include "gnsstime/GpsTime.h"
#include "navstate/NavState.h"
#include "navstate/Orbits.h"

// A record with NaN or huge values integrates into NaNs and infinities, which
// IEEE doubles carry through; the step count is fixed before any of that.
static_assert(std::numeric_limits<double>::is_iec559, "orbit arithmetic relies on IEEE doubles");

namespace
{
// Equations of motion, held at exactly these values.
constexpr double kGravity = -398600441800000.0;         // minus mu, m3/s2
constexpr double kSecondZonal = -2.6332775885371865e25; // minus 1.5 J2 mu ae^2
constexpr double kCentrifugal = 5.3174941173225e-9;     // earth rate squared
constexpr double kCoriolis = 0.0001458423;              // twice the earth rate

// GLONASS frame to WGS 84: small rotations, scale and shift (metres).
constexpr double kRa = 1.664e-6;
constexpr double kRb = 5.8e-8;
constexpr double kRc = 1.18e-7;
constexpr double kScale = 0.999999997386;
constexpr double kShiftX = 0.404;
constexpr double kShiftY = 0.357;
constexpr double kShiftZ = -0.476;

// Steps of a minute, at most 45 of them: with the age limit of 2700 seconds a
// record in use is never more steps away. Longer spans take 45 longer steps, so
// the work of one propagation is bounded whatever the time asked for.
constexpr int kStepSeconds = 60;
constexpr int kMaxSteps = 45;
constexpr double kOneOverMaxSteps = 0.022222222222222223;
constexpr double kOneSixth = 0.16666666666666666;

constexpr double kMetresPerKm = 1000.0;

// State order: x, y, z (m), vx, vy, vz (m/s). `acc` is the luni-solar
// acceleration, constant over the integration.
void GlonassDerivatives(const double y[6], const double acc[3], double d[6])
{
    const double x = y[0];
    const double yy = y[1];
    const double z = y[2];
    const double vx = y[3];
    const double vy = y[4];

    const double r2 = (yy * yy + x * x) + z * z;
    const double r3 = std::sqrt(r2) * r2;
    const double p = kGravity / r3;
    const double q = kSecondZonal / (r3 * r2);
    const double s = (z * z / r2) * 5.0;
    const double dxy = ((1.0 - s) * q + p) + kCentrifugal;

    d[0] = y[3];
    d[1] = y[4];
    d[2] = y[5];
    d[3] = (dxy * x + vy * kCoriolis) + acc[0];
    d[4] = (dxy * yy + acc[1]) - vx * kCoriolis;
    d[5] = ((3.0 - s) * q + p) * z + acc[2];
}

void GlonassFrameToWgs84(double (&pos)[3], double (&vel)[3], double (&acc)[3])
{
    const double x = pos[0];
    const double y = pos[1];
    const double z = pos[2];
    pos[0] = ((x - y * kRa) - z * (-kRb)) * kScale + kShiftX;
    pos[1] = ((x * kRa + z * kRc) + y) * kScale + kShiftY;
    pos[2] = (z - (x * kRb + y * kRc)) * kScale + kShiftZ;

    // Velocity and acceleration turn with the frame but neither scale nor shift.
    double* const turned[2] = {vel, acc};
    for (double* v : turned)
    {
        const double vx = v[0];
        const double vy = v[1];
        const double vz = v[2];
        v[0] = (vx - vy * kRa) - vz * (-kRb);
        v[1] = (vx * kRa + vz * kRc) + vy;
        v[2] = vz - (vx * kRb + vy * kRc);
    }
}

} // namespace

double PropagateGlonass(const SGlonassEphemeris& eph, const GpsTime& time, double (&pos)[3], double (&vel)[3],
                        double (&acc)[3], double& clockBias, double& clockRate)
{
    // The week difference is signed: tb just across a week boundary gives a small dt.
    const double dt = (static_cast<double>(time.m_uWeek) - static_cast<double>(eph.m_uGpsWeek)) * kSecondsPerWeek +
                      time.m_dSeconds - eph.m_dGpsSeconds;

    // At dt = 0 this runs one step of length zero.
    double h = dt > 0.0 ? static_cast<double>(kStepSeconds) : -static_cast<double>(kStepSeconds);
    // The count is cut to whole steps before it is compared; a NaN or huge dt
    // takes the long-step branch and never reaches the conversion to int.
    const double whole = std::trunc(std::fabs(dt / h));
    int steps = 0;
    if (!(whole <= static_cast<double>(kMaxSteps)))
    {
        steps = kMaxSteps;
        h = dt * kOneOverMaxSteps;
    }
    else
    {
        steps = static_cast<int>(whole);
    }

    const double luniSolar[3] = {eph.m_dAx * kMetresPerKm, eph.m_dAy * kMetresPerKm, eph.m_dAz * kMetresPerKm};
    double y[6] = {eph.m_dX * kMetresPerKm,  eph.m_dY * kMetresPerKm,  eph.m_dZ * kMetresPerKm,
                   eph.m_dVx * kMetresPerKm, eph.m_dVy * kMetresPerKm, eph.m_dVz * kMetresPerKm};
    double k1[6], k2[6], k3[6], k4[6], tmp[6];

    for (int i = 0; i <= steps; ++i)
    {
        // The last iteration takes what is left of the span (0.0 when dt is a
        // whole number of steps).
        if (i == steps)
            h = dt - steps * h;
        const double half = h * 0.5;
        const double sixth = h * kOneSixth;

        GlonassDerivatives(y, luniSolar, k1);
        for (int j = 0; j < 6; ++j)
            tmp[j] = y[j] + half * k1[j];
        GlonassDerivatives(tmp, luniSolar, k2);
        for (int j = 0; j < 6; ++j)
            tmp[j] = y[j] + half * k2[j];
        GlonassDerivatives(tmp, luniSolar, k3);
        for (int j = 0; j < 6; ++j)
            tmp[j] = y[j] + h * k3[j];
        GlonassDerivatives(tmp, luniSolar, k4);
        for (int j = 0; j < 6; ++j)
            y[j] = y[j] + (((k3[j] + k2[j]) * 2.0 + k1[j]) + k4[j]) * sixth;
    }

    for (int j = 0; j < 3; ++j)
    {
        pos[j] = y[j];
        vel[j] = y[3 + j];
        acc[j] = k4[3 + j]; // of the last, possibly zero-length, step
    }
    GlonassFrameToWgs84(pos, vel, acc);

    clockBias = eph.m_dTauN - dt * eph.m_dGamma;
    clockRate = -eph.m_dGamma;
    return dt;
}
void CGlonassNavState::ComputeSatState(uint32_t slot, const GpsTime* time)
{
    if (slot < 1 || slot > kGlonassSlots)
        return;
    const GpsTime& log = m_LogTime.Now();
    if (log.m_uWeek == 0)
        return;
    const GpsTime when = time != nullptr ? *time : log;

    const SGlonassEphemeris& record = m_aGloEphemeris[slot - 1];
    if (record.m_uStatus != kStatusInFit)
        return;

    double pos[3], vel[3], acc[3];
    double clockBias = 0.0;
    double clockRate = 0.0;
    PropagateGlonass(record, when, pos, vel, acc, clockBias, clockRate);

    // m_uIode stays 0: a GLONASS record is told by its tb, kept in m_uIodeAtState.
    SSatState state{};
    state.m_dX = pos[0];
    state.m_dY = pos[1];
    state.m_dZ = pos[2];
    state.m_dVx = vel[0];
    state.m_dVy = vel[1];
    state.m_dVz = vel[2];
    state.m_dAx = acc[0];
    state.m_dAy = acc[1];
    state.m_dAz = acc[2];
    state.m_dClockBias = clockBias;
    state.m_dClockDrift = clockRate;
    state.m_timeState = when;
    state.m_uValid = 1;
    state.m_uIodeAtState = record.m_uTb;
    state.m_uStatusAtState = record.m_uStatus;
    state.m_uHealthAtState = record.m_uHealth;
    m_aSatState[slot - 1] = state;
}
