#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "logbuild/RinexObsReader.h"
#include "logbuild/fromrinex/SignalCodes.h"
#include "logbuild/fromrinex/Summary.h"

// Which satellite goes out on which channel of its system's message: GPS on
// the 15 channels of BIN76 or the 12 of BIN96, GLONASS on the 12 of BIN66,
// BeiDou on the 20 of BIN36, sent as one packet per band the file observes.
namespace fromrinex
{
// A receiver's channels of one system: a satellite keeps its channel while it
// stays in view; a new one takes the lowest free channel, or waits.
class CChannelPlan
{
public:
    explicit CChannelPlan(size_t count) : m_aPrn(count, 0) {}

    // Gives channels to `wanted`, ascending satellite numbers; returns how
    // many of them found none.
    size_t Assign(const std::vector<int>& wanted);

    int Channel(int prn) const; // -1: none
    int PrnOn(size_t channel) const { return m_aPrn[channel]; }
    size_t Size() const { return m_aPrn.size(); }

private:
    std::vector<int> m_aPrn; // 0: free
};

// The channels of every system, epoch after epoch.
class CReceiverChannels
{
public:
    CReceiverChannels(bool bin96, const SRinexObsHeader& header);

    // Who is in view (a satellite with a code range its message carries),
    // and who gets a channel; counted into `stats`.
    void Assign(const SRinexObsEpoch& epoch, StatsBySystem& stats);

    // Channel n of `system` holds element n: the satellite, or null.
    std::vector<const SRinexSatObs*> OnChannels(char system) const;
    // The channel of a satellite, -1 for none.
    int Channel(char system, int prn) const { return m_Plans.at(system).Channel(prn); }
    // Satellites of `system` in view at the last epoch.
    size_t InView(char system) const;
    // The BeiDou bands the file observes, in band order: one packet each.
    const std::vector<SBeidouBandCodes>& BeidouBands() const { return m_aBeidouBands; }

private:
    bool Locked(const SRinexSatObs& sat) const;

    std::vector<SBeidouBandCodes> m_aBeidouBands;
    std::map<char, CChannelPlan> m_Plans;
    std::map<char, std::map<int, const SRinexSatObs*>> m_InView;
};
} // namespace fromrinex
