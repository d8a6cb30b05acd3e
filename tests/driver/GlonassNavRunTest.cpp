#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

#include "logbuild/Bin66Encoder.h"
#include "logbuild/Bin96Encoder.h"
#include "logbuild/GlonassEncoder.h"
#include "support/ExpectedObsText.h"
#include "support/ExpectedText.h"
#include "support/GpsLeapFrames.h"
#include "support/ToolRun.h"

// Whole runs over logs with GLONASS ephemerides: the complete GLONASS
// navigation file, and what a slot's frequency channel from its first
// ephemeris does to the observation file. Every value sits on its string
// field's grid, so the file must show it exactly.

namespace
{
constexpr double kPosStep = 1.0 / 2048.0;              // km
constexpr double kVelStep = 1.0 / 1048576.0;           // km/s
constexpr double kStep30 = 1.0 / 1073741824.0;         // km/s2, and s for tau n
constexpr double kGammaStep = 1.0 / 1099511627776.0;   // 2^-40
constexpr double kTauCStep = 1.0 / 2147483648.0;       // s, 2^-31

// R03 on frequency channel `k`, tb at the UTC time given (June 2020).
SGlonassEphemerisValues R03(unsigned day, unsigned hour, unsigned minute, double xSteps, double tauCSteps,
                            int k = -2)
{
    SGlonassEphemerisValues v;
    v.m_uSlot = 3;
    v.m_iChannel = k;
    SetGlonassReferenceFromUtc(v, 2020, 6, day, hour, minute, 0);
    v.m_uTkHours = 4;
    v.m_uTkMinutes = 30;
    v.m_dX = xSteps * kPosStep;
    v.m_dY = 35000000 * kPosStep;
    v.m_dZ = -36000000 * kPosStep;
    v.m_dVx = 2100000 * kVelStep;
    v.m_dVy = -1000000 * kVelStep;
    v.m_dVz = 1500000 * kVelStep;
    v.m_dAx = 3 * kStep30;
    v.m_dAy = -2 * kStep30;
    v.m_dAz = -1 * kStep30;
    v.m_dTauN = -123456 * kStep30;
    v.m_dGamma = 5 * kGammaStep;
    v.m_dTauC = tauCSteps * kTauCStep;
    v.m_uBn = 4; // unhealthy: written all the same, and Bn is the health field
    v.m_uEn = 3;
    v.m_uM = 1;
    return v;
}

std::string Row(double a, double b, double c, double d)
{
    return "    " + DField(a, 12) + DField(b, 12) + DField(c, 12) + DField(d, 12) + "\n";
}

// A record of R03 on channel -2; `utc` is the epoch as the file shows it and
// `frameTime` the UTC second of its day.
std::string Record(const SGlonassEphemerisValues& v, const std::string& utc, double frameTime)
{
    return "R03 " + utc + DField(-v.m_dTauN, 12) + DField(v.m_dGamma, 12) + DField(frameTime, 12) + "\n" +
           Row(v.m_dX, v.m_dVx, v.m_dAx, v.m_uBn) + Row(v.m_dY, v.m_dVy, v.m_dAy, -2.0) +
           Row(v.m_dZ, v.m_dVz, v.m_dAz, v.m_uEn);
}
} // namespace

