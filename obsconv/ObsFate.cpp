#include "obsconv/ObsFate.h"

namespace
{
bool GpsLineWritten(const SObsEpoch& epoch, uint32_t row)
{
    const SObsEntry& l1 = epoch.m_aGpsL1[row];
    return IsListed(l1) && l1.m_uPRN >= 1 && l1.m_uPRN <= kLastGpsNumber;
}

bool GlonassLineWritten(const SObsEpoch& epoch, uint32_t row)
{
    const SObsEntry& l1 = epoch.m_aGloL1[row];
    return epoch.m_bSeenGlonass && IsListed(l1) && l1.m_uPRN >= 1 && l1.m_uPRN <= kGlonassSlots;
}

// A BeiDou row stands in the epoch line by its first listed band.
bool BeidouLineWritten(const SObsEpoch& epoch, uint32_t row)
{
    if (row >= epoch.m_uBdsRowsInUse)
        return false;
    for (uint32_t band = 0; band < kBdsBands; ++band)
    {
        const SObsEntry& entry = epoch.m_aBds[band][row];
        if (IsListed(entry))
            return entry.m_uPRN >= 1;
    }
    return false;
}
} // namespace

bool ValueWritten(const SObsEpoch& epoch, ESystem system, uint32_t signal, uint32_t band, uint32_t row)
{
    switch (system)
    {
    case eSystemGps:
        if (row >= kSatRows || !GpsLineWritten(epoch, row))
            return false;
        if (signal == kSignalGpsL2)
            return epoch.m_bSeenL2 && IsListed(epoch.m_aGpsL2[row]);
        if (signal == kSignalGpsL1P)
            return epoch.m_bSeenL1P && IsListed(epoch.m_aGpsL1P[row]);
        return true;
    case eSystemGlonass:
        if (row >= kGlonassSlots || !GlonassLineWritten(epoch, row))
            return false;
        if (signal == kSignalGloL2)
        {
            const SObsEntry& l2 = epoch.m_aGloL2[row];
            return epoch.m_bSeenL2 && IsListed(l2) && l2.m_uPRN >= 1 && l2.m_uPRN <= kGlonassSlots;
        }
        return true;
    case eSystemBeidou:
        return band < kBdsBands && row < kBeidouRows && BeidouLineWritten(epoch, row) &&
               epoch.m_abSeenBeidou[band] && IsListed(epoch.m_aBds[band][row]);
    default:
        return false;
    }
}
