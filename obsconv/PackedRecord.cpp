#include "obsconv/PackedRecord.h"

#include "logio/ByteReader.h"
#include "obsconv/FixedPoint.h"
#include "obsconv/ObsConstants.h"

using namespace PackedObsRecord;

const CSnrTable kSnrTable12Bit(kSnrScale12Bit);

uint32_t SPackedRecord::Prn() const
{
    return m_uChannelWord & kPrnMask;
}

SPackedRecord ReadPackedRecord(const uint8_t* frame, uint32_t channelWordOffset, uint32_t recordOffset)
{
    return SPackedRecord{ReadU32(frame, channelWordOffset), ReadU32(frame, recordOffset + kWord0Offset),
                         ReadU32(frame, recordOffset + kWord1Offset), ReadU32(frame, recordOffset + kWord2Offset)};
}

void DecodeRecordState(SObsSlot& slot, const SPackedRecord& record, uint32_t rawSnr, const CSnrTable& snrTable,
                       bool fresh)
{
    SetSnrFromRaw(slot, rawSnr, snrTable);
    TakeSlipCounter(slot, (record.m_uWord0 >> kSlipCounterShift) & kSlipCounterMask, fresh);
    const uint32_t word1 = record.m_uWord1;
    slot.m_bGoodLock = (word1 & kGoodLockMask) != 0 ? 1 : 0;
    slot.m_dDoppler = DoubleFromFixed((word1 >> kDopplerShift) & kDopplerMask, kDopplerFractionBits,
                                      ((word1 >> kDopplerSignShift) & 1u) != 0);
}

uint64_t CodeAnchor(uint32_t channelWord, uint32_t l1Word2)
{
    return (static_cast<uint64_t>(channelWord >> kAnchorHighShift) << kCodeFragmentBits) | (l1Word2 & kLow16Mask);
}

double CodeOnAnchor(uint64_t anchor, uint32_t fragment)
{
    return DoubleFromFixed(MergeLowBits(anchor, fragment & kLow16Mask, kCodeFragmentBits), kCodeFractionBits, false);
}

double PhaseOnEstimate(double cycles, const SPackedRecord& record)
{
    const uint64_t estimate = FixedFromDouble(cycles, kPhaseFractionBits);
    const uint32_t fragment =
        ((record.m_uWord1 >> kPhaseHighShift) & kPhaseHighMask) << kPhaseLowShift | record.m_uWord2 >> kPhaseLowShift;
    return DoubleFromFixed(MergeLowBits(estimate, fragment, kPhaseFragmentBits), kPhaseFractionBits, false);
}
