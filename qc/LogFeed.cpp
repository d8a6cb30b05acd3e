#include "qc/LogFeed.h"

#include "navstate/BeidouCarriers.h"
#include "navstate/GlonassFrequencies.h"
#include "obsconv/Bin36Decoder.h"
#include "obsconv/Bin66Decoder.h"
#include "obsconv/Bin76Decoder.h"
#include "obsconv/Bin96Decoder.h"
#include "qc/QcSignals.h"

namespace
{
// The report's strength is carrier to noise density: the messages' signal
// to noise is taken in a 1 kHz band.
constexpr double kDbHzOverSnr = 30.0;

constexpr double kGpsL1Wavelength = kQcSpeedOfLight / 1575.42e6;
constexpr double kGpsL2Wavelength = kQcSpeedOfLight / 1227.6e6;

uint32_t QcSystem(ESystem system, uint32_t number)
{
    switch (system)
    {
    case eSystemGlonass:
        return eQcGlonass;
    case eSystemBeidou:
        return eQcBeidou;
    default:
        return number > kLastGpsNumber ? eQcSbas : eQcGps;
    }
}

uint32_t QcSignal(ESystem system, uint32_t signal, uint32_t band)
{
    if (system == eSystemBeidou)
        return eQcBdsB1 + band;
    if (system == eSystemGlonass)
        return signal == kSignalGloL2 ? eQcGloL2 : eQcGloL1;
    return signal == kSignalGpsL2 ? eQcGpsL2 : signal == kSignalGpsL1P ? eQcGpsL1P : eQcGpsL1CA;
}

uint32_t DropOf(EObsFate fate)
{
    switch (fate)
    {
    case eFateRateGate:
        return eQcDropDecimated;
    case eFateNoEphemeris:
        return eQcDropBeforeEphemeris;
    case eFateBelowMask:
        return eQcDropBelowMask;
    case eFateNoRow:
        return eQcDropBeyondTables;
    default:
        return eQcWritten;
    }
}
} // namespace

CQcLogFeed::CQcLogFeed(const CLogTime& logTime, CNavigation& navigation, CQcAnalysis& analysis)
    : m_LogTime(logTime), m_Navigation(navigation), m_Analysis(analysis)
{
    for (auto& system : m_auIssue)
        for (uint32_t& issue : system)
            issue = kNoIssue;
}

SQcObservation CQcLogFeed::Observation(const SObsSlot& slot, ESystem system, uint32_t band, uint32_t number) const
{
    SQcObservation obs;
    obs.m_uSystem = QcSystem(system, number);
    obs.m_uNumber = number;
    obs.m_uSignal = QcSignal(system, slot.m_uSignal, band);
    obs.m_bHaveCode = slot.m_dPseudorange != 0.0;
    obs.m_dCode = slot.m_dPseudorange;
    obs.m_bHavePhase = slot.m_dPhase != 0.0 && slot.m_uSignal != kSignalGpsL1P;
    obs.m_dPhase = slot.m_dPhase;
    obs.m_bHaveDoppler = slot.m_uSignal != kSignalGpsL1P;
    obs.m_dDoppler = -slot.m_dDoppler; // the file's sign
    obs.m_bHaveStrength = slot.m_dSnr != 0.0;
    obs.m_dStrength = slot.m_dSnr + kDbHzOverSnr;
    obs.m_bLossOfLock = slot.m_uSlipDelta != 0 || !slot.m_bGoodLock;
    if (system == eSystemGlonass)
    {
        if (number >= 1 && number <= kGlonassSlots)
            obs.m_dWavelength =
                m_Navigation.m_GlonassFrequencies.m_aGlonassWavelength[number - 1][slot.m_uSignal == kSignalGloL2 ? 1 : 0];
    }
    else if (system == eSystemBeidou)
    {
        obs.m_dWavelength = band < kBeidouBands ? kBeidouBandWavelength[band] : 0.0;
    }
    else
    {
        obs.m_dWavelength = slot.m_uSignal == kSignalGpsL2 ? kGpsL2Wavelength : kGpsL1Wavelength;
    }
    return obs;
}

void CQcLogFeed::OnObservation(const SObsSlot& slot, ESystem system, uint32_t band, uint32_t row, EObsFate fate)
{
    // A new epoch's observations: the last epoch's go on first (an epoch that
    // never opened has no end of its own).
    const GpsTime& now = m_LogTime.Now();
    if (!m_aPending.empty() && (now.m_dSeconds != m_timePending.m_dSeconds || now.m_uWeek != m_timePending.m_uWeek))
        HandOn();
    m_timePending = now;
    // Records that came before the log had a time arrive with its first one.
    if (m_bNavBeforeTime && now.m_uWeek != 0)
    {
        m_bNavBeforeTime = false;
        for (uint32_t system = 0; system < kNavSystems; ++system)
            if (m_abNavBeforeTime[system])
            {
                m_abNavBeforeTime[system] = false;
                OnNavigationPass(static_cast<ESystem>(system));
            }
    }

    const uint32_t number = fate == eFateNoRow ? slot.m_uNumberInMessage : slot.m_uPRN;
    SPending pending{Observation(slot, system, band, number), system, slot.m_uSignal, band, row,
                     fate == eFateEntered, slot.m_bGoodLock != 0};
    pending.m_Obs.m_uDrop = DropOf(fate);
    m_aPending.push_back(pending);
}

