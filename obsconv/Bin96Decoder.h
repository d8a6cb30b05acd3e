#pragma once

#include <cstdint>

#include "navstate/NavState.h"
#include "obsconv/ObsFate.h"
#include "obsconv/ObsIntake.h"
#include "obsconv/ObsSlots.h"
#include "obsconv/SatelliteUpkeep.h"

// BIN96, the L1-only GPS observation message: 12 channel records of 24 bytes.

// Handles one BIN96 frame (312 bytes) whose time differs from the previous
// epoch's; the log time is already set to the frame's week and seconds.
// Writes out the pending epoch if its time has passed, then decodes and adds
// channel by channel.
void OnBin96(const uint8_t* frame, SObsIntake& intake);

// Fills `slot` from the record of its channel (slot.m_uChannel) in `frame`
// and gives the GPS navigation state its upkeep call for the satellite.
void DecodeBin96Slot(SObsSlot& slot, const uint8_t* frame, CGpsNavState& gps, const SMaskRule& mask);

// The observations of a BIN96 frame, as sent, into `out`; returns their count.
uint32_t ListBin96Observations(const uint8_t* frame, ObsInMessage& out);
