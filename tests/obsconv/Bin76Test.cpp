#include <vector>

#include "logbuild/Bin76Encoder.h"
#include "obsconv/Bin76Decoder.h"
#include "tests/obsconv/ObsconvTestSupport.h"

namespace
{
SBin76Signal Signal(double code, double phase, double doppler, double snr, uint8_t slip = 0)
{
    return SBin76Signal{true, code, phase, doppler, snr, slip, true};
}

class Bin76Decoder : public CObsconvTest
{
protected:
    // Decodes channel `n` of a frame holding `channels` into the L1 C/A, L2
    // and L1 P slots of m_aSlot. The bits a decoder must pass over (record
    // word 0 bits 12-23, channel word bits 8-12, L1 P word bits 28-31) are
    // set, so that a wrong mask shows; empty records stay all zero.
    void Decode(const std::vector<SBin76Channel>& channels, uint32_t n = 0)
    {
        Bytes frame = MakeBin76Frame(2111, 100.0, channels); // 460 bytes: an overread shows under the sanitizer
        for (size_t ch = 0; ch < 15; ++ch) // L2 records and L1 P words for the first 12
        {
            for (size_t record : {168 + 12 * ch, ch < 12 ? 24 + 12 * ch : 168 + 12 * ch})
                if (Bytes(frame.begin() + record, frame.begin() + record + 12) != Bytes(12, 0))
                {
                    frame[record + 1] |= 0xA0;
                    frame[record + 2] |= 0xAA;
                }
            frame[349 + 4 * ch] |= 0x15;
            if (ch < 12)
                frame[411 + 4 * ch] |= 0xA0;
        }
        for (uint32_t signal : {kSignalL1, kSignalGpsL2, kSignalGpsL1P})
        {
            m_aSlot[signal].m_uChannel = n;
            m_aSlot[signal].m_uSignal = signal;
            DecodeBin76Slot(m_aSlot[signal], frame.data(), m_Navigation.m_Gps, m_Mask);
        }
    }

    SObsSlot m_aSlot[3]{};
};

TEST_F(Bin76Decoder, CodeAndPhaseAreRebuiltOnTheAnchorAcrossFragmentCarriesAndBorrows)
{
    // Anchors 0x1406F0010 and 0x1406FFFF0 (1/256 m) put the L2 and L1 P code
    // fragments across the 16-bit boundary; the phases lie up to 4000 cycles
    // off the code estimate, across the 8192-cycle boundary.
    const struct
    {
        const char* m_szWhat;
        double m_dL1Code, m_dL2Code, m_dPCode, m_dL1Phase, m_dL2Phase, m_dDoppler;
    } cases[] = {
        {"codes borrow, L1 phase borrows, L2 phase carries", 20999936.0625, 20999935.9375, 20999935.8125,
         110351431.75, 85994424.5, -1234.5},
        {"codes carry, L2 phase borrows", 21000191.9375, 21000192.0625, 21000192.1875, 110360653.5, 85988776.0,
         16000.25},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.m_szWhat);
        std::vector<SBin76Channel> channels(12);
        channels[11].m_uPrn = 5;
        channels[11].m_L1 = Signal(c.m_dL1Code, c.m_dL1Phase, c.m_dDoppler, 20.0);
        channels[11].m_L2 = Signal(c.m_dL2Code, c.m_dL2Phase, -c.m_dDoppler / 2, 10.0);
        channels[11].m_L1P = SBin76L1P{c.m_dPCode, 12.0};
        Decode(channels, 11);
        const SObsSlot& l1 = m_aSlot[kSignalL1];
        const SObsSlot& l2 = m_aSlot[kSignalGpsL2];
        const SObsSlot& p = m_aSlot[kSignalGpsL1P];
        const double code = 1.0 / 512, phase = 1.0 / 2048, doppler = 1.0 / 1024; // half a unit each
        EXPECT_NEAR(l1.m_dPseudorange, c.m_dL1Code, code);
        EXPECT_NEAR(l2.m_dPseudorange, c.m_dL2Code, code);
        EXPECT_NEAR(p.m_dPseudorange, c.m_dPCode, code);
        EXPECT_NEAR(l1.m_dPhase, c.m_dL1Phase, phase);
        EXPECT_NEAR(l2.m_dPhase, c.m_dL2Phase, phase);
        EXPECT_NEAR(p.m_dPhase, c.m_dL1Phase, phase); // the L1 record's phase, placed on the L1 P code
        EXPECT_NEAR(l1.m_dDoppler, c.m_dDoppler, doppler);
        EXPECT_NEAR(l2.m_dDoppler, -c.m_dDoppler / 2, doppler);
        EXPECT_NEAR(l1.m_dSnr, 20.0, 0.01);
        EXPECT_NEAR(l2.m_dSnr, 10.0, 0.03);
        EXPECT_NEAR(p.m_dSnr, 12.0, 0.03);
        for (const SObsSlot& slot : m_aSlot)
            EXPECT_TRUE(slot.m_uPRN == 5 && slot.m_bGoodLock && slot.m_uSlipDelta == 0);
    }
}

