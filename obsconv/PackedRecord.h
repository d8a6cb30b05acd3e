#pragma once

#include <cstdint>

#include "obsconv/ObsSlots.h"

// The reading of one packed observation record (BIN76, BIN66, BIN36): the
// three words of one signal and the word of its channel, and the fields they
// share across the three messages.
struct SPackedRecord
{
    uint32_t m_uChannelWord;
    uint32_t m_uWord0;
    uint32_t m_uWord1;
    uint32_t m_uWord2;

    // An all-zero record is how the receiver says the signal isn't tracked.
    bool IsEmpty() const { return m_uWord0 == 0 && m_uWord1 == 0 && m_uWord2 == 0; }
    // The satellite number of the channel.
    uint32_t Prn() const;
};

// The channel word at `channelWordOffset` and the record at `recordOffset` of the frame.
SPackedRecord ReadPackedRecord(const uint8_t* frame, uint32_t channelWordOffset, uint32_t recordOffset);

// The signal to noise of the packed messages' 12-bit raw values (all signals
// but BIN76's L2 and L1 P).
extern const CSnrTable kSnrTable12Bit;

// Signal to noise, slip counter, good lock and Doppler of the record into the
// slot; `snrTable` is the table of the signal's raw value.
void DecodeRecordState(SObsSlot& slot, const SPackedRecord& record, uint32_t rawSnr, const CSnrTable& snrTable,
                       bool fresh);

// The channel's whole code range in 1/256 m: bits 16 to 34 from the channel
// word, the low 16 bits from word 2 of the L1 record.
uint64_t CodeAnchor(uint32_t channelWord, uint32_t l1Word2);

// The code range in metres of a 16-bit fragment placed on `anchor`.
double CodeOnAnchor(uint64_t anchor, uint32_t fragment);

// The phase in cycles: the record's 23-bit fragment (the phase modulo 8192
// cycles) placed on the estimate `cycles` taken from the code range.
double PhaseOnEstimate(double cycles, const SPackedRecord& record);
