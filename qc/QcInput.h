#pragma once

#include <cstdint>
#include <string>

#include "gnsstime/GpsTime.h"

// What the quality report is fed with: plain records that the log reader
// fills from the decoding layers and hands to CQcAnalysis (qc/QcAnalysis.h),
// epoch by epoch and event by event. Nothing here reaches a run-wide object;
// a report is made from these records alone, so it can be fed from a log,
// from a RINEX file or from a test.

// The constellations of the log. SBAS satellites come in the GPS messages
// with numbers from 120 on; they are never written, so they only show among
// the dropped observations.
enum EQcSystem : uint32_t
{
    eQcGps = 0,
    eQcGlonass = 1,
    eQcBeidou = 2,
    eQcSbas = 3,
};
constexpr uint32_t kQcSystemCount = 4;

// The signals the observation messages carry, named as the observation file
// names them: GPS L1 C/A (C1C), L2 (C2Y), L1 P (C1Y, code and strength only);
// GLONASS L1 (C1C), L2 (C2C); BeiDou B1I (C2I), B2I (C7I), B3I (C6I).
enum EQcSignal : uint32_t
{
    eQcGpsL1CA = 0,
    eQcGpsL2 = 1,
    eQcGpsL1P = 2,
    eQcGloL1 = 3,
    eQcGloL2 = 4,
    eQcBdsB1 = 5,
    eQcBdsB2 = 6,
    eQcBdsB3 = 7,
};
constexpr uint32_t kQcSignalCount = 8;

// Why the conversion left an observation out of the observation file. An
// observation that is written has eQcWritten.
enum EQcDropReason : uint32_t
{
    eQcWritten = 0,
    eQcDropNoGoodLock = 1,      // the receiver's good-lock bit is clear
    eQcDropBeforeEphemeris = 2, // with -E and without -B: no usable ephemeris yet
    eQcDropBelowMask = 3,       // below the elevation mask of -E
    eQcDropNeverWritten = 4,    // a satellite number the file never takes (SBAS)
    eQcDropBeyondTables = 5,    // a satellite number the satellite tables can't hold
    eQcDropTimeMismatch = 6,    // a message whose time is no epoch's it can join (another second, a repeat)
    eQcDropOtherGpsMessage = 7, // BIN96 in a BIN76 log, or BIN76 in a BIN96 log
    eQcDropDecimated = 8,       // an epoch the rate gate leaves out (-N, or before the output grid is found)
    eQcDropNoColumn = 9,        // L1 P without -P1: the file has no column for it
};
constexpr uint32_t kQcDropReasonCount = 10;

// One signal of one satellite in one epoch, as decoded. Values the message
// doesn't carry have their flag clear.
struct SQcObservation
{
    uint32_t m_uSystem = eQcGps;  // EQcSystem
    uint32_t m_uNumber = 0;       // GPS PRN, GLONASS slot, BeiDou PRN; SBAS as the message gives it
    uint32_t m_uSignal = eQcGpsL1CA; // EQcSignal
    bool m_bHaveCode = false;
    double m_dCode = 0.0;         // metres
    bool m_bHavePhase = false;
    double m_dPhase = 0.0;        // cycles, as rebuilt by the decoder
    bool m_bHaveDoppler = false;
    double m_dDoppler = 0.0;      // Hz, with the sign of the observation file (positive approaching)
    bool m_bHaveStrength = false;
    double m_dStrength = 0.0;     // carrier to noise density, dB-Hz
    bool m_bLossOfLock = false;   // the receiver's slip counter moved, or good lock is clear
    double m_dWavelength = 0.0;   // metres; the GLONASS slot's own for GLONASS
    bool m_bHaveAngles = false;   // elevation and azimuth known from the navigation state
    double m_dElevation = 0.0;    // degrees
    double m_dAzimuth = 0.0;      // degrees from north, clockwise
    uint32_t m_uDrop = eQcWritten; // EQcDropReason
};

// A frame the log reader delivered: its kind (EFrameKind of logio), the
// message number of a $BIN frame (0 for the other kinds), where it starts and
// how long it is, and whether the message catalogue knows it.
struct SQcFrame
{
    uint32_t m_uKind = 0;
    uint32_t m_uNumber = 0;
    uint64_t m_uOffset = 0;
    uint32_t m_uLength = 0;
    bool m_bKnown = true;
};

// A broadcast ephemeris as it arrives: the log time of its arrival, its
// reference time and its issue of data (IODE, GLONASS tb, BeiDou AODE).
struct SQcEphemerisArrival
{
    uint32_t m_uSystem = eQcGps;
    uint32_t m_uNumber = 0;
    GpsTime m_timeArrival{};
    GpsTime m_timeToe{};
    uint32_t m_uIssue = 0;
};

// A position sentence of the log ($GPGGA): where the receiver said it was.
struct SQcPositionSentence
{
    GpsTime m_timeFix{};      // week 0 when the sentence can't be dated
    double m_dLatitude = 0.0; // degrees
    double m_dLongitude = 0.0;
    double m_dHeight = 0.0;   // metres above the ellipsoid
    uint32_t m_uQuality = 0;  // the sentence's fix quality; 0 is no fix
};

// The options of the run the report describes, as the converter takes them.
struct SQcOptions
{
    std::string m_szLogName;          // shown in the report's title
    bool m_bElevationMask = false;    // -E given
    double m_dElevationMask = 0.0;    // degrees
    bool m_bHaveLocation = false;     // -L given
    double m_adLocation[3] = {0.0, 0.0, 0.0}; // latitude, longitude (degrees), height (metres)
    bool m_bIntervalGiven = false;    // -N given
    double m_dInterval = 0.0;         // seconds
    bool m_bBeforeEphemeris = false;  // -B given
};

// Where a satellite was and how its clock stood, from the log's own broadcast
// ephemerides; the integration implements it over the navigation state.
class CQcSatelliteGeometry
{
public:
    virtual ~CQcSatelliteGeometry() = default;
    // ECEF position (metres) of the satellite at `transmitTime` (GPS time)
    // and its clock offset (seconds, GPS time scale, the broadcast clock
    // without a group delay). False when no usable ephemeris is known.
    virtual bool SatelliteAt(uint32_t system, uint32_t number, const GpsTime& transmitTime, double xyz[3],
                             double& clockBias) = 0;
};
