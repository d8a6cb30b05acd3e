// The report program's command line: a mistake is named, with status 2,
// before any log is read or any file written; a file that isn't a report is
// never overwritten without --force.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/ToolRun.h"

namespace
{
constexpr const char* kLog = GOLDEN_CASES_DIR "/gps-l1/input.log";

struct SQcCase
{
    const char* m_szName;
    std::vector<std::string> m_aArgs; // "@LOG" is the test log; "@DIR" in an argument the scratch folder
    int m_iStatus;
    const char* m_szSaid;             // in the error stream, or the standard output for status 0
    bool m_bReportWritten;            // report.csv in the scratch folder afterwards
};

std::string Expand(const std::string& arg, const CScratchDir& dir)
{
    if (arg == "@LOG")
        return kLog;
    const size_t at = arg.find("@DIR");
    if (at != std::string::npos)
        return arg.substr(0, at) + dir.Dir() + arg.substr(at + 4);
    return arg;
}
} // namespace

TEST(QcCommandLine, MistakesAreNamedBeforeAnythingIsWrittenAndOtherFilesAreKept)
{
    const SQcCase cases[] = {
        {"a report", {"-o", "@DIR", "@LOG"}, 0, "SUM ", true},
        {"-o with a colon", {"-o:@DIR", "@LOG"}, 0, "SUM ", true},
        {"no log", {"-o", "@DIR"}, 2, "no log named", false},
        {"a missing log", {"-o", "@DIR", "@DIR/none.log"}, 2, "none.log", false},
        {"a folder as log", {"-o", "@DIR", "@DIR"}, 2, "is a folder", false},
        {"an option of the converter only", {"-H:x.hdr", "-o", "@DIR", "@LOG"}, 2, "-H:x.hdr", false},
        {"a mask that is no number", {"-E:abc", "-o", "@DIR", "@LOG"}, 2, "-E:abc", false},
        {"a mask beyond 90", {"-E:95", "-o", "@DIR", "@LOG"}, 2, "-E:95", false},
        {"-o without a folder", {"@LOG", "-o"}, 2, "-o needs a folder", false},
        {"-o naming a file", {"-o", "@LOG", "@LOG"}, 2, "not a folder", false},
        {"two logs of one name", {"-o", "@DIR", "@LOG", "@LOG"}, 2, "two logs named", false},
        {"-P other than 1", {"-P2", "-o", "@DIR", "@LOG"}, 2, "-P2", false},
        {"help", {"--help"}, 0, "Usage: obsforge-qc", false},
        {"version", {"--version"}, 0, "obsforge-qc 3", false},
    };
    for (const SQcCase& c : cases)
    {
        SCOPED_TRACE(c.m_szName);
        const CScratchDir dir;
        std::vector<std::string> args;
        for (const std::string& a : c.m_aArgs)
            args.push_back(Expand(a, dir));
        const SToolRun run = RunTool(OBSFORGE_QC_EXE, args, dir.Dir());
        EXPECT_EQ(run.m_iExitStatus, c.m_iStatus) << run.m_szStderr;
        const std::string& said = c.m_iStatus == 0 ? run.m_szStdout : run.m_szStderr;
        EXPECT_NE(said.find(c.m_szSaid), std::string::npos) << said;
        EXPECT_EQ(dir.Exists("report.csv"), c.m_bReportWritten);
        if (c.m_iStatus == 2)
        {
            EXPECT_NE(run.m_szStderr.find("--help"), std::string::npos) << "a usage error gives the hint";
        }
    }

    // A page of someone else's where the report would go stays, unless --force.
    const CScratchDir dir;
    dir.WriteFile("report.html", std::string("<html>my notes</html>\n"));
    SToolRun run = RunTool(OBSFORGE_QC_EXE, {"-o", dir.Dir(), kLog}, dir.Dir());
    EXPECT_EQ(run.m_iExitStatus, 2);
    EXPECT_NE(run.m_szStderr.find("report.html"), std::string::npos);
    EXPECT_EQ(dir.ReadFile("report.html"), "<html>my notes</html>\n");
    EXPECT_FALSE(dir.Exists("report.csv"));
    run = RunTool(OBSFORGE_QC_EXE, {"--force", "-o", dir.Dir(), kLog}, dir.Dir());
    EXPECT_EQ(run.m_iExitStatus, 0);
    EXPECT_EQ(dir.ReadFile("report.html").rfind("<!DOCTYPE html>", 0), 0u);

    // A report of its own is replaced without asking, and several logs get a
    // folder each and an index.
    run = RunTool(OBSFORGE_QC_EXE, {"-o", dir.Dir(), kLog}, dir.Dir());
    EXPECT_EQ(run.m_iExitStatus, 0);
    std::filesystem::copy_file(kLog, dir.Path("day1.log"));
    std::filesystem::copy_file(GOLDEN_CASES_DIR "/gps-dual/input.log", dir.Path("day2.log"));
    run = RunTool(OBSFORGE_QC_EXE, {"-o", dir.Dir() + "/two", dir.Path("day1.log"), dir.Path("day2.log")}, dir.Dir());
    EXPECT_EQ(run.m_iExitStatus, 0) << run.m_szStderr;
    for (const char* file : {"two/index.html", "two/day1.log/report.csv", "two/day2.log/report.json"})
        EXPECT_TRUE(dir.Exists(file)) << file;
}
