#include "navstate/NavState.h"
#include "tests/navstate/NavTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

#include "gnsstime/GpsTime.h"

namespace
{
constexpr uint32_t kWeek = 2100;
constexpr double kToe = 100000.0;

// Each test makes its tables in a run of its own.
class NavTableTest : public ::testing::Test
{
protected:
    SNavTestRun m_Run;
};
using GpsTableTest = NavTableTest;
using GlonassTableTest = NavTableTest;

SGpsEphemeris GpsRecord(uint16_t iode, uint32_t fitFlag = 0, uint16_t health = 0, uint16_t toeWeek = kWeek,
                        double toe = kToe)
{
    SGpsEphemeris e{};
    e.m_uStatus = kStatusStored;
    e.m_uIode = iode;
    e.m_uFitFlag = fitFlag;
    e.m_uHealth = health;
    e.m_uToeWeek = toeWeek;
    e.m_dToe = toe;
    return e;
}

SGlonassEphemeris GloRecord(uint16_t tb, uint32_t week = kWeek, double seconds = kToe)
{
    SGlonassEphemeris e{};
    e.m_uStatus = kStatusStored;
    e.m_uTb = e.m_uTbMinutes = tb;
    e.m_uGpsWeek = week;
    e.m_dGpsSeconds = seconds;
    return e;
}

bool AllZero(const void* p, size_t n)
{
    const auto* b = static_cast<const uint8_t*>(p);
    return std::all_of(b, b + n, [](uint8_t x) { return x == 0; });
}

// Status after evaluation at the given log time, and whether the satellite
// may then be used; the record must stay readable either way.
std::pair<uint16_t, bool> EvaluateGps(SNavTestRun& run, const SGpsEphemeris& record, double seconds,
                                      uint32_t week = kWeek)
{
    auto nav = run.Gps();
    nav->m_aEphemeris[4] = record;
    run.SetLogTime(seconds, week);
    nav->UpdateEphemerisAge(5);
    const std::pair<uint16_t, bool> result{nav->m_aEphemeris[4].m_uStatus, nav->ActivateEphemeris(5)};
    EXPECT_EQ(nav->GetStructAlways(5, nullptr), &nav->m_aEphemeris[4]);
    return result;
}

std::pair<uint16_t, bool> EvaluateGlonass(SNavTestRun& run, const SGlonassEphemeris& record, double seconds,
                                          uint32_t week = kWeek)
{
    auto nav = run.Glonass();
    CGpsNavState& base = *nav; // calls through the base reach the GLONASS forms
    nav->m_aGloEphemeris[6] = record;
    run.SetLogTime(seconds, week);
    base.UpdateEphemerisAge(7);
    const std::pair<uint16_t, bool> result{nav->m_aGloEphemeris[6].m_uStatus, base.ActivateEphemeris(7)};
    EXPECT_EQ(nav->GetStructAlways(7, nullptr), &nav->m_aGloEphemeris[6]);
    return result;
}
} // namespace

TEST_F(GpsTableTest, NumbersAbove32TakeTheExtendedRowsAtMostThreeWhileBeidouHasARowForEachUpTo63)
{
    // Numbers asked with the rows answered, then the numbers of rows 32 to 34 and the count of rows taken.
    const struct { std::vector<std::pair<int32_t, int32_t>> calls; std::vector<uint32_t> numbers; uint32_t count; }
    cases[] = {
        // Numbers 1 to 32 are their rows; numbers below 1 have none.
        {{{1, 0}, {17, 16}, {32, 31}, {0, -1}, {-5, -1}, {INT32_MIN, -1}}, {122, 134, 35}, 0},
        // New numbers overwrite the presets; known numbers keep their rows.
        {{{133, 32}, {135, 33}, {138, 34}, {122, -1}, {134, -1}, {135, 33}, {133, 32}}, {133, 135, 138}, 3},
        // Preset numbers keep their rows and are counted once.
        {{{122, 32}, {122, 32}, {134, 33}}, {122, 134, 35}, 2},
        // A new number skips rows already taken; a fourth has no row.
        {{{134, 33}, {140, 32}, {141, 34}, {122, -1}, {134, 33}, {142, -1}, {142, -1}}, {140, 134, 141}, 3}};
    for (const auto& c : cases)
    {
        auto nav = m_Run.Gps();
        for (uint32_t fixed : {0u, 5u, 32u})
            nav->RegisterExtendedPRN(fixed); // registers nothing
        for (const auto& [prn, row] : c.calls)
            EXPECT_EQ(nav->SatIndexFromPRN(prn), row) << "number " << prn;
        EXPECT_EQ(std::vector<uint32_t>(nav->m_auTruePRN + 32, nav->m_auTruePRN + 35), c.numbers);
        EXPECT_EQ(nav->m_uExtendedCount, c.count);
    }

    // In the BeiDou table every number up to 63 is its own row and none is
    // shared; a pending record of C63 comes into use like any other.
    auto bds = m_Run.Beidou();
    for (const auto& [prn, row] : {std::pair{1, 0}, {33, 32}, {35, 34}, {63, 62}, {64, -1}, {122, -1}, {0, -1}})
        EXPECT_EQ(bds->SatIndexFromPRN(prn), row) << "C" << prn;
    EXPECT_EQ(bds->m_uExtendedCount, 0u);
    EXPECT_EQ(bds->InternalPRNFromTruePRN(64), 0u);
    bds->m_aPendingEphemeris[62] = GpsRecord(5);
    bds->ActivateEphemeris(63);
    EXPECT_EQ(bds->GetStructAlways(63, nullptr), &bds->m_aEphemeris[62]);
}

