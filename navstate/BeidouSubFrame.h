#pragma once

#include <array>
#include <cstdint>

#include "navstate/NavState.h"

// BeiDou navigation message intake (BIN35). A message brings either raw B1I
// subframe words or the fields the receiver has already taken out of them;
// both end as one decoded block of 26 words, which, when new, becomes an
// SBeidouEphemeris in the pending table of the BeiDou navigation state. The
// writer pass that follows each BIN35 brings it into use.

// Receiver channels that carry BeiDou subframes: one decoder and one element
// of the table of accepted blocks each.
constexpr uint32_t kBeidouChannels = 20;
constexpr uint32_t kBeidouDecodedWords = 26;
// Words of one subframe; three subframes per raw BIN35.
constexpr uint32_t kBeidouSubFrameWords = 10;
constexpr uint32_t kBeidouSubFrames = 3;

// Word numbers of SBeidouDecoded. Signed fields stand sign-extended to 32 bits.
enum EBeidouDecodedWord : uint32_t
{
    eBdsSow = 0,      // m_uSow: seconds of BDT week at which the data were sent
    eBdsToc = 1,      // unsigned 17 bits, units of 8 s
    eBdsA0 = 2,       // signed 24 bits
    eBdsA1 = 3,       // signed 22 bits
    eBdsA2 = 4,       // signed 11 bits
    eBdsToe = 5,      // unsigned 17 bits, units of 8 s
    eBdsSqrtA = 6,    // unsigned 32 bits
    eBdsEcc = 7,      // unsigned 32 bits
    eBdsOmega = 8,    // signed 32 bits
    eBdsDeltaN = 9,   // signed 16 bits
    eBdsM0 = 10,      // signed 32 bits
    eBdsOmega0 = 11,  // signed 32 bits
    eBdsOmegaDot = 12, // signed 24 bits
    eBdsI0 = 13,      // signed 32 bits
    eBdsIdot = 14,    // signed 14 bits
    eBdsCuc = 15,     // signed 18 bits, as the five below
    eBdsCus = 16,
    eBdsCrc = 17,
    eBdsCrs = 18,
    eBdsCic = 19,
    eBdsCis = 20,
    eBdsTgd = 21,     // bits 9-0 TGD1, bits 19-10 TGD2, each signed 10 bits
    eBdsWn = 22,      // unsigned 13 bits, BDT week
    eBdsAlpha = 23,   // alpha0 in bits 31-24 ... alpha3 in bits 7-0, signed bytes
    eBdsBeta = 24,    // beta0 ... beta3 in the same order
    eBdsFlags = 25,   // bit 14 SatH1, bits 13-9 AODC, bits 8-5 URAI, bits 4-0 AODE
};

// The decoded block: what the decoded form of BIN35 carries and what the raw
// decoders build. Word 0 (m_uSow) is the SOW and never part of a comparison.
struct SBeidouDecoded
{
    uint32_t m_auWord[kBeidouDecodedWords];
};

// Bit reader over B1I subframe words as stored: right-justified, bit 29 the
// first transmitted bit. Positions count 30 per word, parity included, so a
// position is a bit number of the subframe layout of the B1I interface; only
// data bits are returned, parity bits are stepped over.
class C30BitFrameWord
{
public:
    // `wordCount` words at `pauWords` (not owned); bits behind them read as 0.
    C30BitFrameWord(const uint32_t* pauWords, uint32_t wordCount, bool bParity);

    // `width` (1 to 32) data bits from position `start`, right-justified and
    // unsigned; callers extend the sign themselves. Any other width gives 0.
    uint32_t GetUWord(uint32_t start, uint32_t width);

    uint32_t m_uBitPos;         // position behind the last field read
    const uint32_t* m_pauWords; // not owned
    uint32_t m_uWordCount;
    bool m_bParity;             // word 0 ends in 4 parity bits, the others in 8
};

// A word behind the first of a subframe holds two BCH(15,11) code words sent
// bit by bit in turn; returns it with the 11 data bits of the first in bits
// 29-19 and those of the second in bits 18-8. Bits 31-30 and the parity bits
// 7-0 are kept as they are.
uint32_t Deinterleave(uint32_t word);

// The low `width` bits (1 to 32) of `value` as a signed number, extended to 32
// bits in two's complement; any other width gives `value` unchanged.
uint32_t SignExtendBits(uint32_t value, uint32_t width);

