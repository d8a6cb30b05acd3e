#include <cstring>
#include <string>
#include <vector>

#include "logbuild/Bin66Encoder.h"
#include "logbuild/Bin96Encoder.h"
#include "navstate/GlonassFrequencies.h"
#include "obsconv/Bin66Decoder.h"
#include "support/ExpectedObsText.h"
#include "support/ToolRun.h"
#include "tests/obsconv/ObsconvTestSupport.h"

namespace
{
// The carrier wavelengths of frequency channel k, as a reader of the file expects them.
double GloL1Wavelength(int k) { return 299792458.0 / (1.602e9 + k * 562500.0); }
double GloL2Wavelength(int k) { return 299792458.0 / (1.246e9 + k * 437500.0); }

SBin76Signal Signal(double code, double phase, double doppler, double snr, uint8_t slip = 0)
{
    return SBin76Signal{true, code, phase, doppler, snr, slip, true};
}

class Bin66Decoder : public CObsconvTest
{
protected:
    static constexpr uint32_t kRow5 = 4; // GLONASS slot 5

    // Decodes channel `n` into the L1 and L2 slots of m_aSlot. The bits a
    // decoder must pass over (record word 0 bits 12-23, channel word bits
    // 8-12) are set, so that a wrong mask shows; empty records stay zero.
    void Decode(const std::vector<SBin66Channel>& channels, uint32_t n = 0)
    {
        Bytes frame = MakeBin66Frame(2111, 100.0, channels); // 364 bytes: an overread shows under the sanitizer
        for (size_t ch = 0; ch < 12; ++ch)
        {
            for (size_t record : {24 + 12 * ch, 168 + 12 * ch})
                if (Bytes(frame.begin() + record, frame.begin() + record + 12) != Bytes(12, 0))
                {
                    frame[record + 1] |= 0xA0;
                    frame[record + 2] |= 0xAA;
                }
            frame[313 + 4 * ch] |= 0x15;
        }
        for (uint32_t i = 0; i < 2; ++i)
        {
            m_aSlot[i].m_uChannel = n;
            m_aSlot[i].m_uSignal = i == 0 ? kSignalL1 : kSignalGloL2;
            DecodeBin66Slot(m_aSlot[i], frame.data(), m_Navigation.m_Glonass, m_Navigation.m_GlonassFrequencies,
                            m_Mask);
        }
    }

    SObsSlot m_aSlot[2]{}; // L1, L2
};

TEST_F(Bin66Decoder, PhaseIsPlacedOnTheCodeRangeInWavelengthsOfTheSatellitesSlot)
{
    // Phases lie up to 4000 cycles off the code estimate, so any other
    // slot's or band's wavelength puts them a multiple of 8192 cycles off.
    // Code fragments cross the 16-bit boundary of the L1 anchor both ways.
    const struct
    {
        uint8_t m_uSlot;
        int m_iK; // frequency channel
        bool m_bFromEphemeris; // the channel came with the slot's first ephemeris
        double m_dL1Code, m_dL2Code, m_dL1Offset, m_dL2Offset, m_dDoppler;
    } cases[] = {
        {11, 0, false, 20999936.0625, 20999935.9375, 4000.25, -3999.5, -1234.5},
        {3, 5, false, 21000191.9375, 21000192.0625, -4000.75, 3999.125, 16000.25},
        {24, 6, true, 23456789.123, 23456794.801, 0.3, 2048.7, -4321.123}, // slot 24 has k 2 by default
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "slot " << int(c.m_uSlot) << " k " << c.m_iK);
        if (c.m_bFromEphemeris)
            m_Navigation.m_GlonassFrequencies.SetGlonassSlotChannel(c.m_uSlot, static_cast<int16_t>(c.m_iK + 8));
        const double l1Phase = c.m_dL1Code / GloL1Wavelength(c.m_iK) + c.m_dL1Offset;
        const double l2Phase = c.m_dL2Code / GloL2Wavelength(c.m_iK) + c.m_dL2Offset;
        std::vector<SBin66Channel> channels(12);
        channels[11] = {c.m_uSlot, Signal(c.m_dL1Code, l1Phase, c.m_dDoppler, 20.0),
                        Signal(c.m_dL2Code, l2Phase, -c.m_dDoppler / 2, 10.0)};
        Decode(channels, 11);
        const SObsSlot& l1 = m_aSlot[0];
        const SObsSlot& l2 = m_aSlot[1];
        const double code = 1.0 / 512, phase = 1.0 / 2048, doppler = 1.0 / 1024; // half a unit each
        EXPECT_TRUE(l1.m_uPRN == c.m_uSlot && l2.m_uPRN == c.m_uSlot);
        EXPECT_NEAR(l1.m_dPseudorange, c.m_dL1Code, code);
        EXPECT_NEAR(l2.m_dPseudorange, c.m_dL2Code, code);
        EXPECT_NEAR(l1.m_dPhase, l1Phase, phase);
        EXPECT_NEAR(l2.m_dPhase, l2Phase, phase);
        EXPECT_NEAR(l1.m_dDoppler, c.m_dDoppler, doppler);
        EXPECT_NEAR(l2.m_dDoppler, -c.m_dDoppler / 2, doppler);
        EXPECT_NEAR(l1.m_dSnr, 20.0, 0.01);
        EXPECT_NEAR(l2.m_dSnr, 10.0, 0.03); // the L1 scale on L2 too
    }
}

