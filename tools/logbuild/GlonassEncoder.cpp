#include "logbuild/GlonassEncoder.h"

#include <chrono>
#include <cmath>
#include <stdexcept>
#include <string>

namespace
{
// Fields are placed by their bit numbers in the GLONASS ICD: a string
// has bits 85 (first sent) down to 0, and the message stores bits 85-54 in
// word 0, 53-22 in word 1 and 21-0 in the top of word 2.
constexpr int kFirstBitOfWord1 = 53;
constexpr int kFirstBitOfWord2 = 21;
constexpr int kStringNumberHighBit = 84;
constexpr int kStringNumberWidth = 4;

constexpr double kTwoPow20 = 1048576.0;
constexpr double kTwoPow30 = 1073741824.0;
constexpr double kTwoPow31 = 2147483648.0;
constexpr double kTwoPow40 = 1099511627776.0;
constexpr double kUnitsPerKm = 2048.0; // position steps of 2^-11 km

constexpr uint32_t kTbStepMinutes = 15;
constexpr uint32_t kMinutesPerDay = 1440;
constexpr int kChannelCodeOffset = 8;

class CStringBuilder
{
public:
    explicit CStringBuilder(SGlonassStrings& strings) : m_Strings(strings) {}

    // Puts the `width` low bits of `value` at ICD bits `high` down to
    // high - width + 1 of string `number` (1 to 5).
    void Put(int number, int high, int width, uint64_t value, const char* name)
    {
        if (width < 64 && (value >> width) != 0)
            throw std::out_of_range(std::string("GLONASS field out of range: ") + name);
        for (int i = 0; i < width; ++i)
        {
            if (((value >> i) & 1u) == 0)
                continue;
            const int bit = high - width + 1 + i;
            uint32_t* words = m_Strings.m_auWord[number - 1];
            if (bit > kFirstBitOfWord1)
                words[0] |= 1u << (bit - (kFirstBitOfWord1 + 1));
            else if (bit > kFirstBitOfWord2)
                words[1] |= 1u << (bit - (kFirstBitOfWord2 + 1));
            else
                words[2] |= 1u << (bit + 32 - (kFirstBitOfWord2 + 1));
        }
    }

    // A sign bit at `high`, then a magnitude of `width` - 1 bits in units of
    // 1 / `unitsPerValue`.
    void PutSigned(int number, int high, int width, double value, double unitsPerValue, const char* name)
    {
        const double magnitude = std::nearbyint(std::fabs(value) * unitsPerValue);
        const double largest = std::ldexp(1.0, width - 1) - 1.0;
        if (!(magnitude <= largest))
            throw std::out_of_range(std::string("GLONASS field out of range: ") + name);
        Put(number, high, 1, std::signbit(value) ? 1u : 0u, name);
        Put(number, high - 1, width - 1, static_cast<uint64_t>(magnitude), name);
    }

private:
    SGlonassStrings& m_Strings;
};

// Strings 1 to 3 end alike: velocity, acceleration, position of one axis.
void PutAxis(CStringBuilder& b, int number, double position, double velocity, double acceleration)
{
    b.PutSigned(number, 64, 24, velocity, kTwoPow20, "velocity");
    b.PutSigned(number, 40, 5, acceleration, kTwoPow30, "acceleration");
    b.PutSigned(number, 35, 27, position, kUnitsPerKm, "position");
}
} // namespace

