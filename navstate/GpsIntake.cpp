// Intake of the GPS and SBAS broadcast data: BIN95 (raw words of subframes 1
// to 3 of a GPS satellite) and BIN93 (an SBAS geostationary ephemeris), each
// turned into an SGpsEphemeris in the current or the pending table of its row.

#include "navstate/NavState.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "logio/BinaryMessages.h"
#include "logio/BitReader.h"
#include "logio/ByteReader.h"

namespace
{
// ---------------------------------------------------------------------------
// BIN95 layout (frame offsets)

constexpr uint32_t kBin95SatelliteOffset = 8;
constexpr uint32_t kBin95Tow6Offset = 12;
// The ten words of subframe 1, 2, 3 start here; word n is element n - 1.
constexpr uint32_t kBin95SubframeOffset[3] = {16, 56, 96};
constexpr uint32_t kWordsPerSubframe = 10;
constexpr uint32_t kBytesPerWord = 4;
// Words 1 and 2 (TLM and HOW) carry nothing the record needs: the cache
// comparison and the decoder start at word 3.
constexpr uint32_t kFirstDataWord = 3;

constexpr uint32_t kSecondsPerTow6 = 6; // m_uTow6 counts units of 6 seconds

// The 10-bit week number is taken into 1737 to 2760: 1024 is added when that
// reaches 1737, else 2048.
constexpr uint32_t kWeekFirstRollover = 1024;
constexpr uint32_t kWeekSecondRollover = 2048;
constexpr uint32_t kWeekLowest = 1737;
// A reference time further than half a week from the data time belongs to
// the neighbouring week.

// Plausibility of a decoded orbit, both limits strict.
constexpr double kMinSqrtA = 3000.0;
constexpr double kMaxEcc = 0.2;

// Scale factors of the subframe fields. They are short decimal values near
// the powers of two of IS-GPS-200, not those powers themselves, and their
// digits reach the navigation file: keep them exactly as written.
constexpr double kF19 = 1.907348633e-6;             // near 2^-19
constexpr double kF29 = 1.862645149e-9;             // near 2^-29
constexpr double kF31 = 4.656612873e-10;            // near 2^-31
constexpr double kF33 = 1.164153218e-10;            // near 2^-33
constexpr double kF43 = 1.136868377e-13;            // near 2^-43
constexpr double kF55 = 2.775557562e-17;            // near 2^-55
constexpr double kFPi31 = 1.4629180792428494e-9;    // near pi x 2^-31
constexpr double kFPi43 = 3.5715773412817597e-13;   // near pi x 2^-43
constexpr double kTimeFactor = 16.0;                // toc, toe
constexpr double kHarmonicRadiusFactor = 0.03125;   // Crs, Crc

// ---------------------------------------------------------------------------
// BIN93 layout (frame offsets) and scale factors

constexpr uint32_t kBin93SatelliteOffset = 8;
constexpr uint32_t kBin93WeekOffset = 10;
constexpr uint32_t kBin93TowOffset = 12;
constexpr uint32_t kBin93IodOffset = 16;
constexpr uint32_t kBin93UraIndexOffset = 18;
constexpr uint32_t kBin93T0Offset = 20;
constexpr uint32_t kBin93XOffset = 24;
constexpr uint32_t kBin93YOffset = 28;
constexpr uint32_t kBin93ZOffset = 32;
constexpr uint32_t kBin93XDotOffset = 36;
constexpr uint32_t kBin93YDotOffset = 40;
constexpr uint32_t kBin93ZDotOffset = 44;
constexpr uint32_t kBin93XDotDotOffset = 48;
constexpr uint32_t kBin93YDotDotOffset = 52;
constexpr uint32_t kBin93ZDotDotOffset = 56;
constexpr uint32_t kBin93Af0Offset = 60;
constexpr uint32_t kBin93Af1Offset = 62;

constexpr double kSbasXyFactor = 0.08;           // metres
constexpr double kSbasZFactor = 0.4;             // metres
constexpr double kSbasVxyFactor = 0.000625;      // metres per second
constexpr double kSbasVzFactor = 0.004;          // metres per second
constexpr double kSbasAxyFactor = 1.25e-5;       // metres per second squared
constexpr double kSbasAzFactor = 6.25e-5;        // metres per second squared
constexpr double kSbasAf0Factor = 4.656612873077e-10;  // seconds
constexpr double kSbasAf1Factor = 9.094947017729e-13;  // seconds per second

// Both messages share one cache row per satellite row.
using CacheRow = std::remove_pointer_t<decltype(CGpsNavState::m_pMessageCache)>;
static_assert(SBinaryMsg95::kFrameLength <= sizeof(CacheRow), "a BIN95 fits its cache row");
static_assert(SBinaryMsg93::kFrameLength <= sizeof(CacheRow), "a BIN93 fits its cache row");

// ---------------------------------------------------------------------------
// Word access

// Word n (1 to 10) of subframe s (1 to 3), right-justified as stored.
uint32_t SubframeWord(const uint8_t* frame, uint32_t subframe, uint32_t word)
{
    return ReadU32(frame, kBin95SubframeOffset[subframe - 1] + (word - 1) * kBytesPerWord);
}

// Bits 29-6 of a word: the 24 data bits.
uint32_t DataBits(uint32_t word)
{
    return Bits(word, 29, 6);
}

// A 32-bit field over two words: bits 13-6 of the first give the high 8 bits,
// bits 29-6 of the second the low 24.
uint32_t SplitField(uint32_t first, uint32_t second)
{
    return Bits(first, 13, 6) << 24 | DataBits(second);
}

// The two's complement value of a `width`-bit field, worked out in 64 bits
// so that no shift or conversion of a signed value is involved.
int64_t Signed(uint32_t bits, uint32_t width)
{
    const int64_t value = bits;
    const bool negative = ((bits >> (width - 1)) & 1u) != 0;
    return negative ? value - (int64_t{1} << width) : value;
}

// One multiplication of the integer by its factor.
double Scaled(int64_t value, double factor)
{
    return static_cast<double>(value) * factor;
}

// Fills the record from subframes 1 to 3 and gives back the 10-bit week
// number. The IODE of subframe 3 and the agreement of the three issue
// numbers are not looked at.
uint32_t DecodeSubframes(const uint8_t* frame, SGpsEphemeris& e)
{
    // Subframe 1: clock, health, accuracy.
    const uint32_t s1w3 = SubframeWord(frame, 1, 3);
    const uint32_t weekNumber = Bits(s1w3, 29, 20);
    e.m_uUra = static_cast<uint16_t>(Bits(s1w3, 17, 14));
    e.m_uHealth = static_cast<uint16_t>(Bits(s1w3, 13, 8));
    e.m_uL2PFlag = static_cast<uint16_t>(Bits(SubframeWord(frame, 1, 4), 29, 29));
    e.m_dTgd = Scaled(Signed(Bits(SubframeWord(frame, 1, 7), 13, 6), 8), kF31);
    const uint32_t s1w8 = SubframeWord(frame, 1, 8);
    e.m_uIodc = static_cast<uint16_t>(Bits(s1w3, 7, 6) << 8 | Bits(s1w8, 29, 22));
    e.m_dToc = Scaled(Bits(s1w8, 21, 6), kTimeFactor);
    const uint32_t s1w9 = SubframeWord(frame, 1, 9);
    e.m_dAf2 = Scaled(Signed(Bits(s1w9, 29, 22), 8), kF55);
    e.m_dAf1 = Scaled(Signed(Bits(s1w9, 21, 6), 16), kF43);
    e.m_dAf0 = Scaled(Signed(Bits(SubframeWord(frame, 1, 10), 29, 8), 22), kF31);

    // Subframe 2.
    const uint32_t s2w3 = SubframeWord(frame, 2, 3);
    e.m_uIode = static_cast<uint16_t>(Bits(s2w3, 29, 22));
    e.m_dCrs = Scaled(Signed(Bits(s2w3, 21, 6), 16), kHarmonicRadiusFactor);
    const uint32_t s2w4 = SubframeWord(frame, 2, 4);
    e.m_dDeltaN = Scaled(Signed(Bits(s2w4, 29, 14), 16), kFPi43);
    e.m_dM0 = Scaled(Signed(SplitField(s2w4, SubframeWord(frame, 2, 5)), 32), kFPi31);
    const uint32_t s2w6 = SubframeWord(frame, 2, 6);
    e.m_dCuc = Scaled(Signed(Bits(s2w6, 29, 14), 16), kF29);
    e.m_dEcc = Scaled(SplitField(s2w6, SubframeWord(frame, 2, 7)), kF33);
    const uint32_t s2w8 = SubframeWord(frame, 2, 8);
    e.m_dCus = Scaled(Signed(Bits(s2w8, 29, 14), 16), kF29);
    e.m_dSqrtA = Scaled(SplitField(s2w8, SubframeWord(frame, 2, 9)), kF19);
    const uint32_t s2w10 = SubframeWord(frame, 2, 10);
    e.m_dToe = Scaled(Bits(s2w10, 29, 14), kTimeFactor);
    e.m_uFitFlag = Bits(s2w10, 13, 13);

    // Subframe 3.
    const uint32_t s3w3 = SubframeWord(frame, 3, 3);
    e.m_dCic = Scaled(Signed(Bits(s3w3, 29, 14), 16), kF29);
    e.m_dOmega0 = Scaled(Signed(SplitField(s3w3, SubframeWord(frame, 3, 4)), 32), kFPi31);
    const uint32_t s3w5 = SubframeWord(frame, 3, 5);
    e.m_dCis = Scaled(Signed(Bits(s3w5, 29, 14), 16), kF29);
    e.m_dI0 = Scaled(Signed(SplitField(s3w5, SubframeWord(frame, 3, 6)), 32), kFPi31);
    const uint32_t s3w7 = SubframeWord(frame, 3, 7);
    e.m_dCrc = Scaled(Signed(Bits(s3w7, 29, 14), 16), kHarmonicRadiusFactor);
    e.m_dOmega = Scaled(Signed(SplitField(s3w7, SubframeWord(frame, 3, 8)), 32), kFPi31);
    e.m_dOmegaDot = Scaled(Signed(DataBits(SubframeWord(frame, 3, 9)), 24), kFPi43);
    e.m_dIdot = Scaled(Signed(Bits(SubframeWord(frame, 3, 10), 21, 8), 14), kFPi43);

    return weekNumber;
}

// Step of both intakes: the first record of a row goes into use at once and
// is evaluated; any later one waits in the pending table, replacing what
// waited there, until the row's next ActivateEphemeris.
void StoreRecord(CGpsNavState& nav, uint32_t row, const SGpsEphemeris& record, uint32_t txTime)
{
    if (row >= kSatRows)
        return;
    if (nav.m_aEphemeris[row].m_uStatus != kStatusEmpty)
    {
        nav.m_aPendingEphemeris[row] = record;
        nav.m_auPendingTxTime[row] = txTime;
        return;
    }

    nav.m_aEphemeris[row] = record;
    nav.m_auTxTime[row] = txTime;
    // The internal number (row plus 1) addresses this row whatever the
    // satellite's true number: an SBAS number from 33 to 35 would otherwise
    // be taken for a row number of its own.
    const uint32_t internalPrn = row + 1;
    nav.UpdateEphemerisAge(internalPrn);
    nav.UpdateElevation(internalPrn, true);
}
} // namespace

