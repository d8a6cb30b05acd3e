#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "logbuild/Bin36Encoder.h"
#include "logbuild/Bin96Encoder.h"
#include "obsconv/Bin36Decoder.h"
#include "support/ExpectedObsText.h"
#include "support/ToolRun.h"
#include "tests/obsconv/ObsconvTestSupport.h"

namespace
{
SBin36Channel Channel(uint8_t prn, double code, double phase, double doppler, double snr, uint8_t slip = 0,
                      bool lock = true)
{
    return SBin36Channel{prn, SBin76Signal{true, code, phase, doppler, snr, slip, lock}};
}

class Bin36Decoder : public CObsconvTest
{
protected:
    static constexpr uint32_t kRowC07 = 6;

    // Slots and an epoch assembly as at the start of a run, over the
    // fixture's navigation state.
    struct CRun
    {
        explicit CRun(CObsconvTest& test)
            : m_Assembly(test.m_LogTime, test.m_Navigation.m_Gps, test.m_Navigation.m_Beidou),
              m_Intake(SObsIntake::Of(m_Slots, m_Assembly, test.m_Navigation, test.m_Mask))
        {
        }
        SObsSlots m_Slots;
        CEpochAssembly m_Assembly;
        SObsIntake m_Intake;
    };

    // A frame whose bits a decoder must pass over (packet word bits 0-19,
    // record word 0 bits 12-23, channel word bits 8-12) are set, so that a
    // wrong mask shows; empty records stay zero. 348 bytes: an overread shows.
    static Bytes Frame(const SBin36Packet& packet, const std::vector<SBin36Channel>& channels)
    {
        Bytes frame = MakeBin36Frame(2111, 100.0, packet, channels);
        frame[20] = frame[21] = 0xFF;
        frame[22] |= 0x0F;
        for (size_t record = 24; record < 264; record += 12)
            if (Bytes(frame.begin() + record, frame.begin() + record + 12) != Bytes(12, 0))
            {
                frame[record + 1] |= 0xA0;
                frame[record + 2] |= 0xAA;
            }
        for (size_t word = 264; word < 344; word += 4)
            frame[word + 1] |= 0x15;
        return frame;
    }
};

TEST_F(Bin36Decoder, OnlyTheLastPacketOfASetOpensTheEpochAndEachBandKeepsItsOwnSlipMemory)
{
    // C07 has an ephemeris waiting in the BeiDou table: decoding it brings it into use.
    SGpsEphemeris& waiting = m_Navigation.m_Beidou.m_aPendingEphemeris[kRowC07];
    waiting = SGpsEphemeris{};
    waiting.m_uStatus = kStatusStored;
    waiting.m_uIode = 77;

    const struct
    {
        SBin36Packet m_Packet;
        bool m_bOpens;
    } cases[] = {{{1, 0, 1}, true}, {{0, 0, 2}, false}, {{0, 1, 2}, true}, {{2, 0, 0}, false}, {{3, 0, 1}, false}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "band " << c.m_Packet.m_uBand << " packet " << c.m_Packet.m_uIndex
                                        << " of " << c.m_Packet.m_uCount);
        CRun run(*this);
        // An epoch of an earlier second is open: every message, even of no band, closes it first.
        m_LogTime.SetLogTime(99.0, 2111);
        run.m_Assembly.AddBdsSlot(Slot(9), true, 0);
        ASSERT_TRUE(run.m_Assembly.EpochOpen());
        m_LogTime.SetLogTime(100.0, 2111);
        OnBin36(Frame(c.m_Packet, {Channel(7, 37000000.5, 192668000.25, -800.5, 20.0)}).data(), run.m_Intake);
        EXPECT_EQ(run.m_Assembly.EpochOpen(), c.m_bOpens);
        const SObsSlot(&bds)[3][20] = run.m_Slots.m_aSlotBds;
        EXPECT_EQ(bds[0][0].m_uPRN + bds[1][0].m_uPRN + bds[2][0].m_uPRN, c.m_Packet.m_uBand < 3 ? 7u : 0u);
    }
    EXPECT_EQ(m_Navigation.m_Beidou.m_aEphemeris[kRowC07].m_uIode, 77);

    // The same satellite on B1 and B2; then B2's counter moves: only B2 is marked.
    CRun run(*this);
    const std::pair<uint32_t, uint8_t> steps[] = {{0, 5}, {1, 9}, {1, 10}}; // band, slip counter
    for (const auto& [band, slip] : steps)
        OnBin36(Frame({band, 0, 1}, {Channel(7, 37000000.5, 192668000.25, -800.5, 20.0, slip)}).data(),
                run.m_Intake);
    EXPECT_EQ(run.m_Assembly.Epoch().m_aBds[0][kRowC07].m_uLli, 0u);
    EXPECT_EQ(run.m_Assembly.Epoch().m_aBds[1][kRowC07].m_uLli, 1u);
}

