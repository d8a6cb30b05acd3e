#include "qc/TimeAxis.h"

#include <cmath>

void CQcTimeAxis::Start(double seconds)
{
    if (m_bStarted)
        return;
    m_bStarted = true;
    // Whole widths from midnight of the first day, so that bucket edges fall on round times.
    m_dStart = std::floor(seconds / kQcAxisFirstWidth) * kQcAxisFirstWidth;
}

size_t CQcTimeAxis::BucketOf(double seconds)
{
    if (!m_bStarted)
        Start(seconds);
    const double offset = seconds - m_dStart;
    if (!(offset > 0.0))
    {
        m_uUsed = m_uUsed > 0 ? m_uUsed : 1;
        return 0;
    }
    // A damaged time far ahead would double the width for ever: 2^40 widths is beyond any log.
    while (offset >= m_dWidth * static_cast<double>(kQcAxisBuckets) && m_uDoublings < 40)
    {
        m_dWidth *= 2.0;
        ++m_uDoublings;
        m_uUsed = (m_uUsed + 1) / 2;
    }
    size_t bucket = static_cast<size_t>(offset / m_dWidth);
    if (bucket >= kQcAxisBuckets)
        bucket = kQcAxisBuckets - 1;
    if (bucket + 1 > m_uUsed)
        m_uUsed = bucket + 1;
    return bucket;
}

bool CQcTimeAxis::FindBucket(double seconds, size_t& bucket) const
{
    if (!m_bStarted)
        return false;
    const double offset = seconds - m_dStart;
    if (offset < 0.0)
    {
        bucket = 0;
        return true;
    }
    const double index = std::floor(offset / m_dWidth);
    if (index >= static_cast<double>(kQcAxisBuckets))
        return false;
    bucket = static_cast<size_t>(index);
    return true;
}
