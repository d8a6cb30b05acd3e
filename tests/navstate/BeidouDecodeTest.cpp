#include "navstate/BeidouSubFrame.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "gnsstime/GpsTime.h"
#include "logbuild/BeidouEncoder.h"
#include "navstate/Navigation.h"

namespace
{
constexpr uint32_t kD1Satellite = 11;
constexpr uint32_t kD2Satellite = 3; // 1 to 5 send D2
constexpr uint16_t kChannel = 7;
constexpr uint32_t kSow = 345600;

// Both parts of every split field non-zero, negative values at several widths
// and both ends of the 18-bit range: a wrong place, width or sign shows.
SBeidouEphemerisFields DistinctFields(uint32_t satellite)
{
    SBeidouEphemerisFields f;
    f.m_uSatellite = satellite;
    f.m_uSow = kSow;
    f.m_uWeek = 0x1A5B;
    f.m_uToc = 43215;
    f.m_uToe = 75000;
    f.m_iA0 = -5921370;
    f.m_iA1 = 0x1ABCDE;
    f.m_iA2 = -1000;
    f.m_uSqrtA = 0xA8C1B2E3;
    f.m_uEcc = 0x00FEDCBA;
    f.m_iOmega = 0x7A5A5A5A;
    f.m_iM0 = -1234567890;
    f.m_iOmega0 = -2000000001;
    f.m_iI0 = 725503331;
    f.m_iDeltaN = -12345;
    f.m_iOmegaDot = -4000000;
    f.m_iIdot = -8191;
    f.m_iCuc = -100001;
    f.m_iCus = 98765;
    f.m_iCrc = -131072;
    f.m_iCrs = 131071;
    f.m_iCic = -54321;
    f.m_iCis = 76543;
    f.m_iTgd1 = -300;
    f.m_iTgd2 = 411;
    f.m_aiAlpha[0] = -1, f.m_aiAlpha[1] = 2, f.m_aiAlpha[2] = -128, f.m_aiAlpha[3] = 127;
    f.m_aiBeta[0] = 100, f.m_aiBeta[1] = -100, f.m_aiBeta[2] = 7, f.m_aiBeta[3] = -7;
    f.m_uSatH1 = 1;
    f.m_uAodc = 0x15;
    f.m_uUrai = 0xA;
    f.m_uAode = 0x1B;
    return f;
}

// The distinct values and three sets of random bits in every field (the SOW
// stays, the sequence needs it): any bit taken from a wrong place shows.
std::vector<SBeidouEphemerisFields> FieldSets(uint32_t satellite)
{
    std::vector<SBeidouEphemerisFields> sets{DistinctFields(satellite)};
    for (uint32_t seed : {1u, 2u, 3u})
    {
        std::mt19937 random(seed);
        SBeidouEphemerisFields f = DistinctFields(satellite);
        for (uint32_t* u : {&f.m_uWeek, &f.m_uToc, &f.m_uToe, &f.m_uSqrtA, &f.m_uEcc, &f.m_uSatH1, &f.m_uAodc,
                            &f.m_uUrai, &f.m_uAode})
            *u = static_cast<uint32_t>(random());
        for (int32_t* i : {&f.m_iA0, &f.m_iA1, &f.m_iA2, &f.m_iOmega, &f.m_iM0, &f.m_iOmega0, &f.m_iI0, &f.m_iDeltaN,
                           &f.m_iOmegaDot, &f.m_iIdot, &f.m_iCuc, &f.m_iCus, &f.m_iCrc, &f.m_iCrs, &f.m_iCic, &f.m_iCis,
                           &f.m_iTgd1, &f.m_iTgd2, &f.m_aiAlpha[0], &f.m_aiAlpha[1], &f.m_aiAlpha[2], &f.m_aiAlpha[3],
                           &f.m_aiBeta[0], &f.m_aiBeta[1], &f.m_aiBeta[2], &f.m_aiBeta[3]})
            *i = static_cast<int32_t>(random());
        sets.push_back(f);
    }
    return sets;
}

// Page `page` of D2 subframe 1 in a frame of its own, behind it subframes 2 and 3.
Bytes D2PageFrame(const SBeidouEphemerisFields& f, uint32_t page, uint32_t sow, bool inverted = false)
{
    return MakeBin35RawFrame(f.m_uSatellite, kChannel, EncodeBeidouD2Page(f, page, sow, inverted),
                             EncodeBeidouEmptySubFrame(2, sow, inverted), EncodeBeidouEmptySubFrame(3, sow, inverted));
}

// Every test starts from a run of its own: zeroed channel table, empty
// BeiDou rows, no log time.
class BeidouDecodeTest : public ::testing::Test
{
protected:
    void SetUp() override { Reset(); }

