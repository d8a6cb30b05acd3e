#pragma once

#include <cstdio>
#include <cstdlib>

// A property the fuzz target insists on: when it fails, the condition and its
// line go to the error stream and the process aborts, which libFuzzer records
// as a finding together with the input.
#define FUZZ_CHECK(condition)                                                                              \
    do                                                                                                     \
    {                                                                                                      \
        if (!(condition))                                                                                  \
        {                                                                                                  \
            std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition);             \
            std::abort();                                                                                  \
        }                                                                                                  \
    } while (false)
