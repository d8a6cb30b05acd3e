#include "qc/QcAnalysis.h"

#include <algorithm>
#include <cmath>

#include "navstate/Geodesy.h"
#include "qc/QcSignals.h"

namespace
{
uint32_t SatelliteKey(uint32_t system, uint32_t number)
{
    return system << 16 | (number & 0xFFFF);
}

bool Analysed(uint32_t reason)
{
    return reason == eQcWritten || reason == eQcDropNoGoodLock || reason == eQcDropBeforeEphemeris ||
           reason == eQcDropBelowMask || reason == eQcDropDecimated || reason == eQcDropNoColumn;
}

// The first signal of each system.
constexpr uint32_t kFirstSignal[kQcSystemCount] = {eQcGpsL1CA, eQcGloL1, eQcBdsB1, kQcNoSignal};
// The code pairs of the ionosphere-free ranges: the first signal with these, in order of preference.
constexpr uint32_t kRangePartner[kQcSystemCount][2] = {
    {eQcGpsL2, kQcNoSignal}, {eQcGloL2, kQcNoSignal}, {eQcBdsB3, eQcBdsB2}, {kQcNoSignal, kQcNoSignal}};

struct SSatBucket
{
    uint32_t m_uPresent = 0;
    uint32_t m_uExpected = 0;
    uint32_t m_uLossOfLock = 0;
    uint32_t m_uSlips = 0;
    bool m_bTrack = false;
    float m_fElevation = 0.0f;
    float m_fAzimuth = 0.0f;
    float m_afStrength[kQcSlotsPerSatellite] = {};
    uint32_t m_auStrength[kQcSlotsPerSatellite] = {};

    void Merge(const SSatBucket& other)
    {
        m_uPresent += other.m_uPresent;
        m_uExpected += other.m_uExpected;
        m_uLossOfLock += other.m_uLossOfLock;
        m_uSlips += other.m_uSlips;
        if (other.m_bTrack)
        {
            m_bTrack = true;
            m_fElevation = other.m_fElevation;
            m_fAzimuth = other.m_fAzimuth;
        }
        for (uint32_t i = 0; i < kQcSlotsPerSatellite; ++i)
        {
            m_afStrength[i] += other.m_afStrength[i];
            m_auStrength[i] += other.m_auStrength[i];
        }
    }
};
} // namespace

struct SPhaseMemory
{
    bool m_bValid = false;
    double m_dSeconds = 0.0;
    double m_dPhase = 0.0;   // cycles
    double m_dDoppler = 0.0; // Hz
};

struct CQcAnalysis::SSatellite
{
    uint32_t m_uSystem = 0;
    uint32_t m_uNumber = 0;
    bool m_abSeries[kQcSignalCount] = {};
    CQcSeriesStats m_aSeries[kQcSignalCount];
    CQcMultipath m_aMultipath[kQcSignalCount];
    uint32_t m_auPartner[kQcSignalCount] = {kQcNoSignal, kQcNoSignal, kQcNoSignal, kQcNoSignal,
                                            kQcNoSignal, kQcNoSignal, kQcNoSignal, kQcNoSignal};
    double m_adMultipathLast[kQcSignalCount] = {};
    double m_adMultipathRaw[kQcSignalCount] = {};    // the last value before the offset
    double m_adMultipathOffset[kQcSignalCount] = {}; // clock jumps taken off in the present arc
    SPhaseMemory m_aPhaseMemory[kQcSignalCount];     // each carrier's phase and Doppler at its last epoch
    CQcSlipDetector m_Slips;
    CQcBucketSeries<SSatBucket> m_Timeline;
    const SQcObservation* m_apEpoch[kQcSignalCount] = {};
    bool m_bTouched = false;
    bool m_bEphemeris = false; // an ephemeris of it arrived
    bool m_bSky = false;       // the last sky computation placed it
    double m_dSkyElevation = 0.0;
    double m_dSkyAzimuth = 0.0;
};

