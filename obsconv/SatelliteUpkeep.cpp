#include "obsconv/SatelliteUpkeep.h"

bool LeftOutByMask(bool usable, double elevation, const SMaskRule& mask)
{
    if (!mask.Acts())
        return false;
    if (usable)
        return elevation < mask.m_dElevationMask;
    return !mask.m_bOutputBeforeEphemeris;
}
