#pragma once

#include <cstdint>

// Returns `count` bits from bit offset `position` of `bytes`, most significant
// bit of each byte first, with the first bit highest, and raises `position` by
// `count`. A count outside 1 to 32 returns 0 and leaves `position` alone.
uint32_t ReadBits(const uint8_t* bytes, uint32_t& position, uint32_t count);

// Bits `high` down to `low` of a word, as an unsigned number.
inline uint32_t Bits(uint32_t word, uint32_t high, uint32_t low)
{
    const uint32_t width = high - low + 1;
    const uint32_t mask = width >= 32 ? 0xFFFFFFFFu : (1u << width) - 1u;
    return (word >> low) & mask;
}
