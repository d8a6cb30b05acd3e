#pragma once

#include "logbuild/FrameWriter.h"
#include "logbuild/GpsEphemerisEncoder.h"

// The GPS messages that give a run its leap seconds: a BIN94 whose UTC data
// say 18 s (week 2111 lies past the event of week 1929, no drift terms), and
// a plausible BIN95 of G05 behind it. With a GPS navigation file named, the
// pass of that BIN95 fills the GPS file's lines and so sets the leap seconds
// that the GLONASS (18) and BeiDou (4) files show.
inline Bytes GpsLeapSecondFrames()
{
    CPayloadWriter p;
    p.Zeros(64).Double(0.0).Double(0.0).U32(405504).U16(2111).U16(1929).U16(7).I16(18).I16(18).U16(0);
    Bytes frames = MakeBinFrame(94, p.GetBytes());
    SGpsEphemerisValues g05;
    g05.m_uSatellite = 5;
    g05.m_uTxTime = 438000;
    g05.m_uWeek = 2111;
    g05.m_uIode = 10;
    g05.m_uIodc = 10;
    g05.m_dToc = 439200.0;
    g05.m_dToe = 439200.0;
    g05.m_dEcc = 0.01;
    AppendBytes(frames, MakeBin95Frame(g05));
    return frames;
}
