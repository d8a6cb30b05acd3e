#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "qc/ClockJumps.h"
#include "qc/DropTable.h"
#include "qc/LogInventory.h"
#include "qc/QcInput.h"
#include "qc/SeriesStats.h"

// The report of one log as plain data: what CQcAnalysis found, in the form
// the page, the CSV and the JSON are written from. Everything a writer shows
// is here, so the three can't disagree.

// Traffic lights of the per-satellite table, against these stated limits.
enum EQcLight : uint32_t
{
    eQcLightNone = 0, // no value to judge
    eQcLightGreen = 1,
    eQcLightAmber = 2,
    eQcLightRed = 3,
};
// Completeness, percent: green from 95, amber from 80.
constexpr double kQcCompletenessGreen = 95.0;
constexpr double kQcCompletenessAmber = 80.0;
// Code multipath RMS, metres: green up to 0.5, amber up to 1.0.
constexpr double kQcMultipathGreen = 0.5;
constexpr double kQcMultipathAmber = 1.0;
// Slips and loss-of-lock marks per 1000 observations: green up to 1, amber up to 10.
constexpr double kQcSlipRateGreen = 1.0;
constexpr double kQcSlipRateAmber = 10.0;
// Mean signal strength, dB-Hz: green from 40, amber from 35.
constexpr double kQcStrengthGreen = 40.0;
constexpr double kQcStrengthAmber = 35.0;
// Without -E, completeness counts the epochs above this elevation.
constexpr double kQcDefaultCompletenessMask = 10.0;

// One satellite and signal.
struct SQcSignalRow
{
    uint32_t m_uSystem = 0;
    uint32_t m_uNumber = 0;
    uint32_t m_uSignal = 0;
    SQcSeriesCounts m_Counts;
    double m_dMeanStrength = 0.0;                    // dB-Hz; 0 without strength
    double m_adBinStrength[kQcElevationBins] = {};   // mean per elevation bin; 0 where empty
    bool m_bHaveMultipath = false;
    uint32_t m_uMultipathPartner = 0;                // the signal of the other carrier (the last arc's)
    double m_dMultipathRms = 0.0;                    // metres
    uint64_t m_uMultipathPoints = 0;
    uint64_t m_uMultipathArcs = 0;
    double m_adBinMultipath[kQcElevationBins] = {};  // RMS per elevation bin; 0 where empty
    uint64_t m_auBinMultipathPoints[kQcElevationBins] = {};
    bool m_bHaveCompleteness = false;
    double m_dCompleteness = 0.0;                    // percent

    double SlipRate() const; // slips and loss-of-lock marks per 1000 observations
    EQcLight CompletenessLight() const;
    EQcLight MultipathLight() const;
    EQcLight SlipLight() const;
    EQcLight StrengthLight() const;
};

// A slip found in the data.
struct SQcSlipEvent
{
    double m_dSeconds = 0.0;
    uint32_t m_uSystem = 0;
    uint32_t m_uNumber = 0;
    uint32_t m_uSignals = 0; // bit n: EQcSignal n
    uint32_t m_uTests = 0;   // EQcSlipTest bits
};

// One bucket of a satellite's row of the availability timeline.
struct SQcTimelineCell
{
    uint32_t m_uBucket = 0;
    uint32_t m_uPresent = 0;    // epochs with the satellite's first signal
    uint32_t m_uExpected = 0;   // epochs with the satellite above the mask
    uint32_t m_uLossOfLock = 0;
    uint32_t m_uSlips = 0;
};

// A point of a satellite's track, one per bucket (or fewer) of the axis.
struct SQcTrackPoint
{
    double m_dSeconds = 0.0;
    double m_dElevation = 0.0;
    double m_dAzimuth = 0.0;
    // Mean strength of the satellite's signals by their place (SQcSignalInfo::m_uSlot); 0 where none.
    double m_adStrength[3] = {0.0, 0.0, 0.0};
};

struct SQcSatellitePlot
{
    uint32_t m_uSystem = 0;
    uint32_t m_uNumber = 0;
    std::vector<SQcTimelineCell> m_aCells;
    std::vector<SQcTrackPoint> m_aTrack;
};

