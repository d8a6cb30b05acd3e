#pragma once

// The settings of a run from the command line, written while the arguments
// take effect and only read from the start of the conversion on.
struct SRunOptions
{
    bool m_bHaveLocation = false;
    double m_aLocationLlh[3] = {0.0, 0.0, 0.0}; // latitude, longitude in radians; height in metres
    double m_aLocationXyz[3] = {0.0, 0.0, 0.0}; // ECEF, metres
    bool m_bOutputBeforeEphemeris = false;      // -B
    bool m_bOutputL1P = false;                  // -P1
    bool m_bElevationMask = false;              // -E, value in range
    double m_dElevationMask = 0.0;              // degrees
    double m_dObsInterval = 1.0;                // -N, seconds
    bool m_bObsIntervalGiven = false;           // -N
    bool m_bReadSiteRecords = false;            // -R
};
