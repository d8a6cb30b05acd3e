#include "qcfeed/RinexQcFeed.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>
#include <sstream>

#include "logbuild/Files.h"
#include "logbuild/TimeScales.h"
#include "qc/QcSignals.h"

namespace
{
constexpr double kPi = 3.14159265358979323846;
using logbuild::kBeidouBehindGps;
using logbuild::kBeidouWeekOffset;
using logbuild::kSecondsPerDay;
// GPS constants of the broadcast orbit.
constexpr double kGpsMu = 3.986005e14;
constexpr double kGpsEarthRate = 7.2921151467e-5;
constexpr double kRelativity = -4.442807633e-10;
// BeiDou (CGCS2000).
constexpr double kBdsMu = 3.986004418e14;
constexpr double kBdsEarthRate = 7.2921150e-5;
// GLONASS (PZ-90).
constexpr double kGloMu = 3.9860044e14;
constexpr double kGloRadius = 6378136.0;
constexpr double kGloJ2 = 1.0826257e-3;
constexpr double kGloEarthRate = 7.292115e-5;
constexpr double kGloStep = 60.0;
constexpr double kGloL1Base = 1602.0e6;
constexpr double kGloL1Step = 562500.0;
constexpr double kGloL2Base = 1246.0e6;
constexpr double kGloL2Step = 437500.0;
// Records further than this from their reference time are not used.
constexpr double kMaxAge[kQcSystemCount] = {7200.0, 1800.0, 3600.0, 0.0};

struct SCodes
{
    uint32_t m_uSignal;
    const char* m_aszCode[2];
    const char* m_aszPhase[2];
    const char* m_aszDoppler[2];
    const char* m_aszStrength[2];
};
const SCodes kCodes[] = {
    {eQcGpsL1CA, {"C1C", nullptr}, {"L1C", nullptr}, {"D1C", nullptr}, {"S1C", nullptr}},
    {eQcGpsL2, {"C2W", nullptr}, {"L2W", nullptr}, {"D2W", nullptr}, {"S2W", nullptr}},
    {eQcGpsL1P, {"C1W", nullptr}, {nullptr, nullptr}, {nullptr, nullptr}, {"S1W", nullptr}},
    {eQcGloL1, {"C1C", nullptr}, {"L1C", nullptr}, {"D1C", nullptr}, {"S1C", nullptr}},
    {eQcGloL2, {"C2C", "C2P"}, {"L2C", "L2P"}, {"D2C", "D2P"}, {"S2C", "S2P"}},
    {eQcBdsB1, {"C2I", "C1I"}, {"L2I", "L1I"}, {"D2I", "D1I"}, {"S2I", "S1I"}},
    {eQcBdsB2, {"C7I", nullptr}, {"L7I", nullptr}, {"D7I", nullptr}, {"S7I", nullptr}},
    {eQcBdsB3, {"C6I", nullptr}, {"L6I", nullptr}, {"D6I", nullptr}, {"S6I", nullptr}},
};

const SRinexObsValue* FindAny(const SRinexSatObs& sat, const char* const codes[2])
{
    for (int i = 0; i < 2; ++i)
    {
        if (codes[i] == nullptr)
            continue;
        if (const SRinexObsValue* v = sat.Find(codes[i]))
            return v;
    }
    return nullptr;
}

double GpsSecondsOfDate(const SRinexDateTime& t)
{
    using namespace std::chrono;
    const sys_days date = year{t.m_iYear} / month{static_cast<unsigned>(t.m_iMonth)} / day{static_cast<unsigned>(t.m_iDay)};
    const sys_days gpsEpoch = year{1980} / January / 6;
    const double days = static_cast<double>((date - gpsEpoch).count());
    return days * kSecondsPerDay + t.m_iHour * 3600.0 + t.m_iMinute * 60.0 + t.m_dSeconds;
}

uint32_t SystemOf(char letter)
{
    switch (letter)
    {
    case 'G':
        return eQcGps;
    case 'R':
        return eQcGlonass;
    case 'C':
        return eQcBeidou;
    default:
        return kQcSystemCount;
    }
}

double WrapHalfWeek(double dt)
{
    if (dt > 302400.0)
        return dt - kSecondsPerWeek;
    if (dt < -302400.0)
        return dt + kSecondsPerWeek;
    return dt;
}

bool KeplerPosition(const std::vector<double>& v, bool beidou, bool geostationary, double t, double toe, double toc,
                    double xyz[3], double& clock)
{
    const double mu = beidou ? kBdsMu : kGpsMu;
    const double rate = beidou ? kBdsEarthRate : kGpsEarthRate;
    const double sqrtA = v[10];
    const double a = sqrtA * sqrtA;
    const double tk = t - toe;
    const double n = std::sqrt(mu / (a * a * a)) + v[5];
    const double m = v[6] + n * tk;
    const double e = v[8];
    double ecc = m;
    for (int i = 0; i < 30; ++i)
    {
        const double next = m + e * std::sin(ecc);
        if (std::fabs(next - ecc) < 1e-14)
        {
            ecc = next;
            break;
        }
        ecc = next;
    }
    const double nu = std::atan2(std::sqrt(1.0 - e * e) * std::sin(ecc), std::cos(ecc) - e);
    const double phi = nu + v[17];
    const double s2 = std::sin(2.0 * phi);
    const double c2 = std::cos(2.0 * phi);
    const double u = phi + v[7] * c2 + v[9] * s2;
    const double r = a * (1.0 - e * std::cos(ecc)) + v[16] * c2 + v[4] * s2;
    const double inc = v[15] + v[19] * tk + v[12] * c2 + v[14] * s2;
    const double xp = r * std::cos(u);
    const double yp = r * std::sin(u);
    const double toeOfWeek = std::fmod(toe, kSecondsPerWeek);
    if (geostationary)
    {
        const double node = v[13] + v[18] * tk - rate * toeOfWeek;
        const double xg = xp * std::cos(node) - yp * std::cos(inc) * std::sin(node);
        const double yg = xp * std::sin(node) + yp * std::cos(inc) * std::cos(node);
        const double zg = yp * std::sin(inc);
        const double f = -5.0 * kPi / 180.0;
        const double z = rate * tk;
        const double x1 = xg;
        const double y1 = std::cos(f) * yg + std::sin(f) * zg;
        const double z1 = -std::sin(f) * yg + std::cos(f) * zg;
        xyz[0] = std::cos(z) * x1 + std::sin(z) * y1;
        xyz[1] = -std::sin(z) * x1 + std::cos(z) * y1;
        xyz[2] = z1;
    }
    else
    {
        const double node = v[13] + (v[18] - rate) * tk - rate * toeOfWeek;
        xyz[0] = xp * std::cos(node) - yp * std::cos(inc) * std::sin(node);
        xyz[1] = xp * std::sin(node) + yp * std::cos(inc) * std::cos(node);
        xyz[2] = yp * std::sin(inc);
    }
    const double tc = t - toc;
    clock = v[0] + v[1] * tc + v[2] * tc * tc + kRelativity * e * sqrtA * std::sin(ecc);
    return std::isfinite(xyz[0]);
}

void GlonassDerivative(const double s[6], const double acc[3], double d[6])
{
    const double r2 = s[0] * s[0] + s[1] * s[1] + s[2] * s[2];
    const double r = std::sqrt(r2);
    const double r3 = r2 * r;
    const double k = 1.5 * kGloJ2 * kGloMu * kGloRadius * kGloRadius / (r2 * r3);
    const double z2 = 5.0 * s[2] * s[2] / r2;
    const double w2 = kGloEarthRate * kGloEarthRate;
    d[0] = s[3];
    d[1] = s[4];
    d[2] = s[5];
    d[3] = -kGloMu * s[0] / r3 - k * s[0] * (1.0 - z2) + w2 * s[0] + 2.0 * kGloEarthRate * s[4] + acc[0];
    d[4] = -kGloMu * s[1] / r3 - k * s[1] * (1.0 - z2) + w2 * s[1] - 2.0 * kGloEarthRate * s[3] + acc[1];
    d[5] = -kGloMu * s[2] / r3 - k * s[2] * (3.0 - z2) + acc[2];
}

void GlonassPosition(const std::vector<double>& v, double dt, double xyz[3])
{
    double s[6] = {v[3] * 1e3, v[7] * 1e3, v[11] * 1e3, v[4] * 1e3, v[8] * 1e3, v[12] * 1e3};
    const double acc[3] = {v[5] * 1e3, v[9] * 1e3, v[13] * 1e3};
    double left = dt;
    while (std::fabs(left) > 1e-9)
    {
        const double h = std::fabs(left) > kGloStep ? (left > 0 ? kGloStep : -kGloStep) : left;
        double k1[6], k2[6], k3[6], k4[6], tmp[6];
        GlonassDerivative(s, acc, k1);
        for (int i = 0; i < 6; ++i)
            tmp[i] = s[i] + 0.5 * h * k1[i];
        GlonassDerivative(tmp, acc, k2);
        for (int i = 0; i < 6; ++i)
            tmp[i] = s[i] + 0.5 * h * k2[i];
        GlonassDerivative(tmp, acc, k3);
        for (int i = 0; i < 6; ++i)
            tmp[i] = s[i] + h * k3[i];
        GlonassDerivative(tmp, acc, k4);
        for (int i = 0; i < 6; ++i)
            s[i] += h / 6.0 * (k1[i] + 2.0 * k2[i] + 2.0 * k3[i] + k4[i]);
        left -= h;
    }
    xyz[0] = s[0];
    xyz[1] = s[1];
    xyz[2] = s[2];
}
} // namespace

