// rinex2log: builds a receiver log from a RINEX 3 observation file and the
// broadcast navigation file that goes with it, as the receiver would have
// written it. At the start: the site records (optional), the ionosphere and
// UTC data (BIN94, and BIN34 when the file has a BDUT line or -u gives
// one), then the
// ephemerides the receiver holds. Per epoch: the ephemerides whose
// transmission time has come (BIN95, BIN65, BIN35), the GPS observation
// message (BIN76 or BIN96, which opens the epoch), BIN66, one BIN36 per
// BeiDou band as a numbered set of packets, and a position sentence
// (optional).
//
// Input names ending in ".gz" are read through "gzip -dc"; anything else is
// read as plain text.
//
// Signals: GPS L1 C/A C1C L1C D1C S1C, L2 C2W L2W D2W S2W, L1 P C1W S1W;
// GLONASS L1 C1C..., L2 C2C... or, without C2C, C2P...; BeiDou B1 C2I (C1I)...,
// B2 C7I..., B3 C6I.... The messages carry the Doppler with the opposite sign
// of RINEX's, and signal to noise in a 1 kHz band (C/N0 less 30 dB); the
// encoders quantise the rest.
//
// What the messages can't carry is left out, and the run's summary says how
// much: a GPS or GLONASS satellite without an L1 C/A code range, satellites
// beyond the channels of a message (GPS 15 in BIN76, of which the last three
// carry L1 C/A alone, and 12 in BIN96; 12 GLONASS, 20 BeiDou; a satellite
// keeps its channel while it stays in view, a new one takes the lowest free
// channel or waits for one), ephemerides whose fields don't fit their
// messages. A signal without carrier phase goes out with its lock flag clear,
// which is how a receiver reports a code-only measurement.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdarg>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "logbuild/BeidouEncoder.h"
#include "logbuild/Bin36Encoder.h"
#include "logbuild/Bin66Encoder.h"
#include "logbuild/Bin76Encoder.h"
#include "logbuild/Bin96Encoder.h"
#include "logbuild/Files.h"
#include "logbuild/FrameWriter.h"
#include "logbuild/GlonassEncoder.h"
#include "logbuild/GpsEphemerisEncoder.h"
#include "logbuild/IonoUtcEncoder.h"
#include "logbuild/RinexNavReader.h"
#include "logbuild/RinexObsReader.h"
#include "logbuild/fromrinex/LogBuilder.h"
#include "logbuild/fromrinex/Options.h"
#include "logbuild/fromrinex/SiteRecords.h"
#include "logbuild/fromrinex/Summary.h"
#include "logbuild/fromrinex/WeekTime.h"

using namespace fromrinex;

namespace
{
constexpr double kMoscowAheadOfUtc = 10800.0;

// The messages carry signal to noise in a 1 kHz band; RINEX gives the
// carrier to noise density in dB-Hz.
constexpr double kCn0ToSnrDb = 30.0;

constexpr size_t kGlonassChannels = kBin66Channels;
constexpr size_t kBeidouChannels = kBin36Channels;
constexpr int kLastGlonassSlot = 24;
constexpr int kLastGpsPrn = 32;
constexpr int kLastBeidouPrn = 63;
// The BeiDou geostationary satellites, C01 to C05 and C59 to C63, send the
// D2 message; all others D1.
constexpr int kLastLowD2Prn = 5;
constexpr int kFirstHighD2Prn = 59;

// URA index to metres (GPS and BeiDou); the index of a RINEX accuracy is the
// first whose metres are not below it.
constexpr double kUraMetres[16] = {2.0,   2.8,   4.0,   5.7,    8.0,    11.3,   16.0,   32.0,
                                   64.0, 128.0, 256.0, 512.0, 1024.0, 2048.0, 4096.0, 9999.0};

// Observation codes of each message signal, in order of preference.
struct SSignalCodes
{
    const char* m_szCode;
    const char* m_szPhase;
    const char* m_szDoppler;
    const char* m_szSnr;
};
constexpr SSignalCodes kGpsL1{"C1C", "L1C", "D1C", "S1C"};
constexpr SSignalCodes kGpsL2{"C2W", "L2W", "D2W", "S2W"};
constexpr SSignalCodes kGpsL1P{"C1W", "L1W", "D1W", "S1W"}; // code and strength only
constexpr SSignalCodes kGlonassL1{"C1C", "L1C", "D1C", "S1C"};
constexpr SSignalCodes kGlonassL2[] = {{"C2C", "L2C", "D2C", "S2C"}, {"C2P", "L2P", "D2P", "S2P"}};
// BIN36 bands, each with the codes it takes: 0 B1 (named "2" from RINEX
// 3.03 on, "1" before), 1 B2, 2 B3.
struct SBeidouBandCodes
{
    uint32_t m_uBand;
    SSignalCodes m_Codes;
};
constexpr SBeidouBandCodes kBeidouBandCodes[] = {{0, {"C2I", "L2I", "D2I", "S2I"}},
                                                 {0, {"C1I", "L1I", "D1I", "S1I"}},
                                                 {1, {"C7I", "L7I", "D7I", "S7I"}},
                                                 {2, {"C6I", "L6I", "D6I", "S6I"}}};

// --- Channels ------------------------------------------------------------------

// A receiver's channels of one system: a satellite keeps its channel while it
// stays in view; a new one takes the lowest free channel, or waits.
class CChannelPlan
{
public:
    explicit CChannelPlan(size_t count) : m_aPrn(count, 0) {}

