// The detectors on the station's real data with one fault injected at a
// known place: what the report finds on the faulty series must be what it
// finds on the clean one plus the fault, nothing more and nothing less.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>
#include <tuple>

#include "qc/QcSignals.h"
#include "qc/SlipDetector.h"
#include "qc/TimeAxis.h"
#include "qc/QcTestData.h"

namespace
{
using SignalKey = std::tuple<uint32_t, uint32_t, uint32_t>; // system, number, signal

// What a report found, in a form that can be compared.
struct SFindings
{
    std::map<SignalKey, std::array<uint64_t, 5>> m_Counts; // epochs, arcs, gaps, loss of lock, slips
    std::map<SignalKey, double> m_Multipath;
    std::map<SignalKey, uint64_t> m_Expected;
    std::map<std::tuple<double, uint32_t, uint32_t>, uint32_t> m_Slips; // time, system, number -> signals
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
        if (row.m_bHaveMultipath)
            f.m_Multipath[key] = row.m_dMultipathRms;
        f.m_Expected[key] = row.m_Counts.m_uExpected;
    }
    EXPECT_LE(r.m_uSlipEvents, kQcEventsKept) << "the comparison needs every slip listed";
    for (const SQcSlipEvent& e : r.m_aFirstSlips)
        f.m_Slips[{e.m_dSeconds, e.m_uSystem, e.m_uNumber}] = e.m_uSignals;
    for (const SQcClockJump& j : r.m_aFirstClockJumps)
        f.m_ClockJumps.emplace_back(j.m_dSeconds, j.m_iMilliseconds);
    for (const SQcDropRow& d : r.m_aDrops)
    {
        std::array<uint64_t, kQcDropReasonCount> counts{};
        for (uint32_t k = 0; k < kQcDropReasonCount; ++k)
            counts[k] = d.m_auCount[k];
        f.m_Drops[{d.m_uSystem, d.m_uNumber, d.m_uSignal}] = counts;
    }
    f.m_uDamagedBytes = r.m_uDamagedBytes;
    f.m_uDamagedSpans = r.m_uDamagedSpans;
    return f;
}

double EpochSeconds(const SQcFeedData& data, size_t epoch)
{
    return QcSeconds(data.m_aEpochs[epoch].m_time);
}

SQcObservation* Find(SQcFeedEpoch& epoch, uint32_t system, uint32_t number, uint32_t signal)
{
    for (SQcObservation& obs : epoch.m_aObs)
        if (obs.m_uSystem == system && obs.m_uNumber == number && obs.m_uSignal == signal)
            return &obs;
    return nullptr;
}

constexpr size_t kFaultEpoch = 120;
constexpr uint32_t kAllSignals = 0xFF;

struct SFaultCase
{
    const char* m_szName;
    // Injects the fault into the data (and the analysis, for events outside the epochs).
    std::function<void(SQcFeedData&)> m_Inject;
    void (*m_Events)(CQcAnalysis&);
    // Turns the clean findings into the expected ones.
    std::function<void(SFindings&, const SQcFeedData&)> m_Expect;
    // Multipath RMS may move by this much (relative); the rows of the satellite the fault
    // touches (whose arcs it splits) are not compared.
    double m_dMultipathTolerance;
    uint32_t m_uTouchedSystem;
    uint32_t m_uTouchedNumber;
};

// Station G12 (high, both carriers) gets a slip of 10 L1 cycles; C30 (B1I only) one of 60.
void InjectSlip(SQcFeedData& data, uint32_t system, uint32_t number, uint32_t signal, double cycles)
{
    for (size_t e = kFaultEpoch; e < data.m_aEpochs.size(); ++e)
        if (SQcObservation* obs = Find(data.m_aEpochs[e], system, number, signal))
            obs->m_dPhase += cycles;
}

