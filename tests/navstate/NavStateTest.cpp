#include "navstate/NavState.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

#include "gnsstime/GpsTime.h"

namespace
{

constexpr uint32_t kWeek = 2100;
constexpr double kToe = 100000.0;

// Tests set the run's log time; every test leaves it at week 0, 0.0.
class NavStateTest : public ::testing::Test
{
protected:
    void SetUp() override { SetLogTime(0.0, 0); }
    void TearDown() override { SetLogTime(0.0, 0); }
};

using GpsTableTest = NavStateTest;
using GlonassTableTest = NavStateTest;

SGpsEphemeris GpsRecord(uint16_t iode, uint32_t fitFlag = 0, uint16_t health = 0, uint16_t toeWeek = kWeek,
                        double toe = kToe)
{
    SGpsEphemeris e{};
    e.m_uStatus = kStatusStored;
    e.m_uHealth = health;
    e.m_uWeek = toeWeek;
    e.m_uIode = iode;
    e.m_uIodc = iode;
    e.m_uToeWeek = toeWeek;
    e.m_dToe = toe;
    e.m_uTocWeek = toeWeek;
    e.m_dToc = toe;
    e.m_uFitFlag = fitFlag;
    e.m_dSqrtA = 5153.7;
    return e;
}

SGlonassEphemeris GloRecord(uint16_t tb, uint32_t bn = 0, uint32_t ln = 0, uint32_t week = kWeek,
                            double seconds = kToe)
{
    SGlonassEphemeris e{};
    e.m_uStatus = kStatusStored;
    e.m_uTbMinutes = tb;
    e.m_uTb = tb;
    e.m_uGpsWeek = week;
    e.m_dGpsSeconds = seconds;
    e.m_uBn = bn;
    e.m_uLn = ln;
    e.m_uHealth = static_cast<uint16_t>(bn << 4);
    return e;
}

// Status of a GPS record in `prn`'s row after evaluation at toe + dt.
uint16_t GpsStatusAtAge(uint32_t fitFlag, double dt, uint16_t health = 0)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aEphemeris[4] = GpsRecord(7, fitFlag, health);
    SetLogTime(kToe + dt, kWeek);
    nav->UpdateEphemerisAge(5);
    SetLogTime(0.0, 0);
    return nav->m_aEphemeris[4].m_uStatus;
}

bool AllZero(const void* p, size_t n)
{
    const uint8_t* b = static_cast<const uint8_t*>(p);
    for (size_t i = 0; i < n; ++i)
        if (b[i] != 0)
            return false;
    return true;
}

// ---------------------------------------------------------------------------
// Construction

TEST_F(GpsTableTest, ConstructionZeroesTheTablesAndPresetsTheNumbers)
{
    auto nav = std::make_unique<CGpsNavState>();
    for (uint32_t row = 0; row < 32; ++row)
        EXPECT_EQ(nav->m_auTruePRN[row], row + 1);
    EXPECT_EQ(nav->m_auTruePRN[32], 122u);
    EXPECT_EQ(nav->m_auTruePRN[33], 134u);
    EXPECT_EQ(nav->m_auTruePRN[34], 35u);
    EXPECT_EQ(nav->m_uExtendedCount, 0u);
    EXPECT_TRUE(AllZero(nav->m_abExtendedUsed, sizeof(nav->m_abExtendedUsed)));
    EXPECT_TRUE(AllZero(nav->m_aEphemeris, sizeof(nav->m_aEphemeris)));
    EXPECT_TRUE(AllZero(nav->m_aPendingEphemeris, sizeof(nav->m_aPendingEphemeris)));
    EXPECT_TRUE(AllZero(nav->m_aSatState, sizeof(nav->m_aSatState)));
    EXPECT_TRUE(AllZero(nav->m_auTxTime, sizeof(nav->m_auTxTime)));
    EXPECT_TRUE(AllZero(nav->m_auPendingTxTime, sizeof(nav->m_auPendingTxTime)));
    for (uint32_t row = 0; row < kSatRows; ++row)
    {
        EXPECT_EQ(nav->m_adElevation[row], 0.0);
        EXPECT_EQ(nav->m_adAzimuth[row], 0.0);
    }
    ASSERT_NE(nav->m_pMessageCache, nullptr);
    EXPECT_TRUE(AllZero(nav->m_pMessageCache, kSatRows * 140));
}

