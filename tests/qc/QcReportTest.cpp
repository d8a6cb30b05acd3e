// The report's files: the page is self-contained, puts the summary and the
// plots before the tables, draws every plot with marks, axis titles and a
// legend, and colours its lights by the limits it states; the CSV has one row
// per satellite and signal, the JSON and the index carry the summary; and a
// long log keeps a bounded number of points per series.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <regex>
#include <sstream>

#include "qc/CsvReport.h"
#include "qc/HtmlReport.h"
#include "qc/IndexPage.h"
#include "qc/JsonReport.h"
#include "qc/QcSignals.h"
#include "qc/QcTestData.h"
#include "qc/TimeAxis.h"

namespace
{
const SQcReport& StationReport()
{
    static const SQcReport report = [] {
        SQcOptions options;
        options.m_szLogName = "ESBC <station> & \"data\"";
        return ReportOf(StationData().m_Data, options);
    }();
    return report;
}

std::string PageOf(const SQcReport& report)
{
    std::ostringstream out;
    WriteHtmlReport(out, report);
    return out.str();
}

// The text from `from` up to `to` after it, from `at` on; empty when either is missing.
std::string Between(const std::string& text, const std::string& from, const std::string& to, size_t at = 0)
{
    const size_t begin = text.find(from, at);
    if (begin == std::string::npos)
        return "";
    const size_t end = text.find(to, begin);
    return end == std::string::npos ? "" : text.substr(begin, end - begin);
}

size_t CountOf(const std::string& text, const std::string& what)
{
    size_t count = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + what.size()))
        ++count;
    return count;
}

// The text a reader sees: tags dropped, the escapes the page uses undone.
std::string Visible(const std::string& html)
{
    std::string text = std::regex_replace(html, std::regex("<[^>]*>"), "");
    for (const auto& [escaped, plain] : {std::pair<const char*, const char*>{"&lt;", "<"}, {"&gt;", ">"}, {"&amp;", "&"}})
        text = std::regex_replace(text, std::regex(escaped), plain);
    return text;
}

// The figure of the plot `id`.
std::string FigureOf(const std::string& html, const std::string& id)
{
    const size_t at = html.find("id=\"" + id + "\"");
    return at == std::string::npos ? "" : Between(html, "<figure", "</figure>", html.rfind("<figure", at));
}

struct SCell
{
    std::string m_szClass;
    std::string m_szText;
};

std::vector<SCell> CellsOf(const std::string& row)
{
    static const std::regex cell("<t[dh]([^>]*)>(.*?)</t[dh]>");
    static const std::regex cls("class=\"([^\"]*)\"");
    std::vector<SCell> cells;
    for (auto it = std::sregex_iterator(row.begin(), row.end(), cell); it != std::sregex_iterator(); ++it)
    {
        std::smatch c;
        const std::string attributes = (*it)[1];
        cells.push_back({std::regex_search(attributes, c, cls) ? c[1].str() : "", Visible((*it)[2])});
    }
    return cells;
}

std::vector<std::string> RowsOf(const std::string& table)
{
    std::vector<std::string> rows;
    static const std::regex row("<tr[^>]*>(.*?)</tr>");
    for (auto it = std::sregex_iterator(table.begin(), table.end(), row); it != std::sregex_iterator(); ++it)
        rows.push_back((*it)[1]);
    return rows;
}

const char* const kPlots[] = {"plot-timeline", "plot-sky", "plot-strength", "plot-count", "plot-multipath",
                              "plot-intervals"};

TEST(QcReportPage, IsSelfContained)
{
    const std::string html = PageOf(StationReport());
    for (const char* outside : {"http", "src=", "url(", "@import", "<script", "<link", "<iframe", "<object"})
        EXPECT_EQ(html.find(outside), std::string::npos) << outside;
    EXPECT_NE(html.find("ESBC &lt;station&gt; &amp; &quot;data&quot;"), std::string::npos);
    EXPECT_NE(html.find(FormatSummaryLine(StationReport())), std::string::npos);
}

