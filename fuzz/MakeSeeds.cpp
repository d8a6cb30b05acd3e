// fuzz_seeds: writes the seed logs of the two fuzz targets with the log
// encoders, each a few kilobytes, so that fuzzing starts from whole frames of
// every kind and from logs that reach the writers.
//
// usage: fuzz_seeds CORPUS_DIR   (writes CORPUS_DIR/frame_reader/* and CORPUS_DIR/convert/*)
//
// The frame reader's inputs begin with one byte that chooses its second
// buffer size; the rest is the log.
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "logbuild/BeidouEncoder.h"
#include "logbuild/Bin36Encoder.h"
#include "logbuild/Bin66Encoder.h"
#include "logbuild/Bin76Encoder.h"
#include "logbuild/Bin96Encoder.h"
#include "logbuild/FrameWriter.h"
#include "logbuild/GlonassEncoder.h"
#include "logbuild/GpsEphemerisEncoder.h"

namespace
{
constexpr uint16_t kWeek = 2300;
constexpr double kStart = 172800.0;

bool Write(const std::string& path, const Bytes& bytes)
{
    std::FILE* out = std::fopen(path.c_str(), "wb");
    if (out == nullptr)
        return false;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
    return std::fclose(out) == 0 && ok;
}

Bytes Join(const std::vector<Bytes>& pieces)
{
    Bytes all;
    for (const Bytes& piece : pieces)
        AppendBytes(all, piece);
    return all;
}

Bytes Text(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

// One frame of every kind, whole, then the same frames damaged.
Bytes EveryKind()
{
    const Bytes body = Text("body of a packed frame");
    return Join({
        MakePackedFrame(body, 0), MakePackedFrame(body, 1), MakePackedFrame(Bytes(300, 0x5A), 2),
        MakeRtcm3Frame(Text("rtcm payload"), true, 0x3F), MakeZeroBinFrame(80, 40),
        MakeBinFrame(62, Bytes(40, 7), true, "\r"), MakeBinFrame(103, Bytes(64, 1), true, ""), Text("\n"),
        MakeMarkerSiteFrame(1, "NAME", "NUMBER"), MakeSentence("$GPGGA,1,2,3\r\n"),
        MakePackedFrame(body, 1, false), MakeRtcm3Frame(Text("x"), false), MakeBinFrame(94, Bytes(96, 3), false),
        MakeSiteFrame(1, 2, Bytes(3, 0), false), Text("$BI"), MakeSentence("$>JI,1\n"), Text("$no end"),
    });
}

SGpsEphemerisValues GpsValues(uint16_t prn)
{
    SGpsEphemerisValues v;
    v.m_uSatellite = prn;
    v.m_uWeek = kWeek;
    v.m_uTxTime = static_cast<uint32_t>(kStart);
    v.m_uIode = static_cast<uint16_t>(prn + 10);
    v.m_uIodc = v.m_uIode;
    v.m_dToe = kStart + 7200.0;
    v.m_dToc = v.m_dToe;
    v.m_dAf0 = 1.0e-5;
    v.m_dSqrtA = 5153.6;
    v.m_dEcc = 0.01;
    v.m_dI0 = 0.96;
    v.m_dOmega0 = 1.0;
    v.m_dM0 = -0.5 * prn / 32.0;
    v.m_dDeltaN = 4.5e-9;
    v.m_dOmegaDot = -8.0e-9;
    return v;
}

SBeidouEphemerisFields BeidouFields(uint32_t prn, double sow)
{
    SBeidouEphemerisValues v;
    v.m_uSatellite = prn;
    v.m_uWeek = kWeek - 1356;
    v.m_uSow = static_cast<uint32_t>(sow);
    v.m_dToe = kStart;
    v.m_dToc = kStart;
    v.m_dSqrtA = prn <= 5 ? 6493.0 : 5282.6;
    v.m_dEcc = 0.001;
    v.m_dI0 = 0.9;
    v.m_uAode = 3;
    return QuantizeBeidouEphemeris(v);
}

SBin76Signal Signal(double range, double wavelength, double snr)
{
    SBin76Signal s;
    s.m_bPresent = true;
    s.m_dPseudorange = range;
    s.m_dPhase = range / wavelength + 17.0;
    s.m_dDoppler = -1234.5;
    s.m_dSnr = snr;
    return s;
}

// An epoch of every observation message at `t`.
Bytes TripleEpoch(double t, uint8_t slip)
{
    std::vector<SBin76Channel> gps(3);
    for (size_t n = 0; n < gps.size(); ++n)
    {
        const double range = 2.1e7 + 1.0e6 * n + 500.0 * (t - kStart);
        gps[n].m_uPrn = static_cast<uint8_t>(3 + 5 * n);
        gps[n].m_L1 = Signal(range, 0.190293672798, 15.0);
        gps[n].m_L2 = Signal(range + 3.0, 0.244210213425, 12.0);
        gps[n].m_L1.m_uSlipCounter = slip;
        gps[n].m_L1P.m_dPseudorange = range + 0.5;
        gps[n].m_L1P.m_dSnr = 11.0;
    }
    std::vector<SBin66Channel> glonass(2);
    for (size_t n = 0; n < glonass.size(); ++n)
    {
        glonass[n].m_uSlot = static_cast<uint8_t>(1 + n);
        glonass[n].m_L1 = Signal(2.0e7 + 3.0e5 * n, 0.1870, 14.0);
        glonass[n].m_L2 = Signal(2.0e7 + 3.0e5 * n + 4.0, 0.2404, 11.0);
    }
    Bytes epoch = Join({MakeBin76Frame(kWeek, t, gps), MakeBin66Frame(kWeek, t, glonass)});
    for (uint32_t band = 0; band < 3; ++band)
    {
        std::vector<SBin36Channel> beidou(2);
        beidou[0].m_uPrn = 1;
        beidou[0].m_Signal = Signal(3.6e7, 0.1920, 13.0);
        beidou[1].m_uPrn = 8;
        beidou[1].m_Signal = Signal(2.2e7, 0.2483, 13.0);
        AppendBytes(epoch, MakeBin36Frame(kWeek, t, SBin36Packet{band, band, 3}, beidou));
    }
    return epoch;
}

// GPS, GLONASS and BeiDou: ephemerides, ionosphere, raw D1 and D2 BeiDou
// subframes, and three epochs, one with a slip.
Bytes TripleLog()
{
    Bytes log = Join({MakeBin95Frame(GpsValues(3)), MakeBin95Frame(GpsValues(8)), MakeZeroBinFrame(94, 96),
                      MakeZeroBinFrame(34, 32)});
    SGlonassEphemerisValues g;
    g.m_uSlot = 1;
    g.m_iChannel = 1;
    SetGlonassReferenceFromUtc(g, 2024, 2, 6, 0, 15, 0);
    g.m_dX = 10000.0;
    g.m_dY = 20000.0;
    g.m_dZ = 9000.0;
    g.m_dVx = 1.0;
    g.m_dVy = -2.0;
    g.m_dVz = 2.5;
    AppendBytes(log, MakeBin65Frame(g));
    AppendBytes(log, MakeBin35D1Frame(BeidouFields(8, kStart - 30.0), 1));
    for (const Bytes& page : MakeBin35D2Frames(BeidouFields(1, kStart - 60.0), 0))
        AppendBytes(log, page);
    for (int n = 0; n < 3; ++n)
        AppendBytes(log, TripleEpoch(kStart + n, static_cast<uint8_t>(n == 2)));
    return log;
}

// BIN96 epochs with site events, sentences and an SBAS ephemeris between them.
Bytes SiteLog()
{
    std::vector<SBin96Channel> channels(2);
    channels[0].m_uPrn = 5;
    channels[0].m_uSnrRaw = 50;
    channels[0].m_dPseudorange = 2.2e7;
    channels[0].m_dPhase = 2.2e7 - 10.0;
    channels[1].m_uPrn = 120;
    channels[1].m_uSnrRaw = 40;
    channels[1].m_dPseudorange = 3.8e7;
    channels[1].m_dPhase = 3.8e7;
    SSbasEphemerisValues sbas;
    sbas.m_uWeek = kWeek;
    sbas.m_dGeoX = 4.2e7;
    Bytes log = Join({MakeSentence("$>JSITERECORD,SITE,1.5,0,0,ANT,Stationary\r\n"),
                      MakeSentence("$>JVERSION,K730,2\r\n"), MakeBin95Frame(GpsValues(5)), MakeBin93Frame(sbas)});
    for (int n = 0; n < 4; ++n)
    {
        channels[0].m_dPseudorange += 300.0;
        channels[0].m_uSlipCounter = static_cast<uint8_t>(n / 2);
        AppendBytes(log, MakeBin96Frame(kWeek, kStart + n, channels));
        if (n == 0)
            AppendBytes(log, MakeMarkerSiteFrame(1, "MARK", "0042"));
        if (n == 1)
            AppendBytes(log, MakeSentence("$GPGGA,000001.00,5130.0000,N,00006.0000,W,1,08,1.0,45.0,M,47.0,M,,*00\r\n"));
        if (n == 2)
            AppendBytes(log, Join({MakeMarkerSiteFrame(3, "MARK2", "43"), MakeSiteFrame(1, 2, {})}));
    }
    AppendBytes(log, MakeSiteFrame(1, 4, {}));
    return log;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fputs("usage: fuzz_seeds CORPUS_DIR\n", stderr);
        return 2;
    }
    const std::string dir = argv[1];
    Bytes mixed{0x00};
    AppendBytes(mixed, EveryKind());
    Bytes longSentence{0x20}; // a small second buffer: 2563 bytes
    AppendBytes(longSentence, Text("$" + std::string(2600, 'x') + "\r\n"));
    AppendBytes(longSentence, EveryKind());
    const bool ok = Write(dir + "/frame_reader/every_kind", mixed) &&
                    Write(dir + "/frame_reader/long_sentence", longSentence) &&
                    Write(dir + "/convert/triple", TripleLog()) && Write(dir + "/convert/site", SiteLog()) &&
                    Write(dir + "/convert/every_kind", EveryKind());
    if (!ok)
    {
        std::fputs("fuzz_seeds: can't write the seeds\n", stderr);
        return 1;
    }
    return 0;
}