TEST_F(GlonassTableTest, ConstructionZeroesItsOwnTablesToo)
{
    auto nav = std::make_unique<CGlonassNavState>();
    EXPECT_EQ(nav->m_auTruePRN[0], 1u);
    EXPECT_EQ(nav->m_auTruePRN[32], 122u);
    EXPECT_TRUE(AllZero(nav->m_aEphemeris, sizeof(nav->m_aEphemeris)));
    EXPECT_TRUE(AllZero(nav->m_aGloEphemeris, sizeof(nav->m_aGloEphemeris)));
    EXPECT_TRUE(AllZero(nav->m_aGloPendingEphemeris, sizeof(nav->m_aGloPendingEphemeris)));
    ASSERT_NE(nav->m_pMessageCache, nullptr);
    ASSERT_NE(nav->m_pGloMessageCache, nullptr);
    EXPECT_TRUE(AllZero(nav->m_pMessageCache, kSatRows * 140));
    EXPECT_TRUE(AllZero(nav->m_pGloMessageCache, kSatRows * 80));
    // Destruction through the base class frees both caches (checked by the sanitizer build).
    std::unique_ptr<CGpsNavState> asBase = std::move(nav);
    asBase.reset();
}

TEST(NavStateGlobals, RunWideObjectsAreBuiltWithTheirCaches)
{
    EXPECT_NE(g_GpsNavState.m_pMessageCache, nullptr);
    EXPECT_NE(g_BeidouNavState.m_pMessageCache, nullptr);
    EXPECT_NE(g_GlonassNavState.m_pMessageCache, nullptr);
    EXPECT_NE(g_GlonassNavState.m_pGloMessageCache, nullptr);
    EXPECT_NE(&g_GpsNavState, &g_BeidouNavState);
}

// ---------------------------------------------------------------------------
// Satellite numbers and rows

TEST_F(GpsTableTest, FixedNumbersAreTheirRows)
{
    auto nav = std::make_unique<CGpsNavState>();
    EXPECT_EQ(nav->SatIndexFromPRN(1), 0);
    EXPECT_EQ(nav->SatIndexFromPRN(17), 16);
    EXPECT_EQ(nav->SatIndexFromPRN(32), 31);
    EXPECT_EQ(nav->m_uExtendedCount, 0u);
}

TEST_F(GpsTableTest, ZeroAndNegativeNumbersHaveNoRowAndRegisterNothing)
{
    auto nav = std::make_unique<CGpsNavState>();
    EXPECT_EQ(nav->SatIndexFromPRN(0), -1);
    EXPECT_EQ(nav->SatIndexFromPRN(-5), -1);
    EXPECT_EQ(nav->SatIndexFromPRN(INT32_MIN), -1);
    EXPECT_EQ(nav->m_uExtendedCount, 0u);
    EXPECT_TRUE(AllZero(nav->m_abExtendedUsed, sizeof(nav->m_abExtendedUsed)));
    EXPECT_EQ(nav->m_auTruePRN[32], 122u);
    EXPECT_EQ(nav->m_auTruePRN[33], 134u);
    EXPECT_EQ(nav->m_auTruePRN[34], 35u);
}

TEST_F(GpsTableTest, NewNumbersTakeTheExtendedRowsAndOverwriteThePresets)
{
    auto nav = std::make_unique<CGpsNavState>();
    EXPECT_EQ(nav->SatIndexFromPRN(133), 32);
    EXPECT_EQ(nav->SatIndexFromPRN(135), 33);
    EXPECT_EQ(nav->SatIndexFromPRN(138), 34);
    EXPECT_EQ(nav->m_auTruePRN[32], 133u);
    EXPECT_EQ(nav->m_auTruePRN[33], 135u);
    EXPECT_EQ(nav->m_auTruePRN[34], 138u);
    EXPECT_EQ(nav->m_uExtendedCount, 3u);
    // The presets are gone.
    EXPECT_EQ(nav->SatIndexFromPRN(122), -1);
    EXPECT_EQ(nav->SatIndexFromPRN(134), -1);
    // Known numbers keep their rows.
    EXPECT_EQ(nav->SatIndexFromPRN(135), 33);
    EXPECT_EQ(nav->SatIndexFromPRN(133), 32);
    EXPECT_EQ(nav->m_uExtendedCount, 3u);
}

TEST_F(GpsTableTest, PresetNumbersKeepTheirRows)
{
    auto nav = std::make_unique<CGpsNavState>();
    EXPECT_EQ(nav->SatIndexFromPRN(122), 32);
    EXPECT_EQ(nav->m_abExtendedUsed[0], 1);
    EXPECT_EQ(nav->m_uExtendedCount, 1u);
    EXPECT_EQ(nav->SatIndexFromPRN(122), 32);
    EXPECT_EQ(nav->m_uExtendedCount, 1u); // asked again: not counted twice
    EXPECT_EQ(nav->SatIndexFromPRN(134), 33);
    EXPECT_EQ(nav->m_abExtendedUsed[1], 1);
    EXPECT_EQ(nav->m_uExtendedCount, 2u);
    EXPECT_EQ(nav->m_auTruePRN[32], 122u);
    EXPECT_EQ(nav->m_auTruePRN[33], 134u);
}

