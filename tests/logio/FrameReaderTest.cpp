#include <gtest/gtest.h>

#include <random>

#include "tests/logio/LogioTestSupport.h"

namespace
{
bool IsStartOrLineEnd(uint8_t b) { return b == 'I' || b == 0xD3 || b == '$' || b == 0xB7 || b == '\r' || b == '\n'; }

// Bytes that no parser can take for the start of a frame.
Bytes Junk(size_t count, uint32_t seed)
{
    std::mt19937 rng(seed);
    Bytes junk;
    while (junk.size() < count)
    {
        const auto b = static_cast<uint8_t>(rng());
        if (!IsStartOrLineEnd(b))
            junk.push_back(b);
    }
    return junk;
}

// A sentence as the reader delivers it: up to the CR, the LF left behind.
Bytes Delivered(const Bytes& sentence) { return Bytes(sentence.begin(), sentence.end() - 1); }

std::vector<SDelivered> Frames(std::initializer_list<std::pair<Bytes, uint32_t>> framesAndKinds)
{
    std::vector<SDelivered> frames;
    for (const auto& [bytes, kind] : framesAndKinds)
        frames.push_back({bytes, kind, 0});
    return frames;
}

std::vector<Bytes> BytesOf(const std::vector<SDelivered>& frames)
{
    std::vector<Bytes> bytes;
    for (const auto& f : frames)
        bytes.push_back(f.m_aBytes);
    return bytes;
}

const Bytes kGood = MakeBinFrame(62, Pattern(40, 1)); // 52 bytes
} // namespace

TEST(FrameReaderTest, EmptyOrNullStreamDeliversNothing)
{
    std::unique_ptr<uint8_t[]> buffer(new uint8_t[64]);
    CBinFrameReader reader(buffer.get(), 64, kAllKinds);
    EXPECT_EQ(reader.Fill(nullptr), 0u);
    LogStream empty = OpenLogStream({});
    EXPECT_EQ(reader.Fill(empty.get()), 0u);
    EXPECT_TRUE(reader.m_bEndOfInput);
    EXPECT_FALSE(reader.NextFrame(nullptr, nullptr, nullptr));
}

TEST(FrameReaderTest, DeliversEveryKindInPlaceAndStepsOverLineEnds)
{
    const Bytes packed = MakePackedFrame(Pattern(30, 2), 1);
    const Bytes rtcm = MakeRtcm3Frame(Pattern(19, 3), true, 0x3F);
    const Bytes bin = MakeBinFrame(96, Pattern(300, 4));
    const Bytes site = MakeMarkerSiteFrame(1, "ROOF", "42");
    const Bytes sentence = Text("$GPGGA,1,2,3*4F\r\n");
    const Bytes empty = MakeBinFrame(80, {});
    const Bytes log = Concat({Text("\r\n\n"), packed, Text("\r\n"), rtcm, bin, site, sentence, empty});

    std::unique_ptr<uint8_t[]> buffer(new uint8_t[16384]);
    CBinFrameReader reader(buffer.get(), 16384, kAllKinds);
    LogStream stream = OpenLogStream(log);
    ASSERT_EQ(reader.Fill(stream.get()), log.size());
    EXPECT_TRUE(reader.m_bEndOfInput); // the read ran into the end of the stream

    const struct
    {
        size_t offset;
        Bytes bytes;
        uint32_t kind;
    } expected[] = {
        {3, packed, eFramePacked},
        {5 + packed.size(), rtcm, eFrameRtcm3},
        {5 + packed.size() + rtcm.size(), bin, eFrameBin},
        {5 + packed.size() + rtcm.size() + bin.size(), site, eFrameSite},
        {5 + packed.size() + rtcm.size() + bin.size() + site.size(), Delivered(sentence), eFrameSentence},
        {log.size() - empty.size(), empty, eFrameBin},
    };
    for (const auto& e : expected)
    {
        SCOPED_TRACE(e.offset);
        const uint8_t* frame = nullptr;
        uint32_t length = 0;
        uint32_t kind = 99;
        if (e.kind == eFrameSite) // without outputs the frame is consumed all the same
        {
            ASSERT_TRUE(reader.NextFrame(nullptr, nullptr, nullptr));
            continue;
        }
        ASSERT_TRUE(reader.NextFrame(&frame, &length, &kind));
        EXPECT_EQ(frame, buffer.get() + e.offset); // in place, not copied
        EXPECT_EQ(Bytes(frame, frame + length), e.bytes);
        EXPECT_EQ(kind, e.kind);
        EXPECT_EQ(reader.m_uLastSkipped, 0u);
    }
    EXPECT_FALSE(reader.NextFrame(nullptr, nullptr, nullptr));
    EXPECT_EQ(reader.m_uSkipped, 0u);
    EXPECT_EQ(reader.m_uReadPos, reader.m_uWritePos);
}

