#include "qc/SlipDetector.h"

#include <cmath>

#include "qc/QcSignals.h"
#include "qc/SeriesStats.h"

namespace
{
struct SCarrierPair
{
    uint32_t m_uFirst;
    uint32_t m_uSecond;
};

// The pairs of carriers tested per system; BeiDou B1I with B3I and with B2I.
constexpr uint32_t kMaxPairs = 2;
constexpr SCarrierPair kNoPair = {kQcNoSignal, kQcNoSignal};
constexpr SCarrierPair kPairs[kQcSystemCount][kMaxPairs] = {
    {{eQcGpsL1CA, eQcGpsL2}, kNoPair},
    {{eQcGloL1, eQcGloL2}, kNoPair},
    {{eQcBdsB1, eQcBdsB3}, {eQcBdsB1, eQcBdsB2}},
    {kNoPair, kNoPair},
};

bool Usable(const SQcCarrier& c)
{
    return c.m_bCode && c.m_bPhase && c.m_dFrequency > 0.0;
}

uint32_t Bit(uint32_t signal)
{
    return 1u << signal;
}
} // namespace

uint32_t CQcSlipDetector::TestEpoch(uint32_t system, double seconds, double interval,
                                    const SQcCarrier carriers[kQcSignalCount], bool clockJump, uint32_t& tests)
{
    tests = 0;
    if (system >= kQcSystemCount)
        return 0;
    const double gapSeconds = interval > 0.0 ? kQcGapIntervals * interval : 0.0;

    uint32_t pairMasks[kMaxPairs] = {0, 0};
    uint32_t covered = 0; // carriers tested in a pair this epoch
    for (uint32_t p = 0; p < kMaxPairs; ++p)
    {
        const SCarrierPair& pair = kPairs[system][p];
        SPairState& state = m_aPairs[p];
        if (pair.m_uFirst == kQcNoSignal)
            continue;
        const SQcCarrier& a = carriers[pair.m_uFirst];
        const SQcCarrier& b = carriers[pair.m_uSecond];
        if (!Usable(a) || !Usable(b))
            continue;
        covered |= Bit(pair.m_uFirst) | Bit(pair.m_uSecond);

        const double gf = a.m_dPhase - b.m_dPhase;
        const double wideLane = kQcSpeedOfLight / (a.m_dFrequency - b.m_dFrequency);
        const double mw = ((a.m_dFrequency * a.m_dPhase - b.m_dFrequency * b.m_dPhase) / (a.m_dFrequency - b.m_dFrequency) -
                           (a.m_dFrequency * a.m_dCode + b.m_dFrequency * b.m_dCode) / (a.m_dFrequency + b.m_dFrequency)) /
                          wideLane;

        const double step = seconds - state.m_dLast;
        const bool restart = !state.m_bActive || clockJump || a.m_bRestart || b.m_bRestart || !(step > 0.0) ||
                             (gapSeconds > 0.0 && step > gapSeconds);
        bool slip = false;
        if (!restart)
        {
            double predicted = state.m_adGf[1];
            if (state.m_uGfPoints >= 2 && state.m_adGfTime[1] > state.m_adGfTime[0])
                predicted += (state.m_adGf[1] - state.m_adGf[0]) * (seconds - state.m_adGfTime[1]) /
                             (state.m_adGfTime[1] - state.m_adGfTime[0]);
            const double allowed = kQcGfSlipMetres + kQcGfDriftMetresPerSecond * std::fmin(step, kQcGfDriftSeconds);
            if (std::fabs(gf - predicted) > allowed)
            {
                slip = true;
                tests |= eQcSlipGeometryFree;
            }
            double limit = kQcMwStartCycles;
            if (state.m_uMwPoints >= kQcMwSigmaPoints)
            {
                const double sigma = std::sqrt(state.m_dMwSquares / static_cast<double>(state.m_uMwPoints - 1));
                limit = std::fmax(kQcMwMinCycles, kQcMwSigmas * sigma);
            }
            if (state.m_uMwPoints > 0 && std::fabs(mw - state.m_dMwMean) > limit)
            {
                slip = true;
                tests |= eQcSlipMelbourneWuebbena;
            }
        }
        if (restart || slip)
        {
            state = SPairState{};
            state.m_bActive = true;
        }
        if (slip)
            pairMasks[p] = Bit(pair.m_uFirst) | Bit(pair.m_uSecond);

        state.m_dLast = seconds;
        state.m_adGf[0] = state.m_adGf[1];
        state.m_adGfTime[0] = state.m_adGfTime[1];
        state.m_adGf[1] = gf;
        state.m_adGfTime[1] = seconds;
        ++state.m_uGfPoints;
        ++state.m_uMwPoints;
        const double delta = mw - state.m_dMwMean;
        state.m_dMwMean += delta / static_cast<double>(state.m_uMwPoints);
        state.m_dMwSquares += delta * (mw - state.m_dMwMean);
    }

    uint32_t found = 0;
    if (pairMasks[0] != 0 && pairMasks[1] != 0)
        found = pairMasks[0] & pairMasks[1]; // the carrier both pairs share
    else
        found = pairMasks[0] | pairMasks[1];

    for (uint32_t s = 0; s < kQcSignalCount; ++s)
    {
        const SQcCarrier& c = carriers[s];
        SCmcState& state = m_aCmc[s];
        if (!c.m_bCode || !c.m_bPhase || kQcSignals[s].m_uSystem != system)
            continue;
        const double cmc = c.m_dCode - c.m_dPhase;
        const double step = seconds - state.m_dLast;
        const bool restart = !state.m_bActive || clockJump || c.m_bRestart || !(step > 0.0) ||
                             (gapSeconds > 0.0 && step > gapSeconds);
        if (!restart && (covered & Bit(s)) == 0 && std::fabs(cmc - state.m_dCmc) > kQcCmcSlipMetres)
        {
            found |= Bit(s);
            tests |= eQcSlipCodeMinusPhase;
        }
        state.m_bActive = true;
        state.m_dLast = seconds;
        state.m_dCmc = cmc;
    }
    return found;
}
