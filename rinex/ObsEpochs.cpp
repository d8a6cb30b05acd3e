#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "gnsstime/GpsTime.h"
#include "navstate/GlonassFrequencies.h"
#include "platform/FileIo.h"
#include "rinex/DecimalFields.h"
#include "rinex/ObsWriter.h"

// The epoch records of the observation file: the flush of the pending epoch,
// its epoch line and one line per satellite. Nothing here allocates; lines
// are built in local buffers.

namespace
{

constexpr double kGpsL1Hz = 1575419999.9999988;
constexpr double kGpsL2Hz = 1227600000.0000012;

// Moves an epoch whose seven-decimal seconds round to 60 into the next minute.
constexpr double kMinuteCarryOffset = 5e-08;

// One satellite line: 3 characters and at most nine 16-character groups, with
// room for values wider than their field, which push the rest to the right.
constexpr size_t kSatLineSize = 512;

// Appends printf output to a line; the line stays terminated inside `size`.
__attribute__((format(printf, 4, 5))) void AppendFormat(char* line, size_t size, size_t& length,
                                                        const char* format, ...)
{
    if (length + 1 >= size)
        return;
    std::va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(line + length, size - length, format, args);
    va_end(args);
    if (n > 0)
        length = std::min(length + static_cast<size_t>(n), size - 1);
}

constexpr size_t kValueWidth = 14;
constexpr uint32_t kLargestDigit = 9;

// Puts the loss-of-lock character and the strength digit behind the value
// field made at the line's end, and takes the three into the line.
void PutFlagsBehindValue(char* line, size_t& length, char lli, uint32_t strength)
{
    char* at = line + length + kValueWidth;
    at[0] = lli;
    at[1] = static_cast<char>('0' + strength);
    at[2] = '\0';
    length += kValueWidth + 2;
}

// The values AppendValue doesn't make inline: a value the inline field
// doesn't take, a strength of more than one digit, or a line near its end.
// A value wider than its field, or no room, takes printf from the same place.
[[gnu::cold, gnu::noinline]] void AppendValueSlowly(char* line, size_t size, size_t& length, double value, char lli,
                                                    uint32_t strength)
{
    char* at = line + length;
    if (strength > kLargestDigit || length + kValueWidth + 2 >= size ||
        FormatF14_3(value, at, size - length) != kValueWidth)
    {
        AppendFormat(line, size, length, "%14.3f%c%1u", value, lli, strength);
        return;
    }
    PutFlagsBehindValue(line, length, lli, strength);
}

// One value with its loss-of-lock character and strength digit, as
// "%14.3f%c%1u" gives them.
inline void AppendValue(char* line, size_t size, size_t& length, double value, char lli, uint32_t strength)
{
    char* at = line + length;
    if (strength > kLargestDigit || length + kValueWidth + 2 >= size || !TryFormatF14_3(value, at)) [[unlikely]]
    {
        AppendValueSlowly(line, size, length, value, lli, strength);
        return;
    }
    PutFlagsBehindValue(line, length, lli, strength);
}

// The system letter and the satellite number, as "G%02.2d" gives them.
void AppendSatellite(char* line, size_t size, size_t& length, char system, int32_t number)
{
    constexpr int32_t kLargestTwoDigits = 99;
    if (number < 0 || number > kLargestTwoDigits || length + 4 >= size)
    {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat" // "%02.2d": the '0' flag beside the precision changes nothing
        AppendFormat(line, size, length, "%c%02.2d", system, number);
#pragma GCC diagnostic pop
        return;
    }
    line[length++] = system;
    line[length++] = static_cast<char>('0' + number / 10);
    line[length++] = static_cast<char>('0' + number % 10);
    line[length] = '\0';
}

// The loss-of-lock character of a phase: a slip since the last written
// epoch, or a gap the file showed for the signal (`repeat`).
char LliOf(const SObsEntry& entry, uint8_t repeat = 0)
{
    return (entry.m_uLli != 0 || repeat != 0) ? '1' : ' ';
}

// Appends the phase, code and Doppler group of one signal, or a blank triple
// when it has no value. A blank sets `repeat`, so that the signal's next
// phase value carries the loss-of-lock flag: the file showed a gap.
void AppendSignal(char* line, size_t size, size_t& length, const SObsEntry& entry, uint8_t& repeat, bool hasValue,
                  double rangeShift, double phaseShift)
{
    if (hasValue)
    {
        AppendValue(line, size, length, phaseShift + entry.m_dPhase, LliOf(entry, repeat), entry.m_uStrength);
        AppendValue(line, size, length, rangeShift + entry.m_dPseudorange, ' ', entry.m_uStrength);
        AppendValue(line, size, length, entry.m_dDoppler, ' ', entry.m_uStrength);
        repeat = 0;
    }
    else
    {
        for (int i = 0; i < 3; ++i)
            AppendValue(line, size, length, 0.0, ' ', 0u);
        repeat = 1;
    }
}

bool IsGlonassSlot(uint32_t number)
{
    return number >= 1 && number <= kGlonassSlots;
}

void PutLine(std::FILE* file, const char* line)
{
    std::fputs(line, file);
    std::fputc('\n', file);
}

// The satellite lines of one epoch, gathered so that they go to the stream
// in one piece when the block leaves its scope. Each line is made in a
// window of kSatLineSize bytes behind the lines kept so far.
class CSatLineBlock
{
public:
    explicit CSatLineBlock(std::FILE* file) : m_pFile(file) {}
    CSatLineBlock(const CSatLineBlock&) = delete;
    CSatLineBlock& operator=(const CSatLineBlock&) = delete;
    ~CSatLineBlock() { Put(); }

