#include "qc/SeriesStats.h"

uint32_t ElevationBin(double elevation)
{
    if (!(elevation > 0.0))
        return 0;
    const auto bin = static_cast<uint32_t>(elevation / kQcElevationBinDegrees);
    return bin < kQcElevationBins ? bin : kQcElevationBins - 1;
}

bool CQcSeriesStats::AddObservation(double seconds, double interval, const SQcObservation& obs, bool haveElevation,
                                    double elevation)
{
    bool newArc = false;
    if (m_Counts.m_uEpochs == 0)
    {
        newArc = true;
        m_Counts.m_dFirst = seconds;
    }
    else if (interval > 0.0 && seconds - m_Counts.m_dLast > kQcGapIntervals * interval)
    {
        newArc = true;
        ++m_Counts.m_uGaps;
    }
    if (newArc)
        ++m_Counts.m_uArcs;
    m_Counts.m_dLast = seconds;
    ++m_Counts.m_uEpochs;
    if (obs.m_bLossOfLock)
        ++m_Counts.m_uLossOfLock;
    if (obs.m_bHaveStrength)
    {
        m_Counts.m_dStrengthSum += obs.m_dStrength;
        ++m_Counts.m_uStrengthCount;
        if (haveElevation)
        {
            const uint32_t bin = ElevationBin(elevation);
            m_Counts.m_adBinStrengthSum[bin] += obs.m_dStrength;
            ++m_Counts.m_auBinStrengthCount[bin];
        }
    }
    return newArc;
}

void CQcSeriesStats::NoteExpected(bool present)
{
    ++m_Counts.m_uExpected;
    if (present)
        ++m_Counts.m_uPresent;
}

double CQcSeriesStats::MeanStrength() const
{
    return m_Counts.m_uStrengthCount > 0 ? m_Counts.m_dStrengthSum / static_cast<double>(m_Counts.m_uStrengthCount)
                                         : 0.0;
}
