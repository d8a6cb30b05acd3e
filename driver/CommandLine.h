#pragma once

#include <cstdio>

// The six streams of a run, in the order they are closed.
struct SRunStreams
{
    std::FILE* m_pInput = nullptr;
    std::FILE* m_pObs = nullptr;
    std::FILE* m_pGpsNav = nullptr;
    std::FILE* m_pGlonassNav = nullptr;
    std::FILE* m_pBeidouNav = nullptr;
    std::FILE* m_pSummary = nullptr;
};

// The tool's version, shown in the help text.
constexpr const char* kObsforgeVersion = "3.2.3";

// Prints the help text to the error stream.
void PrintHelp();

// Works through the arguments after element 0 strictly from left to right:
// each option acts at once, and the files are opened as they are named.
void ReadArguments(int argc, const char* const* argv, SRunStreams& streams);

// The whole run of the process: arguments, conversion or help, closing.
// Returns the exit status.
int RunObsforge(int argc, const char* const* argv);
