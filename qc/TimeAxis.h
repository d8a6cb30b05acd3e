#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// The time axis that every plotted series of a report shares: a fixed number
// of buckets from the first epoch on. When an epoch falls beyond the last
// bucket, the width doubles and every series merges its buckets in pairs, so
// a series never holds more than kQcAxisBuckets buckets, however long the log.
// A series catches up with the axis the next time it is touched.

constexpr size_t kQcAxisBuckets = 720;         // about a pixel column each on a laptop screen
constexpr double kQcAxisFirstWidth = 30.0;     // seconds; a 6-hour log keeps every 30 s epoch

class CQcTimeAxis
{
public:
    // Starts the axis at the first epoch; later calls change nothing.
    void Start(double seconds);
    // The bucket of `seconds`, doubling the width as often as needed to hold
    // it. Times before the start go to bucket 0.
    size_t BucketOf(double seconds);
    // The bucket `seconds` lies in without changing the axis; false beyond it.
    bool FindBucket(double seconds, size_t& bucket) const;

    bool Started() const { return m_bStarted; }
    double StartSeconds() const { return m_dStart; }
    double Width() const { return m_dWidth; }
    uint32_t Doublings() const { return m_uDoublings; }
    // One past the last bucket that a time fell into.
    size_t Used() const { return m_uUsed; }

private:
    bool m_bStarted = false;
    double m_dStart = 0.0;
    double m_dWidth = kQcAxisFirstWidth;
    uint32_t m_uDoublings = 0;
    size_t m_uUsed = 0;
};

// The buckets of one series on the shared axis. TBucket has Merge(other),
// which adds another bucket's contents to its own.
template <typename TBucket>
class CQcBucketSeries
{
public:
    // The bucket for `bucket` of the axis now; merges as the axis has doubled.
    TBucket& At(const CQcTimeAxis& axis, size_t bucket)
    {
        CatchUp(axis);
        if (m_aBuckets.empty())
            m_aBuckets.resize(kQcAxisBuckets);
        return m_aBuckets[bucket < kQcAxisBuckets ? bucket : kQcAxisBuckets - 1];
    }
    // Merged to the axis's present width; empty when the series was never touched.
    const std::vector<TBucket>& Buckets(const CQcTimeAxis& axis)
    {
        CatchUp(axis);
        return m_aBuckets;
    }

private:
    void CatchUp(const CQcTimeAxis& axis)
    {
        for (; m_uDoublings < axis.Doublings(); ++m_uDoublings)
        {
            if (m_aBuckets.empty())
                continue;
            for (size_t i = 0; i < kQcAxisBuckets / 2; ++i)
            {
                TBucket merged = m_aBuckets[2 * i];
                merged.Merge(m_aBuckets[2 * i + 1]);
                m_aBuckets[i] = merged;
            }
            for (size_t i = kQcAxisBuckets / 2; i < kQcAxisBuckets; ++i)
                m_aBuckets[i] = TBucket{};
        }
    }

    std::vector<TBucket> m_aBuckets;
    uint32_t m_uDoublings = 0;
};
