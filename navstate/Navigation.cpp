#include "navstate/Navigation.h"

void CNavigation::PassGpsRecords()
{
    for (uint32_t number = 1; number <= kLastGpsNumber; ++number)
    {
        m_Gps.ActivateEphemeris(number);
        if (!m_bGpsRecordHeld && m_Gps.GetStructAlways(number, nullptr) != nullptr)
            m_bGpsRecordHeld = true;
    }
    if (m_bGpsRecordHeld && !m_Utc.UtcTaken() && m_Utc.Bin94Stored())
        m_Utc.TakeUtcParams();
}

void CNavigation::PassGlonassRecords()
{
    for (uint32_t slot = 1; slot <= kGlonassSlots; ++slot)
        m_Glonass.ActivateEphemeris(slot);
}

void CNavigation::PassBeidouRecords()
{
    for (uint32_t number = 1; number <= kBeidouRows; ++number)
        m_Beidou.ActivateEphemeris(number);
}
