#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "logbuild/BeidouEncoder.h"
#include "logbuild/Bin96Encoder.h"
#include "support/ExpectedObsText.h"
#include "support/ExpectedText.h"
#include "support/GpsLeapFrames.h"
#include "support/ToolRun.h"

// Whole runs over logs with BeiDou ephemerides in BIN35, decoded or raw, and
// BeiDou UTC data in BIN34, compared with the complete BeiDou navigation
// file. The file shows each broadcast integer times its field's unit, with
// times in BDT.

namespace
{
// Units of the broadcast fields, as the receiver's decoder multiplies them.
constexpr double kF33 = 1.164153218269348e-10; // a0, e
constexpr double kF50 = 8.881784197001252e-16; // a1
constexpr double kF66 = 1.355252715606881e-20; // a2
constexpr double kF19 = 1.9073486328125e-6;    // sqrt(A)
constexpr double kFPi31 = 1.46291807926716e-9; // angles
constexpr double kFPi43 = 3.57157734196084e-13; // rates
constexpr double kF31 = 4.656612873078e-10;    // angular harmonic terms
constexpr double kF6 = 0.015625;               // radius harmonic terms
constexpr double kTgdUnit = 1.0000000000000002e-10;

// C11 (or `satellite`) on receiver channel 4, toc = toe in units of 8 s
// of BDT week 755 (GPS week 2111), sent at BDT second 438000.
SBeidouEphemerisFields Fields(uint32_t toe, int32_t a0, uint32_t satellite = 11)
{
    SBeidouEphemerisFields f;
    f.m_uSatellite = satellite;
    f.m_uSow = 438000;
    f.m_uWeek = 755;
    f.m_uToc = toe;
    f.m_uToe = toe;
    f.m_iA0 = a0;
    f.m_iA1 = -321;
    f.m_iA2 = 3;
    f.m_uSqrtA = 3404475000u;
    f.m_uEcc = 4294967u;
    f.m_iOmega = -1234567890;
    f.m_iM0 = 987654321;
    f.m_iOmega0 = -543210987;
    f.m_iI0 = 659000000;
    f.m_iDeltaN = 12345;
    f.m_iOmegaDot = -22000;
    f.m_iIdot = -321;
    f.m_iCuc = -2345;
    f.m_iCus = 3456;
    f.m_iCrc = 6789;
    f.m_iCrs = -1234;
    f.m_iCic = -45;
    f.m_iCis = 67;
    f.m_iTgd1 = -25;
    f.m_iTgd2 = 31;
    f.m_aiAlpha[0] = 12;
    f.m_aiBeta[3] = -7;
    f.m_uAodc = 9;
    f.m_uUrai = 2;
    f.m_uAode = 17;
    return f;
}

std::string Row(double a, double b, double c, double d)
{
    return "    " + DField(a, 12) + DField(b, 12) + DField(c, 12) + DField(d, 12) + "\n";
}

// `bdt` is the record's clock time as the file shows it.
std::string Record(const SBeidouEphemerisFields& f, const std::string& bdt)
{
    const double toe = f.m_uToe * 8.0;
    const double uraMetres = 4.0; // URAI 2
    char name[8];
    std::snprintf(name, sizeof name, "C%02u ", f.m_uSatellite);
    return name + bdt + DField(f.m_iA0 * kF33, 12) + DField(f.m_iA1 * kF50, 12) + DField(f.m_iA2 * kF66, 12) +
           "\n" + Row(f.m_uAode, f.m_iCrs * kF6, f.m_iDeltaN * kFPi43, f.m_iM0 * kFPi31) +
           Row(f.m_iCuc * kF31, f.m_uEcc * kF33, f.m_iCus * kF31, f.m_uSqrtA * kF19) +
           Row(toe, f.m_iCic * kF31, f.m_iOmega0 * kFPi31, f.m_iCis * kF31) +
           Row(f.m_iI0 * kFPi31, f.m_iCrc * kF6, f.m_iOmega * kFPi31, f.m_iOmegaDot * kFPi43) +
           Row(f.m_iIdot * kFPi43, 0.0, 755.0, 0.0) + Row(uraMetres, 0.0, f.m_iTgd1 * kTgdUnit, f.m_iTgd2 * kTgdUnit) +
           Row(f.m_uToc * 8.0, f.m_uAodc, 0.0, 0.0);
}

// BIN34: BDT to UTC offset in 2^-30 s, rate in 2^-50 s/s, reference time in
// 4096 s and its week.
Bytes Bin34(int32_t a0, int32_t a1, uint8_t tot, uint8_t wnt)
{
    CPayloadWriter p;
    p.I32(a0).I32(a1).Zeros(12).U8(tot).U8(wnt).Zeros(10);
    return MakeBinFrame(34, p.GetBytes());
}

std::string BdutLine(int32_t a0, int32_t a1, uint8_t tot, uint8_t wnt)
{
    char times[16];
    std::snprintf(times, sizeof times, "%7u%5u", tot * 4096u, static_cast<unsigned>(wnt));
    return "BDUT " + DField(a0 * 9.313225746154785e-10, 10) + DField(a1 * kF50, 9) + times +
           "          TIME SYSTEM CORR    \n";
}
} // namespace