void CQcAnalysis::SEpochBucket::Merge(const SEpochBucket& other)
{
    m_uEpochs += other.m_uEpochs;
    for (uint32_t s = 0; s < kQcSystemCount; ++s)
        m_auSatellites[s] += other.m_auSatellites[s];
    m_uMin = std::min(m_uMin, other.m_uMin);
    m_uMax = std::max(m_uMax, other.m_uMax);
}

CQcAnalysis::CQcAnalysis(const SQcOptions& options, CQcSatelliteGeometry* geometry)
    : m_Options(options), m_pGeometry(geometry),
      m_dMask(options.m_bElevationMask ? options.m_dElevationMask : kQcDefaultCompletenessMask)
{
    if (options.m_bHaveLocation)
    {
        GeodeticToEcef(options.m_adLocation, m_adSite);
        m_bHaveSite = true;
        m_uSiteSource = eQcPositionGiven;
    }
}

CQcAnalysis::~CQcAnalysis() = default;

CQcAnalysis::SSatellite& CQcAnalysis::SatelliteOf(uint32_t system, uint32_t number)
{
    const uint32_t key = SatelliteKey(system, number);
    auto found = m_SatelliteIndex.find(key);
    if (found != m_SatelliteIndex.end())
        return *m_aSatellites[found->second];
    m_SatelliteIndex[key] = m_aSatellites.size();
    m_aSatellites.push_back(std::make_unique<SSatellite>());
    SSatellite& sat = *m_aSatellites.back();
    sat.m_uSystem = system;
    sat.m_uNumber = number;
    return sat;
}

void CQcAnalysis::NoteFrame(const SQcFrame& frame)
{
    m_Inventory.NoteFrame(frame);
}

void CQcAnalysis::NoteDamage(uint64_t offset, uint64_t length)
{
    m_Inventory.NoteDamage(offset, length);
}

void CQcAnalysis::NoteEphemeris(const SQcEphemerisArrival& arrival)
{
    m_Inventory.NoteEphemeris(arrival);
    if (arrival.m_uSystem < eQcSbas)
        SatelliteOf(arrival.m_uSystem, arrival.m_uNumber).m_bEphemeris = true;
}

void CQcAnalysis::NotePositionSentence(const SQcPositionSentence& sentence)
{
    if (m_bHaveSite || sentence.m_uQuality == 0)
        return;
    const double llh[3] = {sentence.m_dLatitude, sentence.m_dLongitude, sentence.m_dHeight};
    if (!(std::fabs(llh[0]) <= 90.0) || !(std::fabs(llh[1]) <= 180.0) || !std::isfinite(llh[2]))
        return;
    GeodeticToEcef(llh, m_adSite);
    m_bHaveSite = true;
    m_uSiteSource = eQcPositionSentence;
}

void CQcAnalysis::NoteFileCount(uint32_t system, uint32_t number, uint32_t signal, uint64_t count)
{
    m_Drops.NoteFileCount(system, number, signal, count);
}

void CQcAnalysis::BeginEpoch(const GpsTime& time)
{
    if (m_bInEpoch)
        EndEpoch();
    m_bInEpoch = true;
    m_dEpoch = QcSeconds(time);
    m_aEpoch.clear();
}

void CQcAnalysis::AddObservation(const SQcObservation& obs)
{
    m_Drops.NoteObservation(obs.m_uSystem, obs.m_uNumber, obs.m_uSignal, obs.m_uDrop);
    if (!m_bInEpoch || !Analysed(obs.m_uDrop) || obs.m_uSignal >= kQcSignalCount ||
        kQcSignals[obs.m_uSignal].m_uSystem != obs.m_uSystem)
        return;
    m_aEpoch.push_back(obs);
    if (obs.m_uDrop == eQcDropNoGoodLock)
        m_aEpoch.back().m_bLossOfLock = true;
}

bool CQcAnalysis::ReferencePosition(double xyz[3]) const
{
    const double* from = m_bHaveSite ? m_adSite : m_bHaveSeed ? m_adSeed : nullptr;
    if (from == nullptr)
        return false;
    xyz[0] = from[0];
    xyz[1] = from[1];
    xyz[2] = from[2];
    return true;
}

