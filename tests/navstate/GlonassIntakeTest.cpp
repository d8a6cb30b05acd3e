#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>

#include "gnsstime/GpsTime.h"
#include "logbuild/GlonassEncoder.h"
#include "navstate/GlonassFrequencies.h"
#include "navstate/NavState.h"
#include "tests/navstate/NavTestSupport.h"

namespace
{

// A plausible orbit of slot 5 with every field set, signs mixed. tb is
// 12:45 Moscow time on 15 March 2025 (N4 8, NT 440).
SGlonassEphemerisValues SampleValues()
{
    SGlonassEphemerisValues v;
    v.m_uSlot = 5, v.m_iChannel = -4, v.m_uTxTime = 123456;
    v.m_uN4 = 8, v.m_uNt = 440, v.m_uTbMinutes = 765;
    v.m_uTkHours = 13, v.m_uTkMinutes = 37, v.m_uTkHalf = 1;
    v.m_dX = -14000.5, v.m_dY = 12000.25, v.m_dZ = 17500.00048828125;
    v.m_dVx = 1.5, v.m_dVy = -2.25, v.m_dVz = std::ldexp(0x7FFFFF, -20); // largest magnitude
    v.m_dAx = std::ldexp(3, -30), v.m_dAy = std::ldexp(-15, -30), v.m_dAz = std::ldexp(1, -30);
    v.m_dGamma = std::ldexp(-0x155, -40), v.m_dTauN = std::ldexp(-0x12345, -30), v.m_dDeltaTau = std::ldexp(7, -30);
    v.m_dTauC = std::ldexp(-0x12345678, -31), v.m_dTauGps = std::ldexp(0x1ABCD, -30);
    v.m_uBn = 5, v.m_uEn = 17, v.m_uP = 3, v.m_uP1 = 2, v.m_uP2 = 1, v.m_uP3 = 1, v.m_uP4 = 1;
    v.m_uLn = 1, v.m_uM = 1, v.m_uFt = 9, v.m_uNa = 440;
    return v;
}

void Feed(CGlonassNavState& nav, const SGlonassEphemerisValues& v)
{
    nav.OnBin65(MakeBin65Frame(v).data());
}

// GPS week and seconds of a UTC time plus `leap` seconds, worked out from the
// calendar rather than from GLONASS day numbers.
GpsTime GpsFromUtc(std::chrono::year_month_day date, double secondOfDay, double leap)
{
    using namespace std::chrono;
    const double total =
        static_cast<double>((sys_days{date} - sys_days{1980y / January / 6}).count()) * 86400.0 + secondOfDay + leap;
    const double week = std::floor(total / 604800.0);
    return GpsTime{static_cast<uint32_t>(week), total - week * 604800.0};
}

// Every test starts from a run of its own: log time unset, carriers and
// UTC parameters as at the start of a run.
class GlonassIntakeTest : public ::testing::Test
{
protected:
    SNavTestRun m_Run;
};

TEST_F(GlonassIntakeTest, DecodesEveryFieldOfTheFiveStringsWithMinusZeroWhereSignMagnitude)
{
    auto nav = m_Run.Glonass();
    const SGlonassEphemerisValues v = SampleValues();
    Feed(*nav, v);
    const SGlonassEphemeris& e = nav->m_aGloEphemeris[4];
    EXPECT_EQ(e.m_uStatus, kStatusStored); // the log week is 0: not evaluated yet
    EXPECT_EQ(nav->m_auTxTime[4], v.m_uTxTime);
    EXPECT_EQ(e.m_uHealth, v.m_uBn << 4);
    EXPECT_EQ(e.m_uTb, v.m_uTbMinutes);
#define EXPECT_SENT(f) EXPECT_EQ(e.f, v.f) << #f;
    EXPECT_SENT(m_uTkHours) EXPECT_SENT(m_uTkMinutes) EXPECT_SENT(m_uTkHalf) EXPECT_SENT(m_uTbMinutes)
    EXPECT_SENT(m_uN4) EXPECT_SENT(m_uNt) EXPECT_SENT(m_uSlot) EXPECT_SENT(m_uBn) EXPECT_SENT(m_uEn) EXPECT_SENT(m_uP)
    EXPECT_SENT(m_uP1) EXPECT_SENT(m_uP2) EXPECT_SENT(m_uP3) EXPECT_SENT(m_uP4) EXPECT_SENT(m_uLn) EXPECT_SENT(m_uM)
    EXPECT_SENT(m_dX) EXPECT_SENT(m_dY) EXPECT_SENT(m_dZ) EXPECT_SENT(m_dVx) EXPECT_SENT(m_dVy) EXPECT_SENT(m_dVz)
    EXPECT_SENT(m_dAx) EXPECT_SENT(m_dAy) EXPECT_SENT(m_dAz) EXPECT_SENT(m_dGamma) EXPECT_SENT(m_dTauN)
    EXPECT_SENT(m_dDeltaTau) EXPECT_SENT(m_dTauC) EXPECT_SENT(m_dTauGps)
#undef EXPECT_SENT

    // A set sign on a zero magnitude: minus zero, but plus zero from the two
    // integer fields of string 5.
    SGlonassEphemerisValues z = SampleValues();
    z.m_uSlot = 6;
    z.m_dX = z.m_dVx = z.m_dAx = z.m_dGamma = z.m_dTauN = z.m_dDeltaTau = z.m_dTauC = z.m_dTauGps = -0.0;
    Feed(*nav, z);
    const SGlonassEphemeris& m = nav->m_aGloEphemeris[5];
    ASSERT_EQ(m.m_uStatus, kStatusStored);
    for (double minusZero : {m.m_dX, m.m_dVx, m.m_dAx, m.m_dGamma, m.m_dTauN, m.m_dDeltaTau})
        EXPECT_TRUE(minusZero == 0.0 && std::signbit(minusZero));
    EXPECT_TRUE(m.m_dTauC == 0.0 && !std::signbit(m.m_dTauC));
    EXPECT_TRUE(m.m_dTauGps == 0.0 && !std::signbit(m.m_dTauGps));
}

// Each row also checks the encoder's own UTC to GLONASS day conversion.
TEST_F(GlonassIntakeTest, TbBecomesGpsTimeAcrossMoscowDayYearAndIntervalBoundaries)
{
    using namespace std::chrono;
    struct Case { uint32_t n4, nt, tbMinutes; year_month_day utcDate; unsigned utcHour, utcMinute; };
    const Case cases[] = {
        {8, 440, 15, 2025y / March / 14, 21, 15},    // 00:15 Moscow is 21:15 UTC the day before
        {8, 440, 180, 2025y / March / 15, 0, 0},     // 03:00 Moscow is midnight: the day stays
        {7, 1, 0, 2019y / December / 31, 21, 0},     // back into the last day of interval 6
        {8, 367, 15, 2024y / December / 31, 21, 15}, // back over the turn of the year
        {8, 366, 720, 2024y / December / 31, 9, 0},  // last and first days of years 1 to 4
        {8, 367, 720, 2025y / January / 1, 9, 0},
        {8, 731, 720, 2025y / December / 31, 9, 0},
        {8, 732, 720, 2026y / January / 1, 9, 0},
        {8, 1096, 720, 2026y / December / 31, 9, 0},
        {8, 1097, 720, 2027y / January / 1, 9, 0},
        {8, 1461, 720, 2027y / December / 31, 9, 0},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "N4 " << c.n4 << " NT " << c.nt << " tb " << c.tbMinutes);
        SGlonassEphemerisValues v = SampleValues();
        SetGlonassReferenceFromUtc(v, int(c.utcDate.year()), unsigned(c.utcDate.month()), unsigned(c.utcDate.day()),
                                   c.utcHour, c.utcMinute, 0);
        EXPECT_EQ(v.m_uN4, c.n4);
        EXPECT_EQ(v.m_uNt, c.nt);
        EXPECT_EQ(v.m_uTbMinutes, c.tbMinutes);
        auto nav = m_Run.Glonass();
        Feed(*nav, v);
        const GpsTime expected = GpsFromUtc(c.utcDate, c.utcHour * 3600.0 + c.utcMinute * 60.0, 15.0);
        EXPECT_EQ(nav->m_aGloEphemeris[4].m_uGpsWeek, expected.m_uWeek);
        EXPECT_EQ(nav->m_aGloEphemeris[4].m_dGpsSeconds, expected.m_dSeconds);
    }
}

