#pragma once

#include <cstdint>

#include "gnsstime/GpsTime.h"
#include "logio/BinaryMessages.h"

// The run's UTC state: the last BIN94 and BIN34 of the log as they came, the
// UTC parameters and the leap seconds they give. The parameters are taken
// once, at the moment the GPS navigation pass first has both a record due and
// a BIN94 stored, and they serve every file alike: GLONASS times in the
// observations, the LEAP SECONDS lines of all three navigation files. So no
// output depends on which other outputs are named.
class CUtcState
{
public:
    explicit CUtcState(const CLogTime& logTime) : m_LogTime(logTime) {}

    // The last copy of each message, overwritten whole by every one that comes.
    void StoreBin94(const uint8_t* frame);
    void StoreBin34(const uint8_t* frame);
    bool Bin94Stored() const;
    bool Bin34Stored() const;
    const uint8_t* Bin94() const { return m_Bin94.m_aFrame; }
    const uint8_t* Bin34() const { return m_Bin34.m_aFrame; }

    // Fills m_UtcParams from the stored BIN94 and sets the run's leap seconds
    // from them at the log time (from the message's own count while the log
    // time is still unset).
    void TakeUtcParams();
    bool UtcTaken() const { return m_UtcParams.m_uStatus == kUtcParamsFilled; }

    SUtcParams m_UtcParams{};
    // GPS minus UTC, and the same less the 14 s by which BeiDou time trails
    // GPS time. 0 until TakeUtcParams.
    int32_t m_iGpsLeapSeconds = 0;
    int32_t m_iBeidouLeapSeconds = 0;

private:
    const CLogTime& m_LogTime;
    SBinaryMsg94 m_Bin94{};
    SBinaryMsg34 m_Bin34{};
};
