#include "obsconv/EpochAssembly.h"

#include <algorithm>
#include <cmath>

#include "gnsstime/GpsTime.h"
#include "navstate/NavState.h"

namespace
{
// The rate gate's tolerance for an epoch on the output grid, and for an epoch
// due under a fixed interval: receivers stamp epochs a few ms off the second.
constexpr double kGridTolerance = 0.025;
// In the search for the grid, a gap longer than this makes the next epoch the
// first one written, for logs whose epochs never fall on the grid.
constexpr double kSearchGap = 1.1;

// Elements of m_aRateState.
constexpr uint32_t kRateStep = 0; // last step between epochs
constexpr uint32_t kRateRun = 1;  // length of the present run of equal steps
constexpr uint32_t kRateBest = 2; // longest run so far

// Signal to noise thresholds (a, b, c) of the strength digit, in dB. GPS L1
// C/A, GLONASS L1 and all BeiDou bands use the first set; GPS L2, GPS L1 P
// and GLONASS L2, tracked at a lower signal to noise, the second.
constexpr double kStrengthThresholdsL1[3] = {5.0, 10.0, 20.0};
constexpr double kStrengthThresholdsOther[3] = {-3.0, 10.0, 20.0};

// The table row of a satellite number in `state`; false when it has none
// within the `rows` rows of the epoch table it goes to.
// The table is passed as its own system's class (GLONASS rows follow the GPS
// numbering), so the look-up is resolved when the program is built.
template <class Table>
bool TableRow(Table& state, uint32_t prn, uint32_t rows, uint32_t& row)
{
    if (prn == 0)
        return false; // an empty channel, the most common case: no look-up
    const int32_t index = state.Table::SatIndexFromPRN(static_cast<int32_t>(prn));
    if (index < 0 || index >= static_cast<int32_t>(rows))
        return false;
    row = static_cast<uint32_t>(index);
    return true;
}

// Steps of the strength digit above the base of its band: 4 * (snr - low) /
// (high - low), rounded half up, at most 4.
uint32_t StrengthSteps(double snr, double low, double high)
{
    double steps = std::trunc(4.0 * (snr - low) / (high - low) + 0.5);
    if (!(steps <= 4.0))
        steps = 4.0;
    return static_cast<uint32_t>(steps);
}

// The RINEX signal strength digit, 1 to 9, of a signal to noise value.
uint32_t SignalStrength(double snr, uint32_t signal)
{
    const double(&thresholds)[3] = signal == kSignalL1 ? kStrengthThresholdsL1 : kStrengthThresholdsOther;
    const double a = thresholds[0];
    const double b = thresholds[1];
    const double c = thresholds[2];
    if (snr < a)
        return 1;
    if (snr < b)
        return 1 + StrengthSteps(snr, a, b);
    return 5 + StrengthSteps(snr, b, c);
}
} // namespace

void NoteSlip(SObsEntry& entry, const SObsSlot& slot)
{
    if (slot.m_uSlipDelta != 0 || !slot.m_bGoodLock)
        entry.m_uLli |= 1u;
}

void FillEntry(SObsEntry& entry, const SObsSlot& slot, bool ownRow)
{
    entry.m_dPseudorange = slot.m_dPseudorange;
    entry.m_dPhase = slot.m_dPhase;
    entry.m_dDoppler = -slot.m_dDoppler; // the file's sign is the opposite of the receiver's
    entry.m_uStrength = SignalStrength(slot.m_dSnr, slot.m_uSignal);
    entry.m_uPRN = slot.m_uPRN;
    entry.m_bGood = (slot.m_bGoodLock && ownRow) ? 1 : 0;
    entry.m_bValid = 1;
}

CEpochAssembly::CEpochAssembly(const CLogTime& logTime, CGpsNavState& gps, CBeidouNavState& beidou)
    : m_LogTime(logTime), m_Gps(gps), m_Beidou(beidou)
{
    m_Epoch.m_dInterval = 1.0;
}

void CEpochAssembly::SetRun(double interval, bool fixed, bool outputL1P, IEpochSink* sink)
{
    m_Epoch.m_dInterval = interval;
    m_Epoch.m_bIntervalFixed = fixed ? 1 : 0;
    m_bOutputL1P = outputL1P ? 1 : 0;
    m_pSink = sink;
}

