#include "navstate/UtcState.h"

#include <climits>
#include <cmath>
#include <cstring>

#include "gnsstime/GpsTime.h"
#include "logio/BinaryMessages.h"
#include "logio/ByteReader.h"

namespace
{
constexpr int32_t kBeidouBehindGps = static_cast<int32_t>(kBdtBehindGpsSeconds);

// `value` truncated toward zero, held inside the signed 32-bit range; 0 for
// NaN. Only UTC parameters far beyond any broadcast value get near the limits.
int32_t TruncateToInt32(double value)
{
    if (std::isnan(value))
        return 0;
    if (value <= -2147483648.0)
        return INT32_MIN;
    if (value >= 2147483647.0)
        return INT32_MAX;
    return static_cast<int32_t>(value);
}
} // namespace

void CUtcState::StoreBin94(const uint8_t* frame)
{
    std::memcpy(m_Bin94.m_aFrame, frame, sizeof(m_Bin94.m_aFrame));
}

void CUtcState::StoreBin34(const uint8_t* frame)
{
    std::memcpy(m_Bin34.m_aFrame, frame, sizeof(m_Bin34.m_aFrame));
}

// A stored copy has its number and length in bytes 4 to 7; a copy never
// stored is all zero.
bool CUtcState::Bin94Stored() const
{
    return ReadU32(m_Bin94.m_aFrame, kBinNumberOffset) != 0;
}

bool CUtcState::Bin34Stored() const
{
    return ReadU32(m_Bin34.m_aFrame, kBinNumberOffset) != 0;
}

void CUtcState::TakeUtcParams()
{
    const uint8_t* msg = m_Bin94.m_aFrame;
    SUtcParams& utc = m_UtcParams;
    utc.m_uStatus = kUtcParamsFilled;
    utc.m_dAlpha0 = ReadDouble(msg, kBin94Alpha0);
    utc.m_dAlpha1 = ReadDouble(msg, kBin94Alpha0 + 8);
    utc.m_dAlpha2 = ReadDouble(msg, kBin94Alpha0 + 16);
    utc.m_dAlpha3 = ReadDouble(msg, kBin94Alpha0 + 24);
    utc.m_dBeta0 = ReadDouble(msg, kBin94Beta0);
    utc.m_dBeta1 = ReadDouble(msg, kBin94Beta0 + 8);
    utc.m_dBeta2 = ReadDouble(msg, kBin94Beta0 + 16);
    utc.m_dBeta3 = ReadDouble(msg, kBin94Beta0 + 24);
    utc.m_dA0 = ReadDouble(msg, kBin94A0);
    utc.m_dA1 = ReadDouble(msg, kBin94A1);
    utc.m_uTot = ReadU32(msg, kBin94Tot);
    utc.m_uWnt = ReadU16(msg, kBin94Wnt);
    utc.m_uWnLsf = ReadU16(msg, kBin94WnLsf);
    utc.m_uDn = ReadU16(msg, kBin94Dn);
    utc.m_iDtLs = ReadI16(msg, kBin94DtLs);
    utc.m_iDtLsf = ReadI16(msg, kBin94DtLsf);

    // With the log time still unset (ephemerides ahead of the first
    // observation) the message's own count is all there is.
    const GpsTime& now = m_LogTime.Now();
    const int32_t leapSeconds = now.m_uWeek != 0 ? TruncateToInt32(GpsUtcOffset(now, utc) + 0.5) : utc.m_iDtLs;
    m_iGpsLeapSeconds = leapSeconds;
    // A damaged offset, held at the bottom of the range, stays there rather
    // than wrapping round to the top.
    m_iBeidouLeapSeconds = leapSeconds >= INT32_MIN + kBeidouBehindGps ? leapSeconds - kBeidouBehindGps : INT32_MIN;
}