bool LoadFeedData(const std::string& path, SQcFeedData& data, std::string& error)
{
    const std::optional<std::string> text = LoadText(path);
    if (!text)
    {
        error = "can't read " + path;
        return false;
    }
    std::istringstream in(*text);
    CRinexObsReader reader(in);
    if (!reader.ReadHeader())
    {
        error = reader.Error();
        return false;
    }
    data.m_Header = reader.Header();
    data.m_aEpochs.clear();
    SRinexObsEpoch epoch;
    while (reader.NextEpoch(epoch))
    {
        SQcFeedEpoch feed;
        feed.m_time = QcGpsTime(GpsSecondsOfDate(epoch.m_Time));
        for (const SRinexSatObs& sat : epoch.m_aSatellites)
        {
            const uint32_t system = SystemOf(sat.m_cSystem);
            if (system >= kQcSystemCount)
                continue;
            for (const SCodes& codes : kCodes)
            {
                const SQcSignalInfo& info = kQcSignals[codes.m_uSignal];
                if (info.m_uSystem != system)
                    continue;
                const SRinexObsValue* code = FindAny(sat, codes.m_aszCode);
                if (code == nullptr)
                    continue;
                SQcObservation obs;
                obs.m_uSystem = system;
                obs.m_uNumber = static_cast<uint32_t>(sat.m_iPrn);
                obs.m_uSignal = codes.m_uSignal;
                obs.m_bHaveCode = true;
                obs.m_dCode = code->m_dValue;
                double frequency = info.m_dFrequency;
                if (system == eQcGlonass)
                {
                    const auto channel = data.m_Header.m_GlonassChannels.find(sat.m_iPrn);
                    const double k = channel != data.m_Header.m_GlonassChannels.end() ? channel->second : 0.0;
                    frequency = codes.m_uSignal == eQcGloL1 ? kGloL1Base + k * kGloL1Step : kGloL2Base + k * kGloL2Step;
                }
                obs.m_dWavelength = kQcSpeedOfLight / frequency;
                if (const SRinexObsValue* phase = FindAny(sat, codes.m_aszPhase))
                {
                    obs.m_bHavePhase = true;
                    obs.m_dPhase = phase->m_dValue;
                    obs.m_bLossOfLock = (phase->m_iLli & 1) != 0;
                }
                if (const SRinexObsValue* doppler = FindAny(sat, codes.m_aszDoppler))
                {
                    obs.m_bHaveDoppler = true;
                    obs.m_dDoppler = doppler->m_dValue;
                }
                if (const SRinexObsValue* strength = FindAny(sat, codes.m_aszStrength))
                {
                    obs.m_bHaveStrength = true;
                    obs.m_dStrength = strength->m_dValue;
                }
                feed.m_aObs.push_back(obs);
            }
        }
        data.m_aEpochs.push_back(std::move(feed));
    }
    if (!reader.Error().empty())
    {
        error = reader.Error();
        return false;
    }
    return true;
}