TEST(BeidouNavRun, RecordsGoOutOncePerToeInBdtWithTheLastBin34AndTheGpsLeapSecondsLess14)
{
    const uint32_t toe0200 = 439200 / 8; // 02:00 BDT on Friday 26 June 2020
    const uint32_t toe0300 = 442800 / 8;
    const std::string blank = "                                                            COMMENT             \n";

    // The BIN34 arrives once, before any BIN35: the line reaches the file
    // with the header. Or a first BIN34 comes early and another behind the
    // header: the last one stands. The GPS data that set the leap seconds
    // come before the first record, or behind it. The later runs send the
    // ephemerides as raw D1 frames, or, for the geostationary C62, as the ten
    // D2 pages, which must give the same records.
    enum EForm { eDecoded, eD1, eD2 };
    for (const EForm form : {eDecoded, eD1, eD2})
    {
        const bool early = form == eDecoded;
        const uint32_t satellite = form == eD2 ? 62 : 11;
        const SBeidouEphemerisFields first = Fields(toe0200, -123456, satellite);
        const SBeidouEphemerisFields sameToe = Fields(toe0200, -123000, satellite); // new clock data, same toe
        const SBeidouEphemerisFields newToe = Fields(toe0300, -122000, satellite);
        const std::string expected =
            "     3.02           N: GNSS NAV DATA    C: BDS              RINEX VERSION / TYPE\n" + kPgm + blank +
            blank + BdutLine(-7, 3, 100, 187) +
            "     4                                                      LEAP SECONDS        \n" + kEndOfHeader +
            Record(first, "2020 06 26 02 00 00") + Record(newToe, "2020 06 26 03 00 00");

        uint32_t frames = 0;
        Bytes log = MakeBin96Frame(2111, 432000.0, {});
        auto bin35 = [&](const SBeidouEphemerisFields& f) {
            const std::vector<Bytes> sent = form == eDecoded ? std::vector<Bytes>{MakeBin35DecodedFrame(f, 4)}
                                            : form == eD1    ? std::vector<Bytes>{MakeBin35D1Frame(f, 4)}
                                                             : MakeBin35D2Frames(f, 4);
            for (const Bytes& frame : sent)
                AppendBytes(log, frame);
            frames += static_cast<uint32_t>(sent.size());
        };
        AppendBytes(log, early ? Bin34(-7, 3, 100, 187) : Bin34(-5, -2, 99, 186));
        if (early)
            AppendBytes(log, GpsLeapSecondFrames());
        bin35(first);
        if (!early)
        {
            AppendBytes(log, Bin34(-7, 3, 100, 187));
            AppendBytes(log, GpsLeapSecondFrames());
        }
        bin35(first); // a repeat is dropped
        bin35(sameToe);
        bin35(newToe); // a new toe is written once
        bin35(newToe);

        CScratchDir dir;
        dir.WriteFile("in.log", log);
        const SToolRun run = RunObsforgeTool({"in.log", "obs", "gps", "glo", "bds"}, dir.Dir());
        EXPECT_EQ(MaskRunDate(dir.ReadFile("bds")), expected) << "form " << form;
        const std::string summary = run.m_szStderr.substr(run.m_szStderr.find("-----"));
        EXPECT_NE(summary.find(std::to_string(frames) + "\tBeiDou ephemeris Packets Found In File\n"), std::string::npos);
        EXPECT_NE(summary.find("2\tUnique Satellites Written to Nav File\n"), std::string::npos); // G05 and one BeiDou
        EXPECT_NE(summary.find("3\tTotal Writes of Sat Ephemeris to Nav File\n"), std::string::npos);
    }
}