    // The window of the next line.
    char* NextLine()
    {
        if (m_uUsed + kSatLineSize > sizeof(m_aText))
            Put(); // more lines than an epoch lists: never with a sound list
        return m_aText + m_uUsed;
    }
    // Keeps the line of `length` characters made in the window, with its line feed.
    void Keep(size_t length)
    {
        m_aText[m_uUsed + length] = '\n';
        m_uUsed += length + 1;
    }

private:
    void Put()
    {
        std::fwrite(m_aText, 1, m_uUsed, m_pFile);
        m_uUsed = 0;
    }

    std::FILE* m_pFile;
    size_t m_uUsed = 0;
    char m_aText[kEpochListSize * kSatLineSize];
};

} // namespace

double CWriteRinexObs::CalendarForPrint(const GpsTime& time, SCalendarTime& calendar, double& remainder)
{
    GpsTime inWeek = time; // the conversion brings its argument into the week
    GpsToCalendar(inWeek, calendar);
    const double exact = calendar.m_dSeconds;

    // What the seven-decimal text reads as. A count of units below 2^53 over
    // the exact 1e7 is the double nearest to the text's decimal value, as
    // reading the text back gives it.
    constexpr uint32_t kDecimals = 7;
    constexpr double kUnitsPerSecond = 1e7;
    uint64_t units = 0;
    double printed = 0.0;
    if (RoundToDecimals(exact, kDecimals, units))
    {
        printed = static_cast<double>(units) / kUnitsPerSecond;
        if (std::signbit(exact))
            printed = -printed;
    }
    else
    {
        char text[32];
        std::snprintf(text, sizeof(text), "%11.7f", exact);
        std::sscanf(text, "%lf", &printed);
    }
    remainder = exact - printed;
    if (!SecondsShowAsSixty(exact))
        return exact;
    GpsPlusToCalendar(time, calendar, kMinuteCarryOffset);
    return 0.0;
}

void CWriteRinexObs::WriteEpoch(const SObsEpoch& epoch)
{
    // Provisional event records give their place to the epoch that was being
    // gathered when they arrived, and are written again behind it.
    const bool markerPending = m_bMarkerPending != 0;
    const bool movingPending = m_bMovingPending != 0;
    if (markerPending && m_pFile != nullptr)
    {
        m_bMarkerPending = 0;
        SeekTo(m_posMarkerStart);
        m_posMarkerStart = 0;
        m_posMarkerEnd = 0;
    }
    if (movingPending && m_pFile != nullptr)
    {
        m_bMovingPending = 0;
        SeekTo(m_posMovingStart);
    }

    WriteObsHeader(epoch);
    if (epoch.m_uListCount > 0)
    {
        WriteEpochLine(epoch);
        WriteSatelliteLines(epoch);
    }

    if (markerPending)
        WriteMarkerBlock();
    if (movingPending)
        WriteMovingRecords();
}

void CWriteRinexObs::WriteEpochLine(const SObsEpoch& epoch)
{
    // Time. The seconds print with seven decimals and never show 60; what
    // the printing takes from the time is kept in m_dEpochRemainder and
    // given back to the measurements. The epoch line shows GPS time.
    SCalendarTime calendar{};
    const double seconds = CalendarForPrint(epoch.m_timeEpoch, calendar, m_dEpochRemainder);

    // "> %4d%3d%3d%3d%3d%11.7f%3d%3d": the time, the epoch flag 0 and the count.
    char line[64] = "> ";
    size_t length = 2;
    AppendIntField(line, sizeof(line), length, calendar.m_iYear, 4);
    for (const int32_t field : {calendar.m_iMonth, calendar.m_iDay, calendar.m_iHour, calendar.m_iMinute})
        AppendIntField(line, sizeof(line), length, field, 3);
    AppendFixedField(line, sizeof(line), length, FormatF11_7, seconds);
    AppendIntField(line, sizeof(line), length, 0, 3);
    AppendIntField(line, sizeof(line), length, static_cast<int32_t>(epoch.m_uListCount), 3);
    if (m_pFile != nullptr)
        PutLine(m_pFile, line);

    StampMarkerEpoch(line);
}

