#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "driver/RunStats.h"
#include "gnsstime/GpsTime.h"
#include "logio/BinaryMessages.h"
#include "navstate/NavState.h"
#include "rinex/BeidouNavWriter.h"
#include "rinex/NavWriterTestSupport.h"
#include "support/ExpectedObsText.h"

namespace
{

// GPS week 2111 starts on Sunday 2020-06-21; BDT second 18000 of it is 05:00:00.
constexpr uint16_t kWeek = 2111;

const std::string kVersionLine = "     3.02           N: GNSS NAV DATA    C: BDS              RINEX VERSION / TYPE\n";
const std::string kBlank = "                                                            COMMENT             \n";

std::string Header(const std::string& bdut, const std::string& leap)
{
    return kVersionLine + kPgm + kBlank + kBlank + bdut + leap + kEndOfHeader;
}

// Times in GPS time as the record holds them, toe and Omega0 also as
// broadcast: the file shows BDT and the broadcast values. AODE 1 and the key
// `key` differ, URA 0x12 gives 4.0 m by its low four bits, AODC 3.
SBeidouEphemeris Record(uint16_t key)
{
    SBeidouEphemeris r{};
    r.m_uStatus = kStatusStored, r.m_uHealth = 1, r.m_uUra = 0x12, r.m_uIodc = 3, r.m_uAode = 1;
    r.m_uIode = key, r.m_uTocWeek = kWeek, r.m_dToc = 18014.0, r.m_uToeWeek = kWeek, r.m_dToe = 18014.0;
    r.m_dToeBdt = 18000.0, r.m_dOmega0 = 99.0, r.m_dOmega0Bdt = 2.5;
    r.m_dAf0 = 1.5e-9, r.m_dAf1 = -2.25e-12, r.m_dTgd = -1.1e-8, r.m_dTgd2 = 2.5e-9;
    r.m_dCrs = 12.5, r.m_dDeltaN = 4.5e-9, r.m_dM0 = -1.25, r.m_dCuc = 6.25e-7, r.m_dEcc = 0.0125;
    r.m_dCus = -3.5e-6, r.m_dSqrtA = 5282.625, r.m_dCic = 1e-8, r.m_dCis = -7.5e-8, r.m_dI0 = 0.96875;
    r.m_dCrc = 250.25, r.m_dOmega = -0.5, r.m_dOmegaDot = -8e-9, r.m_dIdot = 2e-10;
    return r;
}

const std::string kRecord = "C07 2020 06 21 05 00 00 1.500000000000D-09-2.250000000000D-12 0.000000000000D+00\n"
                            "     1.000000000000D+00 1.250000000000D+01 4.500000000000D-09-1.250000000000D+00\n"
                            "     6.250000000000D-07 1.250000000000D-02-3.500000000000D-06 5.282625000000D+03\n"
                            "     1.800000000000D+04 1.000000000000D-08 2.500000000000D+00-7.500000000000D-08\n"
                            "     9.687500000000D-01 2.502500000000D+02-5.000000000000D-01-8.000000000000D-09\n"
                            "     2.000000000000D-10 0.000000000000D+00 7.550000000000D+02 0.000000000000D+00\n"
                            "     4.000000000000D+00 1.000000000000D+00-1.100000000000D-08 2.500000000000D-09\n"
                            "     1.800000000000D+04 3.000000000000D+00 0.000000000000D+00 0.000000000000D+00\n";

// A BIN34 frame in the stored copy at the field offsets of the message.
void StoreBin34(int32_t a0, int32_t a1, uint8_t tot, uint8_t wnt)
{
    uint8_t* f = g_StoredMessages.m_Bin34.m_aFrame;
    std::memset(f, 0, sizeof(g_StoredMessages.m_Bin34.m_aFrame));
    auto put = [f](uint32_t offset, auto value) { std::memcpy(f + offset, &value, sizeof(value)); };
    std::memcpy(f, "$BIN", 4);
    put(4, uint16_t{34}), put(6, uint16_t{32}), put(8, a0), put(12, a1), put(28, tot), put(29, wnt);
}

class BeidouNavWriterTest : public CNavWriterTest<CWriteRinexBeiDouNav>
{
protected:
    void ClearTables() override
    {
        std::memset(g_BeidouNavState.m_aEphemeris, 0, sizeof(g_BeidouNavState.m_aEphemeris));
        std::memset(g_BeidouNavState.m_aPendingEphemeris, 0, sizeof(g_BeidouNavState.m_aPendingEphemeris));
    }
};

TEST_F(BeidouNavWriterTest, EachNewKeyIsAppendedOnceBehindTheHeader)
{
    CGpsNavState& s = g_BeidouNavState;
    s.m_aPendingEphemeris[6] = Record(36);
    std::string expected = Header(kBlank, kBlank) + kRecord;
    m_Writer.WritePending(true);
    EXPECT_EQ(FileText(), expected);

    // The same key again, with other contents, adds nothing. A new key is
    // appended; satellite 33, beyond the pass, never is.
    SBeidouEphemeris sameKey = Record(36);
    sameKey.m_dCrs = 99.0;
    s.m_aPendingEphemeris[6] = sameKey;
    m_Writer.WritePending(true);
    EXPECT_EQ(FileText(), expected);
    s.m_aPendingEphemeris[6] = Record(37);
    s.m_aEphemeris[32] = Record(36);
    m_Writer.WritePending(true);
    EXPECT_EQ(FileText(), expected + kRecord);
    EXPECT_EQ(RunStats.m_uNavSatsWritten, 1u);
    EXPECT_EQ(RunStats.m_uNavWrites, 2u);
}

TEST_F(BeidouNavWriterTest, ReservedLinesAreFilledInPlaceAlsoFromABin34AheadOfTheHeader)
{
    const std::string bdut1 = "BDUT -2.7939677238D-09 9.094947018D-13  40960  243          TIME SYSTEM CORR    \n";
    const std::string bdut2 = "BDUT  0.0000000000D+00-8.881784197D-16      0  244          TIME SYSTEM CORR    \n";
    const std::string leap4 = "     4                                                      LEAP SECONDS        \n";

    // Ahead of the header the line lands at the start of the empty file.
    StoreBin34(-3, 1024, 10, 243);
    m_Writer.WriteBdutLine();
    EXPECT_EQ(FileText(), bdut1);

    // The header covers it, and the pass writes it again in its place. GPS -
    // UTC of 14 s is a BeiDou count of 0: nothing to fill.
    g_iGpsLeapSeconds = 14;
    g_BeidouNavState.m_aEphemeris[6] = Record(36);
    m_Writer.WritePending(true);
    EXPECT_EQ(FileText(), Header(bdut1, kBlank) + kRecord);

    // Each later BIN34 rewrites its line; the leap seconds are filled once.
    StoreBin34(0, -1, 0, 244);
    m_Writer.WriteBdutLine();
    g_iGpsLeapSeconds = 18;
    g_iBeidouLeapSeconds = 4;
    m_Writer.WritePending(true);
    g_iBeidouLeapSeconds = 5;
    m_Writer.WritePending(true);
    EXPECT_EQ(FileText(), Header(bdut2, leap4) + kRecord);
}

TEST_F(BeidouNavWriterTest, RecordTimesAreBdtAndSecondsThatPrintAsSixtyCarry)
{
    const struct
    {
        double m_dToc;
        const char* m_szStart;
        const char* m_szBdtSeconds; // first field of orbit line 7
    } cases[] = {
        {6.0, "C07 2020 06 20 23 59 52", " 6.047920000000D+05"}, // into the GPS week before
        {73.99999996, "C07 2020 06 21 00 01 00", " 5.999999996000D+01"},
        {73.9999999, "C07 2020 06 21 00 00 59", " 5.999999990000D+01"},
    };
    for (const auto& c : cases)
    {
        SBeidouEphemeris r = Record(36);
        r.m_dToc = c.m_dToc;
        r.m_uToeWeek = 1355; // BDT week -1: signed
        std::rewind(m_pFile);
        m_Writer.WriteBeidouRecord(7, r);
        const std::vector<std::string> lines = LinesOf(FileText());
        ASSERT_EQ(lines.size(), 8u);
        EXPECT_EQ(lines[0].substr(0, 23), c.m_szStart) << c.m_dToc;
        EXPECT_EQ(lines[5].substr(42, 19), "-1.000000000000D+00");
        EXPECT_EQ(lines[7].substr(4, 19), c.m_szBdtSeconds) << c.m_dToc;
    }
}

} // namespace