// A whole run. Values sit on the message's grid and the epochs on whole
// seconds, so the file shows them exactly.
SBin36Channel C07(uint32_t band)
{
    return band == 0 ? Channel(7, 37000000.5, 192668000.25, -800.5, 15.0)   // strength 7
         : band == 1 ? Channel(7, 37000003.0, 148984000.25, -620.0, 10.5)   // strength 5
                     : Channel(7, 37000001.25, 156559900.5, -650.25, 12.0); // strength 6
}

SBin36Channel C11(uint32_t band)
{
    return band == 0 ? Channel(11, 38000000.25, 197876500.125, 1200.0, 18.0) // strength 8
                     : Channel(11, 38000002.0, 160790000.5, 930.5, 10.5);    // B3, strength 5
}

const std::string kBlank = "         0.000 0         0.000 0         0.000 0";
const std::string kC07B1 = " 192668000.250 7  37000000.500 7       800.500 7";
const std::string kC07B2 = " 148984000.250 5  37000003.000 5       620.000 5";
const std::string kC07B3 = " 156559900.500 6  37000001.250 6       650.250 6";
const std::string kC11B1 = " 197876500.125 8  38000000.250 8     -1200.000 8";
const std::string kC11B3 = " 160790000.500 5  38000002.000 5      -930.500 5";

std::string WithLossOfLock(std::string triple)
{
    triple[14] = '1';
    return triple;
}

TEST(Bin36Run, BandsShareALineWithColumnsOnlyForBandsSeenAndOnlyALastPacketOpensAnEpoch)
{
    // B1 and B3 of every second as a set of two; C07 is away at 101; C12 has
    // no lock and number 64 no row: neither is written.
    Bytes log;
    for (double second : {100.0, 101.0, 102.0})
    {
        AppendBytes(log, MakeBin96Frame(2111, second, {SBin96Channel{5, 50, 0, true, -4096, 21000000.5, 1000.0}}));
        std::vector<SBin36Channel> b1{C11(0), Channel(64, 36500000.0, 190065000.5, 10.0, 20.0),
                                     Channel(12, 36000000.0, 187461000.5, 10.0, 20.0, 0, false)};
        std::vector<SBin36Channel> b3{C11(2)};
        if (second != 101.0)
        {
            b1.push_back(C07(0));
            b3.push_back(C07(2));
        }
        AppendBytes(log, MakeBin36Frame(2111, second, {0, 0, 2}, b1));
        AppendBytes(log, MakeBin36Frame(2111, second, {2, 1, 2}, b3));
        if (second == 100.0) // the next second before its GPS message: lost
            AppendBytes(log, MakeBin36Frame(2111, 101.0, {0, 0, 1}, {Channel(9, 37500000.0, 195271000.5, 5.0, 20.0)}));
    }
    // At 103 the GPS message has no satellite: B1's packet 0 of 2 counts for
    // slips only, B2's packet 1 of 2 opens the epoch and brings B2's columns.
    AppendBytes(log, MakeBin96Frame(2111, 103.0, {}));
    AppendBytes(log, MakeBin36Frame(2111, 103.0, {0, 0, 2}, {C07(0)}));
    AppendBytes(log, MakeBin36Frame(2111, 103.0, {1, 1, 2}, {C07(1)}));
    CScratchDir dir;
    dir.WriteFile("in.log", log);
    EXPECT_EQ(RunObsforgeTool({"in.log", "obs"}, dir.Dir()).m_iExitStatus, 0);

    SHeaderParts parts;
    parts.m_bMixed = true; // B1 seen from the first epoch
    parts.m_szLast = "  2020     6    21     0     1   43.000000      GPS         TIME OF LAST OBS    \n";
    const std::string g05 = "G05      5255.035 7  21000000.500 7         5.255 7\n";
    const std::string c11 = "C11" + kC11B1 + kC11B3 + "\n"; // B3 in the columns of B2
    EXPECT_EQ(MaskRunDate(dir.ReadFile("obs")),
              HeaderText(parts) +
                  "> 2020  6 21  0  1 40.0000000  0  3\n" + g05 + "C07" + kC07B1 + kC07B3 + "\n" + c11 +
                  "> 2020  6 21  0  1 41.0000000  0  2\n" + g05 + c11 +
                  "> 2020  6 21  0  1 42.0000000  0  3\n" + g05 +
                  "C07" + WithLossOfLock(kC07B1) + WithLossOfLock(kC07B3) + "\n" + c11 + // back after a gap
                  "> 2020  6 21  0  1 43.0000000  0  1\n" + "C07" + kBlank + kC07B2 + kBlank + "\n");
}
} // namespace
