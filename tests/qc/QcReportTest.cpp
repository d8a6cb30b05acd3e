// The report's files: the page is self-contained and every plot has marks,
// the CSV has one row per satellite and signal, the JSON and the index carry
// the summary; and a long log keeps a bounded number of points per series.
#include <gtest/gtest.h>

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

TEST(QcReportFiles, PageIsSelfContainedAndEveryPlotHasMarks)
{
    std::ostringstream out;
    WriteHtmlReport(out, StationReport());
    const std::string html = out.str();
    for (const char* outside : {"http", "src=", "url(", "@import", "<script", "<link", "<iframe", "<object"})
        EXPECT_EQ(html.find(outside), std::string::npos) << outside;
    EXPECT_NE(html.find("ESBC &lt;station&gt; &amp; &quot;data&quot;"), std::string::npos);

    const char* const kPlots[] = {"plot-intervals", "plot-timeline", "plot-sky", "plot-strength", "plot-multipath",
                                  "plot-count"};
    for (const char* id : kPlots)
    {
        const size_t at = html.find(std::string("<figure class=\"plot\" id=\"") + id + "\"");
        ASSERT_NE(at, std::string::npos) << id;
        const std::string figure = html.substr(at, html.find("</figure>", at) - at);
        const size_t marks = figure.find("<g class=\"marks\">");
        ASSERT_NE(marks, std::string::npos) << id;
        const std::string inside = figure.substr(marks, figure.find("</g>", marks) - marks);
        const std::regex mark("<(rect|circle|polyline|path|line) ");
        EXPECT_GE(std::distance(std::sregex_iterator(inside.begin(), inside.end(), mark), std::sregex_iterator()), 1)
            << id;
        EXPECT_NE(figure.find("class=\"legend\""), std::string::npos) << id;
        EXPECT_NE(figure.find("class=\"title\""), std::string::npos) << id;
    }
    EXPECT_NE(html.find(FormatSummaryLine(StationReport())), std::string::npos);
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