    void Reset()
    {
        m_pNav = std::make_unique<CNavigation>(m_LogTime);
        ASSERT_TRUE(Decoders().AllocateBeidouEphTable());
        m_pDecoder = Decoders().BeidouSubFrameOfChannel(kChannel);
    }

    CBeidouDecoders& Decoders() { return m_pNav->m_BeidouDecoders; }
    CBeidouNavState& Table() { return m_pNav->m_Beidou; }
    void Feed(const Bytes& frame) { m_pDecoder->ProcessMsg35(frame.data()); }
    bool Stored(uint32_t satellite) { return Table().m_aPendingEphemeris[satellite - 1].m_uStatus == kStatusStored; }
    const SBeidouChannelEph& Element() { return Decoders().m_paBIN_BeidouEph[kChannel]; }

    void ExpectBlock(const BeidouDecodedWords& expected) const
    {
        for (uint32_t i = 0; i < kBeidouDecodedWords; ++i)
            EXPECT_EQ(m_pDecoder->m_sDecoded.m_auWord[i], expected[i]) << "word " << i;
    }

    CLogTime m_LogTime;
    std::unique_ptr<CNavigation> m_pNav;
    CBeidouSubFrame* m_pDecoder = nullptr;
};

using BeidouD1 = BeidouDecodeTest;
using BeidouD2 = BeidouDecodeTest;
using BeidouDecodedForm = BeidouDecodeTest;
using BeidouOpenPoints = BeidouDecodeTest;

TEST_F(BeidouDecodeTest, D1FrameAndTenD2PagesDecodeWordForWordInEitherPolarity)
{
    // The geostationary satellites, C01 to C05 and C59 to C63, send D2; each
    // is decoded only in its own format.
    for (const auto& [satellite, d2] : {std::pair{kD2Satellite, true}, std::pair{kD1Satellite, false},
                                        std::pair{58u, false}, std::pair{59u, true}, std::pair{63u, true}})
        for (const SBeidouEphemerisFields& fields : FieldSets(satellite))
            for (bool inverted : {false, true})
            {
                SCOPED_TRACE(testing::Message() << "C" << satellite << (inverted ? " inverted " : " upright ")
                                                << fields.m_iA0);
                Reset();
                if (!d2)
                    Feed(MakeBin35D1Frame(fields, kChannel, inverted));
                else
                    for (const Bytes& frame : MakeBin35D2Frames(fields, kChannel, inverted))
                        Feed(frame);
                ExpectBlock(EncodeBeidouDecodedWords(fields));
                EXPECT_TRUE(Stored(satellite));
                EXPECT_EQ(Element().m_uSatellite, satellite);
            }
}

TEST_F(BeidouD1, SubFramesOutOfStepDecodeNothing)
{
    const SBeidouEphemerisFields f = DistinctFields(kD1Satellite);
    const struct
    {
        uint32_t m_auSow[3];
        bool m_bDecoded;
    } cases[] = {
        {{1000, 1006, 1012}, true},
        {{1000, 1006, 1013}, false},
        {{1000, 1007, 1013}, false},
        {{1000, 994, 1000}, false},
    };
    for (const auto& c : cases)
    {
        Reset();
        Feed(MakeBin35RawFrame(kD1Satellite, kChannel, EncodeBeidouD1SubFrame(f, 1, c.m_auSow[0]),
                               EncodeBeidouD1SubFrame(f, 2, c.m_auSow[1]), EncodeBeidouD1SubFrame(f, 3, c.m_auSow[2])));
        EXPECT_EQ(Stored(kD1Satellite), c.m_bDecoded) << c.m_auSow[1] << " " << c.m_auSow[2];
    }
}

TEST_F(BeidouD1, FrameIsDecodedAgainOnlyWhenAWordBehindTheSowChanges)
{
    SBeidouEphemerisFields f = DistinctFields(kD1Satellite);
    Feed(MakeBin35D1Frame(f, kChannel));
    ASSERT_EQ(Element().m_uSow, kSow);

    f.m_uSow = kSow + 30; // the same frame again
    Feed(MakeBin35D1Frame(f, kChannel));
    f.m_uSow = kSow + 60;
    f.m_uUrai = 3; // only word 1 of subframe 1 differs
    Feed(MakeBin35D1Frame(f, kChannel));
    EXPECT_EQ(Element().m_uSow, kSow);

    f.m_uSow = kSow + 90;
    f.m_uAode = 4; // word 9 of subframe 1
    Feed(MakeBin35D1Frame(f, kChannel));
    EXPECT_EQ(Element().m_uSow, kSow + 90);
    EXPECT_EQ(Table().m_aPendingEphemeris[kD1Satellite - 1].m_uUra, 3u);
}

TEST_F(BeidouD2, PageRunWithAGapOrBeyond40SecondsDecodesNothing)
{
    const SBeidouEphemerisFields f = DistinctFields(kD2Satellite);
    struct SPage
    {
        uint32_t m_uPage, m_uSeconds; // seconds behind the first page sent
    };
    const struct
    {
        const char* m_szName;
        std::vector<SPage> m_aPages;
        bool m_bDecoded;
    } cases[] = {
        {"full run in 27 s", {{1, 0}, {2, 3}, {3, 6}, {4, 9}, {5, 12}, {6, 15}, {7, 18}, {8, 21}, {9, 24}, {10, 27}}, true},
        {"page 10 at 40 s", {{1, 0}, {2, 3}, {3, 6}, {4, 9}, {5, 12}, {6, 15}, {7, 18}, {8, 21}, {9, 24}, {10, 40}}, true},
        {"page 10 at 41 s", {{1, 0}, {2, 3}, {3, 6}, {4, 9}, {5, 12}, {6, 15}, {7, 18}, {8, 21}, {9, 24}, {10, 41}}, false},
        {"page 5 missing", {{1, 0}, {2, 3}, {3, 6}, {4, 9}, {6, 15}, {7, 18}, {8, 21}, {9, 24}, {10, 27}}, false},
        {"no page 1", {{2, 3}, {3, 6}, {4, 9}, {5, 12}, {6, 15}, {7, 18}, {8, 21}, {9, 24}, {10, 27}}, false},
    };
    for (const auto& c : cases)
    {
        Reset();
        for (const SPage& p : c.m_aPages)
            Feed(D2PageFrame(f, p.m_uPage, kSow + p.m_uSeconds));
        EXPECT_EQ(Stored(kD2Satellite), c.m_bDecoded) << c.m_szName;
    }
}

// The whole runs show the broadcast values; the orbit also needs the times
// and the node moved to GPS time, and the health and fit flag.
TEST_F(BeidouDecodedForm, BlockBecomesARecordInGpsTimeAndARecordInUseIsNotReplaced)
{
    Feed(MakeBin35DecodedFrame(DistinctFields(kD1Satellite), kChannel));
    const SBeidouEphemeris& e = Table().m_aPendingEphemeris[kD1Satellite - 1];
    EXPECT_EQ(e.m_uStatus, kStatusStored);
    EXPECT_EQ(e.m_dToc, 43215 * 8.0 + 14.0);
    EXPECT_EQ(e.m_dToe, 75000 * 8.0 + 14.0);
    EXPECT_EQ(e.m_dToeBdt, 75000 * 8.0);
    EXPECT_NEAR(e.m_dOmega0 - e.m_dOmega0Bdt, 14.0 * 7.2921150e-5, 1e-12); // the earth's turn in 14 s
    EXPECT_EQ(e.m_uWeek, 0x1A5B + 1356);
    EXPECT_EQ(e.m_uTocWeek, e.m_uWeek);
    EXPECT_EQ(e.m_uToeWeek, e.m_uWeek);
    EXPECT_EQ(e.m_uIode, 75000 >> 2);
    EXPECT_EQ(e.m_uUra, 0xA);
    EXPECT_EQ(e.m_uHealth, 224); // SatH1
    EXPECT_EQ(e.m_uFitFlag, 1u);

    // The same block again, for a satellite whose record is in use, is not taken.
    Table().m_aEphemeris[kD1Satellite - 1].m_uStatus = kStatusInFit;
    SBeidouEphemerisFields again = DistinctFields(kD1Satellite);
    again.m_uSow = kSow + 30;
    Feed(MakeBin35DecodedFrame(again, kChannel));
    EXPECT_EQ(Element().m_uSow, kSow);
}

TEST_F(BeidouDecodedForm, WeeksIssueKeyAndHealthFollowTheBroadcastValues)
{
    constexpr uint32_t kWn = 900, kGpsWeek = kWn + 1356;
    constexpr uint32_t kSqrtA = 5282u << 19, kLowSqrtA = 3000u << 19;
    const struct
    {
        uint32_t m_uToc, m_uToe, m_uSow, m_uSqrtA, m_uEcc, m_uFlags;
        double m_dToc;
        uint32_t m_uTocWeek;
        double m_dToe;
        uint32_t m_uToeWeek, m_uIode, m_uHealth;
    } cases[] = {
        // toc x 8 = 604792 moves past the week's end, into the week after the sending time.
        {75599, 75599, 604000, kSqrtA, 0, 0, 6.0, kGpsWeek + 1, 6.0, kGpsWeek + 1, 18899, 0},
        // Reference late in the week, sent early: the week before. toe 0 gives the key 0.
        {75000, 0, 1000, kSqrtA, 0, 0, 600014.0, kGpsWeek - 1, 14.0, kGpsWeek, 0, 0},
        {100, 100, 800, kSqrtA, 0, 1u << 14, 814.0, kGpsWeek, 814.0, kGpsWeek, 25, 224},
        {100, 100, 800, kLowSqrtA, 1717986918, 0, 814.0, kGpsWeek, 814.0, kGpsWeek, 25, 0},
        {100, 100, 800, kLowSqrtA - 1, 0, 0, 814.0, kGpsWeek, 814.0, kGpsWeek, 25, 224},
        {100, 100, 800, kSqrtA, 1717986919, 0, 814.0, kGpsWeek, 814.0, kGpsWeek, 25, 224}, // e just above 0.2
    };
    CBeidouNavState& navState = Table();
    for (const auto& c : cases)
    {
        SBeidouDecoded block{};
        block.m_auWord[eBdsSow] = c.m_uSow;
        block.m_auWord[eBdsToc] = c.m_uToc;
        block.m_auWord[eBdsToe] = c.m_uToe;
        block.m_auWord[eBdsSqrtA] = c.m_uSqrtA;
        block.m_auWord[eBdsEcc] = c.m_uEcc;
        block.m_auWord[eBdsFlags] = c.m_uFlags;
        block.m_auWord[eBdsWn] = kWn;
        ConvertDecoded(block, 35, navState);
        const SBeidouEphemeris& e = navState.m_aPendingEphemeris[34];
        SCOPED_TRACE(c.m_uToc);
        EXPECT_EQ(e.m_dToc, c.m_dToc);
        EXPECT_EQ(e.m_uTocWeek, c.m_uTocWeek);
        EXPECT_EQ(e.m_dToe, c.m_dToe);
        EXPECT_EQ(e.m_uToeWeek, c.m_uToeWeek);
        EXPECT_EQ(e.m_uIode, c.m_uIode);
        EXPECT_EQ(e.m_uHealth, c.m_uHealth);
    }
}

TEST_F(BeidouOpenPoints, ChannelsAndSatellitesWithoutATableRowAreIgnored)
{
    // Nothing of a message on a channel without a decoder, or of a decoded
    // block for a satellite without a row, may reach any table.
    std::vector<SBeidouChannelEph> elementsBefore(Decoders().m_paBIN_BeidouEph, Decoders().m_paBIN_BeidouEph + kBeidouChannels);
    const SBeidouEphemerisFields f = DistinctFields(kD1Satellite);
    for (uint16_t channel : {uint16_t{20}, uint16_t{65535}})
    {
        EXPECT_EQ(Decoders().BeidouSubFrameOfChannel(channel), nullptr);
        Decoders().ProcessBin35(MakeBin35DecodedFrame(f, channel).data());
        Decoders().ProcessBin35(MakeBin35D1Frame(f, channel).data());
    }
    for (uint16_t satellite : {0, 64, 99})
        Feed(MakeBin35DecodedFrame(satellite, kChannel, EncodeBeidouDecodedWords(f)));
    EXPECT_EQ(m_pDecoder->m_uPRN, 0u);
    const auto expectNoRecord = [this] {
        for (uint32_t row = 0; row < kBeidouRows; ++row)
            EXPECT_EQ(Table().m_aPendingEphemeris[row].m_uStatus, kStatusEmpty) << row;
    };
    expectNoRecord();
    EXPECT_EQ(std::memcmp(elementsBefore.data(), Decoders().m_paBIN_BeidouEph, sizeof(SBeidouChannelEph) * kBeidouChannels), 0);
    // The last channel and the last row are there to be used.
    Decoders().ProcessBin35(MakeBin35DecodedFrame(63, 19, EncodeBeidouDecodedWords(f)).data());
    EXPECT_TRUE(Stored(63));
    EXPECT_EQ(Decoders().m_paBIN_BeidouEph[19].m_uSatellite, 63u);

    // Raw satellites 0 and 64 reset the channel's sequence and decode nothing.
    Reset();
    Feed(MakeBin35D1Frame(f, kChannel));
    ASSERT_TRUE(Stored(kD1Satellite));
    Table().m_aPendingEphemeris[kD1Satellite - 1] = SBeidouEphemeris{};
    for (uint32_t satellite : {0u, 64u})
    {
        SBeidouEphemerisFields other = f;
        other.m_uSatellite = satellite;
        Feed(MakeBin35D1Frame(other, kChannel));
        EXPECT_EQ(m_pDecoder->m_uPRN, satellite);
        EXPECT_EQ(m_pDecoder->m_uFrameState, 0u);
        EXPECT_EQ(Element().m_uSatellite, kD1Satellite);
    }
    expectNoRecord();
}

} // namespace
