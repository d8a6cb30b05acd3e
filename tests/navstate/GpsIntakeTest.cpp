#include "navstate/NavState.h"
#include "tests/navstate/NavTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>

#include "gnsstime/GpsTime.h"
#include "logbuild/GpsEphemerisEncoder.h"

namespace
{

// The factors from their bit patterns, so that a mistyped literal in the
// reader or the encoder shows.
const double kF19 = std::bit_cast<double>(0x3EC000000006C162ull);
const double kF29 = std::bit_cast<double>(0x3E1FFFFFFFEEF558ull);
const double kF31 = std::bit_cast<double>(0x3DFFFFFFFFFDB73Dull);
const double kF33 = std::bit_cast<double>(0x3DDFFFFFFFE03374ull);
const double kF43 = std::bit_cast<double>(0x3D3FFFFFFFE5DE2Aull);
const double kF55 = std::bit_cast<double>(0x3C800000000AD281ull);
const double kFPi31 = std::bit_cast<double>(0x3E1921FB544261E3ull);
const double kFPi43 = std::bit_cast<double>(0x3D5921FB542FA6F9ull);

constexpr int64_t kEccBelowLimit = 1717986918; // x F33 just below 0.2
constexpr int64_t kSqrtAAboveLimit = 1572864000; // x F19 just above 3000.0

class GpsIntakeTest : public ::testing::Test
{
protected:
    SNavTestRun m_Run;
    std::unique_ptr<CGpsNavState> m_pNav = m_Run.Gps();
    void Take(const Bytes& frame) { m_pNav->OnBin95(frame.data()); }
    void Take93(const Bytes& frame) { m_pNav->OnBin93(frame.data()); }
};

SGpsEphemerisValues Plausible(uint16_t iode = 7, uint32_t txTime = 6000)
{
    SGpsEphemerisValues v;
    v.m_uSatellite = 5;
    v.m_uTxTime = txTime;
    v.m_uIode = iode;
    v.m_dToe = 7200.0;
    v.m_dToc = 7200.0;
    v.m_dEcc = 1000 * kF33;
    v.m_dSqrtA = static_cast<double>(kSqrtAAboveLimit + 1000) * kF19;
    return v;
}

bool AllZero(const void* p, size_t n)
{
    const auto* b = static_cast<const uint8_t*>(p);
    return std::all_of(b, b + n, [](uint8_t x) { return x == 0; });
}

// Every double field at both ends of its bits: the lowest value (sign bit
// alone, or 0) and the highest (all bits but the sign, or all bits).
TEST_F(GpsIntakeTest, DecodesEveryFieldAtBothEndsOfItsRange)
{
    struct SField
    {
        double SGpsEphemerisValues::*m_pIn;
        double SGpsEphemeris::*m_pOut;
        double m_dFactor;
        int64_t m_iLow, m_iHigh;
    };
    const SField fields[] = {
        {&SGpsEphemerisValues::m_dTgd, &SGpsEphemeris::m_dTgd, kF31, -128, 127},
        {&SGpsEphemerisValues::m_dToc, &SGpsEphemeris::m_dToc, 16.0, 0, 0xFFFF},
        {&SGpsEphemerisValues::m_dAf2, &SGpsEphemeris::m_dAf2, kF55, -128, 127},
        {&SGpsEphemerisValues::m_dAf1, &SGpsEphemeris::m_dAf1, kF43, -32768, 32767},
        {&SGpsEphemerisValues::m_dAf0, &SGpsEphemeris::m_dAf0, kF31, -2097152, 2097151},
        {&SGpsEphemerisValues::m_dCrs, &SGpsEphemeris::m_dCrs, 0.03125, -32768, 32767},
        {&SGpsEphemerisValues::m_dDeltaN, &SGpsEphemeris::m_dDeltaN, kFPi43, -32768, 32767},
        {&SGpsEphemerisValues::m_dM0, &SGpsEphemeris::m_dM0, kFPi31, INT32_MIN, INT32_MAX},
        {&SGpsEphemerisValues::m_dCuc, &SGpsEphemeris::m_dCuc, kF29, -32768, 32767},
        {&SGpsEphemerisValues::m_dEcc, &SGpsEphemeris::m_dEcc, kF33, 0, kEccBelowLimit},
        {&SGpsEphemerisValues::m_dCus, &SGpsEphemeris::m_dCus, kF29, -32768, 32767},
        {&SGpsEphemerisValues::m_dSqrtA, &SGpsEphemeris::m_dSqrtA, kF19, kSqrtAAboveLimit, UINT32_MAX},
        {&SGpsEphemerisValues::m_dToe, &SGpsEphemeris::m_dToe, 16.0, 0, 0xFFFF},
        {&SGpsEphemerisValues::m_dCic, &SGpsEphemeris::m_dCic, kF29, -32768, 32767},
        {&SGpsEphemerisValues::m_dOmega0, &SGpsEphemeris::m_dOmega0, kFPi31, INT32_MIN, INT32_MAX},
        {&SGpsEphemerisValues::m_dCis, &SGpsEphemeris::m_dCis, kF29, -32768, 32767},
        {&SGpsEphemerisValues::m_dI0, &SGpsEphemeris::m_dI0, kFPi31, INT32_MIN, INT32_MAX},
        {&SGpsEphemerisValues::m_dCrc, &SGpsEphemeris::m_dCrc, 0.03125, -32768, 32767},
        {&SGpsEphemerisValues::m_dOmega, &SGpsEphemeris::m_dOmega, kFPi31, INT32_MIN, INT32_MAX},
        {&SGpsEphemerisValues::m_dOmegaDot, &SGpsEphemeris::m_dOmegaDot, kFPi43, -8388608, 8388607},
        {&SGpsEphemerisValues::m_dIdot, &SGpsEphemeris::m_dIdot, kFPi43, -8192, 8191},
    };
    for (const bool high : {false, true})
    {
        SCOPED_TRACE(high ? "highest values" : "lowest values");
        auto nav = m_Run.Gps();
        SGpsEphemerisValues v = Plausible();
        v.m_uWeek = high ? 1023 : 0;
        v.m_uUra = high ? 15 : 0;
        v.m_uHealth = high ? 63 : 0;
        v.m_uIodc = high ? 1023 : 0;
        v.m_uIode = high ? 255 : 0;
        v.m_uL2PFlag = high ? 1 : 0;
        v.m_uFitFlag = high ? 1 : 0;
        for (const SField& f : fields)
            v.*f.m_pIn = static_cast<double>(high ? f.m_iHigh : f.m_iLow) * f.m_dFactor;
        nav->OnBin95(MakeBin95Frame(v).data());

        const SGpsEphemeris& e = nav->m_aEphemeris[4];
        EXPECT_EQ(e.m_uStatus, kStatusStored);
        EXPECT_EQ(e.m_uWeek, high ? 2047 : 2048);
        EXPECT_EQ(e.m_uUra, v.m_uUra);
        EXPECT_EQ(e.m_uHealth, v.m_uHealth);
        EXPECT_EQ(e.m_uIodc, v.m_uIodc);
        EXPECT_EQ(e.m_uIode, v.m_uIode);
        EXPECT_EQ(e.m_uL2PFlag, v.m_uL2PFlag);
        EXPECT_EQ(e.m_uFitFlag, v.m_uFitFlag);
        EXPECT_EQ(e.m_dTgd2, 0.0);
        for (const SField& f : fields)
            EXPECT_EQ(e.*f.m_pOut, static_cast<double>(high ? f.m_iHigh : f.m_iLow) * f.m_dFactor)
                << "factor " << f.m_dFactor;
    }
}

TEST_F(GpsIntakeTest, ResolvesDataAndReferenceWeeks)
{
    struct SCase
    {
        uint32_t m_uWeekNumber, m_uTxTime;
        double m_dToc, m_dToe;
        uint16_t m_uWeek, m_uTocWeek, m_uToeWeek;
    };
    const SCase cases[] = {
        {712, 0, 0.0, 0.0, 2760, 2760, 2760},
        {713, 0, 597600.0, 0.0, 1737, 1736, 1737},       // toc more than half a week ahead
        {100, 604794, 604784.0, 0.0, 2148, 2148, 2149},  // toe more than half a week behind
        {100, 302400, 604800.0, 0.0, 2148, 2148, 2148},  // exactly half a week either way
    };
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(c.m_uWeekNumber * 1000000 + c.m_uTxTime);
        auto nav = m_Run.Gps();
        SGpsEphemerisValues v = Plausible(7, c.m_uTxTime);
        v.m_uWeek = c.m_uWeekNumber;
        v.m_dToc = c.m_dToc;
        v.m_dToe = c.m_dToe;
        nav->OnBin95(MakeBin95Frame(v).data());
        const SGpsEphemeris& e = nav->m_aEphemeris[4];
        EXPECT_EQ(e.m_uWeek, c.m_uWeek);
        EXPECT_EQ(e.m_uTocWeek, c.m_uTocWeek);
        EXPECT_EQ(e.m_uToeWeek, c.m_uToeWeek);
        EXPECT_EQ(nav->m_auTxTime[4], c.m_uTxTime);
    }
}

