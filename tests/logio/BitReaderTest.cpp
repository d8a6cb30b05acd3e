#include <gtest/gtest.h>

#include <memory>

#include "logio/BitReader.h"

TEST(ReadBitsTest, ReadsMostSignificantBitFirstAcrossBytes)
{
    const uint8_t bytes[] = {0xA5, 0x3C, 0xF0, 0x0F, 0x81};
    uint32_t position = 0;
    EXPECT_EQ(ReadBits(bytes, position, 1), 1u);
    EXPECT_EQ(ReadBits(bytes, position, 1), 0u);
    EXPECT_EQ(ReadBits(bytes, position, 3), 0x4u);
    EXPECT_EQ(position, 5u);

    position = 4; // low nibble of 0xA5, all of 0x3C
    EXPECT_EQ(ReadBits(bytes, position, 12), 0x53Cu);
    EXPECT_EQ(position, 16u);

    position = 6; // two bits from the first byte, three whole bytes, six from the fifth
    EXPECT_EQ(ReadBits(bytes, position, 32), 0x4F3C03E0u);
    EXPECT_EQ(position, 38u);

    position = 0;
    EXPECT_EQ(ReadBits(bytes, position, 32), 0xA53CF00Fu);
    EXPECT_EQ(position, 32u);
}

TEST(ReadBitsTest, CountOutsideOneTo32ReadsNothingAndKeepsPosition)
{
    // No byte may be touched: the pointer is null.
    for (uint32_t count : {0u, 33u, 64u, 0xFFFFFFFFu})
    {
        uint32_t position = 9;
        EXPECT_EQ(ReadBits(nullptr, position, count), 0u) << count;
        EXPECT_EQ(position, 9u) << count;
    }
}

TEST(ReadBitsTest, ReadsOnlyTheBytesHoldingTheField)
{
    // Exactly five bytes on the heap: a 32-bit field at bit 8 ends at the last one,
    // a 3-bit field at bit 37 too.
    std::unique_ptr<uint8_t[]> bytes(new uint8_t[5]{0x00, 0x12, 0x34, 0x56, 0x7F});
    uint32_t position = 8;
    EXPECT_EQ(ReadBits(bytes.get(), position, 32), 0x1234567Fu);
    position = 37;
    EXPECT_EQ(ReadBits(bytes.get(), position, 3), 0x7u);
    EXPECT_EQ(position, 40u);
}
