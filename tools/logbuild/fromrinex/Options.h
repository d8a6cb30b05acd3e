#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "logbuild/RinexNavReader.h"

// rinex2log's command line.
namespace fromrinex
{
struct SOptions
{
    bool m_bBin96 = false;
    bool m_bBeidouRaw = false;
    bool m_bDamage = false;
    uint32_t m_uSeed = 0;
    bool m_bSentences = false;
    bool m_bSiteFrame = false;
    double m_dSpan = 0.0; // 0: no limit
    std::optional<SRinexTimeCorrection> m_BeidouUtc; // -u: BDUT in place of the file's
    std::string m_szObs, m_szNav, m_szLog;
};

// False for a command line that isn't one of the usage text's.
bool ParseArguments(int argc, char** argv, SOptions& options);

// The usage text, on the error stream.
void PrintUsage();
} // namespace fromrinex