int CompareBin95(const uint8_t* cached, const uint8_t* message)
{
    for (uint32_t subframe = 1; subframe <= 3; ++subframe)
    {
        for (uint32_t word = kFirstDataWord; word <= kWordsPerSubframe; ++word)
        {
            if (SubframeWord(cached, subframe, word) != SubframeWord(message, subframe, word))
                return 1;
        }
    }
    return 0;
}

void CGpsNavState::OnBin95(const uint8_t* frame)
{
    const uint32_t satellite = ReadU16(frame, kBin95SatelliteOffset);
    // GPS numbers only: they own rows 0 to 31 for good.
    if (satellite == 0 || satellite > kFixedRows)
        return;
    const uint32_t row = satellite - 1;

    // Only the data words count: a message that repeats them with a new time
    // or new TLM/HOW words is the same ephemeris.
    uint8_t* cache = m_pMessageCache[row];
    if (CompareBin95(cache, frame) == 0)
        return;
    // Cached before the contents are judged, so that a refused message is not
    // decoded again each time the receiver repeats it.
    std::memcpy(cache, frame, SBinaryMsg95::kFrameLength);

    SGpsEphemeris record{};
    const uint32_t weekNumber = DecodeSubframes(frame, record);

    const uint32_t afterFirstRollover = weekNumber + kWeekFirstRollover;
    const uint32_t week = afterFirstRollover >= kWeekLowest ? afterFirstRollover : weekNumber + kWeekSecondRollover;
    record.m_uWeek = static_cast<uint16_t>(week);

    const uint32_t tow6 = ReadU32(frame, kBin95Tow6Offset);
    const double t = static_cast<double>(tow6) * static_cast<double>(kSecondsPerTow6);
    record.m_uTocWeek = WeekOfReference(record.m_uWeek, record.m_dToc, t);
    record.m_uToeWeek = WeekOfReference(record.m_uWeek, record.m_dToe, t);
    record.m_uStatus = kStatusStored;

    // Health plays no part here: an unhealthy satellite's record is kept and
    // written like any other.
    if (!(record.m_dSqrtA > kMinSqrtA && record.m_dEcc < kMaxEcc))
        return;

    // Unsigned arithmetic: a nonsense time of week wraps instead of overflowing.
    StoreRecord(*this, row, record, tow6 * kSecondsPerTow6);
}

