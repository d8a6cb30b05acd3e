#pragma once

#include <cstdint>
#include <map>
#include <vector>

// Millisecond jumps of the receiver clock. A receiver that keeps its clock
// within a millisecond of GPS time steps it by whole milliseconds; at such
// an epoch every code range steps by about c times 1 ms. Each satellite's
// code step is compared with the step its Doppler predicts (the mean of the
// two epochs' Doppler times the epoch step); when the median of these
// differences lies near a whole, non-zero number of milliseconds and at
// least kQcClockJumpShare of the satellites agree with it, the clock jumped.
// The carrier phase is no help here: the decoder places it next to the code
// in whole 8192-cycle units, so it follows the step and never shows 1 ms.

constexpr double kQcMillisecondMetres = 299792.458; // c times 1 ms
// A satellite agrees with a jump of k ms when its difference lies within this of k ms.
constexpr double kQcClockJumpToleranceMetres = 3000.0;
constexpr double kQcClockJumpShare = 0.75;
constexpr uint32_t kQcClockJumpMinSatellites = 3;

struct SQcClockJump
{
    double m_dSeconds = 0.0;    // epoch of the jump
    int64_t m_iMilliseconds = 0; // the code's step: positive when the ranges grew
    uint32_t m_uSatellites = 0;  // satellites that agree
    uint32_t m_uCompared = 0;    // satellites with a prediction
    double m_dMedianMetres = 0.0;
};

class CQcClockJumps
{
public:
    // The epoch begins; `interval` is the log's sampling interval (0 while
    // unknown): a satellite last seen more than 1.5 intervals ago has no prediction.
    void BeginEpoch(double seconds, double interval);
    // One satellite's first code range (metres) and its Doppler (Hz, positive
    // approaching) with the wavelength (metres) that turns it into a range rate.
    void AddSatellite(uint32_t key, double code, double doppler, double wavelength);
    // Decides on the epoch; true, with the jump in `jump`, when the clock jumped.
    bool EndEpoch(SQcClockJump& jump);

private:
    struct SLast
    {
        double m_dSeconds = 0.0;
        double m_dCode = 0.0;
        double m_dRate = 0.0; // metres per second
    };
    double m_dSeconds = 0.0;
    double m_dInterval = 0.0;
    std::map<uint32_t, SLast> m_Last; // one per satellite ever seen
    std::vector<double> m_adDifferences; // this epoch's; reused
};
