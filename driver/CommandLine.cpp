#include "driver/CommandLine.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "driver/ConvertLog.h"
#include "driver/RunOptions.h"
#include "driver/SiteInputs.h"
#include "navstate/BeidouSubFrame.h"
#include "platform/Trace.h"

namespace
{
// Positional arguments, counted from 1.
enum EPositional
{
    ePosInput = 1,
    ePosObs = 2,
    ePosGpsNav = 3,
    ePosGlonassNav = 4,
    ePosBeidouNav = 5,
};

constexpr double kMaxElevationMask = 90.0;
// The observation interval is a multiple of this, rounded to nearest.
constexpr double kIntervalStep = 0.05;
constexpr double kIntervalStepsPerSecond = 20.0;
constexpr double kDefaultInterval = 1.0;

// Drops every double quote: the platform's quoting never reaches a file name.
std::string WithoutQuotes(const char* text)
{
    std::string result;
    for (const char* p = text; *p != '\0'; ++p)
    {
        if (*p != '"')
            result += *p;
    }
    return result;
}

// -N: the absolute value rounded to a multiple of 0.05 s; a value that rounds
// to 0 (or can't be read) means 1 s.
double IntervalFromText(const char* text)
{
    const double v = std::fabs(std::atof(text)) * kIntervalStepsPerSecond + 0.5;
    // Out of the range of a 32-bit count (or not a number at all): the
    // conversion is not defined there, so such a value counts as the default.
    const int32_t steps = v < 2147483648.0 ? static_cast<int32_t>(v) : 0;
    const double interval = steps * kIntervalStep;
    return interval < kIntervalStep ? kDefaultInterval : interval;
}

std::FILE* OpenOutput(const std::string& path)
{
    return std::fopen(path.c_str(), "w+");
}

void ApplyOption(char letter, const std::string& value, SRunStreams& streams)
{
    switch (letter)
    {
    case 'E':
    {
        const double mask = std::atof(value.c_str());
        if (mask >= -kMaxElevationMask && mask <= kMaxElevationMask)
        {
            RunOptions.m_dElevationMask = mask;
            RunOptions.m_bElevationMask = true;
        }
        else
        {
            std::fprintf(stderr, "Invalid Elevation Mask : %s\n", value.c_str());
        }
        break;
    }
    case 'L':
        ReadLocation(value.c_str());
        break;
    case 'N':
        RunOptions.m_dObsInterval = IntervalFromText(value.c_str());
        RunOptions.m_bObsIntervalGiven = true;
        break;
    case 'B':
        RunOptions.m_bOutputBeforeEphemeris = true;
        break;
    case 'H':
        ReadExternalHeader(value.c_str());
        break;
    case 'R':
        RunOptions.m_bReadSiteRecords = true;
        break;
    case 'I':
        RunOptions.m_bL1Only = value != "L1L2";
        break;
    case 'S':
        // A later -S replaces the handle; the earlier stream stays open.
        streams.m_pSummary = OpenOutput(value);
        break;
    case 'P':
        if (value[0] == '1')
            RunOptions.m_bOutputL1P = true;
        break;
    case '?':
        PrintHelp();
        break;
    default:
        std::fprintf(stderr, "Unknown Argument: %c\n", letter);
        break;
    }
}

void ApplyPositional(int position, const std::string& path, SRunStreams& streams)
{
    switch (position)
    {
    case ePosInput:
        streams.m_pInput = std::fopen(path.c_str(), "rb");
        // Only a -R in front of the input name reaches this point set.
        if (streams.m_pInput != nullptr && RunOptions.m_bReadSiteRecords)
            ScanSiteRecords(path.c_str());
        break;
    case ePosObs:
        streams.m_pObs = OpenOutput(path);
        break;
    case ePosGpsNav:
        streams.m_pGpsNav = OpenOutput(path);
        break;
    case ePosGlonassNav:
        streams.m_pGlonassNav = OpenOutput(path);
        break;
    case ePosBeidouNav:
        streams.m_pBeidouNav = OpenOutput(path);
        break;
    default:
        std::fprintf(stderr, "Too many files specified: %s\n", path.c_str());
        break;
    }
}

void CloseStream(std::FILE*& stream)
{
    if (stream != nullptr)
        std::fclose(stream);
    stream = nullptr;
}
} // namespace

void PrintHelp()
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
            std::fprintf(stderr, "Obsforge Version %s\n", kObsforgeVersion);
        else
            std::fputs(text, stderr);
    }
}

void ReadArguments(int argc, const char* const* argv, SRunStreams& streams)
{
    int position = 1;
    for (int i = 1; i < argc; ++i)
    {
        const char* arg = argv[i];
        if (arg[0] == '-' || arg[0] == '/')
        {
            const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(arg[1])));
            const char* value = arg[1] == '\0' ? arg + 1 : (arg[2] == ':' ? arg + 3 : arg + 2);
            ApplyOption(letter, WithoutQuotes(value), streams);
        }
        else
        {
            ApplyPositional(position++, WithoutQuotes(arg), streams);
        }
    }
}

int RunObsforge(int argc, const char* const* argv)
{
    SRunStreams streams;
    TraceMsg("GO\n");
    ReadArguments(argc, argv, streams);

    if (!AllocateBeidouEphTable())
    {
        std::fputs("g_paBIN_BeidouEph fails malloc\n", stderr);
        return 1;
    }

    if (streams.m_pInput != nullptr)
    {
        TraceMsg("doit\n");
        ConvertLog(streams.m_pInput, streams.m_pObs, streams.m_pGpsNav, streams.m_pGlonassNav,
                   streams.m_pBeidouNav, streams.m_pSummary);
    }
    else
    {
        TraceMsg("printHelp\n");
        PrintHelp();
    }

    CloseStream(streams.m_pInput);
    CloseStream(streams.m_pObs);
    CloseStream(streams.m_pGpsNav);
    CloseStream(streams.m_pGlonassNav);
    CloseStream(streams.m_pBeidouNav);
    CloseStream(streams.m_pSummary);
    return 0;
}
