#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "navstate/BeidouSubFrame.h"
#include "navstate/NavState.h"

namespace
{
// Factors from the integers of the decoded block to record values. Each is the
// double of exactly these digits, not the power of two (or pi multiple) it
// approximates: the digits reach the navigation file.
constexpr double kFactorAf0 = 1.164153218269348e-10;    // near 2^-33
constexpr double kFactorAf1 = 8.881784197001252e-16;    // 2^-50
constexpr double kFactorAf2 = 1.355252715606881e-20;    // near 2^-66
constexpr double kFactorSqrtA = 1.9073486328125e-6;     // 2^-19
constexpr double kFactorEcc = 1.164153218269348e-10;    // near 2^-33
constexpr double kFactorAngle = 1.46291807926716e-9;    // near pi x 2^-31
constexpr double kFactorRate = 3.57157734196084e-13;    // near pi x 2^-43
constexpr double kFactorHarmonic = 4.656612873078e-10;  // near 2^-31
constexpr double kFactorRadius = 0.015625;              // 2^-6
constexpr double kFactorTgd = 1.0000000000000002e-10;   // near 0.1 ns
// Earth rotation of the 14 seconds between BDT and GPS time, radians.
constexpr double kOmega0BdtToGps = 0.0010208961;

static_assert(std::bit_cast<uint64_t>(kFactorAf0) == 0x3DDFFFFFFFFFFFFFull);
static_assert(std::bit_cast<uint64_t>(kFactorAf1) == 0x3CD0000000000000ull);
static_assert(std::bit_cast<uint64_t>(kFactorAf2) == 0x3BD0000000000002ull);
static_assert(std::bit_cast<uint64_t>(kFactorSqrtA) == 0x3EC0000000000000ull);
static_assert(std::bit_cast<uint64_t>(kFactorAngle) == 0x3E1921FB54442D1Aull);
static_assert(std::bit_cast<uint64_t>(kFactorRate) == 0x3D5921FB54442D1Aull);
static_assert(std::bit_cast<uint64_t>(kFactorHarmonic) == 0x3E0000000000024Bull);
static_assert(std::bit_cast<uint64_t>(kFactorTgd) == 0x3DDB7CDFD9D7BDBCull);
static_assert(std::bit_cast<uint64_t>(kOmega0BdtToGps) == 0x3F50B9F2D72CDFF8ull);

constexpr uint32_t kWeekSeconds = static_cast<uint32_t>(kSecondsPerWeek);
// toc and toe are broadcast in units of 8 seconds.
constexpr uint32_t kReferenceTimeUnit = 8;
// The group delays are two signed 10-bit fields of one word.
constexpr uint32_t kTgdWidth = 10;
constexpr uint32_t kTgdMask = 0x3FF;

// Word 25.
constexpr uint32_t kSatH1Bit = 1u << 14;
constexpr uint32_t kAodcShift = 9;
constexpr uint32_t kAodcMask = 0x1F;
constexpr uint32_t kUraiShift = 5;
constexpr uint32_t kUraiMask = 0xF;
constexpr uint32_t kAodeMask = 0x1F;
// toe in units of 32 seconds serves as the record's issue key.
constexpr uint32_t kIssueKeyShift = 2;

// Health of a record the satellite marks unhealthy, or whose orbit can't be one.
constexpr uint16_t kUnhealthy = 224;
constexpr double kLowestSqrtA = 3000.0;
constexpr double kHighestEcc = 0.2;
constexpr uint32_t kBeidouFitFlag = 1;

double Signed(const SBeidouDecoded& block, uint32_t word)
{
    return static_cast<double>(static_cast<int32_t>(block.m_auWord[word]));
}

double Unsigned(const SBeidouDecoded& block, uint32_t word)
{
    return static_cast<double>(block.m_auWord[word]);
}

// A broadcast reference time (units of 8 s of BDT) as GPS seconds of week.
uint32_t GpsSecondsOf(uint32_t broadcast)
{
    uint32_t seconds = broadcast * kReferenceTimeUnit + kBdtBehindGpsSeconds;
    if (seconds >= kWeekSeconds)
        seconds -= kWeekSeconds;
    return seconds;
}
} // namespace

uint32_t CBeidouSubFrame::StoreDecoded(const SBeidouDecoded& block, uint32_t satellite)
{
    // Newness is judged per channel; the record goes to the satellite's row.
    // Without the tables, or for a number without a row, there is nothing to do.
    if (m_pAccepted == nullptr || m_pTable == nullptr || satellite == 0 || satellite > kBeidouRows)
        return 0;
    SBeidouChannelEph& element = *m_pAccepted;

    bool differs = false;
    for (uint32_t i = eBdsSow + 1; i < kBeidouDecodedWords; ++i)
    {
        if (block.m_auWord[i] != element.m_sDecoded.m_auWord[i])
        {
            differs = true;
            break;
        }
    }
    // The same data again are only taken up while the satellite has no record in use.
    if (!differs && m_pTable->m_aEphemeris[satellite - 1].m_uStatus != kStatusEmpty)
        return 0;

    element.m_uSatellite = static_cast<uint16_t>(satellite);
    element.m_uSow = block.m_auWord[eBdsSow];
    element.m_sDecoded = block;
    ConvertDecoded(block, satellite, *m_pTable);
    return differs ? 1 : 0;
}

