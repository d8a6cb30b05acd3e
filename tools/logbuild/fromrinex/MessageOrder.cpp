#include "logbuild/fromrinex/MessageOrder.h"

#include <algorithm>
#include <set>
#include <utility>

#include "logbuild/Bin36Encoder.h"
#include "logbuild/fromrinex/SiteRecords.h"
#include "logbuild/fromrinex/WeekTime.h"

namespace fromrinex
{
void SendPreamble(CLogBuilder& log, const SOptions& options, const SRinexObsHeader& obsHeader,
                  const SRinexNavHeader& navHeader)
{
    if (options.m_bSentences)
    {
        for (const std::string& sentence : SiteSentences(obsHeader))
            log.Sentence(sentence);
    }
    if (options.m_bSiteFrame)
        log.Frame(MakeMarkerFrame(obsHeader));
    if (const std::optional<Bytes> bin94 = MakeBin94(navHeader))
        log.Frame(*bin94);
    if (const std::optional<Bytes> bin34 = MakeBin34(navHeader))
        log.Frame(*bin34);
}

std::vector<SNavEvent> OrderEphemerides(std::vector<SNavEvent> events, double firstEpoch)
{
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

CEpochSender::CEpochSender(const SOptions& options, const SRinexObsHeader& header, std::vector<SNavEvent> events,
                           int leapSeconds, CLogBuilder& log, StatsBySystem& stats)
    : m_Options(options), m_aEvents(std::move(events)), m_iLeapSeconds(leapSeconds), m_Log(log), m_Stats(stats),
      m_bGlonass(header.m_ObsTypes.count('R') != 0), m_bHavePosition(header.m_bHaveApproxXyz),
      m_aLlh(EcefToLlh(header.m_adApproxXyz)), m_Channels(options.m_bBin96, header)
{
}

void CEpochSender::Send(const SRinexObsEpoch& epoch)
{
    const SWeekTime time = GpsWeekTime(epoch.m_Time);
    m_Channels.Assign(epoch, m_Stats);
    SendDueEphemerides(time.Total());
    // The GPS message opens the epoch.
    m_Log.Frame(MakeGpsObsFrame(time, m_Options.m_bBin96, m_Channels.OnChannels('G'), m_Slips));
    if (m_bGlonass)
        m_Log.Frame(MakeGlonassObsFrame(time, m_Channels.OnChannels('R'), m_Slips));
    const std::vector<SBeidouBandCodes>& bands = m_Channels.BeidouBands();
    for (size_t i = 0; i < bands.size(); ++i)
        m_Log.Frame(MakeBeidouObsFrame(time, bands, i, m_Channels.OnChannels('C'), m_Slips));
    if (m_Options.m_bSentences && m_bHavePosition)
        m_Log.Sentence(GgaSentence(time.Total() - m_iLeapSeconds, m_aLlh, static_cast<int>(m_Channels.InView('G'))));
}

void CEpochSender::SendDueEphemerides(double now)
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
        const int tracked = m_Channels.Channel('C', e.m_iPrn);
        const auto channel = static_cast<uint16_t>(tracked >= 0 ? tracked : (e.m_iPrn - 1) % kBin36Channels);
        for (const Bytes& frame : MakeBeidouEphemerisFrames(e, channel, m_Options.m_bBeidouRaw))
            m_Log.Frame(frame);
    }
}
} // namespace fromrinex
