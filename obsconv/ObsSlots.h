#pragma once

#include <cstdint>

#include "navstate/BeidouCarriers.h"
#include "obsconv/SnrTable.h"

// One channel of one signal, kept between messages: it remembers which
// satellite its channel held and the receiver's last slip counter, which is
// what makes slip detection work.
struct SObsSlot
{
    uint32_t m_uChannel;    // channel index inside the message; fixed at start of run
    uint32_t m_uPRN;        // satellite number of the channel; 0 = nothing usable now
    uint32_t m_uSignal;     // signal code; fixed at start of run
    double m_dPseudorange;  // metres
    double m_dPhase;        // cycles
    double m_dDoppler;      // Hz as the message gives it
    double m_dSnr;          // dB; 0.0 when the raw value is 0
    uint32_t m_uSlipDelta;  // change of the slip counter since the previous message, modulo 256
    uint8_t m_bGoodLock;    // the receiver's good-lock bit
    uint32_t m_uSlipCounter; // last slip counter read, 0 to 255
    uint8_t m_bMasked;      // left out of the observation file by the elevation mask
    uint8_t m_bUsable;      // with the mask acting: the satellite's ephemeris may be used now
    uint32_t m_uNumberInMessage; // the record's satellite number as sent, 0 for an empty record
};

// Signal codes of the slot arrays.
constexpr uint32_t kSignalL1 = 0;   // GPS L1 C/A, GLONASS L1, BeiDou
constexpr uint32_t kSignalGpsL2 = 1;
constexpr uint32_t kSignalGpsL1P = 2;
constexpr uint32_t kSignalGloL2 = 3;

constexpr uint32_t kSlotsPerArray = 15;
constexpr uint32_t kChannelsPerMessage = 12; // BIN96 and BIN66 drive 12 channels (BIN76 15)
constexpr uint32_t kBdsSlotBands = kBeidouBands;
constexpr uint32_t kBdsSlotsPerBand = 20;

// The slots of a run, kept from message to message.
struct SObsSlots
{
    // Every slot starts empty (satellite 0) with a slip counter of 0; channel
    // index and signal code are set here once.
    SObsSlots();

    SObsSlot m_aSlotGpsL1[kSlotsPerArray];
    SObsSlot m_aSlotGpsL2[kSlotsPerArray];
    SObsSlot m_aSlotGpsL1P[kSlotsPerArray];
    SObsSlot m_aSlotGloL1[kSlotsPerArray];
    SObsSlot m_aSlotGloL2[kSlotsPerArray];
    SObsSlot m_aSlotBds[kBdsSlotBands][kBdsSlotsPerBand];
};

// Signal to noise in dB of the raw value, by the table of its signal.
void SetSnrFromRaw(SObsSlot& slot, uint32_t raw, const CSnrTable& table);

// Takes the receiver's slip counter: the change since the previous message
// modulo 256, 0 for a satellite `fresh` in the channel.
void TakeSlipCounter(SObsSlot& slot, uint32_t counter, bool fresh);
