#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "logbuild/BeidouEncoder.h"
#include "logbuild/FrameWriter.h"
#include "logbuild/RinexNavReader.h"
#include "logbuild/fromrinex/Summary.h"

// The navigation messages of a RINEX navigation file: the ephemerides (BIN95
// GPS, BIN65 GLONASS, BIN35 BeiDou decoded or raw) with the time the
// receiver got each, and the ionosphere and UTC data of its header (BIN94,
// BIN34).
namespace fromrinex
{
// One ephemeris waiting for its transmission time.
struct SNavEvent
{
    double m_dTxTime = 0.0; // GPS time, seconds since the GPS epoch
    char m_cSystem = ' ';
    int m_iPrn = 0;
    Bytes m_aFrame;                  // GPS and GLONASS: the frame
    SBeidouEphemerisFields m_Beidou; // BeiDou: framed when sent, on the channel of that moment
};

// The GPS, GLONASS and BeiDou records of the file, in its order. A record
// with a field its message can't carry is counted unfit and left out;
// GLONASS times are UTC, `leapSeconds` behind GPS time.
std::vector<SNavEvent> ReadEphemerides(CRinexNavReader& reader, int leapSeconds, StatsBySystem& stats);

// The frames of a BeiDou ephemeris on `channel`: one decoded BIN35, or the
// raw subframes: one D1 frame, or the ten frames of D2 pages of a
// geostationary satellite (C01 to C05, C59 to C63).
std::vector<Bytes> MakeBeidouEphemerisFrames(const SNavEvent& event, uint16_t channel, bool raw);

// BIN94 when the header has any of GPSA, GPSB, GPUT or LEAP SECONDS (the
// rest zero; without LEAP SECONDS 18 s and no change announced), BIN34 when
// it has BDUT.
std::optional<Bytes> MakeBin94(const SRinexNavHeader& header);
std::optional<Bytes> MakeBin34(const SRinexNavHeader& header);
} // namespace fromrinex
