#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "logbuild/RinexNavReader.h"
#include "logbuild/RinexObsReader.h"
#include "support/ToolRun.h"

namespace
{
// Observation lines: a satellite name and F14.3 fields; NAN leaves a field blank.
std::string ObsLine(const std::string& satellite, const std::vector<double>& values)
{
    std::string line = satellite;
    char field[32];
    for (double v : values)
    {
        if (std::isnan(v))
            line += std::string(16, ' ');
        else
        {
            std::snprintf(field, sizeof field, "%14.3f  ", v);
            line += field;
        }
    }
    return line + "\n";
}

// A header line: the content in columns 1 to 60, then the label.
std::string HeaderLine(const std::string& content, const std::string& label)
{
    return content + std::string(60 - content.size(), ' ') + label + "\n";
}

const std::string kObsHeader =
    HeaderLine("     3.05           OBSERVATION DATA    M (MIXED)", "RINEX VERSION / TYPE") +
    HeaderLine("ESBC00DNK", "MARKER NAME") +
    HeaderLine("  3582105.2910   532589.7313  5232754.8054", "APPROX POSITION XYZ") +
    HeaderLine("G   15 C1C C1W C2W D1C D2W L1C L2W S1C S2W C5Q D5Q L5Q S5Q", "SYS / # / OBS TYPES") +
    HeaderLine("       C2L L2L", "SYS / # / OBS TYPES") +
    HeaderLine("R    4 C1C D1C L1C S1C", "SYS / # / OBS TYPES") +
    HeaderLine("C    4 C2I D2I L2I S2I", "SYS / # / OBS TYPES") +
    HeaderLine("  3 R01  1 R04  6 R24  2", "GLONASS SLOT / FRQ #") +
    HeaderLine("  2020     6    25     6     0    0.0000000     GPS", "TIME OF FIRST OBS") +
    HeaderLine("", "END OF HEADER");

// Two epochs, 30 s apart, of GPS 2, GLONASS 4 and BeiDou 8.
std::string SmallObsFile()
{
    const double n = NAN;
    return kObsHeader + "> 2020 06 25 06 00 00.0000000  0  3\n" +
           ObsLine("G02", {24044147.224, 24044146.102, 24044146.116, 2391.086, 1863.175, 126352857.489,
                           98456781.569, 41.25, 25.75}) +
           ObsLine("R04", {23025203.263, -3947.702, 123298925.574, 44.0}) +
           ObsLine("C08", {39029987.722, 857.056, 203239407.290, 40.25}) +
           "> 2020 06 25 06 00 30.0000000  0  3\n" +
           ObsLine("G02", {24030529.557, 24030528.431, 24030528.800, 2380.416, 1854.868, 126281296.794,
                           98401020.034, 41.0, 26.0}) +
           ObsLine("R04", {23047348.920, -3957.960, 123417520.035, 39.0}) +
           ObsLine("C08", {39025068.952, 850.553, 203213801.719, n});
}

const std::string kSmallNavFile =
    HeaderLine("     3.05           N: GNSS NAV DATA    M: MIXED", "RINEX VERSION / TYPE") +
    HeaderLine("GPSA   4.6566e-09  1.4901e-08 -5.9605e-08 -1.1921E-07", "IONOSPHERIC CORR") +
    HeaderLine("GPSB   8.1920e+04  9.8304e+04 -6.5536e+04 -5.2429E+05", "IONOSPHERIC CORR") +
    HeaderLine("GPUT  9.3132257462E-10 2.664535259E-15 589824 2111", "TIME SYSTEM CORR") +
    HeaderLine("BDUT -2.7939677238D-09-5.329070518D-15     14  755", "TIME SYSTEM CORR") +
    HeaderLine("    18    18  1929     7", "LEAP SECONDS") +
    HeaderLine("", "END OF HEADER") +
    "G02 2020 06 25 06 00 00-4.774508997798e-04-5.911715561524e-12 0.000000000000e+00\n"
    "     9.400000000000e+01-2.271875000000e+01 4.513402287036e-09 1.926690306042e+00\n"
    "    -1.473352313042e-06 1.972309860867e-02 1.095235347748e-06 5.153724784851e+03\n"
    "     3.672000000000e+05 2.346932888031e-07 2.495894983199e+00-2.980232238770e-07\n"
    "     9.595719201021e-01 3.541250000000e+02-1.621676779976e+00-8.234271561891e-09\n"
    "     5.857386840816e-11 1.000000000000e+00 2.111000000000e+03 0.000000000000e+00\n"
    "     2.000000000000e+00 0.000000000000e+00-1.769512891769e-08 9.400000000000e+01\n"
    "     3.640860000000e+05 4.000000000000e+00\n"
    "R04 2020 06 25 05 45 00 5.398876965046e-05 1.818989403546e-12 3.654000000000e+05\n"
    "     1.794600048828e+04 8.255586624146e-01 1.862645149231e-09 0.000000000000e+00\n"
    "    -1.625947558594e+04-7.419853210449e-01-1.862645149231e-09 6.000000000000e+00\n"
    "     8.044898925781e+03-3.354008674622e+00-2.793967723846e-09 0.000000000000e+00\n"
    "                         .999999999999e+09 1.500000000000e+01\n"
    "C08 2020 06 25 06 00 00-3.329847240821D-04-2.403677257234D-11 0.000000000000D+00\n"
    "     1.000000000000D+00-3.410468750000D+02 1.221479450951D-09-2.485987016481D+00\n"
    "    -1.101661473513D-05 4.528717021458D-03-9.482726454735D-06 6.493770896912D+03\n"
    "     3.672000000000D+05-3.394670784473D-07 2.651484230927D+00 1.289881765842D-07\n"
    "     1.034957958336D+00 5.623750000000D+02-2.750115193337D+00-2.703684047864D-09\n"
    "    -1.417916204758D-10 0.000000000000D+00 7.550000000000D+02\n"
    "     2.000000000000D+00 0.000000000000D+00 1.100000000000D-08-1.000000000000D-09\n"
    "     3.671800000000D+05 0.000000000000D+00\n";

TEST(RinexObsReader, ReadsTypesOverContinuationLinesAndValuesByCode)
{
    std::istringstream text(kObsHeader +
                            "> 2020 06 25 06 00 00.0000000  3  1\n"
                            "ESBC00DNK                                                   MARKER NAME\n"
                            "> 2020 06 25 06 00 30.0000000  0  1\n"
                            "G02  24044147.224 6  24044146.102 4                      2391.086 6\n");
    CRinexObsReader reader(text);
    ASSERT_TRUE(reader.ReadHeader()) << reader.Error();
    const SRinexObsHeader& h = reader.Header();
    EXPECT_DOUBLE_EQ(h.m_dVersion, 3.05);
    EXPECT_EQ(h.m_szMarkerName, "ESBC00DNK");
    EXPECT_DOUBLE_EQ(h.m_adApproxXyz[2], 5232754.8054);
    ASSERT_EQ(h.m_ObsTypes.at('G').size(), 15u);
    EXPECT_EQ(h.m_ObsTypes.at('G')[13], "C2L");
    EXPECT_EQ(h.m_GlonassChannels.at(4), 6);
    EXPECT_EQ(h.m_GlonassChannels.at(24), 2);

    // The event record (flag 3) and its line are passed over.
    SRinexObsEpoch epoch;
    ASSERT_TRUE(reader.NextEpoch(epoch)) << reader.Error();
    EXPECT_DOUBLE_EQ(epoch.m_Time.m_dSeconds, 30.0);
    ASSERT_EQ(epoch.m_aSatellites.size(), 1u);
    const SRinexSatObs& g02 = epoch.m_aSatellites[0];
    EXPECT_EQ(g02.m_cSystem, 'G');
    EXPECT_EQ(g02.m_iPrn, 2);
    ASSERT_NE(g02.Find("C1W"), nullptr);
    EXPECT_DOUBLE_EQ(g02.Find("C1W")->m_dValue, 24044146.102);
    EXPECT_EQ(g02.Find("C1W")->m_iStrength, 4);
    EXPECT_EQ(g02.Find("C2W"), nullptr); // blank field
    EXPECT_DOUBLE_EQ(g02.Find("D1C")->m_dValue, 2391.086);
    EXPECT_FALSE(reader.NextEpoch(epoch));
    EXPECT_TRUE(reader.Error().empty());
}

TEST(RinexNavReader, ReadsHeaderCorrectionsAndRecordsOfThreeAndFourOrbitLines)
{
    // The GLONASS record of 3.05 has a fourth line; one of 3.04 has three.
    std::istringstream text(kSmallNavFile +
                            "R24 2020 06 25 06 15 00 1.0e-05 0.0e+00 3.672000000000e+05\n"
                            "     1.0e+04 1.0e+00 0.0e+00 0.0e+00\n"
                            "     2.0e+04 2.0e+00 0.0e+00 2.0e+00\n"
                            "     3.0e+04 3.0e+00 0.0e+00 0.0e+00\n"
                            "G02 2020 06 25 08 00 00 1.0e-05 0.0e+00 0.0e+00\n");
    CRinexNavReader reader(text);
    ASSERT_TRUE(reader.ReadHeader()) << reader.Error();
    const SRinexNavHeader& h = reader.Header();
    EXPECT_DOUBLE_EQ(h.m_Ionosphere.at("GPSA")[3], -1.1921e-07);
    EXPECT_DOUBLE_EQ(h.m_Ionosphere.at("GPSB")[0], 81920.0);
    EXPECT_DOUBLE_EQ(h.m_TimeCorrections.at("GPUT").m_dA1, 2.664535259e-15);
    EXPECT_EQ(h.m_TimeCorrections.at("GPUT").m_iRefSeconds, 589824);
    EXPECT_EQ(h.m_TimeCorrections.at("GPUT").m_iRefWeek, 2111);
    EXPECT_DOUBLE_EQ(h.m_TimeCorrections.at("BDUT").m_dA0, -2.7939677238e-09);
    EXPECT_EQ(h.m_Leap.m_iDeltaLs, 18);
    EXPECT_EQ(h.m_Leap.m_iWeekLsf, 1929);
    EXPECT_EQ(h.m_Leap.m_iDayLsf, 7);

    std::vector<SRinexNavRecord> records;
    for (SRinexNavRecord r; reader.NextRecord(r);)
        records.push_back(r);
    ASSERT_TRUE(reader.Error().empty()) << reader.Error();
    ASSERT_EQ(records.size(), 5u);

    EXPECT_EQ(records[0].m_cSystem, 'G');
    EXPECT_EQ(records[0].m_Time.m_iHour, 6);
    EXPECT_DOUBLE_EQ(records[0].Get(0), -4.774508997798e-04);
    EXPECT_DOUBLE_EQ(records[0].Get(3 + 4 * 6), 364086.0); // transmission time
    EXPECT_FALSE(records[0].Has(3 + 4 * 6 + 2));          // blank field

    const SRinexNavRecord& r04 = records[1];
    ASSERT_EQ(r04.m_adValues.size(), 3u + 16u);
    EXPECT_FALSE(r04.Has(15));
    EXPECT_DOUBLE_EQ(r04.Get(16), 0.999999999999e+09);
    EXPECT_DOUBLE_EQ(r04.Get(3 + 4 + 3), 6.0); // frequency channel

    EXPECT_DOUBLE_EQ(records[2].Get(3 + 4 * 3 + 1), 5.623750000000e+02); // D exponents
    EXPECT_EQ(records[3].m_adValues.size(), 3u + 12u);
    EXPECT_EQ(records[4].m_Time.m_iHour, 8);
}

// Runs the tool in `dir`; returns its exit status.
int RunRinex2Log(const CScratchDir& dir, const std::string& args)
{
    const std::string command =
        "cd '" + dir.Dir() + "' && '" RINEX2LOG_EXE "' " + args + " >stdout.txt 2>stderr.txt </dev/null";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The damage option puts junk into the log, which the real-data tests rely on.
TEST(Rinex2LogCommandLine, DamageOptionPutsJunkIntoTheLog)
{
    CScratchDir dir;
    dir.WriteFile("in.obs", SmallObsFile());
    dir.WriteFile("in.nav", kSmallNavFile);
    ASSERT_EQ(RunRinex2Log(dir, "-g 96 -b raw -d 3 -s -m in.obs in.nav out.log"), 0) << dir.ReadFile("stderr.txt");
    const std::string summary = dir.ReadFile("stderr.txt");
    EXPECT_NE(summary.find(" of them junk)"), std::string::npos) << summary;
    EXPECT_EQ(summary.find(" (0 of them junk)"), std::string::npos) << summary;
}

TEST(Rinex2LogCommandLine, WrongArgumentsPrintTheUsageAndFail)
{
    CScratchDir dir;
    EXPECT_EQ(RunRinex2Log(dir, "-g 77 a b c"), 2);
    EXPECT_NE(dir.ReadFile("stderr.txt").find("usage: rinex2log"), std::string::npos);
    EXPECT_EQ(RunRinex2Log(dir, "only.obs only.nav"), 2);
}
} // namespace