TEST_F(GpsTableTest, RecordsAreFoundByNumberOnlyWhenHeld)
{
    auto nav = m_Run.Gps();
    // Numbers without a row, also those too large for a signed number, reach
    // nothing and register nothing.
    for (uint32_t prn : {0u, 0x80000000u, 0x80000021u, 0xFFFFFFDEu, 0xFFFFFFFFu})
    {
        EXPECT_EQ(nav->InternalPRNFromTruePRN(prn), 0u) << prn;
        EXPECT_EQ(nav->GetStructAlways(prn, nullptr), nullptr) << prn;
        EXPECT_FALSE(nav->ActivateEphemeris(prn)) << prn;
        nav->UpdateEphemerisAge(prn);
    }
    EXPECT_EQ(nav->m_uExtendedCount, 0u);
    EXPECT_EQ(nav->InternalPRNFromTruePRN(134), 34u);
    EXPECT_EQ(nav->InternalPRNFromTruePRN(200), 33u); // registered on the way
    EXPECT_EQ(nav->InternalPRNFromTruePRN(201), 35u);
    EXPECT_EQ(nav->InternalPRNFromTruePRN(202), 0u);
    for (uint32_t prn = 1; prn <= 35; ++prn)
        EXPECT_EQ(nav->InternalPRNFromTruePRN(prn), prn); // unchanged, whatever the rows hold
    uint32_t tx = 0;
    for (const auto& [prn, row] : {std::pair{5u, 4u}, {35u, 34u}, {200u, 32u}})
    {
        nav->m_aEphemeris[row] = GpsRecord(9);
        nav->m_auTxTime[row] = 1000 + row;
        EXPECT_EQ(nav->GetStructAlways(prn, &tx), &nav->m_aEphemeris[row]) << prn;
        EXPECT_EQ(tx, 1000 + row);
    }
    for (const auto& [status, held] : {std::pair{1, true}, {2, true}, {9, true}, {10, true}, {0, false}, {8, false}})
    {
        nav->m_aEphemeris[4].m_uStatus = static_cast<uint16_t>(status);
        tx = 7;
        EXPECT_EQ(nav->GetStructAlways(5, &tx) != nullptr, held) << status;
        EXPECT_EQ(tx, held ? 1004u : 7u) << status;
    }
}

TEST_F(GpsTableTest, StatusFollowsTheFitIntervalAndHealthBit5AndDecidesUse)
{
    const struct { uint32_t fitFlag; uint16_t health; double age; uint16_t status; bool usable; } cases[] = {
        {0, 0, 0.0, 2, true},     {0, 0, 14399.5, 2, true},   {0, 0, 14400.0, 1, false}, {0, 0, -14399.5, 2, true},
        {0, 0, -14400.0, 1, false}, {1, 0, 21599.5, 2, true}, {1, 0, 21600.0, 1, false}, {1, 0, -21600.0, 1, false},
        {2, 0, 0.0, 1, false},    {0xFFFFFFFF, 0, 0.0, 1, false}, {0, 32, 10.0, 10, false}, {0, 32, 20000.0, 9, false},
        {0, 63, 10.0, 10, false}, {0, 31, 10.0, 2, false},    {0, 1, 10.0, 2, false}};
    for (const auto& c : cases)
        EXPECT_EQ(EvaluateGps(m_Run, GpsRecord(7, c.fitFlag, c.health), kToe + c.age),
                  std::make_pair(c.status, c.usable))
            << "flag " << c.fitFlag << " health " << c.health << " age " << c.age;
    EXPECT_EQ(EvaluateGps(m_Run, GpsRecord(7), kToe, 0), std::make_pair(kStatusStored, false)); // log week 0
    // toe at the start of the next week: the log is 100 s before it.
    EXPECT_EQ(EvaluateGps(m_Run, GpsRecord(7, 0, 0, kWeek + 1, 0.0), 604700.0), std::make_pair(kStatusInFit, true));
}

