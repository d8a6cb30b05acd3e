#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "logbuild/Bin96Encoder.h"
#include "logbuild/GpsEphemerisEncoder.h"
#include "support/ExpectedObsText.h"
#include "support/ExpectedText.h"
#include "support/ToolRun.h"

// Whole runs over BIN96 logs, compared with complete observation files.
// Week 2111 starts on Sunday 2020-06-21: second 432000 is 2020-06-26 00:00:00.

namespace
{
constexpr uint16_t kRunWeek = 2111;
constexpr double kDay5 = 432000.0;

// What the message carries, converted the way a reader of the file expects.
constexpr double kL1CyclesPerMetre = 5.255035468570723;
constexpr double kL1HzPerDopplerUnit = 0.0012829676436940242;
constexpr double kSpeedOfLight = 299792458.0;
constexpr double kL1Frequency = 1575419999.9999988;

struct SSatTrack
{
    uint8_t m_uPrn;
    uint8_t m_uSnrRaw;
    uint32_t m_uStrength; // the digit the file shows for that raw value
    double m_dCode;       // metres at epoch 0
    double m_dCodeRate;   // metres per epoch
    double m_dPhaseOffset; // phase minus code, metres
    int32_t m_iDoppler;   // 1/4096 m/s
};

// G05 with a strong signal, G12 a weak one; 40 is an SBAS number that takes an
// extended row and never reaches the file.
const SSatTrack kG05 = {5, 50, 7, 21000000.5, 100.25, -0.25, 409600};
const SSatTrack kG12 = {12, 20, 6, 22000000.25, -50.5, 0.5, -204800};
const SSatTrack kS40 = {40, 40, 0, 38000000.0, 0.0, 0.0, 0};

SBin96Channel ChannelOf(const SSatTrack& s, int epoch, uint8_t slipCounter = 0, bool goodLock = true)
{
    SBin96Channel c;
    c.m_uPrn = s.m_uPrn;
    c.m_uSnrRaw = s.m_uSnrRaw;
    c.m_uSlipCounter = slipCounter;
    c.m_bGoodLock = goodLock;
    c.m_iDoppler = s.m_iDoppler;
    c.m_dPseudorange = s.m_dCode + s.m_dCodeRate * epoch;
    c.m_dPhase = c.m_dPseudorange + s.m_dPhaseOffset;
    return c;
}

// The satellite line of a track at an epoch, with `remainder` seconds folded in.
std::string SatLine(const SSatTrack& s, int epoch, bool slip = false, double remainder = 0.0)
{
    const double code = s.m_dCode + s.m_dCodeRate * epoch;
    const double phase = (code + s.m_dPhaseOffset) * kL1CyclesPerMetre;
    char line[128];
    std::snprintf(line, sizeof line, "G%02u%14.3f%c%1u%14.3f%c%1u%14.3f%c%1u\n", s.m_uPrn,
                  remainder * kL1Frequency + phase, slip ? '1' : ' ', s.m_uStrength,
                  remainder * kSpeedOfLight + code, ' ', s.m_uStrength, -(s.m_iDoppler * kL1HzPerDopplerUnit), ' ',
                  s.m_uStrength);
    return line;
}

std::string EpochLine(int minute, double seconds, int count)
{
    char line[64];
    std::snprintf(line, sizeof line, "> 2020  6 26  0%3d%11.7f  0%3d\n", minute, seconds, count);
    return line;
}

std::string TimeLine(int minute, const char* seconds, const char* label)
{
    char line[96];
    std::snprintf(line, sizeof line, "  2020     6    26     0%6d%12s      GPS         %-20s\n", minute, seconds, label);
    return line;
}

std::string IntervalLine(const char* value)
{
    return std::string(10 - std::string(value).size(), ' ') + value +
           "                                                  INTERVAL            \n";
}

// A marker block of the site frames below, with its event line.
std::string MarkerBlock(const std::string& eventLine)
{
    std::string event = eventLine.substr(0, 30);
    event.resize(30, ' ');
    return event + " 3  5\n" +
           "SITE A                                                      MARKER NAME         \n"
           "0042                                                        MARKER NUMBER       \n"
           "        0.0000        0.0000        0.0000                  ANTENNA: DELTA H/E/N\n"
           " NO VALID POSITION RECORD FOUND FOR THIS MARKER             COMMENT             \n"
           " *** START NEW MARKER ***                                   COMMENT             \n";
}

// One epoch per second from 432000: G05, G12 (slip counter stepping at epoch
// 2) and the SBAS number.
Bytes EpochFrame(int epoch, double seconds)
{
    const uint8_t slip = epoch >= 2 ? 4 : 3;
    return MakeBin96Frame(kRunWeek, seconds, {ChannelOf(kG05, epoch), ChannelOf(kG12, epoch, slip), ChannelOf(kS40, epoch)});
}

std::string EpochText(int epoch, double seconds)
{
    return EpochLine(0, seconds - kDay5, 2) + SatLine(kG05, epoch) + SatLine(kG12, epoch, epoch == 2);
}

struct SRun
{
    SToolRun m_Run;
    std::string m_szObs;
};

SRun ConvertToObs(const Bytes& log, std::vector<std::string> options = {})
{
    CScratchDir dir;
    dir.WriteFile("in.log", log);
    options.push_back("in.log");
    options.push_back("obs");
    SRun r;
    r.m_Run = RunObsforgeTool(options, dir.Dir());
    r.m_szObs = MaskRunDate(dir.ReadFile("obs"));
    return r;
}

SExpectedSummary SummaryOf(uint32_t epochsFound, uint32_t epochsWritten, uint32_t obsWritten)
{
    SExpectedSummary s;
    s.m_uWeek = kRunWeek;
    s.m_szSeconds = "432000.0";
    s.m_uObsEpochsFound = epochsFound;
    s.m_uEpochsWritten = epochsWritten;
    s.m_uObsWritten = obsWritten;
    s.m_uAverage = epochsWritten == 0 ? 0 : obsWritten / epochsWritten;
    return s;
}
} // namespace

