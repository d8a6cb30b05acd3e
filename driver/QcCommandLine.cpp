#include "driver/QcCommandLine.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "driver/Arguments.h"
#include "driver/CommandLine.h"
#include "driver/OptionValues.h"
#include "driver/RunOptions.h"
#include "driver/SiteInputs.h"
#include "qc/CsvReport.h"
#include "qc/HtmlReport.h"
#include "qc/IndexPage.h"
#include "qc/JsonReport.h"
#include "qc/LogPass.h"

namespace
{
constexpr const char* kUsageHint = "Try 'obsforge-qc --help' for more information.\n";

// What each file of a report begins with: a file of that name that begins
// otherwise is someone else's, and is not overwritten without --force.
struct SReportFile
{
    const char* m_szName;
    const char* m_szHead;
    void (*m_pWrite)(std::ostream&, const SQcReport&);
};
const SReportFile kReportFiles[] = {
    {"report.html", "<!DOCTYPE html>", WriteHtmlReport},
    {"report.csv", "sat,signal,code,", WriteCsvReport},
    {"report.json", "{\n\"log\":", WriteJsonReport},
};
constexpr const char* kIndexName = "index.html";
constexpr const char* kIndexHead = "<!DOCTYPE html>";

struct SQcRun
{
    SRunOptions m_Options;       // as the converter would hold them
    SQcOptions m_Report;         // as the report shows them
    std::filesystem::path m_Folder = ".";
    bool m_bForce = false;
    std::vector<std::string> m_aLogs;
};

bool Refuse(std::string& error, const std::string& text)
{
    error = text;
    return false;
}

// Whether the file at `path` may be written: it doesn't exist, is empty, or
// begins as the file about to be written does.
bool MayReplace(const std::filesystem::path& path, const char* head, bool force, std::string& error)
{
    std::error_code code;
    const std::filesystem::file_status status = std::filesystem::status(path, code);
    if (!std::filesystem::exists(status))
        return true;
    if (!std::filesystem::is_regular_file(status))
        return Refuse(error, "'" + path.string() + "' exists and is not a file");
    std::ifstream in(path, std::ios::binary);
    std::string start(std::strlen(head), '\0');
    in.read(start.data(), static_cast<std::streamsize>(start.size()));
    start.resize(static_cast<size_t>(in.gcount()));
    if (force || start.empty() || start == head)
        return true;
    return Refuse(error, "'" + path.string() + "' holds something that isn't a report; nothing was written "
                                               "(--force overwrites it)");
}

// The folder a log's report goes to.
std::filesystem::path ReportFolder(const SQcRun& run, const std::string& log)
{
    return run.m_aLogs.size() == 1 ? run.m_Folder : run.m_Folder / std::filesystem::path(log).filename();
}

bool CheckLogs(const SQcRun& run, std::string& error)
{
    if (run.m_aLogs.empty())
        return Refuse(error, "no log named: obsforge-qc [options] LOG...");
    std::vector<std::string> names;
    for (const std::string& log : run.m_aLogs)
    {
        const int fd = ::open(log.c_str(), O_RDONLY);
        if (fd < 0)
            return Refuse(error, "cannot read the log '" + log + "': " + std::strerror(errno));
        struct stat info
        {
        };
        const bool directory = ::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode);
        ::close(fd);
        if (directory)
            return Refuse(error, "'" + log + "' is a folder, not a log");
        const std::string name = std::filesystem::path(log).filename().string();
        for (const std::string& other : names)
        {
            if (other == name)
                return Refuse(error, "two logs named '" + name + "': their reports would share a folder");
        }
        names.push_back(name);
    }
    return true;
}

bool CheckOutputs(const SQcRun& run, std::string& error)
{
    std::error_code code;
    const std::filesystem::file_status status = std::filesystem::status(run.m_Folder, code);
    if (std::filesystem::exists(status) && !std::filesystem::is_directory(status))
        return Refuse(error, "'-o " + run.m_Folder.string() + "': not a folder");
    for (const std::string& log : run.m_aLogs)
    {
        const std::filesystem::path folder = ReportFolder(run, log);
        for (const SReportFile& file : kReportFiles)
        {
            if (!MayReplace(folder / file.m_szName, file.m_szHead, run.m_bForce, error))
                return false;
        }
    }
    if (run.m_aLogs.size() > 1 && !MayReplace(run.m_Folder / kIndexName, kIndexHead, run.m_bForce, error))
        return false;
    return true;
}

