#include "driver/CommandLine.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "driver/Arguments.h"
#include "driver/ConvertLog.h"
#include "driver/OptionValues.h"
#include "driver/RunFiles.h"
#include "driver/RunOptions.h"
#include "driver/SiteInputs.h"
#include "platform/StopSignals.h"

namespace
{
constexpr const char* kUsageHint = "Try 'obsforge --help' for more information.\n";

// Positional arguments, counted from 1.
enum EPositional
{
    ePosInput = 1,
    ePosObs = 2,
    ePosGpsNav = 3,
    ePosGlonassNav = 4,
    ePosBeidouNav = 5,
};

bool Refuse(std::string& error, const std::string& text)
{
    error = text;
    return false;
}

EOutputKind OutputOfPosition(int position)
{
    switch (position)
    {
    case ePosObs:
        return eOutputObservation;
    case ePosGpsNav:
        return eOutputGpsNav;
    case ePosGlonassNav:
        return eOutputGlonassNav;
    default:
        return eOutputBeidouNav;
    }
}

// Every check of the run, before any file is changed: the values of the
// options, the log, then the outputs in command-line order.
bool CheckRun(const SCommandLine& line, std::vector<SCheckedArgument>& checked, CRunFiles& files,
              std::string& error)
{
    if (!line.m_szUnknownLong.empty())
        return Refuse(error, "unknown option '" + line.m_szUnknownLong + "'");

    const std::vector<SArgument>& arguments = line.m_aArguments;
    checked.assign(arguments.size(), SCheckedArgument{});
    int position = 0;
    bool readsTwice = false; // a -R in front of the log's name
    size_t input = kNoOutput;
    for (size_t i = 0; i < arguments.size(); ++i)
    {
        const SArgument& argument = arguments[i];
        if (argument.m_cLetter == 0)
        {
            checked[i].m_iPosition = ++position;
            if (position == ePosInput)
                input = i;
            if (position > ePosBeidouNav)
                return Refuse(error, "too many file names: '" + argument.m_szValue +
                                         "' (the log, then at most the observation, GPS, GLONASS and BeiDou "
                                         "navigation files)");
        }
        else
        {
            if (!CheckOptionValue(argument, checked[i], error))
                return false;
            readsTwice = readsTwice || (argument.m_cLetter == 'R' && position == 0);
        }
    }

    if (input != kNoOutput && !files.OpenInput(arguments[input].m_szValue, readsTwice, error))
        return false;
    for (size_t i = 0; i < arguments.size(); ++i)
    {
        const SArgument& argument = arguments[i];
        const int filePosition = checked[i].m_iPosition;
        if (argument.m_cLetter == 'S')
        {
            if (!files.OpenOutput(eOutputSummary, argument.m_szValue, line.m_bForce, checked[i].m_uOutput, error))
                return false;
        }
        else if (filePosition > ePosInput)
        {
            if (!files.OpenOutput(OutputOfPosition(filePosition), argument.m_szValue, line.m_bForce,
                                  checked[i].m_uOutput, error))
                return false;
        }
    }
    return true;
}

// Empties an output and hands its stream to the pass. An output that can't
// be started is named and left out, like one that fails while written.
void StartOutput(CRunFiles& files, size_t index, SPassOutputs& pass)
{
    SOutputFile& output = files.Output(index);
    std::string error;
    if (!files.StartOutput(index, error))
    {
        std::fprintf(stderr, "obsforge: %s\n", error.c_str());
        return;
    }
    SPassOutput& slot = pass.m_aOutput[output.m_eKind];
    slot.m_pStream = output.m_pStream;
    slot.m_szPath = output.m_szPath;
    slot.m_iError = 0;
}

// The arguments take effect strictly from left to right, each at its place:
// a later -L, -H or -R overrides what an earlier one set, -R acts only in
// front of the log's name, and outputs are emptied in turn.
void ApplyArguments(const SCommandLine& line, const std::vector<SCheckedArgument>& checked, CRunFiles& files,
                    SPassOutputs& pass, CConversion& conversion)
{
    SRunOptions& options = conversion.m_Options;
    for (size_t i = 0; i < line.m_aArguments.size(); ++i)
    {
        const SArgument& argument = line.m_aArguments[i];
        const SCheckedArgument& c = checked[i];
        switch (argument.m_cLetter)
        {
        case 0:
            if (c.m_iPosition == ePosInput)
            {
                if (options.m_bReadSiteRecords)
                {
                    SSiteTargets targets = conversion.SiteTargets();
                    ScanSiteRecords(argument.m_szValue.c_str(), targets);
                }
            }
            else
            {
                StartOutput(files, c.m_uOutput, pass);
            }
            break;
        case 'E':
            options.m_dElevationMask = c.m_dNumber;
            options.m_bElevationMask = true;
            break;
        case 'L':
            SetLocation(c.m_adLocation, options);
            break;
        case 'N':
            options.m_dObsInterval = IntervalFromValue(c.m_dNumber);
            options.m_bObsIntervalGiven = true;
            break;
        case 'B':
            options.m_bOutputBeforeEphemeris = true;
            break;
        case 'H':
            ReadExternalHeader(argument.m_szValue.c_str(), conversion.m_ExternalHeader);
            break;
        case 'R':
            options.m_bReadSiteRecords = true;
            break;
        case 'I': // accepted for compatibility; it changes no file
            break;
        case 'S':
            // A later -S takes the summary; the earlier file stays created.
            StartOutput(files, c.m_uOutput, pass);
            break;
        case 'P':
            if (argument.m_szValue[0] == '1')
                options.m_bOutputL1P = true;
            break;
        case '?':
            PrintHelp(stderr);
            break;
        default:
            break;
        }
    }
}

// The outputs' failures that the pass saw are the run's failures.
void TakePassFailures(const SPassOutputs& pass, CRunFiles& files)
{
    for (size_t i = 0; i < files.OutputCount(); ++i)
    {
        SOutputFile& output = files.Output(i);
        const SPassOutput& slot = pass.m_aOutput[output.m_eKind];
        if (slot.m_pStream == output.m_pStream && slot.m_iError != 0)
            output.m_bFailed = true;
    }
}

int RunChecked(const SCommandLine& line)
{
    CRunFiles files;
    std::vector<SCheckedArgument> checked;
    std::string error;
    if (!CheckRun(line, checked, files, error))
    {
        files.Abandon();
        std::fprintf(stderr, "obsforge: %s\n", error.c_str());
        std::fputs(kUsageHint, stderr);
        return kExitUsage;
    }

    // From here on files change: a stop signal finishes the run instead of
    // cutting it off.
    InstallStopSignals();
    SPassOutputs pass;
    const std::unique_ptr<CConversion> conversion = std::make_unique<CConversion>();
    ApplyArguments(line, checked, files, pass, *conversion);

    if (!conversion->AllocateTables())
    {
        std::fputs("g_paBIN_BeidouEph fails malloc\n", stderr);
        return kExitOutOfMemory;
    }

    int stopSignal = 0;
    if (files.InputFd() >= 0)
    {
        stopSignal = conversion->ConvertLog(files.InputFd(), pass);
        TakePassFailures(pass, files);
    }
    else
    {
        PrintHelp(stderr);
    }

    files.CloseAll();
    if (files.AnyFailed())
        return kExitWriteFailure;
    if (stopSignal != 0)
        return kExitSignalBase + stopSignal;
    return kExitComplete;
}
} // namespace

