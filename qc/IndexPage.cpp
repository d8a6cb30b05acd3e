#include "qc/IndexPage.h"

#include "qc/QcSignals.h"
#include "qc/SvgPlot.h"

void WriteIndexPage(std::ostream& out, const std::vector<SQcIndexEntry>& entries)
{
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>Quality reports</title>\n"
           "<style>body{font-family:\"DejaVu Sans\",Arial,sans-serif;margin:16px}table{border-collapse:collapse;"
           "font-size:.85em}th,td{border:1px solid #bbb;padding:3px 7px;text-align:right}th{background:#eef1f5}"
           "td.l{text-align:left}pre{margin:0}</style>\n</head>\n<body>\n<h1>Quality reports</h1>\n"
           "<table><tr><th>Log</th><th>First epoch</th><th>Hours</th><th>Interval (s)</th><th>Completeness (%)</th>"
           "<th>MP1 (m)</th><th>MP2 (m)</th><th>Obs per slip</th><th>Clock jumps</th><th>Damaged bytes</th>"
           "<th>Dropped obs</th></tr>\n";
    for (const SQcIndexEntry& e : entries)
    {
        const SQcSummary& s = e.m_Report.m_Summary;
        out << "<tr><td class=\"l\"><a href=\"" << EscapeXml(e.m_szFolder) << "/report.html\">"
            << EscapeXml(e.m_Report.m_Options.m_szLogName.empty() ? e.m_szFolder : e.m_Report.m_Options.m_szLogName)
            << "</a></td><td class=\"l\">" << FormatQcTime(s.m_dFirst) << "</td><td>" << FormatNumber(s.m_dHours, 2)
            << "</td><td>" << FormatNumber(s.m_dInterval, 2) << "</td><td>"
            << (s.m_bHaveCompleteness ? FormatNumber(s.m_dCompleteness, 1) : "-") << "</td><td>"
            << (s.m_bHaveMp1 ? FormatNumber(s.m_dMp1, 2) : "-") << "</td><td>"
            << (s.m_bHaveMp2 ? FormatNumber(s.m_dMp2, 2) : "-") << "</td><td>"
            << (s.m_uSlips > 0 ? std::to_string(s.m_uObservations / s.m_uSlips) : "-") << "</td><td>"
            << e.m_Report.m_uClockJumps << "</td><td>" << e.m_Report.m_uDamagedBytes << "</td><td>"
            << e.m_Report.m_DropTotals.Dropped() << "</td></tr>\n";
    }
    out << "</table>\n<pre>";
    for (const SQcIndexEntry& e : entries)
        out << EscapeXml(FormatSummaryLine(e.m_Report)) << "  " << EscapeXml(e.m_szFolder) << "\n";
    out << "</pre>\n</body>\n</html>\n";
}
