#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <memory>

#include "gnsstime/GpsTime.h"
#include "logio/BinaryMessages.h"
#include "navstate/Navigation.h"
#include "rinex/BeidouNavWriter.h"
#include "rinex/GlonassNavWriter.h"
#include "rinex/NavWriter.h"
#include "support/ExpectedObsText.h"
#include "support/ExpectedText.h"

// What the navigation writers do beyond what the whole runs show: the pass
// rules, the leap seconds before the log time is known, and the record fields
// and dates that only unusual broadcast values reach.

namespace
{
// Week 2111 starts on Sunday 2020-06-21; second 18000 of it is 05:00:00.
constexpr uint16_t kWeek = 2111;

SGpsEphemeris GpsRecord(uint16_t iode)
{
    SGpsEphemeris r{};
    r.m_uStatus = kStatusStored, r.m_uWeek = r.m_uTocWeek = r.m_uToeWeek = kWeek, r.m_uIode = iode;
    r.m_dToc = r.m_dToe = 18000.0, r.m_dSqrtA = 5153.75;
    return r;
}

// Field `index`, 0 to 3, of an orbit line.
std::string FieldOf(const std::string& line, int index)
{
    return line.substr(4 + 19 * index, 19);
}

// A BIN94 frame with the fields a run takes, at the message's offsets.
SBinaryMsg94 Bin94(double alpha0, int16_t dtLs, int16_t dtLsf, double a0 = 1.5e-9)
{
    SBinaryMsg94 message{};
    uint8_t* f = message.m_aFrame;
    auto put = [f](uint32_t offset, auto value) { std::memcpy(f + offset, &value, sizeof(value)); };
    std::memcpy(f, "$BIN", 4);
    put(4, uint16_t{94}), put(6, uint16_t{96}), put(8, alpha0), put(72, a0), put(88, uint32_t{61440});
    put(92, kWeek), put(94, uint16_t{2000}), put(96, uint16_t{1}), put(98, dtLs), put(100, dtLsf);
    return message;
}

// Each test starts from a run's empty navigation state and no log time, with
// a temporary file for its writer.
class NavRecords : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Clear();
        NewFile();
    }

    void NewFile()
    {
        if (m_pFile != nullptr)
            std::fclose(m_pFile);
        m_pFile = std::tmpfile();
        ASSERT_NE(m_pFile, nullptr);
    }

    void TearDown() override { std::fclose(m_pFile); }

    // The navigation state of a new run.
    void Clear()
    {
        m_LogTime = CLogTime{};
        m_pNav = std::make_unique<CNavigation>(m_LogTime);
    }

    CNavigation& Nav() { return *m_pNav; }
    CUtcState& Utc() { return m_pNav->m_Utc; }

    // The lines of the whole file, whatever the stream's position.
    std::vector<std::string> Lines()
    {
        std::fflush(m_pFile);
        const long at = std::ftell(m_pFile);
        std::rewind(m_pFile);
        std::string text;
        char buffer[4096];
        for (size_t n = 0; (n = std::fread(buffer, 1, sizeof(buffer), m_pFile)) > 0;)
            text.append(buffer, n);
        std::fseek(m_pFile, at, SEEK_SET);
        return LinesOf(text);
    }

    // The navigation state's pass over the writer's system, then the writer's.
    void Pass(CWriteRinexNav& writer)
    {
        Nav().PassGpsRecords();
        writer.WritePending();
    }
    void Pass(CWriteRinexGlonassNav& writer)
    {
        Nav().PassGlonassRecords();
        writer.WritePending();
    }
    void Pass(CWriteRinexBeiDouNav& writer)
    {
        Nav().PassBeidouRecords();
        writer.WritePending();
    }

    // Three passes of `writer` over this file: before the leap seconds are
    // known, with them at `first`, and at `second`; the file's lines.
    template <typename Writer>
    std::vector<std::string> PassesAcrossLeapChange(Writer& writer, int32_t& leapSeconds, int32_t first,
                                                    int32_t second)
    {
        writer.SetFile(m_pFile);
        leapSeconds = 0;
        Pass(writer);
        leapSeconds = first;
        Pass(writer);
        leapSeconds = second;
        Pass(writer);
        return Lines();
    }

    std::FILE* m_pFile = nullptr;
    CLogTime m_LogTime;
    std::unique_ptr<CNavigation> m_pNav;
};