// Every plot, of a full report and of an empty one: drawn marks where there
// is data, two axis titles that name their units, a legend, and no number
// that isn't one.
TEST(QcReportPage, EveryPlotHasMarksAxisTitlesAndALegend)
{
    const struct
    {
        const char* m_szName;
        SQcReport m_Report;
        bool m_bMarks;
    } kCases[] = {{"station data", StationReport(), true}, {"empty report", SQcReport{}, false}};
    const std::regex mark("<(rect|circle|polyline|path|line) ");
    const std::regex axisTitle("<text[^>]*class=\"axis-title\"[^>]*>([^<]*)</text>");
    const std::regex unit(".+\\([^)]+\\).*");
    for (const auto& c : kCases)
    {
        const std::string html = PageOf(c.m_Report);
        EXPECT_FALSE(std::regex_search(html, std::regex("=\"-?(nan|inf)"))) << c.m_szName;
        for (const char* id : kPlots)
        {
            SCOPED_TRACE(std::string(c.m_szName) + ", " + id);
            const std::string figure = FigureOf(html, id);
            ASSERT_FALSE(figure.empty());
            EXPECT_NE(figure.find("<figcaption>"), std::string::npos);
            const std::string marks = Between(figure, "<g class=\"marks\">", "</g>");
            ASSERT_FALSE(marks.empty());
            if (c.m_bMarks)
            {
                EXPECT_GE(std::distance(std::sregex_iterator(marks.begin(), marks.end(), mark), std::sregex_iterator()), 1);
            }
            const std::string legend = Between(figure, "<g class=\"legend\">", "</g>");
            EXPECT_GE(CountOf(legend, "<text"), 1u);
            std::vector<std::string> titles;
            for (auto it = std::sregex_iterator(figure.begin(), figure.end(), axisTitle); it != std::sregex_iterator(); ++it)
                titles.push_back((*it)[1]);
            ASSERT_EQ(titles.size(), 2u);
            for (const std::string& title : titles)
                EXPECT_TRUE(std::regex_match(title, unit)) << title;
        }
    }
}

// The order a reader meets: the summary line, the plots, then the tables;
// and a table longer than a screen sits in a section that folds away.
TEST(QcReportPage, SummaryThenPlotsThenFoldingTables)
{
    const std::string html = PageOf(StationReport());
    const size_t summary = html.find("<pre class=\"sum\"");
    const size_t firstPlot = html.find("<figure");
    const size_t lastPlot = html.rfind("</figure>");
    ASSERT_NE(summary, std::string::npos);
    ASSERT_NE(firstPlot, std::string::npos);
    EXPECT_LT(summary, firstPlot);
    EXPECT_LT(lastPlot, html.find("<table"));
    EXPECT_LT(lastPlot, html.find("<details"));
    size_t longTables = 0;
    for (size_t at = html.find("<table"); at != std::string::npos; at = html.find("<table", at + 1))
    {
        const std::string table = Between(html, "<table", "</table>", at);
        if (CountOf(table, "<tr") <= 25)
            continue;
        ++longTables;
        const size_t section = html.rfind("<details", at);
        ASSERT_NE(section, std::string::npos) << table.substr(0, 40);
        EXPECT_EQ(html.find("</details>", section), html.find("</details>", at)) << table.substr(0, 40);
    }
    EXPECT_GE(longTables, 2u);
}