SGlonassStrings EncodeGlonassStrings(const SGlonassEphemerisValues& v)
{
    SGlonassStrings strings{};
    CStringBuilder b(strings);
    for (int number = 1; number <= 5; ++number)
        b.Put(number, kStringNumberHighBit, kStringNumberWidth, static_cast<uint64_t>(number), "m");

    if (v.m_uTbMinutes % kTbStepMinutes != 0)
        throw std::out_of_range("GLONASS tb is not a multiple of 15 minutes");

    b.Put(1, 78, 2, v.m_uP1, "P1");
    b.Put(1, 76, 5, v.m_uTkHours, "tk hours");
    b.Put(1, 71, 6, v.m_uTkMinutes, "tk minutes");
    b.Put(1, 65, 1, v.m_uTkHalf, "tk half minute");
    PutAxis(b, 1, v.m_dX, v.m_dVx, v.m_dAx);

    b.Put(2, 80, 3, v.m_uBn, "Bn");
    b.Put(2, 77, 1, v.m_uP2, "P2");
    b.Put(2, 76, 7, v.m_uTbMinutes / kTbStepMinutes, "tb");
    PutAxis(b, 2, v.m_dY, v.m_dVy, v.m_dAy);

    b.Put(3, 80, 1, v.m_uP3, "P3");
    b.PutSigned(3, 79, 11, v.m_dGamma, kTwoPow40, "gamma");
    b.Put(3, 67, 2, v.m_uP, "P");
    b.Put(3, 65, 1, v.m_uLn, "ln");
    PutAxis(b, 3, v.m_dZ, v.m_dVz, v.m_dAz);

    b.PutSigned(4, 80, 22, v.m_dTauN, kTwoPow30, "tau n");
    b.PutSigned(4, 58, 5, v.m_dDeltaTau, kTwoPow30, "delta tau n");
    b.Put(4, 53, 5, v.m_uEn, "En");
    b.Put(4, 34, 1, v.m_uP4, "P4");
    b.Put(4, 33, 4, v.m_uFt, "FT");
    b.Put(4, 26, 11, v.m_uNt, "NT");
    b.Put(4, 15, 5, v.m_uSlot, "n");
    b.Put(4, 10, 2, v.m_uM, "M");

    b.Put(5, 80, 11, v.m_uNa, "NA");
    b.PutSigned(5, 69, 32, v.m_dTauC, kTwoPow31, "tau c");
    b.Put(5, 36, 5, v.m_uN4, "N4");
    b.PutSigned(5, 31, 22, v.m_dTauGps, kTwoPow30, "tau GPS");
    b.Put(5, 9, 1, v.m_uLn, "ln");
    return strings;
}

Bytes MakeBin65Frame(uint8_t satellite, uint8_t channelCode, uint32_t txTime, const SGlonassStrings& strings)
{
    CPayloadWriter p;
    p.U8(satellite).U8(channelCode).U16(0).U32(txTime);
    for (const auto& string : strings.m_auWord)
        for (uint32_t word : string)
            p.U32(word);
    return MakeBinFrame(65, p.GetBytes());
}

Bytes MakeBin65Frame(const SGlonassEphemerisValues& values)
{
    const int code = values.m_iChannel + kChannelCodeOffset;
    if (values.m_uSlot > 255 || code < 0 || code > 255)
        throw std::out_of_range("GLONASS slot or channel out of range");
    return MakeBin65Frame(static_cast<uint8_t>(values.m_uSlot), static_cast<uint8_t>(code), values.m_uTxTime,
                          EncodeGlonassStrings(values));
}

void SetGlonassReferenceFromUtc(SGlonassEphemerisValues& values, int year, unsigned month, unsigned day,
                                unsigned hour, unsigned minute, unsigned second)
{
    using namespace std::chrono;
    const year_month_day date{std::chrono::year{year}, std::chrono::month{month}, std::chrono::day{day}};
    if (!date.ok() || hour > 23 || minute > 59 || second != 0 || minute % kTbStepMinutes != 0)
        throw std::out_of_range("GLONASS reference time is not a quarter hour");

    // Moscow time is three hours ahead of UTC, so the day can move on.
    const minutes moscow = sys_days{date} + hours{hour + 3} + minutes{minute} - sys_days{1996y / January / 1};
    if (moscow.count() < 0)
        throw std::out_of_range("GLONASS reference time before 1996");
    const int64_t dayCount = moscow.count() / kMinutesPerDay;
    constexpr int64_t kDaysPerInterval = 1461;
    values.m_uN4 = static_cast<uint32_t>(dayCount / kDaysPerInterval + 1);
    values.m_uNt = static_cast<uint32_t>(dayCount % kDaysPerInterval + 1);
    values.m_uTbMinutes = static_cast<uint32_t>(moscow.count() % kMinutesPerDay);
}
