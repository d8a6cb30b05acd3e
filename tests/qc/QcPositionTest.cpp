// Single-point positions from the station's code ranges and broadcast
// ephemerides, against the station's known position, with and without a
// position to start from.
#include <gtest/gtest.h>

#include <cmath>

#include "qc/PointPosition.h"
#include "qc/QcTestData.h"

namespace
{
struct SPositionCase
{
    const char* m_szName;
    bool m_bGiven;          // -L with the station's position
    double m_dMaxDistance;  // metres from the station
};

const SPositionCase kCases[] = {{"FromTheEarthsCentre", false, 5.0}, {"FromTheGivenSite", true, 5.0}};

class QcPositionTest : public ::testing::TestWithParam<SPositionCase>
{
};

TEST_P(QcPositionTest, MedianFixIsNearTheStation)
{
    const SPositionCase& c = GetParam();
    const SQcStationData& station = StationData();
    const auto& xyz = station.m_Data.m_Header.m_adApproxXyz;
    SQcOptions options;
    if (c.m_bGiven)
    {
        options.m_bHaveLocation = true;
        EcefToGeodetic(xyz.data(), options.m_adLocation);
    }
    const SQcReport report = ReportOf(station.m_Data, options);
    const SQcPosition& p = report.m_Position;
    ASSERT_TRUE(p.m_bHaveFixes);
    // One fix per 30 s epoch of the two hours.
    EXPECT_EQ(p.m_uFixes, station.m_Data.m_aEpochs.size());
    const double d = std::sqrt(std::pow(p.m_adMedianXyz[0] - xyz[0], 2) + std::pow(p.m_adMedianXyz[1] - xyz[1], 2) +
                               std::pow(p.m_adMedianXyz[2] - xyz[2], 2));
    EXPECT_LT(d, c.m_dMaxDistance);
    for (double spread : p.m_adSpreadNeu)
        EXPECT_LT(spread, 15.0);
    EXPECT_EQ(p.m_bHaveDistance, c.m_bGiven);
    if (c.m_bGiven)
    {
        EXPECT_EQ(p.m_uSource, static_cast<uint32_t>(eQcPositionGiven));
        EXPECT_NEAR(p.m_dDistance, d, 1e-3);
        EXPECT_NEAR(std::hypot(std::hypot(p.m_adOffsetNeu[0], p.m_adOffsetNeu[1]), p.m_adOffsetNeu[2]), d, 1e-3);
    }
}

INSTANTIATE_TEST_SUITE_P(StationData, QcPositionTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<SPositionCase>& info) { return std::string(info.param.m_szName); });
} // namespace
