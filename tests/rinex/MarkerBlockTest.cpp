#include "rinex/ObsWriterTestSupport.h"

#include <string>

namespace
{

class MarkerBlockTest : public ObsFileFixture
{
};

const std::string kEpoch1 = "> 2020  6 21  0  1 40.0000000  0  1\n" + kG05L1Line + "\n";
const std::string kEpoch2 = "> 2020  6 21  0  1 41.0000000  0  1\n" + kG12L1Line + "\n";
const std::string kEpoch3 = "> 2020  6 21  0  1 42.0000000  0  1\n" + kG05L1Line + "\n";

SHeaderParts HeaderWithLastAt(const char* seconds)
{
    SHeaderParts parts;
    parts.m_szLast = std::string("  2020     6    21     0     1   ") + seconds +
                     "      GPS         TIME OF LAST OBS    \n";
    return parts;
}

TEST_F(MarkerBlockTest, OnlyOneBlockAtATimeAndEventsWithoutBlockChangeNothing)
{
    CWriteRinexObs& w = Writer();

    w.BeginMoving();
    w.UpdateMarker("SITE X", "0001");
    w.RemoveMarkerBlock();
    w.SetMarkerPosition(kSitePosition);
    // The antenna line waits for the next block.
    w.SetAntennaDelta("1.500               0.000               0.000               ANTENNA: DELTA H/E/N");
    EXPECT_EQ(FileText(), "");

    // The second marker can't see the first at position 0, yet is ignored:
    // the file gets one block, behind the first epoch.
    w.BeginMarker("SITE A", "0042");
    w.BeginMarker("SITE B", "0099");
    PutSignal(w.m_aGpsL1[4], 5, kG05L1);
    Flush(100.0);
    const std::string delta = "1.500               0.000               0.000               ANTENNA: DELTA H/E/N\n";
    EXPECT_EQ(FileText(), HeaderText(SHeaderParts{}) + kEpoch1 + kBlockEventBlank + kBlockNameSiteA +
                              kBlockNumber0042 + delta + kBlockNoPosition + kBlockComment);

    // An open block ignores new markers and takes new names in place.
    w.BeginMarker("SITE C", "0005");
    w.UpdateMarker("SITE D", "0077");
    const std::string name = "SITE D" + std::string(54, ' ') + "MARKER NAME" + std::string(9, ' ') + "\n";
    const std::string number = "0077" + std::string(56, ' ') + "MARKER NUMBER" + std::string(7, ' ') + "\n";
    EXPECT_EQ(FileText(), HeaderText(SHeaderParts{}) + kEpoch1 + kBlockEventBlank + name + number + delta +
                              kBlockNoPosition + kBlockComment);
}

TEST_F(MarkerBlockTest, MovingRecordsCloseTheBlockAndFollowThePendingEpoch)
{
    CWriteRinexObs& w = Writer();
    w.BeginMarker("SITE A", "0042");
    PutSignal(w.m_aGpsL1[4], 5, kG05L1);
    Flush(100.0);

    w.BeginMoving();
    EXPECT_EQ(w.m_posMarkerStart, 0);
    EXPECT_EQ(FileText(), HeaderText(SHeaderParts{}) + kEpoch1 + MarkerBlock(kBlockEventBlank) + kMovingRecords);

    // The block is closed: it keeps its text and isn't stamped.
    w.UpdateMarker("SITE D", "0077");
    w.SetMarkerPosition(kSitePosition);
    PutSignal(w.m_aGpsL1[11], 12, kG12L1);
    Flush(101.0);
    EXPECT_EQ(FileText(), HeaderText(HeaderWithLastAt("41.000000")) + kEpoch1 + MarkerBlock(kBlockEventBlank) +
                              kEpoch2 + kMovingRecords);

    PutSignal(w.m_aGpsL1[4], 5, kG05L1);
    Flush(102.0);
    EXPECT_EQ(FileText(), HeaderText(HeaderWithLastAt("42.000000")) + kEpoch1 + MarkerBlock(kBlockEventBlank) +
                              kEpoch2 + kMovingRecords + kEpoch3);
}

TEST_F(MarkerBlockTest, ProvisionalBlockBehindDataCanBeRemovedBeforeItsEpoch)
{
    CWriteRinexObs& w = Writer();
    PutSignal(w.m_aGpsL1[4], 5, kG05L1);
    Flush(100.0);
    const std::string before = FileText();

    w.BeginMarker("SITE A", "0042");
    EXPECT_EQ(FileText(), before + MarkerBlock(kBlockEventBlank));
    w.RemoveMarkerBlock();
    EXPECT_EQ(FileText(), before);

    PutSignal(w.m_aGpsL1[11], 12, kG12L1);
    Flush(101.0);
    EXPECT_EQ(FileText(), HeaderText(HeaderWithLastAt("41.000000")) + kEpoch1 + kEpoch2);
}

} // namespace
