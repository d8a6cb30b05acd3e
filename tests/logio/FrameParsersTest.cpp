#include <gtest/gtest.h>

#include "logio/Crc.h"
#include "tests/logio/LogioTestSupport.h"

namespace
{
// Every prefix shorter than `needed` must ask for more without writing the
// length; `needed` bytes give the frame. Each prefix is a fresh exact-size
// copy, so a read beyond `available` is caught by the address sanitizer.
void ExpectFrameOnceComplete(FrameParser parser, const Bytes& bytes, uint32_t needed, uint32_t expectedLength)
{
    ASSERT_LE(needed, bytes.size());
    for (uint32_t available = 0; available < needed; ++available)
    {
        uint32_t length = 0xDEAD;
        ASSERT_EQ(MatchExact(parser, bytes, available, &length), eMatchMore) << "available " << available;
        ASSERT_EQ(length, 0xDEADu) << "available " << available;
    }
    uint32_t length = 0xDEAD;
    EXPECT_EQ(MatchExact(parser, bytes, needed, &length), eMatchFrame);
    EXPECT_EQ(length, expectedLength);
    EXPECT_EQ(MatchExact(parser, bytes, needed, nullptr), eMatchFrame);
}

EMatchResult MatchAll(FrameParser parser, const Bytes& bytes, uint32_t* length = nullptr)
{
    return MatchExact(parser, bytes, bytes.size(), length);
}

constexpr uint32_t kFirstBits[3] = {6, 8, 11};
constexpr uint32_t kLengthBits[3] = {8, 10, 13};
constexpr uint32_t kLengthBase[3] = {0, 256, 1280};
constexpr uint32_t kCheckSize[3] = {1, 2, 4};

// Header size in bytes of a packed frame. Form 0, 1, 2 stand for the prefixes 0, 10, 11.
uint32_t PackedHeaderBytes(uint32_t firstForm, uint32_t lengthForm, uint32_t checkType)
{
    const uint32_t bits = (firstForm ? 2 : 1) + kFirstBits[firstForm] + (lengthForm ? 2 : 1) +
                          kLengthBits[lengthForm] + (checkType >= 3 ? 4 : 2);
    return (bits + 7) / 8;
}

// A packed frame written field by field, so that every prefix form of both
// header fields can be produced.
Bytes BuildPacked(uint32_t firstForm, uint32_t lengthForm, uint32_t checkType, const Bytes& body,
                  uint32_t furtherTypeBits = 0)
{
    std::vector<bool> bits;
    auto put = [&bits](uint32_t value, uint32_t count) {
        for (uint32_t i = count; i-- > 0;)
            bits.push_back((value >> i) & 1u);
    };
    auto putPrefix = [&put](uint32_t form) { form == 0 ? put(0, 1) : put(form == 1 ? 2 : 3, 2); };
    const auto covered = static_cast<uint32_t>(PackedHeaderBytes(firstForm, lengthForm, checkType) + body.size());

    putPrefix(firstForm);
    put(firstForm == 0 ? 0x15 : 0x7FF, kFirstBits[firstForm]); // the same field as the frame writer's
    putPrefix(lengthForm);
    put(covered - kLengthBase[lengthForm], kLengthBits[lengthForm]);
    put(checkType >= 3 ? 3 : checkType, 2);
    if (checkType >= 3)
        put(furtherTypeBits, 2);

    Bytes frame(1 + PackedHeaderBytes(firstForm, lengthForm, checkType), 0);
    frame[0] = 'I';
    for (size_t i = 0; i < bits.size(); ++i)
        if (bits[i])
            frame[1 + i / 8] |= static_cast<uint8_t>(0x80u >> (i % 8));
    AppendBytes(frame, body);
    const uint8_t* data = frame.data() + 1;
    if (checkType == 0)
        frame.push_back(Crc8(data, covered));
    else if (checkType == 1)
    {
        const uint16_t crc = Crc16Xmodem(data, covered);
        AppendBytes(frame, {static_cast<uint8_t>(crc >> 8), static_cast<uint8_t>(crc)});
    }
    else if (checkType == 2)
    {
        const uint32_t crc = Crc32Bzip2(data, covered);
        AppendBytes(frame, {static_cast<uint8_t>(crc >> 24), static_cast<uint8_t>(crc >> 16),
                            static_cast<uint8_t>(crc >> 8), static_cast<uint8_t>(crc)});
    }
    return frame;
}
} // namespace

