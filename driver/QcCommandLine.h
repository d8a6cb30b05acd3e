#pragma once

#include <cstdio>

// The quality report's program: every argument and log is checked first,
// then each log is read once and its report written, report.html,
// report.csv and report.json, into the output folder (one log), or into a
// folder of the log's name in it with an index.html beside them (several
// logs). Returns the exit status, as the converter's.
int RunObsforgeQc(int argc, const char* const* argv);

// Prints the help text to `stream`.
void PrintQcHelp(std::FILE* stream);
