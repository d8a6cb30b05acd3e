#include "logbuild/fromrinex/Options.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace fromrinex
{
namespace
{
bool ParseUnsigned(const char* text, uint32_t& value)
{
    char* end = nullptr;
    const unsigned long parsed = std::strtoul(text, &end, 10);
    if (end == text || *end != '\0' || parsed > 0xFFFFFFFFul)
        return false;
    value = static_cast<uint32_t>(parsed);
    return true;
}

// "A0,A1,T,W" of -u.
std::optional<SRinexTimeCorrection> ParseTimeCorrection(const char* text)
{
    SRinexTimeCorrection c;
    char tail = '\0';
    if (std::sscanf(text, "%lf,%lf,%d,%d%c", &c.m_dA0, &c.m_dA1, &c.m_iRefSeconds, &c.m_iRefWeek, &tail) != 4 ||
        c.m_iRefSeconds < 0 || c.m_iRefWeek < 0)
        return std::nullopt;
    return c;
}
} // namespace

void PrintUsage()
{
    std::fputs("usage: rinex2log [options] OBS NAV LOG\n"
               "Builds a receiver log LOG from a RINEX 3 observation file OBS and its\n"
               "broadcast navigation file NAV (GPS, GLONASS, BeiDou). Names ending in\n"
               ".gz are read through \"gzip -dc\".\n"
               "  -g 76|96         GPS observations as BIN76 (L1 C/A, L2, L1 P; default)\n"
               "                   or BIN96 (L1 C/A only)\n"
               "  -b decoded|raw   BeiDou ephemerides as decoded (default) or raw BIN35\n"
               "  -d SEED          damage: junk bytes between frames, seeded by SEED\n"
               "  -s               sentences: $>JSITERECORD, $>JI, $>JT at the start and\n"
               "                   $GPGGA from the header position at every epoch\n"
               "  -m               site frame: a marker record in front of the first epoch\n"
               "  -t SECONDS       only the epochs less than SECONDS behind the first\n"
               "  -u A0,A1,T,W     BeiDou UTC parameters for BIN34 (as a BDUT line gives\n"
               "                   them: s, s/s, seconds and BDT week of the reference),\n"
               "                   in place of the navigation file's BDUT line\n",
               stderr);
}

bool ParseArguments(int argc, char** argv, SOptions& options)
{
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i)
    {
        const std::string arg = argv[i];
        const bool takesValue = arg == "-g" || arg == "-b" || arg == "-d" || arg == "-t" || arg == "-u";
        if (takesValue && i + 1 >= argc)
            return false;
        if (arg == "-g")
        {
            const std::string v = argv[++i];
            if (v != "76" && v != "96")
                return false;
            options.m_bBin96 = v == "96";
        }
        else if (arg == "-b")
        {
            const std::string v = argv[++i];
            if (v != "decoded" && v != "raw")
                return false;
            options.m_bBeidouRaw = v == "raw";
        }
        else if (arg == "-d")
        {
            if (!ParseUnsigned(argv[++i], options.m_uSeed))
                return false;
            options.m_bDamage = true;
        }
        else if (arg == "-t")
        {
            char* end = nullptr;
            options.m_dSpan = std::strtod(argv[++i], &end);
            if (*end != '\0' || !(options.m_dSpan > 0.0))
                return false;
        }
        else if (arg == "-u")
        {
            options.m_BeidouUtc = ParseTimeCorrection(argv[++i]);
            if (!options.m_BeidouUtc)
                return false;
        }
        else if (arg == "-s")
            options.m_bSentences = true;
        else if (arg == "-m")
            options.m_bSiteFrame = true;
        else if (arg.size() > 1 && arg[0] == '-')
            return false;
        else
            files.push_back(arg);
    }
    if (files.size() != 3)
        return false;
    options.m_szObs = files[0];
    options.m_szNav = files[1];
    options.m_szLog = files[2];
    return true;
}
} // namespace fromrinex
