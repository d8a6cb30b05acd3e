#include "gnsstime/GpsTime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <tuple>

// Anchors below are worked out from the GPS epoch, Sunday 6 January 1980, and
// 7-day weeks: week W, day k (0 = Sunday) is day 7W + k after the epoch.
//   week 1886 starts Sunday 2016-02-28, so 2016-02-29 is its day 1;
//   week 1929 starts 2016-12-25, its day 6 is 2016-12-31; week 1930 starts 2017-01-01;
//   week 2111 starts 2020-06-21, so second 432000 (day 5) is Friday 2020-06-26;
//   week 6269 starts Sunday 2100-02-28.

namespace
{

constexpr double kDay = 86400.0;

using Ymd = std::tuple<int32_t, int32_t, int32_t>;
using Hms = std::tuple<int32_t, int32_t, int32_t>;

Ymd DateOf(const SCalendarTime& c)
{
    return {c.m_iYear, c.m_iMonth, c.m_iDay};
}

Hms ClockOf(const SCalendarTime& c)
{
    return {c.m_iHour, c.m_iMinute, c.m_iSecond};
}

SCalendarTime Convert(uint32_t week, double seconds)
{
    GpsTime time{week, seconds};
    SCalendarTime calendar{};
    GpsToCalendar(time, calendar);
    return calendar;
}

// An independent reading of the date algorithm under the every-fourth-year
// leap rule, taking a time already inside its week. The seconds since the
// epoch are counted in 64 bits here so that the comparison reaches past 2048.
SCalendarTime FourYearRuleCalendar(uint32_t week, double seconds)
{
    static const int32_t kCommon[13] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
    static const int32_t kLeap[13] = {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366};

    SCalendarTime c{};
    const int32_t s = static_cast<int32_t>(std::floor(seconds));
    const double f = seconds - s;
    const int64_t t = static_cast<int64_t>(week) * 604800 + s;
    const int32_t d = static_cast<int32_t>(t / 86400);
    const int32_t r = static_cast<int32_t>(t - static_cast<int64_t>(d) * 86400);

    const int32_t l = (d + 1406) / 1461;
    const int32_t n = (d - l + 5) / 365;
    c.m_iYear = n + 1980;
    const int32_t y = d + 5 - 365 * n - (n + 3) / 4;

    const int32_t* table = (c.m_iYear % 4 == 0) ? kLeap : kCommon;
    for (int32_t m = 1; m <= 12; ++m)
    {
        if (y < table[m])
        {
            c.m_iMonth = m;
            c.m_iDay = y - table[m - 1] + 1;
            break;
        }
    }

    c.m_iHour = r / 3600;
    c.m_iMinute = (r - c.m_iHour * 3600) / 60;
    c.m_dSeconds = r - (c.m_iHour * 60 + c.m_iMinute) * 60 + f;
    c.m_iSecond = static_cast<int32_t>(c.m_dSeconds);
    return c;
}

bool SameCalendar(const SCalendarTime& a, const SCalendarTime& b)
{
    return a.m_iYear == b.m_iYear && a.m_iMonth == b.m_iMonth && a.m_iDay == b.m_iDay &&
           a.m_iHour == b.m_iHour && a.m_iMinute == b.m_iMinute && a.m_iSecond == b.m_iSecond &&
           a.m_dSeconds == b.m_dSeconds;
}

// Tests that fill the run-wide UTC parameters or log time put them back.
class RunWideTimeState : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_savedUtc = g_UtcParams;
        m_savedLogTime = g_LogTime;
    }
    void TearDown() override
    {
        g_UtcParams = m_savedUtc;
        g_LogTime = m_savedLogTime;
    }

    SUtcParams m_savedUtc{};
    GpsTime m_savedLogTime{};
};

} // namespace

