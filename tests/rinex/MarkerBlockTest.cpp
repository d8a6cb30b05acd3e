#include "rinex/ObsWriterTestSupport.h"

#include <string>

#include "platform/FileIo.h"

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

TEST_F(MarkerBlockTest, UsualSequenceStampsFirstEpochBehindBlockAndRemovalLeavesNoTrace)
{
    CWriteRinexObs& w = Writer();

    // A marker at the start of the log lands at position 0 of the empty file,
    // where it reads as no block: a position now is not taken.
    w.BeginMarker("SITE A", "0042");
    EXPECT_EQ(FileText(), MarkerBlock(kBlockEventBlank));
    EXPECT_EQ(FileText().size(), 441u);
    w.SetMarkerPosition(kSitePosition);

    // E1's flush lays the header over it and puts the block behind E1.
    PutSignal(w.m_aGpsL1[4], 5, kG05L1);
    Flush(100.0);
    EXPECT_EQ(FileText(), HeaderText(SHeaderParts{}) + kEpoch1 + MarkerBlock(kBlockEventBlank));

    // A position before E2's time; the first one wins.
    w.SetMarkerPosition(kSitePosition);
    const double other[3] = {1.0, 2.0, 3.0};
    w.SetMarkerPosition(other);
    EXPECT_EQ(FileText(), HeaderText(SHeaderParts{}) + kEpoch1 + MarkerBlock(kBlockEventBlank, kBlockPosition));

    // E2's epoch line is stamped into the block in front of it.
    PutSignal(w.m_aGpsL1[11], 12, kG12L1);
    Flush(101.0);
    const std::string withBlock = FileText();
    EXPECT_EQ(withBlock, HeaderText(HeaderWithLastAt("41.000000")) + kEpoch1 +
                             MarkerBlock("> 2020  6 21  0  1 41.0000000  3  5\n", kBlockPosition) + kEpoch2);

    // Removal closes the file up and leaves the stream at its new end.
    w.RemoveMarkerBlock();
    const std::string removed = FileText();
    EXPECT_EQ(removed, HeaderText(HeaderWithLastAt("41.000000")) + kEpoch1 + kEpoch2);
    EXPECT_EQ(withBlock.size() - removed.size(), 441u);
    EXPECT_EQ(GetStreamPos(m_pFile), static_cast<StreamPos>(removed.size()));
    EXPECT_EQ(w.m_posMarkerStart, 0);

    PutSignal(w.m_aGpsL1[4], 5, kG05L1);
    Flush(102.0);
    EXPECT_EQ(FileText(), HeaderText(HeaderWithLastAt("42.000000")) + kEpoch1 + kEpoch2 + kEpoch3);
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
