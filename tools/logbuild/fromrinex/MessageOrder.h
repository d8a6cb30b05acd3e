#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "logbuild/RinexNavReader.h"
#include "logbuild/RinexObsReader.h"
#include "logbuild/fromrinex/Channels.h"
#include "logbuild/fromrinex/LogBuilder.h"
#include "logbuild/fromrinex/NavigationMessages.h"
#include "logbuild/fromrinex/ObservationMessages.h"
#include "logbuild/fromrinex/Options.h"
#include "logbuild/fromrinex/Summary.h"

// The order in which a receiver writes its messages. At the start: the site
// records (with -s and -m), the ionosphere and UTC data (BIN94, BIN34), then
// the ephemerides the receiver holds. Per epoch: the ephemerides whose
// transmission time has come, the GPS observation message (which opens the
// epoch), BIN66, one BIN36 per BeiDou band as a numbered set of packets, and
// a position sentence (with -s).
namespace fromrinex
{
// What a receiver writes before its first epoch: its site records, the
// ionosphere and UTC data, the BeiDou UTC data.
void SendPreamble(CLogBuilder& log, const SOptions& options, const SRinexObsHeader& obsHeader,
                  const SRinexNavHeader& navHeader);

// The ephemerides in the order of their transmission times, those of the
// same time in the order of the file. Of those sent before the first epoch
// (`firstEpoch`, GPS seconds), the receiver has only the latest of each
// satellite to give.
std::vector<SNavEvent> OrderEphemerides(std::vector<SNavEvent> events, double firstEpoch);

// Sends the epochs one by one, each with the ephemerides whose time has come
// in front of it.
class CEpochSender
{
public:
    CEpochSender(const SOptions& options, const SRinexObsHeader& header, std::vector<SNavEvent> events,
                 int leapSeconds, CLogBuilder& log, StatsBySystem& stats);

    void Send(const SRinexObsEpoch& epoch);

private:
    void SendDueEphemerides(double now);

    const SOptions& m_Options;
    std::vector<SNavEvent> m_aEvents;
    size_t m_uNextEvent = 0;
    int m_iLeapSeconds;
    CLogBuilder& m_Log;
    StatsBySystem& m_Stats;
    bool m_bGlonass;
    bool m_bHavePosition;
    std::array<double, 3> m_aLlh;
    CReceiverChannels m_Channels;
    CSlipCounters m_Slips;
};
} // namespace fromrinex