// The lights of the per-satellite table against the limits the page states
// beside it: each coloured cell's value lies in its colour's range, and each
// carries its colour's symbol for print and for colour-blind readers.
TEST(QcReportPage, LightsAgreeWithTheStatedLimits)
{
    const std::string html = PageOf(StationReport());
    const std::vector<std::string> limitRows = RowsOf(Between(html, "<table class=\"limits\"", "</table>"));
    const std::vector<std::string> tableRows = RowsOf(Between(html, "<table id=\"table-signals\"", "</table>"));
    ASSERT_EQ(limitRows.size(), 5u);
    ASSERT_GT(tableRows.size(), 1u);
    std::vector<std::string> header;
    for (const SCell& cell : CellsOf(tableRows[0]))
        header.push_back(cell.m_szText);
    const std::map<std::string, std::string> kSymbol = {{"g", "\u2713"}, {"a", "!"}, {"r", "\u2717"}};
    std::map<std::string, size_t> checked;
    for (size_t l = 1; l < limitRows.size(); ++l)
    {
        const std::vector<SCell> limit = CellsOf(limitRows[l]);
        ASSERT_EQ(limit.size(), 4u);
        SCOPED_TRACE(limit[0].m_szText);
        const bool highIsGood = limit[1].m_szText.rfind("\u2265", 0) == 0;
        const double green = std::stod(limit[1].m_szText.substr(limit[1].m_szText.find(' ') + 1));
        const double amber = std::stod(limit[3].m_szText.substr(limit[3].m_szText.find(' ') + 1));
        EXPECT_EQ(highIsGood ? green > amber : green < amber, true);
        const auto column = std::find(header.begin(), header.end(), limit[0].m_szText);
        ASSERT_NE(column, header.end());
        const size_t index = static_cast<size_t>(column - header.begin());
        for (size_t r = 1; r < tableRows.size(); ++r)
        {
            const std::vector<SCell> cells = CellsOf(tableRows[r]);
            ASSERT_EQ(cells.size(), header.size());
            const SCell& cell = cells[index];
            if (cell.m_szClass.empty())
            {
                EXPECT_EQ(cell.m_szText, "-") << tableRows[r];
                continue;
            }
            ASSERT_EQ(kSymbol.count(cell.m_szClass), 1u) << tableRows[r];
            const std::string& symbol = kSymbol.at(cell.m_szClass);
            ASSERT_EQ(cell.m_szText.rfind(symbol, 0), 0u) << tableRows[r];
            const std::string number = cell.m_szText.substr(symbol.size());
            const double value = std::stod(number);
            // A value shown rounded onto a limit may lie on either side of it.
            const size_t point = number.find('.');
            const double half = 0.5 * std::pow(10.0, -static_cast<double>(point == std::string::npos ? 0 : number.size() - point - 1));
            if (std::fabs(value - green) <= half || std::fabs(value - amber) <= half)
                continue;
            const bool good = highIsGood ? value >= green : value <= green;
            const bool fair = highIsGood ? value >= amber : value <= amber;
            EXPECT_EQ(cell.m_szClass, good ? "g" : fair ? "a" : "r") << tableRows[r];
            ++checked[cell.m_szClass];
        }
    }
    for (const char* light : {"g", "a", "r"})
        EXPECT_GT(checked[light], 0u) << light;
}

// The timeline marks every loss of lock, slip and clock jump of the report,
// in its marks, and its legend counts them.
TEST(QcReportPage, TimelineMarksLossOfLockSlipsAndClockJumps)
{
    const struct
    {
        const char* m_szName;
        void (*m_pApply)(SQcReport&);
        size_t m_auExpected[3]; // loss of lock, slips, clock jumps
    } kCases[] = {
        {"none", [](SQcReport&) {}, {0, 0, 0}},
        {"loss of lock",
         [](SQcReport& r) {
             for (size_t i = 0; i < 3; ++i)
                 r.m_aSatellites.at(i).m_aCells.at(i).m_uLossOfLock = 1;
         },
         {3, 0, 0}},
        {"slips",
         [](SQcReport& r) {
             r.m_aSatellites.at(0).m_aCells.at(5).m_uSlips = 2;
             r.m_aSatellites.back().m_aCells.back().m_uSlips = 1;
         },
         {0, 2, 0}},
        {"clock jumps",
         [](SQcReport& r) {
             for (double after : {600.0, 3000.0})
             {
                 SQcClockJump jump;
                 jump.m_dSeconds = r.m_dAxisStart + after;
                 jump.m_iMilliseconds = 1;
                 r.m_aFirstClockJumps.push_back(jump);
             }
             r.m_uClockJumps = 2;
         },
         {0, 0, 2}},
    };
    const char* const kClass[] = {"lol", "slip", "jump"};
    const char* const kLegend[] = {"loss of lock", "slip found", "clock jump"};
    for (const auto& c : kCases)
    {
        SCOPED_TRACE(c.m_szName);
        SQcReport report = StationReport();
        c.m_pApply(report);
        const std::string html = PageOf(report);
        const std::string figure = FigureOf(html, "plot-timeline");
        const std::string marks = Between(figure, "<g class=\"marks\">", "</g>");
        const std::string legend = Between(figure, "<g class=\"legend\">", "</g>");
        for (size_t k = 0; k < 3; ++k)
        {
            EXPECT_EQ(CountOf(marks, std::string("class=\"") + kClass[k] + "\""), c.m_auExpected[k]) << kClass[k];
            EXPECT_NE(legend.find(std::string(kLegend[k]) + " (" + std::to_string(c.m_auExpected[k]) + ")"),
                      std::string::npos)
                << kLegend[k];
        }
    }
}