TEST_F(GpsTableTest, StatusIsEvaluatedAfreshAcrossTheWeekTurn)
{
    auto nav = m_Run.Gps();
    nav->m_aEphemeris[1] = GpsRecord(1, 0, 0, kWeek, 597600.0);
    for (const auto& [seconds, status] : {std::pair{7199.0, kStatusInFit}, {7200.0, kStatusOutsideFit},
                                          {7100.0, kStatusInFit}})
    {
        m_Run.SetLogTime(seconds, kWeek + 1);
        nav->UpdateEphemerisAge(2);
        EXPECT_EQ(nav->m_aEphemeris[1].m_uStatus, status) << seconds;
    }
    nav->m_aEphemeris[2].m_dToe = kToe; // data without a status is not a record
    nav->UpdateEphemerisAge(3);
    EXPECT_EQ(nav->m_aEphemeris[2].m_uStatus, kStatusEmpty);
}

TEST_F(GpsTableTest, PendingRecordComesIntoUseOnceWithItsTxTimeAndNeverWithoutIodeOrStatus)
{
    auto nav = m_Run.Gps();
    nav->m_aEphemeris[9] = nav->m_aEphemeris[10] = GpsRecord(1);
    nav->m_auTxTime[9] = nav->m_auTxTime[10] = 95000;
    nav->m_aPendingEphemeris[9] = GpsRecord(2, 0, 0, kWeek, kToe + 7200.0);
    nav->m_aPendingEphemeris[10] = GpsRecord(0, 0, 0, kWeek, kToe + 7200.0);
    nav->m_aPendingEphemeris[11] = GpsRecord(5, 0, 0, kWeek, kToe + 7200.0);
    nav->m_aPendingEphemeris[11].m_uStatus = kStatusEmpty;
    nav->m_auPendingTxTime[9] = nav->m_auPendingTxTime[10] = nav->m_auPendingTxTime[11] = 102000;
    m_Run.SetLogTime(kToe + 7300.0, kWeek);
    nav->UpdateEphemerisAge(11);
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_TRUE(nav->ActivateEphemeris(10));
        nav->m_auPendingTxTime[9] = 1; // once moved, further calls change nothing
        EXPECT_TRUE(nav->ActivateEphemeris(11));
        EXPECT_FALSE(nav->ActivateEphemeris(12));
    }
    // Current toe, status, tx time, then pending status and IODE of each row.
    auto rowState = [&nav](uint32_t row) {
        return std::tuple(nav->m_aEphemeris[row].m_dToe, nav->m_aEphemeris[row].m_uStatus, nav->m_auTxTime[row],
                          nav->m_aPendingEphemeris[row].m_uStatus, nav->m_aPendingEphemeris[row].m_uIode);
    };
    EXPECT_EQ(rowState(9), std::tuple(kToe + 7200.0, kStatusInFit, 102000u, kStatusEmpty, 0));
    EXPECT_EQ(rowState(10), std::tuple(kToe, kStatusInFit, 95000u, kStatusStored, 0));
    EXPECT_EQ(rowState(11), std::tuple(0.0, kStatusEmpty, 0u, kStatusEmpty, 5));
}

TEST_F(GpsTableTest, PendingRecordIsMovedAndEvaluatedEvenWhenNotUsable)
{
    const struct { uint32_t prn, row, fitFlag; double age; uint32_t week; uint16_t status; bool usable; } cases[] = {
        {1, 0, 1, 18000.0, kWeek, kStatusInFit, true}, {35, 34, 0, 15000.0, kWeek, kStatusOutsideFit, false},
        {134, 33, 0, 0.0, 0, kStatusStored, false}}; // nothing is evaluated in log week 0
    for (const auto& c : cases)
    {
        auto nav = m_Run.Gps();
        nav->m_aPendingEphemeris[c.row] = GpsRecord(40, c.fitFlag);
        nav->m_auPendingTxTime[c.row] = 3;
        m_Run.SetLogTime(kToe + c.age, c.week);
        EXPECT_EQ(nav->ActivateEphemeris(c.prn), c.usable) << c.prn;
        EXPECT_EQ(nav->m_aEphemeris[c.row].m_uIode, 40) << c.prn;
        EXPECT_EQ(nav->m_aEphemeris[c.row].m_uStatus, c.status) << c.prn;
        EXPECT_EQ(nav->m_auTxTime[c.row], 3u) << c.prn;
    }
}