    // Gives channels to `wanted`, ascending satellite numbers; returns how
    // many of them found none.
    size_t Assign(const std::vector<int>& wanted)
    {
        for (int& prn : m_aPrn)
        {
            if (prn != 0 && std::find(wanted.begin(), wanted.end(), prn) == wanted.end())
                prn = 0;
        }
        size_t left = 0;
        for (int prn : wanted)
        {
            if (Channel(prn) >= 0)
                continue;
            const auto free = std::find(m_aPrn.begin(), m_aPrn.end(), 0);
            if (free == m_aPrn.end())
                ++left;
            else
                *free = prn;
        }
        return left;
    }

    int Channel(int prn) const
    {
        const auto it = std::find(m_aPrn.begin(), m_aPrn.end(), prn);
        return it == m_aPrn.end() ? -1 : static_cast<int>(it - m_aPrn.begin());
    }
    int PrnOn(size_t channel) const { return m_aPrn[channel]; }
    size_t Size() const { return m_aPrn.size(); }

private:
    std::vector<int> m_aPrn; // 0: free
};

// --- Observations ----------------------------------------------------------------

double SnrDb(const SRinexSatObs& sat, const char* code)
{
    const SRinexObsValue* s = sat.Find(code);
    if (s == nullptr)
        return 0.0; // no value
    const double db = s->m_dValue - kCn0ToSnrDb;
    return db == 0.0 ? 1e-6 : db; // an exact 0.0 would read as "no value"
}

// The receiver's slip counters, one per satellite and carrier: a counter
// steps when the file marks a loss of lock on that carrier phase.
class CSlipCounters
{
public:
    uint8_t Update(const SRinexSatObs& sat, const char* phaseCode)
    {
        std::string key(1, sat.m_cSystem);
        key += std::to_string(sat.m_iPrn);
        key += phaseCode;
        uint8_t& counter = m_Counters[key];
        const SRinexObsValue* phase = sat.Find(phaseCode);
        if (phase != nullptr && (phase->m_iLli & 1) != 0)
            ++counter;
        return counter;
    }

private:
    std::map<std::string, uint8_t> m_Counters;
};

SBin76Signal MakeSignal(const SRinexSatObs& sat, const SSignalCodes& codes, CSlipCounters& slips)
{
    SBin76Signal signal;
    const SRinexObsValue* code = sat.Find(codes.m_szCode);
    if (code == nullptr)
        return signal;
    const SRinexObsValue* phase = sat.Find(codes.m_szPhase);
    const SRinexObsValue* doppler = sat.Find(codes.m_szDoppler);
    signal.m_bPresent = true;
    signal.m_dPseudorange = code->m_dValue;
    signal.m_dPhase = phase != nullptr ? phase->m_dValue : 0.0;
    signal.m_bGoodLock = phase != nullptr;
    // The messages carry the Doppler with the receiver's sign, the opposite of RINEX's.
    signal.m_dDoppler = doppler != nullptr ? -doppler->m_dValue : 0.0;
    signal.m_dSnr = SnrDb(sat, codes.m_szSnr);
    signal.m_uSlipCounter = slips.Update(sat, codes.m_szPhase);
    return signal;
}

// --- Ephemerides ---------------------------------------------------------------

uint32_t UraIndex(double metres)
{
    for (uint32_t i = 0; i < 16; ++i)
    {
        if (metres <= kUraMetres[i] + 1e-9)
            return i;
    }
    return 15;
}

// One ephemeris waiting for its transmission time; ephemerides of the same
// time go out in the order of the navigation file.
struct SNavEvent
{
    double m_dTxTime = 0.0; // GPS time, seconds since the GPS epoch
    char m_cSystem = ' ';
    int m_iPrn = 0;
    Bytes m_aFrame;                  // GPS and GLONASS: the frame
    SBeidouEphemerisFields m_Beidou; // BeiDou: framed when sent, on the channel of that moment
};

// Orbit field n (from 1) of line l (from 1) of a record.
constexpr size_t Orbit(size_t line, size_t field)
{
    return 3 + 4 * (line - 1) + (field - 1);
}

// The clock and orbit fields that GPS and BeiDou records share, from their
// places in the record into the members of the same names.
template <typename TValues>
void TakeKeplerFields(const SRinexNavRecord& r, TValues& v)
{
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
    v.m_uWeek = static_cast<uint32_t>(r.Get(Orbit(5, 3), toc.m_uWeek));
    v.m_dToc = toc.m_dSeconds;
    TakeKeplerFields(r, v);
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
    v.m_uWeek = static_cast<uint32_t>(r.Get(Orbit(5, 3), toc.m_uWeek));
    v.m_dToc = toc.m_dSeconds;
    TakeKeplerFields(r, v);
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

// --- Time and ionosphere messages ------------------------------------------------

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

// The ephemerides of the navigation file in the order of their transmission
// times. Of those sent before the first epoch, the receiver has only the
// latest of each satellite to give.
std::vector<SNavEvent> CollectEphemerides(CRinexNavReader& reader, int leapSeconds, double firstEpoch,
                                          StatsBySystem& stats)
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
    std::stable_sort(events.begin(), events.end(),
                     [](const SNavEvent& a, const SNavEvent& b) { return a.m_dTxTime < b.m_dTxTime; });

    std::set<std::pair<char, int>> seen;
    std::vector<SNavEvent> kept;
    for (size_t i = events.size(); i-- > 0;)
    {
        if (events[i].m_dTxTime > firstEpoch || seen.insert({events[i].m_cSystem, events[i].m_iPrn}).second)
            kept.push_back(std::move(events[i]));
    }
    std::reverse(kept.begin(), kept.end());
    return kept;
}

// What a receiver writes before its first epoch: its site records, the
// ionosphere and UTC data, the BeiDou UTC data.
void SendPreamble(CLogBuilder& log, const SOptions& options, const SRinexObsHeader& h,
                  const SRinexNavHeader& navHeader)
{
    if (options.m_bSentences)
    {
        for (const std::string& sentence : SiteSentences(h))
            log.Sentence(sentence);
    }
    if (options.m_bSiteFrame)
        log.Frame(MakeMarkerFrame(h));
    if (const std::optional<Bytes> bin94 = MakeBin94(navHeader))
        log.Frame(*bin94);
    if (const std::optional<Bytes> bin34 = MakeBin34(navHeader))
        log.Frame(*bin34);
}

// Sends the epochs one by one, each with the ephemerides whose time has come
// in front of it.
class CEpochSender
{
public:
    CEpochSender(const SOptions& options, const SRinexObsHeader& header, std::vector<SNavEvent> events,
                 int leapSeconds, CLogBuilder& log, StatsBySystem& stats)
        : m_Options(options), m_aEvents(std::move(events)), m_iLeapSeconds(leapSeconds), m_Log(log), m_Stats(stats),
          m_bGlonass(header.m_ObsTypes.count('R') != 0), m_bHavePosition(header.m_bHaveApproxXyz),
          m_aLlh(EcefToLlh(header.m_adApproxXyz))
    {
        // Only the bands that the file observes have their packets in a set.
        if (const auto types = header.m_ObsTypes.find('C'); types != header.m_ObsTypes.end())
        {
            for (const SBeidouBandCodes& band : kBeidouBandCodes)
            {
                const bool observed = std::find(types->second.begin(), types->second.end(),
                                                band.m_Codes.m_szCode) != types->second.end();
                if (observed && (m_aBeidouBands.empty() || m_aBeidouBands.back().m_uBand != band.m_uBand))
                    m_aBeidouBands.push_back(band);
            }
        }
    }

