#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "driver/RunOptions.h"
#include "driver/SiteInputs.h"
#include "logbuild/Bin96Encoder.h"
#include "support/ExpectedObsText.h"
#include "support/ExpectedText.h"
#include "support/ToolRun.h"

namespace
{
// WGS 84 from its defining a and 1/f, apart from the converter's own geodesy.
std::vector<double> EcefOf(double latDeg, double lonDeg, double height)
{
    const double e2 = (2.0 - 1.0 / 298.257223563) / 298.257223563;
    const double lat = latDeg * std::numbers::pi / 180.0;
    const double lon = lonDeg * std::numbers::pi / 180.0;
    const double n = 6378137.0 / std::sqrt(1.0 - e2 * std::sin(lat) * std::sin(lat));
    return {(n + height) * std::cos(lat) * std::cos(lon), (n + height) * std::cos(lat) * std::sin(lon),
            (n * (1.0 - e2) + height) * std::sin(lat)};
}

// An APPROX POSITION XYZ line, of the header or of a marker block, at the place given in degrees.
void ExpectPositionLine(const std::string& line, double latDeg, double lonDeg, double height)
{
    ASSERT_EQ(line.size(), 81u) << line;
    EXPECT_EQ(line.substr(42), std::string(18, ' ') + "APPROX POSITION XYZ \n");
    const std::vector<double> xyz = EcefOf(latDeg, lonDeg, height);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(std::stod(line.substr(14 * i, 14)), xyz[i], 1e-3) << line;
}

// Texts left-aligned in columns of the given widths, then a line feed.
std::string Cols(std::initializer_list<std::pair<std::string, size_t>> columns)
{
    std::string line;
    for (const auto& [text, width] : columns)
        line += text + std::string(width - text.size(), ' ');
    return line + "\n";
}

// A header whose site lines stand in place of the default ones.
std::string SiteHeader(const std::string& position, const std::string& observer, const std::string& names,
                       const std::string& receiver, const std::string& antenna, const std::string& delta)
{
    SHeaderParts parts;
    parts.m_szPosition = position;
    std::string text = HeaderText(parts);
    for (const auto& [from, to] : {std::pair{kObserver, observer}, {kMarkerName, names}, {kReceiver, receiver},
                                   {kAntenna, antenna}, {kAntennaDelta, delta}})
        text.replace(text.find(from), from.size(), to); // throws, and fails the test, when a line is missing
    return text;
}

std::string LineWith(const std::string& text, const std::string& part)
{
    for (const std::string& line : LinesOf(text))
        if (line.find(part) != std::string::npos)
            return line;
    return "";
}

// One epoch with one satellite at second 100 of week 2111 plus `offset`.
Bytes Epoch(double offset = 0.0)
{
    return MakeBin96Frame(2111, 100.0 + offset,
                          {{.m_uPrn = 5, .m_uSnrRaw = 50, .m_dPseudorange = 21000000.5, .m_dPhase = 21000000.25}});
}

Bytes Gga(const std::string& lat, const std::string& lon, int quality)
{
    return MakeSentence("$GPGGA,120000.00," + lat + "," + lon + "," + std::to_string(quality) +
                        ",08,0.9,40.0,M,10.0,M,,*47\r\n");
}

// A run in a folder holding "in.log" and `files`; returns the observation
// file "obs" with its run date masked, and keeps what the tool printed.
std::string ObsOf(const Bytes& log, const std::vector<std::string>& args,
                  const std::vector<std::pair<std::string, std::string>>& files = {}, SToolRun* run = nullptr)
{
    CScratchDir dir;
    dir.WriteFile("in.log", log);
    for (const auto& [name, content] : files)
        dir.WriteFile(name, content);
    const SToolRun done = RunObsforgeTool(args, dir.Dir());
    if (run != nullptr)
        *run = done;
    return MaskRunDate(dir.ReadFile("obs"));
}

std::string HeaderOf(const std::string& obs)
{
    return obs.substr(0, obs.find(kEndOfHeader) + kEndOfHeader.size());
}
} // namespace

TEST(SiteInputs, SplitFieldsJoinsAnEmptyFieldWithTheNextAndStopsAtTheLineEnd)
{
    char line[] = "a,,b,c\r\n";
    const char* fields[20];
    ASSERT_EQ(SplitFields(line, fields, 20), 3u);
    EXPECT_STREQ(fields[0], "a");
    EXPECT_STREQ(fields[1], ",b");
    EXPECT_STREQ(fields[2], "c");
    for (int i = 3; i < 20; ++i)
        EXPECT_STREQ(fields[i], "") << i;
}

TEST(SiteInputs, CoordinatesAreDegreesAndMinutesSignedByTheirLetter)
{
    EXPECT_NEAR(ParseLatitude("3346.000", "S"), -(33.0 + 46.0 / 60.0), 1e-12);
    EXPECT_NEAR(ParseLatitude("0530.5", "N"), 5.0 + 30.5 / 60.0, 1e-12);
    EXPECT_EQ(ParseLatitude("3346.000", "X"), 0.0);
    EXPECT_NEAR(ParseLongitude("15112.600", "W"), -(151.0 + 12.6 / 60.0), 1e-12);
    EXPECT_EQ(ParseLongitude("15112.600", "N"), 0.0);
}

