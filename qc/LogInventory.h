#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "qc/QcInput.h"

// What the log holds, as opposed to what its observations say: frames per
// kind and message number, bytes walked over as damage, the epochs' times
// and intervals, steps back and jumps ahead in time, and the broadcast
// ephemerides per satellite. Lists of single events keep their first
// kQcEventsKept entries and count the rest.

constexpr size_t kQcEventsKept = 20;
constexpr size_t kQcIntervalClasses = 32;     // distinct epoch intervals kept; others count together
constexpr double kQcIntervalResolution = 0.01; // seconds: intervals are classed to this
// An ephemeris older than this at an epoch of its satellite counts as stale:
// GPS 2 h (half its fit interval), GLONASS 30 min, BeiDou 1 h, SBAS 10 min.
constexpr double kQcEphemerisMaxAge[kQcSystemCount] = {7200.0, 1800.0, 3600.0, 600.0};

struct SQcFrameCount
{
    uint32_t m_uKind = 0;
    uint32_t m_uNumber = 0;
    bool m_bKnown = true;
    uint64_t m_uCount = 0;
    uint64_t m_uBytes = 0;
    uint64_t m_uFirstOffset = 0;
};

struct SQcSpan
{
    uint64_t m_uOffset = 0;
    uint64_t m_uLength = 0;
};

// A step of the epochs' time that is not the sampling interval.
struct SQcTimeStep
{
    double m_dSeconds = 0.0; // the epoch after the step
    double m_dStep = 0.0;    // seconds; negative backwards
};

struct SQcNavCoverage
{
    uint32_t m_uSystem = 0;
    uint32_t m_uNumber = 0;
    double m_dFirstArrival = 0.0;   // seconds since the GPS epoch; 0 when none arrived
    uint64_t m_uArrivals = 0;
    uint64_t m_uIssues = 0;         // arrivals that brought a new issue of data
    bool m_bHaveEphemeris = false;
    double m_dToe = 0.0;            // of the latest arrival
    uint32_t m_uIssue = 0;
    double m_dMaxAge = 0.0;         // seconds: the largest |epoch - toe| at an epoch of the satellite
    double m_dLastArrival = 0.0;
    double m_dMaxArrivalGap = 0.0;  // seconds between two arrivals
    uint64_t m_uEpochsWithout = 0;  // epochs of the satellite before its first ephemeris
    uint64_t m_uEpochsStale = 0;    // epochs of the satellite with an ephemeris older than the limit
};

class CQcLogInventory
{
public:
    void NoteFrame(const SQcFrame& frame);
    void NoteDamage(uint64_t offset, uint64_t length);
    // An epoch at `seconds`; answers the epoch step (0 for the first).
    double NoteEpoch(double seconds);
    void NoteEphemeris(const SQcEphemerisArrival& arrival);
    // An epoch in which the satellite was observed.
    void NoteSatelliteEpoch(uint32_t system, uint32_t number, double seconds);

    // The sampling interval: the most frequent epoch step so far (0 before the second epoch).
    double Interval() const;

    std::vector<SQcFrameCount> Frames() const;
    uint64_t UnknownFrames() const { return m_uUnknownFrames; }
    uint64_t FrameBytes() const { return m_uFrameBytes; }
    uint64_t DamagedBytes() const { return m_uDamagedBytes; }
    uint64_t DamagedSpans() const { return m_uDamagedSpans; }
    const std::vector<SQcSpan>& FirstDamage() const { return m_aDamage; }
    uint64_t LogBytes() const { return m_uLogEnd; }

    uint64_t Epochs() const { return m_uEpochs; }
    double FirstEpoch() const { return m_dFirst; }
    double LastEpoch() const { return m_dLast; }
    // Epoch steps by class (seconds, to kQcIntervalResolution) and count;
    // steps of no class kept count in OtherIntervals.
    std::vector<std::pair<double, uint64_t>> IntervalHistogram() const;
    uint64_t OtherIntervals() const { return m_uOtherIntervals; }
    uint64_t BackwardSteps() const { return m_uBackward; }
    uint64_t ForwardJumps() const { return m_uForward; }
    const std::vector<SQcTimeStep>& FirstBackward() const { return m_aBackward; }
    const std::vector<SQcTimeStep>& FirstForward() const { return m_aForward; }
    std::vector<SQcNavCoverage> Navigation() const;

private:
    std::map<uint64_t, SQcFrameCount> m_Frames;
    uint64_t m_uUnknownFrames = 0;
    uint64_t m_uFrameBytes = 0;
    uint64_t m_uDamagedBytes = 0;
    uint64_t m_uDamagedSpans = 0;
    std::vector<SQcSpan> m_aDamage;
    uint64_t m_uLogEnd = 0;

    uint64_t m_uEpochs = 0;
    double m_dFirst = 0.0;
    double m_dLast = 0.0;
    double m_dLatest = 0.0; // the latest epoch time seen, which a step back doesn't lower
    std::map<int64_t, uint64_t> m_Intervals;
    uint64_t m_uOtherIntervals = 0;
    uint64_t m_uBackward = 0;
    uint64_t m_uForward = 0;
    std::vector<SQcTimeStep> m_aBackward;
    std::vector<SQcTimeStep> m_aForward;

    std::map<uint32_t, SQcNavCoverage> m_Navigation;
};
