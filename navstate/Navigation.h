#pragma once

#include "gnsstime/GpsTime.h"
#include "navstate/BeidouSubFrame.h"
#include "navstate/GlonassFrequencies.h"
#include "navstate/NavState.h"
#include "navstate/UtcState.h"

// The navigation state of one run: the receiver's place, the satellite
// tables of the three systems, the BeiDou decoders, the GLONASS carriers and
// the UTC state, all timed by the run's log time. Built once for a run and
// shared with no other.
class CNavigation
{
public:
    explicit CNavigation(const CLogTime& logTime)
        : m_Utc(logTime),
          m_Gps(logTime, m_Receiver),
          m_Beidou(logTime, m_Receiver),
          m_Glonass(logTime, m_Receiver, m_Utc, m_GlonassFrequencies),
          m_BeidouDecoders(m_Beidou)
    {
    }
    CNavigation(const CNavigation&) = delete;
    CNavigation& operator=(const CNavigation&) = delete;

    // The passes that follow a navigation message of their system: every
    // waiting record of the numbers the files take (GPS 1 to 32, GLONASS
    // slots, BeiDou 1 to 63) comes into use. The GPS pass also takes the UTC
    // parameters from the stored BIN94, once, as soon as the GPS table holds
    // a record: from then on they time the GLONASS records and fill the
    // leap seconds of every navigation file.
    void PassGpsRecords();
    void PassGlonassRecords();
    void PassBeidouRecords();

    CNavState m_Receiver{};
    CGlonassFrequencies m_GlonassFrequencies;
    CUtcState m_Utc;
    CGpsNavState m_Gps;
    CBeidouNavState m_Beidou;
    CGlonassNavState m_Glonass;
    CBeidouDecoders m_BeidouDecoders;

private:
    bool m_bGpsRecordHeld = false; // a GPS pass has found a record in the table
};