TEST_F(GlonassTableTest, SlotsOneTo24AreTheOnlyRows)
{
    auto nav = m_Run.Glonass();
    CGpsNavState& base = *nav;
    EXPECT_EQ(base.SatIndexFromPRN(1), 0);
    EXPECT_EQ(base.SatIndexFromPRN(24), 23);
    for (int32_t prn : {0, -1, 25, 30, 122, INT32_MAX})
        EXPECT_EQ(base.SatIndexFromPRN(prn), -1) << prn;
    EXPECT_EQ(nav->m_uExtendedCount, 0u);
    // Rows 24 and 34 hold data that numbers 25 and 35 would reach as GPS rows.
    for (uint32_t row : {23u, 24u, 34u})
    {
        nav->m_aGloEphemeris[row] = GloRecord(600);
        nav->m_aGloPendingEphemeris[row] = GloRecord(630);
        nav->m_auTxTime[row] = 4321;
    }
    m_Run.SetLogTime(kToe, kWeek);
    uint32_t tx = 1;
    for (uint32_t slot : {0u, 25u, 35u, 36u, 122u, 0x80000000u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(nav->GetStructAlways(slot, &tx), nullptr) << slot;
        base.UpdateEphemerisAge(slot);
        EXPECT_FALSE(base.ActivateEphemeris(slot)) << slot;
    }
    EXPECT_EQ(tx, 1u);
    for (uint32_t row : {24u, 34u})
        EXPECT_EQ(std::pair(nav->m_aGloEphemeris[row].m_uStatus, nav->m_aGloPendingEphemeris[row].m_uTb),
                  std::pair(kStatusStored, uint16_t{630})) << row;
    EXPECT_EQ(nav->GetStructAlways(24, &tx), &nav->m_aGloEphemeris[23]);
    EXPECT_EQ(tx, 4321u);
}

TEST_F(GlonassTableTest, StatusFollowsThe2700SecondLimitAndBnLnAndDecidesUse)
{
    const struct { uint32_t bn, ln; uint16_t health; double age; uint16_t status; bool usable; } cases[] = {
        {0, 0, 0, 0.0, 2, true},      {0, 0, 0, 2699.5, 2, true},   {0, 0, 0, 2700.0, 1, false},
        {0, 0, 0, -2699.5, 2, true},  {0, 0, 0, -2700.0, 1, false}, {0, 0, 0, 100000.0, 1, false},
        {1, 0, 16, 100.0, 10, false}, {4, 0, 64, 100.0, 10, false}, {0, 1, 0, 100.0, 10, false},
        {0, 1, 0, 3000.0, 9, false},  {0, 0, 16, 100.0, 2, false}}; // the health field alone refuses use
    for (const auto& c : cases)
    {
        SGlonassEphemeris record = GloRecord(600);
        record.m_uBn = c.bn;
        record.m_uLn = c.ln;
        record.m_uHealth = c.health;
        EXPECT_EQ(EvaluateGlonass(m_Run, record, kToe + c.age), std::make_pair(c.status, c.usable))
            << "Bn " << c.bn << " Ln " << c.ln << " health " << c.health << " age " << c.age;
    }
    EXPECT_EQ(EvaluateGlonass(m_Run, GloRecord(600), kToe, 0), std::make_pair(kStatusStored, false)); // log week 0
    EXPECT_EQ(EvaluateGlonass(m_Run, GloRecord(15, kWeek + 1, 600.0), 604000.0), std::make_pair(kStatusInFit, true));
}

TEST_F(GlonassTableTest, PendingRecordComesIntoUseByItsTbAndNeverWithTbZero)
{
    auto nav = m_Run.Glonass();
    nav->m_aGloEphemeris[4] = GloRecord(600);
    nav->m_auTxTime[4] = 1000;
    nav->m_aGloPendingEphemeris[4] = GloRecord(630, kWeek, kToe + 1800.0);
    nav->m_aGloPendingEphemeris[5] = GloRecord(0);
    nav->m_auPendingTxTime[4] = nav->m_auPendingTxTime[5] = 2000;
    m_Run.SetLogTime(kToe + 1900.0, kWeek);
    EXPECT_TRUE(nav->ActivateEphemeris(5));
    EXPECT_EQ(nav->m_aGloEphemeris[4].m_uTb, 630);
    EXPECT_EQ(nav->m_aGloEphemeris[4].m_uStatus, kStatusInFit);
    EXPECT_EQ(nav->m_auTxTime[4], 2000u);
    EXPECT_EQ(nav->m_aGloPendingEphemeris[4].m_uStatus, kStatusEmpty);
    EXPECT_EQ(nav->m_aGloPendingEphemeris[4].m_uTb, 0);
    EXPECT_TRUE(AllZero(nav->m_aEphemeris, sizeof nav->m_aEphemeris)); // the GPS tables are not touched
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(nav->ActivateEphemeris(6));
    EXPECT_EQ(nav->m_aGloPendingEphemeris[5].m_uStatus, kStatusStored);
    EXPECT_EQ(nav->m_auTxTime[5], 0u);
}
