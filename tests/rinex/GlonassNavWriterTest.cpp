#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/RunStats.h"
#include "gnsstime/GpsTime.h"
#include "navstate/GlonassFrequencies.h"
#include "navstate/NavState.h"
#include "rinex/GlonassNavWriter.h"
#include "rinex/NavWriterTestSupport.h"
#include "support/ExpectedObsText.h"

namespace
{

const std::string kVersionLine = "     3.02           N: GNSS NAV DATA    R: GLONASS          RINEX VERSION / TYPE\n";
const std::string kBlankLeap = "                                                            LEAP SECONDS        \n";
// tau c of the first record is 0.0: the file shows -tau c, a minus zero.
const std::string kGlut = "GLUT -0.0000000000D+00 0.000000000D+00      0    0          TIME SYSTEM CORR    \n";

std::string Header(const std::string& leapLine)
{
    return kVersionLine + kPgm + kGlut + leapLine + kEndOfHeader;
}

// A record of interval 7 (whose first year is 2020), day 100 (9 April) with
// tb 12:15 Moscow time by default: 09:15 UTC. n of string 4 is 4, Bn 1.
SGlonassEphemeris Record(uint32_t tbMinutes)
{
    SGlonassEphemeris r{};
    r.m_uTbMinutes = tbMinutes, r.m_uTb = static_cast<uint16_t>(tbMinutes), r.m_uN4 = 7, r.m_uNt = 100;
    r.m_dTauN = 1.25e-5, r.m_dGamma = -2.5e-12, r.m_uBn = 1, r.m_uEn = 5, r.m_uSlot = 4;
    r.m_dX = 12345.5, r.m_dVx = -1.5, r.m_dAx = -1e-9;
    r.m_dY = -20000.25, r.m_dVy = 0.5, r.m_dAy = 0.0;
    r.m_dZ = 10000.0, r.m_dVz = 3.25, r.m_dAz = 2e-9;
    r.m_uStatus = kStatusStored;
    return r;
}

std::string RecordText(const std::string& start, const std::string& frameTime, const std::string& frequency)
{
    return start + "-1.250000000000D-05-2.500000000000D-12" + frameTime + "\n" +
           "     1.234550000000D+04-1.500000000000D+00-1.000000000000D-09 1.000000000000D+00\n"
           "    -2.000025000000D+04 5.000000000000D-01 0.000000000000D+00" + frequency + "\n" +
           "     1.000000000000D+04 3.250000000000D+00 2.000000000000D-09 5.000000000000D+00\n";
}

class GlonassNavWriterTest : public CNavWriterTest<CWriteRinexGlonassNav>
{
protected:
    void SetUp() override
    {
        std::memcpy(m_aSavedChannel, g_aGlonassChannel, sizeof(m_aSavedChannel));
        g_aGlonassChannel[3] = 14; // slot 4, n of the records: +6
        CNavWriterTest::SetUp();
    }

    void TearDown() override
    {
        CNavWriterTest::TearDown();
        std::memcpy(g_aGlonassChannel, m_aSavedChannel, sizeof(m_aSavedChannel));
    }

    void ClearTables() override
    {
        std::memset(g_GlonassNavState.m_aGloEphemeris, 0, sizeof(g_GlonassNavState.m_aGloEphemeris));
        std::memset(g_GlonassNavState.m_aGloPendingEphemeris, 0, sizeof(g_GlonassNavState.m_aGloPendingEphemeris));
    }

