// Writes the small sample log of examples/: one minute of GPS L1
// observations from eight satellites at 1 Hz, with a marker site frame,
// sentences and a stored ionosphere message between them.
#include <cmath>
#include <cstdio>
#include <string>

#include "logbuild/Bin96Encoder.h"
#include "logbuild/FrameWriter.h"

namespace
{
constexpr uint16_t kWeek = 2111;
constexpr double kFirstSecond = 432000.0;
constexpr int kEpochs = 60;

struct SSatellite
{
    uint8_t m_uPrn;
    double m_dRange;     // metres at the first epoch
    double m_dRangeRate; // metres per second
    uint8_t m_uSnrRaw;   // raw signal to noise
};

const SSatellite kSatellites[] = {
    {2, 21204113.25, -312.5, 55}, {5, 23876310.75, 512.25, 41},  {6, 20312875.5, 88.75, 60},
    {12, 24501330.0, -655.0, 35}, {17, 22345678.5, 231.5, 50},  {19, 20876543.25, -45.25, 58},
    {24, 23456789.0, 402.0, 44},  {29, 21987654.75, -190.5, 52},
};

void Usage()
{
    std::fputs("usage: make_sample_log OUTPUT\n"
               "Writes a small receiver log with one minute of BIN96 epochs,\n"
               "a marker site frame, sentences and a BIN94 to OUTPUT.\n",
               stderr);
}

Bytes Bin96Epoch(int epoch)
{
    std::vector<SBin96Channel> channels;
    for (const SSatellite& s : kSatellites)
    {
        const double range = s.m_dRange + s.m_dRangeRate * epoch;
        SBin96Channel c;
        c.m_uPrn = s.m_uPrn;
        c.m_uSnrRaw = s.m_uSnrRaw;
        c.m_iDoppler = static_cast<int32_t>(std::lround(s.m_dRangeRate * 4096.0));
        c.m_dPseudorange = range;
        c.m_dPhase = range - 1000.0 * static_cast<double>(channels.size());
        channels.push_back(c);
    }
    return MakeBin96Frame(kWeek, kFirstSecond + epoch, channels);
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        Usage();
        return 2;
    }
    Bytes log;
    AppendBytes(log, MakeSentence("$>JVERSION,V600,1.0\r\n"));
    AppendBytes(log, MakeMarkerSiteFrame(1, "SAMPLE", "0001"));
    for (int epoch = 0; epoch < kEpochs; ++epoch)
    {
        AppendBytes(log, Bin96Epoch(epoch));
        if (epoch == 0)
            AppendBytes(log, MakeZeroBinFrame(94, 96));
        if (epoch == 2)
            AppendBytes(log, MakeSentence("$GPGGA,120002.00,5130.0000,N,00006.0000,W,1,08,1.0,45.0,M,47.0,M,,*00\r\n"));
    }
    std::FILE* out = std::fopen(argv[1], "wb");
    if (out == nullptr)
    {
        std::perror(argv[1]);
        return 1;
    }
    std::fwrite(log.data(), 1, log.size(), out);
    std::fclose(out);
    return 0;
}
