#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <tuple>
#include <vector>

#include "tests/logio/LogioTestSupport.h"

namespace
{
constexpr uint8_t kAllKinds[kFrameKindCount] = {1, 1, 1, 1, 1};
const Bytes kGood = MakeBinFrame(62, Pattern(40, 1)); // 52 bytes

using LogStream = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;
LogStream OpenLogStream(const Bytes& log)
{
    LogStream stream(std::tmpfile(), &std::fclose);
    if (!log.empty())
        std::fwrite(log.data(), 1, log.size(), stream.get());
    std::rewind(stream.get());
    return stream;
}

// Bytes, kind and m_uLastSkipped of a delivered frame.
using Frames = std::vector<std::tuple<Bytes, uint32_t, uint32_t>>;

// Reads a whole log as the conversion loop does, checking that every frame
// lies in the bytes read, is of an enabled kind and passes its parser again.
Frames ReadWholeLog(const Bytes& log, uint32_t capacity, uint32_t* skippedAtEnd = nullptr,
                    const uint8_t* enabled = kAllKinds)
{
    static constexpr FrameParser kParsers[kFrameKindCount] = {MatchPackedFrame, MatchRtcm3Frame, MatchBinFrame,
                                                              MatchSiteFrame, MatchSentence};
    Frames frames;
    LogStream stream = OpenLogStream(log);
    std::unique_ptr<uint8_t[]> buffer(new uint8_t[capacity]);
    CBinFrameReader reader(buffer.get(), capacity, enabled);
    const uint8_t* frame = nullptr;
    uint32_t length = 0, kind = 0, again = 0;
    while (!reader.m_bEndOfInput)
    {
        reader.Fill(stream.get());
        while (reader.NextFrame(&frame, &length, &kind))
        {
            const uint8_t* end = buffer.get() + reader.m_uWritePos;
            if (kind >= kFrameKindCount || !enabled[kind] || frame < buffer.get() || frame + length > end ||
                kParsers[kind](frame, static_cast<uint32_t>(end - frame), &again) != eMatchFrame || again != length)
            {
                ADD_FAILURE() << "frame " << frames.size() << " is no whole frame of an enabled kind";
                return frames;
            }
            frames.emplace_back(Bytes(frame, frame + length), kind, reader.m_uLastSkipped);
        }
        EXPECT_TRUE(reader.m_uReadPos <= reader.m_uWritePos && reader.m_uWritePos <= capacity);
    }
    EXPECT_EQ(reader.m_uReadPos, reader.m_uWritePos) << "bytes left at the end of the input";
    if (skippedAtEnd)
        *skippedAtEnd = reader.m_uSkipped;
    return frames;
}

// A sentence as the reader delivers it: up to the CR, the LF left behind.
Bytes Delivered(const Bytes& sentence) { return Bytes(sentence.begin(), sentence.end() - 1); }

// Frame starts and line ends turn up often, so that damage makes near-frames.
uint8_t BiasedByte(std::mt19937& rng)
{
    static constexpr uint8_t kTokens[] = {'$', 'B', 'I', 'N', 0xD3, 0xB7, 0x59, '\r', '\n', 0};
    return rng() % 4 == 0 ? kTokens[rng() % sizeof kTokens] : static_cast<uint8_t>(rng());
}

Bytes RandomFrame(std::mt19937& rng, uint32_t maxPayload, uint32_t& kind)
{
    Bytes payload(rng() % (maxPayload + 1));
    for (uint8_t& b : payload)
        b = BiasedByte(rng);
    switch (kind = rng() % kFrameKindCount)
    {
    case eFramePacked: return MakePackedFrame(payload, rng() % 3);
    case eFrameRtcm3: return MakeRtcm3Frame(payload, true, static_cast<uint8_t>(rng() % 64));
    case eFrameBin: return MakeBinFrame(static_cast<uint16_t>(rng()), payload);
    case eFrameSite: return MakeSiteFrame(1, static_cast<uint8_t>(rng() % 5), payload);
    default: return Text("$G" + std::string(payload.size(), static_cast<char>(' ' + rng() % 95)) + "\r");
    }
}
} // namespace

TEST(FrameReaderTest, FillCompactsOnlyWhenSpaceBehindTheDataRunsShort)
{
    // The data held ends with the first `head` bytes of a frame; Fill brings
    // the rest, and the frame must come out at `start`.
    const struct { uint32_t capacity, readPos, writePos, head, start; } cases[] = {
        {16384, 14316, 14336, 20, 14316}, // exactly 2048 free behind the data
        {16384, 14317, 14337, 20, 0}, {4096, 2028, 2048, 20, 2028}, {4096, 2029, 2049, 20, 0},
        {4095, 80, 100, 20, 0},      // a small buffer always compacts
        {16384, 14000, 14000, 0, 0}, // all consumed: start over
        {64, 0, 64, 0, 0}};          // still full after compacting: dropped
    for (const auto& c : cases)
    {
        SCOPED_TRACE(::testing::Message() << c.capacity << " " << c.writePos);
        std::unique_ptr<uint8_t[]> buffer(new uint8_t[c.capacity]);
        std::memset(buffer.get(), '$', c.capacity);
        std::memcpy(buffer.get() + c.writePos - c.head, kGood.data(), c.head);
        CBinFrameReader reader(buffer.get(), c.capacity, kAllKinds);
        reader.m_uReadPos = c.readPos;
        reader.m_uWritePos = c.writePos;
        LogStream stream = OpenLogStream(Bytes(kGood.begin() + c.head, kGood.end()));
        EXPECT_EQ(reader.Fill(stream.get()), kGood.size() - c.head);
        const uint8_t* frame = nullptr;
        uint32_t length = 0;
        ASSERT_TRUE(reader.NextFrame(&frame, &length, nullptr));
        EXPECT_EQ(frame, buffer.get() + c.start);
        EXPECT_EQ(Bytes(frame, frame + length), kGood);
    }
}

