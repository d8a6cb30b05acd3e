#include <gtest/gtest.h>

#include <random>

#include "logbuild/FrameWriter.h"
#include "logio/Crc.h"

namespace
{
const Bytes kDigits = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};

// Bit-at-a-time form of a check that shifts toward the most significant bit,
// as the polynomial defines it; the table-driven checks must agree with it.
uint32_t BitwiseMsbFirst(const Bytes& data, uint32_t width, uint32_t polynomial, uint32_t init, uint32_t xorOut)
{
    const uint64_t mask = (uint64_t{1} << width) - 1;
    uint64_t reg = init;
    for (uint8_t byte : data)
    {
        reg ^= static_cast<uint64_t>(byte) << (width - 8);
        for (int bit = 0; bit < 8; ++bit)
            reg = ((reg >> (width - 1)) & 1) ? ((reg << 1) ^ polynomial) & mask : (reg << 1) & mask;
    }
    return static_cast<uint32_t>(reg ^ xorOut);
}

uint16_t BitwiseX25(const Bytes& data)
{
    uint16_t reg = 0xFFFF;
    for (uint8_t byte : data)
    {
        reg ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            reg = (reg & 1) ? static_cast<uint16_t>((reg >> 1) ^ 0x8408) : static_cast<uint16_t>(reg >> 1);
    }
    return static_cast<uint16_t>(reg ^ 0xFFFF);
}
} // namespace

TEST(CrcTest, GivesPublishedCheckValuesForTheNineDigits)
{
    EXPECT_EQ(Crc8(kDigits.data(), kDigits.size()), 0xF4);
    EXPECT_EQ(Crc16Xmodem(kDigits.data(), kDigits.size()), 0x31C3);
    EXPECT_EQ(Crc16X25(kDigits.data(), kDigits.size()), 0x906E);
    EXPECT_EQ(Crc24Q(kDigits.data(), kDigits.size()), 0xCDE703u);
    EXPECT_EQ(Crc32Bzip2(kDigits.data(), kDigits.size()), 0xFC891918u);
}

// The nine digits touch few table entries; random data of every length from
// empty up reaches all of them and the carrying of the register between bytes.
TEST(CrcTest, TablesAgreeWithBitwiseDefinitionOnAnyData)
{
    std::mt19937 rng(7);
    for (size_t size = 0; size < 300; ++size)
    {
        Bytes data(size);
        for (uint8_t& b : data)
            b = static_cast<uint8_t>(rng());
        const uint8_t* p = data.data();
        ASSERT_EQ(Crc8(p, size), BitwiseMsbFirst(data, 8, 0x07, 0, 0)) << size;
        ASSERT_EQ(Crc16Xmodem(p, size), BitwiseMsbFirst(data, 16, 0x1021, 0, 0)) << size;
        ASSERT_EQ(Crc16X25(p, size), BitwiseX25(data)) << size;
        ASSERT_EQ(Crc24Q(p, size), BitwiseMsbFirst(data, 24, 0x864CFB, 0, 0)) << size;
        ASSERT_EQ(Crc32Bzip2(p, size), BitwiseMsbFirst(data, 32, 0x04C11DB7, 0xFFFFFFFF, 0xFFFFFFFF)) << size;
    }
}