void CQcAnalysis::UpdateSky(double seconds)
{
    double site[3];
    if (m_pGeometry == nullptr || !ReferencePosition(site))
        return;
    if (m_bSkyDone && seconds >= m_dLastSky && seconds - m_dLastSky < kQcSkyStepSeconds)
        return;
    m_bSkyDone = true;
    m_dLastSky = seconds;
    const GpsTime time = QcGpsTime(seconds);
    for (auto& pointer : m_aSatellites)
    {
        SSatellite& sat = *pointer;
        sat.m_bSky = false;
        if (!sat.m_bEphemeris)
            continue;
        double xyz[3];
        double clock = 0.0;
        if (!m_pGeometry->SatelliteAt(sat.m_uSystem, sat.m_uNumber, time, xyz, clock))
            continue;
        ElevationAzimuth(site, xyz, sat.m_dSkyElevation, sat.m_dSkyAzimuth);
        sat.m_bSky = true;
    }
}

void CQcAnalysis::EndEpoch()
{
    if (!m_bInEpoch)
        return;
    m_bInEpoch = false;
    const double t = m_dEpoch;
    m_Inventory.NoteEpoch(t);
    const double interval = m_Inventory.Interval();
    const size_t bucket = m_Axis.BucketOf(t);
    SEpochBucket& epochBucket = m_EpochBuckets.At(m_Axis, bucket);
    ++epochBucket.m_uEpochs;

    m_aTouched.clear();
    for (const SQcObservation& obs : m_aEpoch)
    {
        SSatellite& sat = SatelliteOf(obs.m_uSystem, obs.m_uNumber);
        if (!sat.m_bTouched)
        {
            sat.m_bTouched = true;
            m_aTouched.push_back(&sat);
        }
        sat.m_apEpoch[obs.m_uSignal] = &obs;
    }
    UpdateSky(t);

    // The receiver clock first: at a jump, no slip is looked for.
    m_ClockJumps.BeginEpoch(t, interval);
    for (SSatellite* sat : m_aTouched)
    {
        const uint32_t first = kFirstSignal[sat->m_uSystem];
        const SQcObservation* obs = first < kQcSignalCount ? sat->m_apEpoch[first] : nullptr;
        if (obs != nullptr && obs->m_bHaveCode && obs->m_bHaveDoppler && obs->m_dWavelength > 0.0)
            m_ClockJumps.AddSatellite(SatelliteKey(sat->m_uSystem, sat->m_uNumber), obs->m_dCode, obs->m_dDoppler,
                                      obs->m_dWavelength);
    }
    SQcClockJump jump;
    const bool clockJump = m_ClockJumps.EndEpoch(jump);
    if (clockJump)
    {
        ++m_uClockJumpCount;
        if (m_aFirstClockJumps.size() < kQcEventsKept)
            m_aFirstClockJumps.push_back(jump);
    }

    uint32_t perSystem[kQcSystemCount] = {};
    for (SSatellite* sat : m_aTouched)
    {
        ProcessSatellite(*sat, t, interval, bucket, clockJump ? jump.m_iMilliseconds : 0);
        ++perSystem[sat->m_uSystem];
    }
    uint32_t total = 0;
    for (uint32_t s = 0; s < kQcSystemCount; ++s)
    {
        epochBucket.m_auSatellites[s] += perSystem[s];
        total += perSystem[s];
    }
    epochBucket.m_uMin = std::min(epochBucket.m_uMin, total);
    epochBucket.m_uMax = std::max(epochBucket.m_uMax, total);

    // Completeness: every satellite the sky places above the mask was expected.
    for (auto& pointer : m_aSatellites)
    {
        SSatellite& sat = *pointer;
        if (!sat.m_bSky || sat.m_dSkyElevation < m_dMask)
            continue;
        const uint32_t first = kFirstSignal[sat.m_uSystem];
        const bool present = sat.m_bTouched && first < kQcSignalCount && sat.m_apEpoch[first] != nullptr;
        ++m_uExpected;
        m_uPresent += present ? 1 : 0;
        for (uint32_t s = 0; s < kQcSignalCount; ++s)
        {
            if (sat.m_abSeries[s])
                sat.m_aSeries[s].NoteExpected(sat.m_bTouched && sat.m_apEpoch[s] != nullptr);
        }
        ++sat.m_Timeline.At(m_Axis, bucket).m_uExpected;
    }

    TryFix(t);

    for (SSatellite* sat : m_aTouched)
    {
        sat->m_bTouched = false;
        std::fill(std::begin(sat->m_apEpoch), std::end(sat->m_apEpoch), nullptr);
    }
    m_aTouched.clear();
    m_aEpoch.clear();
}