TEST(FrameReaderTest, CountsSkippedBytesPerFrameButNotLineEndsBehindFrames)
{
    const Bytes f2 = MakeBinFrame(93, Pattern(56, 5));
    const Bytes log = Concat({Text("\n\r\n"), kGood, Text("\r\n\r\n"), Text("xyz"), f2, Text("\n"), Text("abcde"),
                              kGood, Text("qq")});
    const SReaderRun run = ReadWholeLog(log, 16384);
    EXPECT_EQ(run.m_szFault, "");
    ASSERT_EQ(run.m_aFrames.size(), 3u);
    EXPECT_EQ(run.m_aFrames[0].m_uLastSkipped, 0u);
    EXPECT_EQ(run.m_aFrames[1].m_uLastSkipped, 3u);
    EXPECT_EQ(run.m_aFrames[2].m_uLastSkipped, 5u);
    EXPECT_EQ(run.m_uSkippedAtEnd, 2u);
}

TEST(FrameReaderTest, BrokenBinFrameCostsOneByteAndFramesInsideItAreFound)
{
    const Bytes inner = MakeBinFrame(93, Pattern(56, 6));
    const Bytes sentence = Text("$>JI,7\r\n");
    const Bytes outer = MakeBinFrame(96, Concat({Text("ab"), inner, sentence, Text("cd")}), false);
    for (uint32_t capacity : {300u, 16384u})
    {
        SCOPED_TRACE(capacity);
        const SReaderRun run = ReadWholeLog(Concat({outer, kGood}), capacity);
        EXPECT_EQ(run.m_szFault, "");
        const std::vector<SDelivered> expected = {
            {inner, eFrameBin, 8 + 2}, // "$BIN", number, length, "ab"
            {Delivered(sentence), eFrameSentence, 0},
            // "cd", the broken checksum and the broken frame's own CR LF: a
            // damaged stretch is counted whole, line end included.
            {kGood, eFrameBin, 2 + 2 + 2},
        };
        EXPECT_EQ(run.m_aFrames, expected);
    }
}