TEST_F(GlonassIntakeTest, LeapSecondsComeFromUtcDataAndDoubtfulValuesDropTheRecord)
{
    struct Case { bool haveUtc; int16_t leapSeconds; double a0; double expectedLeap; /* below 0: dropped */ };
    const Case cases[] = {
        {false, 0, 0.0, 15.0}, // no UTC data yet
        {true, 0, 0.0, 15.0},  // UTC data that say exactly 0
        {true, 18, -0.4, 18.0}, // 17.6 rounds to 18
        {true, 5, 0.0, -1.0},
        {true, 3, 0.0, -1.0},
    };
    const GpsTime utc1245 = GpsFromUtc(std::chrono::year{2025} / 3 / 15, 9 * 3600.0 + 45 * 60.0, 0.0);
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "leap " << c.leapSeconds << " A0 " << c.a0);
        m_Run.m_Utc.m_UtcParams = SUtcParams{};
        if (c.haveUtc)
        {
            m_Run.m_Utc.m_UtcParams.m_uStatus = 2;
            m_Run.m_Utc.m_UtcParams.m_iDtLs = m_Run.m_Utc.m_UtcParams.m_iDtLsf = c.leapSeconds;
            m_Run.m_Utc.m_UtcParams.m_dA0 = c.a0;
        }
        m_Run.SetLogTime(utc1245.m_dSeconds, utc1245.m_uWeek);
        auto nav = m_Run.Glonass();
        Feed(*nav, SampleValues());
        const SGlonassEphemeris& e = nav->m_aGloEphemeris[4];
        // Stored records are evaluated at once: in fit, flagged by Bn.
        EXPECT_EQ(e.m_uStatus, c.expectedLeap < 0.0 ? kStatusEmpty : kStatusInFit + kStatusUnhealthy);
        if (c.expectedLeap >= 0.0)
        {
            EXPECT_EQ(e.m_dGpsSeconds, utc1245.m_dSeconds + c.expectedLeap);
        }
    }
}