    void Send(const SRinexObsEpoch& epoch)
    {
        const SWeekTime time = GpsWeekTime(epoch.m_Time);
        AssignChannels(epoch);
        SendDueEphemerides(time.Total());
        SendGps(time); // opens the epoch
        if (m_bGlonass)
            SendGlonass(time);
        for (size_t i = 0; i < m_aBeidouBands.size(); ++i)
            SendBeidouBand(time, i);
        if (m_Options.m_bSentences && m_bHavePosition)
            m_Log.Sentence(GgaSentence(time.Total() - m_iLeapSeconds, m_aLlh, static_cast<int>(m_InView['G'].size())));
    }

private:
    // Who is in view, and who gets a channel.
    void AssignChannels(const SRinexObsEpoch& epoch)
    {
        m_InView.clear();
        for (const SRinexSatObs& sat : epoch.m_aSatellites)
        {
            SSystemStats& s = m_Stats[sat.m_cSystem];
            s.m_In.insert(sat.m_iPrn);
            ++s.m_uObsIn;
            bool trackable = false;
            if (sat.m_cSystem == 'C')
            {
                for (const SBeidouBandCodes& band : m_aBeidouBands)
                    trackable = trackable || sat.Find(band.m_Codes.m_szCode) != nullptr;
            }
            else if (sat.m_cSystem == 'G' || sat.m_cSystem == 'R')
                trackable = sat.Find(kGpsL1.m_szCode) != nullptr; // GLONASS L1 has the same code name
            if (trackable)
                m_InView[sat.m_cSystem][sat.m_iPrn] = &sat;
            else
                ++s.m_uNoCode;
        }
        for (auto& [system, plan] : m_Plans)
        {
            std::vector<int> wanted;
            for (const auto& [prn, sat] : m_InView[system])
                wanted.push_back(prn);
            SSystemStats& s = m_Stats[system];
            s.m_uNoChannel += plan.Assign(wanted);
            for (size_t n = 0; n < plan.Size(); ++n)
            {
                if (plan.PrnOn(n) == 0)
                    continue;
                s.m_Sent.insert(plan.PrnOn(n));
                ++s.m_uObsSent;
                if (Locked(*m_InView[system][plan.PrnOn(n)]))
                    ++s.m_uLocked;
            }
        }
    }