bool CQcAnalysis::PhaseStep(const SSatellite& sat, uint32_t signal, double t, double& metres) const
{
    const SPhaseMemory& last = sat.m_aPhaseMemory[signal];
    const SQcObservation* obs = sat.m_apEpoch[signal];
    if (!last.m_bValid || obs == nullptr || !obs->m_bHavePhase || !obs->m_bHaveDoppler || !(t > last.m_dSeconds))
        return false;
    // The phase falls by the Doppler (the sign of the observation file); what is left is the step.
    const double predicted = -0.5 * (last.m_dDoppler + obs->m_dDoppler) * (t - last.m_dSeconds);
    const double units = std::round((obs->m_dPhase - last.m_dPhase - predicted) / kQcPhaseStepCycles);
    metres = units * kQcPhaseStepCycles * obs->m_dWavelength;
    return true;
}

void CQcAnalysis::ProcessSatellite(SSatellite& sat, double t, double interval, size_t bucket, int64_t clockJumpMs)
{
    const bool clockJump = clockJumpMs != 0;
    bool haveAngles = false;
    double elevation = 0.0;
    double azimuth = 0.0;
    for (const SQcObservation* obs : sat.m_apEpoch)
    {
        if (obs != nullptr && obs->m_bHaveAngles)
        {
            haveAngles = true;
            elevation = obs->m_dElevation;
            azimuth = obs->m_dAzimuth;
            break;
        }
    }
    if (!haveAngles && sat.m_bSky)
    {
        haveAngles = true;
        elevation = sat.m_dSkyElevation;
        azimuth = sat.m_dSkyAzimuth;
    }
    m_Inventory.NoteSatelliteEpoch(sat.m_uSystem, sat.m_uNumber, t);

    SQcCarrier carriers[kQcSignalCount];
    bool newArc[kQcSignalCount] = {};
    bool anyLossOfLock = false;
    for (uint32_t s = 0; s < kQcSignalCount; ++s)
    {
        const SQcObservation* obs = sat.m_apEpoch[s];
        if (obs == nullptr)
            continue;
        sat.m_abSeries[s] = true;
        newArc[s] = sat.m_aSeries[s].AddObservation(t, interval, *obs, haveAngles, elevation);
        SQcCarrier& c = carriers[s];
        c.m_bCode = obs->m_bHaveCode;
        c.m_dCode = obs->m_dCode;
        c.m_bPhase = obs->m_bHavePhase && obs->m_dWavelength > 0.0;
        c.m_dPhase = obs->m_dPhase * obs->m_dWavelength;
        c.m_dFrequency = obs->m_dWavelength > 0.0 ? kQcSpeedOfLight / obs->m_dWavelength : 0.0;
        c.m_bRestart = newArc[s] || obs->m_bLossOfLock;
        anyLossOfLock = anyLossOfLock || obs->m_bLossOfLock;
    }

    uint32_t tests = 0;
    const uint32_t slips = sat.m_Slips.TestEpoch(sat.m_uSystem, t, interval, carriers, clockJump, tests);
    if (slips != 0)
    {
        ++m_uSlipEvents;
        if (m_aFirstSlips.size() < kQcEventsKept)
            m_aFirstSlips.push_back(SQcSlipEvent{t, sat.m_uSystem, sat.m_uNumber, slips, tests});
        for (uint32_t s = 0; s < kQcSignalCount; ++s)
        {
            if ((slips >> s & 1) != 0 && sat.m_abSeries[s])
                sat.m_aSeries[s].NoteSlip();
        }
    }
    ++m_uObservations;
    if (slips != 0 || anyLossOfLock)
        ++m_uSlipEpochs;

    // Code multipath of every code whose carrier and a partner carrier have phase.
    for (uint32_t s = 0; s < kQcSignalCount; ++s)
    {
        const SQcObservation* obs = sat.m_apEpoch[s];
        if (obs == nullptr || !obs->m_bHaveCode)
            continue;
        const SQcSignalInfo& info = kQcSignals[s];
        const uint32_t i = info.m_uPhaseSignal;
        if (!carriers[i].m_bPhase)
            continue;
        uint32_t j = kQcNoSignal;
        for (uint32_t partner : info.m_auPartner)
        {
            if (partner != kQcNoSignal && carriers[partner].m_bPhase)
            {
                j = partner;
                break;
            }
        }
        if (j == kQcNoSignal)
            continue;
        CQcMultipath& mp = sat.m_aMultipath[s];
        const uint32_t touched = 1u << s | 1u << i | 1u << j;
        const bool gap = interval > 0.0 && t - sat.m_adMultipathLast[s] > kQcGapIntervals * interval;
        const bool broken = newArc[s] || carriers[i].m_bRestart || carriers[j].m_bRestart || (slips & touched) != 0 ||
                            j != sat.m_auPartner[s] || gap;
        const double ratio = info.m_dFrequency / kQcSignals[j].m_dFrequency;
        const double raw = MultipathValue(obs->m_dCode, carriers[i].m_dPhase, carriers[j].m_dPhase, ratio);
        if (broken)
        {
            mp.BreakArc();
            sat.m_adMultipathOffset[s] = 0.0;
        }
        else if (clockJump)
        {
            // The combination steps by the code's jump less the phases' whole 8192-cycle steps, each
            // told from the phase's change against its Doppler; without a Doppler the arc ends.
            double stepI = 0.0;
            double stepJ = 0.0;
            if (PhaseStep(sat, i, t, stepI) && PhaseStep(sat, j, t, stepJ))
            {
                const double alpha = ratio * ratio;
                const double k = 2.0 / (alpha - 1.0);
                sat.m_adMultipathOffset[s] += static_cast<double>(clockJumpMs) * kQcMillisecondMetres -
                                              (1.0 + k) * stepI + k * stepJ;
            }
            else
            {
                mp.BreakArc();
                sat.m_adMultipathOffset[s] = 0.0;
            }
        }
        mp.AddValue(raw - sat.m_adMultipathOffset[s], haveAngles, elevation);
        sat.m_adMultipathRaw[s] = raw;
        sat.m_adMultipathLast[s] = t;
        sat.m_auPartner[s] = j;
    }

    for (uint32_t s = 0; s < kQcSignalCount; ++s)
    {
        const SQcObservation* obs = sat.m_apEpoch[s];
        SPhaseMemory& memory = sat.m_aPhaseMemory[s];
        memory.m_bValid = obs != nullptr && obs->m_bHavePhase && obs->m_bHaveDoppler && obs->m_dWavelength > 0.0;
        if (!memory.m_bValid)
            continue;
        memory.m_dSeconds = t;
        memory.m_dPhase = obs->m_dPhase;
        memory.m_dDoppler = obs->m_dDoppler;
    }

    SSatBucket& cell = sat.m_Timeline.At(m_Axis, bucket);
    const uint32_t first = kFirstSignal[sat.m_uSystem];
    if (first < kQcSignalCount && sat.m_apEpoch[first] != nullptr)
        ++cell.m_uPresent;
    cell.m_uLossOfLock += anyLossOfLock ? 1 : 0;
    cell.m_uSlips += slips != 0 ? 1 : 0;
    if (haveAngles)
    {
        cell.m_bTrack = true;
        cell.m_fElevation = static_cast<float>(elevation);
        cell.m_fAzimuth = static_cast<float>(azimuth);
    }
    for (uint32_t s = 0; s < kQcSignalCount; ++s)
    {
        const SQcObservation* obs = sat.m_apEpoch[s];
        if (obs != nullptr && obs->m_bHaveStrength)
        {
            const uint32_t slot = kQcSignals[s].m_uSlot;
            cell.m_afStrength[slot] += static_cast<float>(obs->m_dStrength);
            ++cell.m_auStrength[slot];
        }
    }
}

