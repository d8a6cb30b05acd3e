#include "qc/ClockJumps.h"

#include <algorithm>
#include <cmath>

#include "qc/SeriesStats.h"

void CQcClockJumps::BeginEpoch(double seconds, double interval)
{
    m_dSeconds = seconds;
    m_dInterval = interval;
    m_adDifferences.clear();
}

void CQcClockJumps::AddSatellite(uint32_t key, double code, double doppler, double wavelength)
{
    const double rate = -doppler * wavelength;
    SLast& last = m_Last[key];
    const double step = m_dSeconds - last.m_dSeconds;
    const bool recent = last.m_dSeconds > 0.0 && step > 0.0 &&
                        (m_dInterval <= 0.0 || step <= kQcGapIntervals * m_dInterval);
    if (recent)
    {
        const double predicted = 0.5 * (last.m_dRate + rate) * step;
        m_adDifferences.push_back(code - last.m_dCode - predicted);
    }
    last.m_dSeconds = m_dSeconds;
    last.m_dCode = code;
    last.m_dRate = rate;
}

bool CQcClockJumps::EndEpoch(SQcClockJump& jump)
{
    const size_t count = m_adDifferences.size();
    if (count < kQcClockJumpMinSatellites)
        return false;
    std::vector<double>& d = m_adDifferences;
    std::nth_element(d.begin(), d.begin() + static_cast<std::ptrdiff_t>(count / 2), d.end());
    const double median = d[count / 2];
    const double ms = std::round(median / kQcMillisecondMetres);
    if (ms == 0.0 || !std::isfinite(ms))
        return false;
    const double expected = ms * kQcMillisecondMetres;
    uint32_t agree = 0;
    for (double value : d)
    {
        if (std::fabs(value - expected) <= kQcClockJumpToleranceMetres)
            ++agree;
    }
    if (static_cast<double>(agree) < kQcClockJumpShare * static_cast<double>(count))
        return false;
    jump.m_dSeconds = m_dSeconds;
    jump.m_iMilliseconds = static_cast<int64_t>(ms);
    jump.m_uSatellites = agree;
    jump.m_uCompared = static_cast<uint32_t>(count);
    jump.m_dMedianMetres = median;
    return true;
}
