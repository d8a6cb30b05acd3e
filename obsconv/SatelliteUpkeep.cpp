#include "obsconv/SatelliteUpkeep.h"

uint32_t PrnWithRow(CGpsNavState& table, uint32_t prn, uint32_t rows)
{
    const int32_t row = table.SatIndexFromPRN(static_cast<int32_t>(prn));
    return row >= 0 && row < static_cast<int32_t>(rows) ? prn : 0;
}

bool LeftOutByMask(bool usable, double elevation, const SMaskRule& mask)
{
    if (!mask.Acts())
        return false;
    if (usable)
        return elevation < mask.m_dElevationMask;
    return !mask.m_bOutputBeforeEphemeris;
}
