#pragma once

// Observation conversion tests work on a conversion's own objects: the log
// time, the navigation state, the slots and the epoch assembly, whose
// finished epochs are kept.

#include <gtest/gtest.h>

#include <vector>

#include "gnsstime/GpsTime.h"
#include "logbuild/FrameWriter.h"
#include "navstate/Navigation.h"
#include "obsconv/EpochAssembly.h"
#include "obsconv/ObsIntake.h"

class CObsconvTest : public ::testing::Test
{
public:
    CObsconvTest()
        : m_Navigation(m_LogTime),
          m_Assembly(m_LogTime, m_Navigation.m_Gps, m_Navigation.m_Beidou),
          m_Intake(SObsIntake::Of(m_Slots, m_Assembly, m_Navigation, m_Mask))
    {
        m_Assembly.SetRun(1.0, false, false, &m_Epochs);
    }

protected:
    bool GateAt(double seconds, uint32_t week = 2200)
    {
        m_LogTime.SetLogTime(seconds, week);
        return m_Assembly.PassRateGate();
    }

    const SObsEpoch& Pending() const { return m_Assembly.Epoch(); }

    // An occupied slot with good lock and no slip.
    static SObsSlot Slot(uint32_t prn, uint32_t signal = kSignalL1, double snr = 40.0)
    {
        return SObsSlot{0, prn, signal, 2.1e7 + prn, 1.1e8 + prn, -1500.25, snr, 0, 1, 0, 0, true, 0};
    }

public:
    // The epochs the assembly hands on, as they were handed.
    struct CEpochs : IEpochSink
    {
        void TakeEpoch(const SObsEpoch& epoch) override { m_aEpochs.push_back(epoch); }
        std::vector<SObsEpoch> m_aEpochs;
    };

    CLogTime m_LogTime;
    CNavigation m_Navigation;
    SObsSlots m_Slots;
    SMaskRule m_Mask;
    CEpochAssembly m_Assembly;
    CEpochs m_Epochs;
    SObsIntake m_Intake;
};