    int16_t m_aSavedChannel[kGlonassSlots];
};

TEST_F(GlonassNavWriterTest, EachNewTbIsAppendedOnceAndHeaderLinesAreFilledOnce)
{
    CGlonassNavState& s = g_GlonassNavState;
    g_aGlonassChannel[0] = 10; // slot 1: +2
    g_aGlonassChannel[2] = 1;  // slot 3: -7

    // Without a stream the pass doesn't run: the pending record keeps waiting.
    s.m_aGloPendingEphemeris[2] = Record(735);
    m_Writer.SetFile(nullptr);
    m_Writer.WritePending(true);
    EXPECT_EQ(s.m_aGloPendingEphemeris[2].m_uTb, 735u);
    m_Writer.SetFile(m_pFile);

    // The frequency goes by n of string 4 (slot 4), not by the row (slot 3).
    // Leap seconds of 0 (no GPS lines yet) leave their line blank.
    std::string records = RecordText("R03 2020 04 09 09 15 00", " 3.330000000000D+04", " 6.000000000000D+00");
    m_Writer.WritePending(true);
    EXPECT_EQ(FileText(), Header(kBlankLeap) + records);

    // The same tb with other contents adds nothing.
    SGlonassEphemeris sameTb = Record(735);
    sameTb.m_dX = 1.0;
    s.m_aGloPendingEphemeris[2] = sameTb;
    m_Writer.WritePending(true);
    EXPECT_EQ(FileText(), Header(kBlankLeap) + records);

    // A new tb with another tau c, which doesn't reach the GLUT line, and a
    // first record of slot 1, whose n out of range takes the row's channel.
    // The leap seconds, set meanwhile, are filled in by this pass only.
    SGlonassEphemeris newTb = Record(750);
    newTb.m_dTauC = 1e-9;
    s.m_aGloPendingEphemeris[2] = newTb;
    s.m_aGloEphemeris[0] = Record(735);
    s.m_aGloEphemeris[0].m_uSlot = 0;
    g_iGpsLeapSeconds = 18;
    m_Writer.WritePending(true);
    g_iGpsLeapSeconds = 19;
    m_Writer.WritePending(true);
    records += RecordText("R01 2020 04 09 09 15 00", " 3.330000000000D+04", " 2.000000000000D+00") +
               RecordText("R03 2020 04 09 09 30 00", " 3.420000000000D+04", " 6.000000000000D+00");
    const std::string leap18 = "    18                                                      LEAP SECONDS        \n";
    EXPECT_EQ(FileText(), Header(leap18) + records);
    EXPECT_EQ(RunStats.m_uNavSatsWritten, 2u);
    EXPECT_EQ(RunStats.m_uNavWrites, 3u);
}

TEST_F(GlonassNavWriterTest, RecordDateIsTheUtcDayOfTbAndFrameTimeItsSecondOfDay)
{
    const struct
    {
        uint32_t m_uNt;
        uint32_t m_uTbMinutes;
        const char* m_szStart;
        const char* m_szFrameTime;
    } cases[] = {
        {100, 15, "R03 2020 04 08 21 15 00", " 7.650000000000D+04"},  // 00:15 Moscow: the day before
        {1, 15, "R03 2019 12 31 21 15 00", " 7.650000000000D+04"},    // ... also across intervals
        {366, 180, "R03 2020 12 31 00 00 00", " 0.000000000000D+00"}, // first year is the leap year
        {367, 1425, "R03 2021 01 01 20 45 00", " 7.470000000000D+04"},
        {60, 720, "R03 2020 02 29 09 00 00", " 3.240000000000D+04"},
        {426, 720, "R03 2021 03 01 09 00 00", " 3.240000000000D+04"},
        {1461, 720, "R03 2023 12 31 09 00 00", " 3.240000000000D+04"},
    };
    for (const auto& c : cases)
    {
        SGlonassEphemeris r = Record(c.m_uTbMinutes);
        r.m_uNt = c.m_uNt;
        std::rewind(m_pFile);
        m_Writer.WriteGlonassRecord(3, r);
        const std::string line = FileText().substr(0, 81);
        EXPECT_EQ(line.substr(0, 23), c.m_szStart) << c.m_uNt;
        EXPECT_EQ(line.substr(61), std::string(c.m_szFrameTime) + "\n") << c.m_uNt;
    }
}

} // namespace
