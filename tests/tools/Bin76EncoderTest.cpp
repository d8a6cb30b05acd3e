#include <cstdint>
#include <vector>

#include "logbuild/Bin76Encoder.h"
#include "obsconv/Bin76Decoder.h"
#include "tests/obsconv/ObsconvTestSupport.h"

namespace
{
class Bin76EncoderL2Only : public CObsconvTest
{
};

// A channel without L1 C/A has an all-zero L1 record, so the anchor's low 16
// bits read as zero and the L2 code range is placed on the channel word's
// upper bits alone. Whatever its own low bits, including those above 0x8000
// that lie nearer the next multiple of 2^16, it must come back whole.
TEST_F(Bin76EncoderL2Only, L2CodeComesBackWholeForAnyLowBits)
{
    for (const uint32_t low : {0x0000u, 0x0010u, 0x7FFFu, 0x8000u, 0x8001u, 0xC123u, 0xFFF0u, 0xFFFFu})
    {
        const double code = static_cast<double>(0x1312D0000ull + low) / 256.0; // 20000000 m + the low bits
        SBin76Channel c;
        c.m_uPrn = 9;
        c.m_L2 = SBin76Signal{true, code, 9.0e7, 1500.0, 30.0, 0, true};
        const Bytes frame = MakeBin76Frame(2111, 100.0, {c});

        SObsSlot l1{}, l2{};
        l2.m_uSignal = kSignalGpsL2;
        DecodeBin76Slot(l1, frame.data(), m_Navigation.m_Gps, m_Mask);
        DecodeBin76Slot(l2, frame.data(), m_Navigation.m_Gps, m_Mask);
        EXPECT_EQ(l1.m_uPRN, 0u) << "low bits " << low;
        ASSERT_EQ(l2.m_uPRN, 9u) << "low bits " << low;
        EXPECT_NEAR(l2.m_dPseudorange, code, 1.0 / 512) << "low bits " << low;
    }
}
} // namespace