    // Whether the satellite goes out locked, that is with code and carrier
    // phase (the lock flag set) on the signal by which a converter lists it:
    // GPS and GLONASS L1 C/A, BeiDou any band.
    bool Locked(const SRinexSatObs& sat) const
    {
        if (sat.m_cSystem != 'C')
            return sat.Find(kGpsL1.m_szPhase) != nullptr;
        for (const SBeidouBandCodes& band : m_aBeidouBands)
        {
            if (sat.Find(band.m_Codes.m_szCode) != nullptr && sat.Find(band.m_Codes.m_szPhase) != nullptr)
                return true;
        }
        return false;
    }

    const SRinexSatObs* OnChannel(char system, size_t channel)
    {
        const int prn = m_Plans.at(system).PrnOn(channel);
        return prn == 0 ? nullptr : m_InView[system][prn];
    }

    void SendDueEphemerides(double now)
    {
        for (; m_uNextEvent < m_aEvents.size() && m_aEvents[m_uNextEvent].m_dTxTime <= now; ++m_uNextEvent)
        {
            const SNavEvent& e = m_aEvents[m_uNextEvent];
            if (e.m_cSystem != 'C')
            {
                m_Log.Frame(e.m_aFrame);
                continue;
            }
            // A BeiDou satellite's data come on its tracking channel.
            const int tracked = m_Plans.at('C').Channel(e.m_iPrn);
            const auto channel = static_cast<uint16_t>(tracked >= 0 ? tracked : (e.m_iPrn - 1) % kBeidouChannels);
            if (!m_Options.m_bBeidouRaw)
                m_Log.Frame(MakeBin35DecodedFrame(e.m_Beidou, channel));
            else if (e.m_iPrn <= kLastLowD2Prn || e.m_iPrn >= kFirstHighD2Prn)
            {
                for (const Bytes& frame : MakeBin35D2Frames(e.m_Beidou, channel))
                    m_Log.Frame(frame);
            }
            else
                m_Log.Frame(MakeBin35D1Frame(e.m_Beidou, channel));
        }
    }