TEST(GpsToCalendar, ConvertsKnownDatesAndTimesOfDay)
{
    SCalendarTime c = Convert(0, 0.0);
    EXPECT_EQ(DateOf(c), Ymd(1980, 1, 6));
    EXPECT_EQ(ClockOf(c), Hms(0, 0, 0));
    EXPECT_EQ(c.m_dSeconds, 0.0);

    c = Convert(2111, 432000.0);
    EXPECT_EQ(DateOf(c), Ymd(2020, 6, 26));
    EXPECT_EQ(ClockOf(c), Hms(0, 0, 0));

    c = Convert(2111, 432000.0 + 13 * 3600 + 46 * 60 + 39);
    EXPECT_EQ(DateOf(c), Ymd(2020, 6, 26));
    EXPECT_EQ(ClockOf(c), Hms(13, 46, 39));

    c = Convert(2111, 432000.0 - 1.0);
    EXPECT_EQ(DateOf(c), Ymd(2020, 6, 25));
    EXPECT_EQ(ClockOf(c), Hms(23, 59, 59));
}

TEST(GpsToCalendar, NegativeSecondsBorrowWeeksInTheCallersTime)
{
    GpsTime time{1, -1.0};
    SCalendarTime c{};
    GpsToCalendar(time, c);
    EXPECT_EQ(time.m_uWeek, 0u);
    EXPECT_EQ(time.m_dSeconds, 604799.0);
    EXPECT_EQ(DateOf(c), Ymd(1980, 1, 12));
    EXPECT_EQ(ClockOf(c), Hms(23, 59, 59));

    // More than a week below zero borrows more than one week.
    time = {1887, -604800.0 - 0.75};
    GpsToCalendar(time, c);
    EXPECT_EQ(time.m_uWeek, 1885u);
    EXPECT_EQ(time.m_dSeconds, 604799.25);
    EXPECT_EQ(DateOf(c), Ymd(2016, 2, 27));
    EXPECT_EQ(ClockOf(c), Hms(23, 59, 59));
    EXPECT_EQ(c.m_dSeconds, 59.25);
}

TEST(GpsToCalendar, FullWeekOfSecondsCarriesIntoTheNextWeek)
{
    GpsTime time{1886, 604800.0};
    SCalendarTime c{};
    GpsToCalendar(time, c);
    EXPECT_EQ(time.m_uWeek, 1887u);
    EXPECT_EQ(time.m_dSeconds, 0.0);
    EXPECT_EQ(DateOf(c), Ymd(2016, 3, 6));
    EXPECT_EQ(ClockOf(c), Hms(0, 0, 0));

    time = {1886, 3 * 604800.0 + 5.5};
    GpsToCalendar(time, c);
    EXPECT_EQ(time.m_uWeek, 1889u);
    EXPECT_EQ(time.m_dSeconds, 5.5);
}

TEST(GpsToCalendar, LeapDaysAndYearEnds)
{
    // 2016: 28 February, the leap day, and 1 March.
    EXPECT_EQ(DateOf(Convert(1886, kDay - 1.0)), Ymd(2016, 2, 28));
    EXPECT_EQ(DateOf(Convert(1886, kDay)), Ymd(2016, 2, 29));
    SCalendarTime c = Convert(1886, 2 * kDay - 1.0);
    EXPECT_EQ(DateOf(c), Ymd(2016, 2, 29));
    EXPECT_EQ(ClockOf(c), Hms(23, 59, 59));
    EXPECT_EQ(DateOf(Convert(1886, 2 * kDay)), Ymd(2016, 3, 1));

    // The last day of a leap year is 31 December, not 1 January.
    EXPECT_EQ(DateOf(Convert(1929, 6 * kDay)), Ymd(2016, 12, 31));
    c = Convert(1929, 604799.0);
    EXPECT_EQ(DateOf(c), Ymd(2016, 12, 31));
    EXPECT_EQ(ClockOf(c), Hms(23, 59, 59));
    EXPECT_EQ(DateOf(Convert(1930, 0.0)), Ymd(2017, 1, 1));

    // A common year goes from 28 February to 1 March.
    EXPECT_EQ(DateOf(Convert(1938, 2 * kDay)), Ymd(2017, 2, 28));
    EXPECT_EQ(DateOf(Convert(1938, 3 * kDay)), Ymd(2017, 3, 1));

    // 2000 is a leap year under every rule.
    EXPECT_EQ(DateOf(Convert(1051, 2 * kDay)), Ymd(2000, 2, 29));
    EXPECT_EQ(DateOf(Convert(1051, 3 * kDay)), Ymd(2000, 3, 1));
}

