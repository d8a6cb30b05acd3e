#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "driver/CommandLine.h"
#include "logbuild/BeidouEncoder.h"
#include "logbuild/Bin36Encoder.h"
#include "logbuild/Bin66Encoder.h"
#include "logbuild/Bin96Encoder.h"
#include "logbuild/GlonassEncoder.h"
#include "logbuild/GpsEphemerisEncoder.h"
#include "logbuild/IonoUtcEncoder.h"
#include "support/ExpectedObsText.h"
#include "support/ExpectedText.h"
#include "support/ToolRun.h"

namespace
{
// A log under construction together with what a run over it must print while
// it goes: the progress line is due after every delivered frame while the
// count of "$BIN" and site frames rests on a multiple of 100.
class CScriptedLog
{
public:
    // Appends bytes that deliver no frame of their own.
    void Junk(const Bytes& bytes) { AppendBytes(m_aLog, bytes); }
    void Junk(const std::string& text) { m_aLog.insert(m_aLog.end(), text.begin(), text.end()); }

    // Appends a frame that is delivered whole.
    void Frame(const Bytes& frame, bool counted)
    {
        AppendBytes(m_aLog, frame);
        Delivered(counted);
    }

    // Records a frame delivered from bytes appended by Junk (inside a damaged frame).
    void Delivered(bool counted)
    {
        if (counted)
            ++m_uCount;
        if (m_uCount % 100 == 0)
            m_szProgress += "Message Count " + std::to_string(m_uCount) + "\r";
    }

    Bytes m_aLog;
    std::string m_szProgress;
    uint32_t m_uCount = 0;
};

// A BIN96 frame with its week and seconds set and the channels empty.
Bytes Bin96(uint16_t week, double seconds)
{
    CPayloadWriter p;
    p.U16(0).U16(week).Double(seconds).Zeros(288);
    return MakeBinFrame(96, p.GetBytes());
}

// A BIN76 frame with its week and seconds set.
Bytes Bin76(uint16_t week, double seconds)
{
    CPayloadWriter p;
    p.Double(seconds).U16(week).Zeros(448 - 10);
    return MakeBinFrame(76, p.GetBytes());
}

// An observation message of GLONASS (66) or BeiDou (36) for the given seconds.
Bytes ObsForSeconds(uint16_t number, uint32_t payload, double seconds)
{
    CPayloadWriter p;
    p.Double(seconds).Zeros(payload - 8);
    return MakeBinFrame(number, p.GetBytes());
}

struct SConversion
{
    SToolRun m_Run;
    std::string m_szSummaryFile;
};

SConversion Convert(const CScratchDir& dir, const Bytes& log)
{
    dir.WriteFile("in.log", log);
    SConversion c;
    c.m_Run = RunObsforgeTool({"-S:summary.txt", "in.log", "obs", "gps", "glo", "bds"}, dir.Dir());
    c.m_szSummaryFile = dir.ReadFile("summary.txt");
    return c;
}
} // namespace

TEST(ConvertLog, EmptyLogPrintsBareLineEndAndZeroSummaryBothPlaces)
{
    CScratchDir dir;
    const SConversion c = Convert(dir, Bytes{});
    EXPECT_EQ(c.m_Run.m_iExitStatus, 0);
    EXPECT_EQ(c.m_Run.m_szStderr, "\n" + SummaryText({}));
    EXPECT_EQ(c.m_szSummaryFile, SummaryText({}));
    EXPECT_EQ(dir.ReadFile("obs"), "");
}

