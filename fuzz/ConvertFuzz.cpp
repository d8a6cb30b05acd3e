// Fuzz target: a whole conversion. The input bytes are the receiver log; the
// run writes all four RINEX files and the summary into real temporary files,
// since the writers move back in their files, rewrite lines in place and cut
// the observation file. Every input gets a conversion of its own, as a fresh
// process would.
//
// After the run the files are checked for the property that all rewriting in
// place rests on: every line of a navigation file, and every line of the
// observation file's header, is 80 characters and a line feed.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <unistd.h>

#include "driver/ConvertLog.h"
#include "fuzz/FuzzCheck.h"

namespace
{
enum EFile
{
    eInput,
    eObs,
    eGpsNav,
    eGlonassNav,
    eBeidouNav,
    eSummary,
    eFileCount
};

std::FILE* s_apFiles[eFileCount] = {};

// Empties a file and puts its stream at the start, its indicators cleared.
void Empty(std::FILE* file)
{
    std::rewind(file);
    FUZZ_CHECK(ftruncate(fileno(file), 0) == 0);
    std::clearerr(file);
}

bool HasLabel(const char* line, const char* label)
{
    return std::strncmp(line + 60, label, std::strlen(label)) == 0;
}

// Every line of `file` is 80 characters and a line feed, and the file ends
// behind a line feed; with `headerOnly`, every line up to and including END OF
// HEADER. (An observation file that got no epoch may hold nothing but a
// marker block, and has no header to check.)
void CheckLineWidths(std::FILE* file, bool headerOnly)
{
    std::fflush(file);
    std::rewind(file);
    char line[128];
    for (bool first = true; std::fgets(line, sizeof line, file) != nullptr; first = false)
    {
        const size_t length = std::strlen(line);
        if (headerOnly && first && !(length == 81 && HasLabel(line, "RINEX VERSION / TYPE")))
            break;
        FUZZ_CHECK(length == 81 && line[80] == '\n');
        if (headerOnly && HasLabel(line, "END OF HEADER"))
            break;
    }
    std::fseek(file, 0, SEEK_END);
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    for (std::FILE*& file : s_apFiles)
    {
        file = std::tmpfile();
        FUZZ_CHECK(file != nullptr);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    for (std::FILE* file : s_apFiles)
        Empty(file);
    std::FILE* input = s_apFiles[eInput];
    const size_t written = size == 0 ? 0 : std::fwrite(data, 1, size, input);
    FUZZ_CHECK(written == size);
    std::fflush(input);
    std::rewind(input);

    const std::unique_ptr<CConversion> conversion = std::make_unique<CConversion>();
    FUZZ_CHECK(conversion->AllocateTables());
    SPassOutputs outputs;
    outputs.m_aOutput[eOutputObservation].m_pStream = s_apFiles[eObs];
    outputs.m_aOutput[eOutputGpsNav].m_pStream = s_apFiles[eGpsNav];
    outputs.m_aOutput[eOutputGlonassNav].m_pStream = s_apFiles[eGlonassNav];
    outputs.m_aOutput[eOutputBeidouNav].m_pStream = s_apFiles[eBeidouNav];
    outputs.m_aOutput[eOutputSummary].m_pStream = s_apFiles[eSummary];
    conversion->ConvertLog(fileno(input), outputs);

    CheckLineWidths(s_apFiles[eObs], true);
    CheckLineWidths(s_apFiles[eGpsNav], false);
    CheckLineWidths(s_apFiles[eGlonassNav], false);
    CheckLineWidths(s_apFiles[eBeidouNav], false);
    return 0;
}
