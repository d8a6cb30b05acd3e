#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "logbuild/FrameWriter.h"

// Builds BIN35 messages from a BeiDou B1I ephemeris: the decoded form (26
// words the receiver has taken out) and the raw form (subframes as sent, with
// BCH parity and interleaving, optionally complemented as a receiver locked
// half a cycle off delivers them).

// One ephemeris in physical units, as a RINEX BeiDou navigation record gives
// it (angles in radians, times in BDT seconds of week), with what only the
// message carries: the transmission time, URAI and the ionosphere words.
struct SBeidouEphemerisValues
{
    uint32_t m_uSatellite = 0; // PRN, 1 for C01
    uint32_t m_uWeek = 0;      // BDT week
    uint32_t m_uSow = 0;       // BDT seconds of week of D1 subframe 1 or D2 page 1
    double m_dToc = 0.0;       // BDT seconds of week
    double m_dAf0 = 0.0, m_dAf1 = 0.0, m_dAf2 = 0.0;
    uint32_t m_uAode = 0;
    double m_dCrs = 0.0, m_dDeltaN = 0.0, m_dM0 = 0.0;
    double m_dCuc = 0.0, m_dEcc = 0.0, m_dCus = 0.0, m_dSqrtA = 0.0;
    double m_dToe = 0.0; // BDT seconds of week
    double m_dCic = 0.0, m_dOmega0 = 0.0, m_dCis = 0.0;
    double m_dI0 = 0.0, m_dCrc = 0.0, m_dOmega = 0.0, m_dOmegaDot = 0.0;
    double m_dIdot = 0.0;
    uint32_t m_uUrai = 0;  // URA index, 0 to 15
    uint32_t m_uSatH1 = 0; // 0 healthy, 1 not
    double m_dTgd1 = 0.0, m_dTgd2 = 0.0; // seconds
    uint32_t m_uAodc = 0;
    // Klobuchar coefficients as the BDSA / BDSB header lines give them.
    double m_adAlpha[4] = {};
    double m_adBeta[4] = {};
};

// The same ephemeris as the integers of the message, in the units of the B1I
// interface. Signed fields hold their value; only the low bits of the field's
// width are sent.
struct SBeidouEphemerisFields
{
    uint32_t m_uSatellite = 0;
    uint32_t m_uSow = 0;  // 20 bits
    uint32_t m_uWeek = 0; // 13 bits
    uint32_t m_uToc = 0;  // 17 bits, 8 s
    uint32_t m_uToe = 0;  // 17 bits, 8 s
    int32_t m_iA0 = 0, m_iA1 = 0, m_iA2 = 0; // 24, 22, 11 bits
    uint32_t m_uSqrtA = 0, m_uEcc = 0;       // 32 bits each
    int32_t m_iOmega = 0, m_iM0 = 0, m_iOmega0 = 0, m_iI0 = 0; // 32 bits
    int32_t m_iDeltaN = 0;   // 16 bits
    int32_t m_iOmegaDot = 0; // 24 bits
    int32_t m_iIdot = 0;     // 14 bits
    int32_t m_iCuc = 0, m_iCus = 0, m_iCrc = 0, m_iCrs = 0, m_iCic = 0, m_iCis = 0; // 18 bits
    int32_t m_iTgd1 = 0, m_iTgd2 = 0; // 10 bits, 0.1 ns
    int32_t m_aiAlpha[4] = {}, m_aiBeta[4] = {}; // 8 bits each
    uint32_t m_uSatH1 = 0, m_uAodc = 0, m_uUrai = 0, m_uAode = 0; // 1, 5, 4, 5 bits
};

using BeidouSubFrameWords = std::array<uint32_t, 10>;
using BeidouDecodedWords = std::array<uint32_t, 26>;

// Rounds each value to its field's unit; values beyond a field's range are
// held at its ends.
SBeidouEphemerisFields QuantizeBeidouEphemeris(const SBeidouEphemerisValues& values);

// The 26 words of the decoded form, signed fields sign-extended.
BeidouDecodedWords EncodeBeidouDecodedWords(const SBeidouEphemerisFields& fields);

// D1 subframe `frameId` (1 to 3) sent at `sow`, words right-justified in 30 bits.
BeidouSubFrameWords EncodeBeidouD1SubFrame(const SBeidouEphemerisFields& fields, uint32_t frameId, uint32_t sow,
                                           bool inverted = false);
// Page `page` (1 to 10) of D2 subframe 1, sent at `sow`.
BeidouSubFrameWords EncodeBeidouD2Page(const SBeidouEphemerisFields& fields, uint32_t page, uint32_t sow,
                                       bool inverted = false);
// A subframe `frameId` with no data behind its SOW: D1 subframes 4 and 5 or
// D2 subframes 2 to 5, which carry no ephemeris.
BeidouSubFrameWords EncodeBeidouEmptySubFrame(uint32_t frameId, uint32_t sow, bool inverted = false);

// BIN35 frames.
Bytes MakeBin35DecodedFrame(const SBeidouEphemerisFields& fields, uint16_t channel);
// Decoded form with any satellite field below 100 and any words.
Bytes MakeBin35DecodedFrame(uint16_t satellite, uint16_t channel, const BeidouDecodedWords& words);
// Raw form: three subframes of `satellite` in the order given.
Bytes MakeBin35RawFrame(uint32_t satellite, uint16_t channel, const BeidouSubFrameWords& first,
                        const BeidouSubFrameWords& second, const BeidouSubFrameWords& third);
// One D1 frame: subframes 1, 2, 3 at m_uSow, m_uSow + 6, m_uSow + 12.
Bytes MakeBin35D1Frame(const SBeidouEphemerisFields& fields, uint16_t channel, bool inverted = false);
// Ten frames, one per 3-second D2 frame: page n of subframe 1 at m_uSow + 3(n - 1),
// followed by subframes 2 and 3 of the same frame.
std::vector<Bytes> MakeBin35D2Frames(const SBeidouEphemerisFields& fields, uint16_t channel, bool inverted = false);
