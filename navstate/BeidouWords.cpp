#include <algorithm>
#include <cstdint>

#include "navstate/BeidouSubFrame.h"

namespace
{
// A B1I word is 30 bits, stored right-justified; bit 29 went out first.
constexpr uint32_t kBitsPerWord = 30;
// Word 0 of a subframe ends in one BCH(15,11) parity group, every later word
// in two.
constexpr uint32_t kFirstWordParityBits = 4;
constexpr uint32_t kLaterWordParityBits = 8;
constexpr uint32_t kMaxFieldBits = 32;

// Bits 31-30 (not part of the word) and 7-0 (the parity of both code words,
// still interleaved) pass Deinterleave unchanged.
constexpr uint32_t kDeinterleaveKeptBits = 0xC00000FFu;
// Data bits of each of the two interleaved code words.
constexpr uint32_t kCodeWordDataBits = 11;
constexpr uint32_t kFirstTransmittedBit = 29; // first data bit of code word 1
constexpr uint32_t kSecondCodeWordTop = 18;   // where code word 2 begins after sorting
} // namespace

C30BitFrameWord::C30BitFrameWord(const uint32_t* pauWords, uint32_t wordCount, bool bParity)
    : m_uBitPos(0), m_pauWords(pauWords), m_uWordCount(wordCount), m_bParity(bParity)
{
}

uint32_t C30BitFrameWord::GetUWord(uint32_t start, uint32_t width)
{
    if (width == 0 || width > kMaxFieldBits)
        return 0;

    const auto dataBitsOf = [this](uint32_t k) {
        if (!m_bParity)
            return kBitsPerWord;
        return kBitsPerWord - (k == 0 ? kFirstWordParityBits : kLaterWordParityBits);
    };

    uint32_t k = start / kBitsPerWord;
    uint32_t d = start % kBitsPerWord;
    uint32_t dataBits = dataBitsOf(k);
    if (d >= dataBits)
    {
        // A start in the parity bits: no field of the message begins there.
        m_uBitPos = start + width;
        return 0;
    }

    uint32_t value = 0;
    uint32_t missing = width;
    uint32_t take = 0;
    for (;;)
    {
        // The high bits of the field come first, from the word's remaining data bits.
        take = std::min(dataBits - d, missing);
        const uint32_t word = k < m_uWordCount ? m_pauWords[k] : 0u; // no word behind the array
        const uint32_t bits = (word >> (kBitsPerWord - d - take)) & ((1u << take) - 1u);
        value = value << take | bits;
        missing -= take;
        if (missing == 0)
            break;
        // Parity bits in between are dropped unchecked.
        ++k;
        d = 0;
        dataBits = dataBitsOf(k);
    }
    m_uBitPos = k * kBitsPerWord + d + take;
    return value;
}

uint32_t Deinterleave(uint32_t word)
{
    uint32_t sorted = word & kDeinterleaveKeptBits;
    for (uint32_t i = 0; i < kCodeWordDataBits; ++i)
    {
        // Sent in turn: bit 29 - 2i belongs to code word 1, bit 28 - 2i to code word 2.
        sorted |= ((word >> (kFirstTransmittedBit - 2 * i)) & 1u) << (kFirstTransmittedBit - i);
        sorted |= ((word >> (kFirstTransmittedBit - 1 - 2 * i)) & 1u) << (kSecondCodeWordTop - i);
    }
    return sorted;
}

uint32_t SignExtendBits(uint32_t value, uint32_t width)
{
    if (width == 0 || width >= kMaxFieldBits)
        return value;
    const uint32_t signBit = 1u << (width - 1);
    const uint32_t field = value & ((1u << width) - 1u);
    return (field ^ signBit) - signBit; // unsigned wrap-around gives two's complement
}
