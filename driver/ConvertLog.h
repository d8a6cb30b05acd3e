#pragma once

#include <cstdio>

// The run's four output streams, each possibly null; the writers only borrow them.
extern std::FILE* g_pObsFile;
extern std::FILE* g_pGpsNavFile;
extern std::FILE* g_pGlonassNavFile;
extern std::FILE* g_pBeidouNavFile;

// The single pass over the receiver log: frames are taken one at a time,
// told apart by kind, message number and exact length, handed to their
// consumers and counted. At the end the last epoch is flushed and the
// counters are printed. `input` is open and not null; the others may be null.
void ConvertLog(std::FILE* input, std::FILE* obsFile, std::FILE* gpsNavFile,
                std::FILE* glonassNavFile, std::FILE* beidouNavFile, std::FILE* summaryFile);

// Hands the options to the run-wide objects before the first frame.
void PrepareRun();
