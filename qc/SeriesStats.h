#pragma once

#include <cstdint>

#include "qc/QcInput.h"

// The running counts of one satellite and signal: epochs, arcs and gaps,
// the receiver's loss-of-lock marks, signal strength overall and per 10
// degrees of elevation, and the completeness counts. Constant size, whatever
// the length of the log.

constexpr uint32_t kQcElevationBins = 9;    // 0-10, 10-20, ... 80-90 degrees
constexpr double kQcElevationBinDegrees = 10.0;
// A series has a gap where its epochs lie more than this many sampling
// intervals apart; the arc before the gap ends there.
constexpr double kQcGapIntervals = 1.5;

// Bin of an elevation in degrees; below 0 counts with the lowest bin, 90 with the highest.
uint32_t ElevationBin(double elevation);

struct SQcSeriesCounts
{
    uint64_t m_uEpochs = 0;      // epochs with this signal
    uint64_t m_uArcs = 0;
    uint64_t m_uGaps = 0;        // breaks of more than 1.5 intervals between two epochs of the series
    uint64_t m_uLossOfLock = 0;  // epochs with the receiver's loss-of-lock mark
    uint64_t m_uSlips = 0;       // slips found in the data (set by the analysis)
    double m_dStrengthSum = 0.0; // dB-Hz
    uint64_t m_uStrengthCount = 0;
    double m_adBinStrengthSum[kQcElevationBins] = {};
    uint64_t m_auBinStrengthCount[kQcElevationBins] = {};
    uint64_t m_uExpected = 0;    // epochs with the satellite above the mask
    uint64_t m_uPresent = 0;     // of those, epochs with this signal
    double m_dFirst = 0.0;       // seconds since the GPS epoch
    double m_dLast = 0.0;
};

class CQcSeriesStats
{
public:
    // Takes one observation of the series at `seconds`. `interval` is the
    // log's sampling interval (0 while unknown); `elevation` is used when
    // `haveElevation`. True when the observation begins an arc: the first of
    // the series, or the first after a gap.
    bool AddObservation(double seconds, double interval, const SQcObservation& obs, bool haveElevation,
                        double elevation);
    // One epoch with the satellite above the mask; `present` when the series had an observation in it.
    void NoteExpected(bool present);
    void NoteSlip() { ++m_Counts.m_uSlips; }

    const SQcSeriesCounts& Counts() const { return m_Counts; }
    double MeanStrength() const;

private:
    SQcSeriesCounts m_Counts;
};