TEST(SiteInputs, LocationComesFromTheTextOrTheFirstLineOfAFileAndAFailureKeepsTheOldOne)
{
    CScratchDir dir;
    dir.WriteFile("two", std::string("1,2,3\nnot a location\n"));
    dir.WriteFile("blank", std::string("1 2\n"));
    SRunOptions options;
    struct SCase
    {
        std::string m_szText;
        double m_aLlh[3];
    };
    for (const SCase& c : {SCase{"51.5,-0.1", {51.5, -0.1, 0.0}}, SCase{"51.5,-0.1,45.2", {51.5, -0.1, 45.2}},
                           SCase{"51.5 -0.1 45.2", {51.5, -0.1, 45.2}}, SCase{dir.Path("two"), {1, 2, 3}},
                           SCase{dir.Path("blank"), {1, 2, 0}}})
    {
        options = SRunOptions{};
        ReadLocation(c.m_szText.c_str(), options);
        ASSERT_TRUE(options.m_bHaveLocation) << c.m_szText;
        EXPECT_NEAR(options.m_aLocationLlh[0], c.m_aLlh[0] * std::numbers::pi / 180.0, 1e-12) << c.m_szText;
        EXPECT_NEAR(options.m_aLocationLlh[1], c.m_aLlh[1] * std::numbers::pi / 180.0, 1e-12) << c.m_szText;
        EXPECT_EQ(options.m_aLocationLlh[2], c.m_aLlh[2]) << c.m_szText;
    }
    ReadLocation("no numbers here", options);
    EXPECT_EQ(options.m_aLocationLlh[2], 0.0);
    EXPECT_NEAR(options.m_aLocationLlh[1], 2.0 * std::numbers::pi / 180.0, 1e-12);
}

TEST(SiteInputs, LocationOptionGivesThePositionLineInsteadOfTheComment)
{
    // The second case names a file whose name reads as a location itself.
    for (const auto& [arg, llh] : std::vector<std::pair<std::string, std::vector<double>>>{
             {"-L:-33.75,151.25,40", {-33.75, 151.25, 40.0}}, {"-L:10,20", {30.0, 40.0, 50.0}}})
    {
        const std::string header = HeaderOf(ObsOf(Epoch(), {arg, "in.log", "obs"}, {{"10,20", "30,40,50\n"}}));
        const std::string position = LineWith(header, "APPROX POSITION XYZ");
        ExpectPositionLine(position, llh[0], llh[1], llh[2]);
        SHeaderParts parts;
        parts.m_szPosition = position;
        EXPECT_EQ(header, HeaderText(parts)) << arg;
    }
}

TEST(SiteInputs, HeaderFileLinesReplaceTheDefaultSiteLinesByTheirLabelInColumn61)
{
    const std::string name = Cols({{"PILLAR 3", 60}, {"MARKER NAME", 20}});
    const std::string number = Cols({{"P3", 60}, {"MARKER NUMBER", 20}});
    const std::string observer = Cols({{"ME", 20}, {"US", 40}, {"OBSERVER / AGENCY", 20}});
    const std::string receiver = Cols({{"77", 20}, {"RX", 20}, {"1.0", 20}, {"REC # / TYPE / VERS", 20}});
    const std::string position =
        Cols({{"  1111111.0000  2222222.0000  3333333.0000", 60}, {"APPROX POSITION XYZ", 20}});
    const std::string antenna = Cols({{"9", 20}, {"CHOKE", 40}, {"ANT # / TYPE", 20}});
    const std::string delta = Cols({{"1.5", 20}, {"0.1", 20}, {"0.2", 20}, {"ANTENNA: DELTA H/E/N", 20}});
    // Not taken: the earlier of two lines of a label, and behind the lines
    // that count, a line too short for a label and labels in lower case or one column late.
    const std::string file = Cols({{"FIRST", 60}, {"MARKER NAME", 20}}) + delta + antenna + position + receiver +
                             observer + number + name + "SHORT MARKER NUMBER\n" +
                             Cols({{"LOWER", 60}, {"marker number", 20}}) + Cols({{"LATE", 61}, {"ANT # / TYPE", 19}});

    EXPECT_EQ(HeaderOf(ObsOf(Epoch(), {"-H:hdr", "in.log", "obs"}, {{"hdr", file}})),
              SiteHeader(position, observer, name + number, receiver, antenna, delta));

    // A file of one line, its label not padded and ended by CR LF, changes
    // that line alone; every other line stays the tool's own.
    const std::string header =
        HeaderOf(ObsOf(Epoch(), {"-H:one", "in.log", "obs"}, {{"one", "PILLAR 3" + std::string(52, ' ') + "MARKER NAME\r\n"}}));
    std::string expected = HeaderText(SHeaderParts{});
    expected.replace(expected.find(kMarkerName), kMarkerName.size(), name);
    EXPECT_EQ(header, expected);
}