const SFaultCase kCases[] = {
    {"SlipOnOneSignalOfTwo", [](SQcFeedData& d) { InjectSlip(d, eQcGps, 12, eQcGpsL1CA, 10.0); }, nullptr,
     [](SFindings& f, const SQcFeedData& d) {
         f.m_Slips[{EpochSeconds(d, kFaultEpoch), eQcGps, 12}] = 1u << eQcGpsL1CA | 1u << eQcGpsL2;
         ++f.m_Counts[{eQcGps, 12, eQcGpsL1CA}][4];
         ++f.m_Counts[{eQcGps, 12, eQcGpsL2}][4];
     },
     0.0, eQcGps, 12},
    {"SlipOnASingleCarrier", [](SQcFeedData& d) { InjectSlip(d, eQcBeidou, 30, eQcBdsB1, 60.0); }, nullptr,
     [](SFindings& f, const SQcFeedData& d) {
         f.m_Slips[{EpochSeconds(d, kFaultEpoch), eQcBeidou, 30}] = 1u << eQcBdsB1;
         ++f.m_Counts[{eQcBeidou, 30, eQcBdsB1}][4];
     },
     0.0, eQcBeidou, 30},
    {"Gap",
     [](SQcFeedData& d) {
         for (size_t e = kFaultEpoch; e < kFaultEpoch + 10; ++e)
         {
             auto& obs = d.m_aEpochs[e].m_aObs;
             obs.erase(std::remove_if(obs.begin(), obs.end(),
                                      [](const SQcObservation& o) { return o.m_uSystem == eQcGps && o.m_uNumber == 25; }),
                       obs.end());
         }
     },
     nullptr,
     [](SFindings& f, const SQcFeedData&) {
         for (uint32_t s : {eQcGpsL1CA, eQcGpsL2, eQcGpsL1P})
         {
             auto& c = f.m_Counts[{eQcGps, 25, s}];
             c[0] -= 10; // epochs
             c[1] += 1;  // arcs
             c[2] += 1;  // gaps
             f.m_Drops[{eQcGps, 25, s}][eQcWritten] -= 10;
         }
     },
     0.0, eQcGps, 25},
    {"ClockJumpOfOneMillisecond",
     [](SQcFeedData& d) {
         // The codes step by c times 1 ms; the decoder places each phase next to its code again, so the
         // phase follows in the whole 8192-cycle units nearest to the step.
         for (size_t e = kFaultEpoch; e < d.m_aEpochs.size(); ++e)
             for (SQcObservation& obs : d.m_aEpochs[e].m_aObs)
             {
                 obs.m_dCode += kQcMillisecondMetres;
                 if (obs.m_bHavePhase)
                     obs.m_dPhase += 8192.0 * std::round(kQcMillisecondMetres / obs.m_dWavelength / 8192.0);
             }
     },
     nullptr, [](SFindings& f, const SQcFeedData& d) { f.m_ClockJumps.emplace_back(EpochSeconds(d, kFaultEpoch), 1); },
     0.02, kQcSystemCount, 0},
    {"SatelliteBeyondTheTables",
     [](SQcFeedData& d) {
         // Four GPS numbers above 32: the tables hold three, the fourth is dropped; and an SBAS satellite.
         for (SQcFeedEpoch& epoch : d.m_aEpochs)
         {
             const SQcObservation model = *Find(epoch, eQcGps, 12, eQcGpsL1CA);
             for (uint32_t number : {40u, 41u, 42u, 43u, 120u})
             {
                 SQcObservation obs = model;
                 obs.m_uNumber = number;
                 obs.m_uSystem = number == 120 ? eQcSbas : eQcGps;
                 obs.m_uDrop = number == 43 ? eQcDropBeyondTables : number == 120 ? eQcDropNeverWritten : eQcWritten;
                 if (number != 43 && number != 120)
                     continue; // the three held ones are left out of this case: only the dropped count
                 epoch.m_aObs.push_back(obs);
             }
         }
     },
     nullptr,
     [](SFindings& f, const SQcFeedData& d) {
         std::array<uint64_t, kQcDropReasonCount> beyond{};
         beyond[eQcDropBeyondTables] = d.m_aEpochs.size();
         f.m_Drops[{eQcGps, 43, eQcGpsL1CA}] = beyond;
         std::array<uint64_t, kQcDropReasonCount> sbas{};
         sbas[eQcDropNeverWritten] = d.m_aEpochs.size();
         f.m_Drops[{eQcSbas, 120, eQcGpsL1CA}] = sbas;
     },
     0.0, kQcSystemCount, 0},
    {"DamagedBytes", [](SQcFeedData&) {},
     [](CQcAnalysis& a) {
         a.NoteDamage(1000, 17);
         a.NoteDamage(1017, 3); // continues the span before
         a.NoteDamage(5000, 40);
     },
     [](SFindings& f, const SQcFeedData&) {
         f.m_uDamagedBytes += 60;
         f.m_uDamagedSpans += 2;
     },
     0.0, kQcSystemCount, 0},
};