// Every check before anything is read or written: the options, the logs,
// the files the reports would replace.
bool CheckRun(const SCommandLine& line, SQcRun& run, std::string& error)
{
    if (!line.m_szUnknownLong.empty())
        return Refuse(error, "unknown option '" + line.m_szUnknownLong + "'");
    run.m_bForce = line.m_bForce;
    const std::vector<SArgument>& arguments = line.m_aArguments;
    for (size_t i = 0; i < arguments.size(); ++i)
    {
        const SArgument& argument = arguments[i];
        SCheckedArgument checked;
        switch (argument.m_cLetter)
        {
        case 0:
            run.m_aLogs.push_back(argument.m_szValue);
            break;
        case 'O':
            if (!argument.m_szValue.empty())
                run.m_Folder = argument.m_szValue;
            else if (i + 1 < arguments.size() && arguments[i + 1].m_cLetter == 0)
                run.m_Folder = arguments[++i].m_szValue;
            else
                return Refuse(error, "-o needs a folder, as -o reports");
            break;
        case 'P':
            if (argument.m_szValue != "1")
                return Refuse(error, "unknown option '" + argument.m_szText + "'");
            run.m_Options.m_bOutputL1P = true;
            break;
        case 'E':
        case 'N':
        case 'L':
        case 'B':
            if (!CheckOptionValue(argument, checked, error))
                return false;
            if (argument.m_cLetter == 'E')
            {
                run.m_Options.m_bElevationMask = true;
                run.m_Options.m_dElevationMask = checked.m_dNumber;
            }
            else if (argument.m_cLetter == 'N')
            {
                run.m_Options.m_bObsIntervalGiven = true;
                run.m_Options.m_dObsInterval = IntervalFromValue(checked.m_dNumber);
            }
            else if (argument.m_cLetter == 'L')
            {
                SetLocation(checked.m_adLocation, run.m_Options);
                run.m_Report.m_bHaveLocation = true;
                std::memcpy(run.m_Report.m_adLocation, checked.m_adLocation, sizeof(checked.m_adLocation));
            }
            else
            {
                run.m_Options.m_bOutputBeforeEphemeris = true;
            }
            break;
        default:
            return Refuse(error, "unknown option '" + argument.m_szText +
                                     "' (obsforge-qc takes -E, -L, -N, -B, -P1 and -o)");
        }
    }
    const SRunOptions& o = run.m_Options;
    run.m_Report.m_bElevationMask = o.m_bElevationMask;
    run.m_Report.m_dElevationMask = o.m_dElevationMask;
    run.m_Report.m_bIntervalGiven = o.m_bObsIntervalGiven;
    run.m_Report.m_dInterval = o.m_bObsIntervalGiven ? o.m_dObsInterval : 0.0;
    run.m_Report.m_bBeforeEphemeris = o.m_bOutputBeforeEphemeris;
    return CheckLogs(run, error) && CheckOutputs(run, error);
}

SQcConversionSettings SettingsOf(const SRunOptions& o)
{
    SQcConversionSettings s;
    s.m_bHaveLocation = o.m_bHaveLocation;
    std::memcpy(s.m_adLocationLlh, o.m_aLocationLlh, sizeof(s.m_adLocationLlh));
    s.m_bElevationMask = o.m_bElevationMask;
    s.m_dElevationMask = o.m_dElevationMask;
    s.m_dInterval = o.m_dObsInterval;
    s.m_bIntervalGiven = o.m_bObsIntervalGiven;
    s.m_bBeforeEphemeris = o.m_bOutputBeforeEphemeris;
    s.m_bOutputL1P = o.m_bOutputL1P;
    return s;
}

// Writes one file through a temporary beside it, so that a failed write
// leaves the earlier file as it was.
bool WriteWhole(const std::filesystem::path& path, const std::string& text, std::string& error)
{
    const std::filesystem::path temporary = path.string() + ".part";
    std::FILE* file = std::fopen(temporary.c_str(), "wb");
    if (file == nullptr)
        return Refuse(error, "cannot write '" + path.string() + "': " + std::strerror(errno));
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    int failure = written ? 0 : errno;
    if (std::fflush(file) != 0 && failure == 0)
        failure = errno;
    if (std::fclose(file) != 0 && failure == 0)
        failure = errno;
    if (!written && failure == 0)
        failure = EIO;
    if (failure == 0 && std::rename(temporary.c_str(), path.c_str()) != 0)
        failure = errno;
    if (failure != 0)
    {
        std::remove(temporary.c_str());
        return Refuse(error, "cannot write '" + path.string() + "': " + std::strerror(failure));
    }
    return true;
}

// The share of the log read, on the terminal's line; nothing when standard
// error is no terminal.
struct SProgress
{
    bool m_bShown = false;
    std::string m_szName;
    uint64_t m_uSize = 0;

