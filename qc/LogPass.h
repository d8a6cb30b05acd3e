#pragma once

#include <cstdint>
#include <functional>

#include "gnsstime/GpsTime.h"
#include "navstate/Navigation.h"
#include "obsconv/EpochAssembly.h"
#include "obsconv/LogDecoding.h"
#include "obsconv/ObsIntake.h"
#include "obsconv/ObsSlots.h"
#include "obsconv/SatelliteUpkeep.h"
#include "qc/LogFeed.h"
#include "qc/NavGeometry.h"
#include "qc/QcAnalysis.h"

// The run's settings that decide what the conversion would write, as the
// converter holds them: the location in radians, the interval as -N rounds it.
struct SQcConversionSettings
{
    bool m_bHaveLocation = false;
    double m_adLocationLlh[3] = {}; // latitude, longitude in radians; height in metres
    bool m_bElevationMask = false;
    double m_dElevationMask = 0.0;  // degrees
    double m_dInterval = 1.0;       // seconds
    bool m_bIntervalGiven = false;
    bool m_bBeforeEphemeris = false; // -B
    bool m_bOutputL1P = false;       // -P1
};

// The report's single pass over one log: the log is decoded exactly as the
// conversion decodes it, with the same options, but nothing is written; the
// analysis hears of every frame, every damaged span, every observation with
// what became of it, every broadcast record and every position sentence.
class CQcLogPass
{
public:
    CQcLogPass(const SQcOptions& report, const SQcConversionSettings& settings);
    CQcLogPass(const CQcLogPass&) = delete;
    CQcLogPass& operator=(const CQcLogPass&) = delete;

    // Reads the log from `fd` to its end. `progress`, when set, is called now
    // and then with the bytes read so far. False when the memory for the
    // BeiDou decoders can't be had.
    bool Run(int fd, const std::function<void(uint64_t)>& progress);

    void BuildReport(SQcReport& report) { m_Analysis.BuildReport(report); }

private:
    void NoteSentence(const uint8_t* frame, uint32_t length);

    CLogTime m_LogTime;
    CNavigation m_Navigation;
    SObsSlots m_Slots;
    SMaskRule m_Mask;
    CEpochAssembly m_Assembly;
    SObsIntake m_Intake;
    CQcNavGeometry m_Geometry;
    CQcAnalysis m_Analysis;
    CQcLogFeed m_Feed;
    CLogDecoding m_Decoding;

    static constexpr uint32_t kReadBlockSize = 16384;
    uint8_t m_aReadBlock[kReadBlockSize];
};
