#pragma once

#include "gnsstime/GpsTime.h"
#include "navstate/NavRecords.h"

// The orbit arithmetic of the satellite tables, for any record at any time:
// nothing here reads or moves a table.

// The earth's rotation rate of the Kepler formulas, radians per second.
constexpr double kEarthRate = 7.2921151467e-5;

// Fills m_uIode, position, velocity, acceleration and clock of `state` from a
// Kepler record (GPS and BeiDou rows alike, one formula set with the GPS
// constants) at the seconds of `time`. The clock includes the relativistic
// term and has the record's group delay taken off.
void KeplerState(const SGpsEphemeris& eph, const GpsTime& time, SSatState& state);

// Integrates a GLONASS record to `time`; gives WGS 84 position, velocity and
// acceleration in metres and the clock correction tau n - gamma dt and its
// rate. Returns the span dt in seconds.
double PropagateGlonass(const SGlonassEphemeris& eph, const GpsTime& time, double (&pos)[3], double (&vel)[3],
                        double (&acc)[3], double& clockBias, double& clockRate);