    void operator()(uint64_t bytes) const
    {
        if (m_uSize > 0)
            std::fprintf(stderr, "\robsforge-qc: %s %3u%%", m_szName.c_str(),
                         static_cast<unsigned>(bytes >= m_uSize ? 100 : bytes * 100 / m_uSize));
        else
            std::fprintf(stderr, "\robsforge-qc: %s %llu MB", m_szName.c_str(),
                         static_cast<unsigned long long>(bytes >> 20));
    }
};

// One log's report; false with `error` set when a file can't be written.
bool ReportLog(const SQcRun& run, const std::string& log, SQcReport& report, std::string& error)
{
    const int fd = ::open(log.c_str(), O_RDONLY);
    if (fd < 0)
        return Refuse(error, "cannot read the log '" + log + "': " + std::strerror(errno));
    SQcOptions options = run.m_Report;
    options.m_szLogName = std::filesystem::path(log).filename().string();

    SProgress progress;
    progress.m_szName = options.m_szLogName;
    struct stat info
    {
    };
    if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode))
        progress.m_uSize = static_cast<uint64_t>(info.st_size);
    const bool terminal = ::isatty(STDERR_FILENO) != 0;

    const std::unique_ptr<CQcLogPass> pass = std::make_unique<CQcLogPass>(options, SettingsOf(run.m_Options));
    const bool ran = pass->Run(fd, terminal ? std::function<void(uint64_t)>(progress) : nullptr);
    ::close(fd);
    if (terminal)
        std::fputs("\r\033[K", stderr);
    if (!ran)
        throw std::bad_alloc();
    pass->BuildReport(report);

    const std::filesystem::path folder = ReportFolder(run, log);
    std::error_code code;
    std::filesystem::create_directories(folder, code);
    if (code)
        return Refuse(error, "cannot make the folder '" + folder.string() + "': " + code.message());
    for (const SReportFile& file : kReportFiles)
    {
        std::ostringstream text;
        file.m_pWrite(text, report);
        if (!WriteWhole(folder / file.m_szName, text.str(), error))
            return false;
    }
    return true;
}

int RunChecked(const SCommandLine& line)
{
    SQcRun run;
    std::string error;
    if (!CheckRun(line, run, error))
    {
        std::fprintf(stderr, "obsforge-qc: %s\n", error.c_str());
        std::fputs(kUsageHint, stderr);
        return kExitUsage;
    }

    bool failed = false;
    std::vector<SQcIndexEntry> index;
    std::printf("%s\n", FormatSummaryHeader().c_str());
    for (const std::string& log : run.m_aLogs)
    {
        SQcIndexEntry entry;
        entry.m_szFolder = std::filesystem::path(log).filename().string();
        if (!ReportLog(run, log, entry.m_Report, error))
        {
            std::fprintf(stderr, "obsforge-qc: %s\n", error.c_str());
            failed = true;
            continue;
        }
        std::printf("%s\n", FormatSummaryLine(entry.m_Report).c_str());
        std::fflush(stdout);
        if (run.m_aLogs.size() > 1)
            index.push_back(std::move(entry));
    }
    if (run.m_aLogs.size() > 1)
    {
        std::ostringstream text;
        WriteIndexPage(text, index);
        if (!WriteWhole(run.m_Folder / kIndexName, text.str(), error))
        {
            std::fprintf(stderr, "obsforge-qc: %s\n", error.c_str());
            failed = true;
        }
    }
    return failed ? kExitWriteFailure : kExitComplete;
}
} // namespace

void PrintQcHelp(std::FILE* stream)
{
    std::fprintf(stream,
                 "obsforge-qc %s: the quality report of receiver logs\n"
                 "\n"
                 "Usage: obsforge-qc [-E:mask] [-L:location] [-N:interval] [-B] [-P1] [-o DIR] LOG...\n"
                 "\n"
                 "  Reads each log once, as obsforge converts it with the same options, and\n"
                 "  writes report.html, report.csv and report.json: into DIR for one log, into\n"
                 "  DIR/<log name>/ for several, with DIR/index.html listing them. The one-line\n"
                 "  summary of each log goes to the standard output.\n"
                 "\n"
                 "  -E, -L, -N, -B, -P1  as obsforge takes them: what the conversion leaves out\n"
                 "                       is counted with its reason\n"
                 "  -o DIR               the folder of the reports (default: the current one)\n"
                 "  --force              overwrite report files that don't look like reports\n"
                 "  --help, --version\n",
                 kObsforgeVersion);
}

int RunObsforgeQc(int argc, const char* const* argv)
{
    return RunProgram("obsforge-qc", argc, argv, PrintQcHelp, RunChecked);
}