TEST(FrameReaderTest, WalksOverWhatNoEnabledKindCompletesAndCountsIt)
{
    const Bytes zda = Text("$GPZDA,1\r\n"), site = MakeMarkerSiteFrame(3, "ROOF", "1");
    Bytes truncated = MakeBinFrame(96, Concat({Text("zz"), zda, Pattern(60, 1)}));
    truncated.resize(truncated.size() - 5);
    const uint8_t binOnly[kFrameKindCount] = {0, 0, 1, 0, 0}, sentenceOnly[kFrameKindCount] = {0, 0, 0, 0, 1};
    const struct { Bytes log; uint32_t capacity; const uint8_t* enabled; Frames frames; uint32_t skipped; } cases[] = {
        // A line longer than the buffer is given up once it fills the buffer, line end and all.
        {Concat({Text("$" + std::string(100, 'A') + "\r\n"), kGood}), 64, kAllKinds, {{kGood, eFrameBin, 103}}, 0},
        // Incomplete when the input ends; the two line-end bytes were waited for.
        {Concat({kGood, MakeBinFrame(95, Pattern(128, 8), true, "")}), 300, kAllKinds, {{kGood, eFrameBin, 0}}, 138},
        {Concat({kGood, truncated}), 300, kAllKinds,
         {{kGood, eFrameBin, 0}, {Delivered(zda), eFrameSentence, 10}}, 60 + 4 - 5},
        // 20000 bytes that start no frame, across a Fill.
        {Concat({Text(std::string(20000, 'x')), kGood, Text("zz")}), 16384, kAllKinds, {{kGood, eFrameBin, 20000}}, 2},
        {{}, 64, kAllKinds, {}, 0},
        // Disabled kinds; without "$BIN" a binary frame is still not text.
        {Concat({site, zda, kGood}), 300, binOnly, {{kGood, eFrameBin, 48 + 10}}, 0},
        {Concat({site, zda, kGood}), 300, sentenceOnly, {{Delivered(zda), eFrameSentence, 48}}, 52}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(::testing::Message() << "log of " << c.log.size() << " in " << c.capacity);
        uint32_t skippedAtEnd = 0;
        EXPECT_EQ(ReadWholeLog(c.log, c.capacity, &skippedAtEnd, c.enabled), c.frames);
        EXPECT_EQ(skippedAtEnd, c.skipped);
    }
}

// Intact logs of frames up to 64 bytes come out whole through buffers that
// split them; random bytes and damaged logs keep the reader's invariants and
// still yield their intact frames.
TEST(FrameReaderTest, SurvivesSplitsRandomBytesAndDamage)
{
    std::mt19937 rng(20240611);
    auto pick = [&rng](size_t n) { return static_cast<size_t>(rng() % n); };
    size_t deliveredFromDamage = 0;
    for (int round = 0; round < 450 && !::testing::Test::HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        Bytes log;
        Frames expected;
        for (size_t n = 1 + pick(40); n > 0; --n)
        {
            uint32_t kind = 0;
            expected.emplace_back(RandomFrame(rng, round % 3 ? 250 : 40, kind), kind, 0);
            AppendBytes(log, Concat({std::get<0>(expected.back()), Text(pick(2) ? "\r\n" : "\n")}));
        }
        const uint32_t capacity = std::array<uint32_t, 3>{64, 300, 16384}[pick(3)];
        if (round % 3 == 0)
        {
            EXPECT_EQ(ReadWholeLog(log, capacity), expected) << capacity;
            continue;
        }
        if (round % 3 == 1)
        {
            log.resize(pick(3000));
            for (uint8_t& b : log)
                b = BiasedByte(rng);
        }
        for (size_t m = round % 3 == 2 ? 1 + pick(8) : 0; m > 0 && !log.empty(); --m)
        {
            const size_t at = pick(log.size());
            const Bytes piece(log.begin() + at, log.begin() + std::min(log.size(), at + pick(200)));
            switch (pick(5))
            {
            case 0: log[at] ^= static_cast<uint8_t>(1u << pick(8)); break;
            case 1: log.erase(log.begin() + at); break;
            case 2: log.insert(log.begin() + at, BiasedByte(rng)); break;
            case 3: log.resize(at); break;
            default: log.insert(log.begin() + pick(log.size()), piece.begin(), piece.end()); break;
            }
        }
        deliveredFromDamage += ReadWholeLog(log, capacity).size() * (round % 3 == 2);
    }
    EXPECT_GT(deliveredFromDamage, 800u) << deliveredFromDamage;
}
