#include "obsconv/ObsSlots.h"

#include "obsconv/ObsConstants.h"

namespace
{
// Gives every slot of one array its channel index and the array's signal code.
void InitSlotArray(SObsSlot (&slots)[kSlotsPerArray], uint32_t signal)
{
    for (uint32_t n = 0; n < kSlotsPerArray; ++n)
    {
        slots[n].m_uChannel = n;
        slots[n].m_uSignal = signal;
    }
}
} // namespace

SObsSlots::SObsSlots() : m_aSlotGpsL1{}, m_aSlotGpsL2{}, m_aSlotGpsL1P{}, m_aSlotGloL1{}, m_aSlotGloL2{}, m_aSlotBds{}
{
    InitSlotArray(m_aSlotGpsL1, kSignalL1);
    InitSlotArray(m_aSlotGpsL2, kSignalGpsL2);
    InitSlotArray(m_aSlotGpsL1P, kSignalGpsL1P);
    InitSlotArray(m_aSlotGloL1, kSignalL1);
    InitSlotArray(m_aSlotGloL2, kSignalGloL2);
    // The BeiDou bands keep the signal code they started with (L1 strength table).
    for (uint32_t band = 0; band < kBdsSlotBands; ++band)
        for (uint32_t n = 0; n < kBdsSlotsPerBand; ++n)
            m_aSlotBds[band][n].m_uChannel = n;
}

void SetSnrFromRaw(SObsSlot& slot, uint32_t raw, const CSnrTable& table)
{
    slot.m_dSnr = table.Db(raw);
}

void TakeSlipCounter(SObsSlot& slot, uint32_t counter, bool fresh)
{
    if (fresh)
        slot.m_uSlipCounter = counter; // a new satellite starts with delta 0
    // Unsigned subtraction wraps at 2^32, a multiple of 256: 255 -> 1 gives 2.
    slot.m_uSlipDelta = (counter - slot.m_uSlipCounter) % kSlipModulus;
    slot.m_uSlipCounter = counter;
}
