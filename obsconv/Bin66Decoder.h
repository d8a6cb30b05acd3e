#pragma once

#include <cstdint>

#include "navstate/GlonassFrequencies.h"
#include "navstate/NavState.h"
#include "obsconv/ObsFate.h"
#include "obsconv/ObsIntake.h"
#include "obsconv/ObsSlots.h"
#include "obsconv/SatelliteUpkeep.h"

// BIN66, the GLONASS observation message: L1 and L2 of 12 channels in the
// packed form of BIN76. It never moves the log time; it joins the epoch that
// the GPS message of the same second opened.

// Takes a BIN66 frame (364 bytes) whose seconds of week are those of the log
// time. Decodes and adds channel by channel; the pending epoch is not flushed
// here, since the frame belongs to it.
void OnBin66(const uint8_t* frame, SObsIntake& intake);

// Fills `slot` from its channel (slot.m_uChannel) of a BIN66 frame, for the
// signal of its array (slot.m_uSignal: GLONASS L1 or L2), and gives the
// GLONASS navigation state its upkeep call for the satellite. The phase is
// placed on the code range divided by the wavelength of the satellite's slot.
void DecodeBin66Slot(SObsSlot& slot, const uint8_t* frame, CGlonassNavState& glonass,
                     const CGlonassFrequencies& frequencies, const SMaskRule& mask);

// The observations of a BIN66 frame, as sent, into `out`; returns their count.
uint32_t ListBin66Observations(const uint8_t* frame, ObsInMessage& out);