TEST_F(GpsTableTest, NewNumberSkipsRowsAlreadyTaken)
{
    auto nav = std::make_unique<CGpsNavState>();
    EXPECT_EQ(nav->SatIndexFromPRN(134), 33); // preset row 33 marked
    EXPECT_EQ(nav->SatIndexFromPRN(140), 32); // first free row, overwriting 122
    EXPECT_EQ(nav->SatIndexFromPRN(141), 34); // row 33 is taken, so row 34
    EXPECT_EQ(nav->SatIndexFromPRN(122), -1);
    EXPECT_EQ(nav->SatIndexFromPRN(134), 33);
}

TEST_F(GpsTableTest, FourthDistinctNumberHasNoRow)
{
    auto nav = std::make_unique<CGpsNavState>();
    EXPECT_EQ(nav->SatIndexFromPRN(122), 32);
    EXPECT_EQ(nav->SatIndexFromPRN(134), 33);
    EXPECT_EQ(nav->SatIndexFromPRN(140), 34);
    EXPECT_EQ(nav->SatIndexFromPRN(141), -1);
    EXPECT_EQ(nav->SatIndexFromPRN(141), -1);
    EXPECT_EQ(nav->m_uExtendedCount, 3u);
    EXPECT_EQ(nav->m_auTruePRN[32], 122u);
    EXPECT_EQ(nav->m_auTruePRN[33], 134u);
    EXPECT_EQ(nav->m_auTruePRN[34], 140u);
    EXPECT_EQ(nav->InternalPRNFromTruePRN(141), 0u);
}

TEST_F(GpsTableTest, RegisterLeavesFixedNumbersAlone)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->RegisterExtendedPRN(0);
    nav->RegisterExtendedPRN(5);
    nav->RegisterExtendedPRN(32);
    EXPECT_EQ(nav->m_uExtendedCount, 0u);
    EXPECT_EQ(nav->m_auTruePRN[32], 122u);
    nav->RegisterExtendedPRN(150);
    EXPECT_EQ(nav->m_uExtendedCount, 1u);
    EXPECT_EQ(nav->m_auTruePRN[32], 150u);
}

TEST_F(GpsTableTest, InternalNumbersUpTo35ComeBackUnchanged)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->SatIndexFromPRN(133);
    nav->SatIndexFromPRN(135);
    nav->SatIndexFromPRN(138);
    for (uint32_t prn = 1; prn <= 35; ++prn)
        EXPECT_EQ(nav->InternalPRNFromTruePRN(prn), prn);
    EXPECT_EQ(nav->InternalPRNFromTruePRN(133), 33u);
    EXPECT_EQ(nav->InternalPRNFromTruePRN(138), 35u);
    EXPECT_EQ(nav->InternalPRNFromTruePRN(0), 0u);
    EXPECT_EQ(nav->InternalPRNFromTruePRN(122), 0u);
}

TEST_F(GpsTableTest, InternalNumberRegistersAnUnknownNumber)
{
    auto nav = std::make_unique<CGpsNavState>();
    EXPECT_EQ(nav->InternalPRNFromTruePRN(134), 34u);
    EXPECT_EQ(nav->InternalPRNFromTruePRN(200), 33u);
    EXPECT_EQ(nav->m_uExtendedCount, 2u);
}

TEST_F(GpsTableTest, HugeUnsignedNumbersHaveNoRowAndRegisterNothing)
{
    auto nav = std::make_unique<CGpsNavState>();
    for (uint32_t prn : {0x80000000u, 0x80000021u, 0xFFFFFFFFu, 0xFFFFFFDEu})
    {
        EXPECT_EQ(nav->InternalPRNFromTruePRN(prn), 0u) << prn;
        EXPECT_EQ(nav->GetStructAlways(prn, nullptr), nullptr) << prn;
        EXPECT_FALSE(nav->ActivateEphemeris(prn)) << prn;
        nav->UpdateEphemerisAge(prn); // no row: nothing happens
    }
    EXPECT_EQ(nav->m_uExtendedCount, 0u);
    EXPECT_EQ(nav->m_auTruePRN[32], 122u);
}

// ---------------------------------------------------------------------------
// GetStructAlways

