#pragma once

// Geodesy on the WGS 84 ellipsoid: geodetic position to ECEF and
// the local north, east, up frame of a point.

// Ellipsoid and angle constants, held at exactly these values (not recomputed).
constexpr double kWgs84SemiMajorAxis = 6378137.0;
constexpr double kWgs84Eccentricity = 0.0818191908426;
constexpr double kWgs84OneMinusEccSquared = 0.99330562000987;
constexpr double kMinElevationRange = 10000.0; // metres
constexpr double kOneTurn = 6.2831853071796;
constexpr double kDegreesPerRadian = 57.2957795131;

// Geodetic latitude, longitude (radians) and height (metres) to ECEF X, Y, Z (metres).
void LlhToEcef(const double llh[3], double xyz[3]);

// The rotation from ECEF into north, east, up at `xyz`, nine doubles by rows.
// Built on the geocentric latitude and the longitude of the point.
void EcefToNeuMatrix(const double xyz[3], double matrix[9]);
