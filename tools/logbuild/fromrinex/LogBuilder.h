#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <string>

#include "logbuild/FrameWriter.h"

// The log as it grows, frame by frame, with the damage of -d: junk bytes in
// front of about one frame in eight, from a generator seeded by the option,
// so that the same seed gives the same log.
namespace fromrinex
{
class CLogBuilder
{
public:
    CLogBuilder(bool damage, uint32_t seed) : m_bDamage(damage), m_Random(seed) {}

    void Frame(const Bytes& frame);
    void Sentence(const std::string& text) { Frame(MakeSentence(text)); }

    const Bytes& Log() const { return m_aLog; }
    // "$BIN" frames by message number.
    const std::map<int, unsigned>& Counts() const { return m_Counts; }
    size_t JunkBytes() const { return m_uJunk; }

private:
    void Junk();

    bool m_bDamage;
    std::mt19937 m_Random;
    Bytes m_aLog;
    std::map<int, unsigned> m_Counts;
    size_t m_uJunk = 0;
};
} // namespace fromrinex