TEST(ObsRun, Bin96LogGivesAFileWhoseHeaderDescribesExactlyItsEpochsAfterEveryFlush)
{
    const char* lastSeconds[] = {"0.000001", "1.000001", "2.000001", "3.000001"};
    Bytes log;
    std::string epochs;
    for (int k = 0; k < 4; ++k)
    {
        // The log as it stood when epoch k's message arrived: every epoch before
        // it is in the file, and the end of input flushes epoch k as well.
        AppendBytes(log, EpochFrame(k, kDay5 + k));
        epochs += EpochText(k, kDay5 + k);
        SHeaderParts header;
        header.m_szFirst = TimeLine(0, "0.000000", "TIME OF FIRST OBS");
        header.m_szLast = TimeLine(0, lastSeconds[k], "TIME OF LAST OBS");
        const SRun r = ConvertToObs(log);
        EXPECT_EQ(r.m_szObs, HeaderText(header) + epochs) << "after " << k + 1 << " epochs";
        for (const std::string& line : LinesOf(HeaderText(header)))
            EXPECT_EQ(line.size(), 81u) << line;
        EXPECT_EQ(r.m_Run.m_szStderr,
                  "BIN96:" + std::to_string(k + 1) + " \n" + SummaryText(SummaryOf(k + 1, k + 1, 2 * (k + 1))));
    }

    // Without an observation file the epochs are counted as written all the same.
    CScratchDir dir;
    dir.WriteFile("in.log", log);
    const SToolRun noFile = RunObsforgeTool({"in.log"}, dir.Dir());
    EXPECT_EQ(noFile.m_szStderr, "BIN96:4 \n" + SummaryText(SummaryOf(4, 4, 8)));
}

