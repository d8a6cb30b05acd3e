#pragma once

#include <cstdio>

#include "driver/Arguments.h"

// The tool's version, shown by --version and in the help text.
constexpr const char* kObsforgeVersion = "3.2.3";

// Exit statuses: every named output written completely; out of memory; a
// usage error or a refused file, found before anything was written; an
// output that failed while being written; 128 and the number of a stop
// signal.
constexpr int kExitComplete = 0;
constexpr int kExitOutOfMemory = 1;
constexpr int kExitUsage = 2;
constexpr int kExitWriteFailure = 3;
constexpr int kExitSignalBase = 128;

// Prints the help text to `stream`.
void PrintHelp(std::FILE* stream);

// The whole run of the process: every argument and file is checked first,
// then the arguments take effect strictly from left to right (each option
// at its place, outputs emptied in turn), then the conversion or the help,
// and the closing. Returns the exit status.
int RunObsforge(int argc, const char* const* argv);

// The front of each program of the package: --help and --version answered
// on the standard output with status 0, a run out of memory told as
// "<program>: out of memory" with status 1; otherwise `run` decides.
int RunProgram(const char* program, int argc, const char* const* argv, void (*printHelp)(std::FILE*),
               int (*run)(const SCommandLine&));