TEST(ConvertLog, EveryWholeFrameOfADamagedLogIsFoundAndCounted)
{
    CScriptedLog log;
    // Line ends and junk in front of everything.
    log.Junk("\r\n\n");
    log.Frame(MakeSentence("$GPGGA,120000.00,5130.0000,N,00006.0000,W,1,08,1.0,45.0,M,47.0,M,,*00\r\n"), false);
    log.Junk(Bytes{0x00, 0xFF, '$', 'B', 'I', 'X', 0xD3, 0x00, 'I'});
    log.Frame(Bin96(2111, 432000.0), true);
    log.Frame(Bin96(2111, 432000.0), true); // a repeat of the epoch still counts
    log.Frame(MakeZeroBinFrame(95, 128), true);
    log.Frame(MakeZeroBinFrame(93, 56), true);
    log.Frame(MakeZeroBinFrame(94, 96), true);
    log.Frame(MakeZeroBinFrame(94, 96), true);
    log.Frame(MakeZeroBinFrame(65, 68), true);
    log.Frame(ObsForSeconds(66, 352, 432000.0), true);
    log.Frame(ObsForSeconds(66, 352, 431999.0), true); // dropped, still counted
    log.Frame(MakeZeroBinFrame(35, 128), true);
    log.Frame(ObsForSeconds(36, 336, 432000.0), true);
    log.Frame(MakeZeroBinFrame(34, 32), true);
    for (uint16_t n : {101, 102, 103, 104, 80, 62})
    {
        const uint32_t payload = n == 101 ? 448 : n == 102 ? 344 : n == 103 ? 64 : n == 104 ? 280 : 40;
        log.Frame(MakeZeroBinFrame(n, payload), true);
    }
    // Unknown numbers and known numbers of another length are frames too.
    log.Frame(MakeZeroBinFrame(200, 10), true);
    log.Frame(MakeZeroBinFrame(96, 299), true);
    log.Frame(MakeBinFrame(96, Bytes(300, 0), true, ""), true); // no CR LF: length 310
    // The rival epoch message is shut out once BIN96 has decided the mode.
    log.Frame(Bin76(2111, 432001.0), true);
    // Site frames of every identifier, one of another class, one with a bad check.
    log.Frame(MakeMarkerSiteFrame(1, "MARK", "0001"), true);
    log.Frame(MakeSiteFrame(1, 2, Bytes{}), true);
    log.Frame(MakeMarkerSiteFrame(3, "MARK2", "0002"), true);
    log.Frame(MakeSiteFrame(1, 4, Bytes{}), true);
    log.Frame(MakeSiteFrame(2, 1, Bytes(40, 'x')), true);
    log.Junk(MakeSiteFrame(1, 1, Bytes(40, 'y'), false));
    // A damaged BIN95 whose payload holds a whole BIN80: the inner frame is found.
    {
        Bytes payload = MakeZeroBinFrame(80, 40);
        payload.resize(128, 0x11);
        log.Junk(MakeBinFrame(95, payload, false));
        log.Delivered(true);
    }
    // RTCM 3 and packed frames of all three checks, each carrying a whole
    // BIN94: consumed whole, nothing inside is taken for a frame.
    const Bytes inner = MakeZeroBinFrame(94, 96);
    log.Frame(MakeRtcm3Frame(inner, true, 0x3F), false);
    for (uint32_t check : {0u, 1u, 2u})
        log.Frame(MakePackedFrame(inner, check), false);
    // A sentence between binary frames, and one too long to be handled.
    log.Frame(MakeSentence("$>JI,12345,1,2,3,4,5,2.0\r\n"), false);
    log.Frame(MakeSentence("$" + std::string(250, 'A') + "\n"), false);
    log.Frame(Bin96(2111, 432001.0), true);
    // A truncated frame at the very end is lost byte by byte.
    const Bytes last = Bin96(2111, 432002.0);
    log.Junk(Bytes(last.begin(), last.begin() + 200));

    CScratchDir dir;
    const SConversion c = Convert(dir, log.m_aLog);
    SExpectedSummary s;
    s.m_uObsEpochsFound = 3;
    s.m_uGpsEphFound = 1;
    s.m_uIonoUtcFound = 2;
    s.m_uGlonassObsFound = 2;
    s.m_uGlonassEphFound = 1;
    s.m_uBeidouObsFound = 1;
    s.m_uBeidouEphFound = 1;
    EXPECT_EQ(c.m_Run.m_iExitStatus, 0);
    EXPECT_EQ(c.m_Run.m_szStderr,
              log.m_szProgress +
                  "BIN96:3 BIN95:1 BIN93:1 BIN94:2 BIN65:1 BIN66:2 BIN34:1 BIN35:1 BIN36:1 "
                  "BIN101:1 BIN102:1 BIN103:1 BIN104:1 BIN80:2 BIN62:1 \n" +
                  SummaryText(s));
    EXPECT_EQ(c.m_szSummaryFile, SummaryText(s));
}