void PrintHelp(std::FILE* stream)
{
    // The texts as they are printed, in order; the version goes into the second.
    static const char* const kHelpTexts[] = {
        "\n",
        nullptr, // "Obsforge Version %s\n"
        "\n",
        "Tallowmere Binary to RINEX v3.0.2 converter\n",
        "\n",
        "Usage: Obsforge [-E:mask] [-L:locFile] [-N:epoch] [-B] [-H] [-R] [-I] [-S] [-P1] infile\n"
        "                [ObsOutFile [GpsNavFile] [GlonassNavFile] [BeiDouNavFile]\n\n",
        "       -E specifies an Elevation Mask, Satellites below mask are excluded\n"
        "          from the obs file. You must specify a location file to use this\n"
        "          option.  Units are 0 to 90 deg\n",
        "       -H specifies the external header file.\n",
        "       -R read in $GPGGA and $JSITERECORD data from binary file.\n",
        "       -I specifies the data that should be included: (L1_ONLY) or (L1L2).\n",
        "       -S Output file for Rinex summary\n",
        "       -L can specify either: 1) a location file containing one line of text\n"
        "          giving LAT,LON,HGT or 2) LAT,LON,HGT directly on the command line\n"
        "          following the -L:.  Units are degrees(+-90), degrees(+-180) and\n"
        "          meters. LAT,LON,HGT is needed for the APPROX POSITION XYZ in the Obs\n"
        "          Header and also for elevation mask computations if the -E option\n"
        "          is used.  HGT is taken as zero if omitted.\n",
        "       -N specifies the Obs File Interval in seconds, default is 1.\n",
        "       -B Output satellite observation Before its ephemeris arrives.\n",
        "       -P1 Output L1(P) observation if available.\n\n",
        "       ObsOutFile and NavOutFile are optional, but you must include\n"
        "       the ObsOutFile if you include the NavOutFile.  If neither are\n"
        "       given, there will be no output.\n\n",
        "\n",
        "Binary L1 GPS Only Data Logs required:        93, 94, 95, 96\n",
        "Binary L1/L2 GPS Only Data Logs required:     93, 94, 95, 76\n",
        "Additional Binary GLONASS Data Logs required: 65, 66\n",
        "Additional Binary BeiDou Data Logs required:  35, 36\n",
    };
    for (const char* text : kHelpTexts)
    {
        if (text == nullptr)
            std::fprintf(stream, "Obsforge Version %s\n", kObsforgeVersion);
        else
            std::fputs(text, stream);
    }
}

int RunProgram(const char* program, int argc, const char* const* argv, void (*printHelp)(std::FILE*),
               int (*run)(const SCommandLine&))
{
    try
    {
        const SCommandLine line = SplitCommandLine(argc, argv);
        if (line.m_bHelp)
        {
            printHelp(stdout);
            return kExitComplete;
        }
        if (line.m_bVersion)
        {
            std::printf("%s %s\n", program, kObsforgeVersion);
            return kExitComplete;
        }
        return run(line);
    }
    catch (const std::bad_alloc&)
    {
        std::fprintf(stderr, "%s: out of memory\n", program);
        return kExitOutOfMemory;
    }
}

int RunObsforge(int argc, const char* const* argv)
{
    return RunProgram("obsforge", argc, argv, PrintHelp, RunChecked);
}