// Runs once per epoch over every satellite: the value fields it appends are
// inlined into it.
[[gnu::flatten]] void CWriteRinexObs::WriteSatelliteLines(const SObsEpoch& epoch)
{
    if (m_pFile == nullptr)
        return;
    const int32_t* list = epoch.m_aiList;
    const uint32_t count = std::min(epoch.m_uListCount, kEpochListSize);

    const double r = m_dEpochRemainder;
    const double rangeShift = r * kSpeedOfLight;
    CSatLineBlock block(m_pFile);
    constexpr size_t size = kSatLineSize;
    uint32_t next = 0; // list element to write next

    // GPS: the list holds the rows' numbers in ascending row order.
    for (uint32_t row = 0; row < kSatRows && next < count; ++row)
    {
        if (SystemOfListEntry(list[next]) != eSystemGps)
            break;
        const int32_t number = list[next] - g_aSystemBase[eSystemGps];
        const SObsEntry& l1 = epoch.m_aGpsL1[row];
        if (static_cast<int32_t>(l1.m_uPRN) != number)
            continue;

        char* line = block.NextLine();
        size_t length = 0;
        AppendSatellite(line, size, length, 'G', number);
        AppendValue(line, size, length, r * kGpsL1Hz + l1.m_dPhase, LliOf(l1), l1.m_uStrength);
        AppendValue(line, size, length, rangeShift + l1.m_dPseudorange, ' ', l1.m_uStrength);
        AppendValue(line, size, length, l1.m_dDoppler, ' ', l1.m_uStrength);

        if (epoch.m_bSeenL2)
        {
            const SObsEntry& l2 = epoch.m_aGpsL2[row];
            AppendSignal(line, size, length, l2, m_abRepeatGpsL2[row], IsListed(l2), rangeShift, r * kGpsL2Hz);
        }
        if (epoch.m_bSeenL1P)
        {
            const SObsEntry& p = epoch.m_aGpsL1P[row];
            if (IsListed(p))
                AppendValue(line, size, length, rangeShift + p.m_dPseudorange, ' ', p.m_uStrength);
            else
                AppendValue(line, size, length, 0.0, ' ', 0u);
        }
        block.Keep(length);
        ++next;
    }
    if (next >= count)
        return;

    if (epoch.m_bSeenGlonass)
    {
        for (uint32_t row = 0; row < kGlonassSlots && next < count; ++row)
        {
            if (SystemOfListEntry(list[next]) != eSystemGlonass)
                break;
            const int32_t number = list[next] - g_aSystemBase[eSystemGlonass];
            const SObsEntry& l1 = epoch.m_aGloL1[row];
            if (static_cast<int32_t>(l1.m_uPRN) != number)
                continue;

            char* line = block.NextLine();
            size_t length = 0;
            const double l1Wavelength = m_Frequencies.m_aGlonassWavelength[number - 1][0];
            AppendSatellite(line, size, length, 'R', number);
            AppendValue(line, size, length, rangeShift / l1Wavelength + l1.m_dPhase, LliOf(l1),
                        l1.m_uStrength);
            AppendValue(line, size, length, rangeShift + l1.m_dPseudorange, ' ', l1.m_uStrength);
            AppendValue(line, size, length, l1.m_dDoppler, ' ', l1.m_uStrength);

            if (epoch.m_bSeenL2)
            {
                // An entry whose number is no slot has no wavelength; it is
                // written as a gap.
                const SObsEntry& l2 = epoch.m_aGloL2[row];
                const bool hasValue = IsListed(l2) && IsGlonassSlot(l2.m_uPRN);
                const double phaseShift =
                    hasValue ? rangeShift / m_Frequencies.m_aGlonassWavelength[l2.m_uPRN - 1][1] : 0.0;
                AppendSignal(line, size, length, l2, m_abRepeatGloL2[row], hasValue, rangeShift, phaseShift);
            }
            block.Keep(length);
            ++next;
        }
    }

    // BeiDou: a band not seen yet has no columns at all, so the groups of the
    // bands behind it move left. Every seen band of a row that isn't written
    // is marked, so a satellite that returns shows the gap on its phase.
    for (uint32_t row = 0; row < kBeidouRows && next < count; ++row)
    {
        const int32_t number = list[next] - g_aSystemBase[eSystemBeidou];
        bool match = false;
        for (uint32_t band = 0; band < kBdsBands && !match; ++band)
            match = epoch.m_abSeenBeidou[band] && static_cast<int32_t>(epoch.m_aBds[band][row].m_uPRN) == number;

        char* line = block.NextLine();
        size_t length = 0;
        if (match)
            AppendSatellite(line, size, length, 'C', number);
        bool holdsValue = false;
        for (uint32_t band = 0; band < kBdsBands; ++band)
        {
            if (!epoch.m_abSeenBeidou[band])
                continue;
            const SObsEntry& entry = epoch.m_aBds[band][row];
            const bool hasValue = match && IsListed(entry);
            AppendSignal(line, size, length, entry, m_abRepeatBds[band][row], hasValue, rangeShift,
                         rangeShift / kBeidouBandWavelength[band]);
            holdsValue = holdsValue || hasValue;
        }
        if (holdsValue)
        {
            block.Keep(length);
            ++next;
        }
    }
}
