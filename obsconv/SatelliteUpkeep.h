#pragma once

#include <cstdint>

#include "navstate/NavState.h"
#include "obsconv/ObsSlots.h"

// The elevation mask of a run: -E with its value, whether a location is
// known, and -B.
struct SMaskRule
{
    bool m_bElevationMask = false;         // -E given
    double m_dElevationMask = 0.0;         // degrees
    bool m_bHaveLocation = false;          // -L, or a position sentence with -R
    bool m_bOutputBeforeEphemeris = false; // -B

    // The mask acts only with -E and a location.
    bool Acts() const { return m_bElevationMask && m_bHaveLocation; }
};

// `prn` when the table has a row for it among its first `rows`, else 0: a
// number the table can't place leaves the channel empty for this message. The
// look-up also registers numbers above 32 in the extended rows. Like the
// upkeep below, it is made on the table's own class.
template <class Table>
uint32_t PrnWithRow(Table& table, uint32_t prn, uint32_t rows)
{
    const int32_t row = table.Table::SatIndexFromPRN(static_cast<int32_t>(prn));
    return row >= 0 && row < static_cast<int32_t>(rows) ? prn : 0;
}

// Whether -E leaves a satellite out of the observation file. The mask acts
// only with a receiver location: then a satellite with a usable ephemeris is
// left out below the mask, and one without (its elevation is not known) is
// left out unless -B is given. Without -E nothing is left out.
bool LeftOutByMask(bool usable, double elevation, const SMaskRule& mask);

// The navigation state's upkeep for one decoded observation, on the table of
// the satellite's system: the age of its ephemeris is evaluated again, a
// record that arrived since the last epoch comes into use, and a usable
// record gives a fresh elevation when the elevation mask acts. Then decides
// whether the mask leaves the slot out of the observation file.
//
// It runs for every observation of the log. Each decoder passes the table of
// its own system as that system's class, and the table's calls are made on
// that class by name: resolved when the program is built, they can be
// inlined into the decoder.
template <class Table>
void KeepSatelliteUp(Table& table, uint32_t prn, SObsSlot& slot, const SMaskRule& mask)
{
    table.Table::UpdateEphemerisAge(prn);
    const bool usable = table.Table::ActivateEphemeris(prn);
    // The elevation serves the mask alone: without it the orbit isn't
    // computed for every observation.
    if (!mask.Acts())
    {
        slot.m_bMasked = 0;
        return;
    }
    slot.m_bUsable = usable ? 1 : 0;
    if (usable)
        table.Table::UpdateElevation(prn, true);

    uint32_t row = 0;
    const double elevation = table.RowOfPRN(prn, row) ? table.m_adElevation[row] : 0.0;
    slot.m_bMasked = LeftOutByMask(usable, elevation, mask) ? 1 : 0;
}