void CQcAnalysis::TryFix(double t)
{
    if (m_pGeometry == nullptr || !m_Fixes.Due(t) || m_aTouched.empty())
        return;
    m_Fixes.NoteTried(t);
    std::vector<SQcRange> ranges;
    for (const SSatellite* sat : m_aTouched)
    {
        if (sat->m_uSystem >= eQcSbas)
            continue;
        const SQcObservation* first = sat->m_apEpoch[kFirstSignal[sat->m_uSystem]];
        if (first == nullptr || !first->m_bHaveCode)
            continue;
        SQcRange range;
        range.m_uSystem = sat->m_uSystem;
        range.m_uNumber = sat->m_uNumber;
        range.m_dCode = first->m_dCode;
        for (uint32_t partner : kRangePartner[sat->m_uSystem])
        {
            const SQcObservation* other = partner < kQcSignalCount ? sat->m_apEpoch[partner] : nullptr;
            if (other != nullptr && other->m_bHaveCode)
            {
                const double ratio = kQcSignals[first->m_uSignal].m_dFrequency / kQcSignals[partner].m_dFrequency;
                range.m_dCode = IonosphereFreeCode(first->m_dCode, other->m_dCode, ratio);
                range.m_bIonosphereFree = true;
                break;
            }
        }
        ranges.push_back(range);
    }
    double seed[3];
    const bool haveSeed = ReferencePosition(seed);
    SQcFix fix;
    if (!SolveFix(*m_pGeometry, t, ranges, haveSeed ? seed : nullptr, fix))
        return;
    m_Fixes.AddFix(fix);
    m_bHaveSeed = true;
    std::copy(std::begin(fix.m_adXyz), std::end(fix.m_adXyz), m_adSeed);
}