TEST(QcReportFiles, CsvHasOneRowPerSatelliteAndSignal)
{
    std::ostringstream out;
    WriteCsvReport(out, StationReport());
    std::istringstream in(out.str());
    std::string line;
    std::getline(in, line);
    const auto columns = std::count(line.begin(), line.end(), ',');
    size_t rows = 0;
    while (std::getline(in, line))
    {
        EXPECT_EQ(std::count(line.begin(), line.end(), ','), columns) << line;
        const SQcSignalRow& row = StationReport().m_aRows.at(rows);
        EXPECT_EQ(line.rfind(SatelliteName(row.m_uSystem, row.m_uNumber) + "," + kQcSignals[row.m_uSignal].m_szLabel, 0), 0u);
        ++rows;
    }
    EXPECT_EQ(rows, StationReport().m_aRows.size());
}

TEST(QcReportFiles, JsonAndIndexCarryTheSummary)
{
    std::ostringstream json;
    WriteJsonReport(json, StationReport());
    const std::string text = json.str();
    EXPECT_EQ(std::count(text.begin(), text.end(), '{'), std::count(text.begin(), text.end(), '}'));
    EXPECT_EQ(std::count(text.begin(), text.end(), '['), std::count(text.begin(), text.end(), ']'));
    EXPECT_NE(text.find("\"line\":\"" + FormatSummaryLine(StationReport()) + "\""), std::string::npos);
    EXPECT_NE(text.find("\"log\":\"ESBC <station> & \\\"data\\\"\""), std::string::npos);

    std::ostringstream index;
    WriteIndexPage(index, {SQcIndexEntry{"day1", StationReport()}, SQcIndexEntry{"day2", StationReport()}});
    const std::string page = index.str();
    EXPECT_NE(page.find("href=\"day1/report.html\""), std::string::npos);
    EXPECT_NE(page.find("href=\"day2/report.html\""), std::string::npos);
    EXPECT_EQ(page.find("http"), std::string::npos);
}

// Three days at 5 s of four satellites: every series stays within the axis's buckets.
TEST(QcReportFiles, LongLogKeepsBoundedSeries)
{
    CQcAnalysis analysis(SQcOptions{});
    const double start = 2111 * kSecondsPerWeek;
    const size_t epochs = 3 * 86400 / 5;
    for (size_t e = 0; e < epochs; ++e)
    {
        analysis.BeginEpoch(QcGpsTime(start + 5.0 * e));
        for (uint32_t n = 1; n <= 4; ++n)
        {
            SQcObservation obs;
            obs.m_uNumber = n;
            obs.m_bHaveCode = true;
            obs.m_dCode = 2.2e7 + 100.0 * e;
            obs.m_bHaveStrength = true;
            obs.m_dStrength = 45.0;
            obs.m_bHaveAngles = true;
            obs.m_dElevation = 40.0;
            obs.m_dAzimuth = 90.0 * n;
            analysis.AddObservation(obs);
        }
        analysis.EndEpoch();
    }
    SQcReport report;
    analysis.BuildReport(report);
    EXPECT_LE(report.m_uAxisBuckets, kQcAxisBuckets);
    EXPECT_GT(report.m_uAxisBuckets, kQcAxisBuckets / 2);
    EXPECT_LE(report.m_auEpochsPerBucket.size(), kQcAxisBuckets);
    uint64_t counted = 0;
    for (uint32_t n : report.m_auEpochsPerBucket)
        counted += n;
    EXPECT_EQ(counted, epochs);
    ASSERT_EQ(report.m_aSatellites.size(), 4u);
    for (const SQcSatellitePlot& sat : report.m_aSatellites)
    {
        EXPECT_LE(sat.m_aTrack.size(), kQcAxisBuckets);
        EXPECT_LE(sat.m_aCells.size(), kQcAxisBuckets);
    }
    EXPECT_EQ(report.m_aRows.at(0).m_Counts.m_uEpochs, epochs);
}
} // namespace