// Refused messages change no table; a refused orbit still takes the cache
// row, an invalid satellite number touches nothing at all.
TEST_F(GpsIntakeTest, RefusesBadNumbersAndImplausibleOrbits)
{
    struct SCase
    {
        const char* m_szName;
        uint16_t m_uSatellite;
        int64_t m_iSqrtA, m_iEcc;
        bool m_bAccepted, m_bCached;
    };
    const SCase cases[] = {
        {"satellite 0", 0, kSqrtAAboveLimit, 0, false, false},
        {"satellite 33", 33, kSqrtAAboveLimit, 0, false, false},
        {"sqrt A just below 3000", 5, kSqrtAAboveLimit - 1, 0, false, true},
        {"sqrt A just above 3000", 5, kSqrtAAboveLimit, 0, true, true},
        {"e just above 0.2", 5, kSqrtAAboveLimit, kEccBelowLimit + 1, false, true},
        {"e just below 0.2", 5, kSqrtAAboveLimit, kEccBelowLimit, true, true},
        // On a fresh row these equal the zeroed cache row: dropped before any look.
        {"all-zero subframes", 5, 0, 0, false, false},
    };
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(c.m_szName);
        auto nav = m_Run.Gps();
        SGpsEphemerisValues v = Plausible();
        v.m_uSatellite = c.m_uSatellite;
        v.m_dSqrtA = static_cast<double>(c.m_iSqrtA) * kF19;
        v.m_dEcc = static_cast<double>(c.m_iEcc) * kF33;
        SGpsSubframes words = EncodeGpsSubframes(v);
        if (c.m_iSqrtA == 0)
            words = SGpsSubframes{};
        const Bytes frame = MakeBin95Frame(c.m_uSatellite, 1000, words);
        nav->OnBin95(frame.data());

        EXPECT_EQ(nav->m_aEphemeris[4].m_uStatus, c.m_bAccepted ? kStatusStored : kStatusEmpty);
        EXPECT_EQ(AllZero(nav->m_aEphemeris, sizeof(nav->m_aEphemeris)), !c.m_bAccepted);
        EXPECT_TRUE(AllZero(nav->m_aPendingEphemeris, sizeof(nav->m_aPendingEphemeris)));
        EXPECT_EQ(std::memcmp(nav->m_pMessageCache[4], frame.data(), frame.size()) == 0, c.m_bCached);
        EXPECT_EQ(AllZero(nav->m_pMessageCache, kSatRows * 140), !c.m_bCached);
    }

    // Every bit set: no field conversion may misbehave, and e is 0.5.
    SGpsSubframes ones;
    for (auto& subframe : ones.m_aauWord)
        for (uint32_t& word : subframe)
            word = 0xFFFFFFFFu;
    Take(MakeBin95Frame(5, 0xFFFFFFFFu, ones));
    EXPECT_EQ(m_pNav->m_aEphemeris[4].m_uStatus, kStatusEmpty);
}