void CGpsNavState::OnBin93(const uint8_t* frame)
{
    const int32_t index = SatIndexFromPRN(static_cast<int32_t>(ReadU16(frame, kBin93SatelliteOffset)));
    if (index < 0 || index >= static_cast<int32_t>(kSatRows))
        return;
    const uint32_t row = static_cast<uint32_t>(index);

    // Any byte counts, time and week included.
    uint8_t* cache = m_pMessageCache[row];
    if (std::memcmp(cache, frame, SBinaryMsg93::kFrameLength) == 0)
        return;
    std::memcpy(cache, frame, SBinaryMsg93::kFrameLength);

    // Health, fit flag and the Kepler fields stay zero; the geostationary
    // state takes the nine doubles from m_dTgd to m_dCrc.
    SGpsEphemeris record{};
    record.m_uStatus = kStatusStored;
    const uint16_t week = ReadU16(frame, kBin93WeekOffset);
    record.m_uWeek = week;
    record.m_uTocWeek = week;
    record.m_uToeWeek = week;
    const uint16_t iod = ReadU16(frame, kBin93IodOffset);
    record.m_uIodc = iod;
    record.m_uIode = iod;
    record.m_uUra = ReadU16(frame, kBin93UraIndexOffset);
    const double t0 = static_cast<double>(ReadI32(frame, kBin93T0Offset));
    record.m_dToc = t0;
    record.m_dToe = t0;
    record.m_dTgd = Scaled(ReadI32(frame, kBin93XOffset), kSbasXyFactor);              // m_dGeoX
    record.m_dTgd2 = Scaled(ReadI32(frame, kBin93YOffset), kSbasXyFactor);             // m_dGeoY
    record.m_dCrs = Scaled(ReadI32(frame, kBin93ZOffset), kSbasZFactor);               // m_dGeoZ
    record.m_dDeltaN = Scaled(ReadI32(frame, kBin93XDotOffset), kSbasVxyFactor);       // m_dGeoVx
    record.m_dCuc = Scaled(ReadI32(frame, kBin93YDotOffset), kSbasVxyFactor);          // m_dGeoVy
    record.m_dCus = Scaled(ReadI32(frame, kBin93ZDotOffset), kSbasVzFactor);           // m_dGeoVz
    record.m_dCic = Scaled(ReadI32(frame, kBin93XDotDotOffset), kSbasAxyFactor);       // m_dGeoAx
    record.m_dCis = Scaled(ReadI32(frame, kBin93YDotDotOffset), kSbasAxyFactor);       // m_dGeoAy
    record.m_dCrc = Scaled(ReadI32(frame, kBin93ZDotDotOffset), kSbasAzFactor);        // m_dGeoAz
    record.m_dAf0 = Scaled(ReadI16(frame, kBin93Af0Offset), kSbasAf0Factor);
    record.m_dAf1 = Scaled(ReadI16(frame, kBin93Af1Offset), kSbasAf1Factor);

    StoreRecord(*this, row, record, ReadU32(frame, kBin93TowOffset));
}
