#pragma once

#include <array>

#include "logbuild/FrameWriter.h"
#include "logbuild/RinexNavReader.h"

// Builds BIN94, the GPS ionosphere and UTC message, and BIN34, the BeiDou
// UTC message, from the values of the RINEX navigation header lines that
// carry the same data.

struct SBin94Values
{
    std::array<double, 4> m_adAlpha{}; // Klobuchar coefficients, as GPSA gives them
    std::array<double, 4> m_adBeta{};  // as GPSB gives them
    SRinexTimeCorrection m_Utc;        // GPUT: A0, A1, reference seconds of week and week
    // The leap seconds now (m_iDeltaLs) and after the announced event at the
    // end of day m_iDayLsf of week m_iWeekLsf; m_bPresent is not sent.
    SRinexLeapSeconds m_Leap;
};

Bytes MakeBin94Frame(const SBin94Values& values);

// BIN34 of a BDUT line: A0 in 2^-30 s and A1 in 2^-50 s/s, the reference time
// in units of 4096 s (held within 0 to 255), the week's low 8 bits.
Bytes MakeBin34Frame(const SRinexTimeCorrection& bdut);
