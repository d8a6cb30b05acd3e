#include "navstate/BeidouSubFrame.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "logio/BinaryMessages.h"
#include "logio/ByteReader.h"

namespace
{
// SBinaryMsg35 fields (frame offsets) beside kBin35ChannelOffset.
constexpr uint32_t kBin35SatelliteOffset = 8;
constexpr uint32_t kBin35PayloadOffset = 16;
constexpr uint32_t kBin35SubFrameBytes = kBeidouSubFrameWords * 4;
// A satellite field of 100 or more marks the raw form; the satellite is the rest.
constexpr uint32_t kRawFormSatelliteBase = 100;

// Bits 29-19 of word 0 hold the preamble; a receiver that tracks the carrier
// half a cycle off delivers every bit complemented.
constexpr uint32_t kPreambleShift = 19;
constexpr uint32_t kPreambleMask = 0x7FF;
constexpr uint32_t kInvertedPreamble = 0x0ED; // complement of 0x712
constexpr uint32_t kWordBits = 0x3FFFFFFF;    // bits 31-30 are no part of a word

// The geostationary satellites send D2, all others D1: C01 to C05 and C59
// to C63, the first and the last five numbers the constellation gives out.
constexpr uint32_t kLastLowD2Satellite = 5;
constexpr uint32_t kFirstHighD2Satellite = 59;

bool SendsD2(uint32_t satellite)
{
    return satellite <= kLastLowD2Satellite || (satellite >= kFirstHighD2Satellite && satellite <= kBeidouRows);
}

// Places in every subframe.
constexpr uint32_t kFrameIdPosition = 15;
constexpr uint32_t kFrameIdWidth = 3;
constexpr uint32_t kSowPosition = 18;
constexpr uint32_t kSowWidth = 20;
constexpr uint32_t kD2PagePosition = 42;
constexpr uint32_t kD2PageWidth = 4;

// D1 subframes follow each other every 6 seconds; the frame state counts the
// subframes 1, 2, 3 seen in a row.
constexpr uint32_t kD1SubFrameSeconds = 6;
constexpr uint32_t kD1FrameComplete = 3;
// Words 0 and 1 hold the SOW; a frame is only new when a later word differs.
constexpr uint32_t kFirstComparedWord = 2;
// A D2 page run starts at page 1 and has to end within 40 seconds at page 10.
constexpr uint32_t kD2LastPage = 10;
constexpr uint32_t kD2MaxRunSeconds = 40;

// One field of the message: `width` bits at `position` of subframe (D1) or
// page (D2) `group`, placed in decoded word `word`, shifted left by `shift`.
// A field split across subframes or pages is put together with its high part
// assigned first and its low part merged by a bitwise or.
struct SFieldPlace
{
    uint8_t m_uGroup;
    uint16_t m_uPosition;
    uint8_t m_uWidth;
    uint8_t m_uWord;
    uint8_t m_uShift;
    bool m_bSigned;
    bool m_bMerge;
};

constexpr bool kSigned = true;
constexpr bool kUnsigned = false;
constexpr bool kMerge = true;
constexpr bool kAssign = false;

// D1 subframes 1 to 3.
constexpr SFieldPlace kD1Fields[] = {
    // group, position, width, word, shift, sign, combine
    {1, 42, 10, eBdsFlags, 5, kUnsigned, kAssign}, // SatH1, AODC, URAI
    {1, 60, 13, eBdsWn, 0, kUnsigned, kAssign},
    {1, 73, 17, eBdsToc, 0, kUnsigned, kAssign},
    {1, 98, 10, eBdsTgd, 0, kUnsigned, kAssign}, // TGD1
    {1, 108, 10, eBdsTgd, 10, kUnsigned, kMerge}, // TGD2
    {1, 126, 32, eBdsAlpha, 0, kUnsigned, kAssign},
    {1, 166, 32, eBdsBeta, 0, kUnsigned, kAssign},
    {1, 214, 11, eBdsA2, 0, kSigned, kAssign},
    {1, 225, 24, eBdsA0, 0, kSigned, kAssign},
    {1, 257, 22, eBdsA1, 0, kSigned, kAssign},
    {1, 287, 5, eBdsFlags, 0, kUnsigned, kMerge}, // AODE
    {2, 42, 16, eBdsDeltaN, 0, kSigned, kAssign},
    {2, 66, 18, eBdsCuc, 0, kSigned, kAssign},
    {2, 92, 32, eBdsM0, 0, kUnsigned, kAssign},
    {2, 132, 32, eBdsEcc, 0, kUnsigned, kAssign},
    {2, 180, 18, eBdsCus, 0, kSigned, kAssign},
    {2, 198, 18, eBdsCrc, 0, kSigned, kAssign},
    {2, 224, 18, eBdsCrs, 0, kSigned, kAssign},
    {2, 250, 32, eBdsSqrtA, 0, kUnsigned, kAssign},
    {2, 290, 2, eBdsToe, 15, kUnsigned, kAssign},
    {3, 42, 15, eBdsToe, 0, kUnsigned, kMerge},
    {3, 65, 32, eBdsI0, 0, kUnsigned, kAssign},
    {3, 105, 18, eBdsCic, 0, kSigned, kAssign},
    {3, 131, 24, eBdsOmegaDot, 0, kSigned, kAssign},
    {3, 163, 18, eBdsCis, 0, kSigned, kAssign},
    {3, 189, 14, eBdsIdot, 0, kSigned, kAssign},
    {3, 211, 32, eBdsOmega0, 0, kUnsigned, kAssign},
    {3, 251, 32, eBdsOmega, 0, kUnsigned, kAssign},
};

// Pages 1 to 10 of D2 subframe 1.
constexpr SFieldPlace kD2Fields[] = {
    // group, position, width, word, shift, sign, combine
    {1, 46, 10, eBdsFlags, 5, kUnsigned, kAssign}, // SatH1, AODC, URAI; AODE follows on page 4
    {1, 64, 13, eBdsWn, 0, kUnsigned, kAssign},
    {1, 77, 17, eBdsToc, 0, kUnsigned, kAssign},
    {1, 102, 10, eBdsTgd, 0, kUnsigned, kAssign}, // TGD1
    {1, 120, 10, eBdsTgd, 10, kUnsigned, kMerge}, // TGD2
    {2, 46, 32, eBdsAlpha, 0, kUnsigned, kAssign},
    {2, 94, 32, eBdsBeta, 0, kUnsigned, kAssign},
    {3, 100, 24, eBdsA0, 0, kSigned, kAssign},
    {3, 132, 4, eBdsA1, 18, kSigned, kAssign},
    {4, 46, 18, eBdsA1, 0, kUnsigned, kMerge},
    {4, 72, 11, eBdsA2, 0, kSigned, kAssign},
    {4, 91, 5, eBdsFlags, 0, kUnsigned, kMerge}, // AODE
    {4, 96, 16, eBdsDeltaN, 0, kSigned, kAssign},
    {4, 120, 14, eBdsCuc, 4, kSigned, kAssign},
    {5, 46, 4, eBdsCuc, 0, kUnsigned, kMerge},
    {5, 50, 32, eBdsM0, 0, kUnsigned, kAssign},
    {5, 98, 18, eBdsCus, 0, kSigned, kAssign},
    {5, 124, 10, eBdsEcc, 22, kUnsigned, kAssign},
    {6, 46, 22, eBdsEcc, 0, kUnsigned, kMerge},
    {6, 76, 32, eBdsSqrtA, 0, kUnsigned, kAssign},
    {6, 124, 10, eBdsCic, 8, kSigned, kAssign},
    {7, 46, 8, eBdsCic, 0, kUnsigned, kMerge},
    {7, 62, 18, eBdsCis, 0, kSigned, kAssign},
    {7, 80, 17, eBdsToe, 0, kUnsigned, kAssign},
    {7, 105, 21, eBdsI0, 11, kUnsigned, kAssign},
    {8, 46, 11, eBdsI0, 0, kUnsigned, kMerge},
    {8, 65, 18, eBdsCrc, 0, kSigned, kAssign},
    {8, 91, 18, eBdsCrs, 0, kSigned, kAssign},
    {8, 109, 19, eBdsOmegaDot, 5, kSigned, kAssign},
    {9, 46, 5, eBdsOmegaDot, 0, kUnsigned, kMerge},
    {9, 51, 32, eBdsOmega0, 0, kUnsigned, kAssign},
    {9, 99, 27, eBdsOmega, 5, kUnsigned, kAssign},
    {10, 46, 5, eBdsOmega, 0, kUnsigned, kMerge},
    {10, 51, 14, eBdsIdot, 0, kSigned, kAssign},
};

// Every place must name a decoded word and keep its shifted field inside 32 bits.
template <size_t N>
constexpr bool PlacesFit(const SFieldPlace (&places)[N])
{
    for (const SFieldPlace& f : places)
    {
        if (f.m_uWord >= kBeidouDecodedWords || f.m_uWidth == 0 || f.m_uWidth + f.m_uShift > 32)
            return false;
    }
    return true;
}
static_assert(PlacesFit(kD1Fields) && PlacesFit(kD2Fields));

// Takes every field of `group` from `reader` into `block`.
template <size_t N>
void TakeFields(const SFieldPlace (&places)[N], uint32_t group, C30BitFrameWord& reader, SBeidouDecoded& block)
{
    for (const SFieldPlace& f : places)
    {
        if (f.m_uGroup != group)
            continue;
        uint32_t value = reader.GetUWord(f.m_uPosition, f.m_uWidth);
        if (f.m_bSigned)
            value = SignExtendBits(value, f.m_uWidth);
        value <<= f.m_uShift;
        uint32_t& word = block.m_auWord[f.m_uWord];
        word = f.m_bMerge ? (word | value) : value;
    }
}

// The words of a stored subframe as GetUWord reads them: word 0 as it is, the
// nine interleaved ones sorted.
void ReadableWords(const uint32_t* pauStored, uint32_t* pauReadable)
{
    pauReadable[0] = pauStored[0];
    for (uint32_t i = 1; i < kBeidouSubFrameWords; ++i)
        pauReadable[i] = Deinterleave(pauStored[i]);
}

} // namespace