TEST(BinFrameParserTest, WaitsForTwoLineEndBytesAndTakesOnlyCrOrCrLf)
{
    const Bytes payload = CPayloadWriter().U16(1234).Double(345600.5).U32(0xFFFFFFFF).GetBytes();
    const auto L = static_cast<uint32_t>(payload.size());
    const struct
    {
        const char* lineEnd;
        uint32_t length;
    } cases[] = {{"\r\n", L + 12}, {"\rX", L + 11}, {"\n\r", L + 10}, {"XY", L + 10}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(::testing::PrintToString(std::string(c.lineEnd)));
        ExpectFrameOnceComplete(MatchBinFrame, MakeBinFrame(96, payload, true, c.lineEnd), L + 12, c.length);
    }
    ExpectFrameOnceComplete(MatchBinFrame, MakeBinFrame(7, {}), 12, 12);
    // 300 bytes of 0xFF sum beyond 16 bits: the checksum is the sum modulo 65536.
    ExpectFrameOnceComplete(MatchBinFrame, MakeBinFrame(96, Bytes(300, 0xFF)), 312, 312);
    ExpectFrameOnceComplete(MatchBinFrame, MakeZeroBinFrame(1, 2038), 2050, 2050);
}

TEST(BinFrameParserTest, RefusesWrongSyncChecksumOrOversizedLength)
{
    const Bytes good = MakeBinFrame(95, Pattern(128, 3));
    for (size_t i = 0; i < 4; ++i)
    {
        Bytes bad = good;
        bad[i] ^= 0x20;
        EXPECT_EQ(MatchExact(MatchBinFrame, bad, i + 1, nullptr), eMatchNone) << i;
    }
    EXPECT_EQ(MatchAll(MatchBinFrame, MakeBinFrame(95, Pattern(128, 3), false)), eMatchNone);
    // Refused from the header alone, without waiting for the payload.
    EXPECT_EQ(MatchExact(MatchBinFrame, MakeZeroBinFrame(1, 2039), 10, nullptr), eMatchNone);

    // Number and length are outside the sum: another number keeps the frame good.
    Bytes renumbered = good;
    renumbered[4] = 35;
    EXPECT_EQ(MatchAll(MatchBinFrame, renumbered), eMatchFrame);
}

TEST(SentenceParserTest, EndsAtTheFirstCrOrLfWithoutLengthLimit)
{
    const std::string gga = "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n";
    const auto ggaLength = static_cast<uint32_t>(gga.size() - 1); // the LF stays behind
    ExpectFrameOnceComplete(MatchSentence, Text(gga), ggaLength, ggaLength);
    ExpectFrameOnceComplete(MatchSentence, Text("$>JI,1\n\r"), 7, 7);
    ExpectFrameOnceComplete(MatchSentence, Text("$\r"), 2, 2);
    // "BIN" only at offsets 1 to 3 marks a binary frame.
    ExpectFrameOnceComplete(MatchSentence, Text("$BI\r"), 4, 4);
    ExpectFrameOnceComplete(MatchSentence, Text("$BIX,1\r"), 7, 7);
    ExpectFrameOnceComplete(MatchSentence, Text("$xBIN\r"), 6, 6);

    const Bytes longLine = Text("$" + std::string(5000, 'A') + "\r");
    uint32_t length = 0;
    EXPECT_EQ(MatchAll(MatchSentence, longLine, &length), eMatchFrame);
    EXPECT_EQ(length, 5002u);
}

TEST(SentenceParserTest, RefusesNulAndBinaryFrameStarts)
{
    EXPECT_EQ(MatchExact(MatchSentence, Text("GPGGA\r"), 1, nullptr), eMatchNone);
    EXPECT_EQ(MatchExact(MatchSentence, Bytes{'$', 'G', 'P', 0, '\r', '\n'}, 4, nullptr), eMatchNone);

    // "$BI" is still open for both kinds that start with "$".
    EXPECT_EQ(MatchAll(MatchSentence, Text("$BI")), eMatchMore);
    EXPECT_EQ(MatchAll(MatchBinFrame, Text("$BI")), eMatchMore);
    EXPECT_EQ(MatchAll(MatchSentence, Text("$BIN")), eMatchNone);

    // A "$BIN" frame that fails its checksum is neither a frame nor text.
    const Bytes broken = MakeBinFrame(96, Text("a sentence-looking payload\r\n"), false);
    EXPECT_EQ(MatchAll(MatchBinFrame, broken), eMatchNone);
    EXPECT_EQ(MatchAll(MatchSentence, broken), eMatchNone);
}

TEST(SiteFrameParserTest, AcceptsCheckedFramesUpTo2040PayloadBytes)
{
    ExpectFrameOnceComplete(MatchSiteFrame, MakeMarkerSiteFrame(1, "ROOF", "0001"), 48, 48);
    ExpectFrameOnceComplete(MatchSiteFrame, MakeSiteFrame(1, 2, {}), 8, 8);
    ExpectFrameOnceComplete(MatchSiteFrame, MakeSiteFrame(1, 3, Pattern(2040, 9)), 2048, 2048);
    // Refused from the header alone.
    EXPECT_EQ(MatchExact(MatchSiteFrame, MakeSiteFrame(1, 3, Pattern(2041, 9)), 8, nullptr), eMatchNone);
}

