// Found by fuzzing the conversion: GLONASS strings with a damaged day or
// reference time (NT of 0, NT beyond the interval, tb past midnight) made a
// navigation record whose first line printed a day of "-01" or "617", or
// seconds of "17160", and so ran past its 80 columns.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "navstate/NavState.h"
#include "navstate/Navigation.h"
#include "rinex/GlonassNavWriter.h"

namespace
{

struct SDamagedCase
{
    uint32_t m_uN4;
    uint32_t m_uNt;
    uint32_t m_uTbMinutes; // Moscow time
    int m_aiExpected[6];   // year, month, day, hour, minute, second (UTC)
};

// Interval 7 starts on 1 January 2020; its day 1461 is 31 December 2023.
// Damaged values count on from their neighbours within the range.
constexpr SDamagedCase kDamaged[] = {
    {7, 0, 720, {2019, 12, 31, 9, 0, 0}},   // the day before day 1
    {7, 0, 15, {2019, 12, 30, 21, 15, 0}},  // ... and its first Moscow hours
    {7, 1462, 720, {2024, 1, 1, 9, 0, 0}},  // the day behind day 1461
    {7, 2047, 720, {2025, 8, 8, 9, 0, 0}},  // the largest NT the strings carry
    {7, 100, 1905, {2020, 4, 10, 4, 45, 0}}, // tb 31:45 Moscow: 04:45 UTC of the next day
    {0, 1, 15, {1991, 12, 31, 21, 15, 0}},   // interval 0 (1992 to 1995), its first hours
};

TEST(GlonassDamagedDate, CountsOnIntoTheDaysAround)
{
    for (const SDamagedCase& c : kDamaged)
    {
        SCalendarTime calendar{};
        GlonassToCalendar(c.m_uN4, c.m_uNt, c.m_uTbMinutes * 60.0, calendar);
        const int got[6] = {calendar.m_iYear, calendar.m_iMonth, calendar.m_iDay,
                            calendar.m_iHour, calendar.m_iMinute, calendar.m_iSecond};
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(got[i], c.m_aiExpected[i]) << "N4 " << c.m_uN4 << " NT " << c.m_uNt << " tb " << c.m_uTbMinutes
                                                 << " field " << i;
    }
}

TEST(GlonassDamagedDate, RecordLinesKeepTheirWidth)
{
    for (const SDamagedCase& c : kDamaged)
    {
        std::FILE* file = std::tmpfile();
        ASSERT_NE(file, nullptr);
        CLogTime logTime;
        CNavigation navigation(logTime);
        CWriteRinexGlonassNav writer(navigation.m_Glonass, navigation.m_Utc, navigation.m_GlonassFrequencies);
        writer.SetFile(file);
        SGlonassEphemeris record{};
        record.m_uN4 = c.m_uN4;
        record.m_uNt = c.m_uNt;
        record.m_uTbMinutes = c.m_uTbMinutes;
        record.m_uSlot = 3;
        writer.WriteGlonassRecord(3, record);

        std::rewind(file);
        char line[256];
        int lines = 0;
        while (std::fgets(line, sizeof line, file) != nullptr)
        {
            EXPECT_EQ(std::string(line).size(), 81u) << "NT " << c.m_uNt << ": " << line;
            ++lines;
        }
        EXPECT_EQ(lines, 4);
        std::fclose(file);
    }
}

} // namespace
