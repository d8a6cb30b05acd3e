#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "qc/QcReport.h"

// index.html of a run over several logs: one row per log with its summary
// and a link to its report in the folder of the same name beside the index.
struct SQcIndexEntry
{
    std::string m_szFolder; // the report's folder, relative to the index
    SQcReport m_Report;     // only its summary and counts are read
};

void WriteIndexPage(std::ostream& out, const std::vector<SQcIndexEntry>& entries);