TEST(GpsToCalendar, FractionOfTheSecondIsKeptAndNotRounded)
{
    SCalendarTime c = Convert(2111, 10.25);
    EXPECT_EQ(DateOf(c), Ymd(2020, 6, 21));
    EXPECT_EQ(ClockOf(c), Hms(0, 0, 10));
    EXPECT_EQ(c.m_dSeconds, 10.25);

    // Just below a whole minute stays in that minute.
    c = Convert(2111, 3599.9999999);
    EXPECT_EQ(ClockOf(c), Hms(0, 59, 59));
    EXPECT_NEAR(c.m_dSeconds, 59.9999999, 1e-9);
    EXPECT_LT(c.m_dSeconds, 60.0);
}

TEST(GpsToCalendar, WeeksPastThe32BitSecondCountConvert)
{
    // Seconds since the epoch pass 2^31 during week 3550.
    SCalendarTime c = Convert(3550, 604799.0);
    EXPECT_EQ(DateOf(c), Ymd(2048, 1, 25));
    EXPECT_EQ(ClockOf(c), Hms(23, 59, 59));
    EXPECT_EQ(DateOf(Convert(3551, 0.0)), Ymd(2048, 1, 26));

    c = Convert(4000, 3 * kDay + 3723.5);
    EXPECT_EQ(DateOf(c), Ymd(2056, 9, 6));
    EXPECT_EQ(ClockOf(c), Hms(1, 2, 3));
    EXPECT_EQ(c.m_dSeconds, 3.5);
}

TEST(GpsToCalendar, CenturyYearsFollowTheGregorianRule)
{
    // 2100 is not a leap year: 28 February is followed by 1 March.
    EXPECT_EQ(DateOf(Convert(6269, 0.0)), Ymd(2100, 2, 28));
    EXPECT_EQ(DateOf(Convert(6269, kDay)), Ymd(2100, 3, 1));
    EXPECT_EQ(DateOf(Convert(6269, 2 * kDay)), Ymd(2100, 3, 2));
    // 2400 is one again (week 21922 starts Sunday 2400-02-27).
    EXPECT_EQ(DateOf(Convert(21922, 2 * kDay)), Ymd(2400, 2, 29));
    EXPECT_EQ(DateOf(Convert(21922, 3 * kDay)), Ymd(2400, 3, 1));
}

TEST(GpsToCalendar, AgreesWithTheFourYearRuleEveryDayUntilFebruary2100)
{
    // Day 43883 after the epoch is 28 February 2100, the last day on which the
    // two calendars agree. The time of day and a fraction vary with the day.
    constexpr int32_t kLastCommonDay = 43883;
    for (int32_t day = 0; day <= kLastCommonDay; ++day)
    {
        const uint32_t week = static_cast<uint32_t>(day / 7);
        const double seconds = (day % 7) * kDay + (day * 7919) % 86400 + (day % 4) * 0.25;
        const SCalendarTime expected = FourYearRuleCalendar(week, seconds);
        const SCalendarTime actual = Convert(week, seconds);
        ASSERT_TRUE(SameCalendar(actual, expected))
            << "day " << day << ": got " << actual.m_iYear << "-" << actual.m_iMonth << "-"
            << actual.m_iDay << " " << actual.m_iHour << ":" << actual.m_iMinute << ":"
            << actual.m_dSeconds << ", four-year rule gives " << expected.m_iYear << "-"
            << expected.m_iMonth << "-" << expected.m_iDay << " " << expected.m_iHour << ":"
            << expected.m_iMinute << ":" << expected.m_dSeconds;
    }
    ASSERT_EQ(DateOf(FourYearRuleCalendar(6269, 0.0)), Ymd(2100, 2, 28));

    // The next day is where the four-year rule goes wrong.
    EXPECT_EQ(DateOf(FourYearRuleCalendar(6269, kDay)), Ymd(2100, 2, 29));
    EXPECT_EQ(DateOf(Convert(6269, kDay)), Ymd(2100, 3, 1));
}

