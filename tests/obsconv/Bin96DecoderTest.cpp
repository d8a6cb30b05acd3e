#include <cmath>

#include "obsconv/Bin96Decoder.h"
#include "tests/obsconv/ObsconvTestSupport.h"

namespace
{
// A BIN96 frame built channel by channel. Bits the decoder must ignore (word 0
// bits 16-23, word 1 bits 1-3) are always set, so that a wrong mask shows.
struct CBin96Frame
{
    CBin96Frame() { m_Payload.U16(0).U16(2200).Double(100.0).Zeros(288); }

    // `doppler` in 1/4096 m/s, `phase` in metres.
    CBin96Frame& Channel(uint32_t n, uint32_t prn, uint32_t snr, uint32_t slip, int32_t doppler = 0,
                         bool lock = true, double range = 2.2e7, double phase = 1.2e7)
    {
        const size_t at = 12 + 24 * n; // frame offset 20 + 24n, behind the 8-byte header
        m_Payload.PutU32At(at, prn | snr << 8 | 0xFFu << 16 | slip << 24);
        m_Payload.PutU32At(at + 4, static_cast<uint32_t>(doppler) << 4 | 0xEu | (lock ? 1u : 0u));
        m_Payload.PutDoubleAt(at + 8, range).PutDoubleAt(at + 16, phase);
        return *this;
    }

    Bytes Frame() const { return MakeBinFrame(96, m_Payload.GetBytes()); }
    CPayloadWriter m_Payload;
};

class Bin96Decoder : public CObsconvTest
{
protected:
    // Decodes channel `n` of the frame into m_Slot.
    void Decode(const CBin96Frame& frame, uint32_t n = 0)
    {
        const Bytes bytes = frame.Frame(); // exactly 312 bytes: a read past them shows under the sanitizer
        m_Slot.m_uChannel = n;
        DecodeBin96Slot(m_Slot, bytes.data(), m_Navigation.m_Gps, m_Mask);
    }

    SObsSlot m_Slot{};
};

TEST_F(Bin96Decoder, EmptyChannelClearsOnlyTheSatelliteNumber)
{
    Decode(CBin96Frame().Channel(0, 5, 40, 10, -800, true, 2.3e7, 1.3e7));
    const SObsSlot before = m_Slot;
    Decode(CBin96Frame().Channel(0, 0, 60, 20, 900, false, 2.4e7, 1.4e7));
    EXPECT_EQ(m_Slot.m_uPRN, 0u);
    EXPECT_EQ(m_Slot.m_dPseudorange, before.m_dPseudorange);
    EXPECT_EQ(m_Slot.m_dPhase, before.m_dPhase);
    EXPECT_EQ(m_Slot.m_dDoppler, before.m_dDoppler);
    EXPECT_EQ(m_Slot.m_dSnr, before.m_dSnr);
    EXPECT_EQ(m_Slot.m_bGoodLock, 1);
    EXPECT_EQ(m_Slot.m_uSlipCounter, 10u);
    // The same satellite coming back is a new occupant: no slip against the old counter.
    Decode(CBin96Frame().Channel(0, 5, 40, 30));
    EXPECT_EQ(m_Slot.m_uSlipDelta, 0u);
}

TEST_F(Bin96Decoder, SlotsOwnRecordGivesLogarithmicSnrAndMeasurementsInCyclesAndHz)
{
    Decode(CBin96Frame().Channel(10, 3, 40, 0, 9).Channel(11, 12, 255, 0, 4096 * 100, false, 21234567.891, 1000.0),
           11);
    EXPECT_EQ(m_Slot.m_uPRN, 12u);
    EXPECT_NEAR(m_Slot.m_dSnr, 23.199, 0.001);
    EXPECT_EQ(m_Slot.m_dPseudorange, 21234567.891);
    EXPECT_EQ(m_Slot.m_dPhase, 1000.0 * 5.255035468570723);
    EXPECT_DOUBLE_EQ(m_Slot.m_dDoppler, 100.0 * 5.255035468570723); // 100 m/s in L1 cycles
    EXPECT_EQ(m_Slot.m_bGoodLock, 0);

    Decode(CBin96Frame().Channel(11, 12, 1, 0, -12345, true), 11);
    EXPECT_EQ(m_Slot.m_dDoppler, -12345 * 0.0012829676436940242);
    EXPECT_EQ(m_Slot.m_dSnr, 10.0 * std::log10(0.8192)); // below 0 dB, passed on as it is
    EXPECT_EQ(m_Slot.m_bGoodLock, 1);
    Decode(CBin96Frame().Channel(11, 12, 0, 0), 11);
    EXPECT_EQ(m_Slot.m_dSnr, 0.0);
}

TEST_F(Bin96Decoder, OnBin96AddsEveryOccupiedChannelToTheNewEpoch)
{
    m_LogTime.SetLogTime(100.0, 2200);
    OnBin96(CBin96Frame().Channel(0, 3, 40, 0, 4096).Channel(4, 0, 40, 0).Channel(11, 30, 40, 0, 0, false)
                .Frame().data(),
            m_Intake);

    const SObsEpoch& w = Pending();
    EXPECT_TRUE(m_Assembly.EpochOpen() && m_Assembly.EpochAccepted());
    EXPECT_TRUE(w.m_aGpsL1[2].m_bValid && w.m_aGpsL1[2].m_bGood);
    EXPECT_DOUBLE_EQ(w.m_aGpsL1[2].m_dDoppler, -5.255035468570723);
    EXPECT_TRUE(w.m_aGpsL1[29].m_bValid && !w.m_aGpsL1[29].m_bGood); // lock flag clear: left out and marked
    EXPECT_EQ(w.m_aGpsL1[29].m_uLli, 1u);
    int valid = 0;
    for (const SObsEntry& entry : w.m_aGpsL1)
        valid += entry.m_bValid;
    EXPECT_EQ(valid, 2);
}
} // namespace