TEST_F(GpsTableTest, GetStructAlwaysAnswersTheCurrentRecordWithItsTxTime)
{
    auto nav = std::make_unique<CGpsNavState>();
    uint32_t tx = 12345;
    EXPECT_EQ(nav->GetStructAlways(5, &tx), nullptr);
    EXPECT_EQ(tx, 12345u); // untouched without a record

    nav->m_aEphemeris[4] = GpsRecord(9);
    nav->m_auTxTime[4] = 99990;
    const SGpsEphemeris* e = nav->GetStructAlways(5, &tx);
    ASSERT_EQ(e, &nav->m_aEphemeris[4]);
    EXPECT_EQ(tx, 99990u);
    EXPECT_EQ(nav->GetStructAlways(5, nullptr), &nav->m_aEphemeris[4]);

    // A status with neither of the two low bits set holds nothing.
    nav->m_aEphemeris[4].m_uStatus = kStatusUnhealthy;
    EXPECT_EQ(nav->GetStructAlways(5, &tx), nullptr);
    // 1, 2, 9, 10 hold a record.
    for (uint16_t s : {1, 2, 9, 10})
    {
        nav->m_aEphemeris[4].m_uStatus = s;
        EXPECT_NE(nav->GetStructAlways(5, nullptr), nullptr) << s;
    }
}

TEST_F(GpsTableTest, GetStructAlwaysOnNumbersWithoutRow)
{
    auto nav = std::make_unique<CGpsNavState>();
    uint32_t tx = 7;
    EXPECT_EQ(nav->GetStructAlways(0, &tx), nullptr);
    EXPECT_EQ(tx, 7u);
    // Number 35 is row 34, the last row.
    nav->m_aEphemeris[34] = GpsRecord(3);
    nav->m_auTxTime[34] = 42;
    EXPECT_EQ(nav->GetStructAlways(35, &tx), &nav->m_aEphemeris[34]);
    EXPECT_EQ(tx, 42u);
    // An SBAS number reaches its extended row.
    nav->m_aEphemeris[32] = GpsRecord(4);
    EXPECT_EQ(nav->GetStructAlways(122, nullptr), &nav->m_aEphemeris[32]);
}

// ---------------------------------------------------------------------------
// UpdateEphemerisAge

TEST_F(GpsTableTest, FitFlagZeroLimitIs14400Seconds)
{
    EXPECT_EQ(GpsStatusAtAge(0, 0.0), kStatusInFit);
    EXPECT_EQ(GpsStatusAtAge(0, 14399.5), kStatusInFit);
    EXPECT_EQ(GpsStatusAtAge(0, 14400.0), kStatusOutsideFit);
    EXPECT_EQ(GpsStatusAtAge(0, -14399.5), kStatusInFit);
    EXPECT_EQ(GpsStatusAtAge(0, -14400.0), kStatusOutsideFit);
}

TEST_F(GpsTableTest, FitFlagOneLimitIs21600Seconds)
{
    EXPECT_EQ(GpsStatusAtAge(1, 14400.0), kStatusInFit);
    EXPECT_EQ(GpsStatusAtAge(1, 21599.5), kStatusInFit);
    EXPECT_EQ(GpsStatusAtAge(1, 21600.0), kStatusOutsideFit);
    EXPECT_EQ(GpsStatusAtAge(1, -21600.0), kStatusOutsideFit);
}

TEST_F(GpsTableTest, OtherFitFlagsHaveLimitZero)
{
    EXPECT_EQ(GpsStatusAtAge(2, 0.0), kStatusOutsideFit);
    EXPECT_EQ(GpsStatusAtAge(2, 1.0), kStatusOutsideFit);
    EXPECT_EQ(GpsStatusAtAge(0xFFFFFFFFu, 0.0), kStatusOutsideFit);
}

TEST_F(GpsTableTest, HealthBit32AddsEight)
{
    EXPECT_EQ(GpsStatusAtAge(0, 10.0, 32), 10);
    EXPECT_EQ(GpsStatusAtAge(0, 20000.0, 32), 9);
    EXPECT_EQ(GpsStatusAtAge(0, 10.0, 63), 10);
    // Other health bits don't touch the status.
    EXPECT_EQ(GpsStatusAtAge(0, 10.0, 31), kStatusInFit);
    EXPECT_EQ(GpsStatusAtAge(0, 10.0, 1), kStatusInFit);
}

TEST_F(GpsTableTest, AgeAcrossTheWeekBoundary)
{
    auto nav = std::make_unique<CGpsNavState>();
    // toe at the very start of the next week: the log is 100 s before it.
    nav->m_aEphemeris[0] = GpsRecord(1, 0, 0, kWeek + 1, 0.0);
    SetLogTime(604700.0, kWeek);
    nav->UpdateEphemerisAge(1);
    EXPECT_EQ(nav->m_aEphemeris[0].m_uStatus, kStatusInFit);

    // toe late in the week, the log just after the week's turn.
    nav->m_aEphemeris[1] = GpsRecord(1, 0, 0, kWeek, 597600.0);
    SetLogTime(7199.0, kWeek + 1);
    nav->UpdateEphemerisAge(2);
    EXPECT_EQ(nav->m_aEphemeris[1].m_uStatus, kStatusInFit);
    SetLogTime(7200.0, kWeek + 1);
    nav->UpdateEphemerisAge(2);
    EXPECT_EQ(nav->m_aEphemeris[1].m_uStatus, kStatusOutsideFit);
}