void CQcAnalysis::BuildReport(SQcReport& report)
{
    if (m_bInEpoch)
        EndEpoch();
    report = SQcReport{};
    report.m_Options = m_Options;

    // Inventory.
    report.m_aFrames = m_Inventory.Frames();
    report.m_uUnknownFrames = m_Inventory.UnknownFrames();
    report.m_uFrameBytes = m_Inventory.FrameBytes();
    report.m_uLogBytes = m_Inventory.LogBytes();
    report.m_uDamagedBytes = m_Inventory.DamagedBytes();
    report.m_uDamagedSpans = m_Inventory.DamagedSpans();
    report.m_aFirstDamage = m_Inventory.FirstDamage();
    report.m_uEpochs = m_Inventory.Epochs();
    report.m_aIntervals = m_Inventory.IntervalHistogram();
    report.m_uOtherIntervals = m_Inventory.OtherIntervals();
    report.m_uBackwardSteps = m_Inventory.BackwardSteps();
    report.m_uForwardJumps = m_Inventory.ForwardJumps();
    report.m_aFirstBackward = m_Inventory.FirstBackward();
    report.m_aFirstForward = m_Inventory.FirstForward();
    report.m_aNavigation = m_Inventory.Navigation();

    report.m_aDrops = m_Drops.Rows();
    report.m_DropTotals = m_Drops.Totals();
    report.m_bDropsAddUp = m_Drops.AddsUp();
    report.m_uDropRowsChecked = m_Drops.CheckedRows();

    // Rows, in the order of system and number.
    std::vector<const SSatellite*> ordered;
    for (const auto& pointer : m_aSatellites)
        ordered.push_back(pointer.get());
    std::sort(ordered.begin(), ordered.end(), [](const SSatellite* a, const SSatellite* b) {
        return SatelliteKey(a->m_uSystem, a->m_uNumber) < SatelliteKey(b->m_uSystem, b->m_uNumber);
    });
    double mpSquares[2] = {0.0, 0.0};
    uint64_t mpPoints[2] = {0, 0};
    for (const SSatellite* sat : ordered)
    {
        for (uint32_t s = 0; s < kQcSignalCount; ++s)
        {
            if (!sat->m_abSeries[s])
                continue;
            SQcSignalRow row;
            row.m_uSystem = sat->m_uSystem;
            row.m_uNumber = sat->m_uNumber;
            row.m_uSignal = s;
            row.m_Counts = sat->m_aSeries[s].Counts();
            row.m_dMeanStrength = sat->m_aSeries[s].MeanStrength();
            for (uint32_t b = 0; b < kQcElevationBins; ++b)
            {
                if (row.m_Counts.m_auBinStrengthCount[b] > 0)
                    row.m_adBinStrength[b] =
                        row.m_Counts.m_adBinStrengthSum[b] / static_cast<double>(row.m_Counts.m_auBinStrengthCount[b]);
            }
            const CQcMultipath& mp = sat->m_aMultipath[s];
            row.m_uMultipathPoints = mp.Points();
            if (row.m_uMultipathPoints > 0)
            {
                row.m_bHaveMultipath = true;
                row.m_uMultipathPartner = sat->m_auPartner[s];
                row.m_dMultipathRms = mp.Rms();
                CQcMultipath closed = mp;
                closed.BreakArc();
                row.m_uMultipathArcs = closed.Arcs();
                for (uint32_t b = 0; b < kQcElevationBins; ++b)
                {
                    row.m_adBinMultipath[b] = mp.BinRms(b);
                    row.m_auBinMultipathPoints[b] = mp.BinPoints(b);
                }
                if (s == eQcGpsL1CA || s == eQcGpsL2)
                {
                    const int which = s == eQcGpsL1CA ? 0 : 1;
                    mpSquares[which] += row.m_dMultipathRms * row.m_dMultipathRms * row.m_uMultipathPoints;
                    mpPoints[which] += row.m_uMultipathPoints;
                }
            }
            if (row.m_Counts.m_uExpected > 0)
            {
                row.m_bHaveCompleteness = true;
                row.m_dCompleteness =
                    100.0 * static_cast<double>(row.m_Counts.m_uPresent) / static_cast<double>(row.m_Counts.m_uExpected);
            }
            report.m_aRows.push_back(row);
        }
    }
    report.m_uSlipEvents = m_uSlipEvents;
    report.m_aFirstSlips = m_aFirstSlips;
    report.m_uClockJumps = m_uClockJumpCount;
    report.m_aFirstClockJumps = m_aFirstClockJumps;

    // Summary.
    SQcSummary& sum = report.m_Summary;
    sum.m_dFirst = m_Inventory.FirstEpoch();
    sum.m_dLast = m_Inventory.LastEpoch();
    sum.m_dHours = (sum.m_dLast - sum.m_dFirst) / 3600.0;
    sum.m_dInterval = m_Inventory.Interval();
    sum.m_uExpected = m_uExpected;
    sum.m_uPresent = m_uPresent;
    sum.m_bHaveCompleteness = m_uExpected > 0;
    sum.m_dCompleteness = m_uExpected > 0 ? 100.0 * static_cast<double>(m_uPresent) / static_cast<double>(m_uExpected) : 0.0;
    sum.m_bHaveMp1 = mpPoints[0] > 0;
    sum.m_dMp1 = mpPoints[0] > 0 ? std::sqrt(mpSquares[0] / static_cast<double>(mpPoints[0])) : 0.0;
    sum.m_bHaveMp2 = mpPoints[1] > 0;
    sum.m_dMp2 = mpPoints[1] > 0 ? std::sqrt(mpSquares[1] / static_cast<double>(mpPoints[1])) : 0.0;
    sum.m_uObservations = m_uObservations;
    sum.m_uSlips = m_uSlipEpochs;
    sum.m_dMask = m_dMask;

    // Position.
    SQcPosition& pos = report.m_Position;
    pos.m_uSource = m_uSiteSource;
    if (m_uSiteSource != eQcPositionNone)
    {
        std::copy(std::begin(m_adSite), std::end(m_adSite), pos.m_adSiteXyz);
        EcefToGeodetic(m_adSite, pos.m_adSiteLlh);
    }
    pos.m_uFixes = m_Fixes.Count();
    pos.m_uTried = m_Fixes.Tried();
    pos.m_dFixStep = m_Fixes.Step();
    if (m_Fixes.Median(pos.m_adMedianXyz))
    {
        pos.m_bHaveFixes = true;
        EcefToGeodetic(pos.m_adMedianXyz, pos.m_adMedianLlh);
        m_Fixes.Spread(pos.m_adMedianXyz, pos.m_adSpreadNeu);
        if (m_uSiteSource != eQcPositionNone)
        {
            pos.m_bHaveDistance = true;
            double d[3];
            for (int a = 0; a < 3; ++a)
                d[a] = pos.m_adMedianXyz[a] - m_adSite[a];
            pos.m_dDistance = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
            double matrix[9];
            EcefToNeuMatrix(m_adSite, matrix);
            RotateVector(d, matrix, pos.m_adOffsetNeu);
        }
    }

    // Plots.
    report.m_dAxisStart = m_Axis.StartSeconds();
    report.m_dAxisWidth = m_Axis.Width();
    report.m_uAxisBuckets = static_cast<uint32_t>(m_Axis.Used());
    const std::vector<SEpochBucket>& epochs = m_EpochBuckets.Buckets(m_Axis);
    for (size_t b = 0; b < m_Axis.Used() && b < epochs.size(); ++b)
    {
        const SEpochBucket& e = epochs[b];
        report.m_auEpochsPerBucket.push_back(e.m_uEpochs);
        if (e.m_uEpochs == 0)
            continue;
        SQcCountPoint point;
        point.m_dSeconds = m_Axis.StartSeconds() + static_cast<double>(b) * m_Axis.Width();
        for (uint32_t s = 0; s < kQcSystemCount; ++s)
            point.m_adMean[s] = static_cast<double>(e.m_auSatellites[s]) / e.m_uEpochs;
        point.m_uMin = e.m_uMin;
        point.m_uMax = e.m_uMax;
        report.m_aSatelliteCounts.push_back(point);
    }
    for (const SSatellite* sat : ordered)
    {
        SSatellite& s = const_cast<SSatellite&>(*sat);
        const std::vector<SSatBucket>& cells = s.m_Timeline.Buckets(m_Axis);
        if (cells.empty())
            continue;
        SQcSatellitePlot plot;
        plot.m_uSystem = s.m_uSystem;
        plot.m_uNumber = s.m_uNumber;
        for (size_t b = 0; b < m_Axis.Used() && b < cells.size(); ++b)
        {
            const SSatBucket& c = cells[b];
            if (c.m_uPresent > 0 || c.m_uExpected > 0 || c.m_uLossOfLock > 0 || c.m_uSlips > 0)
                plot.m_aCells.push_back(SQcTimelineCell{static_cast<uint32_t>(b), c.m_uPresent, c.m_uExpected,
                                                        c.m_uLossOfLock, c.m_uSlips});
            if (c.m_bTrack)
            {
                SQcTrackPoint point;
                point.m_dSeconds = m_Axis.StartSeconds() + (static_cast<double>(b) + 0.5) * m_Axis.Width();
                point.m_dElevation = c.m_fElevation;
                point.m_dAzimuth = c.m_fAzimuth;
                for (uint32_t k = 0; k < kQcSlotsPerSatellite; ++k)
                    point.m_adStrength[k] = c.m_auStrength[k] > 0 ? c.m_afStrength[k] / c.m_auStrength[k] : 0.0;
                plot.m_aTrack.push_back(point);
            }
        }
        if (!plot.m_aCells.empty() || !plot.m_aTrack.empty())
            report.m_aSatellites.push_back(plot);
    }
}