bool CRinexGeometry::Load(const std::string& path, std::string& error)
{
    const std::optional<std::string> text = LoadText(path);
    if (!text)
    {
        error = "can't read " + path;
        return false;
    }
    std::istringstream in(*text);
    CRinexNavReader reader(in);
    if (!reader.ReadHeader())
    {
        error = reader.Error();
        return false;
    }
    if (reader.Header().m_Leap.m_bPresent)
        m_dLeapSeconds = reader.Header().m_Leap.m_iDeltaLs;
    m_aRecords.clear();
    SRinexNavRecord record;
    while (reader.NextRecord(record))
    {
        SRecord r;
        r.m_uSystem = SystemOf(record.m_cSystem);
        if (r.m_uSystem >= kQcSystemCount)
            continue;
        r.m_uNumber = static_cast<uint32_t>(record.m_iPrn);
        r.m_adValues = record.m_adValues;
        const double clockTime = GpsSecondsOfDate(record.m_Time);
        if (r.m_uSystem == eQcGlonass)
        {
            if (r.m_adValues.size() < 15)
                continue;
            r.m_dToc = r.m_dToe = clockTime + m_dLeapSeconds; // UTC to GPS time
        }
        else
        {
            if (r.m_adValues.size() < 22)
                continue;
            const double shift = r.m_uSystem == eQcBeidou ? kBeidouBehindGps : 0.0;
            const double weekOffset = r.m_uSystem == eQcBeidou ? kBeidouWeekOffset : 0.0;
            r.m_dToc = clockTime + shift;
            // The toe's week from the week field, moved to the half week around the clock time.
            double toe = (r.m_adValues[21] + weekOffset) * kSecondsPerWeek + r.m_adValues[11] + shift;
            toe = r.m_dToc + WrapHalfWeek(toe - r.m_dToc);
            r.m_dToe = toe;
        }
        m_aRecords.push_back(std::move(r));
    }
    if (!reader.Error().empty())
    {
        error = reader.Error();
        return false;
    }
    return true;
}

