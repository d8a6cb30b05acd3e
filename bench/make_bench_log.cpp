// make_bench_log: writes the benchmark's receiver log, a deterministic day of
// data as a triple-constellation receiver logs it at 1 Hz:
//  - every second a BIN76 with 10 GPS satellites (L1 C/A, L2, L1 P), a BIN66
//    with 8 GLONASS satellites (L1, L2) and three BIN36, one per BeiDou band,
//    with 10 BeiDou satellites;
//  - a BIN95 per GPS satellite every 2 hours (a new ephemeris each time), a
//    BIN65 per GLONASS satellite every 30 minutes, a raw D1 BIN35 per BeiDou
//    satellite every 10 minutes (a new ephemeris every hour), and BIN94 and
//    BIN34 every hour.
// Nothing is random: the values are smooth functions of time, so two runs
// write the same bytes. Ranges follow a slow sinusoid per satellite, phases
// and Doppler follow the ranges, the ionosphere splits code and phase, and
// every satellite slips once every six hours. The ephemerides are plausible
// orbits with the issue and reference times a receiver would see.
//
// usage: make_bench_log OUTPUT [SECONDS]   (SECONDS of data, default 86400)
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>
#include <vector>

#include "logbuild/BeidouEncoder.h"
#include "logbuild/Bin36Encoder.h"
#include "logbuild/Bin66Encoder.h"
#include "logbuild/Bin76Encoder.h"
#include "logbuild/FrameWriter.h"
#include "logbuild/GlonassEncoder.h"
#include "logbuild/GpsEphemerisEncoder.h"

namespace
{
constexpr double kPi = std::numbers::pi;
constexpr double kSpeedOfLight = 299792458.0;
constexpr double kSecondsPerWeek = 604800.0;
constexpr double kSecondsPerDay = 86400.0;

// The log starts on Tuesday 00:00:00 GPS time of GPS week 2300 (February 2024).
constexpr uint16_t kWeek = 2300;
constexpr double kStart = 2 * kSecondsPerDay;
constexpr int kLeapSeconds = 18;
constexpr uint32_t kBeidouWeekOffset = 1356; // GPS week of BDT week 0
constexpr double kBeidouBehindGps = 14.0;
constexpr double kMoscowAheadOfUtc = 10800.0;

constexpr double kGpsL1Hz = 1575.42e6;
constexpr double kGpsL2Hz = 1227.60e6;
constexpr double kGloL1BaseHz = 1602.0e6;
constexpr double kGloL1StepHz = 562500.0;
constexpr double kGloL2BaseHz = 1246.0e6;
constexpr double kGloL2StepHz = 437500.0;
constexpr double kBeidouHz[3] = {1561.098e6, 1207.14e6, 1268.52e6};

constexpr double kGpsNavPeriod = 7200.0;
constexpr double kGlonassNavPeriod = 1800.0;
constexpr double kBeidouNavPeriod = 600.0;
constexpr double kBeidouIssuePeriod = 3600.0;
constexpr double kTimeMessagesPeriod = 3600.0;
constexpr double kSlipPeriod = 6 * 3600.0;

constexpr uint8_t kGpsPrns[10] = {1, 3, 6, 8, 11, 14, 17, 19, 22, 28};
// GLONASS slots 1 to 8 with the frequency channels the converter assumes for
// them until their first ephemeris arrives.
constexpr uint8_t kGlonassSlots[8] = {1, 2, 3, 4, 5, 6, 7, 8};
constexpr int kGlonassChannels[8] = {1, -4, 5, 6, 1, -4, 5, -6};
// BeiDou MEO and IGSO satellites, which send the D1 message.
constexpr uint8_t kBeidouPrns[10] = {6, 7, 8, 9, 10, 11, 12, 13, 14, 16};

double WrapAngle(double a)
{
    return a - 2 * kPi * std::floor((a + kPi) / (2 * kPi));
}

// --- Observations ------------------------------------------------------------

// The line of sight of one satellite: a range that swings slowly about its
// mean, an ionospheric delay at L1, and a signal strength that follows the
// range (closer is stronger).
struct SSightLine
{
    double m_dMean;      // metres
    double m_dSwing;     // metres
    double m_dPeriod;    // seconds
    double m_dPhase;     // radians
    double m_dAmbiguity; // whole cycles added to every phase, within the decoders' window

