#include "logbuild/fromrinex/SiteRecords.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "logbuild/fromrinex/WeekTime.h"

namespace fromrinex
{
namespace
{
// A sentence field: no commas, no checksum star, never empty (an empty field
// would shift the ones behind it for a reader that splits at commas).
std::string SentenceField(std::string text)
{
    for (char& c : text)
    {
        if (c == ',' || c == '*' || c == '\r' || c == '\n')
            c = ' ';
    }
    return text.empty() ? "-" : text;
}

std::string WithChecksum(const std::string& body)
{
    unsigned sum = 0;
    for (size_t i = 1; i < body.size(); ++i)
        sum ^= static_cast<unsigned char>(body[i]);
    char tail[8];
    std::snprintf(tail, sizeof tail, "*%02X\r\n", sum);
    return body + tail;
}

std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char* format, ...)
{
    char text[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return text;
}
} // namespace

std::vector<std::string> SiteSentences(const SRinexObsHeader& h)
{
    // The receiver's own records carry no checksum: a reader would take it
    // for part of the last field.
    return {Format("$>JSITERECORD,%s,%.4f,%.4f,%.4f,%s,Stationary\r\n", SentenceField(h.m_szMarkerName).c_str(),
                   h.m_adAntennaDelta[0], h.m_adAntennaDelta[1], h.m_adAntennaDelta[2],
                   SentenceField(h.m_szAntennaType).c_str()),
            Format("$>JI,%s,-,-,-,-,-,%s\r\n", SentenceField(h.m_szReceiverNumber).c_str(),
                   SentenceField(h.m_szReceiverVersion).c_str()),
            "$>JT," + SentenceField(h.m_szReceiverType) + "\r\n"};
}

Bytes MakeMarkerFrame(const SRinexObsHeader& h)
{
    return MakeMarkerSiteFrame(1, h.m_szMarkerName, h.m_szMarkerNumber);
}

std::array<double, 3> EcefToLlh(const std::array<double, 3>& xyz)
{
    constexpr double a = 6378137.0;
    constexpr double f = 1.0 / 298.257223563;
    constexpr double e2 = f * (2.0 - f);
    const double p = std::hypot(xyz[0], xyz[1]);
    double lat = std::atan2(xyz[2], p * (1.0 - e2));
    double h = 0.0;
    for (int i = 0; i < 10; ++i)
    {
        const double n = a / std::sqrt(1.0 - e2 * std::sin(lat) * std::sin(lat));
        h = p / std::cos(lat) - n;
        lat = std::atan2(xyz[2], p * (1.0 - e2 * n / (n + h)));
    }
    constexpr double kDegrees = 180.0 / 3.14159265358979323846;
    return {lat * kDegrees, std::atan2(xyz[1], xyz[0]) * kDegrees, h};
}

std::string GgaSentence(double utcTotal, const std::array<double, 3>& llh, int satellites)
{
    const double sod = std::fmod(SecondsOfWeek(utcTotal), kSecondsPerDay);
    const int hour = static_cast<int>(sod / 3600.0);
    const int minute = static_cast<int>((sod - hour * 3600.0) / 60.0);
    const double second = sod - hour * 3600.0 - minute * 60.0;
    const double lat = std::fabs(llh[0]);
    const double lon = std::fabs(llh[1]);
    const int latDeg = static_cast<int>(lat);
    const int lonDeg = static_cast<int>(lon);
    return WithChecksum(Format("$GPGGA,%02d%02d%05.2f,%02d%010.7f,%c,%03d%010.7f,%c,1,%02d,1.0,%.3f,M,0.000,M,,",
                               hour, minute, second, latDeg, (lat - latDeg) * 60.0, llh[0] < 0.0 ? 'S' : 'N',
                               lonDeg, (lon - lonDeg) * 60.0, llh[1] < 0.0 ? 'W' : 'E',
                               std::min(satellites, 99), llh[2]));
}
} // namespace fromrinex