CBeidouDecoders::CBeidouDecoders(CGpsNavState& table) : m_Table(table)
{
    for (uint32_t channel = 0; channel < kBeidouChannels; ++channel)
        m_aBeidouSubFrame[channel] = CBeidouSubFrame(channel);
}

CBeidouDecoders::~CBeidouDecoders()
{
    std::free(m_paBIN_BeidouEph);
}

bool CBeidouDecoders::AllocateBeidouEphTable()
{
    if (m_paBIN_BeidouEph == nullptr)
        m_paBIN_BeidouEph = static_cast<SBeidouChannelEph*>(std::calloc(kBeidouChannels, sizeof(SBeidouChannelEph)));
    if (m_paBIN_BeidouEph == nullptr)
        return false;
    std::memset(m_paBIN_BeidouEph, 0, kBeidouChannels * sizeof(SBeidouChannelEph));
    for (uint32_t channel = 0; channel < kBeidouChannels; ++channel)
        m_aBeidouSubFrame[channel].Bind(&m_paBIN_BeidouEph[channel], &m_Table);
    return true;
}

CBeidouSubFrame* CBeidouDecoders::BeidouSubFrameOfChannel(uint32_t channel)
{
    if (channel >= kBeidouChannels)
        return nullptr;
    return &m_aBeidouSubFrame[channel];
}