TEST(GpsToCalendar, FarOutOfRangeSecondsEndInsideTheWeek)
{
    // A count of seconds since the epoch given against week 0 lands on the
    // same week and second as stepping a week at a time would.
    GpsTime time{0, 2111 * 604800.0 + 432000.25};
    SCalendarTime c{};
    GpsToCalendar(time, c);
    EXPECT_EQ(time.m_uWeek, 2111u);
    EXPECT_EQ(time.m_dSeconds, 432000.25);
    EXPECT_EQ(DateOf(c), Ymd(2020, 6, 26));
    EXPECT_EQ(c.m_dSeconds, 0.25);

    time = {3000, -2000 * 604800.0 - 0.5};
    GpsToCalendar(time, c);
    EXPECT_EQ(time.m_uWeek, 999u);
    EXPECT_EQ(time.m_dSeconds, 604799.5);

    time = {3000, -2000 * 604800.0};
    GpsToCalendar(time, c);
    EXPECT_EQ(time.m_uWeek, 1000u);
    EXPECT_EQ(time.m_dSeconds, 0.0);
    EXPECT_FALSE(std::signbit(time.m_dSeconds));

    // Values from a damaged message end the call inside the week.
    for (double bad : {1e300, -1e300, std::numeric_limits<double>::infinity(),
                       std::numeric_limits<double>::quiet_NaN()})
    {
        time = {2111, bad};
        GpsToCalendar(time, c);
        EXPECT_GE(time.m_dSeconds, 0.0) << bad;
        EXPECT_LT(time.m_dSeconds, 604800.0) << bad;
        EXPECT_GE(c.m_iHour, 0) << bad;
        EXPECT_LT(c.m_iHour, 24) << bad;
    }
}

TEST(GpsPlusToCalendar, OffsetCarriesIntoTheNextWeekAndLeavesTheTimeAlone)
{
    const GpsTime lastOfYear{1929, 604799.9999998};
    SCalendarTime c{};
    GpsPlusToCalendar(lastOfYear, c, 5e-07);
    EXPECT_EQ(DateOf(c), Ymd(2017, 1, 1));
    EXPECT_EQ(ClockOf(c), Hms(0, 0, 0));
    EXPECT_NEAR(c.m_dSeconds, 3e-07, 1e-9);
    EXPECT_EQ(lastOfYear.m_uWeek, 1929u);
    EXPECT_EQ(lastOfYear.m_dSeconds, 604799.9999998);

    // A time a hair below a whole second lands on it.
    GpsPlusToCalendar(GpsTime{2111, 432000.0 + 59.97}, c, 0.05);
    EXPECT_EQ(ClockOf(c), Hms(0, 1, 0));

    // A time outside its week is converted but not brought into range.
    const GpsTime early{1, -1.0};
    GpsPlusToCalendar(early, c, 0.0);
    EXPECT_EQ(DateOf(c), Ymd(1980, 1, 12));
    EXPECT_EQ(ClockOf(c), Hms(23, 59, 59));
    EXPECT_EQ(early.m_uWeek, 1u);
    EXPECT_EQ(early.m_dSeconds, -1.0);
}

TEST_F(RunWideTimeState, SetLogTimeTakesSecondsThenWeekAndGetLogTimeCopiesIt)
{
    SetLogTime(432000.5, 2111);
    GpsTime time{7, 7.0};
    GetLogTime(time);
    EXPECT_EQ(time.m_uWeek, 2111u);
    EXPECT_EQ(time.m_dSeconds, 432000.5);
}

namespace
{

// UTC data as for the leap second at the end of 2016: 17 s before, 18 s
// after, event at the end of day 7 of week 1929, that is at the start of
// week 1930. Drift terms are zero unless a test sets them.
SUtcParams LeapSecond2016Params()
{
    SUtcParams p{};
    p.m_uStatus = 2;
    p.m_uWnt = 1929;
    p.m_uTot = 503808;
    p.m_uWnLsf = 1929;
    p.m_uDn = 7;
    p.m_iDtLs = 17;
    p.m_iDtLsf = 18;
    return p;
}

} // namespace