// Opens the pending epoch at its first satellite: the rate gate is asked once per epoch.
void CEpochAssembly::OpenEpoch()
{
    if (m_bEpochOpen)
        return;
    m_bEpochOpen = 1;
    m_bEpochAccepted = PassRateGate() ? 1 : 0;
}

// The slip mark always; the measurements only for an epoch that will be
// written, and not for a satellite the elevation mask leaves out. A satellite
// in one of the table's shared extended rows (a GPS number above 32, SBAS)
// gets its entry but never reaches the file.
void CEpochAssembly::AddToEntry(SObsEntry& entry, const SObsSlot& slot, const CGpsNavState& state, uint32_t row,
                                ESystem system, uint32_t band)
{
    NoteSlip(entry, slot);
    const bool fill = m_bEpochAccepted && !slot.m_bMasked;
    if (fill)
        FillEntry(entry, slot, row < state.m_uFixedRows);
    if (m_pListener != nullptr)
    {
        const EObsFate fate = fill                ? eFateEntered
                              : !m_bEpochAccepted ? eFateRateGate
                              : slot.m_bUsable    ? eFateBelowMask
                                                  : eFateNoEphemeris;
        m_pListener->OnObservation(slot, system, band, row, fate);
    }
}

void CEpochAssembly::NoRow(const SObsSlot& slot, ESystem system, uint32_t band)
{
    if (m_pListener != nullptr && slot.m_uNumberInMessage != 0)
        m_pListener->OnObservation(slot, system, band, 0, eFateNoRow);
}

void CEpochAssembly::AddFollowingSlot(SObsEntry* entries, const SObsSlot& slot, ESystem system)
{
    uint32_t row = 0;
    if (TableRow(m_Gps, slot.m_uPRN, kSatRows, row))
        AddToEntry(entries[row], slot, m_Gps, row, system);
    else
        NoRow(slot, system);
}

// The adders run for every observation: what they call is inlined into them.
[[gnu::flatten]] void CEpochAssembly::AddGpsL1Slot(const SObsSlot& slot)
{
    uint32_t row = 0;
    if (!TableRow(m_Gps, slot.m_uPRN, kSatRows, row))
        return NoRow(slot, eSystemGps); // also an empty channel: satellite 0 has no row
    OpenEpoch();
    AddToEntry(m_Epoch.m_aGpsL1[row], slot, m_Gps, row, eSystemGps);
}

[[gnu::flatten]] void CEpochAssembly::AddGpsSlots(const SObsSlot& l1, const SObsSlot& l2, const SObsSlot& p)
{
    // The columns follow the message kind, not its contents.
    m_Epoch.m_bSeenL2 = 1;
    if (m_bOutputL1P)
        m_Epoch.m_bSeenL1P = 1;

    AddGpsL1Slot(l1);

    // The second and third signals never open the epoch on their own. L1 P is
    // filled with or without -P1; only the writer's column depends on it.
    AddFollowingSlot(m_Epoch.m_aGpsL2, l2, eSystemGps);
    AddFollowingSlot(m_Epoch.m_aGpsL1P, p, eSystemGps);
}

[[gnu::flatten]] void CEpochAssembly::AddGloSlots(const SObsSlot& l1, const SObsSlot& l2)
{
    m_Epoch.m_bSeenGlonass = 1;
    m_Epoch.m_bSeenL2 = 1;
    if (m_bOutputL1P)
        m_Epoch.m_bSeenL1P = 1;

    // GLONASS slots 1 to 24 take rows 0 to 23 of the GPS numbering.
    uint32_t row = 0;
    if (TableRow(m_Gps, l1.m_uPRN, kSatRows, row))
    {
        OpenEpoch();
        AddToEntry(m_Epoch.m_aGloL1[row], l1, m_Gps, row, eSystemGlonass);
    }
    else
    {
        NoRow(l1, eSystemGlonass);
    }
    AddFollowingSlot(m_Epoch.m_aGloL2, l2, eSystemGlonass);
}

