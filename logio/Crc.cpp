#include "logio/Crc.h"

#include <array>

// Each check runs one table look-up per byte. The tables are generated at
// compile time from the polynomials, so they are constant data and need no
// start-up step.

namespace
{
// Table of a check that shifts toward the most significant bit. `width` is the
// register width in bits; entry i is the register after eight steps starting
// with i in the top byte.
template <typename T, unsigned width>
constexpr std::array<T, 256> MakeMsbFirstTable(T polynomial)
{
    constexpr T topBit = static_cast<T>(T{1} << (width - 1));
    constexpr T mask = static_cast<T>(width == sizeof(T) * 8 ? ~T{0} : (T{1} << width) - 1);
    std::array<T, 256> table{};
    for (unsigned i = 0; i < 256; ++i)
    {
        T reg = static_cast<T>(static_cast<T>(i) << (width - 8));
        for (int bit = 0; bit < 8; ++bit)
            reg = static_cast<T>((reg & topBit) ? ((reg << 1) ^ polynomial) : (reg << 1));
        table[i] = static_cast<T>(reg & mask);
    }
    return table;
}

// Table of a reflected check: the register shifts toward the least
// significant bit and the polynomial is given bit-reversed.
constexpr std::array<uint16_t, 256> MakeReflected16Table(uint16_t reflectedPolynomial)
{
    std::array<uint16_t, 256> table{};
    for (unsigned i = 0; i < 256; ++i)
    {
        uint16_t reg = static_cast<uint16_t>(i);
        for (int bit = 0; bit < 8; ++bit)
            reg = static_cast<uint16_t>((reg & 1u) ? ((reg >> 1) ^ reflectedPolynomial) : (reg >> 1));
        table[i] = reg;
    }
    return table;
}

constexpr auto kCrc8Table = MakeMsbFirstTable<uint8_t, 8>(0x07);
constexpr auto kCrc16XmodemTable = MakeMsbFirstTable<uint16_t, 16>(0x1021);
constexpr auto kCrc16X25Table = MakeReflected16Table(0x8408);
constexpr auto kCrc24QTable = MakeMsbFirstTable<uint32_t, 24>(0x864CFB); // 0x1864CFB without its x^24 term
constexpr auto kCrc32Table = MakeMsbFirstTable<uint32_t, 32>(0x04C11DB7);
} // namespace

uint8_t Crc8(const uint8_t* bytes, size_t count)
{
    uint8_t crc = 0;
    for (size_t i = 0; i < count; ++i)
        crc = kCrc8Table[crc ^ bytes[i]];
    return crc;
}

uint16_t Crc16Xmodem(const uint8_t* bytes, size_t count)
{
    uint16_t crc = 0;
    for (size_t i = 0; i < count; ++i)
        crc = static_cast<uint16_t>((crc << 8) ^ kCrc16XmodemTable[((crc >> 8) ^ bytes[i]) & 0xFFu]);
    return crc;
}

uint16_t Crc16X25(const uint8_t* bytes, size_t count)
{
    uint16_t crc = 0xFFFF;
    for (size_t i = 0; i < count; ++i)
        crc = static_cast<uint16_t>((crc >> 8) ^ kCrc16X25Table[(crc ^ bytes[i]) & 0xFFu]);
    return static_cast<uint16_t>(crc ^ 0xFFFF);
}

uint32_t Crc24Q(const uint8_t* bytes, size_t count)
{
    uint32_t crc = 0;
    for (size_t i = 0; i < count; ++i)
        crc = ((crc << 8) ^ kCrc24QTable[((crc >> 16) ^ bytes[i]) & 0xFFu]) & 0xFFFFFFu;
    return crc;
}

uint32_t Crc32Bzip2(const uint8_t* bytes, size_t count)
{
    uint32_t crc = 0xFFFFFFFFu;
    for (size_t i = 0; i < count; ++i)
        crc = (crc << 8) ^ kCrc32Table[((crc >> 24) ^ bytes[i]) & 0xFFu];
    return crc ^ 0xFFFFFFFFu;
}
