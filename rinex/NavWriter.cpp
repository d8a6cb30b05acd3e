#include "rinex/NavWriter.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "platform/FileIo.h"
#include "rinex/NumberFields.h"
#include "rinex/ProgramLine.h"

// What the three navigation writers share: the object, the header's first and
// last lines, and the reserved lines that are written as placeholders and
// filled in place later.

namespace
{

constexpr double kRinexVersion = 3.02;
constexpr int kVersionGap = 11;
constexpr const char* kNavDataText = "N: GNSS NAV DATA";

// What a reserved line of the GPS and BeiDou headers holds until it is filled.
constexpr const char* kBlankCommentLine =
    "                                                            COMMENT             \n";

// Room for one formatted line, also when a value overflows its field.
constexpr size_t kLineBufferSize = 256;

} // namespace

CWriteRinexNav::CWriteRinexNav(CGpsNavState& table, CUtcState& utc)
    : m_bHeaderWritten(0),
      m_bIonoWritten(0),
      m_aposCorrLine{},
      m_pFile(nullptr),
      m_bLeapWritten(0),
      m_auLastIssue{},
      m_uSatsWritten(0),
      m_uRecordsWritten(0),
      m_Utc(utc),
      m_Table(table)
{
    for (uint32_t& issue : m_auLastIssue)
        issue = kNoIssue;
}

void CWriteRinexNav::SetFile(std::FILE* stream)
{
    m_pFile = stream;
}

void CWriteRinexNav::MakeVersionLine(const char* typeText, char (&line)[kNavLineBytes + 1])
{
    std::snprintf(line, sizeof(line), "%9.2f%*s%-20s%-20sRINEX VERSION / TYPE\n", kRinexVersion, kVersionGap, "",
                  kNavDataText, typeText);
}

void CWriteRinexNav::HeaderBegin(const char* versionLine)
{

    char date[64];
    FormatRunDate(date, sizeof(date));

    std::fputs(versionLine, m_pFile);
    std::fprintf(m_pFile, kProgramLineFormat, kProgramName, kRunBy, date);
}

void CWriteRinexNav::HeaderEnd()
{
    std::fputs("                                                            END OF HEADER       \n", m_pFile);
}

void CWriteRinexNav::WriteClockLine(char system, uint32_t number, const SCalendarTime& calendar, int seconds,
                                    double v0, double v1, double v2)
{
    char clock[3 * kFieldD19 + 1];
    char* at = clock;
    at += FormatD19(v0, at);
    at += FormatD19(v1, at);
    FormatD19(v2, at);

    // The hour and minute take their blank from the space flag, the seconds
    // from the format. The zero flags have no effect beside the precision,
    // which gives the two digits; the format is kept as the file's readers
    // know it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
    std::fprintf(m_pFile, "%c%02.2d %04d %02.2d %02.2d% 02.2d% 02.2d %02.2d%s\n", system, static_cast<int>(number),
                 calendar.m_iYear, calendar.m_iMonth, calendar.m_iDay, calendar.m_iHour, calendar.m_iMinute, seconds,
                 clock);
#pragma GCC diagnostic pop
}

void CWriteRinexNav::WriteBlankReservedHeader(const char* typeText)
{
    if (m_pFile == nullptr)
        return;

    char versionLine[kNavLineBytes + 1];
    MakeVersionLine(typeText, versionLine);
    HeaderBegin(versionLine);
    for (uint32_t line = 0; line < kReservedLines; ++line)
        ReserveLine(line, kBlankCommentLine);
    HeaderEnd();
}

void CWriteRinexNav::ReserveLine(uint32_t line, const char* text)
{
    m_aposCorrLine[line] = GetStreamPos(m_pFile);
    std::fputs(text, m_pFile);
}

void CWriteRinexNav::FillReservedLine(uint32_t line, const char* format, ...)
{
    if (m_pFile == nullptr)
        return;

    char text[kLineBufferSize];
    std::va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    if (length < 0)
        return;
    if (static_cast<uint32_t>(length) != kNavLineBytes)
    {
        // Only a value too wide for its field makes a line of another length;
        // the place holds 81 bytes, and the records behind it must not move.
        // Such a line is cut (or blank-filled) to 80 characters and its feed.
        uint32_t keep = static_cast<uint32_t>(length);
        if (keep > sizeof(text) - 1)
            keep = sizeof(text) - 1; // vsnprintf stopped there
        if (keep > 0 && text[keep - 1] == '\n')
            --keep;
        if (keep > kNavLineBytes - 1)
            keep = kNavLineBytes - 1;
        std::memset(text + keep, ' ', kNavLineBytes - 1 - keep);
        text[kNavLineBytes - 1] = '\n';
    }

    const StreamPos saved = GetStreamPos(m_pFile);
    SetStreamPos(m_pFile, m_aposCorrLine[line]);
    std::fwrite(text, 1, kNavLineBytes, m_pFile);
    SetStreamPos(m_pFile, saved);
}

void CWriteRinexNav::FillLeapSecondsLine(int32_t leapSeconds)
{
    FillReservedLine(kReservedLeapSeconds,
                     "%6d                                                      LEAP SECONDS        \n", leapSeconds);
}