TEST(ObsRun, IntervalIsFoundFromTheLogAndFixedByTheOption)
{
    Bytes log;
    for (int k = 0; k < 4; ++k)
        AppendBytes(log, EpochFrame(k, kDay5 + 2 * k));

    SHeaderParts header;
    header.m_szFirst = TimeLine(0, "0.000000", "TIME OF FIRST OBS");
    header.m_szLast = TimeLine(0, "6.000001", "TIME OF LAST OBS");
    header.m_szInterval = IntervalLine("2.000");
    std::string epochs;
    for (int k = 0; k < 4; ++k)
        epochs += EpochText(k, kDay5 + 2 * k);
    EXPECT_EQ(ConvertToObs(log).m_szObs, HeaderText(header) + epochs);

    // Every 4 s from the first epoch on the grid: epochs 0 and 2 of the log.
    header.m_szLast = TimeLine(0, "4.000001", "TIME OF LAST OBS");
    header.m_szInterval = IntervalLine("4.000");
    const SRun fixed = ConvertToObs(log, {"-N:4"});
    EXPECT_EQ(fixed.m_szObs, HeaderText(header) + EpochText(0, kDay5) + EpochText(2, kDay5 + 4));
    EXPECT_EQ(fixed.m_Run.m_szStderr, "BIN96:4 \n" + SummaryText(SummaryOf(4, 2, 4)));
}

TEST(ObsRun, EpochAtTheMinuteEdgeNeverShowsSixtyAndItsRemainderReachesEveryValue)
{
    // 59.99999996 prints as " 60.0000000" at seven decimals, so the line names
    // the next minute and the 4e-8 s taken from the time go into the values.
    const double edge = kDay5 + 59.99999996;
    const double after = kDay5 + 60.00000004;
    Bytes log;
    AppendBytes(log, MakeBin96Frame(kRunWeek, edge, {ChannelOf(kG05, 0)}));
    AppendBytes(log, MakeBin96Frame(kRunWeek, after, {ChannelOf(kG05, 1)}));

    const double edgeRemainder = (59.0 + (edge - std::floor(edge))) - 60.0;
    const double afterRemainder = after - std::floor(after);
    ASSERT_LT(edgeRemainder, 0.0);
    ASSERT_GT(afterRemainder, 0.0);

    SHeaderParts header;
    header.m_szFirst = TimeLine(1, "0.000000", "TIME OF FIRST OBS");
    header.m_szLast = TimeLine(1, "0.000001", "TIME OF LAST OBS");
    header.m_szInterval = IntervalLine("1.000");
    EXPECT_EQ(ConvertToObs(log).m_szObs, HeaderText(header) + EpochLine(1, 0.0, 1) +
                                             SatLine(kG05, 0, false, edgeRemainder) + EpochLine(1, 0.0, 1) +
                                             SatLine(kG05, 1, false, afterRemainder));
}

TEST(ObsRun, SiteEventsLandBehindTheEpochThatWasBeingGathered)
{
    SHeaderParts header;
    header.m_szFirst = TimeLine(0, "0.000000", "TIME OF FIRST OBS");
    header.m_szLast = TimeLine(0, "2.000001", "TIME OF LAST OBS");
    const Bytes begin = MakeMarkerSiteFrame(1, "SITE A", "0042");
    const std::string e2Line = EpochLine(0, 1.0, 2);

    // A marker at the start of the log: header, E1, the block stamped with the
    // first epoch behind it, then E2 and E3.
    Bytes log = begin;
    for (int k = 0; k < 3; ++k)
        AppendBytes(log, EpochFrame(k, kDay5 + k));
    const std::string expected = HeaderText(header) + EpochText(0, kDay5) + MarkerBlock(e2Line) +
                                 EpochText(1, kDay5 + 1) + EpochText(2, kDay5 + 2);
    EXPECT_EQ(ConvertToObs(log).m_szObs, expected);

    // The antenna starts moving while E2 is gathered: the block keeps its blank
    // event text and the moving records follow E2.
    log = begin;
    AppendBytes(log, EpochFrame(0, kDay5));
    AppendBytes(log, EpochFrame(1, kDay5 + 1));
    AppendBytes(log, MakeSiteFrame(1, 2, Bytes{}));
    AppendBytes(log, EpochFrame(2, kDay5 + 2));
    EXPECT_EQ(ConvertToObs(log).m_szObs, HeaderText(header) + EpochText(0, kDay5) + MarkerBlock(">") +
                                             EpochText(1, kDay5 + 1) +
                                             ">                              2\n"
                                             ">                              4  1\n"
                                             " *** START MOVING ANTENNA ***                               COMMENT             \n" +
                                             EpochText(2, kDay5 + 2));

    // A withdrawn marker leaves no trace.
    log = begin;
    AppendBytes(log, EpochFrame(0, kDay5));
    AppendBytes(log, EpochFrame(1, kDay5 + 1));
    AppendBytes(log, MakeSiteFrame(1, 4, Bytes{}));
    AppendBytes(log, EpochFrame(2, kDay5 + 2));
    EXPECT_EQ(ConvertToObs(log).m_szObs,
              HeaderText(header) + EpochText(0, kDay5) + EpochText(1, kDay5 + 1) + EpochText(2, kDay5 + 2));
}

