#include "qc/PointPosition.h"

#include <algorithm>
#include <cmath>

#include "navstate/Geodesy.h"
#include "qc/QcSignals.h"

namespace
{
constexpr double kEarthRotation = 7.2921151467e-5; // rad/s, WGS 84
constexpr double kDegrees = 180.0 / 3.14159265358979323846;
// The troposphere: zenith delay over a plain mapping, 2.47 / (sin E + 0.0121) metres.
constexpr double kTropoZenithMetres = 2.47;
constexpr double kTropoMappingOffset = 0.0121;
// Nearer the centre of the earth than this, the iteration hasn't reached the surface yet.
constexpr double kNearSurfaceMetres = 6.0e6;
constexpr uint32_t kMaxUnknowns = 3 + kQcSystemCount;

struct SSatellite
{
    uint32_t m_uColumn; // clock column: 3 + index of the system among those used
    double m_dCode;
    double m_adXyz[3];
    double m_dClock; // seconds
    bool m_bUsed;
};

// Solves the normal equations n x = b of size `size` in place (Gauss-Jordan
// with pivoting); `inverse` gets n's inverse. False when n is singular.
bool SolveNormal(double n[kMaxUnknowns][kMaxUnknowns], double b[kMaxUnknowns], uint32_t size,
                 double inverse[kMaxUnknowns][kMaxUnknowns])
{
    double a[kMaxUnknowns][2 * kMaxUnknowns + 1] = {};
    for (uint32_t r = 0; r < size; ++r)
    {
        for (uint32_t c = 0; c < size; ++c)
            a[r][c] = n[r][c];
        a[r][size + r] = 1.0;
        a[r][2 * size] = b[r];
    }
    const uint32_t width = 2 * size + 1;
    for (uint32_t c = 0; c < size; ++c)
    {
        uint32_t pivot = c;
        for (uint32_t r = c + 1; r < size; ++r)
        {
            if (std::fabs(a[r][c]) > std::fabs(a[pivot][c]))
                pivot = r;
        }
        if (!(std::fabs(a[pivot][c]) > 1e-12))
            return false;
        for (uint32_t k = 0; k < width; ++k)
            std::swap(a[c][k], a[pivot][k]);
        const double p = a[c][c];
        for (uint32_t k = 0; k < width; ++k)
            a[c][k] /= p;
        for (uint32_t r = 0; r < size; ++r)
        {
            if (r == c || a[r][c] == 0.0)
                continue;
            const double f = a[r][c];
            for (uint32_t k = 0; k < width; ++k)
                a[r][k] -= f * a[c][k];
        }
    }
    for (uint32_t r = 0; r < size; ++r)
    {
        b[r] = a[r][2 * size];
        for (uint32_t c = 0; c < size; ++c)
            inverse[r][c] = a[r][size + c];
    }
    return true;
}

// One least-squares solution over the used satellites; residuals per satellite in `residuals`.
bool Iterate(std::vector<SSatellite>& sats, uint32_t unknowns, double state[kMaxUnknowns],
             std::vector<double>& residuals, double& pdop)
{
    for (uint32_t iteration = 0; iteration < kQcFixMaxIterations; ++iteration)
    {
        const double radius = VectorLength(state[0], state[1], state[2]);
        const bool nearSurface = radius > kNearSurfaceMetres;
        double n[kMaxUnknowns][kMaxUnknowns] = {};
        double b[kMaxUnknowns] = {};
        uint32_t rows = 0;
        residuals.assign(sats.size(), 0.0);
        for (size_t i = 0; i < sats.size(); ++i)
        {
            SSatellite& s = sats[i];
            if (!s.m_bUsed)
                continue;
            // The earth turns while the signal travels: the satellite's position in the frame of reception.
            double d[3] = {s.m_adXyz[0] - state[0], s.m_adXyz[1] - state[1], s.m_adXyz[2] - state[2]};
            const double travel = VectorLength(d[0], d[1], d[2]) / kQcSpeedOfLight;
            const double angle = kEarthRotation * travel;
            const double sx = std::cos(angle) * s.m_adXyz[0] + std::sin(angle) * s.m_adXyz[1];
            const double sy = -std::sin(angle) * s.m_adXyz[0] + std::cos(angle) * s.m_adXyz[1];
            d[0] = sx - state[0];
            d[1] = sy - state[1];
            const double range = VectorLength(d[0], d[1], d[2]);
            double tropo = 0.0;
            if (nearSurface)
            {
                const double rotated[3] = {sx, sy, s.m_adXyz[2]};
                double elevation = 0.0;
                double azimuth = 0.0;
                ElevationAzimuth(state, rotated, elevation, azimuth);
                if (iteration >= 2 && elevation < kQcFixMaskDegrees)
                    continue;
                if (elevation > 0.0)
                    tropo = kTropoZenithMetres / (std::sin(elevation / kDegrees) + kTropoMappingOffset);
            }
            const double predicted = range + state[s.m_uColumn] - kQcSpeedOfLight * s.m_dClock + tropo;
            const double residual = s.m_dCode - predicted;
            residuals[i] = residual;
            double row[kMaxUnknowns] = {};
            row[0] = -d[0] / range;
            row[1] = -d[1] / range;
            row[2] = -d[2] / range;
            row[s.m_uColumn] = 1.0;
            for (uint32_t r = 0; r < unknowns; ++r)
            {
                b[r] += row[r] * residual;
                for (uint32_t c = 0; c < unknowns; ++c)
                    n[r][c] += row[r] * row[c];
            }
            ++rows;
        }
        if (rows < unknowns + 1)
            return false;
        double inverse[kMaxUnknowns][kMaxUnknowns];
        if (!SolveNormal(n, b, unknowns, inverse))
            return false;
        for (uint32_t r = 0; r < unknowns; ++r)
            state[r] += b[r];
        pdop = std::sqrt(std::fabs(inverse[0][0] + inverse[1][1] + inverse[2][2]));
        if (VectorLength(b[0], b[1], b[2]) < 1e-3 && iteration >= 2)
            return true;
    }
    return true;
}
} // namespace

