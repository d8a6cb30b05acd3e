#include "qc/LogInventory.h"

#include <cmath>

#include "qc/QcSignals.h"
#include "qc/SeriesStats.h"

namespace
{
uint32_t SatelliteKey(uint32_t system, uint32_t number)
{
    return system << 16 | (number & 0xFFFF);
}
} // namespace

void CQcLogInventory::NoteFrame(const SQcFrame& frame)
{
    const uint64_t key = static_cast<uint64_t>(frame.m_uKind) << 33 | static_cast<uint64_t>(frame.m_bKnown ? 0 : 1) << 32 |
                         frame.m_uNumber;
    SQcFrameCount& count = m_Frames[key];
    if (count.m_uCount == 0)
    {
        count.m_uKind = frame.m_uKind;
        count.m_uNumber = frame.m_uNumber;
        count.m_bKnown = frame.m_bKnown;
        count.m_uFirstOffset = frame.m_uOffset;
    }
    ++count.m_uCount;
    count.m_uBytes += frame.m_uLength;
    m_uFrameBytes += frame.m_uLength;
    if (!frame.m_bKnown)
        ++m_uUnknownFrames;
    if (frame.m_uOffset + frame.m_uLength > m_uLogEnd)
        m_uLogEnd = frame.m_uOffset + frame.m_uLength;
}

void CQcLogInventory::NoteDamage(uint64_t offset, uint64_t length)
{
    if (length == 0)
        return;
    m_uDamagedBytes += length;
    // A span that continues the one before is the same span.
    if (!m_aDamage.empty() && m_aDamage.back().m_uOffset + m_aDamage.back().m_uLength == offset)
        m_aDamage.back().m_uLength += length;
    else
    {
        ++m_uDamagedSpans;
        if (m_aDamage.size() < kQcEventsKept)
            m_aDamage.push_back(SQcSpan{offset, length});
    }
    if (offset + length > m_uLogEnd)
        m_uLogEnd = offset + length;
}

double CQcLogInventory::NoteEpoch(double seconds)
{
    ++m_uEpochs;
    if (m_uEpochs == 1)
    {
        m_dFirst = m_dLast = m_dLatest = seconds;
        return 0.0;
    }
    const double step = seconds - m_dLast;
    const double interval = Interval();
    if (step <= 0.0)
    {
        ++m_uBackward;
        if (m_aBackward.size() < kQcEventsKept)
            m_aBackward.push_back(SQcTimeStep{seconds, step});
    }
    else
    {
        if (interval > 0.0 && step > kQcGapIntervals * interval)
        {
            ++m_uForward;
            if (m_aForward.size() < kQcEventsKept)
                m_aForward.push_back(SQcTimeStep{seconds, step});
        }
        const auto key = static_cast<int64_t>(std::llround(step / kQcIntervalResolution));
        auto found = m_Intervals.find(key);
        if (found != m_Intervals.end())
            ++found->second;
        else if (m_Intervals.size() < kQcIntervalClasses)
            m_Intervals[key] = 1;
        else
            ++m_uOtherIntervals;
    }
    m_dLast = seconds;
    if (seconds > m_dLatest)
        m_dLatest = seconds;
    return step;
}

double CQcLogInventory::Interval() const
{
    int64_t best = 0;
    uint64_t bestCount = 0;
    for (const auto& [key, count] : m_Intervals)
    {
        if (count > bestCount)
        {
            best = key;
            bestCount = count;
        }
    }
    return static_cast<double>(best) * kQcIntervalResolution;
}

void CQcLogInventory::NoteEphemeris(const SQcEphemerisArrival& arrival)
{
    SQcNavCoverage& nav = m_Navigation[SatelliteKey(arrival.m_uSystem, arrival.m_uNumber)];
    nav.m_uSystem = arrival.m_uSystem;
    nav.m_uNumber = arrival.m_uNumber;
    const double when = QcSeconds(arrival.m_timeArrival);
    if (nav.m_uArrivals == 0)
        nav.m_dFirstArrival = when;
    else if (when - nav.m_dLastArrival > nav.m_dMaxArrivalGap)
        nav.m_dMaxArrivalGap = when - nav.m_dLastArrival;
    nav.m_dLastArrival = when;
    ++nav.m_uArrivals;
    const double toe = QcSeconds(arrival.m_timeToe);
    if (!nav.m_bHaveEphemeris || arrival.m_uIssue != nav.m_uIssue || toe != nav.m_dToe)
        ++nav.m_uIssues;
    nav.m_bHaveEphemeris = true;
    nav.m_dToe = toe;
    nav.m_uIssue = arrival.m_uIssue;
}

void CQcLogInventory::NoteSatelliteEpoch(uint32_t system, uint32_t number, double seconds)
{
    SQcNavCoverage& nav = m_Navigation[SatelliteKey(system, number)];
    nav.m_uSystem = system;
    nav.m_uNumber = number;
    if (!nav.m_bHaveEphemeris)
    {
        ++nav.m_uEpochsWithout;
        return;
    }
    const double age = std::fabs(seconds - nav.m_dToe);
    if (age > nav.m_dMaxAge)
        nav.m_dMaxAge = age;
    if (system < kQcSystemCount && age > kQcEphemerisMaxAge[system])
        ++nav.m_uEpochsStale;
}

std::vector<SQcFrameCount> CQcLogInventory::Frames() const
{
    std::vector<SQcFrameCount> frames;
    for (const auto& entry : m_Frames)
        frames.push_back(entry.second);
    return frames;
}

std::vector<std::pair<double, uint64_t>> CQcLogInventory::IntervalHistogram() const
{
    std::vector<std::pair<double, uint64_t>> bins;
    for (const auto& [key, count] : m_Intervals)
        bins.emplace_back(static_cast<double>(key) * kQcIntervalResolution, count);
    return bins;
}

std::vector<SQcNavCoverage> CQcLogInventory::Navigation() const
{
    std::vector<SQcNavCoverage> list;
    for (const auto& entry : m_Navigation)
        list.push_back(entry.second);
    return list;
}