TEST_F(Bin76Decoder, AnEmptyRecordANumberAbove32OrAnL1OnlyChannelEmptiesOnlyTheSlotsConcerned)
{
    SBin76Channel g05{5, Signal(21000000.5, 110355000.25, 100.0, 20.0, 10),
                      Signal(21000003.25, 85992000.75, 80.0, 10.0, 40), SBin76L1P{21000001.75, 12.0}};
    Decode({g05});
    const double l2Code = m_aSlot[kSignalGpsL2].m_dPseudorange;

    // No L2, no L1 P signal to noise: only the L2 slot empties, keeping its measurements.
    g05.m_L2.m_bPresent = false;
    g05.m_L1.m_uSlipCounter = 12;
    g05.m_L1P = SBin76L1P{21000002.0, 0.0};
    Decode({g05});
    EXPECT_EQ(m_aSlot[kSignalL1].m_uPRN, 5u);
    EXPECT_EQ(m_aSlot[kSignalGpsL2].m_uPRN, 0u);
    EXPECT_EQ(m_aSlot[kSignalGpsL2].m_dPseudorange, l2Code);
    const SObsSlot& p = m_aSlot[kSignalGpsL1P];
    EXPECT_TRUE(p.m_uPRN == 5 && p.m_dSnr == 0.0 && p.m_dPseudorange == 21000002.0);
    EXPECT_TRUE(p.m_uSlipDelta == 2 && m_aSlot[kSignalL1].m_uSlipDelta == 2); // both read the L1 counter

    // A number above 32 has L1 C/A only.
    g05.m_uPrn = 120;
    g05.m_L2.m_bPresent = true;
    Decode({g05});
    EXPECT_EQ(m_aSlot[kSignalL1].m_uPRN, 120u);
    EXPECT_EQ(m_aSlot[kSignalGpsL2].m_uPRN, 0u);
    EXPECT_EQ(m_aSlot[kSignalGpsL1P].m_uPRN, 0u);

    // The last three of the 15 channels carry L1 C/A alone.
    g05.m_uPrn = 7;
    Decode(std::vector<SBin76Channel>(15, g05), 14);
    EXPECT_EQ(m_aSlot[kSignalL1].m_uPRN, 7u);
    EXPECT_NEAR(m_aSlot[kSignalL1].m_dPseudorange, 21000000.5, 1.0 / 512);
    EXPECT_NEAR(m_aSlot[kSignalL1].m_dPhase, 110355000.25, 1.0 / 2048);
    EXPECT_EQ(m_aSlot[kSignalGpsL2].m_uPRN, 0u);
    EXPECT_EQ(m_aSlot[kSignalGpsL1P].m_uPRN, 0u);
}

} // namespace
