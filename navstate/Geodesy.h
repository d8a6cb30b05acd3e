#pragma once

// Geodesy on the WGS 84 ellipsoid: geodetic position to ECEF, the local
// north, east, up frame of a point, and the small vector helpers that the
// elevation and azimuth of a satellite are built from. Vectors are three
// doubles X, Y, Z in metres; the local matrix is nine doubles by rows.

// Geodetic latitude, longitude (radians) and height (metres) to ECEF X, Y, Z (metres).
void LlhToEcef(const double llh[3], double xyz[3]);

// ECEF to geocentric latitude, longitude (radians) and radius (metres). There
// is no geodetic inverse: the local frame only needs the direction of the point.
void EcefToSpherical(const double xyz[3], double out[3]);

// The rotation from ECEF into north, east, up at `xyz`, nine doubles by rows.
// Built on the geocentric latitude and the longitude of the point.
void EcefToNeuMatrix(const double xyz[3], double matrix[9]);

// out = matrix * vector; `out` may be `vector` itself.
void RotateVector(const double vector[3], const double matrix[9], double out[3]);

// Euclidean length, summed as (x*x + y*y) + z*z.
double VectorLength(double x, double y, double z);

// out = a - b by components; returns out.
double* VectorDifference(double out[3], const double a[3], const double b[3]);