// Only words 3 to 10 of each subframe tell a new message. Each variant is
// sent after the base message with a new time of week.
TEST_F(GpsIntakeTest, ComparesDataWordsOnly)
{
    // Subframe 0: nothing but the time changes.
    struct SCase
    {
        const char* m_szName;
        uint32_t m_uSubframe, m_uWord;
        bool m_bDecoded;
    };
    const SCase cases[] = {
        {"time of week only", 0, 0, false},
        {"TLM of subframe 2", 2, 1, false},
        {"HOW of subframe 3", 3, 2, false},
        {"reserved word 5 of subframe 1", 1, 5, true},
        {"word 10 of subframe 3", 3, 10, true},
    };
    const SGpsEphemerisValues v = Plausible();
    const SGpsSubframes base = EncodeGpsSubframes(v);
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(c.m_szName);
        auto nav = m_Run.Gps();
        nav->OnBin95(MakeBin95Frame(5, 1000, base).data());
        SGpsSubframes changed = base;
        if (c.m_uSubframe != 0)
            changed.m_aauWord[c.m_uSubframe - 1][c.m_uWord - 1] ^= 1u << 29;
        nav->OnBin95(MakeBin95Frame(5, 1001, changed).data());

        EXPECT_EQ(nav->m_auTxTime[4], 6000u);
        EXPECT_EQ(nav->m_auPendingTxTime[4], c.m_bDecoded ? 6006u : 0u);
        const SGpsEphemeris& pending = nav->m_aPendingEphemeris[4];
        EXPECT_EQ(pending.m_uStatus, c.m_bDecoded ? kStatusStored : kStatusEmpty);
        if (c.m_bDecoded)
        {
            EXPECT_EQ(pending.m_uIode, nav->m_aEphemeris[4].m_uIode);
            EXPECT_EQ(pending.m_dSqrtA, nav->m_aEphemeris[4].m_dSqrtA);
        }
    }
}