TEST(FrameReaderTest, ContainerFramesHideFramesInTheirPayload)
{
    const Bytes inner = MakeBinFrame(80, Pattern(40, 7));
    const Bytes sentence = Text("$GPZDA,1\r\n");
    const Bytes payload = Concat({inner, sentence});
    const struct
    {
        Bytes good;
        Bytes bad;
        uint32_t kind;
        uint32_t headerSize;
    } containers[] = {
        {MakeRtcm3Frame(payload), MakeRtcm3Frame(payload, false), eFrameRtcm3, 3},
        {MakePackedFrame(payload, 0), MakePackedFrame(payload, 0, false), eFramePacked, 4},
        {MakePackedFrame(payload, 1), MakePackedFrame(payload, 1, false), eFramePacked, 4},
        {MakePackedFrame(payload, 2), MakePackedFrame(payload, 2, false), eFramePacked, 4},
        {MakeSiteFrame(1, 2, payload), MakeSiteFrame(1, 2, payload, false), eFrameSite, 6},
    };
    for (uint32_t capacity : {300u, 16384u})
        for (const auto& c : containers)
        {
            SCOPED_TRACE(::testing::Message() << "capacity " << capacity << " kind " << c.kind);
            SReaderRun run = ReadWholeLog(Concat({c.good, Text("\r\n"), kGood}), capacity);
            EXPECT_EQ(run.m_szFault, "");
            EXPECT_EQ(run.m_aFrames, Frames({{c.good, c.kind}, {kGood, eFrameBin}}));

            // Once the container fails its check, its contents are searched.
            run = ReadWholeLog(Concat({c.bad, kGood}), capacity);
            EXPECT_EQ(run.m_szFault, "");
            ASSERT_EQ(run.m_aFrames.size(), 3u);
            EXPECT_EQ(run.m_aFrames[0], (SDelivered{inner, eFrameBin, c.headerSize}));
            EXPECT_EQ(run.m_aFrames[1], (SDelivered{Delivered(sentence), eFrameSentence, 0}));
            EXPECT_EQ(run.m_aFrames[2].m_aBytes, kGood);
        }
}

TEST(FrameReaderTest, FramesSplitAcrossFillsComeOutWhole)
{
    // Frames of up to 64 bytes, so that even the smallest buffer holds each,
    // in a log longer than the largest buffer: every capacity splits frames.
    std::mt19937 rng(11);
    Bytes log;
    std::vector<SDelivered> expected;
    while (log.size() < 40000)
    {
        Bytes frame;
        uint32_t kind = rng() % kFrameKindCount;
        const auto size = static_cast<size_t>(rng() % 40);
        switch (kind)
        {
        case eFramePacked: frame = MakePackedFrame(Pattern(size, 1), rng() % 3); break;
        case eFrameRtcm3: frame = MakeRtcm3Frame(Pattern(size, 2), true, rng() & 0x3F); break;
        case eFrameBin: frame = MakeBinFrame(static_cast<uint16_t>(rng()), Pattern(size, 3)); break;
        case eFrameSite: frame = MakeMarkerSiteFrame(1 + rng() % 4, "SITE", std::to_string(size)); break;
        default: frame = Text("$GPGGA," + std::string(size, 'x') + "\r"); break;
        }
        expected.push_back({frame, kind, 0});
        AppendBytes(log, frame);
        if (rng() % 2)
            AppendBytes(log, Text("\r\n"));
        else if (kind == eFrameSentence)
            AppendBytes(log, Text("\n"));
    }
    for (uint32_t capacity : {64u, 300u, 16384u})
    {
        SCOPED_TRACE(capacity);
        const SReaderRun run = ReadWholeLog(log, capacity);
        EXPECT_EQ(run.m_szFault, "");
        EXPECT_EQ(run.m_uSkippedAtEnd, 0u);
        EXPECT_TRUE(run.m_aFrames == expected) << run.m_aFrames.size() << " of " << expected.size() << " frames";
    }
}

