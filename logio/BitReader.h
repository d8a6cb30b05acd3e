#pragma once

#include <cstdint>

// Returns `count` bits from bit offset `position` of `bytes`, most significant
// bit of each byte first, with the first bit highest, and raises `position` by
// `count`. A count outside 1 to 32 returns 0 and leaves `position` alone.
uint32_t ReadBits(const uint8_t* bytes, uint32_t& position, uint32_t count);