class QcFaultTest : public ::testing::TestWithParam<SFaultCase>
{
};

TEST_P(QcFaultTest, FindsTheCleanFindingsPlusTheFault)
{
    const SFaultCase& fault = GetParam();
    const SQcFeedData& clean = StationData().m_Data;
    SFindings expected = FindingsOf(ReportOf(clean));
    SQcFeedData faulty = clean;
    fault.m_Inject(faulty);
    const SQcReport report = ReportOf(faulty, SQcOptions{}, fault.m_Events);
    const SFindings found = FindingsOf(report);
    fault.m_Expect(expected, clean);

    EXPECT_EQ(found.m_Counts, expected.m_Counts);
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

INSTANTIATE_TEST_SUITE_P(StationData, QcFaultTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<SFaultCase>& info) { return std::string(info.param.m_szName); });

// A sinusoidal multipath of amplitude A on one code, with a period of an
// eighth of the arc: the RMS becomes sqrt(clean^2 + A^2 / 2), within 5 %.
TEST(QcMultipathFault, SinusoidOnOneCodeAddsItsRms)
{
    struct SRow
    {
        uint32_t m_uSystem;
        uint32_t m_uNumber;
        uint32_t m_uSignal;
    };
    const SRow kRows[] = {{eQcGps, 14, eQcGpsL1CA}, {eQcGps, 31, eQcGpsL2}, {eQcGlonass, 14, eQcGloL1},
                          {eQcBeidou, 8, eQcBdsB3}};
    const SQcFeedData& clean = StationData().m_Data;
    const SFindings before = FindingsOf(ReportOf(clean));
    for (const SRow& row : kRows)
    {
        const SignalKey key{row.m_uSystem, row.m_uNumber, row.m_uSignal};
        const double rmsClean = before.m_Multipath.at(key);
        const double amplitude = 6.0 * rmsClean;
        const double period = (EpochSeconds(clean, clean.m_aEpochs.size() - 1) - EpochSeconds(clean, 0)) / 8.0;
        SQcFeedData faulty = clean;
        for (SQcFeedEpoch& epoch : faulty.m_aEpochs)
            if (SQcObservation* obs = Find(epoch, row.m_uSystem, row.m_uNumber, row.m_uSignal))
                obs->m_dCode += amplitude * std::sin(2.0 * 3.14159265358979323846 * QcSeconds(epoch.m_time) / period);
        const SFindings after = FindingsOf(ReportOf(faulty));
        const double expected = std::sqrt(rmsClean * rmsClean + amplitude * amplitude / 2.0);
        EXPECT_NEAR(after.m_Multipath.at(key), expected, 0.05 * expected) << SatelliteName(row.m_uSystem, row.m_uNumber);
        EXPECT_EQ(after.m_Slips, before.m_Slips);
        EXPECT_EQ(after.m_Counts, before.m_Counts);
    }
}
} // namespace