double IonosphereFreeCode(double code1, double code2, double ratio)
{
    const double g = ratio * ratio;
    return (g * code1 - code2) / (g - 1.0);
}

bool SolveFix(CQcSatelliteGeometry& geometry, double seconds, const std::vector<SQcRange>& ranges, const double* seed,
              SQcFix& fix)
{
    uint32_t dual = 0;
    for (const SQcRange& r : ranges)
        dual += r.m_bIonosphereFree ? 1 : 0;
    const bool dualOnly = dual >= kQcFixMinDualFrequency;

    // The satellites at their transmit times, and the systems that have at least two of them.
    std::vector<SSatellite> sats;
    uint32_t perSystem[kQcSystemCount] = {};
    std::vector<uint32_t> systems;
    for (const SQcRange& r : ranges)
    {
        if ((dualOnly && !r.m_bIonosphereFree) || r.m_uSystem >= kQcSystemCount || !(r.m_dCode > 0.0))
            continue;
        SSatellite s{};
        double transmit = seconds - r.m_dCode / kQcSpeedOfLight;
        double clock = 0.0;
        if (!geometry.SatelliteAt(r.m_uSystem, r.m_uNumber, QcGpsTime(transmit), s.m_adXyz, clock))
            continue;
        transmit -= clock;
        if (!geometry.SatelliteAt(r.m_uSystem, r.m_uNumber, QcGpsTime(transmit), s.m_adXyz, s.m_dClock))
            continue;
        s.m_uColumn = r.m_uSystem; // a system index for now
        s.m_dCode = r.m_dCode;
        s.m_bUsed = true;
        sats.push_back(s);
        ++perSystem[r.m_uSystem];
    }
    uint32_t columnOf[kQcSystemCount] = {};
    uint32_t unknowns = 3;
    for (uint32_t system = 0; system < kQcSystemCount; ++system)
    {
        if (perSystem[system] >= 2)
            columnOf[system] = unknowns++;
    }
    for (SSatellite& s : sats)
    {
        if (perSystem[s.m_uColumn] >= 2)
            s.m_uColumn = columnOf[s.m_uColumn];
        else
            s.m_bUsed = false;
    }

    double state[kMaxUnknowns] = {};
    if (seed != nullptr)
    {
        state[0] = seed[0];
        state[1] = seed[1];
        state[2] = seed[2];
    }
    std::vector<double> residuals;
    double pdop = 0.0;
    for (;;)
    {
        if (!Iterate(sats, unknowns, state, residuals, pdop))
            return false;
        // The worst residual beyond the limit goes, while the rest still over-determine the solution.
        size_t worst = sats.size();
        double worstValue = kQcFixOutlierMetres;
        uint32_t used = 0;
        double squares = 0.0;
        for (size_t i = 0; i < sats.size(); ++i)
        {
            if (!sats[i].m_bUsed)
                continue;
            ++used;
            squares += residuals[i] * residuals[i];
            if (std::fabs(residuals[i]) > worstValue)
            {
                worstValue = std::fabs(residuals[i]);
                worst = i;
            }
        }
        if (worst == sats.size())
        {
            fix.m_dSeconds = seconds;
            fix.m_adXyz[0] = state[0];
            fix.m_adXyz[1] = state[1];
            fix.m_adXyz[2] = state[2];
            fix.m_uSatellites = used;
            fix.m_dResidualRms = used > 0 ? std::sqrt(squares / used) : 0.0;
            fix.m_dPdop = pdop;
            return VectorLength(state[0], state[1], state[2]) > kNearSurfaceMetres;
        }
        if (used <= unknowns + 1)
            return false;
        sats[worst].m_bUsed = false;
    }
}

