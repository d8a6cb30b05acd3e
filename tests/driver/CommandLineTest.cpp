#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/CommandLine.h"
#include "driver/RunOptions.h"
#include "support/ExpectedText.h"
#include "support/ToolRun.h"

namespace
{
// Runs the argument loop in-process on fresh options and closes what it opened.
SRunOptions OptionsAfter(std::vector<const char*> args)
{
    RunOptions = SRunOptions{};
    args.insert(args.begin(), "obsforge");
    SRunStreams streams;
    ReadArguments(static_cast<int>(args.size()), args.data(), streams);
    for (std::FILE* f : {streams.m_pInput, streams.m_pObs, streams.m_pGpsNav, streams.m_pGlonassNav,
                         streams.m_pBeidouNav, streams.m_pSummary})
    {
        if (f != nullptr)
            std::fclose(f);
    }
    const SRunOptions result = RunOptions;
    RunOptions = SRunOptions{};
    return result;
}
} // namespace

TEST(CommandLine, HelpTextIsPrintedOnceWithoutArgumentsAndTwiceForQuestionMarkAlone)
{
    const SToolRun bare = RunObsforgeTool({});
    EXPECT_EQ(bare.m_iExitStatus, 0);
    EXPECT_EQ(bare.m_szStderr, HelpText());
    EXPECT_EQ(bare.m_szStdout, "");

    const SToolRun asked = RunObsforgeTool({"-?"});
    EXPECT_EQ(asked.m_iExitStatus, 0);
    EXPECT_EQ(asked.m_szStderr, HelpText() + HelpText());

    const SToolRun slash = RunObsforgeTool({"/?"});
    EXPECT_EQ(slash.m_szStderr, HelpText() + HelpText());
}

TEST(CommandLine, IntervalIsRoundedToTwentiethsOfASecondAndZeroMeansOneSecond)
{
    struct SCase
    {
        const char* m_szArg;
        double m_dInterval;
    };
    for (const SCase& c : {SCase{"-N:0.02", 1.0}, SCase{"-N:0.03", 0.05}, SCase{"-N:-2", 2.0},
                           SCase{"-N:abc", 1.0}, SCase{"-n0.5", 0.5}, SCase{"-N:30", 30.0},
                           SCase{"-N:0.124", 0.1}, SCase{"-N:1e30", 1.0}, SCase{"-N:nan", 1.0}})
    {
        const SRunOptions o = OptionsAfter({c.m_szArg});
        EXPECT_DOUBLE_EQ(o.m_dObsInterval, c.m_dInterval) << c.m_szArg;
        EXPECT_TRUE(o.m_bObsIntervalGiven) << c.m_szArg;
    }
    EXPECT_FALSE(OptionsAfter({}).m_bObsIntervalGiven);
    EXPECT_DOUBLE_EQ(OptionsAfter({}).m_dObsInterval, 1.0);
}

TEST(CommandLine, ElevationMaskAcceptsMinusNinetyToNinetyOnly)
{
    EXPECT_TRUE(OptionsAfter({"-E:90"}).m_bElevationMask);
    EXPECT_DOUBLE_EQ(OptionsAfter({"-E:-90"}).m_dElevationMask, -90.0);
    EXPECT_FALSE(OptionsAfter({"-E:90.1"}).m_bElevationMask);
    // atof reads nothing from "abc": a mask of 0 degrees, accepted.
    const SRunOptions abc = OptionsAfter({"-e:abc"});
    EXPECT_TRUE(abc.m_bElevationMask);
    EXPECT_DOUBLE_EQ(abc.m_dElevationMask, 0.0);
    // A refused value leaves an earlier one standing.
    const SRunOptions kept = OptionsAfter({"-E:10", "-E:91"});
    EXPECT_TRUE(kept.m_bElevationMask);
    EXPECT_DOUBLE_EQ(kept.m_dElevationMask, 10.0);
    // Quotes are removed from the value before use.
    EXPECT_DOUBLE_EQ(OptionsAfter({"-E:\"15\""}).m_dElevationMask, 15.0);
}