    double Range(double t) const { return m_dMean + m_dSwing * std::sin(2 * kPi * t / m_dPeriod + m_dPhase); }
    double Rate(double t) const
    {
        return m_dSwing * 2 * kPi / m_dPeriod * std::cos(2 * kPi * t / m_dPeriod + m_dPhase);
    }
    double IonoL1(double t) const { return 4.0 + 2.5 * std::sin(2 * kPi * t / kSecondsPerDay + m_dPhase); }
    double SnrDb(double t) const { return 15.0 - 5.0 * std::sin(2 * kPi * t / m_dPeriod + m_dPhase); }
};

SSightLine SightLine(uint32_t index, double mean)
{
    const double i = static_cast<double>(index);
    return {mean + 150000.0 * i, 2.6e6 + 40000.0 * i, 43082.0 + 977.0 * i, 0.61 * i + 0.3, 97.0 + 31.0 * i};
}

// The receiver's slip counter of a satellite: one step every six hours, at a
// time of its own.
uint8_t SlipCounter(uint32_t index, double t)
{
    return static_cast<uint8_t>(std::floor((t + 1111.0 * index) / kSlipPeriod));
}

// One signal of a satellite on the carrier of `hz`.
SBin76Signal Signal(const SSightLine& s, double t, double hz, uint8_t slips)
{
    const double wavelength = kSpeedOfLight / hz;
    const double iono = s.IonoL1(t) * (kGpsL1Hz / hz) * (kGpsL1Hz / hz);
    const double range = s.Range(t);
    SBin76Signal signal;
    signal.m_bPresent = true;
    signal.m_dPseudorange = range + iono;
    signal.m_dPhase = (range - iono) / wavelength + s.m_dAmbiguity;
    signal.m_dDoppler = s.Rate(t) / wavelength;
    signal.m_dSnr = s.SnrDb(t) - (hz < kGpsL1Hz - 1e6 ? 3.0 : 0.0);
    signal.m_uSlipCounter = slips;
    signal.m_bGoodLock = true;
    return signal;
}

double GlonassL1Hz(int channel)
{
    return kGloL1BaseHz + channel * kGloL1StepHz;
}

double GlonassL2Hz(int channel)
{
    return kGloL2BaseHz + channel * kGloL2StepHz;
}

Bytes GpsObservations(double t)
{
    std::vector<SBin76Channel> channels;
    for (uint32_t i = 0; i < std::size(kGpsPrns); ++i)
    {
        const SSightLine s = SightLine(i, 22.0e6);
        SBin76Channel c;
        c.m_uPrn = kGpsPrns[i];
        const uint8_t slips = SlipCounter(i, t);
        c.m_L1 = Signal(s, t, kGpsL1Hz, slips);
        c.m_L2 = Signal(s, t, kGpsL2Hz, slips);
        c.m_L1P.m_dPseudorange = c.m_L1.m_dPseudorange + 0.35;
        c.m_L1P.m_dSnr = c.m_L1.m_dSnr - 2.0;
        channels.push_back(c);
    }
    return MakeBin76Frame(kWeek, t, channels);
}

Bytes GlonassObservations(double t)
{
    std::vector<SBin66Channel> channels;
    for (uint32_t i = 0; i < std::size(kGlonassSlots); ++i)
    {
        const SSightLine s = SightLine(i + 20, 21.0e6);
        SBin66Channel c;
        c.m_uSlot = kGlonassSlots[i];
        const uint8_t slips = SlipCounter(i + 20, t);
        c.m_L1 = Signal(s, t, GlonassL1Hz(kGlonassChannels[i]), slips);
        c.m_L2 = Signal(s, t, GlonassL2Hz(kGlonassChannels[i]), slips);
        channels.push_back(c);
    }
    return MakeBin66Frame(kWeek, t, channels);
}

Bytes BeidouObservations(double t, uint32_t band)
{
    std::vector<SBin36Channel> channels;
    for (uint32_t i = 0; i < std::size(kBeidouPrns); ++i)
    {
        const SSightLine s = SightLine(i + 40, 23.0e6);
        SBin36Channel c;
        c.m_uPrn = kBeidouPrns[i];
        c.m_Signal = Signal(s, t, kBeidouHz[band], SlipCounter(i + 40, t));
        channels.push_back(c);
    }
    return MakeBin36Frame(kWeek, t, SBin36Packet{band, band, 3}, channels);
}

// --- Navigation messages -------------------------------------------------------

// The GPS ephemeris of satellite `index` for issue `issue`, sent at `sent`
// with its reference time two hours later.
Bytes GpsEphemeris(uint32_t index, uint32_t issue, double sent)
{
    const double i = static_cast<double>(index);
    SGpsEphemerisValues v;
    v.m_uSatellite = kGpsPrns[index];
    v.m_uWeek = kWeek;
    v.m_uTxTime = static_cast<uint32_t>(sent);
    v.m_uIode = static_cast<uint16_t>((issue * 7 + index * 23 + 5) & 0xFF);
    v.m_uIodc = v.m_uIode;
    v.m_uUra = 0;
    v.m_dToe = kStart + kGpsNavPeriod * (issue + 1);
    v.m_dToc = v.m_dToe;
    v.m_dAf0 = 2.5e-5 * (i - 4.5) + 1.0e-9 * issue;
    v.m_dAf1 = -3.0e-12 + 1.0e-12 * (index % 5);
    v.m_dTgd = -5.0e-9 - 1.0e-9 * (index % 4);
    v.m_dSqrtA = 5153.6 + 0.07 * i;
    v.m_dEcc = 0.002 + 0.0013 * i;
    v.m_dI0 = 0.95 + 0.004 * i + 1.0e-6 * issue;
    v.m_dOmega0 = WrapAngle(-3.0 + 0.6 * i - 3.0e-5 * issue);
    v.m_dOmega = WrapAngle(-2.5 + 0.55 * i);
    const double meanMotion = std::sqrt(3.986005e14) / std::pow(v.m_dSqrtA, 3);
    v.m_dM0 = WrapAngle(-3.1 + 0.62 * i + meanMotion * (v.m_dToe - kStart));
    v.m_dDeltaN = 4.5e-9 + 1.0e-10 * i;
    v.m_dOmegaDot = -8.1e-9;
    v.m_dIdot = 2.0e-10 - 5.0e-11 * (index % 3);
    v.m_dCuc = 1.2e-6 - 1.0e-7 * i;
    v.m_dCus = 7.0e-6 + 2.0e-7 * i;
    v.m_dCrc = 220.0 + 3.0 * i;
    v.m_dCrs = 20.0 - 4.0 * i;
    v.m_dCic = 5.0e-8;
    v.m_dCis = -3.0e-8;
    return MakeBin95Frame(v);
}

// UTC calendar fields of a GPS time of week kWeek.
struct SUtc
{
    std::chrono::year_month_day m_Date;
    int64_t m_iSecondsOfDay;
};

SUtc UtcOf(double gpsSecondsOfWeek)
{
    using namespace std::chrono;
    const int64_t total = static_cast<int64_t>(std::floor(gpsSecondsOfWeek)) - kLeapSeconds;
    const sys_days weekStart = sys_days{1980y / January / 6} + days{7 * kWeek};
    const int64_t day = total >= 0 ? total / 86400 : (total - 86399) / 86400;
    return {year_month_day{weekStart + days{day}}, total - day * 86400};
}

// The GLONASS ephemeris of slot index `index` with its reference time at the
// quarter hour `tbGps` (GPS seconds of week, a quarter hour in UTC), sent at
// `sent`. The satellite flies a circular orbit of the GLONASS planes.
Bytes GlonassEphemeris(uint32_t index, double tbGps, double sent)
{
    SGlonassEphemerisValues v;
    v.m_uSlot = kGlonassSlots[index];
    v.m_iChannel = kGlonassChannels[index];
    v.m_uTxTime = static_cast<uint32_t>(sent);
    const SUtc tb = UtcOf(tbGps);
    SetGlonassReferenceFromUtc(v, static_cast<int>(tb.m_Date.year()), static_cast<unsigned>(tb.m_Date.month()),
                               static_cast<unsigned>(tb.m_Date.day()), static_cast<unsigned>(tb.m_iSecondsOfDay / 3600),
                               static_cast<unsigned>(tb.m_iSecondsOfDay / 60 % 60), 0);
    v.m_uNa = v.m_uNt;
    const SUtc tx = UtcOf(sent);
    const double moscow = std::fmod(static_cast<double>(tx.m_iSecondsOfDay) + kMoscowAheadOfUtc, kSecondsPerDay);
    v.m_uTkHours = static_cast<uint32_t>(moscow / 3600.0);
    v.m_uTkMinutes = static_cast<uint32_t>((moscow - v.m_uTkHours * 3600.0) / 60.0);
    v.m_uTkHalf = std::fmod(moscow, 60.0) >= 30.0 ? 1 : 0;

    constexpr double kRadiusKm = 25510.0;
    constexpr double kPeriod = 40544.0;
    constexpr double kInclination = 64.8 * kPi / 180.0;
    const double node = 2 * kPi / 3 * (index % 3);
    const double u = 2 * kPi * index / 8.0 + 2 * kPi * tbGps / kPeriod;
    const double speed = 2 * kPi * kRadiusKm / kPeriod;
    const double cn = std::cos(node), sn = std::sin(node), ci = std::cos(kInclination), si = std::sin(kInclination);
    const double cu = std::cos(u), su = std::sin(u);
    v.m_dX = kRadiusKm * (cu * cn - su * ci * sn);
    v.m_dY = kRadiusKm * (cu * sn + su * ci * cn);
    v.m_dZ = kRadiusKm * su * si;
    v.m_dVx = speed * (-su * cn - cu * ci * sn);
    v.m_dVy = speed * (-su * sn + cu * ci * cn);
    v.m_dVz = speed * cu * si;
    v.m_dAx = 1.9e-9;
    v.m_dAy = -2.8e-9;
    v.m_dAz = 0.9e-9;
    v.m_dTauN = 3.0e-5 * (static_cast<double>(index) - 3.5);
    v.m_dGamma = 1.8e-12;
    v.m_dDeltaTau = 2.8e-9;
    v.m_dTauC = -1.2e-8;
    v.m_dTauGps = 4.6e-9;
    v.m_uM = 1;
    v.m_uFt = 2;
    v.m_uP1 = 1;
    return MakeBin65Frame(v);
}

// The raw D1 frame of BeiDou satellite index `index` sent at GPS time `sent`:
// the ephemeris of the hour it falls in, its subframe 1 at the last 30-second
// frame boundary in BDT.
Bytes BeidouEphemeris(uint32_t index, double sent)
{
    const double i = static_cast<double>(index);
    const double bdt = sent - kBeidouBehindGps;
    const double issue = std::floor((bdt - (kStart - kBeidouBehindGps)) / kBeidouIssuePeriod);
    SBeidouEphemerisValues v;
    v.m_uSatellite = kBeidouPrns[index];
    v.m_uWeek = kWeek - kBeidouWeekOffset;
    v.m_uSow = static_cast<uint32_t>(std::floor(bdt / 30.0) * 30.0);
    v.m_dToe = std::floor(bdt / kBeidouIssuePeriod) * kBeidouIssuePeriod + kBeidouIssuePeriod;
    v.m_dToc = v.m_dToe;
    v.m_dAf0 = -1.5e-4 + 3.0e-5 * i + 1.0e-9 * issue;
    v.m_dAf1 = 2.0e-11 - 4.0e-12 * i;
    v.m_uAode = static_cast<uint32_t>(issue + index) % 32;
    v.m_uAodc = v.m_uAode;
    const bool igso = index >= 7;
    v.m_dSqrtA = igso ? 6493.1 + 0.2 * i : 5282.6 + 0.1 * i;
    v.m_dEcc = 0.0007 + 0.0009 * i;
    v.m_dI0 = 0.96 + 0.003 * i;
    v.m_dOmega0 = WrapAngle(-2.9 + 0.7 * i - 2.0e-5 * issue);
    v.m_dOmega = WrapAngle(-1.1 + 0.45 * i);
    const double meanMotion = std::sqrt(3.986004418e14) / std::pow(v.m_dSqrtA, 3);
    v.m_dM0 = WrapAngle(1.7 * i + meanMotion * (v.m_dToe - kStart));
    v.m_dDeltaN = 3.9e-9;
    v.m_dOmegaDot = -6.9e-9;
    v.m_dIdot = 1.1e-10;
    v.m_dCuc = -2.1e-6 + 1.0e-7 * i;
    v.m_dCus = 9.3e-6;
    v.m_dCrc = 180.0 + 2.0 * i;
    v.m_dCrs = -45.0 + 5.0 * i;
    v.m_dCic = 2.2e-8;
    v.m_dCis = -1.4e-8;
    v.m_uUrai = 1;
    v.m_dTgd1 = 5.0e-9;
    v.m_dTgd2 = -2.0e-9;
    v.m_adAlpha[0] = 1.9e-8;
    v.m_adAlpha[1] = 1.5e-7;
    v.m_adAlpha[2] = -1.2e-6;
    v.m_adAlpha[3] = 2.4e-6;
    v.m_adBeta[0] = 1.2e5;
    v.m_adBeta[1] = 1.6e5;
    v.m_adBeta[2] = -2.6e5;
    v.m_adBeta[3] = 1.9e6;
    const uint16_t channel = static_cast<uint16_t>(index);
    return MakeBin35D1Frame(QuantizeBeidouEphemeris(v), channel);
}

// GPS ionosphere and UTC parameters (BIN94).
Bytes IonoUtc()
{
    CPayloadWriter p;
    for (double alpha : {1.1176e-8, 7.4506e-9, -5.9605e-8, -5.9605e-8})
        p.Double(alpha);
    for (double beta : {9.0112e4, 1.6384e4, -1.9661e5, -6.5536e4})
        p.Double(beta);
    p.Double(-1.8626e-9).Double(-3.5527e-15);
    p.U32(static_cast<uint32_t>(kStart - kSecondsPerDay)).U16(kWeek);
    p.U16(2185).U16(7);
    p.I16(kLeapSeconds).I16(kLeapSeconds);
    p.Zeros(2);
    return MakeBinFrame(94, p.GetBytes());
}

// BeiDou time to UTC (BIN34).
Bytes BeidouUtc()
{
    CPayloadWriter p;
    p.I32(static_cast<int32_t>(std::lround(std::ldexp(-9.31e-10, 30))));
    p.I32(static_cast<int32_t>(std::lround(std::ldexp(1.2e-14, 50))));
    p.Zeros(12);
    p.U8(static_cast<uint8_t>(static_cast<uint32_t>(kStart) / 4096 % 256));
    p.U8(static_cast<uint8_t>((kWeek - kBeidouWeekOffset) & 0xFF));
    p.Zeros(10);
    return MakeBinFrame(34, p.GetBytes());
}

// The navigation messages due up to and including GPS time `t`, in the order
// the receiver sends them. Each kind keeps the time of its next message.
class CNavSchedule
{
public:
    void SendDue(double t, Bytes& log)
    {
        for (; m_dNextTime <= t; m_dNextTime += kTimeMessagesPeriod)
        {
            AppendBytes(log, IonoUtc());
            AppendBytes(log, BeidouUtc());
        }
        for (uint32_t i = 0; i < std::size(kGpsPrns); ++i)
        {
            // The satellites' uploads lie 20 s apart.
            for (; Due(m_auGpsIssue[i], kGpsNavPeriod, 20.0 * i) <= t; ++m_auGpsIssue[i])
                AppendBytes(log, GpsEphemeris(i, m_auGpsIssue[i], Due(m_auGpsIssue[i], kGpsNavPeriod, 20.0 * i)));
        }
        for (uint32_t i = 0; i < std::size(kGlonassSlots); ++i)
        {
            // Each message comes a quarter hour before its reference time.
            for (; Due(m_auGlonassIssue[i], kGlonassNavPeriod, 3.0 * i) <= t; ++m_auGlonassIssue[i])
            {
                const double sent = Due(m_auGlonassIssue[i], kGlonassNavPeriod, 3.0 * i);
                AppendBytes(log, GlonassEphemeris(i, FirstGlonassTb() + kGlonassNavPeriod * m_auGlonassIssue[i], sent));
            }
        }
        for (uint32_t i = 0; i < std::size(kBeidouPrns); ++i)
        {
            for (; Due(m_auBeidouCount[i], kBeidouNavPeriod, 7.0 * i) <= t; ++m_auBeidouCount[i])
                AppendBytes(log, BeidouEphemeris(i, Due(m_auBeidouCount[i], kBeidouNavPeriod, 7.0 * i)));
        }
    }

private:
    // Message `n` of a kind sent every `period` seconds from the start, shifted by `offset`.
    static double Due(uint32_t n, double period, double offset) { return kStart + period * n + offset; }

