#include <gtest/gtest.h>

#include <string>

#include "logbuild/Bin96Encoder.h"
#include "logbuild/GpsEphemerisEncoder.h"
#include "support/ExpectedObsText.h"
#include "support/ExpectedText.h"
#include "support/ToolRun.h"

// Whole runs over logs with GPS ephemerides, compared with the complete GPS
// navigation file. Every broadcast value is made as a whole number of its
// field's units times the receiver's scale factor, so the file must show
// exactly that product.

namespace
{
// The receiver's scale factors of the subframe fields.
constexpr double kF19 = 1.907348633e-6;
constexpr double kF29 = 1.862645149e-9;
constexpr double kF31 = 4.656612873e-10;
constexpr double kF33 = 1.164153218e-10;
constexpr double kF43 = 1.136868377e-13;
constexpr double kFPi31 = 1.4629180792428494e-9;
constexpr double kFPi43 = 3.5715773412817597e-13;

// G05, clock and ephemeris at 2020-06-26 02:00:00 (second 439200 of week 2111).
SGpsEphemerisValues G05(uint16_t iode)
{
    SGpsEphemerisValues v;
    v.m_uSatellite = 5;
    v.m_uTxTime = 438000;
    v.m_uWeek = 2111;
    v.m_uIode = iode;
    v.m_uIodc = iode;
    v.m_uUra = 2;
    v.m_dToc = 439200.0;
    v.m_dToe = 439200.0;
    v.m_dAf0 = -123456 * kF31;
    v.m_dAf1 = -12 * kF43;
    v.m_dTgd = -11 * kF31;
    v.m_dCrs = -1234 * 0.03125;
    v.m_dDeltaN = 12345 * kFPi43;
    v.m_dM0 = (1234567890 + iode) * kFPi31;
    v.m_dCuc = -2345 * kF29;
    v.m_dEcc = 42949673 * kF33;
    v.m_dCus = 3456 * kF29;
    v.m_dSqrtA = 2702000000.0 * kF19;
    v.m_dCic = -45 * kF29;
    v.m_dOmega0 = -987654321 * kFPi31;
    v.m_dCis = 67 * kF29;
    v.m_dI0 = 659000000 * kFPi31;
    v.m_dCrc = 6789 * 0.03125;
    v.m_dOmega = -543210987 * kFPi31;
    v.m_dOmegaDot = -22000 * kFPi43;
    v.m_dIdot = -321 * kFPi43;
    return v;
}

std::string Row(double a, double b, double c, double d)
{
    return "    " + DField(a, 12) + DField(b, 12) + DField(c, 12) + DField(d, 12) + "\n";
}

std::string Record(const SGpsEphemerisValues& v)
{
    const double uraMetres = 4.0;  // URA index 2
    const double fitHours = 4.0;   // fit flag 0
    return "G05 2020 06 26 02 00 00" + DField(v.m_dAf0, 12) + DField(v.m_dAf1, 12) + DField(0.0, 12) + "\n" +
           Row(v.m_uIode, v.m_dCrs, v.m_dDeltaN, v.m_dM0) + Row(v.m_dCuc, v.m_dEcc, v.m_dCus, v.m_dSqrtA) +
           Row(v.m_dToe, v.m_dCic, v.m_dOmega0, v.m_dCis) + Row(v.m_dI0, v.m_dCrc, v.m_dOmega, v.m_dOmegaDot) +
           Row(v.m_dIdot, 1.0, 2111.0, 0.0) + Row(uraMetres, 0.0, v.m_dTgd, v.m_uIodc) +
           Row(v.m_dToc, fitHours, 0.0, 0.0);
}

// Ionosphere and UTC parameters of the BIN94.
constexpr double kAlpha[4] = {1.024454832077e-08, 1.490116119385e-08, -5.960464477539e-08, -1.192092895508e-07};
constexpr double kBeta[4] = {86016.0, 98304.0, -65536.0, -524288.0};
constexpr double kA0 = -9.313225746155e-10;
constexpr double kA1 = -8.881784197001e-16;

Bytes Bin94()
{
    CPayloadWriter p;
    for (double a : kAlpha)
        p.Double(a);
    for (double b : kBeta)
        p.Double(b);
    p.Double(kA0).Double(kA1).U32(405504).U16(2111).U16(1929).U16(7).I16(18).I16(18).U16(0);
    return MakeBinFrame(94, p.GetBytes());
}

std::string NavHeader()
{
    std::string a = "GPSA ", b = "GPSB ";
    for (int i = 0; i < 4; ++i)
    {
        a += DField(kAlpha[i], 4, 12);
        b += DField(kBeta[i], 4, 12);
    }
    return "     3.02           N: GNSS NAV DATA    G: GPS              RINEX VERSION / TYPE\n" + kPgm + a +
           "       IONOSPHERIC CORR    \n" + b + "       IONOSPHERIC CORR    \n" + "GPUT " + DField(kA0, 10) +
           DField(kA1, 9) + " 405504 2111          TIME SYSTEM CORR    \n" +
           "    18                                                      LEAP SECONDS        \n" + kEndOfHeader;
}
} // namespace