TEST(FrameReaderTest, WaitsAtASplitWithNarrowedCandidatesUntilTheNextFill)
{
    Bytes log;
    for (int i = 0; i < 50; ++i)
        AppendBytes(log, MakeBinFrame(96, Pattern(300, static_cast<uint8_t>(i))));
    AppendBytes(log, Text("$" + std::string(778, 'P') + "\r\n")); // pads the log to 16381 bytes
    ASSERT_EQ(log.size(), 16381u);
    const Bytes split = MakeBinFrame(103, Pattern(64, 9)); // "$BI" are the buffer's last bytes
    AppendBytes(log, split);
    AppendBytes(log, Text("$GPZDA\r\n"));

    std::unique_ptr<uint8_t[]> buffer(new uint8_t[16384]);
    CBinFrameReader reader(buffer.get(), 16384, kAllKinds);
    LogStream stream = OpenLogStream(log);
    ASSERT_EQ(reader.Fill(stream.get()), 16384u);
    EXPECT_FALSE(reader.m_bEndOfInput);
    for (int i = 0; i < 51; ++i)
        ASSERT_TRUE(reader.NextFrame(nullptr, nullptr, nullptr)) << i;
    EXPECT_FALSE(reader.NextFrame(nullptr, nullptr, nullptr));
    EXPECT_EQ(reader.m_uReadPos, 16381u);
    EXPECT_EQ(reader.m_uSkipped, 0u);
    const uint8_t binAndSentenceOnly[kFrameKindCount] = {0, 0, 1, 0, 1};
    EXPECT_EQ(0, std::memcmp(reader.m_abCandidate, binAndSentenceOnly, kFrameKindCount));

    // No room behind the data: the tail moves to the front, the candidates stay.
    EXPECT_EQ(reader.Fill(stream.get()), log.size() - 16384);
    EXPECT_EQ(reader.m_uReadPos, 0u);
    EXPECT_EQ(reader.m_uWritePos, log.size() - 16381);
    EXPECT_EQ(0, std::memcmp(reader.m_abCandidate, binAndSentenceOnly, kFrameKindCount));

    const uint8_t* frame = nullptr;
    uint32_t length = 0;
    uint32_t kind = 99;
    ASSERT_TRUE(reader.NextFrame(&frame, &length, &kind));
    EXPECT_EQ(frame, buffer.get());
    EXPECT_EQ(Bytes(frame, frame + length), split);
    EXPECT_EQ(kind, eFrameBin);
    EXPECT_EQ(0, std::memcmp(reader.m_abCandidate, kAllKinds, kFrameKindCount));
    ASSERT_TRUE(reader.NextFrame(nullptr, nullptr, &kind));
    EXPECT_EQ(kind, eFrameSentence);
}

TEST(FrameReaderTest, FillMovesDataToTheFrontOnlyWhenSpaceBehindItRunsShort)
{
    // The head of a frame waits at the end of the data; Fill brings its tail.
    const Bytes head(kGood.begin(), kGood.begin() + 20);
    const Bytes tail(kGood.begin() + 20, kGood.end());
    const struct
    {
        uint32_t capacity;
        uint32_t writePos;
        bool moved;
    } cases[] = {
        {16384, 14336, false}, // exactly 2048 free behind the data
        {16384, 14337, true},
        {4096, 2048, false},
        {4096, 2049, true},
        {4095, 100, true}, // a small buffer is always compacted
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(::testing::Message() << c.capacity << " " << c.writePos);
        std::unique_ptr<uint8_t[]> buffer(new uint8_t[c.capacity]);
        CBinFrameReader reader(buffer.get(), c.capacity, kAllKinds);
        std::memcpy(buffer.get() + c.writePos - 20, head.data(), 20);
        reader.m_uReadPos = c.writePos - 20;
        reader.m_uWritePos = c.writePos;
        LogStream stream = OpenLogStream(tail);
        EXPECT_EQ(reader.Fill(stream.get()), tail.size());

        const uint32_t start = c.moved ? 0 : c.writePos - 20;
        EXPECT_EQ(reader.m_uReadPos, start);
        EXPECT_EQ(reader.m_uWritePos, start + kGood.size());
        const uint8_t* frame = nullptr;
        uint32_t length = 0;
        ASSERT_TRUE(reader.NextFrame(&frame, &length, nullptr));
        EXPECT_EQ(frame, buffer.get() + start);
        EXPECT_EQ(Bytes(frame, frame + length), kGood);
    }

    // With everything consumed, or with a buffer that is still full after
    // compacting, reading starts over at the front.
    const struct
    {
        uint32_t capacity;
        uint32_t readPos;
        uint32_t writePos;
    } restarts[] = {{16384, 14000, 14000}, {64, 0, 64}};
    for (const auto& r : restarts)
    {
        SCOPED_TRACE(r.capacity);
        std::unique_ptr<uint8_t[]> buffer(new uint8_t[r.capacity]);
        std::memset(buffer.get(), '$', r.capacity);
        CBinFrameReader reader(buffer.get(), r.capacity, kAllKinds);
        reader.m_uReadPos = r.readPos;
        reader.m_uWritePos = r.writePos;
        LogStream stream = OpenLogStream(kGood);
        EXPECT_EQ(reader.Fill(stream.get()), kGood.size());
        EXPECT_EQ(reader.m_uReadPos, 0u);
        EXPECT_EQ(reader.m_uWritePos, kGood.size());
        EXPECT_EQ(Bytes(buffer.get(), buffer.get() + kGood.size()), kGood);
    }
}

