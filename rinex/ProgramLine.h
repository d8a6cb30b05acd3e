#pragma once

#include <cstddef>

// The "PGM / RUN BY / DATE" line that every output file's header carries: the
// program, who ran it, and the local date and time of the header's first writing.

constexpr const char* kProgramName = "OBSFORGE3 3.2.3";
constexpr const char* kRunBy = "TALLOWMERE";
constexpr const char* kProgramLineFormat = "%-20.20s%-20.20s%-20.20sPGM / RUN BY / DATE \n";

// Writes the local clock now as "YYYYMMDD HHMMSS" into `text`.
void FormatRunDate(char* text, size_t size);
