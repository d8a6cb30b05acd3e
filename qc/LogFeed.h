#pragma once

#include <cstdint>
#include <vector>

#include "gnsstime/GpsTime.h"
#include "navstate/Navigation.h"
#include "obsconv/LogDecoding.h"
#include "obsconv/ObsFate.h"
#include "qc/QcAnalysis.h"

// Turns what the decoding of a log tells into the report's input: every
// observation with its values and what became of it on its way to the file,
// epoch by epoch, and every broadcast record as it comes into use.
class CQcLogFeed : public IObservationListener, public IDecodingListener
{
public:
    CQcLogFeed(const CLogTime& logTime, CNavigation& navigation, CQcAnalysis& analysis);

    void OnObservation(const SObsSlot& slot, ESystem system, uint32_t band, uint32_t row, EObsFate fate) override;
    void OnEpochFinished(const SObsEpoch& epoch, bool handed) override;
    void OnNavigationPass(ESystem system) override;
    void OnBin34Stored() override {}
    void OnMessageLeftOut(const uint8_t* frame, uint16_t number, EMessageLeftOut reason) override;

    // The observations still held, at the end of the log.
    void Finish();

private:
    // An observation of the epoch in hand; an entered one waits for its epoch's list.
    struct SPending
    {
        SQcObservation m_Obs;
        ESystem m_eSystem;
        uint32_t m_uSignal; // signal code of the slot arrays
        uint32_t m_uBand;
        uint32_t m_uRow;
        bool m_bEntered;
        bool m_bGoodLock;
    };

    void HandOn();
    SQcObservation Observation(const SObsSlot& slot, ESystem system, uint32_t band, uint32_t number) const;

    const CLogTime& m_LogTime;
    CNavigation& m_Navigation;
    CQcAnalysis& m_Analysis;
    std::vector<SPending> m_aPending; // capacity reused from epoch to epoch
    GpsTime m_timePending{};
    // The issue of the record last seen in use, per system and number.
    static constexpr uint32_t kNoIssue = 0xFFFFFFFFu;
    static constexpr uint32_t kNavSystems = 3;
    uint32_t m_auIssue[kNavSystems][kMaxSatRows];
    // A navigation pass came while the log had no time yet: per system, and
    // for any, which is all each observation looks at.
    bool m_abNavBeforeTime[kNavSystems] = {};
    bool m_bNavBeforeTime = false;
};
