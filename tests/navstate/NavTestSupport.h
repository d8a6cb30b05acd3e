#pragma once

#include <memory>

#include "gnsstime/GpsTime.h"
#include "navstate/GlonassFrequencies.h"
#include "navstate/NavState.h"
#include "navstate/UtcState.h"

// Navigation tests make the tables of a run themselves: every table they
// make shares the run's log time, receiver's place, UTC state and GLONASS
// carriers, all of which start as at the start of a run.
struct SNavTestRun
{
    std::unique_ptr<CGpsNavState> Gps() { return std::make_unique<CGpsNavState>(m_LogTime, m_Receiver); }
    std::unique_ptr<CBeidouNavState> Beidou() { return std::make_unique<CBeidouNavState>(m_LogTime, m_Receiver); }
    std::unique_ptr<CGlonassNavState> Glonass()
    {
        return std::make_unique<CGlonassNavState>(m_LogTime, m_Receiver, m_Utc, m_Frequencies);
    }
    void SetLogTime(double seconds, uint32_t week) { m_LogTime.SetLogTime(seconds, week); }

    CLogTime m_LogTime;
    CNavState m_Receiver{};
    CGlonassFrequencies m_Frequencies;
    CUtcState m_Utc{m_LogTime};
};
