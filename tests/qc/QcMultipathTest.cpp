// Code multipath on synthetic carriers: range, clock and a strongly varying
// ionosphere with constant ambiguities cancel in the combination, so the RMS
// is zero; an ambiguity that changes where an arc must end (gap, loss of
// lock) leaves it zero too, and the partner is the carrier the pairing names.
#include <gtest/gtest.h>

#include <cmath>

#include "qc/QcAnalysis.h"
#include "qc/QcSignals.h"

namespace
{
constexpr double kGloChannelL1 = 562500.0;
constexpr double kGloChannelL2 = 437500.0;

struct SMpCase
{
    const char* m_szName;
    uint32_t m_uSystem;
    uint32_t m_auSignals[3];   // the satellite's signals (kQcNoSignal ends)
    int m_iChannel;            // GLONASS frequency channel
    uint32_t m_uSignal;        // the code looked at
    uint32_t m_uPartner;       // the carrier its combination must take
    size_t m_uBreakEpoch;      // the ambiguities change here (0: never)
    bool m_bGap;               // with ten epochs missing before it
    bool m_bLossOfLock;        // with the receiver's mark at it
};

const SMpCase kCases[] = {
    {"GpsL1", eQcGps, {eQcGpsL1CA, eQcGpsL2, eQcGpsL1P}, 0, eQcGpsL1CA, eQcGpsL2, 0, false, false},
    {"GpsL2", eQcGps, {eQcGpsL1CA, eQcGpsL2, eQcGpsL1P}, 0, eQcGpsL2, eQcGpsL1CA, 0, false, false},
    {"GpsL1P", eQcGps, {eQcGpsL1CA, eQcGpsL2, eQcGpsL1P}, 0, eQcGpsL1P, eQcGpsL2, 0, false, false},
    {"GlonassL1LowChannel", eQcGlonass, {eQcGloL1, eQcGloL2, kQcNoSignal}, -7, eQcGloL1, eQcGloL2, 0, false, false},
    {"GlonassL2HighChannel", eQcGlonass, {eQcGloL1, eQcGloL2, kQcNoSignal}, 6, eQcGloL2, eQcGloL1, 0, false, false},
    {"BeidouB1WithB3", eQcBeidou, {eQcBdsB1, eQcBdsB2, eQcBdsB3}, 0, eQcBdsB1, eQcBdsB3, 0, false, false},
    {"BeidouB1WithoutB3", eQcBeidou, {eQcBdsB1, eQcBdsB2, kQcNoSignal}, 0, eQcBdsB1, eQcBdsB2, 0, false, false},
    {"BeidouB2", eQcBeidou, {eQcBdsB1, eQcBdsB2, eQcBdsB3}, 0, eQcBdsB2, eQcBdsB1, 0, false, false},
    {"BeidouB3", eQcBeidou, {eQcBdsB1, eQcBdsB2, eQcBdsB3}, 0, eQcBdsB3, eQcBdsB1, 0, false, false},
    {"ArcEndsAtAGap", eQcGps, {eQcGpsL1CA, eQcGpsL2, kQcNoSignal}, 0, eQcGpsL1CA, eQcGpsL2, 200, true, false},
    {"ArcEndsAtLossOfLock", eQcGps, {eQcGpsL1CA, eQcGpsL2, kQcNoSignal}, 0, eQcGpsL1CA, eQcGpsL2, 200, false, true},
};

double Frequency(uint32_t signal, int channel)
{
    if (signal == eQcGloL1)
        return kQcSignals[signal].m_dFrequency + channel * kGloChannelL1;
    if (signal == eQcGloL2)
        return kQcSignals[signal].m_dFrequency + channel * kGloChannelL2;
    return kQcSignals[signal].m_dFrequency;
}

class QcMultipathTest : public ::testing::TestWithParam<SMpCase>
{
};

TEST_P(QcMultipathTest, IonosphereAndAmbiguitiesCancel)
{
    const SMpCase& c = GetParam();
    CQcAnalysis analysis(SQcOptions{});
    const double interval = 30.0;
    const double start = 2111 * kSecondsPerWeek + 21600.0;
    for (size_t e = 0; e < 400; ++e)
    {
        if (c.m_bGap && e + 10 >= c.m_uBreakEpoch && e < c.m_uBreakEpoch)
            continue;
        const double t = start + e * interval;
        // Range and a large ionosphere (metres on L1) that rises and falls within the arc.
        const double range = 2.2e7 + 600.0 * e;
        const double iono = 8.0 + 6.0 * std::sin(e / 40.0);
        analysis.BeginEpoch(QcGpsTime(t));
        for (uint32_t signal : c.m_auSignals)
        {
            if (signal == kQcNoSignal)
                continue;
            const double f = Frequency(signal, c.m_iChannel);
            const double ionoHere = iono * (1575.42e6 * 1575.42e6) / (f * f);
            SQcObservation obs;
            obs.m_uSystem = c.m_uSystem;
            obs.m_uNumber = 7;
            obs.m_uSignal = signal;
            obs.m_dWavelength = kQcSpeedOfLight / f;
            obs.m_bHaveCode = true;
            obs.m_dCode = range + ionoHere;
            obs.m_bHavePhase = kQcSignals[signal].m_uPhaseSignal == signal;
            const double ambiguity = 1000.0 * (signal + 1) + (c.m_uBreakEpoch != 0 && e >= c.m_uBreakEpoch ? 37.0 * (signal + 2) : 0.0);
            obs.m_dPhase = (range - ionoHere) / obs.m_dWavelength + ambiguity;
            obs.m_bLossOfLock = c.m_bLossOfLock && e == c.m_uBreakEpoch;
            analysis.AddObservation(obs);
        }
        analysis.EndEpoch();
    }
    SQcReport report;
    analysis.BuildReport(report);
    const SQcSignalRow* row = nullptr;
    for (const SQcSignalRow& r : report.m_aRows)
        if (r.m_uSignal == c.m_uSignal)
            row = &r;
    ASSERT_NE(row, nullptr);
    ASSERT_TRUE(row->m_bHaveMultipath);
    EXPECT_EQ(row->m_uMultipathPartner, c.m_uPartner);
    EXPECT_LT(row->m_dMultipathRms, 1e-4);
    EXPECT_EQ(row->m_uMultipathArcs, c.m_uBreakEpoch != 0 ? 2u : 1u);
}

INSTANTIATE_TEST_SUITE_P(Synthetic, QcMultipathTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<SMpCase>& info) { return std::string(info.param.m_szName); });
} // namespace