TEST(ConvertLog, FirstEpochMessageDecidesTheModeForTheWholeRun)
{
    CScriptedLog log;
    log.Frame(Bin76(2111, 100.0), true);
    log.Frame(Bin96(2111, 101.0), true); // shut out: counted nowhere but the message count
    log.Frame(Bin76(2111, 101.0), true);
    log.Frame(Bin76(2111, 101.0), true);

    CScratchDir dir;
    const SConversion c = Convert(dir, log.m_aLog);
    SExpectedSummary s;
    s.m_uObsEpochsFound = 3;
    EXPECT_EQ(c.m_Run.m_szStderr, log.m_szProgress + "BIN76:3 \n" + SummaryText(s));
}

TEST(ConvertLog, FramesAcrossBlockBoundariesAreFoundAndProgressIsShownPerHundred)
{
    CScriptedLog log;
    // Sentences are not counted, so the first one shows the count of 0.
    log.Frame(MakeSentence("$>JT,RX\r\n"), false);
    // 350 epochs of 312 bytes and odd junk between them cross many 16384-byte
    // blocks at every offset of a frame.
    for (uint32_t i = 0; i < 350; ++i)
    {
        log.Frame(Bin96(2111, 1000.0 + i), true);
        log.Junk(Bytes(i % 7, 'x'));
        if (i == 99)
            log.Frame(MakeSentence("$>JAPP,A\r\n"), false); // repeats "Message Count 100"
    }
    log.Frame(MakeZeroBinFrame(62, 40), true);

    CScratchDir dir;
    const SConversion c = Convert(dir, log.m_aLog);
    SExpectedSummary s;
    s.m_uObsEpochsFound = 350;
    EXPECT_EQ(log.m_szProgress, "Message Count 0\rMessage Count 100\rMessage Count 100\r"
                                "Message Count 200\rMessage Count 300\r");
    EXPECT_EQ(c.m_Run.m_szStderr, log.m_szProgress + "BIN96:350 BIN62:1 \n" + SummaryText(s));
}

TEST(ConvertLog, ArbitraryBytesEndNormally)
{
    // A deterministic pseudo-random stream sprinkled with frame starts.
    Bytes junk;
    uint32_t state = 12345;
    for (int i = 0; i < 200000; ++i)
    {
        state = state * 1103515245u + 12345u;
        uint8_t b = static_cast<uint8_t>(state >> 16);
        if (b < 8)
            b = static_cast<uint8_t>("$BI\xD3I\xB7Y\r"[b]);
        junk.push_back(b);
    }
    CScratchDir dir;
    const SConversion c = Convert(dir, junk);
    EXPECT_EQ(c.m_Run.m_iExitStatus, 0);
    const std::string tail = "\n" + SummaryText({});
    ASSERT_GE(c.m_Run.m_szStderr.size(), tail.size());
    EXPECT_EQ(c.m_Run.m_szStderr.substr(c.m_Run.m_szStderr.size() - tail.size()), tail);
}

namespace
{
// The file as text, its run date blanked: two runs differ only there.
std::string WithoutRunDate(std::string text)
{
    const std::string label = "PGM / RUN BY / DATE";
    for (size_t at = text.find(label); at != std::string::npos; at = text.find(label, at + 1))
        if (at >= 20)
            text.replace(at - 20, 20, 20, '#');
    return text;
}

// Converts the golden case `name` inside this process, its files written to `dir`.
void ConvertCaseInProcess(const std::string& name, const std::vector<std::string>& options, const CScratchDir& dir)
{
    std::vector<std::string> words{"obsforge"};
    words.insert(words.end(), options.begin(), options.end());
    words.insert(words.end(), {"-S:" + dir.Path("summary.txt"), std::string(GOLDEN_CASES_DIR) + "/" + name + "/input.log",
                               dir.Path("obs.rnx"), dir.Path("gps.nav"), dir.Path("glonass.nav"), dir.Path("beidou.nav")});
    std::vector<const char*> argv;
    for (const std::string& w : words)
        argv.push_back(w.c_str());
    ASSERT_EQ(RunObsforge(static_cast<int>(argv.size()), argv.data()), 0) << name;
}
} // namespace