TEST(GlonassNavRun, RecordsGoOutOncePerTbWithGlutOfTheFirstRecordAndTheGpsLeapSecondsWhicheverComesFirst)
{
    // tb 01:45 UTC is 04:45 Moscow time; tb 22:15 UTC is 01:15 Moscow time
    // on the next day, so its date steps back a day.
    const SGlonassEphemerisValues first = R03(26, 1, 45, -16384123, -987654);
    SGlonassEphemerisValues sameTb = R03(26, 1, 45, -16384000, -987654);
    sameTb.m_uTkMinutes = 31;
    const SGlonassEphemerisValues newTb = R03(26, 22, 15, -16380000, 555555); // tau c of a later record is not shown

    const std::string expected =
        "     3.02           N: GNSS NAV DATA    R: GLONASS          RINEX VERSION / TYPE\n" + kPgm + "GLUT " +
        DField(-first.m_dTauC, 10) + DField(0.0, 9) + "      0    0          TIME SYSTEM CORR    \n" +
        "    18                                                      LEAP SECONDS        \n" + kEndOfHeader +
        Record(first, "2020 06 26 01 45 00", 6300.0) + Record(newTb, "2020 06 26 22 15 00", 80100.0);

    // The GPS data that set the leap seconds in front of the first BIN65, and
    // behind it: the line is filled in place either way.
    for (bool gpsFirst : {true, false})
    {
        Bytes log = MakeBin96Frame(2111, 432000.0, {});
        if (gpsFirst)
            AppendBytes(log, GpsLeapSecondFrames());
        AppendBytes(log, MakeBin65Frame(first));
        if (!gpsFirst)
            AppendBytes(log, GpsLeapSecondFrames());
        AppendBytes(log, MakeBin65Frame(first));  // a repeat is dropped
        AppendBytes(log, MakeBin65Frame(sameTb)); // other values, same tb: not written
        AppendBytes(log, MakeBin65Frame(newTb));  // a new tb is written once
        AppendBytes(log, MakeBin65Frame(newTb));

        CScratchDir dir;
        dir.WriteFile("in.log", log);
        const SToolRun run = RunObsforgeTool({"in.log", "obs", "gps", "glo"}, dir.Dir());
        EXPECT_EQ(MaskRunDate(dir.ReadFile("glo")), expected) << (gpsFirst ? "GPS first" : "GPS later");
        const std::string summary = run.m_szStderr.substr(run.m_szStderr.find("-----"));
        EXPECT_NE(summary.find("5\tGlonass ephemeris Packets Found In File\n"), std::string::npos);
        EXPECT_NE(summary.find("2\tUnique Satellites Written to Nav File\n"), std::string::npos); // G05, R03
        EXPECT_NE(summary.find("3\tTotal Writes of Sat Ephemeris to Nav File\n"), std::string::npos);
    }
}

TEST(GlonassNavRun, FirstEphemerisOfASlotSetsItsChannelInTheObsHeaderAndItsPhaseWavelength)
{
    // R03, L1 only, on three epochs: before any ephemeris (default channel
    // 5), after its first BIN65 (channel -2), and after a second BIN65 that
    // says channel 1, which changes nothing. Each phase lies 1000.5 cycles
    // above the code range in wavelengths of the channel in force: a reader
    // using another channel's wavelength lands a multiple of 8192 cycles off.
    const double code = 19100000.25;
    const struct
    {
        double m_dSeconds;
        int m_iK;
    } epochs[] = {{98.0, 5}, {99.0, -2}, {100.0, -2}};
    Bytes log;
    std::string body;
    for (const auto& e : epochs)
    {
        if (e.m_dSeconds == 99.0)
            AppendBytes(log, MakeBin65Frame(R03(26, 1, 45, -16384123, -987654, -2)));
        if (e.m_dSeconds == 100.0)
            AppendBytes(log, MakeBin65Frame(R03(26, 22, 15, -16380000, 555555, 1)));
        const double phase = std::floor(code * (1.602e9 + e.m_iK * 562500.0) / 299792458.0) + 1000.5;
        SBin66Channel r03;
        r03.m_uSlot = 3;
        r03.m_L1 = SBin76Signal{true, code, phase, -1500.5, 23.0, 0, true};
        AppendBytes(log, MakeBin96Frame(2111, e.m_dSeconds, {}));
        AppendBytes(log, MakeBin66Frame(2111, e.m_dSeconds, {r03}));

        char text[160];
        std::snprintf(text, sizeof text, "> 2020  6 21  0  1%11.7f  0  1\nR03%14.3f 9%14.3f 9%14.3f 9",
                      e.m_dSeconds - 60.0, phase, code, 1500.5); // the file shows the Doppler negated
        body += text + std::string("         0.000 0         0.000 0         0.000 0\n");
    }
    CScratchDir dir;
    dir.WriteFile("in.log", log);
    EXPECT_EQ(RunObsforgeTool({"in.log", "obs"}, dir.Dir()).m_iExitStatus, 0);

    SHeaderParts parts;
    parts.m_bMixed = true;
    parts.m_szGpsTypes = kObsG6; // BIN66 brings the L2 columns
    parts.m_szFirst = "  2020     6    21     0     1   38.000000      GPS         TIME OF FIRST OBS   \n";
    parts.m_szSlots1 = kSlots1;
    const size_t r03Channel = parts.m_szSlots1.find("R03  5");
    ASSERT_NE(r03Channel, std::string::npos);
    parts.m_szSlots1.replace(r03Channel, 6, "R03 -2");
    EXPECT_EQ(MaskRunDate(dir.ReadFile("obs")), HeaderText(parts) + body);
}