TEST_F(GpsTableTest, StatusIsNotLatched)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aEphemeris[2] = GpsRecord(1);
    SetLogTime(kToe + 20000.0, kWeek);
    nav->UpdateEphemerisAge(3);
    EXPECT_EQ(nav->m_aEphemeris[2].m_uStatus, kStatusOutsideFit);
    SetLogTime(kToe + 100.0, kWeek);
    nav->UpdateEphemerisAge(3);
    EXPECT_EQ(nav->m_aEphemeris[2].m_uStatus, kStatusInFit);
}

TEST_F(GpsTableTest, LogWeekZeroEvaluatesNothing)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aEphemeris[2] = GpsRecord(1);
    SetLogTime(kToe, 0);
    nav->UpdateEphemerisAge(3);
    EXPECT_EQ(nav->m_aEphemeris[2].m_uStatus, kStatusStored);
    EXPECT_FALSE(nav->ActivateEphemeris(3));
    EXPECT_EQ(nav->m_aEphemeris[2].m_uStatus, kStatusStored);
}

TEST_F(GpsTableTest, EmptyRowStaysEmpty)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aEphemeris[2].m_dToe = kToe; // data without a status is not a record
    SetLogTime(kToe, kWeek);
    nav->UpdateEphemerisAge(3);
    EXPECT_EQ(nav->m_aEphemeris[2].m_uStatus, kStatusEmpty);
    EXPECT_FALSE(nav->ActivateEphemeris(3));
}

TEST_F(GpsTableTest, ExtendedRowsAreEvaluatedByNumber)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aEphemeris[33] = GpsRecord(5);
    SetLogTime(kToe + 60.0, kWeek);
    nav->UpdateEphemerisAge(134);
    EXPECT_EQ(nav->m_aEphemeris[33].m_uStatus, kStatusInFit);
    EXPECT_TRUE(nav->ActivateEphemeris(134));
}

// ---------------------------------------------------------------------------
// ActivateEphemeris

TEST_F(GpsTableTest, HealthyRecordInFitMayBeUsed)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aEphemeris[9] = GpsRecord(1);
    SetLogTime(kToe + 10.0, kWeek);
    nav->UpdateEphemerisAge(10);
    EXPECT_TRUE(nav->ActivateEphemeris(10));
    SetLogTime(kToe + 14400.0, kWeek);
    nav->UpdateEphemerisAge(10);
    EXPECT_FALSE(nav->ActivateEphemeris(10));
}

TEST_F(GpsTableTest, UnhealthyBitRefusesUseButKeepsTheRecord)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aEphemeris[9] = GpsRecord(1, 0, 32);
    nav->m_auTxTime[9] = 500;
    SetLogTime(kToe + 10.0, kWeek);
    nav->UpdateEphemerisAge(10);
    EXPECT_EQ(nav->m_aEphemeris[9].m_uStatus, 10);
    EXPECT_FALSE(nav->ActivateEphemeris(10));
    uint32_t tx = 0;
    EXPECT_EQ(nav->GetStructAlways(10, &tx), &nav->m_aEphemeris[9]);
    EXPECT_EQ(tx, 500u);
}

TEST_F(GpsTableTest, AnyNonZeroHealthRefusesUse)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aEphemeris[9] = GpsRecord(1, 0, 1);
    SetLogTime(kToe + 10.0, kWeek);
    nav->UpdateEphemerisAge(10);
    EXPECT_EQ(nav->m_aEphemeris[9].m_uStatus, kStatusInFit);
    EXPECT_FALSE(nav->ActivateEphemeris(10));
}

TEST_F(GpsTableTest, PendingRecordComesIntoUseWithItsTxTime)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aEphemeris[9] = GpsRecord(1, 0, 0, kWeek, kToe);
    nav->m_auTxTime[9] = 95000;
    nav->m_aPendingEphemeris[9] = GpsRecord(2, 0, 0, kWeek, kToe + 7200.0);
    nav->m_auPendingTxTime[9] = 102000;
    SetLogTime(kToe + 7300.0, kWeek);

    EXPECT_TRUE(nav->ActivateEphemeris(10));
    EXPECT_EQ(nav->m_aEphemeris[9].m_uIode, 2);
    EXPECT_EQ(nav->m_aEphemeris[9].m_dToe, kToe + 7200.0);
    EXPECT_EQ(nav->m_aEphemeris[9].m_uStatus, kStatusInFit);
    EXPECT_EQ(nav->m_auTxTime[9], 102000u);
    EXPECT_EQ(nav->m_aPendingEphemeris[9].m_uStatus, kStatusEmpty);
    EXPECT_EQ(nav->m_aPendingEphemeris[9].m_uIode, 0);

    // Once moved, further calls change nothing.
    nav->m_auPendingTxTime[9] = 1;
    EXPECT_TRUE(nav->ActivateEphemeris(10));
    EXPECT_EQ(nav->m_aEphemeris[9].m_uIode, 2);
    EXPECT_EQ(nav->m_auTxTime[9], 102000u);
}