TEST_F(RunWideTimeState, UtcOffsetIsZeroUntilFilledFromTheStoredMessage)
{
    g_UtcParams = LeapSecond2016Params();
    g_UtcParams.m_dA0 = 1e-8;
    const GpsTime t{1929, 100.0};

    g_UtcParams.m_uStatus = 0;
    EXPECT_EQ(GpsUtcOffset(t), 0.0);
    g_UtcParams.m_uStatus = 1;
    EXPECT_EQ(GpsUtcOffset(t), 0.0);
    g_UtcParams.m_uStatus = 2;
    EXPECT_NE(GpsUtcOffset(t), 0.0);
}

TEST_F(RunWideTimeState, UtcOffsetSwitchesLeapSecondsExactlyAtTheEvent)
{
    g_UtcParams = LeapSecond2016Params();

    EXPECT_EQ(GpsUtcOffset(GpsTime{1929, 0.0}), 17.0);
    EXPECT_EQ(GpsUtcOffset(GpsTime{1929, 604799.0}), 17.0);
    // e + DtLs reaches 0 at 17 s into week 1930: still the old count there.
    EXPECT_EQ(GpsUtcOffset(GpsTime{1930, 17.0}), 17.0);
    // Just past it the new count holds, with nothing in between.
    EXPECT_EQ(GpsUtcOffset(GpsTime{1930, 17.000001}), 18.0);
    EXPECT_EQ(GpsUtcOffset(GpsTime{1930, 18.0}), 18.0);
    // Weeks after the event give a negative distance to it.
    EXPECT_EQ(GpsUtcOffset(GpsTime{1931, 0.0}), 18.0);
    EXPECT_EQ(GpsUtcOffset(GpsTime{2111, 432000.0}), 18.0);
    // Long before it, the old count.
    EXPECT_EQ(GpsUtcOffset(GpsTime{1800, 0.0}), 17.0);
}

TEST_F(RunWideTimeState, UtcOffsetAddsA0AndDriftSinceTheReferenceTime)
{
    g_UtcParams = LeapSecond2016Params();
    g_UtcParams.m_dA0 = -3e-9;
    g_UtcParams.m_dA1 = 1e-12;

    // At the reference time only A0 adds to the leap seconds.
    EXPECT_DOUBLE_EQ(GpsUtcOffset(GpsTime{1929, 503808.0}), 17.0 - 3e-9);
    // 100992 s later, across the week boundary and after the leap second.
    EXPECT_NEAR(GpsUtcOffset(GpsTime{1930, 0.0}), 17.0 + 100992e-12 - 3e-9, 1e-13);
    EXPECT_NEAR(GpsUtcOffset(GpsTime{1930, 100.0}), 18.0 + 101092e-12 - 3e-9, 1e-13);
    // A week before the reference drifts the other way.
    EXPECT_NEAR(GpsUtcOffset(GpsTime{1928, 503808.0}), 17.0 - 604800e-12 - 3e-9, 1e-13);
}

TEST(TimeRoundToUnsigned, AddsHalfAndTruncates)
{
    EXPECT_EQ(RoundToUnsigned(0.0), 0u);
    EXPECT_EQ(RoundToUnsigned(0.49), 0u);
    EXPECT_EQ(RoundToUnsigned(17.0), 17u);
    EXPECT_EQ(RoundToUnsigned(17.49), 17u);
    EXPECT_EQ(RoundToUnsigned(17.5), 18u);
    EXPECT_EQ(RoundToUnsigned(17.99), 18u);
    EXPECT_EQ(RoundToUnsigned(18.000000001), 18u);
    EXPECT_EQ(RoundToUnsigned(4294967294.5), 4294967295u);
}

TEST(TimeRoundToUnsigned, ValuesOutsideTheRangeAreHeldAtItsEnds)
{
    EXPECT_EQ(RoundToUnsigned(-0.4), 0u);
    EXPECT_EQ(RoundToUnsigned(-18.0), 0u);
    EXPECT_EQ(RoundToUnsigned(std::numeric_limits<double>::quiet_NaN()), 0u);
    EXPECT_EQ(RoundToUnsigned(4294967295.5), UINT32_MAX);
    EXPECT_EQ(RoundToUnsigned(1e20), UINT32_MAX);
}