TEST(FrameReaderTest, FrameThatCannotFitTheBufferIsGivenUpAndSearched)
{
    const Bytes sentence = Text("$GPZDA,1\r\n");
    Bytes payload = Concat({Text("xx"), sentence});
    payload.resize(100, 0);
    const Bytes tooBig = MakeBinFrame(96, payload); // 112 bytes in a 64-byte buffer
    SReaderRun run = ReadWholeLog(Concat({tooBig, kGood}), 64);
    EXPECT_EQ(run.m_szFault, "");
    EXPECT_EQ(BytesOf(run.m_aFrames), (std::vector<Bytes>{Delivered(sentence), kGood}));

    // A line longer than the buffer is walked over as well, line end included.
    const Bytes longLine = Text("$" + std::string(100, 'A') + "\r\n");
    run = ReadWholeLog(Concat({longLine, kGood}), 64);
    EXPECT_EQ(run.m_szFault, "");
    EXPECT_EQ(run.m_aFrames, (std::vector<SDelivered>{{kGood, eFrameBin, 103}}));
}

TEST(FrameReaderTest, IncompleteFrameAtEndOfInputIsLostByteByByte)
{
    const Bytes bare = MakeBinFrame(95, Pattern(128, 8), true, "");
    const Bytes crOnly = MakeBinFrame(95, Pattern(128, 8), true, "\r");
    const Bytes sentence = Text("$GPZDA,2\r\n");
    Bytes truncated = MakeBinFrame(96, Concat({Text("zz"), sentence, Pattern(60, 1)}));
    truncated.resize(truncated.size() - 5);
    const Bytes openLine = Text("$GPGGA,no line end");
    const struct
    {
        Bytes trailer;
        std::vector<Bytes> frames;
    } cases[] = {
        {bare, {}},   // two more bytes were waited for
        {crOnly, {}}, // one more byte was waited for
        {truncated, {Delivered(sentence)}},
        {openLine, {}},
    };
    for (uint32_t capacity : {300u, 16384u})
        for (const auto& c : cases)
        {
            SCOPED_TRACE(::testing::Message() << "capacity " << capacity << " trailer of " << c.trailer.size());
            const SReaderRun run = ReadWholeLog(Concat({kGood, c.trailer}), capacity);
            EXPECT_EQ(run.m_szFault, "");
            std::vector<Bytes> expected = {kGood};
            expected.insert(expected.end(), c.frames.begin(), c.frames.end());
            EXPECT_EQ(BytesOf(run.m_aFrames), expected);
            if (c.frames.empty())
            {
                EXPECT_EQ(run.m_uSkippedAtEnd, c.trailer.size());
            }
        }
}

TEST(FrameReaderTest, Walks20000JunkBytesOneAtATime)
{
    const Bytes junk = Junk(20000, 3);
    SReaderRun run = ReadWholeLog(junk, 16384);
    EXPECT_EQ(run.m_szFault, "");
    EXPECT_TRUE(run.m_aFrames.empty());
    EXPECT_EQ(run.m_uSkippedAtEnd, 20000u);

    run = ReadWholeLog(Concat({junk, kGood}), 16384);
    EXPECT_EQ(run.m_aFrames, (std::vector<SDelivered>{{kGood, eFrameBin, 20000}}));
    EXPECT_EQ(run.m_uSkippedAtEnd, 0u);
}

