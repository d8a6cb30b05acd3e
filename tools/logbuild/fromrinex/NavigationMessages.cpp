#include "logbuild/fromrinex/NavigationMessages.h"

#include <cmath>
#include <stdexcept>

#include "logbuild/GlonassEncoder.h"
#include "logbuild/GpsEphemerisEncoder.h"
#include "logbuild/IonoUtcEncoder.h"
#include "logbuild/fromrinex/WeekTime.h"

namespace fromrinex
{
namespace
{
constexpr double kMoscowAheadOfUtc = 10800.0;
constexpr int kLastGpsPrn = 32;
constexpr int kLastGlonassSlot = 24;
constexpr int kLastBeidouPrn = 63;
// The BeiDou geostationary satellites, C01 to C05 and C59 to C63, send the
// D2 message; all others D1.
constexpr int kLastLowD2Prn = 5;
constexpr int kFirstHighD2Prn = 59;

// URA index to metres (GPS and BeiDou); the index of a RINEX accuracy is the
// first whose metres are not below it.
constexpr double kUraMetres[16] = {2.0,   2.8,   4.0,   5.7,    8.0,    11.3,   16.0,   32.0,
                                   64.0, 128.0, 256.0, 512.0, 1024.0, 2048.0, 4096.0, 9999.0};

uint32_t UraIndex(double metres)
{
    for (uint32_t i = 0; i < 16; ++i)
    {
        if (metres <= kUraMetres[i] + 1e-9)
            return i;
    }
    return 15;
}

// Orbit field n (from 1) of line l (from 1) of a record.
constexpr size_t Orbit(size_t line, size_t field)
{
    return 3 + 4 * (line - 1) + (field - 1);
}

// The clock and orbit fields that GPS and BeiDou records share, from their
// places in the record into the members of the same names; the week is the
// record's, or that of toc (`toc`, in the system's weeks) where it has none.
template <typename TValues>
void TakeKeplerFields(const SRinexNavRecord& r, const SWeekTime& toc, TValues& v)
{
    v.m_uWeek = static_cast<uint32_t>(r.Get(Orbit(5, 3), toc.m_uWeek));
    v.m_dToc = toc.m_dSeconds;
    v.m_dAf0 = r.Get(0);
    v.m_dAf1 = r.Get(1);
    v.m_dAf2 = r.Get(2);
    v.m_dCrs = r.Get(Orbit(1, 2));
    v.m_dDeltaN = r.Get(Orbit(1, 3));
    v.m_dM0 = r.Get(Orbit(1, 4));
    v.m_dCuc = r.Get(Orbit(2, 1));
    v.m_dEcc = r.Get(Orbit(2, 2));
    v.m_dCus = r.Get(Orbit(2, 3));
    v.m_dSqrtA = r.Get(Orbit(2, 4));
    v.m_dToe = r.Get(Orbit(3, 1));
    v.m_dCic = r.Get(Orbit(3, 2));
    v.m_dOmega0 = r.Get(Orbit(3, 3));
    v.m_dCis = r.Get(Orbit(3, 4));
    v.m_dI0 = r.Get(Orbit(4, 1));
    v.m_dCrc = r.Get(Orbit(4, 2));
    v.m_dOmega = r.Get(Orbit(4, 3));
    v.m_dOmegaDot = r.Get(Orbit(4, 4));
    v.m_dIdot = r.Get(Orbit(5, 1));
}

SNavEvent GpsEvent(const SRinexNavRecord& r)
{
    SGpsEphemerisValues v;
    v.m_uSatellite = static_cast<uint16_t>(r.m_iPrn);
    const SWeekTime toc = GpsWeekTime(r.m_Time);
    TakeKeplerFields(r, toc, v);
    v.m_uIode = static_cast<uint16_t>(r.Get(Orbit(1, 1)));
    v.m_uL2PFlag = r.Get(Orbit(5, 4)) != 0.0 ? 1 : 0;
    v.m_uUra = static_cast<uint16_t>(UraIndex(r.Get(Orbit(6, 1))));
    v.m_uHealth = static_cast<uint16_t>(r.Get(Orbit(6, 2)));
    v.m_dTgd = r.Get(Orbit(6, 3));
    v.m_uIodc = static_cast<uint16_t>(r.Get(Orbit(6, 4)));
    // A fit interval above the normal 4 hours (0: not known) sets the flag.
    v.m_uFitFlag = r.Get(Orbit(7, 2)) > 4.0 ? 1 : 0;

    // The transmission time counts in the week of toe, and may lie outside it.
    const double tx = r.Get(Orbit(7, 1), NAN);
    SNavEvent e;
    e.m_dTxTime = std::isfinite(tx) && std::fabs(tx) < kSecondsPerWeek * 2
                      ? v.m_uWeek * kSecondsPerWeek + tx
                      : toc.Total() - 7200.0; // not given: the upload two hours before
    v.m_uTxTime = static_cast<uint32_t>(SecondsOfWeek(e.m_dTxTime));
    e.m_aFrame = MakeBin95Frame(v);
    return e;
}

SNavEvent GlonassEvent(const SRinexNavRecord& r, const SRinexNavHeader& header, int leapSeconds)
{
    SGlonassEphemerisValues v;
    v.m_uSlot = static_cast<uint32_t>(r.m_iPrn);
    const SRinexDateTime& t = r.m_Time;
    SetGlonassReferenceFromUtc(v, t.m_iYear, static_cast<unsigned>(t.m_iMonth), static_cast<unsigned>(t.m_iDay),
                               static_cast<unsigned>(t.m_iHour), static_cast<unsigned>(t.m_iMinute),
                               static_cast<unsigned>(t.m_dSeconds));
    v.m_uNa = v.m_uNt;
    v.m_dTauN = -r.Get(0); // RINEX gives -tau n as the clock bias
    v.m_dGamma = r.Get(1);
    v.m_dX = r.Get(Orbit(1, 1));
    v.m_dVx = r.Get(Orbit(1, 2));
    v.m_dAx = r.Get(Orbit(1, 3));
    v.m_uBn = static_cast<uint32_t>(r.Get(Orbit(1, 4)));
    v.m_dY = r.Get(Orbit(2, 1));
    v.m_dVy = r.Get(Orbit(2, 2));
    v.m_dAy = r.Get(Orbit(2, 3));
    v.m_iChannel = static_cast<int32_t>(r.Get(Orbit(2, 4)));
    v.m_dZ = r.Get(Orbit(3, 1));
    v.m_dVz = r.Get(Orbit(3, 2));
    v.m_dAz = r.Get(Orbit(3, 3));
    v.m_uEn = static_cast<uint32_t>(r.Get(Orbit(3, 4)));
    // The fourth line (RINEX 3.05): 0.999999999999e+09 marks an unknown value.
    const double delay = r.Get(Orbit(4, 2), NAN);
    if (std::isfinite(delay) && std::fabs(delay) < 1.0)
        v.m_dDeltaTau = delay;
    const double urai = r.Get(Orbit(4, 3), NAN);
    if (std::isfinite(urai) && urai >= 0.0 && urai <= 15.0)
        v.m_uFt = static_cast<uint32_t>(urai);
    // The converter writes GLUT as minus tau c.
    if (const auto glut = header.m_TimeCorrections.find("GLUT"); glut != header.m_TimeCorrections.end())
        v.m_dTauC = -glut->second.m_dA0;
    if (const auto glgp = header.m_TimeCorrections.find("GLGP"); glgp != header.m_TimeCorrections.end())
        v.m_dTauGps = glgp->second.m_dA0;

    // The message frame time tk: seconds of the UTC week; the frame starts
    // at tk Moscow time.
    const double tocUtc = GpsWeekTime(t).Total();
    double txUtc = std::floor(tocUtc / kSecondsPerWeek) * kSecondsPerWeek + r.Get(2);
    if (txUtc - tocUtc > kSecondsPerWeek / 2)
        txUtc -= kSecondsPerWeek;
    else if (txUtc - tocUtc < -kSecondsPerWeek / 2)
        txUtc += kSecondsPerWeek;
    const double moscow = std::fmod(std::fmod(txUtc, kSecondsPerDay) + kMoscowAheadOfUtc, kSecondsPerDay);
    v.m_uTkHours = static_cast<uint32_t>(moscow / 3600.0);
    v.m_uTkMinutes = static_cast<uint32_t>((moscow - v.m_uTkHours * 3600.0) / 60.0);
    v.m_uTkHalf = moscow - v.m_uTkHours * 3600.0 - v.m_uTkMinutes * 60.0 >= 30.0 ? 1 : 0;

    SNavEvent e;
    e.m_dTxTime = txUtc + leapSeconds;
    v.m_uTxTime = static_cast<uint32_t>(SecondsOfWeek(e.m_dTxTime));
    e.m_aFrame = MakeBin65Frame(v);
    return e;
}

SNavEvent BeidouEvent(const SRinexNavRecord& r, const SRinexNavHeader& header)
{
    SBeidouEphemerisValues v;
    v.m_uSatellite = static_cast<uint32_t>(r.m_iPrn);
    const SWeekTime toc = BdtWeekTime(r.m_Time);
    TakeKeplerFields(r, toc, v);
    v.m_uAode = static_cast<uint32_t>(r.Get(Orbit(1, 1)));
    v.m_uUrai = UraIndex(r.Get(Orbit(6, 1)));
    v.m_uSatH1 = r.Get(Orbit(6, 2)) != 0.0 ? 1 : 0;
    v.m_dTgd1 = r.Get(Orbit(6, 3));
    v.m_dTgd2 = r.Get(Orbit(6, 4));
    v.m_uAodc = static_cast<uint32_t>(r.Get(Orbit(7, 2)));
    for (size_t i = 0; i < 4; ++i)
    {
        if (const auto a = header.m_Ionosphere.find("BDSA"); a != header.m_Ionosphere.end())
            v.m_adAlpha[i] = a->second[i];
        if (const auto b = header.m_Ionosphere.find("BDSB"); b != header.m_Ionosphere.end())
            v.m_adBeta[i] = b->second[i];
    }

    const double tx = r.Get(Orbit(7, 1), NAN);
    const double txBdt = std::isfinite(tx) && std::fabs(tx) < kSecondsPerWeek * 2
                             ? v.m_uWeek * kSecondsPerWeek + tx
                             : toc.Total() - 3600.0; // not given: an hour before toc
    v.m_uSow = static_cast<uint32_t>(SecondsOfWeek(std::floor(txBdt)));

    SNavEvent e;
    e.m_dTxTime = txBdt + kBeidouWeekOffset * kSecondsPerWeek + kBeidouBehindGps;
    e.m_Beidou = QuantizeBeidouEphemeris(v);
    return e;
}

} // namespace

std::vector<SNavEvent> ReadEphemerides(CRinexNavReader& reader, int leapSeconds, StatsBySystem& stats)
{
    std::vector<SNavEvent> events;
    for (SRinexNavRecord record; reader.NextRecord(record);)
    {
        const char system = record.m_cSystem;
        if (system != 'G' && system != 'R' && system != 'C')
            continue;
        ++stats[system].m_uNavIn;
        const int last = system == 'G' ? kLastGpsPrn : system == 'R' ? kLastGlonassSlot : kLastBeidouPrn;
        try
        {
            if (record.m_iPrn < 1 || record.m_iPrn > last)
                throw std::out_of_range("satellite number");
            SNavEvent e = system == 'G'   ? GpsEvent(record)
                          : system == 'R' ? GlonassEvent(record, reader.Header(), leapSeconds)
                                          : BeidouEvent(record, reader.Header());
            e.m_cSystem = system;
            e.m_iPrn = record.m_iPrn;
            events.push_back(std::move(e));
        }
        catch (const std::exception&)
        {
            ++stats[system].m_uNavUnfit; // a field beyond its message's range
        }
    }
    return events;
}

std::vector<Bytes> MakeBeidouEphemerisFrames(const SNavEvent& e, uint16_t channel, bool raw)
{
    if (!raw)
        return {MakeBin35DecodedFrame(e.m_Beidou, channel)};
    if (e.m_iPrn <= kLastLowD2Prn || e.m_iPrn >= kFirstHighD2Prn)
        return MakeBin35D2Frames(e.m_Beidou, channel);
    return {MakeBin35D1Frame(e.m_Beidou, channel)};
}

std::optional<Bytes> MakeBin94(const SRinexNavHeader& header)
{
    const auto alpha = header.m_Ionosphere.find("GPSA");
    const auto beta = header.m_Ionosphere.find("GPSB");
    const auto utc = header.m_TimeCorrections.find("GPUT");
    if (alpha == header.m_Ionosphere.end() && beta == header.m_Ionosphere.end() &&
        utc == header.m_TimeCorrections.end() && !header.m_Leap.m_bPresent)
        return std::nullopt;
    SBin94Values v;
    if (alpha != header.m_Ionosphere.end())
        v.m_adAlpha = alpha->second;
    if (beta != header.m_Ionosphere.end())
        v.m_adBeta = beta->second;
    if (utc != header.m_TimeCorrections.end())
        v.m_Utc = utc->second;
    v.m_Leap = header.m_Leap;
    if (!v.m_Leap.m_bPresent)
        v.m_Leap.m_iDeltaLs = v.m_Leap.m_iDeltaLsf = kDefaultLeapSeconds; // no change announced
    return MakeBin94Frame(v);
}

std::optional<Bytes> MakeBin34(const SRinexNavHeader& header)
{
    const auto bdut = header.m_TimeCorrections.find("BDUT");
    if (bdut == header.m_TimeCorrections.end())
        return std::nullopt;
    return MakeBin34Frame(bdut->second);
}
} // namespace fromrinex
