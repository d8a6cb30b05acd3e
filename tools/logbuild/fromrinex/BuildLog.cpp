#include "logbuild/fromrinex/BuildLog.h"

#include <sstream>
#include <utility>

#include "logbuild/RinexNavReader.h"
#include "logbuild/fromrinex/MessageOrder.h"
#include "logbuild/fromrinex/NavigationMessages.h"
#include "logbuild/fromrinex/WeekTime.h"

namespace fromrinex
{
namespace
{
std::nullopt_t Fail(std::string& error, const std::string& text)
{
    error = text;
    return std::nullopt;
}
} // namespace

std::optional<SBuiltLog> BuildLog(const SOptions& options, const std::string& obsText, const std::string& navText,
                                  std::string& error, const EpochHook& hook)
{
    std::istringstream obsStream(obsText);
    CRinexObsReader obsReader(obsStream);
    if (!obsReader.ReadHeader())
        return Fail(error, options.m_szObs + ": " + obsReader.Error());
    const SRinexObsHeader& obsHeader = obsReader.Header();
    if (obsHeader.m_szTimeSystem != "GPS")
        return Fail(error, options.m_szObs + ": epochs in " + obsHeader.m_szTimeSystem +
                               " time; only GPS time is supported");
    std::vector<SRinexObsEpoch> epochs;
    for (SRinexObsEpoch epoch; obsReader.NextEpoch(epoch);)
        epochs.push_back(std::move(epoch));
    if (!obsReader.Error().empty())
        return Fail(error, options.m_szObs + ": " + obsReader.Error());
    if (hook)
        hook(epochs);
    if (epochs.empty())
        return Fail(error, options.m_szObs + ": no observation epochs");
    const double firstEpoch = GpsWeekTime(epochs.front().m_Time).Total();

    std::istringstream navStream(navText);
    CRinexNavReader navReader(navStream);
    if (!navReader.ReadHeader())
        return Fail(error, options.m_szNav + ": " + navReader.Error());
    SRinexNavHeader navHeader = navReader.Header();
    if (options.m_BeidouUtc)
        navHeader.m_TimeCorrections["BDUT"] = *options.m_BeidouUtc;
    SBuiltLog built(options);
    built.m_bHaveBdut = navHeader.m_TimeCorrections.count("BDUT") != 0;
    built.m_bLeapSecondsAssumed = !navHeader.m_Leap.m_bPresent;
    const int leapSeconds = built.m_bLeapSecondsAssumed ? kDefaultLeapSeconds : navHeader.m_Leap.m_iDeltaLs;
    std::vector<SNavEvent> events = ReadEphemerides(navReader, leapSeconds, built.m_Stats);
    if (!navReader.Error().empty())
        return Fail(error, options.m_szNav + ": " + navReader.Error());

    SendPreamble(built.m_Log, options, obsHeader, navHeader);
    CEpochSender sender(options, obsHeader, OrderEphemerides(std::move(events), firstEpoch), leapSeconds,
                        built.m_Log, built.m_Stats);
    built.m_uEpochsIn = epochs.size();
    for (const SRinexObsEpoch& epoch : epochs)
    {
        const double time = GpsWeekTime(epoch.m_Time).Total();
        if (options.m_dSpan > 0.0 && time - firstEpoch >= options.m_dSpan)
            break;
        built.m_auEpochOffsets.push_back(built.m_Log.Log().size());
        sender.Send(epoch);
        built.m_dSpanSent = time - firstEpoch;
        ++built.m_uEpochsSent;
    }
    return built;
}
} // namespace fromrinex
