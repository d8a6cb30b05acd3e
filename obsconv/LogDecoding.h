#pragma once

#include <cstdint>

#include "gnsstime/GpsTime.h"
#include "navstate/Navigation.h"
#include "obsconv/ObsFate.h"
#include "obsconv/ObsIntake.h"

// Whoever follows what the "$BIN" messages change beyond the observation
// slots: the navigation writers of a conversion, the quality report.
class IDecodingListener
{
public:
    // A navigation message of `system` was taken and the navigation state's
    // pass has brought waiting records of that system into use.
    virtual void OnNavigationPass(ESystem system) = 0;
    // A BIN34 was stored.
    virtual void OnBin34Stored() = 0;
    // An observation message is left out whole, before it is decoded.
    virtual void OnMessageLeftOut(const uint8_t* frame, uint16_t number, EMessageLeftOut reason) = 0;

protected:
    ~IDecodingListener() = default;
};

// The messages counted for the end-of-run line, in the order it prints them.
enum ECountedMessage : uint32_t
{
    eCount96, eCount76, eCount95, eCount93, eCount94, eCount65, eCount66, eCount34,
    eCount35, eCount36, eCount101, eCount102, eCount103, eCount104, eCount80, eCount62,
    eCountedMessages
};

// Tells each "$BIN" frame by number and exact length and hands it to its
// consumer: an epoch message sets the log time and goes to its decoder, a
// GLONASS or BeiDou observation message joins the epoch of the same seconds,
// a navigation message goes to its table and the table's pass. The first of
// BIN96 and BIN76 decides the run: the other one is shut out for good.
class CLogDecoding
{
public:
    CLogDecoding(CLogTime& logTime, CNavigation& navigation, SObsIntake& intake, IDecodingListener& listener)
        : m_LogTime(logTime), m_Navigation(navigation), m_Intake(intake), m_Listener(listener)
    {
    }
    CLogDecoding(const CLogDecoding&) = delete;
    CLogDecoding& operator=(const CLogDecoding&) = delete;

    // False for a frame that matches no row of the message catalogue.
    bool DecodeBinFrame(const uint8_t* frame, uint32_t length);

    // How many frames of each counted message the run has taken.
    uint32_t Count(ECountedMessage message) const { return m_auCount[message]; }

private:
    bool SameSecondsAsLogTime(double seconds) const { return seconds == m_LogTime.Now().m_dSeconds; }
    void OnEpochMessage(const uint8_t* frame, uint16_t number, double seconds, uint32_t week,
                        void (*decode)(const uint8_t*, SObsIntake&));

    CLogTime& m_LogTime;
    CNavigation& m_Navigation;
    SObsIntake& m_Intake;
    IDecodingListener& m_Listener;
    bool m_bBin96Seen = false; // shuts BIN76 out for the rest of the run
    bool m_bBin76Seen = false; // shuts BIN96 out for the rest of the run
    uint32_t m_auCount[eCountedMessages] = {};
};