// Satellites tracked per bucket of the axis: mean per system and the extremes of all.
struct SQcCountPoint
{
    double m_dSeconds = 0.0; // the bucket's start
    double m_adMean[kQcSystemCount] = {};
    uint32_t m_uMin = 0;
    uint32_t m_uMax = 0;
};

enum EQcPositionSource : uint32_t
{
    eQcPositionNone = 0,
    eQcPositionGiven = 1,    // -L
    eQcPositionSentence = 2, // the log's position sentence
};

struct SQcPosition
{
    uint32_t m_uSource = eQcPositionNone;
    double m_adSiteLlh[3] = {};  // degrees, degrees, metres
    double m_adSiteXyz[3] = {};
    bool m_bHaveFixes = false;
    double m_adMedianXyz[3] = {};
    double m_adMedianLlh[3] = {};
    double m_adSpreadNeu[3] = {}; // RMS about the median, metres
    uint64_t m_uFixes = 0;
    uint64_t m_uTried = 0;
    double m_dFixStep = 0.0;      // seconds between fixes at the end
    bool m_bHaveDistance = false;
    double m_dDistance = 0.0;     // median fix to site, metres
    double m_adOffsetNeu[3] = {}; // median fix less site, north, east, up
};

struct SQcSummary
{
    double m_dFirst = 0.0;
    double m_dLast = 0.0;
    double m_dHours = 0.0;
    double m_dInterval = 0.0;
    uint64_t m_uExpected = 0;  // satellite epochs above the mask
    uint64_t m_uPresent = 0;   // of those, with the satellite's first signal
    bool m_bHaveCompleteness = false;
    double m_dCompleteness = 0.0;
    bool m_bHaveMp1 = false;
    double m_dMp1 = 0.0;       // GPS L1 C/A, metres
    bool m_bHaveMp2 = false;
    double m_dMp2 = 0.0;       // GPS L2
    uint64_t m_uObservations = 0; // satellite epochs
    uint64_t m_uSlips = 0;        // satellite epochs with a slip found or a loss-of-lock mark
    double m_dMask = 0.0;         // of the completeness counts
};

struct SQcReport
{
    SQcOptions m_Options;
    SQcSummary m_Summary;

    // Inventory.
    std::vector<SQcFrameCount> m_aFrames;
    uint64_t m_uUnknownFrames = 0;
    uint64_t m_uFrameBytes = 0;
    uint64_t m_uLogBytes = 0;
    uint64_t m_uDamagedBytes = 0;
    uint64_t m_uDamagedSpans = 0;
    std::vector<SQcSpan> m_aFirstDamage;
    uint64_t m_uEpochs = 0;
    std::vector<std::pair<double, uint64_t>> m_aIntervals;
    uint64_t m_uOtherIntervals = 0;
    uint64_t m_uBackwardSteps = 0;
    uint64_t m_uForwardJumps = 0;
    std::vector<SQcTimeStep> m_aFirstBackward;
    std::vector<SQcTimeStep> m_aFirstForward;
    std::vector<SQcNavCoverage> m_aNavigation;

    // What the conversion left out.
    std::vector<SQcDropRow> m_aDrops;
    SQcDropRow m_DropTotals;
    bool m_bDropsAddUp = true;
    uint64_t m_uDropRowsChecked = 0;

    // Per satellite and signal.
    std::vector<SQcSignalRow> m_aRows;
    uint64_t m_uSlipEvents = 0;
    std::vector<SQcSlipEvent> m_aFirstSlips;

    // Receiver clock.
    uint64_t m_uClockJumps = 0;
    std::vector<SQcClockJump> m_aFirstClockJumps;

    SQcPosition m_Position;

    // Plots: the shared axis and the series on it.
    double m_dAxisStart = 0.0;
    double m_dAxisWidth = 0.0;
    uint32_t m_uAxisBuckets = 0;
    std::vector<uint32_t> m_auEpochsPerBucket;
    std::vector<SQcCountPoint> m_aSatelliteCounts;
    std::vector<SQcSatellitePlot> m_aSatellites;
};

// The line station operators grep for, and the line of column names above it:
// SUM first last hours interval expected present completeness% MP1 MP2 obs/slip
std::string FormatSummaryHeader();
std::string FormatSummaryLine(const SQcReport& report);
// The colour name of a light, for the CSV and the JSON: "green", "amber", "red", "".
const char* LightName(EQcLight light);
