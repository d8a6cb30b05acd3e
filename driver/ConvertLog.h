#pragma once

#include <cstdio>
#include <string>

#include "driver/RunFiles.h"
#include "driver/SiteInputs.h"

// The run's four output streams, each possibly null; the writers only borrow them.
extern std::FILE* g_pObsFile;
extern std::FILE* g_pGpsNavFile;
extern std::FILE* g_pGlonassNavFile;
extern std::FILE* g_pBeidouNavFile;

// The outputs of a pass by kind, each possibly without a stream. A stream
// whose writing fails is named on the error stream when the failure is seen,
// its writer goes on without it, and m_iError keeps the system's error number.
struct SPassOutput
{
    std::FILE* m_pStream = nullptr;
    std::string m_szPath;
    int m_iError = 0;
};
struct SPassOutputs
{
    SPassOutput m_aOutput[eOutputKinds];
};

// The single pass over the receiver log read from `inputFd`: frames are
// taken one at a time, told apart by kind, message number and exact length,
// handed to their consumers and counted. At the end the last epoch is
// flushed and the counters are printed.
//
// The files on disk are brought up to date (every epoch written so far,
// then the header that names them) whenever the pass is about to wait for
// input, about once a second on a long pass, and at the end. A stop signal
// ends the pass at the next frame boundary as if the log ended there.
// Returns the number of that signal, 0 when the log ended.
int ConvertLog(int inputFd, SPassOutputs& outputs, SSiteNotes& notes);

// Hands the options to the run-wide objects before the first frame.
void PrepareRun();
