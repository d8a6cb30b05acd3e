#pragma once

#include <cstdint>

// The run's UTC state: the parameters of the stored BIN94 and the leap
// seconds they give. It is taken once, at the moment the GPS navigation
// file's pass first has both a record due and a BIN94 stored, and it serves
// every file alike: GLONASS times in the observations, the LEAP SECONDS
// lines of all three navigation files. So no output depends on which other
// outputs are named.

// Fills g_UtcParams from the BIN94 frame and sets the run's leap seconds
// from them at the log time (from the message's own count while the log
// time is still unset).
void TakeUtcParams(const uint8_t* bin94Frame);

// The run's leap seconds: GPS minus UTC, and the same less the 14 s by which
// BeiDou time trails GPS time. 0 until TakeUtcParams.
extern int32_t g_iGpsLeapSeconds;
extern int32_t g_iBeidouLeapSeconds;
