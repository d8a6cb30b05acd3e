#pragma once

#include <cstdint>

#include "qc/SeriesStats.h"

// Code multipath of one code: MP_i = P_i - (1 + 2/(a - 1)) L_i + (2/(a - 1)) L_j
// with a = (f_i / f_j)^2 and the phases in metres. The combination keeps the
// code's multipath and noise plus a constant of the phase ambiguities for
// each arc, so the mean of every arc is taken off. An arc ends at a gap, at a
// loss-of-lock mark, at a slip found in the data and where the partner
// carrier changes (a receiver clock jump is carried over by the analysis); arcs of fewer than kQcMpMinArcPoints
// values are left out, as their mean is no estimate of the constant.
//
// The sums run online: per arc the sum and the sum of squares of the values
// less the arc's first value (which keeps the squares small), in total and
// per elevation bin; at the arc's end the arc's mean comes off. Constant
// size, whatever the length of the log.

constexpr uint64_t kQcMpMinArcPoints = 5;

// The multipath combination of code `code` and phase `phaseI` of the same
// carrier, with phase `phaseJ` of the other; all in metres. `ratio` is f_i / f_j.
double MultipathValue(double code, double phaseI, double phaseJ, double ratio);

class CQcMultipath
{
public:
    // Adds one value of the present arc, at `elevation` degrees when `haveElevation`.
    void AddValue(double value, bool haveElevation, double elevation);
    // Ends the present arc; the next value begins another.
    void BreakArc();

    // The RMS over the arcs ended so far and the present one (metres), and
    // the number of values it stands on; 0 values give 0.
    double Rms() const;
    uint64_t Points() const;
    // The same per elevation bin.
    double BinRms(uint32_t bin) const;
    uint64_t BinPoints(uint32_t bin) const;
    uint64_t Arcs() const { return m_uArcs; }

private:
    struct SSums
    {
        double m_dSum = 0.0;
        double m_dSquares = 0.0;
        uint64_t m_uPoints = 0;
    };
    // Squared deviations from the arc's own mean: what an ended arc adds.
    static double Deviations(const SSums& sums, double mean);

    // The present arc, relative to its first value.
    bool m_bArcOpen = false;
    double m_dArcOrigin = 0.0;
    SSums m_Arc;
    SSums m_aArcBins[kQcElevationBins];

    // Ended arcs: squared deviations and points, in total and per bin.
    double m_dSquares = 0.0;
    uint64_t m_uPoints = 0;
    double m_adBinSquares[kQcElevationBins] = {};
    uint64_t m_auBinPoints[kQcElevationBins] = {};
    uint64_t m_uArcs = 0;
};