TEST_F(GpsTableTest, PendingRecordFillsAnEmptyRow)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aPendingEphemeris[0] = GpsRecord(40, 1);
    nav->m_auPendingTxTime[0] = 3;
    SetLogTime(kToe + 18000.0, kWeek);
    EXPECT_TRUE(nav->ActivateEphemeris(1));
    EXPECT_EQ(nav->m_aEphemeris[0].m_uIode, 40);
    EXPECT_EQ(nav->m_auTxTime[0], 3u);
    EXPECT_EQ(nav->GetStructAlways(1, nullptr), &nav->m_aEphemeris[0]);
}

TEST_F(GpsTableTest, PendingRecordOutsideItsFitIsMovedButNotUsable)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aPendingEphemeris[0] = GpsRecord(40);
    SetLogTime(kToe + 15000.0, kWeek);
    EXPECT_FALSE(nav->ActivateEphemeris(1));
    EXPECT_EQ(nav->m_aEphemeris[0].m_uIode, 40);
    EXPECT_EQ(nav->m_aEphemeris[0].m_uStatus, kStatusOutsideFit);
}

TEST_F(GpsTableTest, PendingRecordWithoutIodeIsNeverActivated)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aEphemeris[9] = GpsRecord(1);
    nav->m_auTxTime[9] = 10;
    nav->m_aPendingEphemeris[9] = GpsRecord(0, 0, 0, kWeek, kToe + 60.0);
    nav->m_auPendingTxTime[9] = 20;
    SetLogTime(kToe + 100.0, kWeek);
    nav->UpdateEphemerisAge(10);
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(nav->ActivateEphemeris(10));
    EXPECT_EQ(nav->m_aEphemeris[9].m_uIode, 1);
    EXPECT_EQ(nav->m_aEphemeris[9].m_dToe, kToe);
    EXPECT_EQ(nav->m_auTxTime[9], 10u);
    EXPECT_EQ(nav->m_aPendingEphemeris[9].m_uStatus, kStatusStored);
    EXPECT_EQ(nav->m_aPendingEphemeris[9].m_dToe, kToe + 60.0);
}

TEST_F(GpsTableTest, PendingDataWithoutStatusIsNeverActivated)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aPendingEphemeris[9] = GpsRecord(5);
    nav->m_aPendingEphemeris[9].m_uStatus = kStatusEmpty;
    SetLogTime(kToe, kWeek);
    EXPECT_FALSE(nav->ActivateEphemeris(10));
    EXPECT_EQ(nav->m_aEphemeris[9].m_uStatus, kStatusEmpty);
    EXPECT_EQ(nav->m_aPendingEphemeris[9].m_uIode, 5);
}

TEST_F(GpsTableTest, PendingRecordWhileLogWeekIsZeroStaysAtStatus3)
{
    auto nav = std::make_unique<CGpsNavState>();
    nav->m_aPendingEphemeris[9] = GpsRecord(5);
    EXPECT_FALSE(nav->ActivateEphemeris(10));
    EXPECT_EQ(nav->m_aEphemeris[9].m_uIode, 5);
    EXPECT_EQ(nav->m_aEphemeris[9].m_uStatus, kStatusStored);
}

TEST_F(GpsTableTest, ActivateOnNumbersWithoutRow)
{
    auto nav = std::make_unique<CGpsNavState>();
    EXPECT_FALSE(nav->ActivateEphemeris(0));
    nav->SatIndexFromPRN(140);
    nav->SatIndexFromPRN(141);
    nav->SatIndexFromPRN(142);
    EXPECT_FALSE(nav->ActivateEphemeris(143));
    // 35 is row 34, a real row.
    nav->m_aPendingEphemeris[34] = GpsRecord(6);
    SetLogTime(kToe, kWeek);
    EXPECT_TRUE(nav->ActivateEphemeris(35));
    EXPECT_EQ(nav->m_aEphemeris[34].m_uIode, 6);
}

// ---------------------------------------------------------------------------
// GLONASS