TEST_F(Bin66Decoder, OnlySlots1To24WithARecordOccupyAChannelAndEachSignalKeepsItsSlipMemory)
{
    // Slot 5 has an ephemeris waiting: decoding the satellite brings it into use.
    SGlonassEphemeris& waiting = m_Navigation.m_Glonass.m_aGloPendingEphemeris[kRow5];
    waiting = SGlonassEphemeris{};
    waiting.m_uStatus = kStatusStored;
    waiting.m_uTb = 30;
    SBin66Channel r05{5, Signal(21000000.5, 112257000.5, 10.0, 20.0, 255), Signal(21000001.5, 87311000.5, 8.0, 10.0, 40)};
    r05.m_L2.m_bGoodLock = false;
    Decode({r05});
    EXPECT_TRUE(m_aSlot[0].m_uPRN == 5 && m_aSlot[1].m_uPRN == 5);
    EXPECT_TRUE(m_aSlot[0].m_bGoodLock == 1 && m_aSlot[1].m_bGoodLock == 0);
    EXPECT_EQ(m_Navigation.m_Glonass.m_aGloEphemeris[kRow5].m_uTb, 30);
    EXPECT_EQ(waiting.m_uTb, 0);

    // No L2: only the L2 slot empties, keeping its measurements; L1's counter wraps.
    const double l2Code = m_aSlot[1].m_dPseudorange;
    r05.m_L1.m_uSlipCounter = 1;
    r05.m_L2.m_bPresent = false;
    Decode({r05});
    EXPECT_TRUE(m_aSlot[0].m_uPRN == 5 && m_aSlot[0].m_uSlipDelta == 2);
    EXPECT_TRUE(m_aSlot[1].m_uPRN == 0 && m_aSlot[1].m_dPseudorange == l2Code);

    // Back on L2 with another counter: a new start, no slip.
    r05.m_L2 = Signal(21000001.5, 87311000.5, 8.0, 10.0, 90);
    Decode({r05});
    EXPECT_TRUE(m_aSlot[1].m_uPRN == 5 && m_aSlot[1].m_uSlipDelta == 0);

    // A channel past the twelfth is never read.
    Decode(std::vector<SBin66Channel>(12, r05), 12);
    EXPECT_TRUE(m_aSlot[0].m_uPRN == 5 && m_aSlot[1].m_uPRN == 5 && m_aSlot[0].m_uSlipCounter == 1);

    // Without L1 the L2 code range stands on the channel word alone.
    r05.m_L1.m_bPresent = false;
    r05.m_L2.m_dPseudorange = 21000191.9375; // low 16 bits above half the fragment's range
    Decode({r05});
    EXPECT_TRUE(m_aSlot[0].m_uPRN == 0 && m_aSlot[1].m_uPRN == 5);
    EXPECT_EQ(m_aSlot[1].m_dPseudorange, 21000191.9375);

    for (uint8_t slot : {25, 0})
    {
        r05.m_uSlot = slot;
        Decode({r05});
        EXPECT_TRUE(m_aSlot[0].m_uPRN == 0 && m_aSlot[1].m_uPRN == 0) << "slot " << int(slot);
    }
}

