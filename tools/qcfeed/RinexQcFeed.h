#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "logbuild/RinexNavReader.h"
#include "logbuild/RinexObsReader.h"
#include "qc/QcAnalysis.h"
#include "qc/QcInput.h"

// Feeds the quality report from RINEX files instead of a log: the
// observations of a RINEX 3 observation file as the plain records a log
// reader gives (with the signals the log's messages carry), and satellite
// geometry from the broadcast records of a navigation file. The report's
// tests of multipath, position and the page read real station data this way
// (the fault tests go through logs built from the same data), and rinex2qc
// renders reports from it.

struct SQcFeedEpoch
{
    GpsTime m_time{};
    std::vector<SQcObservation> m_aObs;
};

struct SQcFeedData
{
    SRinexObsHeader m_Header;
    std::vector<SQcFeedEpoch> m_aEpochs;
};

// Reads an observation file into epochs of plain records: GPS L1 C/A from
// C1C/L1C/D1C/S1C, L2 from C2W/L2W/D2W/S2W, L1 P from C1W/S1W (code and
// strength only, as the messages carry it); GLONASS L1 from C1C..., L2 from
// C2C... (else C2P...); BeiDou B1I from C2I..., B2I from C7I..., B3I from
// C6I.... A phase's loss-of-lock indicator becomes the loss-of-lock mark;
// wavelengths are those of the carrier (GLONASS: of the slot's channel in
// the header). Every observation is written (eQcWritten).
bool LoadFeedData(const std::string& path, SQcFeedData& data, std::string& error);

// Satellite positions and clocks from broadcast records: GPS and BeiDou by
// their Kepler elements (BeiDou's geostationary satellites by their own
// rotation), GLONASS by integrating the broadcast state. The record nearest
// in reference time is used, within a system's limit.
class CRinexGeometry : public CQcSatelliteGeometry
{
public:
    bool Load(const std::string& path, std::string& error);
    bool SatelliteAt(uint32_t system, uint32_t number, const GpsTime& transmitTime, double xyz[3],
                     double& clockBias) override;
    // One arrival per record, at the time a receiver would have had it.
    std::vector<SQcEphemerisArrival> Arrivals() const;

    struct SRecord
    {
        uint32_t m_uSystem = 0;
        uint32_t m_uNumber = 0;
        double m_dToe = 0.0;   // GPS seconds since the GPS epoch: toe, or GLONASS tb
        double m_dToc = 0.0;
        std::vector<double> m_adValues;
    };

private:
    const SRecord* Nearest(uint32_t system, uint32_t number, double seconds) const;
    std::vector<SRecord> m_aRecords;
    double m_dLeapSeconds = 18.0;
};

// Feeds `data` into `analysis` epoch by epoch, with the arrivals whose time
// has come before each epoch.
void FeedAnalysis(CQcAnalysis& analysis, const SQcFeedData& data, const std::vector<SQcEphemerisArrival>& arrivals);