TEST_F(GlonassIntakeTest, ImplausibleRadiusOrSpeedIsRefusedAndARepeatGetsNoSecondChance)
{
    struct Case { double x, y, z, vx, vy, vz; bool accepted; };
    const Case cases[] = {
        {6000.0, 8000.0, 0.0, 1.0, 1.0, 1.0, false}, // radius exactly 10000 km
        {6000.0, 8000.0, 0.00048828125, 1.0, 1.0, 1.0, true},
        {20000.0, 0.0, 0.0, 7.0, 7.0, 1.5, false}, // speed above 10 km/s
        {20000.0, 0.0, 0.0, 7.0, 7.0, 1.25, true},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::Message() << "x " << c.x << " vz " << c.vz);
        SGlonassEphemerisValues v = SampleValues();
        v.m_dX = c.x, v.m_dY = c.y, v.m_dZ = c.z, v.m_dVx = c.vx, v.m_dVy = c.vy, v.m_dVz = c.vz;
        auto nav = m_Run.Glonass();
        Feed(*nav, v);
        EXPECT_EQ(nav->m_aGloEphemeris[4].m_uStatus, c.accepted ? kStatusStored : kStatusEmpty);
    }

    // A message refused for its leap seconds is cached all the same: the
    // same strings are not looked at again once UTC data are good.
    auto nav = m_Run.Glonass();
    m_Run.m_Utc.m_UtcParams.m_uStatus = 2;
    m_Run.m_Utc.m_UtcParams.m_iDtLs = m_Run.m_Utc.m_UtcParams.m_iDtLsf = 3;
    Feed(*nav, SampleValues());
    m_Run.m_Utc.m_UtcParams.m_iDtLs = m_Run.m_Utc.m_UtcParams.m_iDtLsf = 18;
    Feed(*nav, SampleValues());
    EXPECT_EQ(nav->m_aGloEphemeris[4].m_uStatus, kStatusEmpty);
}

