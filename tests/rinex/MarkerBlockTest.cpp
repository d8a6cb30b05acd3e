#include "rinex/ObsWriterTestSupport.h"

#include <string>

namespace
{

class MarkerBlockTest : public ObsFileFixture
{
};

const std::string kEpoch1 = "> 2020  6 21  0  1 40.0000000  0  1\n" + kG05L1Line + "\n";
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
    PutSignal(m_Epoch.m_aGpsL1[4], 5, kG05L1);
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

} // namespace