void CQcLogFeed::OnEpochFinished(const SObsEpoch& epoch, bool handed)
{
    for (SPending& p : m_aPending)
    {
        if (!p.m_bEntered)
            continue;
        uint32_t& drop = p.m_Obs.m_uDrop;
        if (handed && ValueWritten(epoch, p.m_eSystem, p.m_uSignal, p.m_uBand, p.m_uRow))
            drop = eQcWritten;
        else if (p.m_Obs.m_uSystem == eQcSbas)
            drop = eQcDropNeverWritten;
        else if (p.m_uSignal == kSignalGpsL1P && !epoch.m_bSeenL1P)
            drop = eQcDropNoColumn;
        else
            drop = eQcDropNoGoodLock; // its own lock, or its satellite's first signal's
        p.m_bEntered = false;
    }
    // An epoch that -N leaves out is finished again at each of its messages
    // (the assembly still holds the last written epoch's time): its
    // observations go on together when the next epoch begins.
    if (handed)
        HandOn();
}

void CQcLogFeed::HandOn()
{
    if (m_aPending.empty())
        return;
    m_Analysis.BeginEpoch(m_timePending);
    for (const SPending& p : m_aPending)
        m_Analysis.AddObservation(p.m_Obs);
    m_Analysis.EndEpoch();
    m_aPending.clear();
}

void CQcLogFeed::Finish()
{
    HandOn();
}

void CQcLogFeed::OnMessageLeftOut(const uint8_t* frame, uint16_t number, EMessageLeftOut reason)
{
    ObsInMessage observations;
    uint32_t count = 0;
    switch (number)
    {
    case 96:
        count = ListBin96Observations(frame, observations);
        break;
    case 76:
        count = ListBin76Observations(frame, observations);
        break;
    case 66:
        count = ListBin66Observations(frame, observations);
        break;
    case 36:
        count = ListBin36Observations(frame, observations);
        break;
    default:
        break;
    }
    for (uint32_t i = 0; i < count; ++i)
    {
        const SObsInMessage& o = observations[i];
        SQcObservation obs;
        obs.m_uSystem = QcSystem(o.m_eSystem, o.m_uNumber);
        obs.m_uNumber = o.m_uNumber;
        obs.m_uSignal = QcSignal(o.m_eSystem, o.m_uSignal, o.m_uBand);
        obs.m_uDrop = reason == eLeftOutOtherGpsMessage ? eQcDropOtherGpsMessage : eQcDropTimeMismatch;
        m_Analysis.AddObservation(obs); // counted only: outside any epoch
    }
}

void CQcLogFeed::OnNavigationPass(ESystem system)
{
    const GpsTime& now = m_LogTime.Now();
    if (now.m_uWeek == 0)
    {
        m_abNavBeforeTime[system] = true;
        m_bNavBeforeTime = true;
        return;
    }
    if (system == eSystemGlonass)
    {
        for (uint32_t slot = 1; slot <= kGlonassSlots; ++slot)
        {
            const SGlonassEphemeris* r = m_Navigation.m_Glonass.GetStructAlways(slot, nullptr);
            if (r == nullptr || r->m_uTb == m_auIssue[eSystemGlonass][slot - 1])
                continue;
            m_auIssue[eSystemGlonass][slot - 1] = r->m_uTb;
            m_Analysis.NoteEphemeris(SQcEphemerisArrival{eQcGlonass, slot, now, GpsTime{r->m_uGpsWeek, r->m_dGpsSeconds},
                                                         r->m_uTb});
        }
        return;
    }
    CGpsNavState& table = system == eSystemBeidou ? m_Navigation.m_Beidou : m_Navigation.m_Gps;
    const uint32_t last = system == eSystemBeidou ? kBeidouRows : kLastGpsNumber;
    for (uint32_t number = 1; number <= last; ++number)
    {
        const SGpsEphemeris* r = table.GetStructAlways(number, nullptr);
        uint32_t& issue = m_auIssue[system][number - 1];
        if (r == nullptr || r->m_uIode == issue)
            continue;
        issue = r->m_uIode;
        m_Analysis.NoteEphemeris(SQcEphemerisArrival{system == eSystemBeidou ? eQcBeidou : eQcGps, number, now,
                                                     GpsTime{r->m_uToeWeek, r->m_dToe}, r->m_uIode});
    }
}