// The first record of a row goes into use and is evaluated at once; once a
// row is in use every new record waits in the pending table, the later
// replacing the earlier, unevaluated, until ActivateEphemeris.
TEST_F(GpsIntakeTest, LaterRecordsWaitInPendingTable)
{
    m_Run.SetLogTime(7260.0, 2048);
    Take(MakeBin95Frame(Plausible(7, 6000)));
    Take(MakeBin95Frame(Plausible(8, 6600)));
    Take(MakeBin95Frame(Plausible(9, 7200)));

    EXPECT_EQ(m_pNav->m_aEphemeris[4].m_uIode, 7);
    EXPECT_EQ(m_pNav->m_aEphemeris[4].m_uStatus, kStatusInFit);
    EXPECT_EQ(m_pNav->m_auTxTime[4], 6000u);
    EXPECT_EQ(m_pNav->m_aPendingEphemeris[4].m_uIode, 9);
    EXPECT_EQ(m_pNav->m_aPendingEphemeris[4].m_uStatus, kStatusStored);
    EXPECT_EQ(m_pNav->m_auPendingTxTime[4], 7200u);
}

// Every field of a BIN93, all negative so that a field read as unsigned
// shows; the geostationary state lies in the nine doubles from TGD to Crc.
TEST_F(GpsIntakeTest, SbasRecordTakesExtendedRowWithItsFactors)
{
    struct SField
    {
        double SSbasEphemerisValues::*m_pIn;
        double SGpsEphemeris::*m_pOut;
        int64_t m_iValue;
        uint64_t m_uFactorBits;
    };
    const SField fields[] = {
        {&SSbasEphemerisValues::m_dGeoX, &SGpsEphemeris::m_dTgd, INT32_MIN, 0x3FB47AE147AE147B},
        {&SSbasEphemerisValues::m_dGeoY, &SGpsEphemeris::m_dTgd2, -1, 0x3FB47AE147AE147B},
        {&SSbasEphemerisValues::m_dGeoZ, &SGpsEphemeris::m_dCrs, -123456789, 0x3FD999999999999A},
        {&SSbasEphemerisValues::m_dGeoVx, &SGpsEphemeris::m_dDeltaN, -2, 0x3F447AE147AE147B},
        {&SSbasEphemerisValues::m_dGeoVy, &SGpsEphemeris::m_dCuc, -7, 0x3F447AE147AE147B},
        {&SSbasEphemerisValues::m_dGeoVz, &SGpsEphemeris::m_dCus, -70000, 0x3F70624DD2F1A9FC},
        {&SSbasEphemerisValues::m_dGeoAx, &SGpsEphemeris::m_dCic, -5, 0x3EEA36E2EB1C432D},
        {&SSbasEphemerisValues::m_dGeoAy, &SGpsEphemeris::m_dCis, -3, 0x3EEA36E2EB1C432D},
        {&SSbasEphemerisValues::m_dGeoAz, &SGpsEphemeris::m_dCrc, INT32_MIN + 1, 0x3F10624DD2F1A9FC},
        {&SSbasEphemerisValues::m_dAf0, &SGpsEphemeris::m_dAf0, INT16_MIN, 0x3DFFFFFFFFFFFD09},
        {&SSbasEphemerisValues::m_dAf1, &SGpsEphemeris::m_dAf1, -1, 0x3D6FFFFFFFFFFEE8},
    };
    SSbasEphemerisValues v;
    v.m_uSatellite = 133;
    v.m_uWeek = 2200;
    v.m_uTow = 345678;
    v.m_uIod = 201;
    v.m_uUraIndex = 14;
    v.m_iT0 = -16;
    for (const SField& f : fields)
        v.*f.m_pIn = static_cast<double>(f.m_iValue) * std::bit_cast<double>(f.m_uFactorBits);
    Take93(MakeBin93Frame(v));

    ASSERT_EQ(m_pNav->m_auTruePRN[32], 133u);
    const SGpsEphemeris& e = m_pNav->m_aEphemeris[32];
    EXPECT_EQ(e.m_uStatus, kStatusStored);
    EXPECT_EQ(m_pNav->m_auTxTime[32], 345678u);
    EXPECT_EQ(e.m_uWeek + e.m_uTocWeek + e.m_uToeWeek, 3 * 2200);
    EXPECT_EQ(e.m_uIodc, 201);
    EXPECT_EQ(e.m_uIode, 201);
    EXPECT_EQ(e.m_uUra, 14);
    EXPECT_EQ(e.m_dToc, -16.0);
    EXPECT_EQ(e.m_dToe, -16.0);
    for (const SField& f : fields)
        EXPECT_EQ(e.*f.m_pOut, static_cast<double>(f.m_iValue) * std::bit_cast<double>(f.m_uFactorBits))
            << f.m_iValue;
    EXPECT_EQ(e.m_dSqrtA, 0.0);

    // Any byte counts: the same message is dropped, a new time alone is new.
    Take93(MakeBin93Frame(v));
    EXPECT_EQ(m_pNav->m_aPendingEphemeris[32].m_uStatus, kStatusEmpty);
    v.m_uTow += 1;
    Take93(MakeBin93Frame(v));
    EXPECT_EQ(m_pNav->m_aPendingEphemeris[32].m_uStatus, kStatusStored);
    EXPECT_EQ(m_pNav->m_auPendingTxTime[32], 345679u);
}

} // namespace