void GeodeticToEcef(const double llh[3], double xyz[3])
{
    const double radians[3] = {llh[0] / kDegrees, llh[1] / kDegrees, llh[2]};
    LlhToEcef(radians, xyz);
}

void EcefToGeodetic(const double xyz[3], double llh[3])
{
    // The ellipsoid of the navigation state's own conversion: its equator and pole radii.
    double equator[3];
    double pole[3];
    const double atEquator[3] = {0.0, 0.0, 0.0};
    const double atPole[3] = {3.14159265358979323846 / 2.0, 0.0, 0.0};
    LlhToEcef(atEquator, equator);
    LlhToEcef(atPole, pole);
    const double a = equator[0];
    const double b = pole[2];
    const double e2 = 1.0 - (b * b) / (a * a);
    const double p = std::sqrt(xyz[0] * xyz[0] + xyz[1] * xyz[1]);
    double lat = std::atan2(xyz[2], p * (1.0 - e2));
    double height = 0.0;
    for (int i = 0; i < 8; ++i)
    {
        const double s = std::sin(lat);
        const double n = a / std::sqrt(1.0 - e2 * s * s);
        height = p / std::cos(lat) - n;
        lat = std::atan2(xyz[2], p * (1.0 - e2 * n / (n + height)));
    }
    llh[0] = lat * kDegrees;
    llh[1] = std::atan2(xyz[1], xyz[0]) * kDegrees;
    llh[2] = height;
}

void ElevationAzimuth(const double site[3], const double target[3], double& elevation, double& azimuth)
{
    double matrix[9];
    EcefToNeuMatrix(site, matrix);
    double d[3];
    VectorDifference(d, target, site);
    double neu[3];
    RotateVector(d, matrix, neu);
    elevation = std::atan2(neu[2], VectorLength(neu[0], neu[1], 0.0)) * kDegrees;
    azimuth = std::atan2(neu[1], neu[0]) * kDegrees;
    if (azimuth < 0.0)
        azimuth += 360.0;
}

bool CQcFixes::Due(double seconds) const
{
    return !m_bStarted || seconds >= m_dNextDue;
}

void CQcFixes::NoteTried(double seconds)
{
    m_bStarted = true;
    ++m_uTried;
    m_dNextDue = (std::floor(seconds / m_dStep) + 1.0) * m_dStep;
}

void CQcFixes::AddFix(const SQcFix& fix)
{
    if (m_aFixes.size() >= kQcMaxFixes)
    {
        // Every second one goes; from now on half as many are made.
        size_t kept = 0;
        for (size_t i = 0; i < m_aFixes.size(); i += 2)
            m_aFixes[kept++] = m_aFixes[i];
        m_aFixes.resize(kept);
        m_dStep *= 2.0;
    }
    m_aFixes.push_back(fix);
}

bool CQcFixes::Median(double xyz[3]) const
{
    if (m_aFixes.empty())
        return false;
    std::vector<double> values(m_aFixes.size());
    for (int axis = 0; axis < 3; ++axis)
    {
        for (size_t i = 0; i < m_aFixes.size(); ++i)
            values[i] = m_aFixes[i].m_adXyz[axis];
        std::sort(values.begin(), values.end());
        const size_t n = values.size();
        xyz[axis] = n % 2 == 1 ? values[n / 2] : 0.5 * (values[n / 2 - 1] + values[n / 2]);
    }
    return true;
}

void CQcFixes::Spread(const double centre[3], double neu[3]) const
{
    neu[0] = neu[1] = neu[2] = 0.0;
    if (m_aFixes.empty())
        return;
    double matrix[9];
    EcefToNeuMatrix(centre, matrix);
    for (const SQcFix& fix : m_aFixes)
    {
        double d[3];
        VectorDifference(d, fix.m_adXyz, centre);
        double local[3];
        RotateVector(d, matrix, local);
        for (int axis = 0; axis < 3; ++axis)
            neu[axis] += local[axis] * local[axis];
    }
    for (int axis = 0; axis < 3; ++axis)
        neu[axis] = std::sqrt(neu[axis] / static_cast<double>(m_aFixes.size()));
}
