// The report of a log through obsforge-qc, against the converter's own
// files: what the report counts as written must be what the observation
// file holds, satellite by satellite and code by code, and every other
// observation of the log must have a reason.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "driver/QcCommandLine.h"
#include "support/ToolRun.h"

namespace
{
using SatCode = std::pair<std::string, std::string>; // "G05", "C1C"

std::string ReadWhole(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// The code values an observation file holds, by satellite and code, read by
// the observation types of its header.
std::map<SatCode, uint64_t> CodesInFile(const std::string& text)
{
    std::map<char, std::vector<std::string>> types;
    std::istringstream in(text);
    std::string line;
    char system = ' ';
    while (std::getline(in, line) && line.find("END OF HEADER") == std::string::npos)
    {
        if (line.size() < 80 || line.compare(60, 19, "SYS / # / OBS TYPES") != 0)
            continue;
        if (line[0] != ' ')
            system = line[0];
        for (size_t at = 7; at + 3 <= 58 && line.compare(at, 3, "   ") != 0; at += 4)
            types[system].push_back(line.substr(at, 3));
    }
    std::map<SatCode, uint64_t> counts;
    while (std::getline(in, line))
    {
        if (line.empty() || line[0] == '>' || types.count(line[0]) == 0)
            continue;
        const std::vector<std::string>& t = types[line[0]];
        for (size_t i = 0; i < t.size() && 3 + 16 * i + 14 <= line.size(); ++i)
        {
            if (t[i][0] == 'C' && std::strtod(line.substr(3 + 16 * i, 14).c_str(), nullptr) != 0.0)
                ++counts[{line.substr(0, 3), t[i]}];
        }
    }
    return counts;
}

std::vector<std::string> Split(const std::string& line)
{
    std::vector<std::string> fields;
    std::istringstream in(line);
    for (std::string f; std::getline(in, f, ',');)
        fields.push_back(f);
    return fields;
}

struct SReportCounts
{
    std::map<SatCode, uint64_t> m_Written;
    std::vector<std::string> m_aNotAddingUp;
};

// The written column of report.csv, and the rows whose reasons don't add up
// to the observations in the log.
SReportCounts CountsInReport(const std::string& csv)
{
    SReportCounts r;
    std::istringstream in(csv);
    std::string line;
    std::getline(in, line);
    const std::vector<std::string> head = Split(line);
    size_t inLog = 0, written = 0, firstLight = 0;
    for (size_t i = 0; i < head.size(); ++i)
    {
        if (head[i] == "in_log")
            inLog = i;
        else if (head[i] == "written")
            written = i;
        else if (head[i].rfind("light_", 0) == 0 && firstLight == 0)
            firstLight = i;
    }
    while (std::getline(in, line))
    {
        const std::vector<std::string> f = Split(line);
        if (f.size() <= firstLight)
            continue;
        uint64_t sum = 0;
        for (size_t i = written; i < firstLight; ++i)
            sum += std::strtoull(f[i].c_str(), nullptr, 10);
        if (sum != std::strtoull(f[inLog].c_str(), nullptr, 10))
            r.m_aNotAddingUp.push_back(line);
        const uint64_t n = std::strtoull(f[written].c_str(), nullptr, 10);
        if (n != 0)
            r.m_Written[{f[0], f[2]}] += n;
    }
    return r;
}

// The converter's options of a golden case: the words of its command line
// that the report takes too.
std::vector<std::string> ReportOptions(const std::string& args)
{
    std::vector<std::string> options;
    std::istringstream in(args);
    for (std::string word; in >> word;)
    {
        if (word[0] == '-' && std::string("ELNBP").find(word[1]) != std::string::npos)
            options.push_back(word);
    }
    return options;
}
} // namespace

// The golden cases cover GPS alone and mixed logs, BIN96 and BIN76, raw and
// decoded BeiDou, -N, -E with -B and a location, -P1 and a damaged log.
TEST(QcLogReport, WrittenObservationsAreThoseOfTheConvertersFileAndEveryOtherHasAReason)
{
    const std::string golden = GOLDEN_CASES_DIR;
    for (const char* name : {"gps-l1", "gps-dual", "mixed-raw-beidou", "mixed-decoded-beidou", "decimation",
                             "elevation-mask", "damaged", "synthetic-week-leap", "synthetic-header-growth", "sample"})
    {
        SCOPED_TRACE(name);
        const std::string dir = golden + "/" + name;
        const CScratchDir out;
        std::vector<std::string> words{"obsforge-qc"};
        for (const std::string& option : ReportOptions(ReadWhole(dir + "/args")))
            words.push_back(option);
        words.insert(words.end(), {"-o", out.Dir(), dir + "/input.log"});
        std::vector<const char*> argv;
        for (const std::string& w : words)
            argv.push_back(w.c_str());
        ASSERT_EQ(RunObsforgeQc(static_cast<int>(argv.size()), argv.data()), 0);

        const SReportCounts report = CountsInReport(out.ReadFile("report.csv"));
        EXPECT_TRUE(report.m_aNotAddingUp.empty()) << report.m_aNotAddingUp.front();
        std::string obs = ReadWhole(dir + "/expected/obs.rnx");
        if (obs.empty())
            obs = ReadWhole(dir + "/expected/sample.obs");
        const std::map<SatCode, uint64_t> inFile = CodesInFile(obs);
        ASSERT_FALSE(inFile.empty());
        EXPECT_EQ(report.m_Written, inFile);

        // Every epoch of the log once, in time order, whatever -N leaves out of the file.
        const std::string json = out.ReadFile("report.json");
        const std::string stderrText = ReadWhole(dir + "/expected/stderr");
        const size_t found = stderrText.rfind("\tObservation Epochs Found In File");
        ASSERT_NE(found, std::string::npos);
        const std::string epochs = stderrText.substr(stderrText.rfind('\n', found) + 1, found - stderrText.rfind('\n', found) - 1);
        const size_t inventory = json.find("\"inventory\":");
        const std::string expected = "\"epochs\":" + epochs + ",";
        EXPECT_EQ(json.substr(json.find("\"epochs\":", inventory), expected.size()), expected);
        EXPECT_NE(json.find("\"backward_steps\":0,", inventory), std::string::npos);
        // Records read before the first epoch arrive with the log's first time, not at time 0.
        EXPECT_EQ(json.find("1980-01-06"), std::string::npos);
    }
}
