#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "platform/FileIo.h"
#include "support/ToolRun.h"

// Positions beyond 4 GiB, as outputs of long logs reach them. The file is
// sparse: only its last bytes take room on the disk.
TEST(FileIo, PositionsAndTruncationWorkBeyondFourGibibytes)
{
    constexpr StreamPos kFar = (StreamPos{5} << 30) + 12345; // 5 GiB and a bit
    CScratchDir dir;
    std::FILE* file = std::fopen(dir.Path("big").c_str(), "w+b");
    ASSERT_NE(file, nullptr);

    std::fputs("head", file);
    SetStreamPos(file, kFar);
    std::fputs("tail-to-cut", file);
    EXPECT_EQ(GetStreamPos(file), kFar + 11);

    // Back to a position far behind, rewrite in place, and return.
    SetStreamPos(file, 0);
    std::fputs("HEAD", file);
    SetStreamPos(file, kFar + 4);
    ASSERT_TRUE(TruncateAtStreamPos(file));
    std::fputs("!", file);
    std::fclose(file);

    file = std::fopen(dir.Path("big").c_str(), "rb");
    ASSERT_NE(file, nullptr);
    char text[8] = {};
    ASSERT_EQ(std::fread(text, 1, 4, file), 4u);
    EXPECT_STREQ(text, "HEAD");
    SetStreamPos(file, kFar);
    EXPECT_EQ(std::fread(text, 1, sizeof(text), file), 5u);
    EXPECT_EQ(std::string(text, 5), "tail!");
    std::fclose(file);
}