    void SendGps(const SWeekTime& time)
    {
        const auto week = static_cast<uint16_t>(time.m_uWeek);
        if (m_Options.m_bBin96)
        {
            std::vector<SBin96Channel> channels(kBin96Channels);
            for (size_t n = 0; n < kBin96Channels; ++n)
            {
                if (const SRinexSatObs* sat = OnChannel('G', n))
                    channels[n] = MakeBin96Channel(static_cast<uint8_t>(sat->m_iPrn), MakeSignal(*sat, kGpsL1, m_Slips));
            }
            m_Log.Frame(MakeBin96Frame(week, time.m_dSeconds, channels));
            return;
        }
        // Channels 12 to 14 have no L2 and L1 P words: the encoder leaves them out.
        std::vector<SBin76Channel> channels(kBin76L1Channels);
        for (size_t n = 0; n < kBin76L1Channels; ++n)
        {
            const SRinexSatObs* sat = OnChannel('G', n);
            if (sat == nullptr)
                continue;
            SBin76Channel& c = channels[n];
            c.m_uPrn = static_cast<uint8_t>(sat->m_iPrn);
            c.m_L1 = MakeSignal(*sat, kGpsL1, m_Slips);
            c.m_L2 = MakeSignal(*sat, kGpsL2, m_Slips);
            if (const SRinexObsValue* p = sat->Find(kGpsL1P.m_szCode))
            {
                c.m_L1P.m_dPseudorange = p->m_dValue;
                c.m_L1P.m_dSnr = SnrDb(*sat, kGpsL1P.m_szSnr);
            }
        }
        m_Log.Frame(MakeBin76Frame(week, time.m_dSeconds, channels));
    }

    void SendGlonass(const SWeekTime& time)
    {
        std::vector<SBin66Channel> channels(kGlonassChannels);
        for (size_t n = 0; n < kGlonassChannels; ++n)
        {
            const SRinexSatObs* sat = OnChannel('R', n);
            if (sat == nullptr)
                continue;
            SBin66Channel& c = channels[n];
            c.m_uSlot = static_cast<uint8_t>(sat->m_iPrn);
            c.m_L1 = MakeSignal(*sat, kGlonassL1, m_Slips);
            for (const SSignalCodes& l2 : kGlonassL2)
            {
                if (sat->Find(l2.m_szCode) != nullptr)
                {
                    c.m_L2 = MakeSignal(*sat, l2, m_Slips);
                    break;
                }
            }
        }
        m_Log.Frame(MakeBin66Frame(static_cast<uint16_t>(time.m_uWeek), time.m_dSeconds, channels));
    }

    // Packet `index` of the epoch's set: one band, each satellite on its channel.
    void SendBeidouBand(const SWeekTime& time, size_t index)
    {
        const SBeidouBandCodes& band = m_aBeidouBands[index];
        std::vector<SBin36Channel> channels(kBeidouChannels);
        for (size_t n = 0; n < kBeidouChannels; ++n)
        {
            const SRinexSatObs* sat = OnChannel('C', n);
            if (sat == nullptr || sat->Find(band.m_Codes.m_szCode) == nullptr)
                continue;
            channels[n].m_uPrn = static_cast<uint8_t>(sat->m_iPrn);
            channels[n].m_Signal = MakeSignal(*sat, band.m_Codes, m_Slips);
        }
        const SBin36Packet packet{band.m_uBand, static_cast<uint32_t>(index),
                                  static_cast<uint32_t>(m_aBeidouBands.size())};
        m_Log.Frame(MakeBin36Frame(static_cast<uint16_t>(time.m_uWeek), time.m_dSeconds, packet, channels));
    }

