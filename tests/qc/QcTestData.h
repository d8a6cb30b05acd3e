#pragma once

#include <filesystem>
#include <string>

#include "qcfeed/RinexQcFeed.h"

// The station data of examples/data, read once for all quality report tests.
struct SQcStationData
{
    SQcFeedData m_Data;
    CRinexGeometry m_Geometry;
    std::vector<SQcEphemerisArrival> m_aArrivals;
};

inline const SQcStationData& StationData()
{
    static const SQcStationData* data = [] {
        auto* d = new SQcStationData;
        const std::filesystem::path dir =
            std::filesystem::path(__FILE__).parent_path().parent_path().parent_path() / "examples" / "data";
        std::string error;
        if (!LoadFeedData((dir / "ESBC_2020177_0600_2h_GRC.obs.rnx.gz").string(), d->m_Data, error) ||
            !d->m_Geometry.Load((dir / "ESBC_2020177_GRC.nav.rnx.gz").string(), error))
            throw std::runtime_error("station data: " + error);
        d->m_aArrivals = d->m_Geometry.Arrivals();
        return d;
    }();
    return *data;
}

// The report of `data` with the station's geometry.
inline SQcReport ReportOf(const SQcFeedData& data, const SQcOptions& options = SQcOptions{})
{
    CRinexGeometry geometry = StationData().m_Geometry;
    CQcAnalysis analysis(options, &geometry);
    FeedAnalysis(analysis, data, StationData().m_aArrivals);
    SQcReport report;
    analysis.BuildReport(report);
    return report;
}
