#include "obsconv/EpochAssembly.h"
#include "tests/obsconv/ObsconvTestSupport.h"

namespace
{
using RateGate = CObsconvTest;
using EpochAssembly = CObsconvTest;

TEST_F(RateGate, SearchPassesOnlyEpochsWithin25MsOfTheGrid)
{
    EXPECT_FALSE(GateAt(100.5));
    EXPECT_EQ(g_ObsWriter.m_timeEpoch.m_dSeconds, 100.5); // looked at, though not written
    EXPECT_FALSE(g_ObsWriter.m_bRateAligned);
    EXPECT_FALSE(GateAt(100.97));
    EXPECT_TRUE(GateAt(100.98)); // 0.02 before the grid
    EXPECT_TRUE(g_ObsWriter.m_bRateAligned);

    ResetWriter();
    EXPECT_TRUE(GateAt(100.0));
    EXPECT_EQ(g_ObsWriter.m_timeEpoch.m_dSeconds, 100.0);
}

TEST_F(RateGate, LogOffTheGridPassesNothingUntilAGap)
{
    for (double s : {100.5, 101.5, 102.5, 103.5})
        EXPECT_FALSE(GateAt(s)) << s;
    EXPECT_TRUE(GateAt(105.5)); // 2 s after the last epoch looked at
    EXPECT_TRUE(GateAt(106.5)); // the grid is found for good
}

TEST_F(RateGate, FixedIntervalSpacesEpochsFromTheLastWrittenOne)
{
    g_ObsWriter.m_dInterval = 5.0;
    g_ObsWriter.m_bIntervalFixed = 1;
    for (int s = 100; s <= 111; ++s)
        EXPECT_EQ(GateAt(s), s == 100 || s == 105 || s == 110) << s;
    EXPECT_TRUE(GateAt(117.0)); // a gap moves the grid
    EXPECT_FALSE(GateAt(121.0));
    EXPECT_TRUE(GateAt(121.98)); // dt 4.98 lies within the tolerance
    EXPECT_FALSE(GateAt(126.95));
    EXPECT_EQ(g_ObsWriter.m_dInterval, 5.0);
}

TEST_F(RateGate, StepsAreCountedAcrossTheWeekBoundary)
{
    g_ObsWriter.m_dInterval = 2.0;
    g_ObsWriter.m_bIntervalFixed = 1;
    EXPECT_TRUE(GateAt(604798.0, 2200));
    EXPECT_TRUE(GateAt(0.0, 2201));
    EXPECT_FALSE(GateAt(1.0, 2201));
    EXPECT_TRUE(GateAt(2.0, 2201));
}

TEST_F(RateGate, FreeIntervalFollowsTheLongestRunOfEqualSteps)
{
    EXPECT_TRUE(GateAt(100.0));
    // Every epoch after the search passes. The first repeated step of 2 s sets
    // the interval; the run of 2 s steps reaches length 2.
    for (double s : {102.0, 104.0, 106.0})
        EXPECT_TRUE(GateAt(s));
    EXPECT_EQ(g_ObsWriter.m_dInterval, 2.0);
    // A run of 1 s steps as long as that one changes nothing, a longer one does.
    for (double s : {107.0, 108.0, 109.0})
        EXPECT_TRUE(GateAt(s));
    EXPECT_EQ(g_ObsWriter.m_dInterval, 2.0);
    EXPECT_TRUE(GateAt(110.0));
    EXPECT_EQ(g_ObsWriter.m_dInterval, 1.0);
    EXPECT_TRUE(GateAt(110.3)); // irregular epochs pass as well
}

TEST_F(EpochAssembly, FillOverwritesAllButTheLossOfLockMarkAndNeedsLockAndARowOfItsOwn)
{
    SObsEntry entry{};
    entry.m_uLli = 1;
    FillEntry(entry, Slot(7), true);
    EXPECT_TRUE(entry.m_bGood && entry.m_bValid);
    SObsSlot unlocked = Slot(6);
    unlocked.m_bGoodLock = 0;
    FillEntry(entry, unlocked, true);
    EXPECT_EQ(entry.m_dPseudorange, unlocked.m_dPseudorange);
    EXPECT_EQ(entry.m_dPhase, unlocked.m_dPhase);
    EXPECT_EQ(entry.m_dDoppler, 1500.25); // the file's sign
    EXPECT_EQ(entry.m_uPRN, 6);
    EXPECT_FALSE(entry.m_bGood);
    EXPECT_EQ(entry.m_uLli, 1u);

    SetLogTime(100.0, 2200);
    AddGpsL1Slot(Slot(122)); // the first extended row
    EXPECT_TRUE(g_ObsWriter.m_aGpsL1[32].m_bValid && !g_ObsWriter.m_aGpsL1[32].m_bGood);
    EXPECT_EQ(g_ObsWriter.m_aGpsL1[32].m_uPRN, 122);
    // Every BeiDou number up to 63 has a row of its own; 64 has none.
    for (uint32_t prn : {33u, 63u, 64u})
        AddBdsSlot(Slot(prn), true, 0);
    EXPECT_TRUE(g_ObsWriter.m_aBds[0][32].m_bGood && g_ObsWriter.m_aBds[0][62].m_bGood);
    EXPECT_EQ(g_ObsWriter.m_aBds[0][62].m_uPRN, 63);
}

TEST_F(EpochAssembly, SlipInARejectedEpochIsMarkedInTheNextWrittenOne)
{
    SObsSlot slipped = Slot(4);
    slipped.m_uSlipDelta = 3;
    SetLogTime(100.5, 2200);
    AddGpsL1Slot(slipped);
    EXPECT_FALSE(g_ObsWriter.m_bEpochAccepted);
    EXPECT_FALSE(g_ObsWriter.m_aGpsL1[3].m_bValid);
    g_ObsWriter.m_bEpochOpen = 0; // what the flush of a rejected epoch does

    SetLogTime(102.0, 2200);
    AddGpsL1Slot(Slot(4));
    EXPECT_TRUE(g_ObsWriter.m_bEpochAccepted);
    EXPECT_TRUE(g_ObsWriter.m_aGpsL1[3].m_bValid);
    EXPECT_EQ(g_ObsWriter.m_aGpsL1[3].m_uLli, 1u);
}

TEST_F(EpochAssembly, OnlyTheFirstSignalOpensTheEpoch)
{
    SetLogTime(100.0, 2200);
    AddGpsSlots(Slot(0), Slot(5, kSignalGpsL2), Slot(5, kSignalGpsL1P));
    AddGloSlots(Slot(0), Slot(6, kSignalGloL2));
    EXPECT_FALSE(g_ObsWriter.m_bEpochOpen);
    EXPECT_FALSE(g_ObsWriter.m_aGpsL2[4].m_bValid);
    EXPECT_TRUE(g_ObsWriter.m_bSeenL2 && g_ObsWriter.m_bSeenGlonass);
    EXPECT_FALSE(g_ObsWriter.m_bSeenL1P);

    RunOptions.m_bOutputL1P = true;
    AddGloSlots(Slot(24), Slot(24, kSignalGloL2));
    EXPECT_TRUE(g_ObsWriter.m_bEpochOpen && g_ObsWriter.m_bSeenL1P);
    EXPECT_TRUE(g_ObsWriter.m_aGloL1[23].m_bValid && g_ObsWriter.m_aGloL2[23].m_bValid);
    AddGpsSlots(Slot(5), Slot(5, kSignalGpsL2, 0.0), Slot(5, kSignalGpsL1P));
    EXPECT_TRUE(g_ObsWriter.m_aGpsL1[4].m_bValid && g_ObsWriter.m_aGpsL1P[4].m_bValid);
    EXPECT_EQ(g_ObsWriter.m_aGpsL2[4].m_uStrength, 2u);
}

TEST_F(EpochAssembly, BeidouPacketOtherThanTheLastDoesNotOpenTheEpoch)
{
    SetLogTime(100.0, 2200);
    SObsSlot slipped = Slot(11);
    slipped.m_uSlipDelta = 1;
    AddBdsSlot(slipped, false, 1);
    EXPECT_TRUE(g_ObsWriter.m_abSeenBeidou[1]);
    EXPECT_FALSE(g_ObsWriter.m_bEpochOpen);
    EXPECT_FALSE(g_ObsWriter.m_aBds[1][10].m_bValid);
    EXPECT_EQ(g_ObsWriter.m_aBds[1][10].m_uLli, 1u);

    AddBdsSlot(Slot(11), true, 1);
    EXPECT_TRUE(g_ObsWriter.m_bEpochOpen && g_ObsWriter.m_bEpochAccepted);
    EXPECT_TRUE(g_ObsWriter.m_aBds[1][10].m_bValid);
    AddBdsSlot(Slot(12), false, 2); // in an open epoch every packet fills
    EXPECT_TRUE(g_ObsWriter.m_aBds[2][11].m_bValid);
    AddBdsSlot(Slot(12), true, 3); // no such band
    EXPECT_FALSE(g_ObsWriter.m_abSeenBeidou[0]);
}
} // namespace
