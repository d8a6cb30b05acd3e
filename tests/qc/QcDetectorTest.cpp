// The detectors on logs built from the station's real data, read by the log
// pass that decodes a log as the conversion does, with one fault injected at
// a known place: what the report finds on the faulty log must be what it
// finds on the clean one plus the fault, nothing more and nothing less (the
// data has slips and loss-of-lock marks of its own).
#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <tuple>

#include "logbuild/Files.h"
#include "logbuild/fromrinex/BuildLog.h"
#include "logbuild/fromrinex/WeekTime.h"
#include "qc/ClockJumps.h"
#include "qc/LogPass.h"
#include "qc/QcSignals.h"
#include "qc/SlipDetector.h"

namespace
{
using Epochs = std::vector<SRinexObsEpoch>;
using SignalKey = std::tuple<uint32_t, uint32_t, uint32_t>; // system, number, signal

// The station's observation and navigation texts, read once for every case.
const std::pair<std::string, std::string>& StationTexts()
{
    static const std::pair<std::string, std::string> texts = [] {
        const std::filesystem::path dir =
            std::filesystem::path(__FILE__).parent_path().parent_path().parent_path() / "examples" / "data";
        const std::optional<std::string> obs = LoadText((dir / "ESBC_2020177_0600_2h_GRC.obs.rnx.gz").string());
        const std::optional<std::string> nav = LoadText((dir / "ESBC_2020177_GRC.nav.rnx.gz").string());
        if (!obs || !nav)
            throw std::runtime_error("can't read the station data in " + dir.string());
        return std::make_pair(*obs, *nav);
    }();
    return texts;
}

// The station's log as `make sample` builds it (raw BeiDou subframes,
// sentences, the site frame and the BeiDou UTC data the navigation file
// lacks), with `hook` applied to the epochs first.
fromrinex::SBuiltLog StationLog(const fromrinex::EpochHook& hook = nullptr)
{
    fromrinex::SOptions options;
    options.m_bBeidouRaw = true;
    options.m_bSentences = true;
    options.m_bSiteFrame = true;
    options.m_BeidouUtc = SRinexTimeCorrection{-2.7939677238e-09, -5.329070518e-15, 0, 755};
    std::string error;
    std::optional<fromrinex::SBuiltLog> built =
        fromrinex::BuildLog(options, StationTexts().first, StationTexts().second, error, hook);
    if (!built)
        throw std::runtime_error(error);
    return std::move(*built);
}

// The report of `log` as obsforge-qc makes it without options, read from a
// file in memory.
SQcReport ReportOfLog(const Bytes& log)
{
    const int fd = memfd_create("station.log", 0);
    if (fd < 0 || ::write(fd, log.data(), log.size()) != static_cast<ssize_t>(log.size()) ||
        ::lseek(fd, 0, SEEK_SET) != 0)
        throw std::runtime_error("can't put the log into a memory file");
    const auto pass = std::make_unique<CQcLogPass>(SQcOptions{}, SQcConversionSettings{});
    const bool ran = pass->Run(fd, nullptr);
    ::close(fd);
    if (!ran)
        throw std::runtime_error("no memory for the log pass");
    SQcReport report;
    pass->BuildReport(report);
    return report;
}

// What a report found, in a form that can be compared.
struct SFindings
{
    std::map<SignalKey, std::array<uint64_t, 5>> m_Counts; // epochs, arcs, gaps, loss of lock, slips
    std::map<SignalKey, uint64_t> m_Expected;              // epochs above the completeness mask
    std::map<SignalKey, double> m_Multipath;
    // time, system, number -> signals, the tests that found the slip
    std::map<std::tuple<double, uint32_t, uint32_t>, std::pair<uint32_t, uint32_t>> m_Slips;
    std::vector<std::pair<double, int64_t>> m_ClockJumps;
    std::map<SignalKey, std::array<uint64_t, kQcDropReasonCount>> m_Drops;
    uint64_t m_uDamagedBytes = 0;
    uint64_t m_uDamagedSpans = 0;
};

SFindings FindingsOf(const SQcReport& r)
{
    SFindings f;
    for (const SQcSignalRow& row : r.m_aRows)
    {
        const SignalKey key{row.m_uSystem, row.m_uNumber, row.m_uSignal};
        f.m_Counts[key] = {row.m_Counts.m_uEpochs, row.m_Counts.m_uArcs, row.m_Counts.m_uGaps,
                           row.m_Counts.m_uLossOfLock, row.m_Counts.m_uSlips};
        f.m_Expected[key] = row.m_Counts.m_uExpected;
        if (row.m_bHaveMultipath)
            f.m_Multipath[key] = row.m_dMultipathRms;
    }
    EXPECT_LE(r.m_uSlipEvents, kQcEventsKept) << "the comparison needs every slip listed";
    for (const SQcSlipEvent& e : r.m_aFirstSlips)
        f.m_Slips[{e.m_dSeconds, e.m_uSystem, e.m_uNumber}] = {e.m_uSignals, e.m_uTests};
    for (const SQcClockJump& j : r.m_aFirstClockJumps)
        f.m_ClockJumps.emplace_back(j.m_dSeconds, j.m_iMilliseconds);
    for (const SQcDropRow& d : r.m_aDrops)
        std::copy(std::begin(d.m_auCount), std::end(d.m_auCount),
                  f.m_Drops[{d.m_uSystem, d.m_uNumber, d.m_uSignal}].begin());
    f.m_uDamagedBytes = r.m_uDamagedBytes;
    f.m_uDamagedSpans = r.m_uDamagedSpans;
    return f;
}

const SFindings& CleanFindings()
{
    static const SFindings findings = FindingsOf(ReportOfLog(StationLog().m_Log.Log()));
    return findings;
}

double EpochSeconds(const SRinexObsEpoch& epoch)
{
    const fromrinex::SWeekTime t = fromrinex::GpsWeekTime(epoch.m_Time);
    return QcSeconds(GpsTime{t.m_uWeek, t.m_dSeconds});
}

SRinexSatObs* Find(SRinexObsEpoch& epoch, char system, int prn)
{
    for (SRinexSatObs& sat : epoch.m_aSatellites)
        if (sat.m_cSystem == system && sat.m_iPrn == prn)
            return &sat;
    return nullptr;
}

constexpr size_t kFaultEpoch = 120;

// Adds `delta` to the value `code` of one satellite from the fault epoch on.
void Shift(Epochs& epochs, char system, int prn, const char* code, double delta)
{
    for (size_t e = kFaultEpoch; e < epochs.size(); ++e)
        if (SRinexSatObs* sat = Find(epochs[e], system, prn))
            sat->m_Values.at(code).m_dValue += delta;
}

// Satellites the GPS messages carry above the table's 32 numbers, each for ten
// epochs of its own where at most 11 satellites are in view, so that no real
// one is pushed onto the channels without L2: SBAS 120 and 40 and 41 take the
// table's three extended rows, 42 finds none. Each is a copy of G12.
constexpr int kExtraNumbers[] = {120, 40, 41, 42};
constexpr size_t kFirstExtraEpoch = 150;
constexpr uint64_t kExtraEpochs = 10;

struct SFaultCase
{
    const char* m_szName;
    std::function<void(Epochs&)> m_Inject; // into the station's epochs
    // Into the built log, which the messages of each epoch start at; may be null.
    void (*m_Damage)(Bytes& log, const std::vector<size_t>& epochOffsets);
    // Turns the clean findings into the expected ones; the seconds are those of the fault epoch.
    std::function<void(SFindings&, double)> m_Expect;
    // Multipath RMS may move by this much (relative); the rows of the satellite the fault
    // touches (whose arcs it splits) are not compared.
    double m_dMultipathTolerance;
    uint32_t m_uTouchedSystem;
    uint32_t m_uTouchedNumber;
};

const SFaultCase kCases[] = {
    // Both combinations of the pair see it, and can't tell which of the two carriers
    // slipped: the slip counts on both.
    {"SlipOfTenCyclesOnOneCarrierOfTwo", [](Epochs& e) { Shift(e, 'G', 12, "L1C", 10.0); }, nullptr,
     [](SFindings& f, double t) {
         f.m_Slips[{t, eQcGps, 12}] = {1u << eQcGpsL1CA | 1u << eQcGpsL2,
                                       eQcSlipGeometryFree | eQcSlipMelbourneWuebbena};
         ++f.m_Counts[{eQcGps, 12, eQcGpsL1CA}][4];
         ++f.m_Counts[{eQcGps, 12, eQcGpsL2}][4];
     },
     0.0, eQcGps, 12},
    // C30 has B1I alone: code minus phase steps by 60 cycles, 11.5 m.
    {"SlipOnASingleCarrier", [](Epochs& e) { Shift(e, 'C', 30, "L2I", 60.0); }, nullptr,
     [](SFindings& f, double t) {
         f.m_Slips[{t, eQcBeidou, 30}] = {1u << eQcBdsB1, eQcSlipCodeMinusPhase};
         ++f.m_Counts[{eQcBeidou, 30, eQcBdsB1}][4];
     },
     0.0, eQcBeidou, 30},
    {"GapOfTenEpochs",
     [](Epochs& epochs) {
         for (size_t e = kFaultEpoch; e < kFaultEpoch + 10; ++e)
             std::erase_if(epochs[e].m_aSatellites,
                           [](const SRinexSatObs& s) { return s.m_cSystem == 'G' && s.m_iPrn == 25; });
     },
     nullptr,
     [](SFindings& f, double) {
         for (uint32_t s : {eQcGpsL1CA, eQcGpsL2, eQcGpsL1P})
         {
             auto& c = f.m_Counts[{eQcGps, 25, s}];
             c[0] -= 10; // epochs
             c[1] += 1;  // arcs
             c[2] += 1;  // gaps
             // L1 P has no column without -P1.
             f.m_Drops[{eQcGps, 25, s}][s == eQcGpsL1P ? eQcDropNoColumn : eQcWritten] -= 10;
         }
     },
     0.0, eQcGps, 25},
    // The codes step by c times 1 ms and the phases stay as they are in the observations; the
    // decoder places each phase next to its code again, so it follows in whole 8192-cycle units
    // and code minus phase steps by what they leave over (486 m on GPS L1). The report must
    // tell the clock jump at that epoch and take none of it for a slip.
    {"ClockJumpOfOneMillisecondOnTheCodes",
     [](Epochs& epochs) {
         for (size_t e = kFaultEpoch; e < epochs.size(); ++e)
             for (SRinexSatObs& sat : epochs[e].m_aSatellites)
                 for (auto& [code, value] : sat.m_Values)
                     if (code[0] == 'C')
                         value.m_dValue += kQcMillisecondMetres;
     },
     nullptr,
     [](SFindings& f, double t) {
         f.m_ClockJumps.emplace_back(t, 1);
         std::sort(f.m_ClockJumps.begin(), f.m_ClockJumps.end());
     },
     0.01, kQcSystemCount, 0},
    {"SatellitesBeyondTheTables",
     [](Epochs& epochs) {
         for (size_t i = 0; i < std::size(kExtraNumbers); ++i)
             for (size_t e = kFirstExtraEpoch + i * kExtraEpochs; e < kFirstExtraEpoch + (i + 1) * kExtraEpochs; ++e)
             {
                 SRinexSatObs copy = *Find(epochs[e], 'G', 12);
                 copy.m_iPrn = kExtraNumbers[i];
                 epochs[e].m_aSatellites.push_back(copy);
             }
     },
     nullptr,
     [](SFindings& f, double) {
         // The decoder takes L2 and L1 P of a number above 32 for no signal.
         for (int number : kExtraNumbers)
             f.m_Drops[{eQcSbas, number, eQcGpsL1CA}][number == 42 ? eQcDropBeyondTables : eQcDropNeverWritten] +=
                 kExtraEpochs;
     },
     0.0, kQcSystemCount, 0},
    // Junk without a byte that could start a frame, in front of the messages of two epochs
    // and at the end of the log.
    {"DamagedBytesBetweenFrames", [](Epochs&) {},
     [](Bytes& log, const std::vector<size_t>& at) {
         const Bytes junk(40, 'j');
         log.insert(log.end(), junk.begin(), junk.begin() + 3);
         log.insert(log.begin() + static_cast<std::ptrdiff_t>(at[180]), junk.begin(), junk.end());
         log.insert(log.begin() + static_cast<std::ptrdiff_t>(at[60]), junk.begin(), junk.begin() + 17);
     },
     [](SFindings& f, double) {
         f.m_uDamagedBytes += 60;
         f.m_uDamagedSpans += 3;
     },
     0.0, kQcSystemCount, 0},
};

void PrintTo(const SFaultCase& fault, std::ostream* out)
{
    *out << fault.m_szName;
}

class QcFaultTest : public ::testing::TestWithParam<SFaultCase>
{
};

TEST_P(QcFaultTest, FindsTheCleanFindingsPlusTheFault)
{
    const SFaultCase& fault = GetParam();
    SFindings expected = CleanFindings();
    double faultSeconds = 0.0;
    fromrinex::SBuiltLog built = StationLog([&](Epochs& epochs) {
        faultSeconds = EpochSeconds(epochs[kFaultEpoch]);
        fault.m_Inject(epochs);
    });
    Bytes log = built.m_Log.Log();
    if (fault.m_Damage != nullptr)
        fault.m_Damage(log, built.m_auEpochOffsets);
    const SQcReport report = ReportOfLog(log);
    const SFindings found = FindingsOf(report);
    fault.m_Expect(expected, faultSeconds);

    EXPECT_EQ(found.m_Counts, expected.m_Counts);
    EXPECT_EQ(found.m_Expected, expected.m_Expected);
    EXPECT_EQ(found.m_Slips, expected.m_Slips);
    EXPECT_EQ(found.m_ClockJumps, expected.m_ClockJumps);
    EXPECT_EQ(found.m_Drops, expected.m_Drops);
    EXPECT_EQ(found.m_uDamagedBytes, expected.m_uDamagedBytes);
    EXPECT_EQ(found.m_uDamagedSpans, expected.m_uDamagedSpans);
    EXPECT_TRUE(report.m_bDropsAddUp);
    ASSERT_EQ(found.m_Multipath.size(), expected.m_Multipath.size());
    for (const auto& [key, rms] : expected.m_Multipath)
    {
        if (std::get<0>(key) != fault.m_uTouchedSystem || std::get<1>(key) != fault.m_uTouchedNumber)
        {
            EXPECT_NEAR(found.m_Multipath.at(key), rms, fault.m_dMultipathTolerance * rms + 1e-9)
                << SatelliteName(std::get<0>(key), std::get<1>(key)) << " " << kQcSignals[std::get<2>(key)].m_szCode;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(StationLog, QcFaultTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<SFaultCase>& info) { return info.param.m_szName; });

// A sinusoidal multipath of amplitude A, six times the clean RMS, on one
// code, with a period of an eighth of the satellite's arc: the RMS becomes
// sqrt(clean^2 + A^2 / 2), within 5 %, and nothing else is found. The wave
// starts at its crest, so that an arc's first value can't stand in for its mean.
TEST(QcMultipathFault, SinusoidOnOneCodeAddsItsRms)
{
    struct SRow
    {
        char m_cSystem;
        int m_iPrn;
        const char* m_szCode;
        uint32_t m_uSystem;
        uint32_t m_uSignal;
    };
    const SRow kRows[] = {{'G', 14, "C1C", eQcGps, eQcGpsL1CA},
                          {'G', 31, "C2W", eQcGps, eQcGpsL2},
                          {'R', 14, "C1C", eQcGlonass, eQcGloL1},
                          {'C', 8, "C6I", eQcBeidou, eQcBdsB3}};
    const SFindings& before = CleanFindings();
    for (const SRow& row : kRows)
    {
        const SignalKey key{row.m_uSystem, static_cast<uint32_t>(row.m_iPrn), row.m_uSignal};
        const double rmsClean = before.m_Multipath.at(key);
        const double amplitude = 6.0 * rmsClean;
        const fromrinex::SBuiltLog built = StationLog([&](Epochs& epochs) {
            std::vector<std::pair<double, SRinexObsValue*>> arc;
            for (SRinexObsEpoch& epoch : epochs)
                if (SRinexSatObs* sat = Find(epoch, row.m_cSystem, row.m_iPrn))
                    arc.emplace_back(EpochSeconds(epoch), &sat->m_Values.at(row.m_szCode));
            ASSERT_GT(arc.size(), 100u);
            const double period = (arc.back().first - arc.front().first) / 8.0;
            for (auto& [t, value] : arc)
                value->m_dValue += amplitude * std::cos(2.0 * M_PI * (t - arc.front().first) / period);
        });
        const SFindings after = FindingsOf(ReportOfLog(built.m_Log.Log()));
        const double expected = std::sqrt(rmsClean * rmsClean + amplitude * amplitude / 2.0);
        EXPECT_NEAR(after.m_Multipath.at(key), expected, 0.05 * expected) << SatelliteName(row.m_uSystem, row.m_iPrn);
        EXPECT_EQ(after.m_Slips, before.m_Slips);
        EXPECT_EQ(after.m_Counts, before.m_Counts);
    }
}
} // namespace
