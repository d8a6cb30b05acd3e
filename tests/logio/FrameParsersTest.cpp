#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "logio/Crc.h"
#include "tests/logio/LogioTestSupport.h"

namespace
{
// Every shorter prefix asks for more without writing the length; `needed`
// bytes give the frame, with or without a length output.
void ExpectFrameOnceComplete(FrameParser parser, const Bytes& bytes, uint32_t needed, uint32_t expectedLength)
{
    for (uint32_t available = 0; available < needed; ++available)
    {
        uint32_t length = 0xDEAD;
        ASSERT_EQ(MatchExact(parser, bytes, available, &length), eMatchMore) << "available " << available;
        ASSERT_EQ(length, 0xDEADu) << "available " << available;
    }
    uint32_t length = 0;
    EXPECT_EQ(MatchExact(parser, bytes, needed, &length), eMatchFrame);
    EXPECT_EQ(length, expectedLength);
    EXPECT_EQ(MatchExact(parser, bytes, needed), eMatchFrame);
}

constexpr uint32_t kCheckSize[3] = {1, 2, 4};

// A packed frame written bit by bit, so that every prefix form (0, 1, 2 for
// 0, 10, 11) of both header fields can be made. `covered` counts header and
// body; check types from 3 on are followed by `moreTypeBits`.
Bytes BuildPacked(uint32_t firstForm, uint32_t lengthForm, uint32_t checkType, uint32_t covered,
                  uint32_t moreTypeBits = 0)
{
    static constexpr uint32_t kFirstBits[3] = {6, 8, 11}, kLengthBits[3] = {8, 10, 13}, kBase[3] = {0, 256, 1280};
    uint64_t header = 0;
    uint32_t bits = 0;
    auto put = [&](uint64_t value, uint32_t count) {
        header = (header << count) | (value & ((1u << count) - 1));
        bits += count;
    };
    put(firstForm + (firstForm > 0), firstForm > 0 ? 2 : 1);
    put(0x7FF, kFirstBits[firstForm]);
    put(lengthForm + (lengthForm > 0), lengthForm > 0 ? 2 : 1);
    put(covered - kBase[lengthForm], kLengthBits[lengthForm]);
    put(checkType >= 3 ? 12 + moreTypeBits : checkType, checkType >= 3 ? 4 : 2);
    Bytes frame = Concat({Text("I"), Pattern(covered, 11)});
    for (uint32_t i = 0, size = (bits + 7) / 8; i < size; ++i)
        frame[1 + i] = static_cast<uint8_t>((header << (8 * size - bits)) >> (8 * (size - 1 - i)));
    const uint8_t* data = frame.data() + 1;
    const uint32_t crc = checkType == 0 ? Crc8(data, covered)
                         : checkType == 1 ? Crc16Xmodem(data, covered) : Crc32Bzip2(data, covered);
    for (uint32_t i = kCheckSize[std::min(checkType, 2u)]; i-- > 0;)
        frame.push_back(static_cast<uint8_t>(crc >> (8 * i)));
    return frame;
}
} // namespace

TEST(FrameParsersTest, GiveTheirFrameOnlyOnceCompleteWithItsLength)
{
    const struct { FrameParser parser; Bytes bytes; uint32_t needed, length; } cases[] = {
        // "$BIN" waits for two line-end bytes, then takes CR LF, a lone CR or neither.
        {MatchBinFrame, MakeBinFrame(96, Pattern(40, 5), true, "\r\n"), 52, 52},
        {MatchBinFrame, MakeBinFrame(96, Pattern(40, 5), true, "\rX"), 52, 51},
        {MatchBinFrame, MakeBinFrame(96, Pattern(40, 5), true, "\n\r"), 52, 50},
        {MatchBinFrame, MakeBinFrame(96, Pattern(40, 5), true, "XY"), 52, 50},
        {MatchBinFrame, MakeBinFrame(7, {}), 12, 12},
        {MatchBinFrame, MakeBinFrame(96, Bytes(300, 0xFF)), 312, 312}, // the sum is kept modulo 65536
        {MatchBinFrame, MakeZeroBinFrame(1, 2038), 2050, 2050},
        // A sentence ends at its first CR or LF (of CR LF the LF stays behind), without length limit;
        // "BIN" marks a binary frame only right behind the "$".
        {MatchSentence, Text("$GPGGA,123519,4807.038,N*47\r\n"), 28, 28},
        {MatchSentence, Text("$>JI,1\n\r"), 7, 7},
        {MatchSentence, Text("$\r"), 2, 2},
        {MatchSentence, Text("$BI\r"), 4, 4},
        {MatchSentence, Text("$BIX,1\r"), 7, 7},
        {MatchSentence, Text("$xBIN\r"), 6, 6},
        {MatchSentence, Text("$" + std::string(5000, 'A') + "\r"), 5002, 5002},
        // Site frames carry up to 2040 payload bytes.
        {MatchSiteFrame, MakeSiteFrame(1, 2, {}), 8, 8},
        {MatchSiteFrame, MakeSiteFrame(1, 3, Pattern(2040, 9)), 2048, 2048},
        // RTCM 3 takes its 10-bit length whatever the six spare bits above it hold.
        {MatchRtcm3Frame, MakeRtcm3Frame({}), 6, 6},
        {MatchRtcm3Frame, MakeRtcm3Frame(Pattern(200, 5), true, 0x3F), 206, 206},
        {MatchRtcm3Frame, MakeRtcm3Frame(Pattern(1023, 6), true, 0x00), 1029, 1029},
        {MatchRtcm3Frame, MakeRtcm3Frame(Pattern(1023, 6), true, 0x15), 1029, 1029}};
    for (size_t i = 0; i < std::size(cases); ++i)
    {
        SCOPED_TRACE(::testing::Message() << "case " << i);
        ExpectFrameOnceComplete(cases[i].parser, cases[i].bytes, cases[i].needed, cases[i].length);
    }
}

