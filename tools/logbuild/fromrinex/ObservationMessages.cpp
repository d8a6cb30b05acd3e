#include "logbuild/fromrinex/ObservationMessages.h"

#include "logbuild/Bin36Encoder.h"
#include "logbuild/Bin66Encoder.h"
#include "logbuild/Bin96Encoder.h"

namespace fromrinex
{
namespace
{
// The messages carry signal to noise in a 1 kHz band; RINEX gives the
// carrier to noise density in dB-Hz.
constexpr double kCn0ToSnrDb = 30.0;

double SnrDb(const SRinexSatObs& sat, const char* code)
{
    const SRinexObsValue* s = sat.Find(code);
    if (s == nullptr)
        return 0.0; // no value
    const double db = s->m_dValue - kCn0ToSnrDb;
    return db == 0.0 ? 1e-6 : db; // an exact 0.0 would read as "no value"
}

// Element n made by `make` from the satellite on channel n; the channels
// without one stay empty.
template <typename TChannel, typename TMake>
std::vector<TChannel> ChannelsOf(const std::vector<const SRinexSatObs*>& onChannels, TMake make)
{
    std::vector<TChannel> channels(onChannels.size());
    for (size_t n = 0; n < onChannels.size(); ++n)
    {
        if (onChannels[n] != nullptr)
            channels[n] = make(*onChannels[n]);
    }
    return channels;
}
} // namespace

uint8_t CSlipCounters::Update(const SRinexSatObs& sat, const char* phaseCode)
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

Bytes MakeGpsObsFrame(const SWeekTime& time, bool bin96, const std::vector<const SRinexSatObs*>& onChannels,
                      CSlipCounters& slips)
{
    const auto week = static_cast<uint16_t>(time.m_uWeek);
    if (bin96)
    {
        const auto channels = ChannelsOf<SBin96Channel>(onChannels, [&](const SRinexSatObs& sat) {
            return MakeBin96Channel(static_cast<uint8_t>(sat.m_iPrn), MakeSignal(sat, kGpsL1, slips));
        });
        return MakeBin96Frame(week, time.m_dSeconds, channels);
    }
    // Channels 12 to 14 have no L2 and L1 P words: the encoder leaves them out.
    const auto channels = ChannelsOf<SBin76Channel>(onChannels, [&](const SRinexSatObs& sat) {
        SBin76Channel c;
        c.m_uPrn = static_cast<uint8_t>(sat.m_iPrn);
        c.m_L1 = MakeSignal(sat, kGpsL1, slips);
        c.m_L2 = MakeSignal(sat, kGpsL2, slips);
        if (const SRinexObsValue* p = sat.Find(kGpsL1P.m_szCode))
        {
            c.m_L1P.m_dPseudorange = p->m_dValue;
            c.m_L1P.m_dSnr = SnrDb(sat, kGpsL1P.m_szSnr);
        }
        return c;
    });
    return MakeBin76Frame(week, time.m_dSeconds, channels);
}

Bytes MakeGlonassObsFrame(const SWeekTime& time, const std::vector<const SRinexSatObs*>& onChannels,
                          CSlipCounters& slips)
{
    const auto channels = ChannelsOf<SBin66Channel>(onChannels, [&](const SRinexSatObs& sat) {
        SBin66Channel c;
        c.m_uSlot = static_cast<uint8_t>(sat.m_iPrn);
        c.m_L1 = MakeSignal(sat, kGlonassL1, slips);
        for (const SSignalCodes& l2 : kGlonassL2)
        {
            if (sat.Find(l2.m_szCode) != nullptr)
            {
                c.m_L2 = MakeSignal(sat, l2, slips);
                break;
            }
        }
        return c;
    });
    return MakeBin66Frame(static_cast<uint16_t>(time.m_uWeek), time.m_dSeconds, channels);
}

Bytes MakeBeidouObsFrame(const SWeekTime& time, const std::vector<SBeidouBandCodes>& bands, size_t index,
                         const std::vector<const SRinexSatObs*>& onChannels, CSlipCounters& slips)
{
    const SBeidouBandCodes& band = bands[index];
    const auto channels = ChannelsOf<SBin36Channel>(onChannels, [&](const SRinexSatObs& sat) {
        SBin36Channel c; // empty for a satellite without the band
        if (sat.Find(band.m_Codes.m_szCode) != nullptr)
        {
            c.m_uPrn = static_cast<uint8_t>(sat.m_iPrn);
            c.m_Signal = MakeSignal(sat, band.m_Codes, slips);
        }
        return c;
    });
    const SBin36Packet packet{band.m_uBand, static_cast<uint32_t>(index), static_cast<uint32_t>(bands.size())};
    return MakeBin36Frame(static_cast<uint16_t>(time.m_uWeek), time.m_dSeconds, packet, channels);
}
} // namespace fromrinex
