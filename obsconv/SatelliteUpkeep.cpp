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

void KeepSatelliteUp(CGpsNavState& table, uint32_t prn, SObsSlot& slot, const SMaskRule& mask)
{
    table.UpdateEphemerisAge(prn);
    const bool usable = table.ActivateEphemeris(prn);
    // The elevation serves the mask alone: without it the orbit isn't
    // computed for every observation.
    if (!mask.Acts())
    {
        slot.m_bMasked = 0;
        return;
    }
    slot.m_bUsable = usable ? 1 : 0;
    if (usable)
        table.UpdateElevation(prn, true);

    uint32_t row = 0;
    const double elevation = table.RowOfPRN(prn, row) ? table.m_adElevation[row] : 0.0;
    slot.m_bMasked = LeftOutByMask(usable, elevation, mask) ? 1 : 0;
}