TEST(FrameParsersTest, RefuseWrongStartsChecksAndLengthsFromTheFirstBytesThatShowThem)
{
    Bytes swapped = MakeSiteFrame(1, 1, Pattern(40, 1)), otherClass = swapped;
    Bytes damagedRtcm = MakeRtcm3Frame(Pattern(50, 2));
    std::swap(swapped[46], swapped[47]); // the site check is stored high byte first
    otherClass[2] ^= 0x01;               // class and identifier are covered
    damagedRtcm[20] ^= 0x80;
    std::vector<std::tuple<FrameParser, Bytes, size_t>> cases = { // parser, bytes, bytes available (0: all)
        {MatchBinFrame, Text("#"), 1}, {MatchBinFrame, Text("$C"), 2}, {MatchBinFrame, Text("$BJ"), 3},
        {MatchBinFrame, Text("$BIM"), 4}, {MatchBinFrame, MakeBinFrame(95, Pattern(128, 3), false), 0},
        {MatchBinFrame, MakeZeroBinFrame(1, 2039), 10},
        {MatchSentence, Text("G"), 1}, {MatchSentence, Bytes{'$', 'G', 'P', 0}, 4}, {MatchSentence, Text("$BIN"), 4},
        {MatchSiteFrame, Bytes{0x59}, 1}, {MatchSiteFrame, Bytes{0xB7, 0x58}, 2},
        {MatchSiteFrame, MakeSiteFrame(1, 3, Pattern(2041, 9)), 8},
        {MatchSiteFrame, MakeSiteFrame(1, 1, Pattern(40, 1), false), 0}, {MatchSiteFrame, swapped, 0},
        {MatchSiteFrame, otherClass, 0}, {MatchRtcm3Frame, Bytes{0xD2}, 1}, {MatchRtcm3Frame, damagedRtcm, 0},
        {MatchPackedFrame, Text("J"), 1}};
    for (uint32_t moreBits = 0; moreBits < 4; ++moreBits) // check type 3, whatever follows
        cases.emplace_back(MatchPackedFrame, BuildPacked(0, 0, 3, 30, moreBits), 5);
    for (uint32_t type = 0; type < 3; ++type)
    {
        cases.emplace_back(MatchPackedFrame, BuildPacked(2, 2, type, 2048 - kCheckSize[type]), 5); // over 2047
        cases.emplace_back(MatchPackedFrame, MakePackedFrame(Pattern(60, 8), type, false), 0);
    }
    for (size_t i = 0; i < cases.size(); ++i)
    {
        const auto& [parser, bytes, available] = cases[i];
        EXPECT_EQ(MatchExact(parser, bytes, available ? available : bytes.size()), eMatchNone) << "case " << i;
    }
    // "$BI" is still open for both kinds that start with "$".
    EXPECT_EQ(MatchExact(MatchSentence, Text("$BI"), 3), eMatchMore);
    EXPECT_EQ(MatchExact(MatchBinFrame, Text("$BI"), 3), eMatchMore);
}

TEST(PackedFrameParserTest, ReadsEveryHeaderFormAndCheckType)
{
    for (uint32_t type = 0; type < 3; ++type)
        for (uint32_t firstForm = 0; firstForm < 3; ++firstForm)
        {
            const uint32_t maxCovered = 2047 - kCheckSize[type];
            for (const auto& [form, covered] : {std::pair{0u, 20u}, {0u, 255u}, {1u, 256u}, {1u, 1279u}, {2u, 1280u},
                                                {2u, maxCovered}})
            {
                SCOPED_TRACE(::testing::Message() << "type " << type << ", form " << firstForm << ", " << covered);
                const uint32_t total = 1 + covered + kCheckSize[type];
                ExpectFrameOnceComplete(MatchPackedFrame, BuildPacked(firstForm, form, type, covered), total, total);
            }
        }
}