TEST_F(GlonassTableTest, SlotsOneTo24AreTheRows)
{
    auto nav = std::make_unique<CGlonassNavState>();
    EXPECT_EQ(nav->SatIndexFromPRN(0), -1);
    EXPECT_EQ(nav->SatIndexFromPRN(-1), -1);
    EXPECT_EQ(nav->SatIndexFromPRN(1), 0);
    EXPECT_EQ(nav->SatIndexFromPRN(24), 23);
    EXPECT_EQ(nav->SatIndexFromPRN(25), -1);
    EXPECT_EQ(nav->SatIndexFromPRN(122), -1);
    EXPECT_EQ(nav->SatIndexFromPRN(INT32_MAX), -1);
    EXPECT_EQ(nav->m_uExtendedCount, 0u);
    EXPECT_EQ(nav->m_auTruePRN[32], 122u);
}

TEST_F(GlonassTableTest, GetStructAlwaysOnSlots)
{
    auto nav = std::make_unique<CGlonassNavState>();
    uint32_t tx = 1;
    EXPECT_EQ(nav->GetStructAlways(24, &tx), nullptr);
    nav->m_aGloEphemeris[23] = GloRecord(600);
    nav->m_auTxTime[23] = 4321;
    EXPECT_EQ(nav->GetStructAlways(24, &tx), &nav->m_aGloEphemeris[23]);
    EXPECT_EQ(tx, 4321u);

    // Rows past the 24 slots are never reached, even if they hold data.
    nav->m_aGloEphemeris[24] = GloRecord(600);
    nav->m_aGloEphemeris[34] = GloRecord(600);
    tx = 1;
    for (uint32_t slot : {0u, 25u, 35u, 36u, 0xFFFFFFFFu})
        EXPECT_EQ(nav->GetStructAlways(slot, &tx), nullptr) << slot;
    EXPECT_EQ(tx, 1u);
}

TEST_F(GlonassTableTest, AgeLimitIs2700Seconds)
{
    auto nav = std::make_unique<CGlonassNavState>();
    nav->m_aGloEphemeris[6] = GloRecord(600);
    const struct
    {
        double dt;
        uint16_t status;
    } cases[] = {{0.0, 2}, {2699.5, 2}, {2700.0, 1}, {-2699.5, 2}, {-2700.0, 1}, {100000.0, 1}};
    for (const auto& c : cases)
    {
        SetLogTime(kToe + c.dt, kWeek);
        nav->UpdateEphemerisAge(7);
        EXPECT_EQ(nav->m_aGloEphemeris[6].m_uStatus, c.status) << c.dt;
    }
}

TEST_F(GlonassTableTest, AgeAcrossTheWeekBoundary)
{
    auto nav = std::make_unique<CGlonassNavState>();
    nav->m_aGloEphemeris[0] = GloRecord(15, 0, 0, kWeek + 1, 600.0);
    SetLogTime(604000.0, kWeek);
    nav->UpdateEphemerisAge(1);
    EXPECT_EQ(nav->m_aGloEphemeris[0].m_uStatus, kStatusInFit);
}

TEST_F(GlonassTableTest, BnOrLnAddEight)
{
    auto nav = std::make_unique<CGlonassNavState>();
    nav->m_aGloEphemeris[0] = GloRecord(600, 1, 0);
    nav->m_aGloEphemeris[1] = GloRecord(600, 0, 1);
    nav->m_aGloEphemeris[2] = GloRecord(600, 4, 0);
    SetLogTime(kToe + 100.0, kWeek);
    nav->UpdateEphemerisAge(1);
    nav->UpdateEphemerisAge(2);
    nav->UpdateEphemerisAge(3);
    EXPECT_EQ(nav->m_aGloEphemeris[0].m_uStatus, 10);
    EXPECT_EQ(nav->m_aGloEphemeris[1].m_uStatus, 10);
    EXPECT_EQ(nav->m_aGloEphemeris[2].m_uStatus, 10);
    EXPECT_FALSE(nav->ActivateEphemeris(1));
    EXPECT_FALSE(nav->ActivateEphemeris(2));
    EXPECT_NE(nav->GetStructAlways(1, nullptr), nullptr);
    SetLogTime(kToe + 3000.0, kWeek);
    nav->UpdateEphemerisAge(2);
    EXPECT_EQ(nav->m_aGloEphemeris[1].m_uStatus, 9);
}

TEST_F(GlonassTableTest, LogWeekZeroEvaluatesNothing)
{
    auto nav = std::make_unique<CGlonassNavState>();
    nav->m_aGloEphemeris[0] = GloRecord(600);
    nav->UpdateEphemerisAge(1);
    EXPECT_EQ(nav->m_aGloEphemeris[0].m_uStatus, kStatusStored);
    EXPECT_FALSE(nav->ActivateEphemeris(1));
}