TEST(SiteFrameParserTest, RefusesWrongSyncOrCheck)
{
    EXPECT_EQ(MatchExact(MatchSiteFrame, Bytes{0x59}, 1, nullptr), eMatchNone);
    EXPECT_EQ(MatchExact(MatchSiteFrame, Bytes{0xB7, 0x58}, 2, nullptr), eMatchNone);
    EXPECT_EQ(MatchAll(MatchSiteFrame, MakeSiteFrame(1, 1, Pattern(40, 1), false)), eMatchNone);

    const Bytes good = MakeSiteFrame(1, 1, Pattern(40, 1));
    ASSERT_NE(good[46], good[47]);
    Bytes swapped = good; // the check is stored high byte first
    std::swap(swapped[46], swapped[47]);
    EXPECT_EQ(MatchAll(MatchSiteFrame, swapped), eMatchNone);
    Bytes otherClass = good; // class and identifier are covered
    otherClass[2] ^= 0x01;
    EXPECT_EQ(MatchAll(MatchSiteFrame, otherClass), eMatchNone);
}

TEST(Rtcm3FrameParserTest, TakesTenBitLengthWhateverTheSpareBitsHold)
{
    for (uint8_t spare : {0x00, 0x3F, 0x15})
    {
        SCOPED_TRACE(static_cast<int>(spare));
        ExpectFrameOnceComplete(MatchRtcm3Frame, MakeRtcm3Frame(Pattern(200, 5), true, spare), 206, 206);
        ExpectFrameOnceComplete(MatchRtcm3Frame, MakeRtcm3Frame(Pattern(1023, 6), true, spare), 1029, 1029);
    }
    ExpectFrameOnceComplete(MatchRtcm3Frame, MakeRtcm3Frame({}), 6, 6);
}

TEST(Rtcm3FrameParserTest, RefusesWrongPreambleOrCheck)
{
    EXPECT_EQ(MatchExact(MatchRtcm3Frame, Bytes{0xD2}, 1, nullptr), eMatchNone);
    EXPECT_EQ(MatchAll(MatchRtcm3Frame, MakeRtcm3Frame(Pattern(50, 2), false)), eMatchNone);
    Bytes damaged = MakeRtcm3Frame(Pattern(50, 2));
    damaged[20] ^= 0x80;
    EXPECT_EQ(MatchAll(MatchRtcm3Frame, damaged), eMatchNone);
}

TEST(PackedFrameParserTest, ReadsEveryHeaderFormAndCheckType)
{
    for (uint32_t checkType = 0; checkType < 3; ++checkType)
    {
        const uint32_t maxCovered = 2047 - kCheckSize[checkType];
        const struct
        {
            uint32_t form;
            uint32_t covered;
        } lengths[] = {{0, 20}, {0, 255}, {1, 256}, {1, 1279}, {2, 1280}, {2, maxCovered}};
        for (uint32_t firstForm = 0; firstForm < 3; ++firstForm)
        {
            for (const auto& l : lengths)
            {
                SCOPED_TRACE(::testing::Message() << "type " << checkType << " first prefix form " << firstForm
                                                  << " covered " << l.covered);
                const Bytes body = Pattern(l.covered - PackedHeaderBytes(firstForm, l.form, checkType), 11);
                const Bytes frame = BuildPacked(firstForm, l.form, checkType, body);
                const uint32_t total = 1 + l.covered + kCheckSize[checkType];
                ASSERT_EQ(frame.size(), total);
                ExpectFrameOnceComplete(MatchPackedFrame, frame, total, total);
                if (firstForm == 0) // the frame writer uses this form
                {
                    EXPECT_EQ(MakePackedFrame(body, checkType), frame);
                }
            }
        }
    }
}

TEST(PackedFrameParserTest, RefusesCheckType3OversizedLengthOrBadCheck)
{
    EXPECT_EQ(MatchExact(MatchPackedFrame, Text("J"), 1, nullptr), eMatchNone);
    for (uint32_t further = 0; further < 4; ++further)
    {
        const Bytes frame = BuildPacked(0, 0, 3, Pattern(30, 4), further);
        EXPECT_EQ(MatchExact(MatchPackedFrame, frame, 5, nullptr), eMatchNone) << further;
    }
    for (uint32_t checkType = 0; checkType < 3; ++checkType)
    {
        // One byte over 2047 with the check: refused from the header alone.
        const uint32_t covered = 2048 - kCheckSize[checkType];
        const Bytes tooLong = BuildPacked(2, 2, checkType, Bytes(covered - PackedHeaderBytes(2, 2, checkType), 0));
        EXPECT_EQ(MatchExact(MatchPackedFrame, tooLong, 5, nullptr), eMatchNone) << checkType;
        EXPECT_EQ(MatchAll(MatchPackedFrame, MakePackedFrame(Pattern(60, 8), checkType, false)), eMatchNone)
            << checkType;
    }
}
