#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "driver/Arguments.h"

// The values of the command line's options, read and checked the one way
// both programs take them.

constexpr size_t kNoOutput = SIZE_MAX;

// What the checks found for one argument, for when it takes effect.
struct SCheckedArgument
{
    int m_iPosition = 0;         // a file name's position from 1; 0 for an option
    double m_dNumber = 0.0;      // -E, -N
    double m_adLocation[3] = {}; // -L: degrees and metres
    size_t m_uOutput = kNoOutput; // an output's index among the run's files
};

// The value of an option, read and checked; nothing is opened for writing.
// False with `error` naming the argument and what is wrong with it.
bool CheckOptionValue(const SArgument& argument, SCheckedArgument& checked, std::string& error);

// -N: the absolute value rounded to a multiple of 0.05 s; a value that rounds
// to 0 means 1 s.
double IntervalFromValue(double seconds);