TEST(FrameReaderTest, HoldsPayloadLimitsAtTheLargestFrames)
{
    const Bytes bin2038 = MakeZeroBinFrame(1, 2038);
    const Bytes bin2039 = MakeZeroBinFrame(1, 2039);
    const Bytes site2040 = MakeSiteFrame(1, 1, Bytes(2040, 0));
    const Bytes site2041 = MakeSiteFrame(1, 1, Bytes(2041, 0));
    EXPECT_EQ(ReadWholeLog(Concat({bin2038, kGood}), 16384).m_aFrames,
              Frames({{bin2038, eFrameBin}, {kGood, eFrameBin}}));
    EXPECT_EQ(ReadWholeLog(Concat({bin2039, kGood}), 16384).m_aFrames,
              (std::vector<SDelivered>{{kGood, eFrameBin, 2039 + 12}}));
    EXPECT_EQ(ReadWholeLog(Concat({site2040, kGood}), 16384).m_aFrames,
              Frames({{site2040, eFrameSite}, {kGood, eFrameBin}}));
    EXPECT_EQ(ReadWholeLog(Concat({site2041, kGood}), 16384).m_aFrames,
              (std::vector<SDelivered>{{kGood, eFrameBin, 2041 + 8}}));
}

TEST(FrameReaderTest, DisabledKindsAreWalkedOver)
{
    const Bytes site = MakeMarkerSiteFrame(3, "ROOF", "1");
    const Bytes sentence = Text("$GPZDA,3\r\n");
    const Bytes log = Concat({site, sentence, kGood});

    const uint8_t binOnly[kFrameKindCount] = {0, 0, 1, 0, 0};
    EXPECT_EQ(BytesOf(ReadWholeLog(log, 300, binOnly).m_aFrames), (std::vector<Bytes>{kGood}));
    // Without the "$BIN" kind a binary frame is still not text.
    const uint8_t sentenceOnly[kFrameKindCount] = {0, 0, 0, 0, 1};
    EXPECT_EQ(BytesOf(ReadWholeLog(log, 300, sentenceOnly).m_aFrames), (std::vector<Bytes>{Delivered(sentence)}));
}

TEST(MatchFrameTest, StrikesRefusingKindsAndStopsAtTheFirstFrame)
{
    uint8_t candidates[kFrameKindCount] = {1, 1, 1, 1, 1};
    uint32_t length = 77;
    uint32_t kind = 77;
    const Bytes open = Text("$BI");
    EXPECT_EQ(CBinFrameReader::MatchFrame(open.data(), 3, &length, candidates, &kind), eMatchMore);
    const uint8_t binAndSentence[kFrameKindCount] = {0, 0, 1, 0, 1};
    EXPECT_EQ(0, std::memcmp(candidates, binAndSentence, kFrameKindCount));
    EXPECT_EQ(length, 77u);
    EXPECT_EQ(kind, 77u);

    // Kinds behind the one that matched are not asked.
    std::memset(candidates, 1, kFrameKindCount);
    EXPECT_EQ(CBinFrameReader::MatchFrame(kGood.data(), 52, &length, candidates, &kind), eMatchFrame);
    EXPECT_EQ(length, 52u);
    EXPECT_EQ(kind, eFrameBin);
    const uint8_t untriedAfterBin[kFrameKindCount] = {0, 0, 1, 1, 1};
    EXPECT_EQ(0, std::memcmp(candidates, untriedAfterBin, kFrameKindCount));

    // A struck kind is not asked again at the position.
    const uint8_t noSentence[kFrameKindCount] = {1, 1, 1, 1, 0};
    std::memcpy(candidates, noSentence, kFrameKindCount);
    const Bytes line = Text("$GP\r");
    EXPECT_EQ(CBinFrameReader::MatchFrame(line.data(), 4, nullptr, candidates, nullptr), eMatchNone);
}

