#pragma once

#include <cstdint>

#include "navstate/NavState.h"
#include "obsconv/ObsFate.h"
#include "obsconv/ObsIntake.h"
#include "obsconv/ObsSlots.h"
#include "obsconv/SatelliteUpkeep.h"

// BIN36, the BeiDou observation message: one band (B1, B2 or B3) of 20
// channels in the packed form of BIN76. The bands of an epoch come as a
// numbered set of packets; the message never moves the log time.

// Takes a BIN36 frame (348 bytes) whose seconds of week are those of the log
// time. Writes out the pending epoch if its time has passed, then decodes and
// adds channel by channel into the slots of the frame's band. Only the last
// packet of a set may open the epoch. A band field above B3 ends it after the
// flush.
void OnBin36(const uint8_t* frame, SObsIntake& intake);

// Fills `slot` from its channel (slot.m_uChannel) of a BIN36 frame and gives
// the BeiDou navigation state its upkeep call for the satellite. The phase is
// placed on the code range divided by the wavelength of the frame's band.
void DecodeBin36Slot(SObsSlot& slot, const uint8_t* frame, CBeidouNavState& beidou, const SMaskRule& mask);

// The observations of a BIN36 frame, as sent, into `out`; returns their count.
uint32_t ListBin36Observations(const uint8_t* frame, ObsInMessage& out);