// Conversions in one process share nothing: a run made after another with a
// different log and a mask, location and -B of its own writes what the same
// run writes alone, in a process of its own.
TEST(ConvertLog, ConversionsInOneProcessAreIndependent)
{
    const CScratchDir first, other, again;
    ConvertCaseInProcess("mixed-raw-beidou", {}, first);
    ConvertCaseInProcess("elevation-mask", {"-E:21.92", "-B", "-L:55.493563,8.456821,59.48"}, other);
    ConvertCaseInProcess("mixed-raw-beidou", {}, again);
    for (const char* file : {"obs.rnx", "gps.nav", "glonass.nav", "beidou.nav", "summary.txt"})
    {
        std::ifstream alone(std::string(GOLDEN_CASES_DIR) + "/mixed-raw-beidou/expected/" + file);
        std::ostringstream expected;
        expected << alone.rdbuf();
        ASSERT_FALSE(expected.str().empty()) << file;
        EXPECT_EQ(WithoutRunDate(first.ReadFile(file)), WithoutRunDate(expected.str())) << file;
        EXPECT_EQ(WithoutRunDate(again.ReadFile(file)), WithoutRunDate(expected.str())) << file;
    }
    EXPECT_NE(other.ReadFile("obs.rnx"), first.ReadFile("obs.rnx"));
}

namespace
{
// The lines of the files a run over `log` writes, run date masked.
struct SNavFiles
{
    std::vector<std::string> m_aGps, m_aGlonass, m_aBeidou;
};

SNavFiles NavFilesOf(const Bytes& log)
{
    CScratchDir dir;
    dir.WriteFile("in.log", log);
    EXPECT_EQ(RunObsforgeTool({"in.log", "obs", "gps", "glo", "bds"}, dir.Dir()).m_iExitStatus, 0);
    return {LinesOf(MaskRunDate(dir.ReadFile("gps"))), LinesOf(MaskRunDate(dir.ReadFile("glo"))),
            LinesOf(MaskRunDate(dir.ReadFile("bds")))};
}
} // namespace

// The header lines of UTC data are reserved when a navigation file begins and
// filled in place when their data come, whatever the order of the messages:
// a BIN94 behind the first GPS ephemeris, the leap seconds it gives behind
// the first GLONASS and BeiDou records, and of two BIN34 the later one. The
// GLUT line keeps tau c of the first GLONASS record.
TEST(ConvertLog, UtcLinesOfTheNavigationHeadersAreFilledInPlaceWhateverTheOrderOfTheMessages)
{
    SGpsEphemerisValues g05; // 2020-06-26 02:00, second 439200 of week 2111
    g05.m_uSatellite = 5, g05.m_uTxTime = 438000, g05.m_uWeek = 2111, g05.m_uIode = g05.m_uIodc = 10;
    g05.m_dToc = g05.m_dToe = 439200.0, g05.m_dEcc = 0.01;
    SGlonassEphemerisValues r03;
    r03.m_uSlot = 3, r03.m_dX = 20000.0, r03.m_dVy = 3.0, r03.m_dTauC = -0x1p-11;
    SetGlonassReferenceFromUtc(r03, 2020, 6, 26, 1, 45, 0);
    SBeidouEphemerisFields c11;
    c11.m_uSatellite = 11, c11.m_uSow = 438000, c11.m_uWeek = 755, c11.m_uToc = c11.m_uToe = 439200 / 8;
    SBin94Values utc; // 18 s since the event of week 1929
    utc.m_adAlpha[0] = 1.5e-8, utc.m_Utc.m_iRefSeconds = 405504, utc.m_Utc.m_iRefWeek = 2111;
    utc.m_Leap = {true, 18, 18, 1929, 7};
    SRinexTimeCorrection early{-5 * 0x1p-30, -2 * 0x1p-50, 99 * 4096, 186}, late{-7 * 0x1p-30, 3 * 0x1p-50, 409600, 187};

    Bytes log = MakeBin96Frame(2111, 432000.0, {});
    AppendBytes(log, MakeBin34Frame(early));
    AppendBytes(log, MakeBin35DecodedFrame(c11, 4));
    AppendBytes(log, MakeBin65Frame(r03));
    AppendBytes(log, MakeBin95Frame(g05));
    AppendBytes(log, MakeBin94Frame(utc));
    AppendBytes(log, MakeBin34Frame(late));
    ++g05.m_uIode, ++g05.m_uIodc, c11.m_uToc = c11.m_uToe = 442800 / 8;
    r03.m_uTbMinutes += 30, r03.m_dTauC = -0x1p-12;
    for (const Bytes& frame : {MakeBin95Frame(g05), MakeBin65Frame(r03), MakeBin35DecodedFrame(c11, 4)})
        AppendBytes(log, frame);

    const SNavFiles files = NavFilesOf(log);
    const std::string leap = "                                                      LEAP SECONDS        \n";
    ASSERT_EQ(files.m_aGps.size(), 7u + 2 * 8);
    EXPECT_EQ(files.m_aGps[2], "GPSA   1.5000D-08  0.0000D+00  0.0000D+00  0.0000D+00       IONOSPHERIC CORR    \n");
    EXPECT_EQ(files.m_aGps[5], "    18" + leap);
    ASSERT_EQ(files.m_aGlonass.size(), 5u + 2 * 4);
    EXPECT_EQ(files.m_aGlonass[2], "GLUT  4.8828125000D-04 0.000000000D+00      0    0          TIME SYSTEM CORR    \n");
    EXPECT_EQ(files.m_aGlonass[3], "    18" + leap);
    ASSERT_EQ(files.m_aBeidou.size(), 7u + 2 * 8);
    EXPECT_EQ(files.m_aBeidou[4], "BDUT " + DField(late.m_dA0, 10) + DField(late.m_dA1, 9) +
                                      " 409600  187          TIME SYSTEM CORR    \n");
    EXPECT_EQ(files.m_aBeidou[5], "     4" + leap);
}

