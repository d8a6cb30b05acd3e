#include "logbuild/fromrinex/Summary.h"

#include <cstdio>

namespace fromrinex
{
void PrintSummary(const CLogBuilder& log, const StatsBySystem& stats, size_t epochsSent, size_t epochsIn,
                  double spanSent, bool damage, bool haveBdut)
{
    std::fprintf(stderr, "rinex2log: %zu of %zu epochs, %.0f s from the first; %zu bytes", epochsSent, epochsIn,
                 spanSent, log.Log().size());
    if (damage)
        std::fprintf(stderr, " (%zu of them junk)", log.JunkBytes());
    std::fputs("\n", stderr);
    for (const char system : {'G', 'R', 'C'})
    {
        const auto it = stats.find(system);
        const SSystemStats s = it == stats.end() ? SSystemStats{} : it->second;
        std::fprintf(stderr,
                     "  %c: satellites %zu in, %zu sent; observations %zu in, %zu sent (%zu of them locked), "
                     "%zu without a code range the messages carry, %zu without a channel; "
                     "ephemerides %u in, %u unfit\n",
                     system, s.m_In.size(), s.m_Sent.size(), s.m_uObsIn, s.m_uObsSent, s.m_uLocked, s.m_uNoCode,
                     s.m_uNoChannel, s.m_uNavIn, s.m_uNavUnfit);
    }
    std::fputs("  messages:", stderr);
    for (const auto& [number, count] : log.Counts())
        std::fprintf(stderr, " BIN%d:%u", number, count);
    std::fputs("\n", stderr);
    if (!haveBdut)
        std::fputs("  no BDUT line in the navigation header: no BIN34\n", stderr);
}
} // namespace fromrinex
