#pragma once

// Observation conversion tests start from a writer, GPS table and options as
// at the start of a run, and put back everything they change.

#include <gtest/gtest.h>

#include <cstring>

#include "driver/RunOptions.h"
#include "logbuild/FrameWriter.h"
#include "obsconv/EpochAssembly.h"

class CObsconvTest : public ::testing::Test
{
protected:
    static constexpr uint32_t kTestRow = 8; // satellite 9: the one row whose records a test may set

    void SetUp() override
    {
        CGpsNavState& s = g_GpsNavState;
        std::memcpy(m_aSavedSlots, g_aSlotGpsL1, sizeof(m_aSavedSlots));
        std::memcpy(m_auSavedTruePRN, s.m_auTruePRN + kFixedRows, sizeof(m_auSavedTruePRN));
        std::memcpy(m_abSavedUsed, s.m_abExtendedUsed, sizeof(m_abSavedUsed));
        m_uSavedCount = s.m_uExtendedCount;
        m_aSavedEphemeris[0] = s.m_aEphemeris[kTestRow];
        m_aSavedEphemeris[1] = s.m_aPendingEphemeris[kTestRow];
        m_bSavedOutputL1P = RunOptions.m_bOutputL1P;
        const uint32_t presetExtended[kExtendedRows] = {122, 134, 35};
        std::memcpy(s.m_auTruePRN + kFixedRows, presetExtended, sizeof(presetExtended));
        std::memset(s.m_abExtendedUsed, 0, sizeof(s.m_abExtendedUsed));
        s.m_uExtendedCount = 0;
        ResetWriter();
    }

    void TearDown() override
    {
        CGpsNavState& s = g_GpsNavState;
        g_ObsWriter = m_SavedWriter;
        std::memcpy(g_aSlotGpsL1, m_aSavedSlots, sizeof(m_aSavedSlots));
        std::memcpy(s.m_auTruePRN + kFixedRows, m_auSavedTruePRN, sizeof(m_auSavedTruePRN));
        std::memcpy(s.m_abExtendedUsed, m_abSavedUsed, sizeof(m_abSavedUsed));
        s.m_uExtendedCount = m_uSavedCount;
        s.m_aEphemeris[kTestRow] = m_aSavedEphemeris[0];
        s.m_aPendingEphemeris[kTestRow] = m_aSavedEphemeris[1];
        RunOptions.m_bOutputL1P = m_bSavedOutputL1P;
        SetLogTime(0.0, 0);
    }

    // The writer as at the start of a run, without a stream so that no flush can write.
    static void ResetWriter()
    {
        std::memset(static_cast<void*>(&g_ObsWriter), 0, sizeof(g_ObsWriter));
        g_ObsWriter.m_dInterval = 1.0;
    }

    static bool GateAt(double seconds, uint32_t week = 2200)
    {
        SetLogTime(seconds, week);
        return PassRateGate();
    }

    // An occupied slot with good lock and no slip.
    static SObsSlot Slot(uint32_t prn, uint32_t signal = kSignalL1, double snr = 40.0)
    {
        return SObsSlot{0, prn, signal, 2.1e7 + prn, 1.1e8 + prn, -1500.25, snr, 0, 1, 0, 0};
    }

private:
    CWriteRinexObs m_SavedWriter{g_ObsWriter};
    SObsSlot m_aSavedSlots[kSlotsPerArray];
    uint32_t m_auSavedTruePRN[kExtendedRows];
    uint8_t m_abSavedUsed[kExtendedRows];
    uint32_t m_uSavedCount = 0;
    SGpsEphemeris m_aSavedEphemeris[2];
    bool m_bSavedOutputL1P = false;
};