TEST_F(NavRecords, PassVisitsSatellites1To32InOrderWithOrWithoutAStreamAndAReturningKeyIsNew)
{
    CGpsNavState& s = Nav().m_Gps;
    CWriteRinexNav writer(Nav().m_Gps, Utc());
    s.m_aEphemeris[4] = GpsRecord(17);
    s.m_aPendingEphemeris[6] = GpsRecord(18);
    s.m_aEphemeris[32] = GpsRecord(40); // an SBAS row: never visited
    s.m_aPendingEphemeris[32] = GpsRecord(41);

    // Without a stream the pass runs all the same, so the records in use
    // don't depend on which files are named; nothing counts as written.
    CWriteRinexNav unnamed(Nav().m_Gps, Utc());
    Pass(unnamed);
    EXPECT_EQ(s.m_aPendingEphemeris[6].m_uIode, 0u);
    EXPECT_EQ(s.m_aEphemeris[6].m_uIode, 18u);
    EXPECT_EQ(unnamed.m_uRecordsWritten, 0u);
    s.m_aEphemeris[6] = SGpsEphemeris{};

    writer.SetFile(m_pFile);
    Pass(writer);
    s.m_aPendingEphemeris[4] = GpsRecord(18);
    s.m_aEphemeris[11] = GpsRecord(17);
    Pass(writer);
    s.m_aPendingEphemeris[4] = GpsRecord(17);
    Pass(writer);
    Pass(writer);
    const std::vector<std::string> lines = Lines();
    std::vector<std::string> written; // satellite and IODE of each record
    for (size_t at = 7; at + 1 < lines.size(); at += 8)
        written.push_back(lines[at].substr(0, 3) + FieldOf(lines[at + 1], 0));
    EXPECT_EQ(written, (std::vector<std::string>{"G05" + DField(17.0, 12), "G05" + DField(18.0, 12),
                                                 "G12" + DField(17.0, 12), "G05" + DField(17.0, 12)}));
    EXPECT_EQ(writer.m_uSatsWritten, 2u);
    EXPECT_EQ(writer.m_uRecordsWritten, 4u);
    EXPECT_EQ(s.m_aPendingEphemeris[32].m_uIode, 41u);
    // No UTC data came: the lines reserved for them stay blank comments.
    for (size_t reserved = 2; reserved < 6; ++reserved)
        EXPECT_EQ(lines[reserved], std::string(60, ' ') + "COMMENT             \n") << reserved;
}

TEST_F(NavRecords, LeapSecondsAreTheBin94CountBeforeTheLogTimeAndTheFirstBin94Stands)
{
    // Ahead of the log time: the message's count (17). With the log time
    // running: GPS - UTC from the UTC data, here after the event (18).
    const struct
    {
        uint16_t m_uLogWeek;
        int32_t m_iLeap;
    } cases[] = {{0, 17}, {kWeek, 18}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.m_iLeap);
        Clear();
        NewFile();
        CWriteRinexNav writer(Nav().m_Gps, Utc());
        writer.SetFile(m_pFile);
        Nav().m_Gps.m_aEphemeris[4] = GpsRecord(17);
        m_LogTime.SetLogTime(20000.0, c.m_uLogWeek);
        Utc().StoreBin94(Bin94(1.5e-8, 17, 18).m_aFrame);
        Pass(writer);
        EXPECT_EQ(Utc().m_iGpsLeapSeconds, c.m_iLeap);
        EXPECT_EQ(Utc().m_iBeidouLeapSeconds, c.m_iLeap - 14);
        EXPECT_EQ(Utc().m_UtcParams.m_uWnLsf, 2000u);
        EXPECT_EQ(Utc().m_UtcParams.m_iDtLsf, 18);

        // A later BIN94 changes neither the lines nor the parameters.
        Utc().StoreBin94(Bin94(2.5e-8, 30, 31).m_aFrame);
        Nav().m_Gps.m_aPendingEphemeris[4] = GpsRecord(18);
        Pass(writer);
        EXPECT_EQ(Utc().m_UtcParams.m_dAlpha0, 1.5e-8);
        EXPECT_EQ(Utc().m_iGpsLeapSeconds, c.m_iLeap);
        const std::vector<std::string> lines = Lines();
        ASSERT_EQ(lines.size(), 7u + 2 * 8);
        EXPECT_EQ(lines[2], "GPSA   1.5000D-08  0.0000D+00  0.0000D+00  0.0000D+00       IONOSPHERIC CORR    \n");
        EXPECT_EQ(lines[5], "    " + std::to_string(c.m_iLeap) +
                                "                                                      LEAP SECONDS        \n");
    }

    // A damaged A0 puts GPS - UTC far below the counts' range: both stay at
    // its bottom (found by fuzzing: the BeiDou count wrapped round).
    Clear();
    NewFile();
    CWriteRinexNav writer(Nav().m_Gps, Utc());
    writer.SetFile(m_pFile);
    Nav().m_Gps.m_aEphemeris[4] = GpsRecord(17);
    m_LogTime.SetLogTime(20000.0, kWeek);
    Utc().StoreBin94(Bin94(1.5e-8, 17, 18, -1e300).m_aFrame);
    Pass(writer);
    EXPECT_EQ(Utc().m_iGpsLeapSeconds, INT32_MIN);
    EXPECT_EQ(Utc().m_iBeidouLeapSeconds, INT32_MIN);
}

