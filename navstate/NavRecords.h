#pragma once

#include <cstdint>

#include "gnsstime/GpsTime.h"

// The plain records of the navigation tables, copied whole between the
// current and the pending table.

// Ephemeris of a GPS or SBAS satellite, and (same layout) of a BeiDou one.
// An SBAS record keeps its geostationary state in the nine doubles from
// m_dTgd to m_dCrc: position, velocity, acceleration (see the SBAS names).
struct SGpsEphemeris
{
    uint16_t m_uStatus;  // 0 empty; 3 stored by intake; 2 in fit; 1 outside; +8 unhealthy
    uint16_t m_uHealth;  // 6-bit health of subframe 1; 0 for SBAS
    uint16_t m_uWeek;    // full GPS week of the data
    uint16_t m_uL2PFlag; // L2 P data flag; 0 for SBAS
    uint16_t m_uUra;     // URA index
    uint16_t m_uIodc;    // 10-bit IODC; IOD for SBAS
    uint16_t m_uTocWeek; // week of m_dToc
    double m_dToc;       // clock reference time, seconds of week
    uint16_t m_uIode;    // IODE; the key by which a new record is told
    uint16_t m_uToeWeek; // week of m_dToe
    double m_dToe;       // ephemeris reference time, seconds of week
    uint32_t m_uFitFlag; // fit interval flag, 0 or 1
    double m_dAf0, m_dAf1, m_dAf2;
    double m_dTgd;  // seconds; TGD1 for BeiDou
    double m_dTgd2; // BeiDou TGD2
    double m_dCrs;  // metres
    double m_dDeltaN;
    double m_dCuc, m_dCus, m_dCic, m_dCis;
    double m_dCrc;
    double m_dEcc;
    double m_dSqrtA;
    double m_dM0, m_dOmega0, m_dI0, m_dOmega;
    double m_dOmegaDot, m_dIdot;
    // Kept for BeiDou records only: the broadcast values before their move to GPS time.
    double m_dOmega0Bdt;
    uint16_t m_uAode;
    double m_dToeBdt;
};

// A BeiDou record has the layout of a GPS record and lies in the same kind of table.
using SBeidouEphemeris = SGpsEphemeris;

// Ephemeris of a GLONASS satellite, one per slot.
struct SGlonassEphemeris
{
    uint32_t m_uTkHours;
    uint32_t m_uTkMinutes;
    uint32_t m_uTkHalf;    // 1 for the second half of the minute
    uint32_t m_uTbMinutes; // tb as minutes of the Moscow day
    uint32_t m_uGpsWeek;   // GPS week of tb
    double m_dGpsSeconds;  // GPS seconds of week of tb
    uint32_t m_uM;
    double m_dGamma;
    double m_dTauN;                 // seconds
    double m_dX, m_dVx, m_dAx;      // km, km/s, km/s2
    double m_dY, m_dVy, m_dAy;
    double m_dZ, m_dVz, m_dAz;
    uint32_t m_uBn;
    uint32_t m_uP;
    uint32_t m_uN4;
    double m_dTauGps; // seconds
    double m_dTauC;   // seconds
    uint32_t m_uNt;
    uint32_t m_uSlot; // n of string 4
    double m_dDeltaTau;
    uint32_t m_uEn;
    uint32_t m_uP1, m_uP2, m_uP3, m_uP4;
    uint32_t m_uLn;
    uint16_t m_uStatus; // as for GPS
    uint16_t m_uHealth; // Bn shifted left by 4
    uint16_t m_uTb;     // m_uTbMinutes again: the key by which a new record is told
};

// The computed state of a satellite: a short polynomial around m_timeState.
struct SSatState
{
    uint16_t m_uIode;
    double m_dX, m_dY, m_dZ;    // ECEF, metres
    double m_dVx, m_dVy, m_dVz; // metres per second
    double m_dAx, m_dAy, m_dAz; // metres per second squared
    double m_dClockBias;        // seconds
    double m_dClockDrift;       // seconds per second
    GpsTime m_timeState;
    uint32_t m_uValid; // 1 once computed
    uint16_t m_uIodeAtState;
    uint16_t m_uStatusAtState;
    uint16_t m_uHealthAtState;
};
