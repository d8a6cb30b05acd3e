#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "logbuild/FrameWriter.h"
#include "logio/BitReader.h"
#include "logio/Crc.h"

namespace
{
// Bit-at-a-time form of a check as its polynomial defines it; a reflected
// check shifts toward the least significant bit with the polynomial reversed.
uint32_t Bitwise(const Bytes& data, uint32_t width, uint32_t poly, uint32_t init, uint32_t xorOut, bool reflected)
{
    const uint64_t mask = (uint64_t{1} << width) - 1;
    uint64_t reg = init;
    for (uint8_t byte : data)
    {
        reg ^= reflected ? byte : static_cast<uint64_t>(byte) << (width - 8);
        for (int bit = 0; bit < 8; ++bit)
            if (reflected)
                reg = (reg & 1) ? (reg >> 1) ^ poly : reg >> 1;
            else
                reg = (((reg >> (width - 1)) & 1) ? (reg << 1) ^ poly : reg << 1) & mask;
    }
    return static_cast<uint32_t>(reg ^ xorOut);
}
} // namespace

TEST(CrcTest, GivesPublishedCheckValuesForTheNineDigits)
{
    const uint8_t digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(Crc8(digits, 9), 0xF4);
    EXPECT_EQ(Crc16Xmodem(digits, 9), 0x31C3);
    EXPECT_EQ(Crc16X25(digits, 9), 0x906E);
    EXPECT_EQ(Crc24Q(digits, 9), 0xCDE703u);
    EXPECT_EQ(Crc32Bzip2(digits, 9), 0xFC891918u);
}

// Random data of every length from empty up reaches every table entry.
TEST(CrcTest, TablesAgreeWithBitwiseDefinitionOnAnyData)
{
    std::mt19937 rng(7);
    for (size_t size = 0; size < 300; ++size)
    {
        Bytes data(size);
        for (uint8_t& b : data)
            b = static_cast<uint8_t>(rng());
        const uint8_t* p = data.data();
        ASSERT_EQ(Crc8(p, size), Bitwise(data, 8, 0x07, 0, 0, false)) << size;
        ASSERT_EQ(Crc16Xmodem(p, size), Bitwise(data, 16, 0x1021, 0, 0, false)) << size;
        ASSERT_EQ(Crc16X25(p, size), Bitwise(data, 16, 0x8408, 0xFFFF, 0xFFFF, true)) << size;
        ASSERT_EQ(Crc24Q(p, size), Bitwise(data, 24, 0x864CFB, 0, 0, false)) << size;
        ASSERT_EQ(Crc32Bzip2(p, size), Bitwise(data, 32, 0x04C11DB7, 0xFFFFFFFF, 0xFFFFFFFF, false)) << size;
    }
}

TEST(ReadBitsTest, ReadsMostSignificantBitFirstTouchingOnlyTheFieldsBytesAndRefusesBadCounts)
{
    // Exactly five bytes on the heap: fields ending in the last byte must not read past it.
    std::unique_ptr<uint8_t[]> bytes(new uint8_t[5]{0xA5, 0x3C, 0xF0, 0x0F, 0x81});
    const uint32_t cases[][3] = {{0, 1, 1},           {1, 1, 0},           {2, 3, 0x4},         {4, 12, 0x53C},
                                 {6, 32, 0x4F3C03E0}, {0, 32, 0xA53CF00F}, {8, 32, 0x3CF00F81}, {37, 3, 0x1}};
    for (const auto& [start, count, value] : cases)
    {
        uint32_t position = start;
        EXPECT_EQ(ReadBits(bytes.get(), position, count), value) << start << " " << count;
        EXPECT_EQ(position, start + count);
    }
    for (uint32_t count : {0u, 33u, 0xFFFFFFFFu})
    {
        uint32_t position = 9;
        EXPECT_EQ(ReadBits(nullptr, position, count), 0u) << count; // null: no byte may be touched
        EXPECT_EQ(position, 9u) << count;
    }
}