TEST(CommandLine, FlagOptionsAndTheirValues)
{
    EXPECT_TRUE(OptionsAfter({"-P1"}).m_bOutputL1P);
    EXPECT_TRUE(OptionsAfter({"-p:1"}).m_bOutputL1P);
    EXPECT_FALSE(OptionsAfter({"-P"}).m_bOutputL1P);
    EXPECT_FALSE(OptionsAfter({"-P2"}).m_bOutputL1P);
    EXPECT_TRUE(OptionsAfter({"-B"}).m_bOutputBeforeEphemeris);
    EXPECT_TRUE(OptionsAfter({"/r"}).m_bReadSiteRecords);
    EXPECT_FALSE(OptionsAfter({"-I:L1L2"}).m_bL1Only);
    EXPECT_TRUE(OptionsAfter({"-I:L1L2", "-I:L1_ONLY"}).m_bL1Only);
    EXPECT_TRUE(OptionsAfter({"-Ix"}).m_bL1Only);
    EXPECT_TRUE(OptionsAfter({"-I:l1l2"}).m_bL1Only); // the keyword is case-sensitive
}

TEST(CommandLine, ArgumentErrorsArePrintedAndTheRunGoesOn)
{
    CScratchDir dir;
    dir.WriteFile("in.log", Bytes{});
    const SToolRun run =
        RunObsforgeTool({"-E:90.1", "-Q", "-", "-z:5", "in.log", "obs", "gps", "glo", "bds", "sixth"}, dir.Dir());
    EXPECT_EQ(run.m_iExitStatus, 0);
    const std::string expected = std::string("Invalid Elevation Mask : 90.1\n"
                                             "Unknown Argument: Q\n"
                                             "Unknown Argument: ") +
                                 '\0' + "\n" +
                                 "Unknown Argument: Z\n"
                                 "Too many files specified: sixth\n"
                                 "\n" +
                                 SummaryText({});
    EXPECT_EQ(run.m_szStderr, expected);
    // The four outputs were created, the sixth name was not opened.
    for (const char* name : {"obs", "gps", "glo", "bds"})
        EXPECT_TRUE(dir.Exists(name)) << name;
    EXPECT_FALSE(dir.Exists("sixth"));
}

TEST(CommandLine, MissingInputGivesHelpAndLeavesNamedOutputsCreatedAndEmpty)
{
    CScratchDir dir;
    dir.WriteFile("obs", std::string("old content"));
    const SToolRun run = RunObsforgeTool({"no-such.log", "obs", "gps"}, dir.Dir());
    EXPECT_EQ(run.m_iExitStatus, 0);
    EXPECT_EQ(run.m_szStderr, HelpText());
    EXPECT_TRUE(dir.Exists("obs"));
    EXPECT_EQ(dir.ReadFile("obs"), "");
    EXPECT_TRUE(dir.Exists("gps"));
}

TEST(CommandLine, QuotedNameIsOneArgumentWithoutItsQuotes)
{
    CScratchDir dir;
    dir.WriteFile("my log.bin", Bytes{});
    const SToolRun run = RunObsforgeTool({"\"my log.bin\"", "\"my obs\""}, dir.Dir());
    EXPECT_EQ(run.m_szStderr, "\n" + SummaryText({}));
    EXPECT_TRUE(dir.Exists("my obs"));
}

TEST(CommandLine, QuestionMarkWithInputPrintsHelpOnceThenConverts)
{
    CScratchDir dir;
    dir.WriteFile("in.log", Bytes{});
    const SToolRun run = RunObsforgeTool({"-?", "in.log"}, dir.Dir());
    EXPECT_EQ(run.m_szStderr, HelpText() + "\n" + SummaryText({}));
}

TEST(CommandLine, SummaryGoesToTheLastSummaryFileAndBothAreCreated)
{
    CScratchDir dir;
    dir.WriteFile("in.log", Bytes{});
    const SToolRun run = RunObsforgeTool({"-S:first.txt", "-ssecond.txt", "in.log"}, dir.Dir());
    EXPECT_EQ(run.m_iExitStatus, 0);
    EXPECT_TRUE(dir.Exists("first.txt"));
    EXPECT_EQ(dir.ReadFile("first.txt"), "");
    EXPECT_EQ(dir.ReadFile("second.txt"), SummaryText({}));
}