const CRinexGeometry::SRecord* CRinexGeometry::Nearest(uint32_t system, uint32_t number, double seconds) const
{
    const SRecord* best = nullptr;
    double bestAge = 0.0;
    for (const SRecord& r : m_aRecords)
    {
        if (r.m_uSystem != system || r.m_uNumber != number)
            continue;
        const double age = std::fabs(seconds - r.m_dToe);
        if (age <= kMaxAge[system] && (best == nullptr || age < bestAge))
        {
            best = &r;
            bestAge = age;
        }
    }
    return best;
}

bool CRinexGeometry::SatelliteAt(uint32_t system, uint32_t number, const GpsTime& transmitTime, double xyz[3],
                                 double& clockBias)
{
    const double t = QcSeconds(transmitTime);
    const SRecord* r = Nearest(system, number, t);
    if (r == nullptr)
        return false;
    if (system == eQcGlonass)
    {
        const double dt = t - r->m_dToe;
        GlonassPosition(r->m_adValues, dt, xyz);
        clockBias = r->m_adValues[0] + r->m_adValues[1] * dt;
        return true;
    }
    const bool beidou = system == eQcBeidou;
    const bool geostationary = beidou && (number <= 5 || number >= 59);
    return KeplerPosition(r->m_adValues, beidou, geostationary, t, r->m_dToe, r->m_dToc, xyz, clockBias);
}

std::vector<SQcEphemerisArrival> CRinexGeometry::Arrivals() const
{
    // A receiver has a GPS ephemeris about two hours before its reference
    // time, a GLONASS one a quarter of an hour before, a BeiDou one at it.
    static const double kLead[kQcSystemCount] = {7200.0, 900.0, 0.0, 0.0};
    std::vector<SQcEphemerisArrival> arrivals;
    for (const SRecord& r : m_aRecords)
    {
        SQcEphemerisArrival a;
        a.m_uSystem = r.m_uSystem;
        a.m_uNumber = r.m_uNumber;
        a.m_timeArrival = QcGpsTime(r.m_dToe - kLead[r.m_uSystem]);
        a.m_timeToe = QcGpsTime(r.m_dToe);
        a.m_uIssue = r.m_uSystem == eQcGlonass ? static_cast<uint32_t>(std::fmod(r.m_dToe, kSecondsPerDay) / 60.0)
                                               : static_cast<uint32_t>(r.m_adValues[3]);
        arrivals.push_back(a);
    }
    std::stable_sort(arrivals.begin(), arrivals.end(), [](const SQcEphemerisArrival& a, const SQcEphemerisArrival& b) {
        return QcSeconds(a.m_timeArrival) < QcSeconds(b.m_timeArrival);
    });
    return arrivals;
}

void FeedAnalysis(CQcAnalysis& analysis, const SQcFeedData& data, const std::vector<SQcEphemerisArrival>& arrivals)
{
    size_t next = 0;
    for (const SQcFeedEpoch& epoch : data.m_aEpochs)
    {
        const double t = QcSeconds(epoch.m_time);
        while (next < arrivals.size() && QcSeconds(arrivals[next].m_timeArrival) <= t)
            analysis.NoteEphemeris(arrivals[next++]);
        analysis.BeginEpoch(epoch.m_time);
        for (const SQcObservation& obs : epoch.m_aObs)
            analysis.AddObservation(obs);
        analysis.EndEpoch();
    }
}
