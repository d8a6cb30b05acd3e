// rinex2log: builds a receiver log from a RINEX 3 observation file and the
// broadcast navigation file that goes with it, as the receiver would have
// written it. The jobs stand in tools/logbuild/fromrinex/: the command line
// (Options), the choice of channels (Channels), the observation messages of
// an epoch (ObservationMessages), the ephemerides and the ionosphere and UTC
// data (NavigationMessages), the site sentences, site frame and positions
// (SiteRecords), the order of the messages (MessageOrder), the damage of -d
// (LogBuilder), the whole run short of the files (BuildLog) and the summary
// of the run (Summary).
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
#include <cstdio>
#include <optional>
#include <string>

#include "logbuild/Files.h"
#include "logbuild/fromrinex/BuildLog.h"
#include "logbuild/fromrinex/Options.h"
#include "logbuild/fromrinex/Summary.h"
#include "logbuild/fromrinex/WeekTime.h"

using namespace fromrinex;

namespace
{
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
    const std::optional<std::string> navText = LoadText(options.m_szNav);
    if (!navText)
        return Fail("can't read " + options.m_szNav);
    std::string error;
    const std::optional<SBuiltLog> built = BuildLog(options, *obsText, *navText, error);
    if (!built)
        return Fail(error);
    if (built->m_bLeapSecondsAssumed)
        std::fprintf(stderr, "rinex2log: no LEAP SECONDS line; GLONASS times use %d s\n", kDefaultLeapSeconds);

    if (!WriteBytes(options.m_szLog, built->m_Log.Log()))
        return Fail("can't write " + options.m_szLog);

    PrintSummary(built->m_Log, built->m_Stats, built->m_uEpochsSent, built->m_uEpochsIn, built->m_dSpanSent,
                 options.m_bDamage, built->m_bHaveBdut);
    return 0;
}
