#pragma once

#include <cstddef>
#include <map>
#include <set>

#include "logbuild/fromrinex/LogBuilder.h"

// What a run left out and why, per system, and the summary that says so.
// tests/tools/EndToEndTest.cpp and tools/coverage.sh read its counts: its
// wording is part of the tool's interface.
namespace fromrinex
{
struct SSystemStats
{
    std::set<int> m_In, m_Sent;
    size_t m_uObsIn = 0, m_uObsSent = 0, m_uNoChannel = 0, m_uNoCode = 0;
    size_t m_uLocked = 0; // sent with the lock flag on a signal by which a converter lists them
    unsigned m_uNavIn = 0, m_uNavUnfit = 0;
};
using StatsBySystem = std::map<char, SSystemStats>;

// The summary on the error stream: epochs and bytes, per system what came in
// and what was sent, the messages by number.
void PrintSummary(const CLogBuilder& log, const StatsBySystem& stats, size_t epochsSent, size_t epochsIn,
                  double spanSent, bool damage, bool haveBdut);
} // namespace fromrinex
