#include "logbuild/fromrinex/Channels.h"

#include <algorithm>

#include "logbuild/Bin36Encoder.h"
#include "logbuild/Bin66Encoder.h"
#include "logbuild/Bin76Encoder.h"
#include "logbuild/Bin96Encoder.h"

namespace fromrinex
{
size_t CChannelPlan::Assign(const std::vector<int>& wanted)
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

int CChannelPlan::Channel(int prn) const
{
    const auto it = std::find(m_aPrn.begin(), m_aPrn.end(), prn);
    return it == m_aPrn.end() ? -1 : static_cast<int>(it - m_aPrn.begin());
}

CReceiverChannels::CReceiverChannels(bool bin96, const SRinexObsHeader& header)
    : m_Plans{{'G', CChannelPlan(bin96 ? kBin96Channels : kBin76L1Channels)},
              {'R', CChannelPlan(kBin66Channels)},
              {'C', CChannelPlan(kBin36Channels)}}
{
    // Only the bands that the file observes have their packets in a set.
    if (const auto types = header.m_ObsTypes.find('C'); types != header.m_ObsTypes.end())
    {
        for (const SBeidouBandCodes& band : kBeidouBandCodes)
        {
            const bool observed =
                std::find(types->second.begin(), types->second.end(), band.m_Codes.m_szCode) != types->second.end();
            if (observed && (m_aBeidouBands.empty() || m_aBeidouBands.back().m_uBand != band.m_uBand))
                m_aBeidouBands.push_back(band);
        }
    }
}

void CReceiverChannels::Assign(const SRinexObsEpoch& epoch, StatsBySystem& stats)
{
    m_InView.clear();
    for (const SRinexSatObs& sat : epoch.m_aSatellites)
    {
        SSystemStats& s = stats[sat.m_cSystem];
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
        SSystemStats& s = stats[system];
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
bool CReceiverChannels::Locked(const SRinexSatObs& sat) const
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

std::vector<const SRinexSatObs*> CReceiverChannels::OnChannels(char system) const
{
    const CChannelPlan& plan = m_Plans.at(system);
    const auto inView = m_InView.find(system);
    std::vector<const SRinexSatObs*> satellites(plan.Size(), nullptr);
    for (size_t n = 0; n < plan.Size(); ++n)
    {
        if (plan.PrnOn(n) != 0)
            satellites[n] = inView->second.at(plan.PrnOn(n));
    }
    return satellites;
}

size_t CReceiverChannels::InView(char system) const
{
    const auto it = m_InView.find(system);
    return it == m_InView.end() ? 0 : it->second.size();
}
} // namespace fromrinex
