#include "logio/BitReader.h"

uint32_t ReadBits(const uint8_t* bytes, uint32_t& position, uint32_t count)
{
    if (count < 1 || count > 32)
        return 0;
    // Bit by bit: only the bytes that hold the requested bits are touched, so
    // a field at the very end of the available bytes never reads beyond them.
    uint32_t value = 0;
    uint32_t bit = position;
    for (uint32_t i = 0; i < count; ++i, ++bit)
        value = (value << 1) | ((bytes[bit >> 3] >> (7u - (bit & 7u))) & 1u);
    position = bit;
    return value;
}
