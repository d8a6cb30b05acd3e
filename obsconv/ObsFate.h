#pragma once

#include <cstdint>

#include "obsconv/ObsEpoch.h"
#include "obsconv/ObsSlots.h"

// What becomes of every observation of the log on its way to the observation
// file, for whoever follows them (the quality report). A conversion follows
// none: the calls below cost it one test of a null pointer.

// Where an observation left the way, or that it reached the epoch's tables.
enum EObsFate : uint32_t
{
    eFateEntered = 0,     // copied into the pending epoch; the epoch line decides the rest
    eFateRateGate = 1,    // its epoch is one the rate gate leaves out (-N, or the search for the grid)
    eFateNoEphemeris = 2, // -E with a location and no -B: no usable ephemeris yet
    eFateBelowMask = 3,   // below the elevation mask of -E
    eFateNoRow = 4,       // a satellite number the tables can't place
};

// Why a whole observation message is left out before it is decoded.
enum EMessageLeftOut : uint32_t
{
    eLeftOutOtherGpsMessage = 0, // BIN96 in a BIN76 log, or BIN76 in a BIN96 log
    eLeftOutRepeatedEpoch = 1,   // an epoch message with the seconds of the epoch in hand
    eLeftOutOtherTime = 2,       // a GLONASS or BeiDou message whose seconds are not the epoch's
};

class IObservationListener
{
public:
    // One decoded slot and what became of it; `band` is the BeiDou band (0
    // for the other systems), `row` the row of the epoch's table it went to.
    // With eFateNoRow the slot's m_uPRN is 0, m_uNumberInMessage holds the
    // number as sent, and there is no row.
    virtual void OnObservation(const SObsSlot& slot, ESystem system, uint32_t band, uint32_t row, EObsFate fate) = 0;
    // The pending epoch is finished, its list made: `handed` when it went on
    // to the file, else the rate gate left it out. Its tables are cleared
    // when this returns.
    virtual void OnEpochFinished(const SObsEpoch& epoch, bool handed) = 0;

protected:
    ~IObservationListener() = default;
};

// An observation a frame carries, told without decoding the frame or moving
// any state: for counting the messages that are left out whole.
struct SObsInMessage
{
    ESystem m_eSystem;
    uint32_t m_uNumber; // as sent
    uint32_t m_uSignal; // signal code of the slot arrays
    uint32_t m_uBand;   // BeiDou band, else 0
};
// The most a frame carries: the 15 channels of BIN76 with three signals on 12.
constexpr uint32_t kMaxObsInMessage = 42;
using ObsInMessage = SObsInMessage[kMaxObsInMessage];

// Whether the observation file gets values of the entry at `row` of the
// table of `system` and `signal` (`band` for BeiDou) in a finished epoch: its
// satellite stands in the epoch line, and the entry is listed. This is the
// rule the observation writer follows line by line.
bool ValueWritten(const SObsEpoch& epoch, ESystem system, uint32_t signal, uint32_t band, uint32_t row);