// Whole runs: a BIN96 log that carries GLONASS. Values sit on the message's
// grid and the epochs on whole seconds, so the file shows them exactly.
// Slot 3 has frequency channel 5, slot 11 channel 0 (the default table).
SBin66Channel R03(bool withL2)
{
    SBin66Channel c{3, Signal(19100000.25, 102243000.5, -1500.5, 23.0),  // strength 9
                    Signal(19100003.5, 79523500.25, -1167.0, 13.7)};     // strength 6
    c.m_L2.m_bPresent = withL2;
    return c;
}

SBin66Channel R11(uint8_t l2Slip)
{
    return {11, Signal(20500000.75, 109546900.125, 2345.625, 8.0),   // strength 3
            Signal(20500004.25, 85201000.75, 1827.25, 8.0, l2Slip)}; // strength 4 on the L2 scale
}

TEST(Bin66Run, GlonassJoinsTheEpochOfItsSecondInAMixedFileWithL2Columns)
{
    const SBin96Channel g05{5, 50, 0, true, -4096, 21000000.5, 1000.0};
    SBin66Channel r05 = R03(true);
    r05.m_uSlot = 5;
    Bytes log;
    AppendBytes(log, MakeBin96Frame(2111, 100.0, {g05}));
    AppendBytes(log, MakeBin66Frame(2111, 100.0, {R03(false), R11(0)}));
    AppendBytes(log, MakeBin66Frame(2111, 101.0, {r05})); // before its GPS message: lost
    AppendBytes(log, MakeBin96Frame(2111, 101.0, {g05}));
    AppendBytes(log, MakeBin66Frame(2111, 101.0, {R03(true), R11(3)}));
    CScratchDir dir;
    dir.WriteFile("in.log", log);
    EXPECT_EQ(RunObsforgeTool({"in.log", "obs"}, dir.Dir()).m_iExitStatus, 0);

    SHeaderParts parts;
    parts.m_bMixed = true;
    parts.m_szGpsTypes = kObsG6; // BIN66 brings L2 columns into a BIN96 file
    parts.m_szLast = "  2020     6    21     0     1   41.000000      GPS         TIME OF LAST OBS    \n";
    const std::string g05Line = "G05      5255.035 7  21000000.500 7         5.255 7"
                                "         0.000 0         0.000 0         0.000 0\n";
    const std::string r03 = "R03 102243000.500 9  19100000.250 9      1500.500 9";
    const std::string r11 = "R11 109546900.125 3  20500000.750 3     -2345.625 3";
    EXPECT_EQ(MaskRunDate(dir.ReadFile("obs")),
              HeaderText(parts) + "> 2020  6 21  0  1 40.0000000  0  3\n" + g05Line +
                  r03 + "         0.000 0         0.000 0         0.000 0\n" +
                  r11 + "  85201000.750 4  20500004.250 4     -1827.250 4\n" +
                  "> 2020  6 21  0  1 41.0000000  0  3\n" + g05Line +
                  r03 + "  79523500.25016  19100003.500 6      1167.000 6\n" + // first L2 after a blank
                  r11 + "  85201000.75014  20500004.250 4     -1827.250 4\n"); // L2 slip counter moved

    // Without a GPS message the log time never moves: nothing is written.
    dir.WriteFile("glo.log", MakeBin66Frame(2111, 100.0, {R03(true), R11(0)}));
    EXPECT_EQ(RunObsforgeTool({"glo.log", "glo.obs"}, dir.Dir()).m_iExitStatus, 0);
    EXPECT_TRUE(dir.Exists("glo.obs"));
    EXPECT_EQ(dir.ReadFile("glo.obs"), "");
}
} // namespace
