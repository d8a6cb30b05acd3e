// Real data end to end: the observation and navigation files of a permanent
// station (examples/data/) go through rinex2log into a receiver log, the log
// through obsforge into RINEX again, and every value that comes out is held
// against its source: code, phase, Doppler and signal strength of every
// signal the messages carry, every field of every ephemeris written, the
// ionosphere and UTC lines of the headers. Every locked satellite-epoch the
// log carries reaches the observation file, BeiDou above C32 included.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "logbuild/RinexNavReader.h"
#include "logbuild/RinexObsReader.h"
#include "logio/ByteReader.h"
#include "support/ToolRun.h"

namespace
{
const std::string kDataDir =
    (std::filesystem::path(__FILE__).parent_path().parent_path().parent_path() / "examples" / "data").string();
const std::string kObsFile = kDataDir + "/ESBC_2020177_0600_2h_GRC.obs.rnx.gz";
const std::string kNavFile = kDataDir + "/ESBC_2020177_GRC.nav.rnx.gz";

// BeiDou UTC parameters for BIN34: the station's file has no BDUT line.
constexpr double kBdutA0 = -2.7939677238e-09, kBdutA1 = -5.329070518e-15;
constexpr int kBdutSeconds = 61440, kBdutWeek = 755;

std::string Gunzip(const std::string& path)
{
    std::string text;
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(("gzip -dc '" + path + "'").c_str(), "r"), pclose);
    char buffer[65536];
    for (size_t got; pipe && (got = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0;)
        text.append(buffer, got);
    return text;
}

// Epochs keyed by seconds from the start of the month (the data span one day
// of one month), satellites by name ("G02").
using SatelliteMap = std::map<std::string, SRinexSatObs>;
using EpochMap = std::map<double, SatelliteMap>;

double EpochKey(const SRinexDateTime& t)
{
    return ((t.m_iDay * 24.0 + t.m_iHour) * 60.0 + t.m_iMinute) * 60.0 + t.m_dSeconds;
}

std::string SatelliteName(char system, int prn)
{
    char name[8];
    std::snprintf(name, sizeof name, "%c%02d", system, prn);
    return name;
}

EpochMap ReadObs(const std::string& text)
{
    std::istringstream in(text);
    CRinexObsReader reader(in);
    EpochMap epochs;
    EXPECT_TRUE(reader.ReadHeader()) << reader.Error();
    for (SRinexObsEpoch e; reader.NextEpoch(e);)
        for (const SRinexSatObs& sat : e.m_aSatellites)
            epochs[EpochKey(e.m_Time)][SatelliteName(sat.m_cSystem, sat.m_iPrn)] = sat;
    EXPECT_TRUE(reader.Error().empty()) << reader.Error();
    return epochs;
}

struct SNavFile
{
    SRinexNavHeader m_Header;
    std::map<std::string, SRinexNavRecord> m_Records; // by satellite name and epoch
};

SNavFile ReadNav(const std::string& text)
{
    std::istringstream in(text);
    CRinexNavReader reader(in);
    SNavFile file;
    EXPECT_TRUE(reader.ReadHeader()) << reader.Error();
    file.m_Header = reader.Header();
    for (SRinexNavRecord r; reader.NextRecord(r);)
    {
        const SRinexDateTime& t = r.m_Time;
        char key[48];
        std::snprintf(key, sizeof key, "%s %04d-%02d-%02d %02d:%02d:%02.0f",
                      SatelliteName(r.m_cSystem, r.m_iPrn).c_str(), t.m_iYear, t.m_iMonth, t.m_iDay, t.m_iHour,
                      t.m_iMinute, t.m_dSeconds);
        file.m_Records[key] = r;
    }
    EXPECT_TRUE(reader.Error().empty()) << reader.Error();
    return file;
}

struct SSource
{
    EpochMap m_Obs = ReadObs(Gunzip(kObsFile));
    SNavFile m_Nav = ReadNav(Gunzip(kNavFile));
};

const SSource& Source()
{
    static const SSource source;
    return source;
}

// GPS satellites on the BIN76 channels that have no L2 and L1 P words (12 to
// 14), as second of the day and number: read from the log's frames.
std::set<std::pair<long, int>> OnL1OnlyChannels(const std::string& log)
{
    constexpr size_t kBin76Bytes = 460, kChannelWords = 348;
    const std::string head("$BIN\x4c\x00\xc0\x01", 8); // BIN76, 448 bytes of payload
    const auto* bytes = reinterpret_cast<const uint8_t*>(log.data());
    std::set<std::pair<long, int>> found;
    for (size_t at = log.find(head); at != std::string::npos && at + kBin76Bytes <= log.size();
         at = log.find(head, at + 1))
        for (uint32_t n = 12; n < 15; ++n)
            if (const int prn = ReadU8(bytes + at, kChannelWords + 4 * n))
                found.insert({std::lround(std::fmod(ReadDouble(bytes + at, 8), 86400.0)), prn});
    return found;
}

// One run of both tools, with the rinex2log options of the test's parameter.
struct SRun
{
    std::string m_szLog; // rinex2log's summary
    std::set<std::pair<long, int>> m_L1Only;
    EpochMap m_Obs;
    SNavFile m_Gps, m_Glonass, m_Beidou;
};

const SRun& RunTools(const std::string& options)
{
    static std::map<std::string, SRun> runs;
    if (const auto it = runs.find(options); it != runs.end())
        return it->second;
    CScratchDir dir;
    std::vector<std::string> args;
    std::istringstream words(options);
    for (std::string w; words >> w;)
        args.push_back(w);
    char bdut[96];
    std::snprintf(bdut, sizeof bdut, "%.10e,%.9e,%d,%d", kBdutA0, kBdutA1, kBdutSeconds, kBdutWeek);
    args.insert(args.end(), {"-u", bdut, kObsFile, kNavFile, dir.Path("real.log")});
    SRun& run = runs[options];
    const SToolRun built = RunTool(RINEX2LOG_EXE, args);
    EXPECT_EQ(built.m_iExitStatus, 0) << built.m_szStderr;
    run.m_szLog = built.m_szStderr;
    run.m_L1Only = OnL1OnlyChannels(dir.ReadFile("real.log"));
    // -P1: the L1 P code ranges too.
    const SToolRun converted =
        RunObsforgeTool({"-P1", "real.log", "out.obs", "gps.nav", "glo.nav", "bds.nav"}, dir.Dir());
    EXPECT_EQ(converted.m_iExitStatus, 0) << converted.m_szStderr;
    run.m_Obs = ReadObs(dir.ReadFile("out.obs"));
    run.m_Gps = ReadNav(dir.ReadFile("gps.nav"));
    run.m_Glonass = ReadNav(dir.ReadFile("glo.nav"));
    run.m_Beidou = ReadNav(dir.ReadFile("bds.nav"));
    return run;
}

class RealDataEndToEnd : public ::testing::TestWithParam<const char*>
{
protected:
    bool Bin96() const { return std::string(GetParam()).find("-g 96") != std::string::npos; }
};

// --- Observations ----------------------------------------------------------------

// A column group of the output and the source codes it is made from, in
// order of preference; the raw signal to noise scale and largest raw value of
// its message; whether its strength digit comes from the second table.
struct SSignal
{
    char m_cSystem;
    const char* m_szOut;
    std::vector<const char*> m_aSource;
    double m_dSnrScale;
    double m_dRawMax;
    bool m_bSecondTable;
    bool m_bCodeOnly = false;
};

const SSignal kSignals[] = {
    {'G', "1C", {"1C"}, 0.1024, 4095, false}, {'G', "2Y", {"2W"}, 0.1164, 4095, true},
    {'G', "1Y", {"1W", "1C"}, 0.1164, 4095, true, true}, {'R', "1C", {"1C"}, 0.1024, 4095, false},
    {'R', "2C", {"2C", "2P"}, 0.1024, 4095, true}, {'C', "2I", {"2I"}, 0.1024, 4095, false},
    {'C', "7I", {"7I"}, 0.1024, 4095, false}, {'C', "6I", {"6I"}, 0.1024, 4095, false},
};
// BIN96 carries GPS L1 C/A alone, its signal to noise in 8 bits.
const SSignal kBin96L1{'G', "1C", {"1C"}, 0.8192, 255, false};

// The RINEX strength digit of a signal to noise in dB.
int StrengthDigit(double snr, bool secondTable)
{
    const double a = secondTable ? -3.0 : 5.0, b = 10.0, c = 20.0;
    if (snr < a)
        return 1;
    if (snr < b)
        return std::min(5, 1 + static_cast<int>(4.0 * (snr - a) / (b - a) + 0.5));
    return std::min(9, 5 + static_cast<int>(4.0 * (snr - b) / (c - b) + 0.5));
}

const SRinexObsValue* Value(const SRinexSatObs& sat, char kind, const std::string& signal)
{
    return sat.Find(std::string(1, kind) + signal);
}

// Compares one output signal with its source; returns whether it had values.
bool CheckSignal(const SSignal& s, const SRinexSatObs& out, const SRinexSatObs& src, bool wholePhase,
                 const std::string& where)
{
    std::string from = s.m_aSource.back();
    for (const char* code : s.m_aSource)
        if (Value(src, 'C', code) != nullptr)
        {
            from = code;
            break;
        }
    const SRinexObsValue* code = Value(out, 'C', s.m_szOut);
    if (code == nullptr)
    {
        ADD_FAILURE() << where << ": no C" << s.m_szOut << " field";
        return false;
    }
    // L1 P goes with L1 C/A: without a C1W it brings the L1 C/A code range
    // back with no signal to noise.
    const SRinexObsValue* srcCode = Value(src, 'C', from);
    const bool blank = code->m_dValue == 0.0 && code->m_iStrength == 0;
    const bool carried = srcCode != nullptr && (s.m_bCodeOnly || Value(src, 'L', from) != nullptr);
    EXPECT_EQ(blank, !carried) << where << " C" << s.m_szOut;
    if (blank || !carried)
        return false;

    // Code ranges come in 1/256 m (BIN96: a double), the file prints 1/1000.
    EXPECT_NEAR(code->m_dValue, srcCode->m_dValue, 0.5 / 256 + 0.0006) << where << " C" << s.m_szOut;
    const SRinexObsValue* srcSnr = Value(src, 'S', s.m_bCodeOnly ? s.m_aSource.front() : from);
    const double snr = srcSnr != nullptr ? srcSnr->m_dValue - 30.0 : 0.0; // dB-Hz to dB in 1 kHz
    int lowest = StrengthDigit(snr, s.m_bSecondTable), highest = lowest;
    if (srcSnr != nullptr) // the message's raw steps, from raw 1 to its largest value
    {
        const double raw = std::pow(10.0, snr / 10.0) / s.m_dSnrScale;
        lowest = StrengthDigit(10.0 * std::log10(std::max(raw - 0.5, 1.0) * s.m_dSnrScale), s.m_bSecondTable);
        highest = StrengthDigit(10.0 * std::log10(std::min(raw + 0.5, s.m_dRawMax) * s.m_dSnrScale), s.m_bSecondTable);
    }
    EXPECT_GE(code->m_iStrength, lowest) << where << " S" << from << " " << snr;
    EXPECT_LE(code->m_iStrength, highest) << where << " S" << from << " " << snr;
    if (s.m_bCodeOnly)
        return true;

    // Phases in 1/1024 cycle modulo 8192 cycles (BIN96: whole), Doppler in
    // 1/512 Hz (BIN96: 1/4096 m/s, finer); both printed to 1/1000.
    const SRinexObsValue* phase = Value(out, 'L', s.m_szOut);
    const SRinexObsValue* doppler = Value(out, 'D', s.m_szOut);
    const SRinexObsValue* srcDoppler = Value(src, 'D', from);
    if (phase == nullptr || doppler == nullptr)
    {
        ADD_FAILURE() << where << ": no L or D field for " << s.m_szOut;
        return false;
    }
    double phaseOff = phase->m_dValue - Value(src, 'L', from)->m_dValue;
    if (!wholePhase)
        phaseOff -= 8192.0 * std::round(phaseOff / 8192.0);
    EXPECT_NEAR(phaseOff, 0.0, 0.5 / 1024 + 0.0006) << where << " L" << s.m_szOut << " " << phase->m_dValue;
    EXPECT_NEAR(doppler->m_dValue, srcDoppler != nullptr ? srcDoppler->m_dValue : 0.0, 0.5 / 512 + 0.0006)
        << where << " D" << s.m_szOut;
    EXPECT_EQ(doppler->m_iStrength, code->m_iStrength) << where;
    return true;
}

// A count of rinex2log's summary line of `system`: the number in front of
// `what`, or -1.
long LogCount(const std::string& summary, char system, const std::string& what)
{
    std::smatch m;
    const std::regex line(std::string("\n  ") + system + ": [^\n]*?([0-9]+) " + what);
    return std::regex_search(summary, m, line) ? std::stol(m[1]) : -1;
}

// Each satellite of each epoch of `out` is a source satellite whose every
// signal the messages carry comes back; counts the satellites and the signals
// with values by system. L1 P (C1Y) only with `l1p` (the run had -P1).
// Satellites on the BIN76 channels without L2 (12 to 14), listed in `l1Only`,
// come with L1 C/A alone.
void CheckEpochs(const EpochMap& out, bool bin96, bool l1p, const std::set<std::pair<long, int>>& l1Only,
                 std::map<char, long>& written, std::map<char, long>& signals)
{
    const EpochMap& source = Source().m_Obs;
    for (const auto& [time, satellites] : out)
    {
        const auto src = source.find(time);
        ASSERT_NE(src, source.end()) << "epoch at " << time << " s of the month";
        for (const auto& [name, sat] : satellites)
        {
            const auto srcSat = src->second.find(name);
            ASSERT_NE(srcSat, src->second.end()) << name << " at " << time;
            ++written[name[0]];
            const std::string where = name + " at " + std::to_string(time);
            const bool alone = l1Only.count({std::lround(std::fmod(time, 86400.0)), sat.m_iPrn}) != 0;
            for (const SSignal& s : kSignals)
            {
                if (s.m_cSystem != name[0] || (s.m_bCodeOnly && !l1p))
                    continue;
                const bool firstSignal = std::string(s.m_szOut) == "1C";
                if (s.m_cSystem == 'G' && !firstSignal && (bin96 || alone))
                    // the columns stand, blank: the message has no L2 or L1 P here
                    EXPECT_TRUE(Value(sat, 'C', s.m_szOut) == nullptr || Value(sat, 'C', s.m_szOut)->m_dValue == 0.0)
                        << where;
                else if (s.m_cSystem == 'G' && bin96)
                    signals[name[0]] += CheckSignal(kBin96L1, sat, srcSat->second, true, where);
                else
                    signals[name[0]] += CheckSignal(s, sat, srcSat->second, false, where);
            }
        }
    }
}

// Each output epoch is a source epoch, and every satellite the log carries
// with a lock is there, BeiDou above C32 included.
TEST_P(RealDataEndToEnd, EveryLockedSatelliteOfTheLogReachesTheFileWithinTheMessagesSteps)
{
    const SRun& run = RunTools(GetParam());
    ASSERT_EQ(run.m_Obs.size(), Source().m_Obs.size()) << run.m_szLog;
    std::map<char, long> written, signals;
    CheckEpochs(run.m_Obs, Bin96(), true, run.m_L1Only, written, signals);
    for (const char system : {'G', 'R', 'C'})
    {
        EXPECT_EQ(written[system], LogCount(run.m_szLog, system, "of them locked")) << system << "\n" << run.m_szLog;
        EXPECT_GE(signals[system], written[system]) << system;
    }
    // BIN76 has a channel for every GPS satellite of the day, BIN36 for every
    // BeiDou one; some stand on the channels without L2.
    EXPECT_EQ(LogCount(run.m_szLog, 'C', "without a channel"), 0) << run.m_szLog;
    if (!Bin96())
    {
        EXPECT_EQ(LogCount(run.m_szLog, 'G', "without a channel"), 0) << run.m_szLog;
        EXPECT_FALSE(run.m_L1Only.empty());
    }
}

// --- Ephemerides -------------------------------------------------------------------

enum class ECheck
{
    Scaled,       // within the field's step; a step of 0: exact
    Ura,          // the URA table's metres for the source accuracy
    TocSeconds,   // the record's clock time in seconds of its week
    TimeOfDay,    // GLONASS frame time: the UTC time of day of tb
    Fit,          // 4 hours for the normal fit interval
    BeidouHealth, // 224 for an unhealthy satellite
};

struct SField
{
    size_t m_uIndex; // element of SRinexNavRecord::m_adValues
    double m_dStep;
    ECheck m_eCheck = ECheck::Scaled;
};

constexpr size_t O(size_t line, size_t field)
{
    return 3 + 4 * (line - 1) + field - 1;
}

const double kPi = 3.141592653589793;
// Lines 5 of GPS and BeiDou hold constants where RINEX has the L2 codes and
// the L2 P flag; they aren't compared.
const std::vector<SField> kGpsFields = {
    {0, 0x1p-31}, {1, 0x1p-43}, {2, 0x1p-55}, {O(1, 1), 0}, {O(1, 2), 0x1p-5}, {O(1, 3), kPi * 0x1p-43},
    {O(1, 4), kPi * 0x1p-31}, {O(2, 1), 0x1p-29}, {O(2, 2), 0x1p-33}, {O(2, 3), 0x1p-29}, {O(2, 4), 0x1p-19},
    {O(3, 1), 0}, {O(3, 2), 0x1p-29}, {O(3, 3), kPi * 0x1p-31}, {O(3, 4), 0x1p-29}, {O(4, 1), kPi * 0x1p-31},
    {O(4, 2), 0x1p-5}, {O(4, 3), kPi * 0x1p-31}, {O(4, 4), kPi * 0x1p-43}, {O(5, 1), kPi * 0x1p-43},
    {O(5, 3), 0}, {O(6, 1), 0, ECheck::Ura}, {O(6, 2), 0}, {O(6, 3), 0x1p-31}, {O(6, 4), 0},
    {O(7, 1), 0, ECheck::TocSeconds}, {O(7, 2), 0, ECheck::Fit}};
const std::vector<SField> kGlonassFields = {
    {0, 0x1p-30}, {1, 0x1p-40}, {2, 0, ECheck::TimeOfDay}, {O(1, 1), 0x1p-11}, {O(1, 2), 0x1p-20},
    {O(1, 3), 0x1p-30}, {O(1, 4), 0}, {O(2, 1), 0x1p-11}, {O(2, 2), 0x1p-20}, {O(2, 3), 0x1p-30},
    {O(2, 4), 0}, {O(3, 1), 0x1p-11}, {O(3, 2), 0x1p-20}, {O(3, 3), 0x1p-30}, {O(3, 4), 0}};
const std::vector<SField> kBeidouFields = {
    {0, 0x1p-33}, {1, 0x1p-50}, {2, 0x1p-66}, {O(1, 1), 0}, {O(1, 2), 0x1p-6}, {O(1, 3), kPi * 0x1p-43},
    {O(1, 4), kPi * 0x1p-31}, {O(2, 1), 0x1p-31}, {O(2, 2), 0x1p-33}, {O(2, 3), 0x1p-31}, {O(2, 4), 0x1p-19},
    {O(3, 1), 0}, {O(3, 2), 0x1p-31}, {O(3, 3), kPi * 0x1p-31}, {O(3, 4), 0x1p-31}, {O(4, 1), kPi * 0x1p-31},
    {O(4, 2), 0x1p-6}, {O(4, 3), kPi * 0x1p-31}, {O(4, 4), kPi * 0x1p-43}, {O(5, 1), kPi * 0x1p-43},
    {O(5, 3), 0}, {O(6, 1), 0, ECheck::Ura}, {O(6, 2), 0, ECheck::BeidouHealth}, {O(6, 3), 1e-10},
    {O(6, 4), 1e-10}, {O(7, 1), 0, ECheck::TocSeconds}, {O(7, 2), 0}};

// Seconds of the week of a date; GPS and BeiDou weeks both start on a Sunday.
double SecondsOfWeek(const SRinexDateTime& t)
{
    using namespace std::chrono;
    const sys_days date =
        year{t.m_iYear} / month{static_cast<unsigned>(t.m_iMonth)} / day{static_cast<unsigned>(t.m_iDay)};
    const auto sunday = sys_days{year{1980} / January / 6};
    return ((date - sunday).count() % 7) * 86400.0 + t.m_iHour * 3600.0 + t.m_iMinute * 60.0 + t.m_dSeconds;
}

double Expected(const SField& f, const SRinexNavRecord& src)
{
    const double value = src.Get(f.m_uIndex);
    switch (f.m_eCheck)
    {
    case ECheck::Ura:
        for (const double metres : {2.0, 2.8, 4.0, 5.7, 8.0, 11.3, 16.0, 32.0, 64.0, 128.0, 256.0, 512.0, 1024.0,
                                    2048.0, 4096.0})
            if (value <= metres)
                return metres;
        return 9999.0;
    case ECheck::TocSeconds:
        return SecondsOfWeek(src.m_Time);
    case ECheck::TimeOfDay:
        return src.m_Time.m_iHour * 3600.0 + src.m_Time.m_iMinute * 60.0;
    case ECheck::Fit:
        return value <= 4.0 ? 4.0 : NAN;
    case ECheck::BeidouHealth:
        return value != 0.0 ? 224.0 : 0.0;
    default:
        return value;
    }
}

// Every record written is a source record, each field within its step
// (printing adds a part in 10^12); with `obs`, every satellite observed has a record.
void CheckRecords(const SNavFile& out, const std::vector<SField>& fields, const EpochMap* obs, char system)
{
    for (const auto& [key, record] : out.m_Records)
    {
        const auto src = Source().m_Nav.m_Records.find(key);
        ASSERT_NE(src, Source().m_Nav.m_Records.end()) << key << " isn't in the source";
        for (const SField& f : fields)
        {
            const double expected = Expected(f, src->second);
            if (!std::isnan(expected))
            {
                EXPECT_NEAR(record.Get(f.m_uIndex, NAN), expected, f.m_dStep + 1e-12 * std::fabs(expected))
                    << key << " field " << f.m_uIndex;
            }
        }
    }
    if (obs == nullptr)
        return;
    std::map<std::string, bool> observed;
    for (const auto& [time, satellites] : *obs)
        for (const auto& [name, sat] : satellites)
            if (name[0] == system)
                observed[name];
    for (const auto& [key, record] : out.m_Records)
        observed[key.substr(0, 3)] = true;
    for (const auto& [name, hasRecord] : observed)
        EXPECT_TRUE(hasRecord) << name << " observed, without an ephemeris";
    EXPECT_FALSE(observed.empty()) << system;
}

// BIN94 carries doubles: the GPS header's lines show the source's digits.
void CheckGpsHeader(const SRinexNavHeader& gps)
{
    const SRinexNavHeader& src = Source().m_Nav.m_Header;
    for (const char* type : {"GPSA", "GPSB"})
        for (size_t i = 0; i < 4; ++i)
            EXPECT_DOUBLE_EQ(gps.m_Ionosphere.at(type)[i], src.m_Ionosphere.at(type)[i]) << type << i;
    const SRinexTimeCorrection& gput = gps.m_TimeCorrections.at("GPUT");
    EXPECT_DOUBLE_EQ(gput.m_dA0, src.m_TimeCorrections.at("GPUT").m_dA0);
    EXPECT_DOUBLE_EQ(gput.m_dA1, src.m_TimeCorrections.at("GPUT").m_dA1);
    EXPECT_EQ(gput.m_iRefSeconds, src.m_TimeCorrections.at("GPUT").m_iRefSeconds);
    EXPECT_EQ(gput.m_iRefWeek, src.m_TimeCorrections.at("GPUT").m_iRefWeek);
    EXPECT_EQ(gps.m_Leap.m_iDeltaLs, src.m_Leap.m_iDeltaLs);
}

TEST_P(RealDataEndToEnd, EphemeridesAndHeaderCorrectionsMatchTheSource)
{
    const SRun& run = RunTools(GetParam());
    CheckRecords(run.m_Gps, kGpsFields, &run.m_Obs, 'G');
    CheckRecords(run.m_Glonass, kGlonassFields, &run.m_Obs, 'R');
    CheckRecords(run.m_Beidou, kBeidouFields, &run.m_Obs, 'C');
    CheckGpsHeader(run.m_Gps.m_Header);
    // The navigation file has each BeiDou satellite of the source above C32 (C33 to C37).
    std::set<std::string> above32, above32Written;
    for (const auto& [key, record] : Source().m_Nav.m_Records)
        if (key[0] == 'C' && std::stoi(key.substr(1, 2)) > 32)
            above32.insert(key.substr(0, 3));
    for (const auto& [key, record] : run.m_Beidou.m_Records)
        if (std::stoi(key.substr(1, 2)) > 32)
            above32Written.insert(key.substr(0, 3));
    EXPECT_EQ(above32Written, above32);
    EXPECT_FALSE(above32.empty());

    // BIN34: 2^-30 s, 2^-50 s/s, the reference time in 4096 s and the week's low 8 bits.
    ASSERT_EQ(run.m_Beidou.m_Header.m_TimeCorrections.count("BDUT"), 1u);
    const SRinexTimeCorrection& bdut = run.m_Beidou.m_Header.m_TimeCorrections.at("BDUT");
    EXPECT_NEAR(bdut.m_dA0, kBdutA0, 0x1p-31);
    EXPECT_NEAR(bdut.m_dA1, kBdutA1, 0x1p-51);
    EXPECT_EQ(bdut.m_iRefSeconds, kBdutSeconds);
    EXPECT_EQ(bdut.m_iRefWeek, kBdutWeek % 256);
}

// BIN76 with decoded BIN35, and BIN96 with raw BIN35 (D1 frames and the ten
// pages of D2) behind junk bytes, sentences and a site frame.
INSTANTIATE_TEST_SUITE_P(Logs, RealDataEndToEnd, ::testing::Values("-g 76 -b decoded", "-g 96 -b raw -d 5 -s -m"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             return info.index == 0 ? std::string("Bin76DecodedBeidou") : std::string("Bin96RawBeidou");
                         });
// --- Golden cases ------------------------------------------------------------------

// The expected files of the golden whole runs made from the station data
// (tests/golden/, all but the synthetic-* cases; the sample's are
// examples/expected/): every observation and every navigation record in them
// is held against the source as above, so that no expected file goes in or
// stays in that this comparison rejects.
const std::filesystem::path kGoldenDir = std::filesystem::path(__FILE__).parent_path().parent_path() / "golden";

std::vector<std::string> StationGoldenCases()
{
    std::vector<std::string> cases;
    for (const auto& entry : std::filesystem::directory_iterator(kGoldenDir))
    {
        const std::string name = entry.path().filename().string();
        if (std::filesystem::exists(entry.path() / "args") && name.rfind("synthetic-", 0) != 0)
            cases.push_back(name);
    }
    std::sort(cases.begin(), cases.end());
    return cases;
}

std::string ReadText(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class GoldenStationCase : public ::testing::TestWithParam<std::string>
{
};

TEST_P(GoldenStationCase, ExpectedFilesMatchTheSourceWithinTheMessagesSteps)
{
    const std::filesystem::path dir = kGoldenDir / GetParam();
    const bool bin96 = ReadText(dir / "input.log").find(std::string("$BIN\x60\x00", 6)) != std::string::npos;
    const bool l1p = ReadText(dir / "args").find("-P1") != std::string::npos;
    size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir / "expected"))
    {
        SCOPED_TRACE(entry.path().string());
        const std::string text = ReadText(entry.path());
        if (text.size() > 80 && text.compare(20, 16, "OBSERVATION DATA") == 0)
        {
            std::map<char, long> written, signals;
            CheckEpochs(ReadObs(text), bin96, l1p, OnL1OnlyChannels(ReadText(dir / "input.log")), written, signals);
            for (const auto& [system, count] : written)
                EXPECT_GE(signals[system], count) << system;
            ++files;
        }
        else if (text.size() > 80 && text.compare(20, 16, "N: GNSS NAV DATA") == 0)
        {
            const SNavFile nav = ReadNav(text);
            const char system = text[40];
            CheckRecords(nav, system == 'G' ? kGpsFields : system == 'R' ? kGlonassFields : kBeidouFields, nullptr,
                         system);
            if (system == 'G')
                CheckGpsHeader(nav.m_Header);
            ++files;
        }
    }
    EXPECT_GT(files, 0u);
}

INSTANTIATE_TEST_SUITE_P(Golden, GoldenStationCase, ::testing::ValuesIn(StationGoldenCases()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });
} // namespace
