// Intake of the GLONASS immediate data: BIN65 carries strings 1 to 5 of one
// satellite as transmitted. They become one SGlonassEphemeris in the current
// or the pending table of the slot's row, with tb turned into GPS time, and
// the slot's first accepted record also fixes its frequency channel.

#include "navstate/NavState.h"

#include <bit>
#include <cstdint>
#include <cstring>

#include "gnsstime/GlonassDays.h"
#include "gnsstime/GpsTime.h"
#include "logio/BinaryMessages.h"
#include "logio/BitReader.h"
#include "logio/ByteReader.h"
#include "navstate/GlonassFrequencies.h"
#include "navstate/UtcState.h"

namespace
{
// ---------------------------------------------------------------------------
// BIN65 layout (frame offsets)

constexpr uint32_t kBin65SatelliteOffset = 8;
constexpr uint32_t kBin65ChannelCodeOffset = 9;
constexpr uint32_t kBin65TimeOffset = 12;
constexpr uint32_t kBin65StringsOffset = 16;
constexpr uint32_t kStrings = 5;
constexpr uint32_t kWordsPerString = 3;
constexpr uint32_t kBytesPerWord = 4;

static_assert(kBin65StringsOffset + kStrings * kWordsPerString * kBytesPerWord + 4 == SBinaryMsg65::kFrameLength,
              "the five strings end where the frame trailer starts");

// The cache ignores the parts of a string that change without a new
// ephemeris: in word 0 of string 1 the spare bits, P1 and tk (bits 26-11),
// in word 0 of string 3 the flag P3 (bit 26).
constexpr uint32_t kString1Word0Compared = 0xF80007FFu;
constexpr uint32_t kString3Word0Compared = ~(1u << 26);

// Scale factors of the string fields: exact powers of two.
constexpr double kTwoPowMinus11 = 0.00048828125;             // position, km
constexpr double kTwoPowMinus20 = 9.5367431640625e-7;        // velocity, km/s
constexpr double kTwoPowMinus30 = 9.313225746154785e-10;     // acceleration km/s2; tau n, delta tau n, tau GPS s
constexpr double kTwoPowMinus31 = 4.656612873077393e-10;     // tau c, s
constexpr double kTwoPowMinus40 = 9.094947017729282e-13;     // gamma n
constexpr uint32_t kTbMinutesPerUnit = 15;
constexpr double kSecondsPerMinute = 60.0;

// Plausibility of the decoded state, both limits strict: a radius beyond
// 10000 km and a speed below 10 km/s.
constexpr double kMinRadiusSquaredKm2 = 1e8;
constexpr double kMaxSpeedSquaredKm2PerS2 = 100.0;

// ---------------------------------------------------------------------------
// Time

// Year 1 of interval 1 is 1996, fifteen years after the GPS epoch's 1980.
// For a year `years` after 1980, ((years - 1) >> 2) counts the leap days
// since 1980 less the one of 1980 itself, which makes up for NT counting
// from 1; and 5 days lie between 1 and 6 January 1980.
constexpr uint32_t kYearsFrom1980 = 15;
constexpr uint32_t kDaysPerCommonYear = 365;
constexpr uint32_t kDaysBeforeGpsEpoch = 5;
// Leap seconds taken while the run has no UTC data, and the least value of
// GPS minus UTC believed: anything lower is a damaged or foreign value.
constexpr double kDefaultLeapSeconds = 15.0;
constexpr double kLeastLeapSeconds = 5.0;
// The double nearest 1/604800: the week comes from a multiplication.
constexpr double kWeeksPerSecond = 1.6534391534391535e-6;
static_assert(std::bit_cast<uint64_t>(kWeeksPerSecond) == 0x3EBBBD779334EF0Bull,
              "the week factor is this exact double");

// ---------------------------------------------------------------------------
// String access

// Word `word` (0 to 2) of string `string` (1 to 5).
uint32_t StringWord(const uint8_t* frame, uint32_t string, uint32_t word)
{
    return ReadU32(frame, kBin65StringsOffset + ((string - 1) * kWordsPerString + word) * kBytesPerWord);
}

// A field whose high bits end one word and whose `lowWidth` low bits start
// the next one at its bit 31.
uint32_t Split(uint32_t first, uint32_t firstHigh, uint32_t second, uint32_t lowWidth)
{
    return Bits(first, firstHigh, 0) << lowWidth | Bits(second, 31, 32 - lowWidth);
}

// A sign-magnitude field: the magnitude times the factor, negated when the
// sign is set, so that a set sign on 0 gives minus zero.
double SignMagnitude(bool negative, uint32_t magnitude, double factor)
{
    const double value = static_cast<double>(magnitude) * factor;
    return negative ? -value : value;
}

// A sign-magnitude field made into a signed integer first: 0 stays plus zero.
double SignedInteger(bool negative, uint32_t magnitude, double factor)
{
    const int64_t value = negative ? -static_cast<int64_t>(magnitude) : static_cast<int64_t>(magnitude);
    return static_cast<double>(value) * factor;
}

bool SignBit(uint32_t word, uint32_t bit)
{
    return Bits(word, bit, bit) != 0;
}

// Velocity, acceleration and position of one axis, laid out alike in
// strings 1, 2 and 3.
void DecodeAxis(const uint8_t* frame, uint32_t string, double& position, double& velocity, double& acceleration)
{
    const uint32_t w0 = StringWord(frame, string, 0);
    const uint32_t w1 = StringWord(frame, string, 1);
    const uint32_t w2 = StringWord(frame, string, 2);
    velocity = SignMagnitude(SignBit(w0, 10), Split(w0, 9, w1, 13), kTwoPowMinus20);
    acceleration = SignMagnitude(SignBit(w1, 18), Bits(w1, 17, 14), kTwoPowMinus30);
    position = SignMagnitude(SignBit(w1, 13), Split(w1, 12, w2, 13), kTwoPowMinus11);
}

// Fills every field the strings give.
void DecodeStrings(const uint8_t* frame, SGlonassEphemeris& e)
{
    const uint32_t s1w0 = StringWord(frame, 1, 0);
    e.m_uP1 = Bits(s1w0, 24, 23);
    e.m_uTkHours = Bits(s1w0, 22, 18);
    e.m_uTkMinutes = Bits(s1w0, 17, 12);
    e.m_uTkHalf = Bits(s1w0, 11, 11);
    DecodeAxis(frame, 1, e.m_dX, e.m_dVx, e.m_dAx);

    const uint32_t s2w0 = StringWord(frame, 2, 0);
    e.m_uBn = Bits(s2w0, 26, 24);
    e.m_uP2 = Bits(s2w0, 23, 23);
    e.m_uTbMinutes = Bits(s2w0, 22, 16) * kTbMinutesPerUnit;
    DecodeAxis(frame, 2, e.m_dY, e.m_dVy, e.m_dAy);

    const uint32_t s3w0 = StringWord(frame, 3, 0);
    e.m_uP3 = Bits(s3w0, 26, 26);
    e.m_dGamma = SignMagnitude(SignBit(s3w0, 25), Bits(s3w0, 24, 15), kTwoPowMinus40);
    e.m_uP = Bits(s3w0, 13, 12);
    e.m_uLn = Bits(s3w0, 11, 11);
    DecodeAxis(frame, 3, e.m_dZ, e.m_dVz, e.m_dAz);

    const uint32_t s4w0 = StringWord(frame, 4, 0);
    const uint32_t s4w1 = StringWord(frame, 4, 1);
    const uint32_t s4w2 = StringWord(frame, 4, 2);
    e.m_dTauN = SignMagnitude(SignBit(s4w0, 26), Bits(s4w0, 25, 5), kTwoPowMinus30);
    e.m_dDeltaTau = SignMagnitude(SignBit(s4w0, 4), Bits(s4w0, 3, 0), kTwoPowMinus30);
    e.m_uEn = Bits(s4w1, 31, 27);
    e.m_uP4 = Bits(s4w1, 12, 12);
    e.m_uNt = Split(s4w1, 4, s4w2, 6);
    // Kept as sent, whatever its range: nothing here indexes a table by it,
    // and a reader that does must check 1 to 24 itself.
    e.m_uSlot = Bits(s4w2, 25, 21);
    e.m_uM = Bits(s4w2, 20, 19);

    const uint32_t s5w0 = StringWord(frame, 5, 0);
    const uint32_t s5w1 = StringWord(frame, 5, 1);
    const uint32_t s5w2 = StringWord(frame, 5, 2);
    e.m_dTauC = SignedInteger(SignBit(s5w0, 15), Split(s5w0, 14, s5w1, 16), kTwoPowMinus31);
    e.m_uN4 = Bits(s5w1, 14, 10);
    e.m_dTauGps = SignedInteger(SignBit(s5w1, 9), Split(s5w1, 8, s5w2, 12), kTwoPowMinus30);

    e.m_uHealth = static_cast<uint16_t>(e.m_uBn << 4);
    e.m_uTb = static_cast<uint16_t>(e.m_uTbMinutes);
}

// True when the five strings of the two frames are alike, masked bits aside.
bool SameStrings(const uint8_t* cached, const uint8_t* frame)
{
    for (uint32_t string = 1; string <= kStrings; ++string)
    {
        for (uint32_t word = 0; word < kWordsPerString; ++word)
        {
            uint32_t mask = 0xFFFFFFFFu;
            if (word == 0 && string == 1)
                mask = kString1Word0Compared;
            else if (word == 0 && string == 3)
                mask = kString3Word0Compared;
            if ((StringWord(cached, string, word) & mask) != (StringWord(frame, string, word) & mask))
                return false;
        }
    }
    return true;
}

// GPS week and seconds of week of the GLONASS time `t` (seconds of the
// Moscow day) on day `nt` of four-year interval `n4`, with GPS minus UTC
// `gpsMinusUtc` (0 while unknown). False when that isn't known well enough to
// trust the result.
//
// The day arithmetic is unsigned 32-bit, so an N4 or NT of 0 wraps to a
// date far off instead of misbehaving; the record is still kept like any
// other if its orbit passes.
bool GlonassTimeToGps(uint32_t n4, uint32_t nt, double t, double gpsMinusUtc, uint32_t& week, double& seconds)
{
    // Moscow time to UTC: the first three hours of a Moscow day belong to
    // the UTC day before, which can lie in the interval before.
    MoscowToUtcDay(n4, nt, t);
    const uint32_t yearInInterval = YearOfInterval(nt);

    const uint32_t year = yearInInterval + kYearsPerInterval * (n4 - 1);
    const uint32_t days = (year + kYearsFrom1980) * kDaysPerCommonYear + ((year + kYearsFrom1980 - 1) >> 2) + nt -
                          kDaysBeforeGpsEpoch;
    double total = static_cast<double>(days * kDaySeconds);
    total += t;

    double leapSeconds = gpsMinusUtc;
    if (leapSeconds == 0.0)
        leapSeconds = kDefaultLeapSeconds;
    const bool trusted = leapSeconds > kLeastLeapSeconds;
    if (trusted)
        total += static_cast<double>(RoundToUnsigned(leapSeconds));

    // Below 2^33 seconds even with a damaged leap second value: the week
    // always fits.
    week = static_cast<uint32_t>(total * kWeeksPerSecond);
    seconds = total - static_cast<double>(week) * kSecondsPerWeek;
    return trusted;
}
} // namespace

