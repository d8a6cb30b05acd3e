#include "rinex/ObsWriterTestSupport.h"

#include <cstdio>
#include <string>
#include <utility>

namespace
{

class ObsHeaderTest : public ObsFileFixture
{
};

// The header shows the interval it is handed; one wider than its field is cut
// to 80 characters so the rewritten header doesn't run into the epochs.
TEST_F(ObsHeaderTest, IntervalWiderThanItsFieldIsCutToTheLine)
{
    CWriteRinexObs& w = Writer();
    m_Epoch.m_dInterval = 12345678.0;
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    Flush(100.0);
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    Flush(105.0);
    w.SyncToDisk();

    SHeaderParts parts;
    parts.m_szInterval = "12345678.000" + std::string(50, ' ') + "INTERVAL          \n";
    parts.m_szLast = "  2020     6    21     0     1   45.000000      GPS         TIME OF LAST OBS    \n";
    EXPECT_EQ(FileText(), HeaderText(parts) + "> 2020  6 21  0  1 40.0000000  0  1\n" + kG05L1Line + "\n" +
                              "> 2020  6 21  0  1 45.0000000  0  1\n" + kG05L1Line + "\n");
}

TEST_F(ObsHeaderTest, FirstObsShowsSixtyWhereLastObsCarriesAndWholeSecondsEndInOne)
{
    // 00:01:59.9999999 has seven decimals of its own, so the first observation
    // takes no carry and rounds to 60 in six decimals, while the last
    // observation's half unit carries it into the next minute.
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    Flush(119.9999999);
    SHeaderParts parts;
    parts.m_szFirst = "  2020     6    21     0     1   60.000000      GPS         TIME OF FIRST OBS   \n";
    parts.m_szLast = "  2020     6    21     0     2    0.000000      GPS         TIME OF LAST OBS    \n";
    const std::string epoch1 = "> 2020  6 21  0  1 59.9999999  0  1\n" + kG05L1Line + "\n";
    EXPECT_EQ(FileText(), HeaderText(parts) + epoch1);

    // On a whole second the half unit sits on the rounding edge: Thursday
    // 12:00:00 shows 0.000001.
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    m_Epoch.m_dInterval = 388680.0;
    Flush(388800.0);
    parts.m_szInterval = "388680.000                                                  INTERVAL            \n";
    parts.m_szLast = "  2020     6    25    12     0    0.000001      GPS         TIME OF LAST OBS    \n";
    EXPECT_EQ(FileText(),
              HeaderText(parts) + epoch1 + "> 2020  6 25 12  0  0.0000000  0  1\n" + kG05L1Line + "\n");
}

// The lines a header file replaces are shown by the site input runs; here a
// short one, and the external position against a computed one.
TEST_F(ObsHeaderTest, ShortExternalLineIsPaddedOnALineOfItsOwnAndComputedPositionWins)
{
    // Shorter than 80: the label's padding is made up.
    const std::string numberLine = "SITE#" + std::string(55, ' ') + "MARKER NUMBER";
    std::snprintf(m_External.m_szMarkerNumberLine, kHeaderLineSize, "%s", numberLine.c_str());
    const std::string external = "        1.0000        2.0000        3.0000                  APPROX POSITION XYZ ";
    std::snprintf(m_External.m_szApproxPositionLine, kHeaderLineSize, "%s", external.c_str());

    for (const double* computed : {static_cast<const double*>(nullptr), kSitePosition})
    {
        std::FILE* file = std::fopen(m_Dir.Path("ext.rnx").c_str(), "w+");
        ASSERT_NE(file, nullptr);
        m_pWriter = std::make_unique<CWriteRinexObs>(m_External, m_Frequencies);
        m_pWriter->SetSite(file, computed);
        PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
        Flush(100.0);
        std::fclose(file);
        const std::string text = m_Dir.ReadFile("ext.rnx");
        EXPECT_NE(text.find("\n" + numberLine + std::string(80 - numberLine.size(), ' ') + "\n"), std::string::npos);
        EXPECT_NE(text.find("\n" + (computed ? kBlockPosition : external + "\n")), std::string::npos) << text;
        EXPECT_EQ(text.find(computed ? external : kNoPosition), std::string::npos);
    }
}

} // namespace

