#include "navstate/Geodesy.h"

#include <cmath>

namespace
{
// Vector length and geocentric angles, kept local until the elevation and
// azimuth code gives them a public home.
double Length3(double x, double y, double z)
{
    return std::sqrt((x * x + y * y) + z * z);
}

// Geocentric latitude and longitude of an ECEF point.
void GeocentricLatLon(const double xyz[3], double& latitude, double& longitude)
{
    latitude = std::atan2(xyz[2], Length3(xyz[0], xyz[1], 0.0));
    longitude = std::atan2(xyz[1], xyz[0]);
}
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

void EcefToNeuMatrix(const double xyz[3], double matrix[9])
{
    double a = 0.0;
    double o = 0.0;
    GeocentricLatLon(xyz, a, o);
    const double sa = std::sin(a);
    const double ca = std::cos(a);
    const double so = std::sin(o);
    const double co = std::cos(o);

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
