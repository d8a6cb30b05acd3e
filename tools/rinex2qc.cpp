// rinex2qc: writes the quality report (report.html, report.csv, report.json)
// of a RINEX 3 observation file with its broadcast navigation file, through
// the same analysis a log's report goes through. For trying the report on
// station data and for the report's page tests; it reads no log.
//
// usage: rinex2qc [-o DIR] [-E:mask] [-L:lat,lon,hgt | -A] OBS NAV
//   -A takes the observation file's APPROX POSITION XYZ as the site.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "qc/CsvReport.h"
#include "qc/HtmlReport.h"
#include "qc/JsonReport.h"
#include "qc/PointPosition.h"
#include "qcfeed/RinexQcFeed.h"

namespace
{
int Usage()
{
    std::fprintf(stderr, "usage: rinex2qc [-o DIR] [-E:mask] [-L:lat,lon,hgt | -A] OBS NAV\n");
    return 2;
}

bool WriteFile(const std::filesystem::path& path, void (*write)(std::ostream&, const SQcReport&), const SQcReport& r)
{
    std::ofstream out(path, std::ios::binary);
    write(out, r);
    return static_cast<bool>(out);
}
} // namespace

int main(int argc, char** argv)
{
    std::string folder = ".";
    SQcOptions options;
    bool approx = false;
    std::string files[2];
    int fileCount = 0;
    for (int i = 1; i < argc; ++i)
    {
        const std::string arg = argv[i];
        if (arg == "-o" && i + 1 < argc)
            folder = argv[++i];
        else if (arg.rfind("-E:", 0) == 0)
        {
            options.m_bElevationMask = true;
            options.m_dElevationMask = std::atof(arg.c_str() + 3);
        }
        else if (arg.rfind("-L:", 0) == 0)
        {
            options.m_bHaveLocation =
                std::sscanf(arg.c_str() + 3, "%lf,%lf,%lf", &options.m_adLocation[0], &options.m_adLocation[1],
                            &options.m_adLocation[2]) >= 2;
            if (!options.m_bHaveLocation)
                return Usage();
        }
        else if (arg == "-A")
            approx = true;
        else if (!arg.empty() && arg[0] != '-' && fileCount < 2)
            files[fileCount++] = arg;
        else
            return Usage();
    }
    if (fileCount != 2)
        return Usage();

    SQcFeedData data;
    std::string error;
    if (!LoadFeedData(files[0], data, error))
    {
        std::fprintf(stderr, "rinex2qc: %s: %s\n", files[0].c_str(), error.c_str());
        return 1;
    }
    CRinexGeometry geometry;
    if (!geometry.Load(files[1], error))
    {
        std::fprintf(stderr, "rinex2qc: %s: %s\n", files[1].c_str(), error.c_str());
        return 1;
    }
    if (approx && data.m_Header.m_bHaveApproxXyz)
    {
        options.m_bHaveLocation = true;
        EcefToGeodetic(data.m_Header.m_adApproxXyz.data(), options.m_adLocation);
    }
    options.m_szLogName = std::filesystem::path(files[0]).filename().string();

    CQcAnalysis analysis(options, &geometry);
    FeedAnalysis(analysis, data, geometry.Arrivals());
    SQcReport report;
    analysis.BuildReport(report);

    std::filesystem::create_directories(folder);
    const std::filesystem::path dir(folder);
    if (!WriteFile(dir / "report.html", WriteHtmlReport, report) || !WriteFile(dir / "report.csv", WriteCsvReport, report) ||
        !WriteFile(dir / "report.json", WriteJsonReport, report))
    {
        std::fprintf(stderr, "rinex2qc: can't write the report in %s\n", folder.c_str());
        return 1;
    }
    std::printf("%s\n%s\n", FormatSummaryHeader().c_str(), FormatSummaryLine(report).c_str());
    return 0;
}