TEST_F(GlonassTableTest, PendingRecordComesIntoUseWithItsTxTime)
{
    auto nav = std::make_unique<CGlonassNavState>();
    nav->m_aGloEphemeris[4] = GloRecord(600);
    nav->m_auTxTime[4] = 1000;
    nav->m_aGloPendingEphemeris[4] = GloRecord(630, 0, 0, kWeek, kToe + 1800.0);
    nav->m_auPendingTxTime[4] = 2000;
    SetLogTime(kToe + 1900.0, kWeek);

    EXPECT_TRUE(nav->ActivateEphemeris(5));
    EXPECT_EQ(nav->m_aGloEphemeris[4].m_uTb, 630);
    EXPECT_EQ(nav->m_aGloEphemeris[4].m_uStatus, kStatusInFit);
    EXPECT_EQ(nav->m_auTxTime[4], 2000u);
    EXPECT_EQ(nav->m_aGloPendingEphemeris[4].m_uStatus, kStatusEmpty);
    EXPECT_EQ(nav->m_aGloPendingEphemeris[4].m_uTb, 0);
    // The GPS tables of the object are not touched.
    EXPECT_TRUE(AllZero(nav->m_aEphemeris, sizeof(nav->m_aEphemeris)));
}

TEST_F(GlonassTableTest, PendingRecordWithTbZeroIsNeverActivated)
{
    auto nav = std::make_unique<CGlonassNavState>();
    nav->m_aGloPendingEphemeris[4] = GloRecord(0);
    nav->m_auPendingTxTime[4] = 2000;
    SetLogTime(kToe, kWeek);
    for (int i = 0; i < 5; ++i)
        EXPECT_FALSE(nav->ActivateEphemeris(5));
    EXPECT_EQ(nav->m_aGloEphemeris[4].m_uStatus, kStatusEmpty);
    EXPECT_EQ(nav->m_aGloPendingEphemeris[4].m_uStatus, kStatusStored);
    EXPECT_EQ(nav->m_auTxTime[4], 0u);
}

TEST_F(GlonassTableTest, HealthFieldRefusesUse)
{
    auto nav = std::make_unique<CGlonassNavState>();
    nav->m_aGloEphemeris[4] = GloRecord(600);
    nav->m_aGloEphemeris[4].m_uHealth = 16; // Bn 1 shifted, Bn itself left 0
    SetLogTime(kToe, kWeek);
    nav->UpdateEphemerisAge(5);
    EXPECT_EQ(nav->m_aGloEphemeris[4].m_uStatus, kStatusInFit);
    EXPECT_FALSE(nav->ActivateEphemeris(5));
}

TEST_F(GlonassTableTest, NumbersOutsideTheSlotsTouchNoRow)
{
    auto nav = std::make_unique<CGlonassNavState>();
    // Data in rows 24 and 34, which numbers 25 and 35 would reach through
    // InternalPRNFromTruePRN: the GLONASS operations must not go there.
    nav->m_aGloEphemeris[24] = GloRecord(600);
    nav->m_aGloPendingEphemeris[24] = GloRecord(630);
    nav->m_aGloEphemeris[34] = GloRecord(600);
    nav->m_aGloPendingEphemeris[34] = GloRecord(630);
    SetLogTime(kToe, kWeek);
    for (uint32_t slot : {0u, 25u, 35u, 36u, 122u, 0x80000000u, 0xFFFFFFFFu})
    {
        nav->UpdateEphemerisAge(slot);
        EXPECT_FALSE(nav->ActivateEphemeris(slot)) << slot;
    }
    EXPECT_EQ(nav->m_aGloEphemeris[24].m_uStatus, kStatusStored);
    EXPECT_EQ(nav->m_aGloEphemeris[24].m_uTb, 600);
    EXPECT_EQ(nav->m_aGloPendingEphemeris[24].m_uTb, 630);
    EXPECT_EQ(nav->m_aGloEphemeris[34].m_uStatus, kStatusStored);
    EXPECT_EQ(nav->m_aGloPendingEphemeris[34].m_uTb, 630);
    EXPECT_EQ(nav->m_uExtendedCount, 0u);
}

TEST_F(GlonassTableTest, VirtualCallsReachTheGlonassForms)
{
    auto nav = std::make_unique<CGlonassNavState>();
    CGpsNavState& base = *nav;
    nav->m_aGloEphemeris[2] = GloRecord(600);
    SetLogTime(kToe + 2800.0, kWeek);
    base.UpdateEphemerisAge(3);
    EXPECT_EQ(nav->m_aGloEphemeris[2].m_uStatus, kStatusOutsideFit);
    EXPECT_EQ(base.SatIndexFromPRN(30), -1);
    EXPECT_FALSE(base.ActivateEphemeris(3));
}

} // namespace
