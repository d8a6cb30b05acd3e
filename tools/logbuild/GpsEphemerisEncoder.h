#pragma once

#include <cstdint>

#include "logbuild/FrameWriter.h"

// Builds BIN95 and BIN93 messages from physical ephemeris values: the inverse
// of the GPS and SBAS ephemeris intake, written from the message layouts.
//
// Every value is rounded to the nearest integer of its field's scale factor
// (the receiver's short decimal factors, so that a value made as integer x
// factor comes back as that same integer). A value that doesn't fit its field
// throws std::out_of_range: the builder is meant to fail loudly on data it
// can't represent, never to wrap it silently.

// One GPS satellite's broadcast ephemeris, as RINEX gives it: seconds,
// metres, radians (not semicircles), radians per second.
struct SGpsEphemerisValues
{
    uint16_t m_uSatellite = 1;  // 1 to 32
    uint32_t m_uTxTime = 0;     // time of week of the data, seconds; sent in units of 6 s (truncated)
    uint32_t m_uWeek = 2048;    // GPS week; only its low 10 bits are broadcast
    uint16_t m_uIode = 0;       // 8 bits; also written as the IODE of subframe 3
    uint16_t m_uIodc = 0;       // 10 bits
    uint16_t m_uHealth = 0;     // 6 bits
    uint16_t m_uUra = 0;        // URA index, 4 bits
    uint16_t m_uL2PFlag = 0;    // 1 bit
    uint16_t m_uFitFlag = 0;    // 1 bit
    double m_dToc = 0.0;        // seconds of week, multiple of 16
    double m_dToe = 0.0;        // seconds of week, multiple of 16
    double m_dAf0 = 0.0;        // s
    double m_dAf1 = 0.0;        // s/s
    double m_dAf2 = 0.0;        // s/s2
    double m_dTgd = 0.0;        // s
    double m_dCrs = 0.0;        // m
    double m_dDeltaN = 0.0;     // rad/s
    double m_dM0 = 0.0;         // rad
    double m_dCuc = 0.0;        // rad
    double m_dEcc = 0.0;
    double m_dCus = 0.0;        // rad
    double m_dSqrtA = 5153.7;   // sqrt(m)
    double m_dCic = 0.0;        // rad
    double m_dOmega0 = 0.0;     // rad
    double m_dCis = 0.0;        // rad
    double m_dI0 = 0.0;         // rad
    double m_dCrc = 0.0;        // m
    double m_dOmega = 0.0;      // rad
    double m_dOmegaDot = 0.0;   // rad/s
    double m_dIdot = 0.0;       // rad/s
};

// The three subframes as a BIN95 carries them: word n of subframe s is
// m_aauWord[s - 1][n - 1], 30 bits right-justified, parity bits zero.
struct SGpsSubframes
{
    uint32_t m_aauWord[3][10] = {};
};

// Words 1 to 10 of subframes 1 to 3. Words 1 and 2 carry the TLM preamble and
// a HOW with the TOW count and subframe ID; reserved bits are zero.
SGpsSubframes EncodeGpsSubframes(const SGpsEphemerisValues& values);

// BIN95 payload (frame bytes 8 to 135) and whole frame from subframe words,
// for tests and tools that need to set words by hand.
Bytes MakeBin95Payload(uint16_t satellite, uint32_t tow6, const SGpsSubframes& subframes);
Bytes MakeBin95Frame(uint16_t satellite, uint32_t tow6, const SGpsSubframes& subframes);
// The whole BIN95 frame of `values`.
Bytes MakeBin95Frame(const SGpsEphemerisValues& values);

// One SBAS geostationary satellite's ephemeris: ECEF metres, metres per
// second, metres per second squared, seconds.
struct SSbasEphemerisValues
{
    uint16_t m_uSatellite = 120; // true satellite number
    uint16_t m_uWeek = 2048;     // GPS week
    uint32_t m_uTow = 0;         // seconds of week of the message
    uint16_t m_uIod = 0;
    uint16_t m_uUraIndex = 0;
    int32_t m_iT0 = 0;           // reference time, seconds of week
    double m_dGeoX = 0.0, m_dGeoY = 0.0, m_dGeoZ = 0.0;
    double m_dGeoVx = 0.0, m_dGeoVy = 0.0, m_dGeoVz = 0.0;
    double m_dGeoAx = 0.0, m_dGeoAy = 0.0, m_dGeoAz = 0.0;
    double m_dAf0 = 0.0;         // s
    double m_dAf1 = 0.0;         // s/s
};

// BIN93 payload (frame bytes 8 to 63) and whole frame.
Bytes MakeBin93Payload(const SSbasEphemerisValues& values);
Bytes MakeBin93Frame(const SSbasEphemerisValues& values);
