#pragma once

// Puts every run-wide object of the converter back into the state it has when
// the process starts, so that one fuzzing process can convert input after
// input as if each were the first run of a fresh process.
//
// A run of the tool is one conversion per process: the command line writes the
// options, ConvertLog's PrepareRun hands them to the writers and zeroes the
// counters, and everything else (the satellite tables, the decoders, the
// stored messages, the log time) simply starts out zeroed before main. Here all
// of it is rebuilt by hand.

#include <array>
#include <cstring>
#include <memory>

#include "driver/ConvertLog.h"
#include "driver/RunOptions.h"
#include "driver/RunStats.h"
#include "gnsstime/GpsTime.h"
#include "logio/BinaryMessages.h"
#include "navstate/BeidouSubFrame.h"
#include "navstate/GlonassFrequencies.h"
#include "navstate/NavState.h"
#include "navstate/UtcState.h"
#include "obsconv/ObsSlots.h"
#include "rinex/BeidouNavWriter.h"
#include "rinex/GlonassNavWriter.h"
#include "rinex/NavWriter.h"
#include "rinex/ObsWriter.h"

namespace fuzzsupport
{
// The GLONASS channel table starts from built-in values that BIN65 messages
// overwrite; the first call keeps a copy of them.
inline const std::array<int16_t, kGlonassSlots>& StartingGlonassChannels()
{
    static const std::array<int16_t, kGlonassSlots> kStart = [] {
        std::array<int16_t, kGlonassSlots> copy{};
        std::memcpy(copy.data(), g_aGlonassChannel, sizeof g_aGlonassChannel);
        return copy;
    }();
    return kStart;
}

// Rebuilds an object that owns memory (the navigation tables allocate their
// message caches) in place.
template <typename T>
void Rebuild(T& object)
{
    std::destroy_at(&object);
    std::construct_at(&object);
}

// Everything a run reads or writes outside ConvertLog's own stack, as before
// the first argument is read. Call before each conversion.
inline void ResetRunState()
{
    const std::array<int16_t, kGlonassSlots>& channels = StartingGlonassChannels();
    std::memcpy(g_aGlonassChannel, channels.data(), sizeof g_aGlonassChannel);
    std::memset(g_aGlonassWavelength, 0, sizeof g_aGlonassWavelength);

    RunOptions = SRunOptions{};
    RunStats = SRunStats{};
    g_LogTime = GpsTime{};
    g_UtcParams = SUtcParams{};
    g_StoredMessages = SStoredMessages{};
    g_ExternalHeader = SExternalHeader{};
    g_iGpsLeapSeconds = 0;
    g_iBeidouLeapSeconds = 0;

    Rebuild(g_GpsNavState);
    Rebuild(g_BeidouNavState);
    Rebuild(g_GlonassNavState);
    g_NavState = CNavState{};

    for (uint32_t channel = 0; channel < kBeidouChannels; ++channel)
        g_aBeidouSubFrame[channel] = CBeidouSubFrame(channel);
    // The command line allocates this table once per process; a later call zeroes it.
    AllocateBeidouEphTable();

    std::memset(g_aSlotGpsL1, 0, sizeof g_aSlotGpsL1);
    std::memset(g_aSlotGpsL2, 0, sizeof g_aSlotGpsL2);
    std::memset(g_aSlotGpsL1P, 0, sizeof g_aSlotGpsL1P);
    std::memset(g_aSlotGloL1, 0, sizeof g_aSlotGloL1);
    std::memset(g_aSlotGloL2, 0, sizeof g_aSlotGloL2);
    std::memset(g_aSlotBds, 0, sizeof g_aSlotBds);

    g_ObsWriter = CWriteRinexObs{};
    g_GpsNavWriter = CWriteRinexNav{};
    g_GlonassNavWriter = CWriteRinexGlonassNav{};
    g_BeidouNavWriter = CWriteRinexBeiDouNav{};

    g_pObsFile = nullptr;
    g_pGpsNavFile = nullptr;
    g_pGlonassNavFile = nullptr;
    g_pBeidouNavFile = nullptr;
}
} // namespace fuzzsupport