void ConvertDecoded(const SBeidouDecoded& block, uint32_t satellite, CGpsNavState& navState)
{
    if (satellite == 0 || satellite > navState.m_uRows)
        return;
    // Straight into the pending row: ActivateEphemeris brings it into use. The
    // transmission time tables are not the decoder's.
    SBeidouEphemeris& e = navState.m_aPendingEphemeris[satellite - 1];
    const uint32_t* w = block.m_auWord;

    e.m_dAf0 = Signed(block, eBdsA0) * kFactorAf0;
    e.m_dAf1 = Signed(block, eBdsA1) * kFactorAf1;
    e.m_dAf2 = Signed(block, eBdsA2) * kFactorAf2;
    e.m_dSqrtA = Unsigned(block, eBdsSqrtA) * kFactorSqrtA;
    e.m_dEcc = Unsigned(block, eBdsEcc) * kFactorEcc;
    e.m_dOmega = Signed(block, eBdsOmega) * kFactorAngle;
    e.m_dM0 = Signed(block, eBdsM0) * kFactorAngle;
    e.m_dI0 = Signed(block, eBdsI0) * kFactorAngle;
    e.m_dOmega0Bdt = Signed(block, eBdsOmega0) * kFactorAngle;
    e.m_dDeltaN = Signed(block, eBdsDeltaN) * kFactorRate;
    e.m_dOmegaDot = Signed(block, eBdsOmegaDot) * kFactorRate;
    e.m_dIdot = Signed(block, eBdsIdot) * kFactorRate;
    e.m_dCuc = Signed(block, eBdsCuc) * kFactorHarmonic;
    e.m_dCus = Signed(block, eBdsCus) * kFactorHarmonic;
    e.m_dCic = Signed(block, eBdsCic) * kFactorHarmonic;
    e.m_dCis = Signed(block, eBdsCis) * kFactorHarmonic;
    e.m_dCrc = Signed(block, eBdsCrc) * kFactorRadius;
    e.m_dCrs = Signed(block, eBdsCrs) * kFactorRadius;
    const uint32_t tgd1 = SignExtendBits(w[eBdsTgd] & kTgdMask, kTgdWidth);
    const uint32_t tgd2 = SignExtendBits(w[eBdsTgd] >> kTgdWidth & kTgdMask, kTgdWidth);
    e.m_dTgd = static_cast<double>(static_cast<int32_t>(tgd1)) * kFactorTgd;
    e.m_dTgd2 = static_cast<double>(static_cast<int32_t>(tgd2)) * kFactorTgd;

    // Times and angles moved to GPS time; toe and Omega0 are kept as broadcast too.
    const uint32_t toc = GpsSecondsOf(w[eBdsToc]);
    const uint32_t toe = GpsSecondsOf(w[eBdsToe]);
    e.m_dToc = static_cast<double>(toc);
    e.m_dToe = static_cast<double>(toe);
    e.m_dToeBdt = static_cast<double>(w[eBdsToe] * kReferenceTimeUnit);
    e.m_dOmega0 = e.m_dOmega0Bdt + kOmega0BdtToGps;
    e.m_uWeek = static_cast<uint16_t>(w[eBdsWn] + kBdtFirstGpsWeek);
    e.m_uTocWeek = WeekOfReference(e.m_uWeek, toc, w[eBdsSow]);
    e.m_uToeWeek = WeekOfReference(e.m_uWeek, toe, w[eBdsSow]);

    const uint32_t flags = w[eBdsFlags];
    e.m_uHealth = (flags & kSatH1Bit) != 0 ? kUnhealthy : 0;
    e.m_uIodc = static_cast<uint16_t>(flags >> kAodcShift & kAodcMask);
    e.m_uUra = static_cast<uint16_t>(flags >> kUraiShift & kUraiMask);
    e.m_uAode = static_cast<uint16_t>(flags & kAodeMask);
    e.m_uIode = static_cast<uint16_t>(w[eBdsToe] >> kIssueKeyShift);
    e.m_uFitFlag = kBeidouFitFlag;
    e.m_uStatus = kStatusStored;

    // An orbit no BeiDou satellite can fly is kept, but marked unhealthy.
    if (e.m_dSqrtA < kLowestSqrtA || e.m_dEcc > kHighestEcc)
        e.m_uHealth = kUnhealthy;
}