void CGlonassNavState::OnBin65(const uint8_t* frame)
{
    const uint32_t satellite = ReadU8(frame, kBin65SatelliteOffset);
    if (satellite == 0 || satellite > kGlonassSlots)
        return;
    const uint32_t row = satellite - 1;

    uint8_t* cache = m_pGloMessageCache[row];
    if (SameStrings(cache, frame))
        return;
    // Cached before the contents are judged: a refused message that the
    // receiver repeats is not decoded again.
    std::memcpy(cache, frame, SBinaryMsg65::kFrameLength);

    SGlonassEphemeris record{};
    DecodeStrings(frame, record);
    const bool timeKnown =
        GlonassTimeToGps(record.m_uN4, record.m_uNt, record.m_uTbMinutes * kSecondsPerMinute,
                         GpsUtcOffset(m_LogTime.Now(), m_Utc.m_UtcParams), record.m_uGpsWeek, record.m_dGpsSeconds);
    record.m_uStatus = kStatusStored;
    if (!timeKnown)
        return;

    const double radiusSquared = record.m_dX * record.m_dX + record.m_dY * record.m_dY + record.m_dZ * record.m_dZ;
    const double speedSquared =
        record.m_dVx * record.m_dVx + record.m_dVy * record.m_dVy + record.m_dVz * record.m_dVz;
    if (!(radiusSquared > kMinRadiusSquaredKm2 && speedSquared < kMaxSpeedSquaredKm2PerS2))
        return;

    const uint32_t txTime = ReadU32(frame, kBin65TimeOffset);
    if (m_aGloEphemeris[row].m_uStatus != kStatusEmpty)
    {
        // A slot in use takes the new record at its next ActivateEphemeris;
        // its channel stays the one of its first record.
        m_aGloPendingEphemeris[row] = record;
        m_auPendingTxTime[row] = txTime;
        return;
    }

    m_aGloEphemeris[row] = record;
    m_auTxTime[row] = txTime;
    UpdateEphemerisAge(satellite);
    UpdateElevation(satellite, true);
    // The channel goes with the message's slot, not with n of string 4.
    m_Frequencies.SetGlonassSlotChannel(satellite, static_cast<int16_t>(ReadU8(frame, kBin65ChannelCodeOffset)));
}