TEST_F(NavRecords, GpsRecordShowsUraByItsLowBitsHealthAsSentAndItsDateWithinFiveHundredthsOfTheNextSecond)
{
    CWriteRinexNav writer(Nav().m_Gps, Utc());
    writer.SetFile(m_pFile);
    const struct
    {
        double m_dToc;
        const char* m_szStart;
    } cases[] = {
        {18423.0, "G05 2020 06 21 05 07 03"},
        {18479.96, "G05 2020 06 21 05 08 00"},
        {18479.94, "G05 2020 06 21 05 07 59"},
        {604799.96, "G05 2020 06 28 00 00 00"},
    };
    for (const auto& c : cases)
    {
        // URA 0x13 is 5.7 m by its low four bits; health 32 is written as it is,
        // and the file shows L2 P flag 1 as the constant 0.
        SGpsEphemeris r = GpsRecord(17);
        r.m_dToc = c.m_dToc, r.m_uUra = 0x13, r.m_uHealth = 32, r.m_uL2PFlag = 1, r.m_uIodc = 273;
        std::rewind(m_pFile);
        writer.WriteGpsRecord(5, r);
        const std::vector<std::string> lines = Lines();
        ASSERT_EQ(lines.size(), 8u);
        EXPECT_EQ(lines[0].substr(0, 23), c.m_szStart) << c.m_dToc;
        EXPECT_EQ(FieldOf(lines[5], 3), DField(0.0, 12));
        EXPECT_EQ(lines[6], "    " + DField(5.7, 12) + DField(32.0, 12) + DField(0.0, 12) + DField(273.0, 12) + "\n");
    }
}

TEST(NavRecordsFit, GpsFitIntervalFollowsFlagIodeAndIodc)
{
    const struct
    {
        uint32_t m_uFlag;
        uint16_t m_uIode;
        uint16_t m_uIodc;
        double m_dHours;
    } cases[] = {
        {0, 245, 245, 4.0},  {1, 10, 1023, 6.0},  {1, 239, 0, 6.0},    {1, 240, 247, 8.0},  {1, 245, 248, 14.0},
        {1, 245, 496, 14.0}, {1, 245, 503, 26.0}, {1, 245, 504, 50.0}, {1, 245, 511, 74.0}, {1, 245, 756, 74.0},
        {1, 255, 757, 98.0}, {1, 245, 300, 0.0},  {1, 10, 1024, 0.0},  {1, 300, 100, 0.0},
    };
    for (const auto& c : cases)
    {
        SGpsEphemeris r{};
        r.m_uFitFlag = c.m_uFlag;
        r.m_uIode = c.m_uIode;
        r.m_uIodc = c.m_uIodc;
        EXPECT_EQ(GpsFitIntervalHours(r), c.m_dHours) << c.m_uFlag << " " << c.m_uIode << " " << c.m_uIodc;
    }
}

// The leap seconds that come after the header fill its line then, and only once;
// the GLUT line shows tau c of the first record written.
TEST_F(NavRecords, GlonassFrequencyGoesByNOfString4ElseByTheRowAndHeaderLinesAreFilledOnce)
{
    int16_t(&channel)[kGlonassSlots] = Nav().m_GlonassFrequencies.m_aGlonassChannel;
    channel[0] = 10; // slot 1: +2
    channel[2] = 1;  // slot 3: -7
    channel[3] = 14; // slot 4: +6
    SGlonassEphemeris r{};
    r.m_uStatus = kStatusStored, r.m_uN4 = 7, r.m_uNt = 100, r.m_uTb = r.m_uTbMinutes = 735, r.m_uSlot = 4;
    r.m_dTauC = 0x1p-12;
    Nav().m_Glonass.m_aGloEphemeris[2] = r; // row of slot 3, strings of slot 4
    r.m_uSlot = 0;                          // n out of range: the row's channel
    r.m_dTauC = 0x1p-11;
    Nav().m_Glonass.m_aGloEphemeris[0] = r;

    CWriteRinexGlonassNav writer(Nav().m_Glonass, Utc(), Nav().m_GlonassFrequencies);
    const std::vector<std::string> lines = PassesAcrossLeapChange(writer, Utc().m_iGpsLeapSeconds, 18, 19);
    ASSERT_EQ(lines.size(), 5u + 2 * 4);
    EXPECT_EQ(lines[2], "GLUT -4.8828125000D-04 0.000000000D+00      0    0          TIME SYSTEM CORR    \n");
    EXPECT_EQ(lines[3], "    18                                                      LEAP SECONDS        \n");
    EXPECT_EQ(lines[5].substr(0, 3) + FieldOf(lines[7], 3), "R01" + DField(2.0, 12));
    EXPECT_EQ(lines[9].substr(0, 3) + FieldOf(lines[11], 3), "R03" + DField(6.0, 12));
}

