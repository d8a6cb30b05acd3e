#include "logbuild/IonoUtcEncoder.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr uint16_t kBin94Number = 94;
constexpr uint16_t kBin34Number = 34;
constexpr int kBin34A0Exponent = 30;
constexpr int kBin34A1Exponent = 50;
constexpr int kBin34RefSecondsUnit = 4096;
} // namespace

Bytes MakeBin94Frame(const SBin94Values& v)
{
    CPayloadWriter p;
    for (const double alpha : v.m_adAlpha)
        p.Double(alpha);
    for (const double beta : v.m_adBeta)
        p.Double(beta);
    p.Double(v.m_Utc.m_dA0).Double(v.m_Utc.m_dA1);
    p.U32(static_cast<uint32_t>(v.m_Utc.m_iRefSeconds)).U16(static_cast<uint16_t>(v.m_Utc.m_iRefWeek));
    p.U16(static_cast<uint16_t>(v.m_Leap.m_iWeekLsf)).U16(static_cast<uint16_t>(v.m_Leap.m_iDayLsf));
    p.I16(static_cast<int16_t>(v.m_Leap.m_iDeltaLs)).I16(static_cast<int16_t>(v.m_Leap.m_iDeltaLsf));
    p.Zeros(2);
    return MakeBinFrame(kBin94Number, p.GetBytes());
}

Bytes MakeBin34Frame(const SRinexTimeCorrection& bdut)
{
    CPayloadWriter p;
    p.I32(static_cast<int32_t>(std::lround(std::ldexp(bdut.m_dA0, kBin34A0Exponent))));
    p.I32(static_cast<int32_t>(std::lround(std::ldexp(bdut.m_dA1, kBin34A1Exponent))));
    p.Zeros(12);
    p.U8(static_cast<uint8_t>(std::clamp(bdut.m_iRefSeconds / kBin34RefSecondsUnit, 0, 255)));
    p.U8(static_cast<uint8_t>(bdut.m_iRefWeek & 0xFF));
    p.Zeros(10);
    return MakeBinFrame(kBin34Number, p.GetBytes());
}