TEST(GpsNavRun, EphemeridesBecomeRecordsOnceEachWithTheHeaderFilledInPlaceWhateverTheOrder)
{
    const Bytes epoch = MakeBin96Frame(2111, 432000.0, {});
    const Bytes first = MakeBin95Frame(G05(10));
    const Bytes second = MakeBin95Frame(G05(11));
    const std::string expected = NavHeader() + Record(G05(10)) + Record(G05(11));

    // BIN94 in front of the ephemerides, and behind the first of them: the
    // reserved lines are filled in place either way.
    for (bool ionoFirst : {true, false})
    {
        Bytes log = epoch;
        if (ionoFirst)
            AppendBytes(log, Bin94());
        AppendBytes(log, first);
        if (!ionoFirst)
            AppendBytes(log, Bin94());
        AppendBytes(log, first);  // a repeat is dropped
        AppendBytes(log, second); // a new issue is written once
        AppendBytes(log, second);

        CScratchDir dir;
        dir.WriteFile("in.log", log);
        const SToolRun run = RunObsforgeTool({"in.log", "obs", "gps"}, dir.Dir());
        EXPECT_EQ(MaskRunDate(dir.ReadFile("gps")), expected) << (ionoFirst ? "BIN94 first" : "BIN94 later");
        for (const std::string& line : LinesOf(dir.ReadFile("gps")))
            EXPECT_EQ(line.size(), 81u) << line;
        const std::string summary = run.m_szStderr.substr(run.m_szStderr.find("-----"));
        EXPECT_NE(summary.find("4\tEphemeris Packets Found In File\n"), std::string::npos);
        EXPECT_NE(summary.find("1\tUnique Satellites Written to Nav File\n"), std::string::npos);
        EXPECT_NE(summary.find("2\tTotal Writes of Sat Ephemeris to Nav File\n"), std::string::npos);
    }
}

TEST(GpsNavRun, FileStoppedBeforeTheIonosphereDataKeepsItsReservedLines)
{
    Bytes log = MakeBin96Frame(2111, 432000.0, {});
    AppendBytes(log, MakeBin95Frame(G05(10)));
    CScratchDir dir;
    dir.WriteFile("in.log", log);
    RunObsforgeTool({"in.log", "obs", "gps"}, dir.Dir());
    const std::string blank = "                                                            COMMENT             \n";
    EXPECT_EQ(MaskRunDate(dir.ReadFile("gps")),
              "     3.02           N: GNSS NAV DATA    G: GPS              RINEX VERSION / TYPE\n" + kPgm + blank +
                  blank + blank + blank + kEndOfHeader + Record(G05(10)));
}
