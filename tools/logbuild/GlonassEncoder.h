#pragma once

#include <cstdint>

#include "logbuild/FrameWriter.h"

// Builds the GLONASS immediate-data strings 1 to 5 and the BIN65 frame that
// carries them from the physical values of an ephemeris, in the units of the
// GLONASS ICD and of a RINEX GLONASS navigation record.

// One satellite's immediate data. Values are rounded to the nearest step of
// their field; a value that doesn't fit its field throws std::out_of_range.
// A negative zero is sent with its sign set.
struct SGlonassEphemerisValues
{
    uint32_t m_uSlot = 1;    // n of string 4; also the message's satellite number
    int32_t m_iChannel = 0;  // frequency channel number k (RINEX frequency number)
    uint32_t m_uTxTime = 0;  // the message's time field, carried as it is

    // Reference time tb: day `m_uNt` (1 to 1461) of four-year interval `m_uN4`
    // (1 is 1996 to 1999), and tb in minutes of the Moscow day, a multiple of
    // 15. SetGlonassReferenceFromUtc fills them from a RINEX record's epoch.
    uint32_t m_uN4 = 0;
    uint32_t m_uNt = 0;
    uint32_t m_uTbMinutes = 0;
    // tk: start of the frame, Moscow time.
    uint32_t m_uTkHours = 0;
    uint32_t m_uTkMinutes = 0;
    uint32_t m_uTkHalf = 0; // 1 for the second half of the minute

    double m_dX = 0.0, m_dY = 0.0, m_dZ = 0.0;    // km
    double m_dVx = 0.0, m_dVy = 0.0, m_dVz = 0.0; // km/s
    double m_dAx = 0.0, m_dAy = 0.0, m_dAz = 0.0; // km/s2

    double m_dTauN = 0.0;     // s; the RINEX clock bias is minus this
    double m_dGamma = 0.0;    // relative frequency bias, as in RINEX
    double m_dDeltaTau = 0.0; // s, L2 minus L1 delay
    double m_dTauC = 0.0;     // s, GLONASS time scale to UTC(SU) (RINEX GLUT)
    double m_dTauGps = 0.0;   // s, GPS to GLONASS time fractional part

    uint32_t m_uBn = 0;  // health (RINEX health)
    uint32_t m_uEn = 0;  // age of the data, days (RINEX age of operation)
    uint32_t m_uP = 0;
    uint32_t m_uP1 = 0;
    uint32_t m_uP2 = 0;
    uint32_t m_uP3 = 0;
    uint32_t m_uP4 = 0;
    uint32_t m_uLn = 0;  // sent in strings 3 and 5
    uint32_t m_uM = 0;   // 1 for a GLONASS-M satellite
    uint32_t m_uFt = 0;  // accuracy index F_T
    uint32_t m_uNa = 0;  // almanac day of string 5
};

// The five strings as the message carries them: each left-justified in its
// three words, bit 85 at bit 31 of word 0, with the string number in bits
// 84-81. The check bits are left zero; the receiver has checked them already.
struct SGlonassStrings
{
    uint32_t m_auWord[5][3];
};

SGlonassStrings EncodeGlonassStrings(const SGlonassEphemerisValues& values);

// A whole BIN65 frame from its parts.
Bytes MakeBin65Frame(uint8_t satellite, uint8_t channelCode, uint32_t txTime, const SGlonassStrings& strings);
// A whole BIN65 frame for `values`: satellite m_uSlot, channel code k + 8.
Bytes MakeBin65Frame(const SGlonassEphemerisValues& values);

// Sets m_uN4, m_uNt and m_uTbMinutes from a reference time in UTC, as the
// epoch of a RINEX GLONASS record gives it. The time must fall on a quarter
// hour from 1996 on; otherwise std::out_of_range is thrown.
void SetGlonassReferenceFromUtc(SGlonassEphemerisValues& values, int year, unsigned month, unsigned day,
                                unsigned hour, unsigned minute, unsigned second);
