// The command line and the files around a run, as a user meets them: whole
// runs of the built tool in a scratch folder, with real files, a folder, a
// device that is always full, a FIFO fed while the tool waits, and stop
// signals sent to the running process.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/ExpectedText.h"
#include "support/ToolRun.h"

namespace
{
const std::string kSampleLog =
    (std::filesystem::path(__FILE__).parent_path().parent_path().parent_path() / "examples" / "sample.log").string();

std::string ReadAll(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

const std::string& SampleLog()
{
    static const std::string log = ReadAll(kSampleLog);
    return log;
}

// What a file of the scratch folder is before the run.
enum EBefore
{
    eText,      // a file with the given content
    eLog,       // the sample log
    eFolder,    // an empty folder
    eFullDisk,  // a link to /dev/full
    eLinkToLog, // a hard link to the file "x.log"
};
struct SBefore
{
    std::string m_szName;
    EBefore m_eKind = eText;
    std::string m_szContent;
};

// What the run must leave.
enum EAfter
{
    eSame,    // the file as it was before
    eAbsent,  // no such file
    eRinex,   // a RINEX file the run wrote
    eSummary, // a summary the run wrote
};

struct SCase
{
    const char* m_szName;
    std::vector<std::string> m_aArgs; // "@" stands for the scratch folder's path
    std::vector<SBefore> m_aBefore;
    int m_iStatus;
    std::vector<std::pair<std::string, EAfter>> m_aAfter;
    std::string m_szWord; // in the error stream, or in the standard output with m_bStdout
    bool m_bStdout = false;
};

const std::string kOldObs = "     3.02           OBSERVATION DATA    M                   RINEX VERSION / TYPE\n";
const std::string kOldNav = "     3.02           N: GNSS NAV DATA    G: GPS              RINEX VERSION / TYPE\n";
const std::string kOldSummary = "--------------------------------------------------\nObservations Begin\n";

void Prepare(const CScratchDir& dir, const SBefore& file)
{
    const std::string path = dir.Path(file.m_szName);
    switch (file.m_eKind)
    {
    case eText:
        dir.WriteFile(file.m_szName, file.m_szContent);
        break;
    case eLog:
        dir.WriteFile(file.m_szName, SampleLog());
        break;
    case eFolder:
        std::filesystem::create_directory(path);
        break;
    case eFullDisk:
        std::filesystem::create_symlink("/dev/full", path);
        break;
    case eLinkToLog:
        std::filesystem::create_hard_link(dir.Path("x.log"), path);
        break;
    }
}

std::string Expand(const std::string& arg, const CScratchDir& dir)
{
    const size_t at = arg.find('@');
    return at == std::string::npos ? arg : arg.substr(0, at) + dir.Dir() + arg.substr(at + 1);
}

// The lines of an observation file, and whether it is complete: it ends
// with a line feed, and its TIME OF LAST OBS names its last epoch.
bool ObsFileIsComplete(const std::string& text, std::string& why)
{
    if (text.empty() || text.back() != '\n')
    {
        why = "the file does not end with a whole line";
        return false;
    }
    const size_t last = text.rfind("\n> ");
    const size_t label = text.find("TIME OF LAST OBS");
    if (last == std::string::npos || label == std::string::npos)
    {
        why = "no epoch, or no TIME OF LAST OBS";
        return false;
    }
    // "  2020     6    25     7    59   30.000001" against "> 2020  6 25  7 59 30.0000000".
    std::istringstream header(text.substr(text.rfind('\n', label) + 1, 60));
    std::istringstream epoch(text.substr(last + 3, 40));
    int h[5] = {};
    int e[5] = {};
    double hs = 0.0;
    double es = 0.0;
    header >> h[0] >> h[1] >> h[2] >> h[3] >> h[4] >> hs;
    epoch >> e[0] >> e[1] >> e[2] >> e[3] >> e[4] >> es;
    for (int i = 0; i < 5; ++i)
        if (h[i] != e[i])
        {
            why = "TIME OF LAST OBS does not name the last epoch on disk";
            return false;
        }
    if (std::abs(hs - es) > 1e-5)
    {
        why = "TIME OF LAST OBS does not name the last epoch on disk";
        return false;
    }
    return true;
}

// A file's text with the run's date in PGM / RUN BY / DATE blanked.
std::string WithoutRunDate(std::string text)
{
    constexpr size_t kDateColumn = 40;
    constexpr size_t kDateWidth = 15;
    for (size_t at = text.find("PGM / RUN BY / DATE"); at != std::string::npos;
         at = text.find("PGM / RUN BY / DATE", at + 1))
        text.replace(at - 60 + kDateColumn, kDateWidth, std::string(kDateWidth, ' '));
    return text;
}

// The epochs of an observation file, behind its header.
std::string EpochsOf(const std::string& text)
{
    const std::string end = "END OF HEADER       \n";
    const size_t at = text.find(end);
    return at == std::string::npos ? std::string() : text.substr(at + end.size());
}

// Waits until `path` has epochs and has stopped growing: the tool waits for input.
std::string SettledFile(const std::string& path)
{
    std::string seen;
    for (int i = 0; i < 200; ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const std::string now = ReadAll(path);
        if (!now.empty() && now == seen && now.find("\n> ") != std::string::npos)
            return now;
        seen = now;
    }
    return seen;
}
} // namespace

TEST(CommandLine, ArgumentsAndFilesAreCheckedBeforeAnyFileIsTouched)
{
    const SBefore log{"x.log", eLog, ""};
    const std::vector<SCase> cases = {
        {"same name twice", {"x.log", "x.log"}, {log}, 2, {{"x.log", eSame}}, "is the log itself"},
        {"same file by another name", {"x.log", "./x.log"}, {log}, 2, {{"x.log", eSame}}, "is the log itself"},
        {"hard link to the log", {"x.log", "link.obs"}, {log, {"link.obs", eLinkToLog, ""}}, 2, {{"x.log", eSame}},
         "is the log itself"},
        {"arguments swapped", {"out.obs", "x.log"}, {log, {"out.obs", eText, kOldObs}}, 2,
         {{"x.log", eSame}, {"out.obs", eSame}}, "not a RINEX observation file"},
        {"two logs", {"x.log", "day2.log"}, {log, {"day2.log", eLog, ""}}, 2, {{"day2.log", eSame}}, "--force"},
        {"a navigation output that holds an observation file", {"x.log", "a.obs", "b.obs"},
         {log, {"b.obs", eText, kOldObs}}, 2, {{"b.obs", eSame}, {"a.obs", eAbsent}}, "GPS navigation file"},
        {"a summary over a log", {"-S:y.log", "x.log"}, {log, {"y.log", eLog, ""}}, 2, {{"y.log", eSame}},
         "summary"},
        {"two outputs, one file", {"x.log", "a.obs", "a.obs"}, {log}, 2, {{"a.obs", eAbsent}}, "same file"},
        {"typo in the log's name", {"nosuch.log", "good.obs", "good.nav"},
         {{"good.obs", eText, kOldObs}, {"good.nav", eText, kOldNav}}, 2,
         {{"good.obs", eSame}, {"good.nav", eSame}}, "No such file"},
        {"the log is a folder", {"dir", "a.obs"}, {{"dir", eFolder, ""}}, 2, {{"a.obs", eAbsent}}, "folder"},
        {"output in a missing folder", {"x.log", "a.obs", "nodir/x.nav"}, {log}, 2,
         {{"a.obs", eAbsent}, {"nodir", eAbsent}}, "No such file"},
        {"output is a folder", {"x.log", "dir"}, {log, {"dir", eFolder, ""}}, 2, {{"x.log", eSame}}, "directory"},
        {"blank instead of the colon", {"-H", "site.hdr", "y.log", "out.obs"},
         {{"site.hdr", eText, "x\n"}, {"y.log", eLog, ""}}, 2, {{"y.log", eSame}, {"out.obs", eAbsent}}, "-H needs"},
        {"mask not a number", {"-E:abc", "x.log", "a.obs"}, {log}, 2, {{"a.obs", eAbsent}}, "not a number"},
        {"mask out of range", {"-E:95", "x.log", "a.obs"}, {log}, 2, {{"a.obs", eAbsent}}, "-90 and 90"},
        {"interval not a number", {"-N:abc", "x.log"}, {log}, 2, {}, "not a number"},
        {"location not finite", {"-L:nan,0,0", "x.log"}, {log}, 2, {}, "finite"},
        {"location off the globe", {"-L:95,10,0", "x.log"}, {log}, 2, {}, "-90 to 90"},
        {"location unreadable", {"-L:abc", "x.log"}, {log}, 2, {}, "latitude,longitude"},
        {"location file empty", {"-L:empty", "x.log"}, {log, {"empty", eText, ""}}, 2, {}, "is empty"},
        {"header file missing", {"-H:nosuch.hdr", "x.log"}, {log}, 2, {}, "nosuch.hdr"},
        {"unknown option", {"-X", "x.log", "a.obs"}, {log}, 2, {{"a.obs", eAbsent}}, "unknown option '-X'"},
        {"unknown long option", {"--frobnicate", "x.log"}, {log}, 2, {}, "--frobnicate"},
        {"too many names", {"x.log", "a", "b", "c", "d", "sixth"}, {log}, 2,
         {{"a", eAbsent}, {"sixth", eAbsent}}, "too many file names"},
        {"-R on a log read once", {"-R", "/dev/null"}, {}, 2, {}, "-R reads the log twice"},
        {"an absolute path is a file name", {"@/x.log", "@/x.obs", "@/g.nav"}, {log}, 0,
         {{"x.obs", eRinex}, {"g.nav", eRinex}}, "Epochs Written"},
        {"an unknown slash word is an option", {"/Z", "x.log"}, {log}, 2, {}, "unknown option '/Z'"},
        {"--force writes over a file that isn't ours", {"--force", "x.log", "day2.log"},
         {log, {"day2.log", eLog, ""}}, 0, {{"day2.log", eRinex}}, "Epochs Written"},
        {"a new run over the tool's own files", {"-S:s.txt", "x.log", "a.obs", "g.nav"},
         {log, {"a.obs", eText, kOldObs}, {"g.nav", eText, kOldNav}, {"s.txt", eText, kOldSummary}}, 0,
         {{"a.obs", eRinex}, {"g.nav", eRinex}, {"s.txt", eSummary}}, "Epochs Written"},
        {"a full disk", {"x.log", "full.obs", "g.nav"}, {log, {"full.obs", eFullDisk, ""}}, 3, {{"g.nav", eRinex}},
         "No space left on device"},
        {"no file at all", {}, {}, 0, {}, "Usage: Obsforge"},
        {"--help", {"--help", "x.log", "a.obs"}, {log}, 0, {{"a.obs", eAbsent}}, "Usage: Obsforge", true},
        {"--version", {"--version"}, {}, 0, {}, "obsforge 3.2.3\n", true},
    };
    for (const SCase& c : cases)
    {
        SCOPED_TRACE(c.m_szName);
        CScratchDir dir;
        std::map<std::string, std::string> before;
        for (const SBefore& file : c.m_aBefore)
        {
            Prepare(dir, file);
            if (file.m_eKind != eFullDisk && file.m_eKind != eFolder)
                before[file.m_szName] = dir.ReadFile(file.m_szName);
        }
        std::vector<std::string> args;
        for (const std::string& arg : c.m_aArgs)
            args.push_back(Expand(arg, dir));
        const SToolRun run = RunObsforgeTool(args, dir.Dir());

        EXPECT_EQ(run.m_iExitStatus, c.m_iStatus) << run.m_szStderr;
        const std::string& shown = c.m_bStdout ? run.m_szStdout : run.m_szStderr;
        EXPECT_NE(shown.find(c.m_szWord), std::string::npos) << shown;
        if (c.m_iStatus == 2)
        {
            EXPECT_NE(run.m_szStderr.find("--help"), std::string::npos) << "a usage error gives the hint";
        }
        for (const auto& [name, after] : c.m_aAfter)
        {
            const std::string now = dir.ReadFile(name);
            switch (after)
            {
            case eSame:
                EXPECT_EQ(now, before[name]) << name << " was changed";
                break;
            case eAbsent:
                EXPECT_FALSE(dir.Exists(name)) << name << " was left behind";
                break;
            case eRinex:
                EXPECT_EQ(now.substr(0, 9), "     3.02") << name;
                break;
            case eSummary:
                EXPECT_NE(now.find("Epochs Written to Obs File"), std::string::npos) << name;
                break;
            }
        }
    }
}

// Each output is what it is when every output is named: the leap seconds
// and the records in use come from the navigation state, not from whichever
// writer happens to run.
TEST(CommandLine, NoOutputDependsOnWhichOthersAreNamed)
{
    CScratchDir dir;
    dir.WriteFile("x.log", SampleLog());
    const std::vector<std::string> options = {"-E:10", "-L:55.6,12.3,50"};
    auto run = [&](const std::vector<std::string>& files) {
        std::vector<std::string> args = options;
        args.push_back("x.log");
        args.insert(args.end(), files.begin(), files.end());
        EXPECT_EQ(RunObsforgeTool(args, dir.Dir()).m_iExitStatus, 0);
    };
    run({"all.obs", "all.gps", "all.glo", "all.bds"});
    run({"alone.obs"});
    run({"/dev/null", "/dev/null", "alone.glo", "alone.bds"});
    for (const auto& [alone, all] : {std::pair{"alone.obs", "all.obs"}, {"alone.glo", "all.glo"},
                                     {"alone.bds", "all.bds"}})
        EXPECT_EQ(WithoutRunDate(dir.ReadFile(alone)), WithoutRunDate(dir.ReadFile(all))) << alone;
}

// A log that arrives through a FIFO: whenever the tool waits for more, the
// observation file on disk is complete; the final files are those of the
// same log read from a file; a stop signal finishes the run as if the log
// ended there, with 128 and the signal's number as the exit status.
TEST(CommandLine, FilesAreCompleteWheneverTheToolWaitsAndAfterAStopSignal)
{
    const std::string& log = SampleLog();
    const size_t half = log.size() / 2;
    CScratchDir dir;
    dir.WriteFile("whole.log", log);
    ASSERT_EQ(RunObsforgeTool({"whole.log", "whole.obs", "whole.gps"}, dir.Dir()).m_iExitStatus, 0);

    struct SStop
    {
        int m_iSignal; // 0: the writer ends the log
        int m_iStatus;
    };
    for (const SStop stop : {SStop{0, 0}, SStop{SIGINT, 130}, SStop{SIGTERM, 143}, SStop{SIGHUP, 129}})
    {
        SCOPED_TRACE(stop.m_iSignal);
        const std::string fifo = dir.Path("pipe.log");
        std::filesystem::remove(fifo);
        ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
        CToolProcess tool(OBSFORGE_EXE, {"pipe.log", "pipe.obs", "pipe.gps"}, dir.Dir());
        const int fd = open(fifo.c_str(), O_WRONLY);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(write(fd, log.data(), half), static_cast<ssize_t>(half));

        std::string why;
        const std::string waiting = SettledFile(dir.Path("pipe.obs"));
        EXPECT_TRUE(ObsFileIsComplete(waiting, why)) << why;
        const std::string nav = dir.ReadFile("pipe.gps");
        EXPECT_TRUE(!nav.empty() && nav.back() == '\n') << "a navigation record cut off";

        if (stop.m_iSignal == 0)
        {
            ASSERT_EQ(write(fd, log.data() + half, log.size() - half), static_cast<ssize_t>(log.size() - half));
            close(fd);
            const SToolRun run = tool.Wait();
            EXPECT_EQ(run.m_iExitStatus, 0);
            EXPECT_EQ(WithoutRunDate(dir.ReadFile("pipe.obs")), WithoutRunDate(dir.ReadFile("whole.obs")));
            EXPECT_EQ(WithoutRunDate(dir.ReadFile("pipe.gps")), WithoutRunDate(dir.ReadFile("whole.gps")));
        }
        else
        {
            tool.Signal(stop.m_iSignal);
            const SToolRun run = tool.Wait();
            close(fd);
            EXPECT_EQ(run.m_iExitStatus, stop.m_iStatus);
            EXPECT_NE(run.m_szStderr.find("Epochs Written to Obs File"), std::string::npos) << run.m_szStderr;
            const std::string stopped = dir.ReadFile("pipe.obs");
            EXPECT_TRUE(ObsFileIsComplete(stopped, why)) << why;
            // The epochs on disk at the wait are still there, the epoch
            // gathered then was written as at the end of a log, and those
            // before it are those of the whole log.
            const std::string epochs = EpochsOf(stopped);
            EXPECT_GT(epochs.size(), EpochsOf(waiting).size());
            EXPECT_EQ(epochs.substr(0, epochs.rfind("\n> ")), EpochsOf(dir.ReadFile("whole.obs")).substr(0, epochs.rfind("\n> ")));
        }
    }
}
