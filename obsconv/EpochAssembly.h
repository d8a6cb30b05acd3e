#pragma once

#include <cstdint>

#include "gnsstime/GpsTime.h"
#include "navstate/NavState.h"
#include "obsconv/ObsEpoch.h"
#include "obsconv/ObsFate.h"
#include "obsconv/ObsSlots.h"

// Whoever takes the finished epochs of an assembly.
class IEpochSink
{
public:
    // An accepted epoch, its list of satellites made. The epoch's tables are
    // cleared for the next one when this returns.
    virtual void TakeEpoch(const SObsEpoch& epoch) = 0;

protected:
    ~IEpochSink() = default;
};

// Gathers decoded slots into the pending epoch: opens the epoch at its first
// mapped satellite (asking the rate gate once), marks slips, and copies the
// measurements of an accepted epoch into the tables. When the log time moves
// on, or the log ends, the pending epoch is finished: an accepted one goes to
// the sink with the satellites of its epoch line.
class CEpochAssembly
{
public:
    CEpochAssembly(const CLogTime& logTime, CGpsNavState& gps, CBeidouNavState& beidou);
    CEpochAssembly(const CEpochAssembly&) = delete;
    CEpochAssembly& operator=(const CEpochAssembly&) = delete;

    // At the start of a run: the interval (`fixed` when -N gave it), whether
    // the GPS lines carry L1 P (-P1), and where finished epochs go (may be
    // null: then they go nowhere).
    void SetRun(double interval, bool fixed, bool outputL1P, IEpochSink* sink);
    // Who follows the fate of every observation; null (the conversion's
    // case) for nobody.
    void SetListener(IObservationListener* listener) { m_pListener = listener; }

    // A slot of BIN96, or the C/A part of a BIN76 channel.
    void AddGpsL1Slot(const SObsSlot& slot);
    // The three slots of a BIN76 channel: C/A, L2 and L1 P.
    void AddGpsSlots(const SObsSlot& l1, const SObsSlot& l2, const SObsSlot& p);
    // The two slots of a BIN66 channel.
    void AddGloSlots(const SObsSlot& l1, const SObsSlot& l2);
    // One slot of a BIN36 message of `band` (0 to 2); `lastPacket` is true in
    // the last message of the band's set, the only one that may open the epoch.
    void AddBdsSlot(const SObsSlot& slot, bool lastPacket, uint32_t band);

    // The rate gate, asked once per epoch: true when the epoch at the log
    // time is to be written. Finds the output grid first, then keeps the
    // epochs spaced by the interval (fixed by -N) or learns the interval from
    // the log.
    bool PassRateGate();

    // Finishes the pending epoch when the log time's seconds differ from its own.
    void FlushIfEpochChanged();
    // Finishes the pending epoch: a rejected one writes nothing, and its
    // loss-of-lock marks stay in the entries for the next written epoch.
    void FlushEpoch();
    // The last pending epoch at the end of the input.
    void EndObservations() { FlushEpoch(); }

    const SObsEpoch& Epoch() const { return m_Epoch; }
    // The pending epoch has had its first satellite, and passed the rate gate.
    bool EpochOpen() const { return m_bEpochOpen != 0; }
    bool EpochAccepted() const { return m_bEpochAccepted != 0; }

private:
    void OpenEpoch();
    void AddToEntry(SObsEntry& entry, const SObsSlot& slot, const CGpsNavState& state, uint32_t row, ESystem system,
                    uint32_t band = 0);
    // A slot whose number has no row: only a listener hears of it.
    void NoRow(const SObsSlot& slot, ESystem system, uint32_t band = 0);
    // A GPS or GLONASS signal that never opens the epoch on its own: its
    // entry among `entries` (rows of the GPS numbering), or no row.
    void AddFollowingSlot(SObsEntry* entries, const SObsSlot& slot, ESystem system);
    void LatchInterval();

    const CLogTime& m_LogTime;
    CGpsNavState& m_Gps;
    CBeidouNavState& m_Beidou;
    IEpochSink* m_pSink = nullptr;
    IObservationListener* m_pListener = nullptr;
    uint8_t m_bOutputL1P = 0;

    SObsEpoch m_Epoch{};
    uint8_t m_bEpochAccepted = 0; // the pending epoch passed the rate gate and its data are kept
    uint8_t m_bEpochOpen = 0;     // the first adder of the pending epoch has run
    uint8_t m_bRateAligned = 0;   // the first epoch on the output grid has been found
    double m_aRateState[3] = {};  // last step, present run of equal steps, longest run
    uint8_t m_bEpochsHanded = 0;  // an epoch has gone to the sink
    uint8_t m_bIntervalLatched = 0; // the interval was taken from the first two epochs
};

// Marks a loss of lock on the entry when the slot reports a slip or no good lock.
// The mark stays until an epoch is written.
void NoteSlip(SObsEntry& entry, const SObsSlot& slot);
// Copies the slot's measurements into the entry of the pending epoch. Only a
// satellite with a row of its own in its table (`ownRow`) and a good lock
// counts as observed.
void FillEntry(SObsEntry& entry, const SObsSlot& slot, bool ownRow);