// Random bytes and damaged logs through buffers of every size: the reader must
// never deliver anything outside the bytes it has read, nor anything its parser
// would not confirm, and must consume the whole input. Undamaged logs must
// come out frame by frame.
TEST(FrameReaderTest, SurvivesRandomAndMutatedLogs)
{
    std::mt19937 rng(20240611);
    auto pick = [&rng](uint32_t n) { return static_cast<uint32_t>(rng() % n); };
    auto biasedByte = [&]() -> uint8_t {
        static constexpr uint8_t kTokens[] = {'$', 'B', 'I', 'N', 0xD3, 0xB7, 0x59, '\r', '\n', 0};
        return pick(4) == 0 ? kTokens[pick(sizeof kTokens)] : static_cast<uint8_t>(rng());
    };
    auto randomBytes = [&](size_t n) {
        Bytes b(n);
        for (uint8_t& x : b)
            x = biasedByte();
        return b;
    };
    auto randomFrame = [&](uint32_t& kind) -> Bytes {
        kind = pick(kFrameKindCount);
        const size_t size = pick(250);
        switch (kind)
        {
        case eFramePacked: return MakePackedFrame(randomBytes(size), pick(3));
        case eFrameRtcm3: return MakeRtcm3Frame(randomBytes(size), true, static_cast<uint8_t>(pick(64)));
        case eFrameBin: return MakeBinFrame(static_cast<uint16_t>(pick(200)), randomBytes(size));
        case eFrameSite: return MakeSiteFrame(1, static_cast<uint8_t>(pick(5)), randomBytes(size));
        default:
        {
            std::string text = "$G";
            for (size_t i = 0; i < size; ++i)
                text += static_cast<char>(' ' + pick(95));
            return Text(text + "\r");
        }
        }
    };
    static constexpr uint32_t kCapacities[] = {64, 300, 16384};
    size_t deliveredFromDamage = 0;
    for (int round = 0; round < 600; ++round)
    {
        SCOPED_TRACE(round);
        Bytes log;
        std::vector<SDelivered> expected;
        for (uint32_t n = 1 + pick(20); n > 0; --n)
        {
            uint32_t kind = 0;
            const Bytes frame = randomFrame(kind);
            expected.push_back({frame, kind, 0});
            AppendBytes(log, frame);
            AppendBytes(log, Text(pick(2) ? "\r\n" : "\n"));
        }
        const int mode = round % 3;
        if (mode == 0)
            log = randomBytes(pick(3000));
        else if (mode == 2)
            for (uint32_t m = 1 + pick(8); m > 0 && !log.empty(); --m)
            {
                const size_t at = pick(static_cast<uint32_t>(log.size()));
                switch (pick(5))
                {
                case 0: log[at] ^= static_cast<uint8_t>(1u << pick(8)); break;
                case 1: log.erase(log.begin() + at); break;
                case 2: log.insert(log.begin() + at, biasedByte()); break;
                case 3: log.resize(at); break;
                default:
                {
                    const size_t len = std::min<size_t>(pick(200), log.size() - at);
                    const Bytes piece(log.begin() + at, log.begin() + at + len);
                    log.insert(log.begin() + pick(static_cast<uint32_t>(log.size())), piece.begin(), piece.end());
                }
                }
            }
        // Undamaged logs go through the buffers that hold their largest frame.
        const uint32_t capacity = kCapacities[mode == 1 ? 1 + pick(2) : pick(3)];
        const SReaderRun run = ReadWholeLog(log, capacity);
        ASSERT_EQ(run.m_szFault, "") << "capacity " << capacity;
        if (mode == 1)
        {
            ASSERT_TRUE(run.m_aFrames == expected) << "capacity " << capacity;
        }
        if (mode == 2)
            deliveredFromDamage += run.m_aFrames.size();
    }
    EXPECT_GT(deliveredFromDamage, 500u); // damaged logs still yield their intact frames
}