void CBeidouDecoders::ProcessBin35(const uint8_t* frame)
{
    // The receiver has no decoder for a channel of 20 or above, nor an
    // element of the accepted blocks: such a message is let go.
    CBeidouSubFrame* decoder = BeidouSubFrameOfChannel(ReadU16(frame, kBin35ChannelOffset));
    if (decoder != nullptr)
        decoder->ProcessMsg35(frame);
}

void CBeidouSubFrame::ProcessMsg35(const uint8_t* frame)
{
    const uint32_t satellite = ReadU16(frame, kBin35SatelliteOffset);
    if (satellite < kRawFormSatelliteBase)
    {
        // Decoded form. The BeiDou table has rows for 1 to 63 only; a block for
        // any other number could be neither compared nor stored, so it is let
        // go before it touches the channel.
        if (satellite == 0 || satellite > kBeidouRows)
            return;
        for (uint32_t i = 0; i < kBeidouDecodedWords; ++i)
            m_sDecoded.m_auWord[i] = ReadU32(frame, kBin35PayloadOffset + 4 * i);
        m_uPRN = satellite;
        StoreDecoded(m_sDecoded, satellite);
        return;
    }

    const uint32_t rawSatellite = satellite - kRawFormSatelliteBase;
    for (uint32_t s = 0; s < kBeidouSubFrames; ++s)
    {
        uint32_t words[kBeidouSubFrameWords];
        for (uint32_t i = 0; i < kBeidouSubFrameWords; ++i)
            words[i] = ReadU32(frame, kBin35PayloadOffset + s * kBin35SubFrameBytes + 4 * i);
        AddRawSubFrame(rawSatellite, words);
    }
}