    // The first GLONASS reference time: the UTC quarter hour that follows the
    // start by at least a quarter hour, in GPS time.
    static double FirstGlonassTb()
    {
        const double utc = kStart - kLeapSeconds;
        return std::floor(utc / 900.0) * 900.0 + 1800.0 + kLeapSeconds;
    }

    double m_dNextTime = kStart;
    std::array<uint32_t, std::size(kGpsPrns)> m_auGpsIssue{};
    std::array<uint32_t, std::size(kGlonassSlots)> m_auGlonassIssue{};
    std::array<uint32_t, std::size(kBeidouPrns)> m_auBeidouCount{};
};

void Usage()
{
    std::fputs("usage: make_bench_log OUTPUT [SECONDS]\n"
               "Writes a deterministic receiver log of SECONDS (default 86400) of 1 Hz\n"
               "GPS, GLONASS and BeiDou observations with their navigation messages.\n",
               stderr);
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2 && argc != 3)
    {
        Usage();
        return 2;
    }
    long seconds = static_cast<long>(kSecondsPerDay);
    if (argc == 3)
    {
        char* end = nullptr;
        seconds = std::strtol(argv[2], &end, 10);
        if (*end != '\0' || seconds < 1 || seconds > static_cast<long>(kSecondsPerWeek - kStart))
        {
            Usage();
            return 2;
        }
    }
    std::FILE* out = std::fopen(argv[1], "wb");
    if (out == nullptr)
    {
        std::perror(argv[1]);
        return 1;
    }

    // Written an epoch at a time: the whole day would be some 160 MB.
    CNavSchedule nav;
    Bytes chunk;
    bool written = true;
    for (long n = 0; n < seconds && written; ++n)
    {
        const double t = kStart + static_cast<double>(n);
        chunk.clear();
        nav.SendDue(t, chunk);
        AppendBytes(chunk, GpsObservations(t)); // opens the epoch
        AppendBytes(chunk, GlonassObservations(t));
        for (uint32_t band = 0; band < 3; ++band)
            AppendBytes(chunk, BeidouObservations(t, band));
        written = std::fwrite(chunk.data(), 1, chunk.size(), out) == chunk.size();
    }
    if (std::fclose(out) != 0 || !written)
    {
        std::fprintf(stderr, "make_bench_log: can't write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