[[gnu::flatten]] void CEpochAssembly::AddBdsSlot(const SObsSlot& slot, bool lastPacket, uint32_t band)
{
    if (band >= kBdsBands)
        return;
    m_Epoch.m_abSeenBeidou[band] = 1;

    uint32_t row = 0;
    if (!TableRow(m_Beidou, slot.m_uPRN, kBeidouRows, row))
        return NoRow(slot, eSystemBeidou, band);
    if (row >= m_Epoch.m_uBdsRowsInUse)
        m_Epoch.m_uBdsRowsInUse = row + 1;
    // Earlier packets of the band's set only count for slips while no epoch is open.
    if (lastPacket)
        OpenEpoch();
    AddToEntry(m_Epoch.m_aBds[band][row], slot, m_Beidou, row, eSystemBeidou, band);
}

bool CEpochAssembly::PassRateGate()
{
    const GpsTime now = m_LogTime.Now();
    const GpsTime last = m_Epoch.m_timeEpoch;
    const double weeks = static_cast<double>(now.m_uWeek) - static_cast<double>(last.m_uWeek);
    const double dt = weeks * kSecondsPerWeek + now.m_dSeconds - last.m_dSeconds;
    double& interval = m_Epoch.m_dInterval;

    if (!m_bRateAligned)
    {
        // Search: the first epoch written lies on a whole multiple of the interval.
        const double r = std::fmod(now.m_dSeconds, interval);
        const bool due = std::fabs(r) < kGridTolerance || std::fabs(r - interval) < kGridTolerance ||
                         (last.m_uWeek != 0 && dt > kSearchGap);
        m_bRateAligned = due ? 1 : 0;
        m_Epoch.m_timeEpoch = now;
        return due;
    }

    double* state = m_aRateState;
    if (!m_Epoch.m_bIntervalFixed)
    {
        // The interval follows the longest run of equal steps seen so far.
        if (state[kRateStep] == dt)
            state[kRateRun] = state[kRateRun] + 1.0;
        else
            state[kRateRun] = 0.0;
        if (state[kRateRun] > state[kRateBest])
        {
            state[kRateBest] = state[kRateRun];
            if (dt != interval)
                interval = dt;
        }
    }
    state[kRateStep] = dt;

    // A fixed interval spaces epochs from the last one written, so the time of
    // a rejected epoch is not kept.
    if (m_Epoch.m_bIntervalFixed && !(dt + kGridTolerance > interval))
        return false;
    m_Epoch.m_timeEpoch = now;
    return true;
}

void CEpochAssembly::FlushIfEpochChanged()
{
    if (m_LogTime.Now().m_dSeconds != m_Epoch.m_timeEpoch.m_dSeconds)
        FlushEpoch();
}

void CEpochAssembly::FlushEpoch()
{
    m_bEpochOpen = 0;
    if (!m_bEpochAccepted)
    {
        if (m_pListener != nullptr)
            m_pListener->OnEpochFinished(m_Epoch, false);
        return;
    }

    LatchInterval();
    SelectListed(m_Epoch);
    if (m_pSink != nullptr)
        m_pSink->TakeEpoch(m_Epoch);
    if (m_pListener != nullptr)
        m_pListener->OnEpochFinished(m_Epoch, true);

    m_bEpochAccepted = 0;
    ClearEpochTables(m_Epoch);
}

// The distance of the first two epochs handed on, in whole seconds, sets the
// interval once; the rate gate may change it later, and each header shows its
// latest value. An interval given on the command line stays.
void CEpochAssembly::LatchInterval()
{
    if (m_Epoch.m_timeFirstObs.m_uWeek == 0)
        m_Epoch.m_timeFirstObs = m_Epoch.m_timeEpoch;
    if (!m_bEpochsHanded)
    {
        m_bEpochsHanded = 1;
        return;
    }
    if (m_bIntervalLatched)
        return;
    const GpsTime& first = m_Epoch.m_timeFirstObs;
    const GpsTime& now = m_Epoch.m_timeEpoch;
    const double dt = (static_cast<double>(now.m_uWeek) - static_cast<double>(first.m_uWeek)) * kSecondsPerWeek +
                      (now.m_dSeconds - first.m_dSeconds);
    const double d = std::floor(dt + 0.5);
    m_bIntervalLatched = 1;
    if (d > 0.001 && !m_Epoch.m_bIntervalFixed)
        m_Epoch.m_dInterval = d;
}