TEST(SiteInputs, SiteRecordsOfTheLogMakeTheHeaderOnlyWithROptionInFrontOfTheInput)
{
    Bytes log = MakeSentence("$>JSITERECORD,OLD,9.9,a,b,OLDANT,Stationary\r\n");
    for (const Bytes& piece : {Epoch(), Gga("1000.000,N", "02000.000,E", 0), Gga("3346.000,S", "15112.600,E", 1),
                               Gga("1000.000,N", "02000.000,E", 1),
                               MakeSentence("$>JSITERECORD,SITE7,1.2345,a,b,ANT-X,Moving\r\n"),
                               MakeSentence("$>JI,RCV123,a,b,c,d,e,2.5.1\r\n"), MakeSentence("$>JT,MERIDOR-X\r\n"),
                               MakeSentence("$>JAPP,FIELDAPP\r\n"), MakeSentence("$>JVERSION,V610B\r\n")})
        AppendBytes(log, piece);

    const std::string obs = ObsOf(log, {"-R", "in.log", "obs"});
    const std::string header = HeaderOf(obs);
    const std::string position = LineWith(header, "APPROX POSITION XYZ");
    ExpectPositionLine(position, -(33.0 + 46.0 / 60.0), 151.0 + 12.6 / 60.0, 50.0);
    EXPECT_EQ(header,
              SiteHeader(position, Cols({{"OBSERVER", 20}, {"COMPANY", 40}, {"OBSERVER / AGENCY", 20}}),
                         Cols({{"SITE7", 60}, {"MARKER NAME", 20}}) + Cols({{"SITE#", 60}, {"MARKER NUMBER", 20}}),
                         Cols({{"RCV123", 20}, {"MERIDOR-X", 20}, {"FIELDAPP_2.5.1", 20}, {"REC # / TYPE / VERS", 20}}),
                         Cols({{"", 20}, {"TLWV610         NONE", 40}, {"ANT # / TYPE", 20}}),
                         "        1.2345        0.0000        0.0000                  ANTENNA: DELTA H/E/N\n"));
    // Only the first record's mode counts: no moving records behind the header.
    EXPECT_EQ(obs.substr(header.size(), 7), "> 2020 ");

    EXPECT_EQ(HeaderOf(ObsOf(log, {"in.log", "-R", "obs"})), HeaderText(SHeaderParts{}));

    // A record saying "moving", in any case, puts the moving records right behind the header.
    Bytes moving = MakeSentence("$>JSITERECORD,S,0.0,a,b,ANT,moving\r\n");
    AppendBytes(moving, Epoch());
    const std::string movingObs = ObsOf(moving, {"-R", "in.log", "obs"});
    const std::string records = ">                              2\n>                              4  1\n" +
                                Cols({{" *** START MOVING ANTENNA *** ", 60}, {"COMMENT", 20}});
    EXPECT_EQ(movingObs.substr(HeaderOf(movingObs).size(), records.size()), records);
}

TEST(SiteInputs, SentencesDuringThePassFillTheMarkerBlockBehindTheFirstEpoch)
{
    Bytes log = MakeMarkerSiteFrame(1, "SITE A", "0042");
    for (const Bytes& piece : {Epoch(), Epoch(1), Gga("1000.000,N", "02000.000,E", 0), Gga("3346.000,S", "15112.600,E", 1),
                               Gga("1000.000,N", "02000.000,E", 1), Epoch(2)}) // the first valid position wins
        AppendBytes(log, piece);

    // The antenna height goes into the first F14.4 column; one that isn't a
    // number leaves the line without offsets and is told once.
    for (const auto& [height, delta] : {std::pair{"1.500", "        1.5000"}, {"1.5m", "        0.0000"}})
    {
        Bytes twice = log;
        AppendBytes(twice, MakeSentence(std::string("$>JSITERECORD,SITE A,") + height + ",a,b,ANT,Stationary\r\n"));
        AppendBytes(twice, MakeSentence(std::string("$>JSITERECORD,SITE A,") + height + ",a,b,ANT,Stationary\r\n"));
        SToolRun run;
        const std::vector<std::string> lines = LinesOf(ObsOf(twice, {"in.log", "obs"}, {}, &run));
        size_t end = 0;
        while (end < lines.size() && lines[end].find("*** START NEW MARKER ***") == std::string::npos)
            ++end;
        ASSERT_LT(end, lines.size());
        EXPECT_EQ(lines[end - 2], delta + std::string("        0.0000        0.0000                  ANTENNA: DELTA H/E/N\n"));
        ExpectPositionLine(lines[end - 1], -(33.0 + 46.0 / 60.0), 151.0 + 12.6 / 60.0, 50.0);
        const size_t told = run.m_szStderr.find("is not a number");
        EXPECT_EQ(told != std::string::npos, std::string(height) == "1.5m") << run.m_szStderr;
        EXPECT_EQ(run.m_szStderr.find("is not a number", told + 1), std::string::npos) << "told once";
    }
}
