#pragma once

#include <ostream>

#include "qc/QcReport.h"

// report.csv: one row per satellite and signal, with a header row naming the
// columns and their units; the drops of the conversion stand in the same row.
void WriteCsvReport(std::ostream& out, const SQcReport& report);