TEST_F(GlonassIntakeTest, CacheDropsRepeatsThatDifferOnlyInTkP1P3ChannelOrTime)
{
    struct Case { const char* name; std::function<void(SGlonassEphemerisValues&)> change; bool isNew; };
    const Case cases[] = {
        {"nothing", [](SGlonassEphemerisValues&) {}, false},
        {"tk", [](SGlonassEphemerisValues& v) { v.m_uTkHours = 14, v.m_uTkMinutes = 0, v.m_uTkHalf = 0; }, false},
        {"P1", [](SGlonassEphemerisValues& v) { v.m_uP1 = 1; }, false},
        {"P3", [](SGlonassEphemerisValues& v) { v.m_uP3 = 0; }, false},
        {"channel", [](SGlonassEphemerisValues& v) { v.m_iChannel = 2; }, false},
        {"time field", [](SGlonassEphemerisValues& v) { v.m_uTxTime = 99; }, false},
        {"tb", [](SGlonassEphemerisValues& v) { v.m_uTbMinutes = 780; }, true},
        {"Vx sign, next to tk", [](SGlonassEphemerisValues& v) { v.m_dVx = -v.m_dVx; }, true},
        {"gamma sign, next to P3", [](SGlonassEphemerisValues& v) { v.m_dGamma = -v.m_dGamma; }, true},
        {"En of string 4", [](SGlonassEphemerisValues& v) { v.m_uEn = 18; }, true},
        {"tau c of string 5", [](SGlonassEphemerisValues& v) { v.m_dTauC += std::ldexp(1.0, -31); }, true},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        auto nav = m_Run.Glonass();
        Feed(*nav, SampleValues());
        SGlonassEphemerisValues v = SampleValues();
        c.change(v);
        Feed(*nav, v);
        EXPECT_EQ(nav->m_aGloPendingEphemeris[4].m_uStatus, c.isNew ? kStatusStored : kStatusEmpty);
        EXPECT_EQ(nav->m_aGloEphemeris[4].m_uTb, 765u); // the first record stays current
    }
}

TEST_F(GlonassIntakeTest, ChannelComesFromTheSlotsFirstAcceptedRecordOnlyAndOddSlotsIndexNothing)
{
    int16_t expected[kGlonassSlots];
    std::memcpy(expected, m_Run.m_Frequencies.m_aGlonassChannel, sizeof(expected));
    auto nav = m_Run.Glonass();

    // Message satellites 0 and 25 have no row, and a refused first message
    // of slot 5 leaves its channel alone.
    SGlonassEphemerisValues v = SampleValues();
    nav->OnBin65(MakeBin65Frame(0, 14, 1, EncodeGlonassStrings(v)).data());
    nav->OnBin65(MakeBin65Frame(25, 14, 1, EncodeGlonassStrings(v)).data());
    v.m_dX = v.m_dY = v.m_dZ = 0.0;
    nav->OnBin65(MakeBin65Frame(5, 14, 1, EncodeGlonassStrings(v)).data());
    for (uint32_t row = 0; row < kSatRows; ++row)
        EXPECT_EQ(nav->m_aGloEphemeris[row].m_uStatus, kStatusEmpty);
    EXPECT_EQ(std::memcmp(expected, m_Run.m_Frequencies.m_aGlonassChannel, sizeof(expected)), 0);

    // The first accepted record sets the channel of the message's satellite,
    // whatever n string 4 carries.
    v = SampleValues();
    v.m_uSlot = 31;
    nav->OnBin65(MakeBin65Frame(5, 14, 1, EncodeGlonassStrings(v)).data());
    expected[4] = 14;
    EXPECT_EQ(std::memcmp(expected, m_Run.m_Frequencies.m_aGlonassChannel, sizeof(expected)), 0);
    EXPECT_EQ(m_Run.m_Frequencies.m_aGlonassWavelength[4][1], 299792458.0 / (6 * 437500.0 + 1.246e9));

    // A later record of the slot that names another channel is taken, and
    // the channel stays.
    v.m_uTbMinutes += 30;
    nav->OnBin65(MakeBin65Frame(5, 2, 1, EncodeGlonassStrings(v)).data());
    EXPECT_EQ(nav->m_aGloPendingEphemeris[4].m_uStatus, kStatusStored);
    EXPECT_EQ(std::memcmp(expected, m_Run.m_Frequencies.m_aGlonassChannel, sizeof(expected)), 0);
}

} // namespace
