#pragma once

#include <cstdint>

#include "gnsstime/GpsTime.h"
#include "navstate/Navigation.h"
#include "qc/QcInput.h"

// The satellites' geometry for the report, from the log's own broadcast
// records as the navigation state holds them at the time of asking. Only
// reads the tables: the conversion's decisions, which rest on their cached
// states and elevations, stay exactly those of a conversion.
class CQcNavGeometry : public CQcSatelliteGeometry
{
public:
    explicit CQcNavGeometry(CNavigation& navigation) : m_Navigation(navigation) {}

    bool SatelliteAt(uint32_t system, uint32_t number, const GpsTime& transmitTime, double xyz[3],
                     double& clockBias) override;

private:
    CNavigation& m_Navigation;
};