void CBeidouSubFrame::AddRawSubFrame(uint32_t satellite, const uint32_t* pauWords)
{
    // An inverted preamble means the whole subframe came complemented. Any
    // other preamble is taken as it is: the fields decide, not the sync word.
    const bool inverted = ((pauWords[0] >> kPreambleShift) & kPreambleMask) == kInvertedPreamble;
    uint32_t stored[kBeidouSubFrameWords];
    for (uint32_t i = 0; i < kBeidouSubFrameWords; ++i)
        stored[i] = (inverted ? ~pauWords[i] : pauWords[i]) & kWordBits;

    if (satellite != m_uPRN)
    {
        // A new satellite on the channel: nothing joined so far belongs to it.
        // The saved frame and the last page stay; a new run needs page 1 anyway.
        m_sRawFrames = SBeidouRawFrames{};
        m_bPageRun = false;
        m_uFrameState = 0;
        m_bChanged = false;
        m_uPRN = satellite;
    }
    // Subframes of a satellite without a row are dropped; the channel's
    // sequence has been reset for it all the same.
    if (m_uPRN == 0 || m_uPRN > kBeidouRows)
        return;

    uint32_t readable[kBeidouSubFrameWords];
    ReadableWords(stored, readable);
    C30BitFrameWord reader(readable, kBeidouSubFrameWords, true);
    m_uFrameId = reader.GetUWord(kFrameIdPosition, kFrameIdWidth);
    m_uSow = reader.GetUWord(kSowPosition, kSowWidth);

    if (SendsD2(m_uPRN))
        D2_AddSubFrame(readable);
    else if (m_uFrameId >= 1 && m_uFrameId <= kBeidouSubFrames)
        D1_AddSubFrame(stored); // subframes 4 and 5 carry no ephemeris
}

void CBeidouSubFrame::D1_AddSubFrame(const uint32_t* pauStored)
{
    SBeidouRawFrames& raw = m_sRawFrames;
    switch (m_uFrameId)
    {
    case 1:
        m_uFrameState = 1;
        raw.m_uFrameSow = m_sSavedFrames.m_uFrameSow = m_uSow;
        raw.m_uSatellite = m_sSavedFrames.m_uSatellite = static_cast<uint16_t>(m_uPRN);
        m_bChanged = false;
        break;
    case 2:
        m_uFrameState = (raw.m_uFrameSow == m_uSow - kD1SubFrameSeconds && m_uFrameState == 1) ? 2 : 0;
        break;
    case 3:
        m_uFrameState = (raw.m_uFrameSow == m_uSow - 2 * kD1SubFrameSeconds && m_uFrameState == 2) ? 3 : 0;
        break;
    default:
        return; // no place for it
    }

    // The subframe is kept whatever the sequence gave: a later subframe 1 may
    // start a frame that it completes.
    uint32_t* place = raw.m_aauSubFrame[m_uFrameId - 1];
    const uint32_t* saved = m_sSavedFrames.m_aauSubFrame[m_uFrameId - 1];
    for (uint32_t i = 0; i < kBeidouSubFrameWords; ++i)
    {
        place[i] = pauStored[i];
        if (i >= kFirstComparedWord && place[i] != saved[i])
            m_bChanged = true;
    }

    if (m_uFrameState == kD1FrameComplete && m_bChanged && D1_ProcessFrames() != 0)
        m_sSavedFrames = m_sRawFrames;
}

uint32_t CBeidouSubFrame::D1_ProcessFrames()
{
    m_sDecoded.m_auWord[eBdsSow] = m_sRawFrames.m_uFrameSow;
    for (uint32_t s = 0; s < kBeidouSubFrames; ++s)
    {
        uint32_t readable[kBeidouSubFrameWords];
        ReadableWords(m_sRawFrames.m_aauSubFrame[s], readable);
        C30BitFrameWord reader(readable, kBeidouSubFrameWords, true);
        TakeFields(kD1Fields, s + 1, reader, m_sDecoded);
    }
    return StoreDecoded(m_sDecoded, m_uPRN);
}

void CBeidouSubFrame::D2_AddSubFrame(const uint32_t* pauReadable)
{
    // Only subframe 1 of D2 carries the ephemeris, spread over its ten pages.
    if (m_uFrameId != 1)
        return;
    C30BitFrameWord reader(pauReadable, kBeidouSubFrameWords, true);
    D2_ProcessFrame1(reader);
}

void CBeidouSubFrame::D2_ProcessFrame1(C30BitFrameWord& reader)
{
    const uint32_t page = reader.GetUWord(kD2PagePosition, kD2PageWidth);
    // Unsigned on purpose: a SOW behind that of page 1 counts as far too late.
    if (page != m_uLastPage + 1 || m_uSow - m_sRawFrames.m_uFrameSow > kD2MaxRunSeconds)
        m_bPageRun = false;
    if (page == 1)
    {
        m_bPageRun = true;
        m_sRawFrames.m_uFrameSow = m_uSow;
    }
    m_uLastPage = page;
    if (!m_bPageRun)
        return;

    if (page == 0 || page > kD2LastPage)
        return;
    if (page == 1)
        m_sDecoded.m_auWord[eBdsSow] = m_sRawFrames.m_uFrameSow;
    TakeFields(kD2Fields, page, reader, m_sDecoded);
    if (page == kD2LastPage)
        StoreDecoded(m_sDecoded, m_uPRN);
}