// Subframes as stored: polarity set right, not yet de-interleaved.
struct SBeidouRawFrames
{
    uint16_t m_uSatellite;
    uint32_t m_uFrameSow; // SOW of D1 subframe 1 or of D2 page 1
    uint32_t m_aauSubFrame[kBeidouSubFrames][kBeidouSubFrameWords];
};

// The decoder of one receiver channel: joins D1 subframes 1 to 3, or gathers
// the ten pages of D2 subframe 1 (the geostationary C01 to C05 and C59 to
// C63), into m_sDecoded.
struct SBeidouChannelEph;

class CBeidouSubFrame
{
public:
    constexpr explicit CBeidouSubFrame(uint32_t channel = 0) : m_uChannel(channel) {}

    // Where an accepted block is compared and kept, and the table its record
    // goes to. Until then a block is dropped.
    void Bind(SBeidouChannelEph* accepted, CGpsNavState* table)
    {
        m_pAccepted = accepted;
        m_pTable = table;
    }

    // Takes a whole BIN35 frame (140 bytes) received on this decoder's channel.
    void ProcessMsg35(const uint8_t* frame);
    // One raw subframe of satellite `satellite`, ten words as the message has them.
    void AddRawSubFrame(uint32_t satellite, const uint32_t* pauWords);
    // Whether `block` differs, in words 1 to 25, from what this channel last
    // accepted; stores and converts it unless it is the same and the
    // satellite's record is in use. Answers 1 for a difference, else 0.
    uint32_t StoreDecoded(const SBeidouDecoded& block, uint32_t satellite);

    uint32_t m_uChannel = 0;
    uint32_t m_uPRN = 0;     // satellite now on this channel
    uint32_t m_uSow = 0;     // SOW of the subframe in hand
    uint32_t m_uFrameId = 0; // FraID of the subframe in hand
    SBeidouRawFrames m_sRawFrames{};   // subframes of the frame being joined
    SBeidouRawFrames m_sSavedFrames{}; // subframes of the last frame that proved new
    uint32_t m_uFrameState = 0;        // D1 subframes seen in a row, 0 to 3
    bool m_bChanged = false;           // a joined subframe differs from m_sSavedFrames
    SBeidouDecoded m_sDecoded{};
    uint32_t m_uLastPage = 0; // page of the last D2 subframe 1
    bool m_bPageRun = false;  // a run of pages from page 1 is going on

private:
    SBeidouChannelEph* m_pAccepted = nullptr; // what this channel last accepted
    CGpsNavState* m_pTable = nullptr;        // the BeiDou table
    void D1_AddSubFrame(const uint32_t* pauStored);
    uint32_t D1_ProcessFrames();
    void D2_AddSubFrame(const uint32_t* pauStored);
    void D2_ProcessFrame1(C30BitFrameWord& reader);
};

// What a channel last accepted: compared against in StoreDecoded.
struct SBeidouChannelEph
{
    uint16_t m_uSatellite;
    uint32_t m_uSow;
    SBeidouDecoded m_sDecoded;
};

// The BeiDou decoders of a run, one per receiver channel, in their starting
// state (frame state 0, no page run), and the table of what each channel
// last accepted; records go to `table`.
class CBeidouDecoders
{
public:
    explicit CBeidouDecoders(CGpsNavState& table);
    ~CBeidouDecoders();
    CBeidouDecoders(const CBeidouDecoders&) = delete;
    CBeidouDecoders& operator=(const CBeidouDecoders&) = delete;

    // Allocates m_paBIN_BeidouEph once and zeroes it (again on later calls).
    // False when the memory can't be had.
    bool AllocateBeidouEphTable();

    // The decoder of a receiver channel, or null for a channel of 20 or above.
    CBeidouSubFrame* BeidouSubFrameOfChannel(uint32_t channel);

    // A BIN35 frame to the decoder of the channel it names. A channel without
    // a decoder (20 or above) has nothing to index: the message is ignored.
    void ProcessBin35(const uint8_t* frame);

    std::array<CBeidouSubFrame, kBeidouChannels> m_aBeidouSubFrame;
    // kBeidouChannels elements, indexed by channel; null until allocated.
    SBeidouChannelEph* m_paBIN_BeidouEph = nullptr;

private:
    CGpsNavState& m_Table;
};

// Fills the pending row of `satellite` (1 to the table's rows, row satellite - 1) of
// `navState` from `block`; any other number has no row and changes nothing.
void ConvertDecoded(const SBeidouDecoded& block, uint32_t satellite, CGpsNavState& navState);