TEST(ObsRun, ElevationMaskWithALocationLeavesOutSatellitesBelowItAndThoseWithoutEphemerisUnlessB)
{
    // G05 has an ephemeris for the hour; G12 has none, so its elevation is not known.
    SGpsEphemerisValues g05;
    g05.m_uSatellite = 5;
    g05.m_uTxTime = 430000;
    g05.m_uWeek = kRunWeek;
    g05.m_uIode = g05.m_uIodc = 7;
    g05.m_dToc = g05.m_dToe = kDay5;
    g05.m_dSqrtA = 5153.7;
    g05.m_dEcc = 0.01;
    g05.m_dI0 = 0.96;
    Bytes log = MakeBin95Frame(g05);
    AppendBytes(log, EpochFrame(0, kDay5));
    AppendBytes(log, EpochFrame(1, kDay5 + 1));

    const auto epochs = [](bool withG05, bool withG12) {
        std::string text;
        for (int k = 0; k < 2; ++k)
        {
            if (!withG05 && !withG12)
                continue;
            text += EpochLine(0, k, (withG05 ? 1 : 0) + (withG12 ? 1 : 0));
            text += withG05 ? SatLine(kG05, k) : "";
            text += withG12 ? SatLine(kG12, k) : "";
        }
        return text;
    };
    SHeaderParts header;
    header.m_szFirst = TimeLine(0, "0.000000", "TIME OF FIRST OBS");
    header.m_szLast = TimeLine(0, "1.000001", "TIME OF LAST OBS");

    // Every elevation is at or above -90 and below 90 degrees.
    const std::string place = "-L:55.5,9.75,40";
    struct SCase
    {
        std::vector<std::string> m_aOptions;
        bool m_bG05;
        bool m_bG12;
    };
    // When nothing passes, the epochs still stand in the header's times, as
    // for an epoch of satellites that never reach the file.
    for (const SCase& c : {SCase{{place, "-E:-90"}, true, false}, SCase{{place, "-E:-90", "-B"}, true, true},
                           SCase{{place, "-E:90", "-B"}, false, true}, SCase{{place, "-E:90"}, false, false},
                           SCase{{place, "-B"}, true, true}, SCase{{"-E:90"}, true, true}})
    {
        std::string options;
        for (const std::string& o : c.m_aOptions)
            options += o + " ";
        const std::string obs = ConvertToObs(log, c.m_aOptions).m_szObs;
        const size_t body = obs.find(kEndOfHeader);
        ASSERT_NE(body, std::string::npos) << options;
        // The position line stands as the location gives it; its digits are checked with the site inputs.
        const size_t position = obs.find("APPROX POSITION XYZ");
        header.m_szPosition = position == std::string::npos ? "" : obs.substr(position - 60, 81);
        EXPECT_EQ(obs, HeaderText(header) + epochs(c.m_bG05, c.m_bG12)) << options;
    }

}
