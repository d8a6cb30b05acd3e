#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "driver/RunStats.h"
#include "gnsstime/GpsTime.h"
#include "logio/BinaryMessages.h"
#include "navstate/NavState.h"
#include "rinex/NavWriter.h"
#include "rinex/NavWriterTestSupport.h"
#include "support/ExpectedObsText.h"

namespace
{

// Week 2111 starts on Sunday 2020-06-21; second 18000 of it is 05:00:00.
constexpr uint16_t kWeek = 2111;

const std::string kVersionLine = "     3.02           N: GNSS NAV DATA    G: GPS              RINEX VERSION / TYPE\n";
const std::string kBlankComment = "                                                            COMMENT             \n";

// Satellite 5's record as the file shows it, with its IODE field.
std::string RecordText(const std::string& sat, const std::string& iodeField)
{
    return sat + " 2020 06 21 05 00 00 1.500000000000D-09-2.250000000000D-12 0.000000000000D+00\n" +
           "    " + iodeField + " 1.250000000000D+01 4.500000000000D-09-1.250000000000D+00\n" +
           "     6.250000000000D-07 1.250000000000D-02-3.500000000000D-06 5.153750000000D+03\n"
           "     1.800000000000D+04 1.000000000000D-08 2.500000000000D+00-7.500000000000D-08\n"
           "     9.687500000000D-01 2.502500000000D+02-5.000000000000D-01-8.000000000000D-09\n"
           "     2.000000000000D-10 1.000000000000D+00 2.111000000000D+03 0.000000000000D+00\n"
           "     5.700000000000D+00 3.200000000000D+01-1.100000000000D-08 2.730000000000D+02\n"
           "     1.800000000000D+04 4.000000000000D+00 0.000000000000D+00 0.000000000000D+00\n";
}
const std::string kIode17 = " 1.700000000000D+01";
const std::string kIode18 = " 1.800000000000D+01";

std::string Header(const std::string& reserved)
{
    return kVersionLine + kPgm + reserved + kEndOfHeader;
}

// Health 32 (unhealthy records are written like any other), L2 P flag 1 (the
// file shows the constant 0.0) and URA 0x13 (only the low four bits index the
// table: 5.7 m).
SGpsEphemeris Record(uint16_t iode)
{
    return SGpsEphemeris{
        .m_uStatus = kStatusStored, .m_uHealth = 32, .m_uWeek = kWeek, .m_uL2PFlag = 1, .m_uUra = 0x13,
        .m_uIodc = 273, .m_uTocWeek = kWeek, .m_dToc = 18000.0, .m_uIode = iode, .m_uToeWeek = kWeek,
        .m_dToe = 18000.0, .m_uFitFlag = 0, .m_dAf0 = 1.5e-9, .m_dAf1 = -2.25e-12, .m_dAf2 = 0.0,
        .m_dTgd = -1.1e-8, .m_dTgd2 = 0.0, .m_dCrs = 12.5, .m_dDeltaN = 4.5e-9, .m_dCuc = 6.25e-7,
        .m_dCus = -3.5e-6, .m_dCic = 1e-8, .m_dCis = -7.5e-8, .m_dCrc = 250.25, .m_dEcc = 0.0125,
        .m_dSqrtA = 5153.75, .m_dM0 = -1.25, .m_dOmega0 = 2.5, .m_dI0 = 0.96875, .m_dOmega = -0.5,
        .m_dOmegaDot = -8e-9, .m_dIdot = 2e-10, .m_dOmega0Bdt = 0.0, .m_uAode = 0, .m_dToeBdt = 0.0};
}

// Writes a BIN94 frame into the stored copy at the field offsets of the message.
void StoreBin94(double alpha0, int16_t dtLs, int16_t dtLsf)
{
    uint8_t* f = g_StoredMessages.m_Bin94.m_aFrame;
    std::memset(f, 0, sizeof(g_StoredMessages.m_Bin94.m_aFrame));
    auto put = [f](uint32_t offset, auto value) { std::memcpy(f + offset, &value, sizeof(value)); };
    std::memcpy(f, "$BIN", 4);
    put(4, uint16_t{94});
    put(6, uint16_t{96});
    const double iono[8] = {alpha0, 7.4505805969e-09, -5.9604644775e-08, -5.9604644775e-08,
                            90112.0, 0.0, -196608.0, 65536.0};
    std::memcpy(f + 8, iono, sizeof(iono));
    put(72, 1.5e-9);     // A0
    put(80, -2.5e-14);   // A1
    put(88, uint32_t{61440});
    put(92, uint16_t{kWeek});
    put(94, uint16_t{2000}); // WNlsf: the event lies in the past
    put(96, uint16_t{1});
    put(98, dtLs);
    put(100, dtLsf);
}

const std::string kFilledLines =
    "GPSA   1.5000D-08  7.4506D-09 -5.9605D-08 -5.9605D-08       IONOSPHERIC CORR    \n"
    "GPSB   9.0112D+04  0.0000D+00 -1.9661D+05  6.5536D+04       IONOSPHERIC CORR    \n"
    "GPUT  1.5000000000D-09-2.500000000D-14  61440 2111          TIME SYSTEM CORR    \n";
std::string LeapLine(const std::string& value)
{
    return value + "                                                      LEAP SECONDS        \n";
}

// A writer of its own over a temporary file. The table rows, messages and
// run-wide values the writer reads and fills are cleared around each test.
class GpsNavWriterTest : public CNavWriterTest<CWriteRinexNav>
{
protected:
    void ClearTables() override
    {
        std::memset(g_GpsNavState.m_aEphemeris, 0, sizeof(g_GpsNavState.m_aEphemeris));
        std::memset(g_GpsNavState.m_aPendingEphemeris, 0, sizeof(g_GpsNavState.m_aPendingEphemeris));
    }
};

TEST_F(GpsNavWriterTest, HeaderGoesOutWithFirstDueRecordAndEachNewIssueIsAppendedOnce)
{
    CGpsNavState& s = g_GpsNavState;
    s.m_aEphemeris[4] = Record(17);
    // An SBAS row: never visited, so its pending record is never brought in.
    s.m_aEphemeris[32] = Record(40);
    s.m_aPendingEphemeris[32] = Record(41);

    // Without a stream the pass doesn't run: the pending record keeps waiting
    // and a stored BIN94 fills nothing.
    s.m_aPendingEphemeris[6] = Record(18);
    StoreBin94(1.5e-8, 17, 18);
    m_Writer.SetFile(nullptr);
    m_Writer.WritePending(true);
    EXPECT_EQ(s.m_aPendingEphemeris[6].m_uIode, 18u);
    EXPECT_EQ(g_UtcParams.m_uStatus, 0);
    s.m_aPendingEphemeris[6] = SGpsEphemeris{};
    g_StoredMessages = SStoredMessages{};
    m_Writer.SetFile(m_pFile);

    // While the log time isn't set no record is usable, so an unforced pass
    // finds nothing due and the file stays empty.
    m_Writer.WritePending(false);
    EXPECT_EQ(FileText(), "");
    EXPECT_EQ(RunStats.m_uNavWrites, 0u);

    const std::string header = Header(kBlankComment + kBlankComment + kBlankComment + kBlankComment);
    std::string expected = header + RecordText("G05", kIode17);
    m_Writer.WritePending(true);
    EXPECT_EQ(FileText(), expected);

    // The same key again, also with other contents, adds nothing.
    SGpsEphemeris sameKey = Record(17);
    sameKey.m_dCrs = 99.0;
    s.m_aPendingEphemeris[4] = sameKey;
    m_Writer.WritePending(true);
    EXPECT_EQ(s.m_aEphemeris[4].m_dCrs, 99.0);
    EXPECT_EQ(FileText(), expected);

    // A new key, and a first record of another satellite, in ascending order;
    // then a key that returns to an older value is new again.
    s.m_aPendingEphemeris[4] = Record(18);
    s.m_aEphemeris[11] = Record(17);
    m_Writer.WritePending(true);
    s.m_aPendingEphemeris[4] = Record(17);
    m_Writer.WritePending(true);
    m_Writer.WritePending(true);
    expected += RecordText("G05", kIode18) + RecordText("G12", kIode17) + RecordText("G05", kIode17);
    EXPECT_EQ(FileText(), expected);

    EXPECT_EQ(RunStats.m_uNavSatsWritten, 2u);
    EXPECT_EQ(RunStats.m_uNavWrites, 4u);
    EXPECT_EQ(m_Writer.m_uHeaderCounter, 1u);
    EXPECT_EQ(s.m_aPendingEphemeris[32].m_uIode, 41u);
    EXPECT_EQ(s.m_aEphemeris[32].m_uIode, 40u);
    EXPECT_EQ(g_iGpsLeapSeconds, 0); // no BIN94: nothing filled
}

TEST_F(GpsNavWriterTest, ReservedLinesAreFilledInPlaceOnceFromTheFirstStoredBin94)
{
    // BIN94 ahead of the header with the log time unset: the count of the
    // message. BIN94 behind the header with the log time running: GPS - UTC
    // from the UTC parameters, here after the event (18 s).
    const struct
    {
        bool m_bBin94First;
        uint16_t m_uLogWeek;
        int32_t m_iLeap;
        const char* m_szLeapField;
    } cases[] = {{true, 0, 17, "    17"}, {false, kWeek, 18, "    18"}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.m_iLeap);
        StartRun();
        g_GpsNavState.m_aEphemeris[4] = Record(17);
        SetLogTime(20000.0, c.m_uLogWeek);
        if (c.m_bBin94First)
            StoreBin94(1.5e-8, 17, 18);
        m_Writer.WritePending(true);
        if (!c.m_bBin94First)
        {
            EXPECT_EQ(FileText(), Header(kBlankComment + kBlankComment + kBlankComment + kBlankComment) +
                                      RecordText("G05", kIode17));
            StoreBin94(1.5e-8, 17, 18);
            m_Writer.WritePending(true);
        }
        const std::string expected = Header(kFilledLines + LeapLine(c.m_szLeapField)) + RecordText("G05", kIode17);
        EXPECT_EQ(FileText(), expected);
        EXPECT_EQ(g_iGpsLeapSeconds, c.m_iLeap);
        EXPECT_EQ(g_iBeidouLeapSeconds, c.m_iLeap - 14);
        EXPECT_EQ(g_UtcParams.m_uStatus, 2);
        EXPECT_EQ(g_UtcParams.m_dBeta3, 65536.0);
        EXPECT_EQ(g_UtcParams.m_uWnLsf, 2000u);
        EXPECT_EQ(g_UtcParams.m_iDtLsf, 18);

        // A later BIN94 changes neither the lines nor the parameters; new
        // records still land behind the header.
        StoreBin94(2.5e-8, 30, 31);
        g_GpsNavState.m_aPendingEphemeris[4] = Record(18);
        m_Writer.WritePending(true);
        EXPECT_EQ(FileText(), expected + RecordText("G05", kIode18));
        EXPECT_EQ(g_UtcParams.m_dAlpha0, 1.5e-8);
        EXPECT_EQ(g_iGpsLeapSeconds, c.m_iLeap);
    }
}

TEST_F(GpsNavWriterTest, RecordDateTakesTheNextSecondWithinFiveHundredthsOfIt)
{
    const struct
    {
        double m_dToc;
        const char* m_szStart;
    } cases[] = {
        {18423.0, "G05 2020 06 21 05 07 03 "},
        {18479.96, "G05 2020 06 21 05 08 00 "},
        {18479.94, "G05 2020 06 21 05 07 59 "},
        {604799.96, "G05 2020 06 28 00 00 00 "},
    };
    for (const auto& c : cases)
    {
        SGpsEphemeris r = Record(17);
        r.m_dToc = c.m_dToc;
        std::rewind(m_pFile);
        m_Writer.WriteGpsRecord(5, r);
        EXPECT_EQ(FileText().substr(0, 24), c.m_szStart) << c.m_dToc;
    }
}

TEST_F(GpsNavWriterTest, FitIntervalFollowsFlagIodeAndIodc)
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

} // namespace
