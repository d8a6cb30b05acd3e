#include "qc/Multipath.h"

#include <cmath>

double MultipathValue(double code, double phaseI, double phaseJ, double ratio)
{
    const double alpha = ratio * ratio;
    const double k = 2.0 / (alpha - 1.0);
    return code - (1.0 + k) * phaseI + k * phaseJ;
}

void CQcMultipath::AddValue(double value, bool haveElevation, double elevation)
{
    if (!m_bArcOpen)
    {
        m_bArcOpen = true;
        m_dArcOrigin = value;
    }
    const double d = value - m_dArcOrigin;
    m_Arc.m_dSum += d;
    m_Arc.m_dSquares += d * d;
    ++m_Arc.m_uPoints;
    if (haveElevation)
    {
        SSums& bin = m_aArcBins[ElevationBin(elevation)];
        bin.m_dSum += d;
        bin.m_dSquares += d * d;
        ++bin.m_uPoints;
    }
}

double CQcMultipath::Deviations(const SSums& sums, double mean)
{
    // sum of (d - mean)^2 = squares - 2 mean sum + n mean^2
    const double n = static_cast<double>(sums.m_uPoints);
    const double value = sums.m_dSquares - 2.0 * mean * sums.m_dSum + n * mean * mean;
    return value > 0.0 ? value : 0.0;
}

void CQcMultipath::BreakArc()
{
    if (m_bArcOpen && m_Arc.m_uPoints >= kQcMpMinArcPoints)
    {
        const double mean = m_Arc.m_dSum / static_cast<double>(m_Arc.m_uPoints);
        m_dSquares += Deviations(m_Arc, mean);
        m_uPoints += m_Arc.m_uPoints;
        for (uint32_t b = 0; b < kQcElevationBins; ++b)
        {
            m_adBinSquares[b] += Deviations(m_aArcBins[b], mean);
            m_auBinPoints[b] += m_aArcBins[b].m_uPoints;
        }
        ++m_uArcs;
    }
    m_bArcOpen = false;
    m_Arc = SSums{};
    for (SSums& bin : m_aArcBins)
        bin = SSums{};
}

double CQcMultipath::Rms() const
{
    // The open arc counts as if it ended now.
    CQcMultipath copy = *this;
    copy.BreakArc();
    return copy.m_uPoints > 0 ? std::sqrt(copy.m_dSquares / static_cast<double>(copy.m_uPoints)) : 0.0;
}

uint64_t CQcMultipath::Points() const
{
    CQcMultipath copy = *this;
    copy.BreakArc();
    return copy.m_uPoints;
}

double CQcMultipath::BinRms(uint32_t bin) const
{
    if (bin >= kQcElevationBins)
        return 0.0;
    CQcMultipath copy = *this;
    copy.BreakArc();
    return copy.m_auBinPoints[bin] > 0
               ? std::sqrt(copy.m_adBinSquares[bin] / static_cast<double>(copy.m_auBinPoints[bin]))
               : 0.0;
}

uint64_t CQcMultipath::BinPoints(uint32_t bin) const
{
    if (bin >= kQcElevationBins)
        return 0;
    CQcMultipath copy = *this;
    copy.BreakArc();
    return copy.m_auBinPoints[bin];
}
