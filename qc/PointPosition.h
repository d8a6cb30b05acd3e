#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qc/QcInput.h"

// Single-point positions from the log's own code ranges and broadcast
// ephemerides: least squares on the codes for the position and one receiver
// clock per system (their time scales and the receiver's biases differ), with
// the satellite clock, the earth's rotation during the signal's travel and a
// simple troposphere. Where a satellite has two codes the
// ionosphere-free combination is used, and single codes are then left out
// as long as enough two-code satellites remain. A range that stays far off
// after the solution is removed and the solution made again.
//
// Fixes are made at a reduced rate, one per kQcFixStepSeconds, and kept up to
// kQcMaxFixes; past that every second fix is dropped and the step doubled, so
// the run's median and spread stand on fixes spread over the whole log.

constexpr double kQcFixStepSeconds = 30.0;
constexpr size_t kQcMaxFixes = 2048;
constexpr double kQcFixMaskDegrees = 10.0;     // ranges below this are not used once the position is known roughly
constexpr double kQcFixOutlierMetres = 30.0;   // a residual beyond this is removed, worst first
constexpr uint32_t kQcFixMaxIterations = 10;
constexpr uint32_t kQcFixMinDualFrequency = 6; // two-code satellites enough to leave out the single codes

// One satellite's code range for a fix.
struct SQcRange
{
    uint32_t m_uSystem = eQcGps;
    uint32_t m_uNumber = 0;
    double m_dCode = 0.0;           // metres
    bool m_bIonosphereFree = false; // m_dCode combines two codes
};

struct SQcFix
{
    double m_dSeconds = 0.0;
    double m_adXyz[3] = {0.0, 0.0, 0.0}; // ECEF, metres
    uint32_t m_uSatellites = 0;          // ranges used
    double m_dResidualRms = 0.0;         // metres
    double m_dPdop = 0.0;
};

// The ionosphere-free combination of two codes (metres) of carriers whose
// frequencies stand in `ratio` = f1 / f2.
double IonosphereFreeCode(double code1, double code2, double ratio);

// Solves one fix at receive time `seconds` (since the GPS epoch). `seed`
// (ECEF, may be null) starts the iteration; without it, the centre of the
// earth does. False when fewer ranges than unknowns plus one remain.
bool SolveFix(CQcSatelliteGeometry& geometry, double seconds, const std::vector<SQcRange>& ranges, const double* seed,
              SQcFix& fix);

// Latitude, longitude (degrees) and height (metres) on WGS 84 of an ECEF point.
void EcefToGeodetic(const double xyz[3], double llh[3]);
// The inverse, with latitude and longitude in degrees.
void GeodeticToEcef(const double llh[3], double xyz[3]);
// Elevation and azimuth (degrees) of `target` seen from `site` (both ECEF).
void ElevationAzimuth(const double site[3], const double target[3], double& elevation, double& azimuth);

// The fixes of a run and what they add up to.
class CQcFixes
{
public:
    // True when a fix is due at an epoch at `seconds`.
    bool Due(double seconds) const;
    // Notes that a fix was tried at `seconds` (whether it succeeded or not).
    void NoteTried(double seconds);
    void AddFix(const SQcFix& fix);

    size_t Count() const { return m_aFixes.size(); }
    uint64_t Tried() const { return m_uTried; }
    double Step() const { return m_dStep; }
    const std::vector<SQcFix>& Fixes() const { return m_aFixes; }
    // Median of each ECEF coordinate; false without fixes.
    bool Median(double xyz[3]) const;
    // Root mean square of the fixes about `centre` in north, east and up (metres).
    void Spread(const double centre[3], double neu[3]) const;

private:
    std::vector<SQcFix> m_aFixes;
    double m_dStep = kQcFixStepSeconds;
    double m_dNextDue = 0.0;
    bool m_bStarted = false;
    uint64_t m_uTried = 0;
};
