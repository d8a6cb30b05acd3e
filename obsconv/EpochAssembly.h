#pragma once

#include <cstdint>

#include "obsconv/ObsSlots.h"
#include "rinex/ObsWriter.h"

// Gathers decoded slots into the pending epoch of g_ObsWriter: opens the
// epoch at its first mapped satellite (asking the rate gate once), marks
// slips, and copies the measurements of an accepted epoch into the tables.

// A g_aSlotGpsL1 slot (BIN96, or the C/A part of a BIN76 channel).
void AddGpsL1Slot(const SObsSlot& slot);
// The three slots of a BIN76 channel: C/A, L2 and L1 P.
void AddGpsSlots(const SObsSlot& l1, const SObsSlot& l2, const SObsSlot& p);
// The two slots of a BIN66 channel.
void AddGloSlots(const SObsSlot& l1, const SObsSlot& l2);
// One slot of a BIN36 message of `band` (0 to 2); `lastPacket` is true in the
// last message of the band's set, the only one that may open the epoch.
void AddBdsSlot(const SObsSlot& slot, bool lastPacket, uint32_t band);

// The rate gate, asked once per epoch: true when the epoch at the log time is
// to be written. Finds the output grid first, then keeps the epochs spaced by
// the interval (fixed by -N) or learns the interval from the log.
bool PassRateGate();

// Marks a loss of lock on the entry when the slot reports a slip or no good lock.
// The mark stays until an epoch is written.
void NoteSlip(SObsEntry& entry, const SObsSlot& slot);
// Copies the slot's measurements into the entry of the pending epoch. Only a
// satellite with a row of its own in its table (`ownRow`) and a good lock
// counts as observed.
void FillEntry(SObsEntry& entry, const SObsSlot& slot, bool ownRow);
