#include "rinex/ObsWriterTestSupport.h"

#include <string>

namespace
{

class ObsEpochTest : public ObsFileFixture
{
};

// Header of a file whose epochs all stand at second 0 of 00:02.
SHeaderParts MixedAtMinuteTwo()
{
    SHeaderParts parts;
    parts.m_bMixed = true;
    parts.m_szGpsTypes = kObsG6;
    parts.m_szFirst = "  2020     6    21     0     2    0.000000      GPS         TIME OF FIRST OBS   \n";
    parts.m_szLast = "  2020     6    21     0     2    0.000000      GPS         TIME OF LAST OBS    \n";
    return parts;
}

TEST_F(ObsEpochTest, SecondsRoundingToSixtyMoveToNextMinuteWithRemainderFoldedIn)
{
    CWriteRinexObs& w = Writer();
    m_Epoch.m_bSeenL2 = 1;
    m_Epoch.m_abSeenBeidou[0] = m_Epoch.m_abSeenBeidou[1] = m_Epoch.m_abSeenBeidou[2] = 1;

    // 00:01:59.99999996 prints as second 0 of 00:02; the -4e-08 s that the
    // printing adds are taken off every code and phase.
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    PutSignal(m_Epoch.m_aGpsL2[4], 5, kG05L2);
    PutBeidou(m_Epoch, 0, 6, {90000000.5, 25000000.75, -100.25, 5});
    PutBeidou(m_Epoch, 1, 6, {90000000.5, 25000001.5, -77.75, 6});
    PutBeidou(m_Epoch, 2, 6, {90000000.5, 25000004.5, -80.5, 4});
    Flush(119.99999996);
    EXPECT_NEAR(w.m_dEpochRemainder, -4e-08, 1e-14);

    EXPECT_EQ(FileText(), HeaderText(MixedAtMinuteTwo()) +
        "> 2020  6 21  0  2  0.0000000  0  2\n"
        "G05 109999937.233 7  20999988.508 7     -1234.750 7  84999951.646 5  20999991.258 5      -962.500 5\n"
        "C06  89999938.056 5  24999988.758 5      -100.250 5  89999952.214 6  24999989.508 6       -77.750 6"
        "  89999949.759 4  24999992.508 4       -80.500 4\n");

}

TEST_F(ObsEpochTest, EveryLockedSatelliteOfEverySystemIsListedUpToC63)
{
    // All 32 GPS numbers, 24 GLONASS slots and 63 BeiDou numbers at once; an
    // SBAS row and a satellite without carrier lock are left out.
    m_Epoch.m_bSeenGlonass = 1;
    m_Epoch.m_abSeenBeidou[2] = 1;
    const SSignal bds = {70000000.25, 25000004.5, -80.5, 4};
    for (int32_t prn = 1; prn <= 63; ++prn)
    {
        if (prn <= 32)
            PutSignal(m_Epoch.m_aGpsL1[prn - 1], prn, kG05L1, prn != 20);
        if (prn <= 24)
            PutSignal(m_Epoch.m_aGloL1[prn - 1], prn, kG05L1);
        PutBeidou(m_Epoch, 2, prn, bds);
    }
    PutSignal(m_Epoch.m_aGpsL1[33], 135, kG05L1);
    m_Epoch.m_aGpsL1[13].m_uLli = 1;
    m_Epoch.m_aGpsL1[19].m_uLli = 1;
    Flush(100.0);

    std::string epoch = "> 2020  6 21  0  1 40.0000000  0118\n";
    const std::string values = kG05L1Line.substr(3);
    char name[8];
    for (const char system : {'G', 'R', 'C'})
        for (int32_t prn = 1; prn <= (system == 'G' ? 32 : system == 'R' ? 24 : 63); ++prn)
        {
            if (system == 'G' && prn == 20)
                continue;
            std::snprintf(name, sizeof name, "%c%02d", system, prn);
            std::string line = name + (system == 'C' ? std::string("  70000000.250 4  25000004.500 4       -80.500 4")
                                                     : values);
            if (system == 'G' && prn == 14)
                line[17] = '1'; // its loss-of-lock mark
            epoch += line + "\n";
        }
    SHeaderParts parts;
    parts.m_bMixed = true;
    EXPECT_EQ(FileText(), HeaderText(parts) + epoch);

    // The left-out satellite's mark goes with the written epoch.
    EXPECT_EQ(m_Epoch.m_aGpsL1[19].m_uLli, 0u);
    EXPECT_FALSE(m_Epoch.m_aGpsL1[19].m_bValid);
}

TEST_F(ObsEpochTest, GlonassLinesFollowGpsWithSlotWavelengths)
{
    m_Epoch.m_bSeenGlonass = 1;
    m_Epoch.m_bSeenL2 = 1;
    m_Frequencies.m_aGlonassWavelength[0][0] = 0.2;
    m_Frequencies.m_aGlonassWavelength[0][1] = 0.25;
    m_Frequencies.m_aGlonassWavelength[1][0] = 0.125;

    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    PutSignal(m_Epoch.m_aGloL1[0], 1, {100000000.5, 19000000.25, 500.125, 8});
    PutSignal(m_Epoch.m_aGloL2[0], 1, {80000000.25, 19000002.5, 388.875, 4});
    PutSignal(m_Epoch.m_aGloL1[1], 2, {101000000.5, 19500000.25, -250.5, 3});
    Flush(119.99999996);

    EXPECT_EQ(FileText(),
              HeaderText(MixedAtMinuteTwo()) + "> 2020  6 21  0  2  0.0000000  0  3\n" +
                  "G05 109999937.233 7  20999988.508 7     -1234.750 7" + kBlankTriple + "\n" +
                  "R01  99999940.542 8  18999988.258 8       500.125 8  79999952.283 4  18999990.508 4       388.875 4\n" +
                  "R02 100999904.566 3  19499988.258 3      -250.500 3" + kBlankTriple + "\n");
}

TEST_F(ObsEpochTest, BeidouB3AloneKeepsTheGpsFileType)
{
    m_Epoch.m_abSeenBeidou[2] = 1;
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    PutBeidou(m_Epoch, 2, 6, {70000000.25, 25000004.5, -80.5, 4});
    Flush(100.0);
    EXPECT_EQ(FileText(), HeaderText(SHeaderParts{}) + "> 2020  6 21  0  1 40.0000000  0  2\n" + kG05L1Line + "\n" +
                              "C06  70000000.250 4  25000004.500 4       -80.500 4\n");
}

TEST_F(ObsEpochTest, WithoutStreamEpochsAndMarkerEventsTouchNothing)
{
    m_pWriter = std::make_unique<CWriteRinexObs>(m_External, m_Frequencies);
    CWriteRinexObs& w = Writer();
    w.BeginMarker("SITE A", "0042");
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    PutSignal(m_Epoch.m_aGpsL1[11], 12, kG12L1);
    Flush(119.99999996);
    w.BeginMoving();
    w.SetMarkerPosition(kSitePosition);
    w.RemoveMarkerBlock();
    EXPECT_FALSE(w.m_bHeaderPlaced);
    EXPECT_EQ(FileText(), "");
}

} // namespace