namespace
{

class ObsHeaderGrowthTest : public ObsFileFixture
{
protected:
    // An epoch line of 2020-06-21 00:MM:SS with `count` satellites.
    static std::string EpochLine(double secondsOfWeek, int count)
    {
        const int minute = static_cast<int>(secondsOfWeek) / 60;
        char line[64];
        std::snprintf(line, sizeof(line), "> 2020  6 21  0%3d%11.7f  0%3d\n", minute, secondsOfWeek - minute * 60,
                      count);
        return line;
    }
};

TEST_F(ObsHeaderGrowthTest, GlonassAfterGpsOnlyStartMovesEverythingBehindTheHeaderUpByOneLine)
{
    CWriteRinexObs& w = Writer();
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    Flush(100.0);
    PutSignal(m_Epoch.m_aGpsL1[11], 12, kG12L1);
    Flush(101.0);
    const std::string epoch1 = EpochLine(100.0, 1) + kG05L1Line + "\n";
    const std::string epoch2 = EpochLine(101.0, 1) + kG12L1Line + "\n";

    // A provisional block stands behind E2 when the first GLONASS data come.
    w.BeginMarker("SITE A", "0042");
    m_Epoch.m_bSeenGlonass = 1;
    m_Epoch.m_bSeenL2 = 1;
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    PutSignal(m_Epoch.m_aGloL1[0], 1, {100000000.5, 19000000.25, 500.125, 8});
    Flush(102.0);

    SHeaderParts parts;
    parts.m_bMixed = true;
    parts.m_szGpsTypes = kObsG6;
    parts.m_szLast = "  2020     6    21     0     1   42.000000      GPS         TIME OF LAST OBS    \n";
    const std::string epoch3 = EpochLine(102.0, 2) + kG05L1Line + kBlankTriple + "\n" +
                               "R01 100000000.500 8  19000000.250 8       500.125 8" + kBlankTriple + "\n";
    EXPECT_EQ(FileText(), HeaderText(parts) + epoch1 + epoch2 + epoch3 + MarkerBlock(kBlockEventBlank));

    // The block is open at its new place: its position and its stamp land there.
    w.SetMarkerPosition(kSitePosition);
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    Flush(103.0);
    parts.m_szLast = "  2020     6    21     0     1   43.000000      GPS         TIME OF LAST OBS    \n";
    const std::string epoch4 = EpochLine(103.0, 1) + kG05L1Line + kBlankTriple + "\n";
    EXPECT_EQ(FileText(), HeaderText(parts) + epoch1 + epoch2 + epoch3 +
                              MarkerBlock("> 2020  6 21  0  1 43.0000000  3  5\n", kBlockPosition) + epoch4);
}

TEST_F(ObsHeaderGrowthTest, BeidouB1AfterLongGpsOnlyRunKeepsMovingRecordsAndOpenBlockInPlace)
{
    CWriteRinexObs& w = Writer();
    w.SetMovingAtStart(true);
    w.BeginMarker("SITE A", "0042");

    // Forty epochs of twelve satellites: far more data than one chunk of the move.
    std::string epochs;
    std::string firstEpoch;
    for (int i = 0; i < 40; ++i)
    {
        for (int32_t prn = 1; prn <= 12; ++prn)
            PutSignal(m_Epoch.m_aGpsL1[prn - 1], prn, kG05L1);
        Flush(100.0 + i);
        std::string epoch = EpochLine(100.0 + i, 12);
        for (int32_t prn = 1; prn <= 12; ++prn)
            epoch += (prn < 10 ? "G0" : "G1") + std::to_string(prn % 10) + kG05L1Line.substr(3) + "\n";
        (i == 0 ? firstEpoch : epochs) += epoch;
    }
    ASSERT_GT(epochs.size(), 3u * 4096u);

    m_Epoch.m_abSeenBeidou[0] = 1;
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
    PutBeidou(m_Epoch, 0, 6, {90000000.5, 25000000.75, -100.25, 5});
    Flush(140.0);
    // The block behind the first epoch was stamped by the second; its
    // position comes now and must reach it at its new place.
    w.SetMarkerPosition(kSitePosition);

    SHeaderParts parts;
    parts.m_bMixed = true;
    parts.m_szLast = "  2020     6    21     0     2   20.000000      GPS         TIME OF LAST OBS    \n";
    const std::string last = EpochLine(140.0, 2) + kG05L1Line + "\n" +
                             "C06  90000000.500 5  25000000.750 5      -100.250 5\n";
    EXPECT_EQ(FileText(), HeaderText(parts) + kMovingRecords + firstEpoch +
                              MarkerBlock("> 2020  6 21  0  1 41.0000000  3  5\n", kBlockPosition) + epochs + last);
}

} // namespace