TEST_F(NavRecords, GlonassRecordDateIsTheUtcDayOfTbAndFrameTimeItsSecondOfDay)
{
    const struct
    {
        uint32_t m_uNt;
        uint32_t m_uTbMinutes;
        const char* m_szStart;
        double m_dFrameTime;
    } cases[] = {
        {100, 15, "R03 2020 04 08 21 15 00", 76500.0}, // 00:15 Moscow: the day before
        {366, 180, "R03 2020 12 31 00 00 00", 0.0},    // the first year is the leap year
        {60, 720, "R03 2020 02 29 09 00 00", 32400.0},
        {426, 1425, "R03 2021 03 01 20 45 00", 74700.0},
    };
    CWriteRinexGlonassNav writer(Nav().m_Glonass, Utc(), Nav().m_GlonassFrequencies);
    writer.SetFile(m_pFile);
    for (const auto& c : cases)
    {
        SGlonassEphemeris r{};
        r.m_uN4 = 7, r.m_uNt = c.m_uNt, r.m_uTbMinutes = c.m_uTbMinutes, r.m_uSlot = 3;
        std::rewind(m_pFile);
        writer.WriteGlonassRecord(3, r);
        const std::string line = Lines()[0];
        EXPECT_EQ(line.substr(0, 23), c.m_szStart) << c.m_uNt;
        EXPECT_EQ(line.substr(61), DField(c.m_dFrameTime, 12) + "\n") << c.m_uNt;
    }
}

TEST_F(NavRecords, BeidouRecordTimesAreBdtWithASignedWeekAndSecondsThatPrintAsSixtyCarry)
{
    const struct
    {
        double m_dToc;
        const char* m_szStart;
        double m_dBdtSeconds; // first field of orbit line 7
    } cases[] = {
        {6.0, "C07 2020 06 20 23 59 52", 604792.0}, // into the GPS week before
        {73.99999996, "C07 2020 06 21 00 01 00", 59.99999996},
        {73.9999999, "C07 2020 06 21 00 00 59", 59.9999999},
    };
    CWriteRinexBeiDouNav writer(Nav().m_Beidou, Utc());
    writer.SetFile(m_pFile);
    for (const auto& c : cases)
    {
        SBeidouEphemeris r = GpsRecord(36);
        r.m_dToc = c.m_dToc;
        r.m_uToeWeek = 1355; // BDT week -1
        std::rewind(m_pFile);
        writer.WriteBeidouRecord(7, r);
        const std::vector<std::string> lines = Lines();
        ASSERT_EQ(lines.size(), 8u);
        EXPECT_EQ(lines[0].substr(0, 23), c.m_szStart) << c.m_dToc;
        EXPECT_EQ(FieldOf(lines[5], 2), DField(-1.0, 12));
        EXPECT_EQ(FieldOf(lines[7], 0), DField(c.m_dBdtSeconds, 12)) << c.m_dToc;
    }
}

TEST_F(NavRecords, BeidouPassReachesSatellite63AndFillsTheLeapSecondsOnce)
{
    Nav().m_Beidou.m_aEphemeris[6] = GpsRecord(36);
    Nav().m_Beidou.m_aEphemeris[62] = GpsRecord(36);
    CWriteRinexBeiDouNav writer(Nav().m_Beidou, Utc());
    const std::vector<std::string> lines = PassesAcrossLeapChange(writer, Utc().m_iBeidouLeapSeconds, 4, 5);
    ASSERT_EQ(lines.size(), 7u + 16);
    EXPECT_EQ(lines[7].substr(0, 23), "C07 2020 06 21 04 59 46");
    EXPECT_EQ(lines[15].substr(0, 23), "C63 2020 06 21 04 59 46");
    EXPECT_EQ(lines[5], "     4                                                      LEAP SECONDS        \n");
}
} // namespace
