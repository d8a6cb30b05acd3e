#pragma once

#include <ostream>

#include "qc/QcReport.h"

// report.json: everything the page shows, for scripts: the summary, the
// inventory, the drops, every row, the events, the position and the plots'
// series. Times are given as text ("2020-06-25 06:00:00", GPS time) and as
// seconds since the GPS epoch.
void WriteJsonReport(std::ostream& out, const SQcReport& report);
