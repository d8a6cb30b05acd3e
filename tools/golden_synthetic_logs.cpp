// golden_synthetic_logs: writes the input logs of the two synthetic golden
// cases, the situations the station data don't hold, from values chosen so
// that every one of them survives its message exactly (code ranges in whole
// 1/256 m, phases in whole 1/1024 cycle near their code ranges, Doppler in
// whole 1/512 Hz, ephemeris fields as whole integers of their units):
//
// - synthetic-week-leap/input.log: GPS week 2111 turns into 2112 (Saturday
//   27 June 2020 into Sunday 28 June) between epochs every 10 s, and the
//   UTC data put a leap second at the end of week 2111 (18 s before, 19 s
//   after). G05 and G12 in BIN76 (L1 and L2), C11 on B1 in BIN36. The
//   ephemerides of G05 (BIN95) and C11 (decoded BIN35) come only after the
//   leap second, with reference times in the new week (GPS and BDT).
// - synthetic-header-growth/input.log: three epochs of GPS alone (G05 and
//   G12 in BIN76), then two in which GLONASS R01 joins on L1 (BIN66), so the
//   observation file, laid down with the GPS header, needs the mixed one.
//
//   golden_synthetic_logs GOLDEN_DIR
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "logbuild/BeidouEncoder.h"
#include "logbuild/Bin36Encoder.h"
#include "logbuild/Bin66Encoder.h"
#include "logbuild/Bin76Encoder.h"
#include "logbuild/Carriers.h"
#include "logbuild/Files.h"
#include "logbuild/FrameWriter.h"
#include "logbuild/GpsEphemerisEncoder.h"
#include "logbuild/IonoUtcEncoder.h"
#include "logbuild/PackedRecordEncoder.h"