// A GLONASS or BeiDou message joins the epoch of its second only: one that
// comes before its second's GPS message is left out.
TEST(ConvertLog, ObservationsOfASecondBeforeItsGpsMessageAreLeftOut)
{
    const SBin76Signal signal{true, 21000000.5, 110000000.5, 100.0, 20.0, 0, true};
    const auto gps = [](double second) {
        return MakeBin96Frame(2111, second, {SBin96Channel{5, 50, 0, true, -4096, 21000000.5, 1000.0}});
    };
    Bytes log = gps(100.0);
    for (const Bytes& frame : {MakeBin66Frame(2111, 101.0, {{3, signal, {}}}),
                               MakeBin36Frame(2111, 101.0, {0, 0, 1}, {{7, signal}}), gps(101.0),
                               MakeBin66Frame(2111, 101.0, {{11, signal, {}}}),
                               MakeBin36Frame(2111, 101.0, {0, 0, 1}, {{12, signal}})})
        AppendBytes(log, frame);
    CScratchDir dir;
    dir.WriteFile("in.log", log);
    ASSERT_EQ(RunObsforgeTool({"in.log", "obs"}, dir.Dir()).m_iExitStatus, 0);
    const std::string obs = dir.ReadFile("obs");
    const size_t first = obs.find("\n> 2020  6 21  0  1 40.0000000  0  1\nG05"), second = obs.find("\n> ", first + 1);
    ASSERT_NE(first, std::string::npos) << obs;
    EXPECT_EQ(obs.substr(second, 37), "\n> 2020  6 21  0  1 41.0000000  0  3\n") << obs;
    for (const char* absent : {"\nR03", "\nC07"})
        EXPECT_EQ(obs.find(absent), std::string::npos) << absent;
}

// Without an observation file the epochs are made all the same: the summary
// counts them as a run with the file does, and the log's marker frames touch
// no file.
TEST(ConvertLog, EpochsAreCountedAsWrittenWithoutAnObservationFile)
{
    const std::string golden = std::string(GOLDEN_CASES_DIR) + "/damaged/";
    const SToolRun run = RunObsforgeTool({golden + "input.log"});
    ASSERT_EQ(run.m_iExitStatus, 0) << run.m_szStderr;
    std::ifstream summary(golden + "expected/summary.txt");
    int lines = 0;
    for (std::string line; std::getline(summary, line);)
        if (line.rfind("Observations Begin", 0) == 0 || line.find("Obs File") != std::string::npos ||
            line.find("per Epoch") != std::string::npos)
        {
            EXPECT_NE(run.m_szStderr.find("\n" + line + "\n"), std::string::npos) << line;
            ++lines;
        }
    EXPECT_EQ(lines, 4);
}
