#include "navstate/Geodesy.h"

#include <cmath>

namespace
{
// WGS 84 ellipsoid, held at exactly these values (not recomputed from a and f).
constexpr double kWgs84SemiMajorAxis = 6378137.0;
constexpr double kWgs84Eccentricity = 0.0818191908426;
constexpr double kWgs84OneMinusEccSquared = 0.99330562000987;
} // namespace

void LlhToEcef(const double llh[3], double xyz[3])
{
    const double sp = std::sin(llh[0]);
    const double cp = std::cos(llh[0]);
    const double sl = std::sin(llh[1]);
    const double cl = std::cos(llh[1]);
    const double height = llh[2];

    const double t = sp * kWgs84Eccentricity;
    const double n = kWgs84SemiMajorAxis / std::sqrt(1.0 - t * t);

    xyz[0] = ((height + n) * cp) * cl;
    xyz[1] = ((height + n) * cp) * sl;
    xyz[2] = (n * kWgs84OneMinusEccSquared + height) * sp;
}

void EcefToSpherical(const double xyz[3], double out[3])
{
    const double x = xyz[0];
    const double y = xyz[1];
    const double z = xyz[2];
    // atan2 keeps the poles defined: (0, 0, z) has latitude +-pi/2 and longitude 0.
    out[0] = std::atan2(z, VectorLength(x, y, 0.0));
    out[1] = std::atan2(y, x);
    out[2] = VectorLength(x, y, z);
}

void EcefToNeuMatrix(const double xyz[3], double matrix[9])
{
    double spherical[3];
    EcefToSpherical(xyz, spherical);
    const double sa = std::sin(spherical[0]);
    const double ca = std::cos(spherical[0]);
    const double so = std::sin(spherical[1]);
    const double co = std::cos(spherical[1]);

    // north
    matrix[0] = -(co * sa);
    matrix[1] = -(so * sa);
    matrix[2] = ca;
    // east
    matrix[3] = -so;
    matrix[4] = co;
    matrix[5] = 0.0;
    // up
    matrix[6] = co * ca;
    matrix[7] = so * ca;
    matrix[8] = sa;
}

void RotateVector(const double vector[3], const double matrix[9], double out[3])
{
    const double x = vector[0];
    const double y = vector[1];
    const double z = vector[2];
    for (int row = 0; row < 3; ++row)
    {
        const double* m = matrix + 3 * row;
        out[row] = (z * m[2] + y * m[1]) + x * m[0];
    }
}

double VectorLength(double x, double y, double z)
{
    return std::sqrt((x * x + y * y) + z * z);
}

double* VectorDifference(double out[3], const double a[3], const double b[3])
{
    out[0] = a[0] - b[0];
    out[1] = a[1] - b[1];
    out[2] = a[2] - b[2];
    return out;
}
