#include "logbuild/fromrinex/LogBuilder.h"

namespace fromrinex
{
namespace
{
// Damage: in front of about one frame in `kDamageOneIn`, 1 to kDamageMaxBytes junk bytes.
constexpr uint32_t kDamageOneIn = 8;
constexpr uint32_t kDamageMaxBytes = 32;
} // namespace

void CLogBuilder::Frame(const Bytes& frame)
{
    if (m_bDamage && !m_aLog.empty() && m_Random() % kDamageOneIn == 0)
        Junk();
    AppendBytes(m_aLog, frame);
    if (frame.size() > 6 && frame[0] == '$' && frame[1] == 'B')
        ++m_Counts[frame[4] | frame[5] << 8];
}

// Bytes that can't start a frame of any kind, so that none of them can
// take the frame behind them into a false one.
void CLogBuilder::Junk()
{
    const uint32_t count = 1 + m_Random() % kDamageMaxBytes;
    for (uint32_t i = 0; i < count; ++i)
    {
        uint8_t byte = 0;
        do
            byte = static_cast<uint8_t>(m_Random());
        while (byte == '$' || byte == 'I' || byte == 0xD3 || byte == 0xB7);
        m_aLog.push_back(byte);
    }
    m_uJunk += count;
}
} // namespace fromrinex
