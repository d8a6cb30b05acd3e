#pragma once

#include <cstdint>

#include "qc/QcInput.h"

// Cycle slips found in the data of one satellite, epoch by epoch, with no
// memory beyond the last epochs:
// - on two carriers, jumps of the geometry-free phase combination (L1 - L2
//   in metres, against a straight line through the two epochs before) and of
//   the Melbourne-Wuebbena combination (wide-lane phase less narrow-lane
//   code, in wide-lane cycles, against its mean over the arc so far);
// - on a carrier without a partner, jumps of code minus phase.
// Every test starts again, without a finding, at a gap, at the receiver's
// loss-of-lock mark and at a receiver clock jump: after a millisecond jump of
// the clock the phase, placed next to the code by the decoder, steps in
// whole 8192-cycle units, and every combination jumps on every satellite.

// Geometry-free: a jump of more than kQcGfSlipMetres plus the ionosphere's
// possible drift over the epoch step, kQcGfDriftMetresPerSecond (0.4 TECU a
// minute), up to kQcGfDriftSeconds.
constexpr double kQcGfSlipMetres = 0.10;
constexpr double kQcGfDriftMetresPerSecond = 0.0007;
constexpr double kQcGfDriftSeconds = 300.0;
// Melbourne-Wuebbena: a value further from the arc's mean than
// kQcMwSigmas standard deviations of the arc, and never less than
// kQcMwMinCycles; until the arc has kQcMwSigmaPoints values, kQcMwStartCycles.
constexpr double kQcMwSigmas = 5.0;
constexpr double kQcMwMinCycles = 4.0;
constexpr double kQcMwStartCycles = 6.0;
constexpr uint64_t kQcMwSigmaPoints = 10;
// Code minus phase on one carrier: a jump of more than this from the epoch before.
constexpr double kQcCmcSlipMetres = 6.0;

// Which test found a slip.
enum EQcSlipTest : uint32_t
{
    eQcSlipGeometryFree = 1,
    eQcSlipMelbourneWuebbena = 2,
    eQcSlipCodeMinusPhase = 4,
};

// One signal of the satellite in the epoch, as the tests see it.
struct SQcCarrier
{
    bool m_bCode = false;
    double m_dCode = 0.0;         // metres
    bool m_bPhase = false;
    double m_dPhase = 0.0;        // metres: cycles times the signal's wavelength
    double m_dFrequency = 0.0;    // Hz: the speed of light over the wavelength
    bool m_bRestart = false;      // a new arc or the receiver's loss-of-lock mark
};

class CQcSlipDetector
{
public:
    // Tests one epoch of a satellite of `system`; `carriers` is indexed by
    // EQcSignal. `interval` is the log's sampling interval (0 while unknown).
    // Answers the signals with a slip as a bit mask (bit n: EQcSignal n),
    // and the tests that found it in `tests`. With `clockJump` nothing is
    // found and every test starts again.
    //
    // A slip seen by a pair of carriers counts on both: the combinations
    // can't tell which slipped. On a BeiDou satellite with three carriers, a
    // slip that both pairs of B1I see counts on B1I alone.
    uint32_t TestEpoch(uint32_t system, double seconds, double interval, const SQcCarrier carriers[kQcSignalCount],
                       bool clockJump, uint32_t& tests);

private:
    struct SPairState
    {
        bool m_bActive = false;
        double m_dLast = 0.0;
        double m_adGf[2] = {0.0, 0.0}; // the two values before, older first
        double m_adGfTime[2] = {0.0, 0.0};
        uint32_t m_uGfPoints = 0;
        double m_dMwMean = 0.0;        // wide-lane cycles
        double m_dMwSquares = 0.0;     // sum of squared deviations (Welford)
        uint64_t m_uMwPoints = 0;
    };
    struct SCmcState
    {
        bool m_bActive = false;
        double m_dLast = 0.0;
        double m_dCmc = 0.0;
    };

    SPairState m_aPairs[2];
    SCmcState m_aCmc[kQcSignalCount];
};