namespace
{
using namespace logbuild;
constexpr double kGlonassL1Hz = kGlonassL1BaseHz + kGlonassL1StepHz; // slot 1, channel +1

// A phase in whole 1/1024 cycle, `offset` cycles from the code range's.
double PhaseNear(double code, double cyclesPerMetre, double offset)
{
    return std::round(code * cyclesPerMetre * 1024.0) / 1024.0 + offset;
}

// A signal of code range `code` + `rate` x `epoch` metres, its raw signal to
// noise given as the dB value that encodes to it.
SBin76Signal Signal(double code, double rate, int epoch, double cyclesPerMetre, double offset, double doppler,
                    unsigned snrRaw, double snrScale)
{
    SBin76Signal s;
    s.m_bPresent = true;
    s.m_dPseudorange = code + rate * epoch;
    s.m_dPhase = PhaseNear(s.m_dPseudorange, cyclesPerMetre, offset);
    s.m_dDoppler = doppler;
    s.m_dSnr = 10.0 * std::log10(snrRaw * snrScale);
    return s;
}

Bytes GpsEpoch(uint16_t week, double seconds, int epoch)
{
    SBin76Channel g05, g12;
    g05.m_uPrn = 5;
    g05.m_L1 = Signal(21000000.5, 100.25, epoch, kL1CyclesPerMetre, 0.25, -1234.5, 2000, kSnrScale12Bit);
    g05.m_L2 = Signal(21000003.0, 100.25, epoch, kL2CyclesPerMetre, -0.5, -961.9140625, 400, kSnrScaleL2L1P);
    g12.m_uPrn = 12;
    g12.m_L1 = Signal(22000000.25, -50.5, epoch, kL1CyclesPerMetre, -0.125, 876.0, 300, kSnrScale12Bit);
    g12.m_L2 = Signal(21999998.75, -50.5, epoch, kL2CyclesPerMetre, 0.375, 682.6171875, 100, kSnrScaleL2L1P);
    return MakeBin76Frame(week, seconds, {g05, g12});
}

Bytes BeidouEpoch(uint16_t week, double seconds, int epoch)
{
    SBin36Channel c11;
    c11.m_uPrn = 11;
    c11.m_Signal = Signal(22500000.75, 60.5, epoch, kB1Hz / kSpeedOfLight, 0.125, -500.0, 1000, kSnrScale12Bit);
    return MakeBin36Frame(week, seconds, SBin36Packet{0, 0, 1}, {{}, {}, {}, {}, c11});
}

Bytes GlonassEpoch(uint16_t week, double seconds, int epoch)
{
    SBin66Channel r01;
    r01.m_uSlot = 1;
    r01.m_L1 = Signal(19500000.75, 80.0, epoch, kGlonassL1Hz / kSpeedOfLight, 0.5, 2500.0, 800, kSnrScale12Bit);
    return MakeBin66Frame(week, seconds, {r01});
}

// Ionosphere and UTC: A0 and A1 zero, the leap second at the end of day 7
// of week 2111, 18 s before it and 19 s after.
Bytes Bin94()
{
    SBin94Values v;
    v.m_adAlpha = {1.1175870895385742e-08, 7.450580596923828e-09, -5.960464477539063e-08, -5.960464477539063e-08};
    v.m_adBeta = {90112.0, 0.0, -196608.0, -65536.0};
    v.m_Utc.m_iRefSeconds = 589824;
    v.m_Utc.m_iRefWeek = 2111;
    v.m_Leap.m_iDeltaLs = 18;
    v.m_Leap.m_iDeltaLsf = 19;
    v.m_Leap.m_iWeekLsf = 2111;
    v.m_Leap.m_iDayLsf = 7;
    return MakeBin94Frame(v);
}

// BeiDou UTC: A0 -5 x 2^-30 s, A1 3 x 2^-50 s/s, reference 16 x 4096 s of BDT week 756.
Bytes Bin34()
{
    return MakeBin34Frame(SRinexTimeCorrection{-5 * 0x1p-30, 3 * 0x1p-50, 16 * 4096, 756});
}

// G05's ephemeris of week 2112, reference time 0 (Sunday 00:00:00 GPS).
Bytes G05Ephemeris()
{
    SGpsEphemerisValues g;
    g.m_uSatellite = 5;
    g.m_uTxTime = 30;
    g.m_uWeek = 2112;
    g.m_uIode = 20;
    g.m_uIodc = 20;
    g.m_dToc = 0.0;
    g.m_dToe = 0.0;
    g.m_dAf0 = 5 * 0x1p-31;
    g.m_dAf1 = -3 * 0x1p-43;
    g.m_dTgd = -10 * 0x1p-31;
    g.m_dCrs = 10.5;
    g.m_dCuc = 0x1p-20;
    g.m_dEcc = 0x1p-7;
    g.m_dCus = -0x1p-20;
    g.m_dSqrtA = 5153.5;
    g.m_dCrc = 200.0;
    return MakeBin95Frame(g);
}

// C11's ephemeris of BDT week 756, toc and toe 3600 s (01:00:00 BDT), on channel 4.
Bytes C11Ephemeris()
{
    SBeidouEphemerisFields f;
    f.m_uSatellite = 11;
    f.m_uSow = 24;
    f.m_uWeek = 756;
    f.m_uToc = 450; // units of 8 s
    f.m_uToe = 450;
    f.m_iA0 = -1000;
    f.m_iA1 = 7;
    f.m_uSqrtA = 2702311424u; // 5154.25 m^1/2 in 2^-19
    f.m_uEcc = 8388608u;      // 2^-10 in 2^-33
    f.m_iCrc = 640;
    f.m_iCrs = -64;
    f.m_iTgd1 = 25;
    f.m_uAodc = 3;
    f.m_uUrai = 2;
    f.m_uAode = 5;
    return MakeBin35DecodedFrame(f, 4);
}

Bytes WeekLeapLog()
{
    Bytes log = Bin94();
    AppendBytes(log, Bin34());
    const std::pair<uint16_t, double> times[] = {{2111, 604770.0}, {2111, 604780.0}, {2111, 604790.0},
                                                 {2112, 0.0},      {2112, 10.0},     {2112, 20.0},
                                                 {2112, 30.0},     {2112, 40.0}};
    for (int k = 0; k < 8; ++k)
    {
        AppendBytes(log, GpsEpoch(times[k].first, times[k].second, k));
        AppendBytes(log, BeidouEpoch(times[k].first, times[k].second, k));
        if (k == 6)
        {
            AppendBytes(log, G05Ephemeris());
            AppendBytes(log, C11Ephemeris());
        }
    }
    return log;
}

// Epochs every second from Friday 26 June 2020 00:00:00 GPS (week 2111, 432000 s).
Bytes HeaderGrowthLog()
{
    Bytes log;
    for (int k = 0; k < 5; ++k)
    {
        AppendBytes(log, GpsEpoch(2111, 432000.0 + k, k));
        if (k >= 3)
            AppendBytes(log, GlonassEpoch(2111, 432000.0 + k, k));
    }
    return log;
}

bool Write(const std::string& path, const Bytes& bytes)
{
    if (!WriteBytes(path, bytes))
    {
        std::fprintf(stderr, "golden_synthetic_logs: can't write %s\n", path.c_str());
        return false;
    }
    return true;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::fputs("usage: golden_synthetic_logs GOLDEN_DIR\n", stderr);
        return 2;
    }
    const std::string dir = argv[1];
    const bool ok = Write(dir + "/synthetic-week-leap/input.log", WeekLeapLog()) &&
                    Write(dir + "/synthetic-header-growth/input.log", HeaderGrowthLog());
    return ok ? 0 : 1;
}
