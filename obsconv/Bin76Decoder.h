#pragma once

#include <cstdint>

#include "navstate/NavState.h"
#include "obsconv/ObsFate.h"
#include "obsconv/ObsIntake.h"
#include "obsconv/ObsSlots.h"
#include "obsconv/SatelliteUpkeep.h"

// Takes a BIN76 frame (GPS L1 C/A of 15 channels, L2 and L1 P of the first
// 12) whose seconds differ from the log time's, after the log time has been
// set to them.
void OnBin76(const uint8_t* frame, SObsIntake& intake);

// Fills `slot` from its channel (slot.m_uChannel) of a BIN76 frame, for the
// signal of its array (slot.m_uSignal: L1 C/A, L2 or L1 P), and gives the GPS
// navigation state its upkeep call for the satellite. Code and phase are
// rebuilt from the channel's 35-bit L1 code range and the signal's fragments.
void DecodeBin76Slot(SObsSlot& slot, const uint8_t* frame, CGpsNavState& gps, const SMaskRule& mask);

// The observations of a BIN76 frame, as sent, into `out`; returns their count.
uint32_t ListBin76Observations(const uint8_t* frame, ObsInMessage& out);
