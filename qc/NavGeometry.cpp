#include "qc/NavGeometry.h"

#include <cmath>

#include "navstate/Orbits.h"

namespace
{
// The BeiDou geostationary satellites: their orbital plane is given in a
// frame turned 5 degrees about the x axis, and the node is not carried with
// the earth's rotation.
bool BeidouGeostationary(uint32_t number)
{
    return number <= 5 || number >= 59;
}
constexpr double kGeoTilt = -5.0 * 3.14159265358979323846 / 180.0;

// A geostationary BeiDou satellite at `time`: the Kepler formulas with the
// node held in the frame of the reference time (the record's node rate
// without the earth's rotation), then that frame turned by the tilt and by
// the earth's rotation since the reference time.
void BeidouGeoPosition(const SGpsEphemeris& record, const GpsTime& time, SSatState& state)
{
    SGpsEphemeris inertial = record;
    inertial.m_dOmegaDot += kEarthRate;
    KeplerState(inertial, time, state);

    double tk = time.m_dSeconds - record.m_dToe;
    if (tk > kSecondsPerWeek / 2)
        tk -= kSecondsPerWeek;
    else if (tk < -kSecondsPerWeek / 2)
        tk += kSecondsPerWeek;
    const double x = state.m_dX;
    const double y = state.m_dY * std::cos(kGeoTilt) + state.m_dZ * std::sin(kGeoTilt);
    const double z = -state.m_dY * std::sin(kGeoTilt) + state.m_dZ * std::cos(kGeoTilt);
    const double turn = kEarthRate * tk;
    state.m_dX = x * std::cos(turn) + y * std::sin(turn);
    state.m_dY = -x * std::sin(turn) + y * std::cos(turn);
    state.m_dZ = z;
}
} // namespace

bool CQcNavGeometry::SatelliteAt(uint32_t system, uint32_t number, const GpsTime& transmitTime, double xyz[3],
                                 double& clockBias)
{
    SSatState state{};
    if (system == eQcGlonass)
    {
        const SGlonassEphemeris* record = m_Navigation.m_Glonass.GetStructAlways(number, nullptr);
        if (record == nullptr || record->m_uGpsWeek == 0)
            return false;
        double pos[3], vel[3], acc[3], bias = 0.0, rate = 0.0;
        PropagateGlonass(*record, transmitTime, pos, vel, acc, bias, rate);
        xyz[0] = pos[0], xyz[1] = pos[1], xyz[2] = pos[2];
        clockBias = -bias; // the record keeps tau n, which is taken off the satellite's time
        return std::isfinite(pos[0]) && std::isfinite(pos[1]) && std::isfinite(pos[2]);
    }
    if (system != eQcGps && system != eQcBeidou)
        return false;
    CGpsNavState& table = system == eQcGps ? m_Navigation.m_Gps : m_Navigation.m_Beidou;
    if (system == eQcGps && number > kLastGpsNumber)
        return false;
    const SGpsEphemeris* record = table.GetStructAlways(number, nullptr);
    if (record == nullptr)
        return false;
    if (system == eQcBeidou && BeidouGeostationary(number))
        BeidouGeoPosition(*record, transmitTime, state);
    else
        KeplerState(*record, transmitTime, state);
    xyz[0] = state.m_dX, xyz[1] = state.m_dY, xyz[2] = state.m_dZ;
    clockBias = state.m_dClockBias + record->m_dTgd; // the broadcast clock, without the group delay
    return std::isfinite(state.m_dX) && std::isfinite(state.m_dY) && std::isfinite(state.m_dZ);
}
