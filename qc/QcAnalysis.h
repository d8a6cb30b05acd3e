#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "qc/ClockJumps.h"
#include "qc/DropTable.h"
#include "qc/LogInventory.h"
#include "qc/Multipath.h"
#include "qc/PointPosition.h"
#include "qc/QcInput.h"
#include "qc/QcReport.h"
#include "qc/SeriesStats.h"
#include "qc/SlipDetector.h"
#include "qc/TimeAxis.h"

// The quality report's single pass. The log reader calls, in the order of
// the log:
//   NoteFrame / NoteDamage             for every frame and damaged span,
//   NoteEphemeris                      when a broadcast ephemeris arrives,
//   NotePositionSentence               for a position sentence,
//   BeginEpoch, AddObservation..., EndEpoch   for every epoch, one
//                                      AddObservation per satellite and signal,
//   AddObservation outside an epoch    for observations that never join one
//                                      (their reason says why),
//   NoteFileCount                      (optional) what the file received per row,
// and BuildReport at the end. Observations the conversion dropped as SBAS,
// beyond the tables, of another time or of the other GPS message are only
// counted; all others are analysed, written or not.
//
// Memory stays bounded whatever the log's length: state per satellite and
// signal, plot series on the shared time axis, fixes at a reduced rate.

// Elevations and azimuths of every satellite with an ephemeris are computed
// once per this step, for completeness and for satellites whose observations
// come without angles.
constexpr double kQcSkyStepSeconds = 30.0;
// The decoder places a carrier phase next to its code in units of this many
// cycles (the modulus of the phase fragment), so at a clock jump the phase steps by whole units.
constexpr double kQcPhaseStepCycles = 8192.0;

class CQcAnalysis
{
public:
    // `geometry` may be null: then there is no completeness, no computed
    // elevation and no single-point position.
    explicit CQcAnalysis(const SQcOptions& options, CQcSatelliteGeometry* geometry = nullptr);
    ~CQcAnalysis();
    CQcAnalysis(const CQcAnalysis&) = delete;
    CQcAnalysis& operator=(const CQcAnalysis&) = delete;

    void NoteFrame(const SQcFrame& frame);
    void NoteDamage(uint64_t offset, uint64_t length);
    void NoteEphemeris(const SQcEphemerisArrival& arrival);
    void NotePositionSentence(const SQcPositionSentence& sentence);

    void BeginEpoch(const GpsTime& time);
    void AddObservation(const SQcObservation& obs);
    void EndEpoch();

    void NoteFileCount(uint32_t system, uint32_t number, uint32_t signal, uint64_t count);

    // Everything found so far; an open epoch is ended first.
    void BuildReport(SQcReport& report);

private:
    struct SSatellite;
    struct SEpochBucket
    {
        uint32_t m_uEpochs = 0;
        uint32_t m_auSatellites[kQcSystemCount] = {};
        uint32_t m_uMin = 0xFFFFFFFFu;
        uint32_t m_uMax = 0;
        void Merge(const SEpochBucket& other);
    };

    SSatellite& SatelliteOf(uint32_t system, uint32_t number);
    void UpdateSky(double seconds);
    // `clockJumpMs`: the receiver clock's jump at this epoch, 0 for none.
    void ProcessSatellite(SSatellite& sat, double seconds, double interval, size_t bucket, int64_t clockJumpMs);
    // The step (metres) of a carrier's phase at a clock jump: its change against the Doppler,
    // in whole 8192-cycle units. False without the phase and Doppler of both epochs.
    bool PhaseStep(const SSatellite& sat, uint32_t signal, double seconds, double& metres) const;
    void TryFix(double seconds);
    bool ReferencePosition(double xyz[3]) const;

    SQcOptions m_Options;
    CQcSatelliteGeometry* m_pGeometry;
    double m_dMask;

    CQcLogInventory m_Inventory;
    CQcDropTable m_Drops;
    CQcClockJumps m_ClockJumps;
    CQcFixes m_Fixes;
    CQcTimeAxis m_Axis;
    CQcBucketSeries<SEpochBucket> m_EpochBuckets;

    std::map<uint32_t, size_t> m_SatelliteIndex;
    std::vector<std::unique_ptr<SSatellite>> m_aSatellites;

    std::vector<SSatellite*> m_aTouched; // satellites of the open epoch; capacity reused
    bool m_bInEpoch = false;
    double m_dEpoch = 0.0;
    std::vector<SQcObservation> m_aEpoch; // the open epoch's observations; its capacity is reused

    // Where the site is: -L, else the first position sentence, else the first fix.
    uint32_t m_uSiteSource = eQcPositionNone;
    bool m_bHaveSite = false;
    double m_adSite[3] = {};
    bool m_bHaveSeed = false;
    double m_adSeed[3] = {};
    bool m_bSkyDone = false;
    double m_dLastSky = 0.0;

    uint64_t m_uSlipEvents = 0;
    std::vector<SQcSlipEvent> m_aFirstSlips;
    uint64_t m_uClockJumpCount = 0;
    std::vector<SQcClockJump> m_aFirstClockJumps;
    uint64_t m_uObservations = 0;  // satellite epochs
    uint64_t m_uSlipEpochs = 0;    // satellite epochs with a slip or a loss-of-lock mark
    uint64_t m_uExpected = 0;
    uint64_t m_uPresent = 0;
};
