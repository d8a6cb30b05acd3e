#pragma once

#include <cstdint>

#include "obsconv/ObsSlots.h"

// Takes a BIN76 frame (GPS L1 C/A, L2 and L1 P of 12 channels) whose seconds
// differ from the log time's, after the log time has been set to them.
void OnBin76(const uint8_t* frame);
