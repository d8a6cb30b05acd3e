// Elevation and azimuth of a satellite as seen from the receiver's place.
// One routine serves the GPS, BeiDou and GLONASS tables: the state is made by
// the table's own ComputeSatState and read back through the polynomial.

#include <cmath>
#include <cstdint>

#include "gnsstime/GpsTime.h"
#include "navstate/Geodesy.h"
#include "navstate/NavState.h"

namespace
{
// Held at exactly these values.
constexpr double kMinElevationRange = 10000.0; // metres; nearer than this the direction means nothing
constexpr double kOneTurn = 6.2831853071796;
constexpr double kDegreesPerRadian = 57.2957795131;
} // namespace

void CGpsNavState::UpdateElevation(uint32_t prn, bool fresh)
{
    uint32_t row = 0;
    if (!RowOfPRN(prn, row))
        return;
    const uint32_t internal = row + 1;

    GpsTime log = m_LogTime.Now();
    if (fresh)
        ComputeSatState(internal, &log);

    SSatState sat{};
    if (PredictSatState(internal, log.m_uWeek, log.m_dSeconds, sat) == 0)
        return; // no state yet: the stored angles stay

    const double satXyz[3] = {sat.m_dX, sat.m_dY, sat.m_dZ};
    double d[3];
    VectorDifference(d, satXyz, m_Receiver.m_adXyz);
    if (VectorLength(d[0], d[1], d[2]) < kMinElevationRange)
        return;

    double neu[3];
    RotateVector(d, m_Receiver.m_adNeuMatrix, neu);
    const double elevation = std::atan2(neu[2], VectorLength(neu[0], neu[1], 0.0));
    double azimuth = std::atan2(neu[1], neu[0]);
    if (azimuth < 0.0)
        azimuth += kOneTurn;

    m_adElevation[row] = elevation * kDegreesPerRadian;
    m_adAzimuth[row] = azimuth * kDegreesPerRadian;
}
