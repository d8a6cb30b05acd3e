#include "obsconv/ObsEpoch.h"

#include <algorithm>

void SelectListed(SObsEpoch& epoch)
{
    int32_t* list = epoch.m_aiList;
    uint32_t count = 0;
    for (uint32_t row = 0; row < kSatRows && count < kEpochListSize; ++row)
    {
        const SObsEntry& entry = epoch.m_aGpsL1[row];
        if (IsListed(entry) && entry.m_uPRN >= 1 && entry.m_uPRN <= kLastGpsNumber)
            list[count++] = static_cast<int32_t>(entry.m_uPRN) + g_aSystemBase[eSystemGps];
    }
    if (epoch.m_bSeenGlonass)
    {
        for (uint32_t row = 0; row < kGlonassSlots && count < kEpochListSize; ++row)
        {
            const SObsEntry& entry = epoch.m_aGloL1[row];
            if (IsListed(entry) && entry.m_uPRN >= 1 && entry.m_uPRN <= kGlonassSlots)
                list[count++] = static_cast<int32_t>(entry.m_uPRN) + g_aSystemBase[eSystemGlonass];
        }
    }
    if (epoch.m_abSeenBeidou[0] || epoch.m_abSeenBeidou[1] || epoch.m_abSeenBeidou[2])
    {
        const uint32_t bdsRows = std::min(epoch.m_uBdsRowsInUse, kBeidouRows);
        for (uint32_t row = 0; row < bdsRows && count < kEpochListSize; ++row)
        {
            for (uint32_t band = 0; band < kBdsBands; ++band)
            {
                const SObsEntry& entry = epoch.m_aBds[band][row];
                if (!IsListed(entry))
                    continue;
                if (entry.m_uPRN >= 1)
                    list[count++] = static_cast<int32_t>(entry.m_uPRN) + g_aSystemBase[eSystemBeidou];
                break;
            }
        }
    }
    epoch.m_uListCount = count;
}

void ClearEpochTables(SObsEpoch& epoch)
{
    // Measurements, numbers and strengths live on: only the flags say what
    // belongs to the pending epoch.
    const auto clear = [](SObsEntry* table, uint32_t rows) {
        for (uint32_t row = 0; row < rows; ++row)
        {
            table[row].m_uLli = 0;
            table[row].m_bValid = 0;
            table[row].m_bGood = 0;
        }
    };
    clear(epoch.m_aGpsL1, kSatRows);
    clear(epoch.m_aGpsL2, kSatRows);
    clear(epoch.m_aGpsL1P, kSatRows);
    clear(epoch.m_aGloL1, kSatRows);
    clear(epoch.m_aGloL2, kSatRows);
    // BeiDou rows no message has reached hold nothing.
    for (SObsEntry* band : epoch.m_aBds)
        clear(band, std::min(epoch.m_uBdsRowsInUse, kBeidouRows));
}
