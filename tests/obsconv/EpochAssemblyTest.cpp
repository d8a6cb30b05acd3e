#include <vector>

#include "obsconv/EpochAssembly.h"
#include "tests/obsconv/ObsconvTestSupport.h"

namespace
{
using RateGate = CObsconvTest;
using EpochAssembly = CObsconvTest;

TEST_F(RateGate, SearchPassesOnlyEpochsWithin25MsOfTheGrid)
{
    EXPECT_FALSE(GateAt(100.5));
    EXPECT_EQ(Pending().m_timeEpoch.m_dSeconds, 100.5); // looked at, though not written
    EXPECT_FALSE(GateAt(100.97));
    EXPECT_TRUE(GateAt(100.98)); // 0.02 before the grid

    CEpochAssembly fresh(m_LogTime, m_Navigation.m_Gps, m_Navigation.m_Beidou);
    m_LogTime.SetLogTime(100.0, 2200);
    EXPECT_TRUE(fresh.PassRateGate());
    EXPECT_EQ(fresh.Epoch().m_timeEpoch.m_dSeconds, 100.0);
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
    m_Assembly.SetRun(5.0, true, false, &m_Epochs);
    for (int s = 100; s <= 111; ++s)
        EXPECT_EQ(GateAt(s), s == 100 || s == 105 || s == 110) << s;
    EXPECT_TRUE(GateAt(117.0)); // a gap moves the grid
    EXPECT_FALSE(GateAt(121.0));
    EXPECT_TRUE(GateAt(121.98)); // dt 4.98 lies within the tolerance
    EXPECT_FALSE(GateAt(126.95));
    EXPECT_EQ(Pending().m_dInterval, 5.0);
}

TEST_F(RateGate, StepsAreCountedAcrossTheWeekBoundary)
{
    m_Assembly.SetRun(2.0, true, false, &m_Epochs);
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
    EXPECT_EQ(Pending().m_dInterval, 2.0);
    // A run of 1 s steps as long as that one changes nothing, a longer one does.
    for (double s : {107.0, 108.0, 109.0})
        EXPECT_TRUE(GateAt(s));
    EXPECT_EQ(Pending().m_dInterval, 2.0);
    EXPECT_TRUE(GateAt(110.0));
    EXPECT_EQ(Pending().m_dInterval, 1.0);
    EXPECT_TRUE(GateAt(110.3)); // irregular epochs pass as well
}

// The interval each header shows: the distance of the first two epochs handed
// on, unless given on the command line; a longer run of equal steps found
// later by the rate gate still wins.
TEST_F(EpochAssembly, FirstTwoHandedEpochsSetTheIntervalUnlessItWasGiven)
{
    const struct
    {
        const char* m_szName;
        double m_dGiven; // 0: none given
        std::vector<double> m_adHanded;
        double m_dInterval; // after the last epoch handed
    } cases[] = {
        {"first two 3 s apart", 0.0, {100.0, 103.0}, 3.0},
        {"only one epoch keeps the default", 0.0, {100.0}, 1.0},
        {"later steps of 1 s outrun the first", 0.0, {100.0, 103.0, 104.0, 105.0, 106.0}, 1.0},
        {"given interval stays", 5.0, {100.0, 110.0}, 5.0},
    };
    for (const auto& c : cases)
    {
        CEpochs epochs;
        CEpochAssembly assembly(m_LogTime, m_Navigation.m_Gps, m_Navigation.m_Beidou);
        assembly.SetRun(c.m_dGiven > 0.0 ? c.m_dGiven : 1.0, c.m_dGiven > 0.0, false, &epochs);
        for (const double seconds : c.m_adHanded)
        {
            m_LogTime.SetLogTime(seconds, 2200);
            assembly.AddGpsL1Slot(Slot(4));
            assembly.FlushEpoch();
        }
        ASSERT_EQ(epochs.m_aEpochs.size(), c.m_adHanded.size()) << c.m_szName;
        EXPECT_EQ(epochs.m_aEpochs.back().m_dInterval, c.m_dInterval) << c.m_szName;
        EXPECT_EQ(epochs.m_aEpochs.back().m_timeFirstObs.m_dSeconds, 100.0) << c.m_szName;
    }
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
    EXPECT_EQ(entry.m_uPRN, 6u);
    EXPECT_FALSE(entry.m_bGood);
    EXPECT_EQ(entry.m_uLli, 1u);

    m_LogTime.SetLogTime(100.0, 2200);
    m_Assembly.AddGpsL1Slot(Slot(122)); // the first extended row
    EXPECT_TRUE(Pending().m_aGpsL1[32].m_bValid && !Pending().m_aGpsL1[32].m_bGood);
    EXPECT_EQ(Pending().m_aGpsL1[32].m_uPRN, 122u);
    // Every BeiDou number up to 63 has a row of its own; 64 has none.
    for (uint32_t prn : {33u, 63u, 64u})
        m_Assembly.AddBdsSlot(Slot(prn), true, 0);
    EXPECT_TRUE(Pending().m_aBds[0][32].m_bGood && Pending().m_aBds[0][62].m_bGood);
    EXPECT_EQ(Pending().m_aBds[0][62].m_uPRN, 63u);
    // The epoch line lists the BeiDou satellites, and not the SBAS one.
    m_Assembly.FlushEpoch();
    ASSERT_EQ(m_Epochs.m_aEpochs.size(), 1u);
    const SObsEpoch& done = m_Epochs.m_aEpochs[0];
    EXPECT_EQ(std::vector<int32_t>(done.m_aiList, done.m_aiList + done.m_uListCount),
              (std::vector<int32_t>{59 + 33, 59 + 63}));
}

TEST_F(EpochAssembly, SlipInARejectedEpochIsMarkedInTheNextWrittenOne)
{
    SObsSlot slipped = Slot(4);
    slipped.m_uSlipDelta = 3;
    m_LogTime.SetLogTime(100.5, 2200);
    m_Assembly.AddGpsL1Slot(slipped);
    EXPECT_FALSE(m_Assembly.EpochAccepted());
    EXPECT_FALSE(Pending().m_aGpsL1[3].m_bValid);
    m_Assembly.FlushEpoch();
    EXPECT_TRUE(m_Epochs.m_aEpochs.empty()); // a rejected epoch goes nowhere

    m_LogTime.SetLogTime(102.0, 2200);
    m_Assembly.AddGpsL1Slot(Slot(4));
    EXPECT_TRUE(m_Assembly.EpochAccepted());
    EXPECT_TRUE(Pending().m_aGpsL1[3].m_bValid);
    EXPECT_EQ(Pending().m_aGpsL1[3].m_uLli, 1u);
}

TEST_F(EpochAssembly, OnlyTheFirstSignalOpensTheEpoch)
{
    m_LogTime.SetLogTime(100.0, 2200);
    m_Assembly.AddGpsSlots(Slot(0), Slot(5, kSignalGpsL2), Slot(5, kSignalGpsL1P));
    m_Assembly.AddGloSlots(Slot(0), Slot(6, kSignalGloL2));
    EXPECT_FALSE(m_Assembly.EpochOpen());
    EXPECT_FALSE(Pending().m_aGpsL2[4].m_bValid);
    EXPECT_TRUE(Pending().m_bSeenL2 && Pending().m_bSeenGlonass);
    EXPECT_FALSE(Pending().m_bSeenL1P);

    m_Assembly.SetRun(1.0, false, true, &m_Epochs); // -P1
    m_Assembly.AddGloSlots(Slot(24), Slot(24, kSignalGloL2));
    EXPECT_TRUE(m_Assembly.EpochOpen() && Pending().m_bSeenL1P);
    EXPECT_TRUE(Pending().m_aGloL1[23].m_bValid && Pending().m_aGloL2[23].m_bValid);
    m_Assembly.AddGpsSlots(Slot(5), Slot(5, kSignalGpsL2, 0.0), Slot(5, kSignalGpsL1P));
    EXPECT_TRUE(Pending().m_aGpsL1[4].m_bValid && Pending().m_aGpsL1P[4].m_bValid);
    EXPECT_EQ(Pending().m_aGpsL2[4].m_uStrength, 2u);
}

TEST_F(EpochAssembly, BeidouPacketOtherThanTheLastDoesNotOpenTheEpoch)
{
    m_LogTime.SetLogTime(100.0, 2200);
    SObsSlot slipped = Slot(11);
    slipped.m_uSlipDelta = 1;
    m_Assembly.AddBdsSlot(slipped, false, 1);
    EXPECT_TRUE(Pending().m_abSeenBeidou[1]);
    EXPECT_FALSE(m_Assembly.EpochOpen());
    EXPECT_FALSE(Pending().m_aBds[1][10].m_bValid);
    EXPECT_EQ(Pending().m_aBds[1][10].m_uLli, 1u);

    m_Assembly.AddBdsSlot(Slot(11), true, 1);
    EXPECT_TRUE(m_Assembly.EpochOpen() && m_Assembly.EpochAccepted());
    EXPECT_TRUE(Pending().m_aBds[1][10].m_bValid);
    m_Assembly.AddBdsSlot(Slot(12), false, 2); // in an open epoch every packet fills
    EXPECT_TRUE(Pending().m_aBds[2][11].m_bValid);
    m_Assembly.AddBdsSlot(Slot(12), true, 3); // no such band
    EXPECT_FALSE(Pending().m_abSeenBeidou[0]);
}
} // namespace