    const SOptions& m_Options;
    std::vector<SNavEvent> m_aEvents;
    size_t m_uNextEvent = 0;
    int m_iLeapSeconds;
    CLogBuilder& m_Log;
    StatsBySystem& m_Stats;
    bool m_bGlonass;
    bool m_bHavePosition;
    std::array<double, 3> m_aLlh;
    std::vector<SBeidouBandCodes> m_aBeidouBands;
    std::map<char, CChannelPlan> m_Plans{{'G', CChannelPlan(m_Options.m_bBin96 ? kBin96Channels : kBin76L1Channels)},
                                         {'R', CChannelPlan(kGlonassChannels)},
                                         {'C', CChannelPlan(kBeidouChannels)}};
    std::map<char, std::map<int, const SRinexSatObs*>> m_InView;
    CSlipCounters m_Slips;
};

int Fail(const std::string& text)
{
    std::fprintf(stderr, "rinex2log: %s\n", text.c_str());
    return 1;
}
} // namespace

int main(int argc, char** argv)
{
    SOptions options;
    if (!ParseArguments(argc, argv, options))
    {
        PrintUsage();
        return 2;
    }

    const std::optional<std::string> obsText = LoadText(options.m_szObs);
    if (!obsText)
        return Fail("can't read " + options.m_szObs);
    std::istringstream obsStream(*obsText);
    CRinexObsReader obsReader(obsStream);
    if (!obsReader.ReadHeader())
        return Fail(options.m_szObs + ": " + obsReader.Error());
    const SRinexObsHeader& obsHeader = obsReader.Header();
    if (obsHeader.m_szTimeSystem != "GPS")
        return Fail(options.m_szObs + ": epochs in " + obsHeader.m_szTimeSystem + " time; only GPS time is supported");
    std::vector<SRinexObsEpoch> epochs;
    for (SRinexObsEpoch epoch; obsReader.NextEpoch(epoch);)
        epochs.push_back(std::move(epoch));
    if (!obsReader.Error().empty())
        return Fail(options.m_szObs + ": " + obsReader.Error());
    if (epochs.empty())
        return Fail(options.m_szObs + ": no observation epochs");
    const double firstEpoch = GpsWeekTime(epochs.front().m_Time).Total();

    const std::optional<std::string> navText = LoadText(options.m_szNav);
    if (!navText)
        return Fail("can't read " + options.m_szNav);
    std::istringstream navStream(*navText);
    CRinexNavReader navReader(navStream);
    if (!navReader.ReadHeader())
        return Fail(options.m_szNav + ": " + navReader.Error());
    SRinexNavHeader navHeader = navReader.Header();
    if (options.m_BeidouUtc)
        navHeader.m_TimeCorrections["BDUT"] = *options.m_BeidouUtc;
    int leapSeconds = navHeader.m_Leap.m_iDeltaLs;
    if (!navHeader.m_Leap.m_bPresent)
    {
        leapSeconds = kDefaultLeapSeconds;
        std::fprintf(stderr, "rinex2log: no LEAP SECONDS line; GLONASS times use %d s\n", leapSeconds);
    }
    StatsBySystem stats;
    std::vector<SNavEvent> events = CollectEphemerides(navReader, leapSeconds, firstEpoch, stats);
    if (!navReader.Error().empty())
        return Fail(options.m_szNav + ": " + navReader.Error());

    CLogBuilder log(options.m_bDamage, options.m_uSeed);
    SendPreamble(log, options, obsHeader, navHeader);
    CEpochSender sender(options, obsHeader, std::move(events), leapSeconds, log, stats);
    size_t epochsSent = 0;
    double lastEpoch = firstEpoch;
    for (const SRinexObsEpoch& epoch : epochs)
    {
        const double time = GpsWeekTime(epoch.m_Time).Total();
        if (options.m_dSpan > 0.0 && time - firstEpoch >= options.m_dSpan)
            break;
        sender.Send(epoch);
        lastEpoch = time;
        ++epochsSent;
    }

    if (!WriteBytes(options.m_szLog, log.Log()))
        return Fail("can't write " + options.m_szLog);

    PrintSummary(log, stats, epochsSent, epochs.size(), lastEpoch - firstEpoch, options.m_bDamage,
                 navHeader.m_TimeCorrections.count("BDUT") != 0);
    return 0;
}
