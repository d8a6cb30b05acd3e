#pragma once

#include <ostream>

#include "qc/QcReport.h"

// report.html: one self-contained page, inline CSS and inline SVG, with no
// script and no reference to anything outside it, so that it opens from a
// USB stick on an offline laptop and prints as it shows. Every plot is a
// figure of class "plot" with axis titles and units, a legend and its marks
// in a group of class "marks".
void WriteHtmlReport(std::ostream& out, const SQcReport& report);
