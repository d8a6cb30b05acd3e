#include "gnsstime/GpsTime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <tuple>

// Anchors come from the GPS epoch, Sunday 6 January 1980, and 7-day weeks:
// week W, day k is day 7W + k after it. Week 1886 starts 2016-02-28, 1929
// starts 2016-12-25, 2111 starts 2020-06-21, 6269 starts 2100-02-28.

namespace
{
constexpr double kDay = 86400.0;

using Calendar = std::tuple<int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, double>;

Calendar Fields(const SCalendarTime& c)
{
    return {c.m_iYear, c.m_iMonth, c.m_iDay, c.m_iHour, c.m_iMinute, c.m_iSecond, c.m_dSeconds};
}

Calendar Convert(uint32_t week, double seconds)
{
    GpsTime time{week, seconds};
    SCalendarTime calendar{};
    GpsToCalendar(time, calendar);
    return Fields(calendar);
}

// An independent calendar under the every-fourth-year rule, for a time inside
// its week; seconds since the epoch in 64 bits, so it reaches past 2048.
Calendar FourYearRuleCalendar(uint32_t week, double seconds)
{
    static const int32_t kDaysBefore[2][13] = {{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
                                               {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366}};
    const int32_t s = static_cast<int32_t>(std::floor(seconds));
    const int64_t t = static_cast<int64_t>(week) * 604800 + s;
    const int32_t d = static_cast<int32_t>(t / 86400), r = static_cast<int32_t>(t % 86400);
    const int32_t n = (d - (d + 1406) / 1461 + 5) / 365; // years since 1980, less the leap days passed
    const int32_t year = n + 1980, dayOfYear = d + 5 - 365 * n - (n + 3) / 4;
    const int32_t* table = kDaysBefore[year % 4 == 0];
    int32_t month = 1;
    while (dayOfYear >= table[month])
        ++month;
    const double second = r % 60 + (seconds - s);
    return {year, month, dayOfYear - table[month - 1] + 1, r / 3600, r % 3600 / 60, static_cast<int32_t>(second),
            second};
}

// The UTC data of the leap second at the end of 2016: 17 s before, 18 s
// after, the event at the end of day 7 of week 1929, the start of week 1930.
class UtcOffsetTest : public ::testing::Test
{
protected:
    // Status, alpha and beta 0 to 3, A0, A1, tot, WNt, WNlsf, DN, dtLS, dtLSF.
    SUtcParams m_Utc = {kUtcParamsFilled, 0, 0, 0, 0, 0, 0, 0, 0, 0.0, 0.0, 503808, 1929, 1929, 7, 17, 18};
};
} // namespace

TEST(GpsToCalendarTest, ConvertsCenturyYearsBeyondTheDailySweep)
{
    // Every day from the epoch to February 2100 is compared below; these lie
    // outside it. Before the epoch the week count has run below 0 and wrapped
    // round (a damaged SBAS time, found by fuzzing, printed a year of 82316511).
    const std::tuple<uint32_t, double, Calendar> cases[] = {
        {6269, kDay, {2100, 3, 1, 0, 0, 0, 0.0}}, // 2100 is no leap year
        {21922, 2 * kDay, {2400, 2, 29, 0, 0, 0, 0.0}}, // 2400 is one
        {21922, 3 * kDay, {2400, 3, 1, 0, 0, 0, 0.0}},
        {0xFFFFFFFFu, 0.0, {1979, 12, 30, 0, 0, 0, 0.0}},
        {120, -587202560.0, {1963, 9, 15, 16, 10, 40, 40.0}}};
    for (const auto& [week, seconds, expected] : cases)
        EXPECT_EQ(Convert(week, seconds), expected) << "week " << week << " seconds " << seconds;
    const auto [y, mo, d, h, mi, s, justBelowAMinute] = Convert(2111, 3599.9999999);
    EXPECT_EQ(std::tuple(h, mi, s), std::tuple(0, 59, 59));
    EXPECT_NEAR(justBelowAMinute, 59.9999999, 1e-9);
}

TEST(GpsToCalendarTest, AgreesWithTheFourYearRuleEveryDayUntilFebruary2100)
{
    // Day 43883 after the epoch is 28 February 2100, the last day on which the
    // two rules agree; the time of day and a fraction vary with the day.
    for (int32_t day = 0; day <= 43883; ++day)
    {
        const double seconds = (day % 7) * kDay + (day * 7919) % 86400 + (day % 4) * 0.25;
        ASSERT_EQ(Convert(day / 7, seconds), FourYearRuleCalendar(day / 7, seconds)) << "day " << day;
    }
    EXPECT_EQ(std::get<2>(FourYearRuleCalendar(6269, kDay)), 29); // where the simple rule goes wrong
}

TEST(GpsToCalendarTest, BringsSecondsIntoTheWeekInTheCallersTime)
{
    const std::tuple<uint32_t, double, uint32_t, double> cases[] = {
        {1, -1.0, 0, 604799.0},
        {1887, -604800.75, 1885, 604799.25},
        {1886, 604800.0, 1887, 0.0},
        {1886, 3 * 604800.0 + 5.5, 1889, 5.5},
        {0, 2111 * 604800.0 + 432000.25, 2111, 432000.25}, // far out: the same as stepping
        {3000, -2000 * 604800.0 - 0.5, 999, 604799.5},
        {3000, -2000 * 604800.0, 1000, 0.0}};
    for (const auto& [week, seconds, expectedWeek, expectedSeconds] : cases)
    {
        GpsTime time{week, seconds};
        SCalendarTime c{};
        GpsToCalendar(time, c);
        EXPECT_EQ(time.m_uWeek, expectedWeek) << week << " " << seconds;
        EXPECT_EQ(time.m_dSeconds, expectedSeconds) << week << " " << seconds;
        EXPECT_FALSE(std::signbit(time.m_dSeconds));
        EXPECT_EQ(Fields(c), Convert(expectedWeek, expectedSeconds));
    }
    // Values from a damaged message end the call inside the week.
    for (double bad : {1e300, -1e300, std::numeric_limits<double>::infinity(), std::nan("")})
    {
        GpsTime time{2111, bad};
        SCalendarTime c{};
        GpsToCalendar(time, c);
        EXPECT_TRUE(time.m_dSeconds >= 0.0 && time.m_dSeconds < 604800.0) << bad;
        EXPECT_TRUE(c.m_iHour >= 0 && c.m_iHour < 24) << bad;
    }
}

TEST(GpsPlusToCalendarTest, OffsetCarriesIntoTheNextWeekAndLeavesTheTimeAlone)
{
    const GpsTime lastOfYear{1929, 604799.9999998}, early{1, -1.0};
    SCalendarTime c{};
    GpsPlusToCalendar(lastOfYear, c, 5e-07);
    EXPECT_EQ(std::tuple(c.m_iYear, c.m_iMonth, c.m_iDay, c.m_iHour, c.m_iMinute), std::tuple(2017, 1, 1, 0, 0));
    EXPECT_NEAR(c.m_dSeconds, 3e-07, 1e-9);
    EXPECT_EQ(lastOfYear.m_dSeconds, 604799.9999998);
    GpsPlusToCalendar(GpsTime{2111, 59.97}, c, 0.05); // a hair below a whole second lands on it
    EXPECT_EQ(std::tuple(c.m_iMinute, c.m_iSecond), std::tuple(1, 0));
    GpsPlusToCalendar(early, c, 0.0); // outside its week: converted, not brought into range
    EXPECT_EQ(Fields(c), Convert(0, 604799.0));
    EXPECT_EQ(early.m_dSeconds, -1.0);
}

TEST_F(UtcOffsetTest, SwitchesLeapSecondsExactlyAtTheEventAndIsZeroUntilFilled)
{
    const std::pair<GpsTime, double> cases[] = {
        {{1800, 0.0}, 17.0}, {{1929, 604799.0}, 17.0},
        {{1930, 17.0}, 17.0}, // e + DtLs reaches 0 here: still the old count
        {{1930, 17.000001}, 18.0}, {{1931, 0.0}, 18.0}, {{2111, 432000.0}, 18.0}};
    for (const auto& [time, offset] : cases)
        EXPECT_EQ(GpsUtcOffset(time, m_Utc), offset) << time.m_uWeek << " " << time.m_dSeconds;
    for (int16_t status : {0, 1})
    {
        m_Utc.m_uStatus = status;
        EXPECT_EQ(GpsUtcOffset(GpsTime{1929, 100.0}, m_Utc), 0.0);
    }
}

TEST_F(UtcOffsetTest, AddsA0AndDriftSinceTheReferenceTime)
{
    m_Utc.m_dA0 = -3e-9;
    m_Utc.m_dA1 = 1e-12;
    EXPECT_DOUBLE_EQ(GpsUtcOffset(GpsTime{1929, 503808.0}, m_Utc), 17.0 - 3e-9);
    EXPECT_NEAR(GpsUtcOffset(GpsTime{1930, 100.0}, m_Utc), 18.0 + 101092e-12 - 3e-9, 1e-13); // across the week turn
    EXPECT_NEAR(GpsUtcOffset(GpsTime{1928, 503808.0}, m_Utc), 17.0 - 604800e-12 - 3e-9, 1e-13);
}

TEST(RoundToUnsignedTest, AddsHalfAndTruncatesAndHoldsValuesOutsideTheRangeAtItsEnds)
{
    const std::pair<double, uint32_t> cases[] = {
        {0.0, 0}, {0.49, 0}, {17.49, 17}, {17.5, 18}, {17.99, 18}, {18.000000001, 18}, {4294967294.5, 4294967295u},
        {4294967295.5, UINT32_MAX}, {1e20, UINT32_MAX}, {-0.4, 0}, {-18.0, 0}, {std::nan(""), 0}};
    for (const auto& [value, rounded] : cases)
        EXPECT_EQ(RoundToUnsigned(value), rounded) << value;
}
