#include "navstate/NavState.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>

#include "gnsstime/GpsTime.h"
#include "navstate/Geodesy.h"

namespace
{
// Bytes of one row of each message cache.
constexpr uint32_t kMessageCacheRowBytes = 140; // SBinaryMsg95 / SBinaryMsg93
constexpr uint32_t kGloMessageCacheRowBytes = 80; // SBinaryMsg65

// Preset numbers of the extended rows 32, 33, 34.
constexpr uint32_t kPresetExtendedPRN[kExtendedRows] = {122, 134, 35};

// Age limits of a record, seconds.
constexpr double kGpsFitLimitFlag0 = 14400.0;
constexpr double kGpsFitLimitFlag1 = 21600.0;
constexpr double kGpsFitLimitOther = 0.0;
constexpr double kGlonassAgeLimit = 2700.0;

// Bit 5 of the GPS health: the satellite is flagged unhealthy.
constexpr uint16_t kGpsUnhealthyBit = 32;

// A record is held when its status has one of the two low bits set.
bool HoldsRecord(uint16_t status)
{
    return (status & 3) != 0;
}

// Seconds from (week, seconds) of a reference to the log time. The weeks are
// subtracted as doubles: a reference in a later week than the log gives a
// negative age and not a wrapped unsigned one.
double AgeFromLogTime(const GpsTime& log, uint32_t refWeek, double refSeconds)
{
    return (static_cast<double>(log.m_uWeek) - static_cast<double>(refWeek)) * kSecondsPerWeek +
           log.m_dSeconds - refSeconds;
}

// The status for an age against its limit, with 8 added when unhealthy.
uint16_t EvaluatedStatus(double dt, double limit, bool unhealthy)
{
    uint16_t status = std::fabs(dt) >= limit ? kStatusOutsideFit : kStatusInFit;
    if (unhealthy)
        status = static_cast<uint16_t>(status + kStatusUnhealthy);
    return status;
}

// Row of a GLONASS slot (1 to 24 directly), or -1 when the slot has none.
int32_t GlonassRow(uint32_t slot)
{
    if (slot < 1 || slot > kGlonassSlots)
        return -1;
    return static_cast<int32_t>(slot) - 1;
}
} // namespace

// ---------------------------------------------------------------------------
// CGpsNavState

CGpsNavState::CGpsNavState(const CLogTime& logTime, const CNavState& receiver)
    : CGpsNavState(logTime, receiver, kFixedRows, kExtendedRows)
{
}

CGpsNavState::CGpsNavState(const CLogTime& logTime, const CNavState& receiver, uint32_t fixedRows,
                           uint32_t extendedRows)
    : m_uFixedRows(fixedRows), m_uRows(fixedRows + extendedRows), m_LogTime(logTime), m_Receiver(receiver)
{
    std::memset(m_aEphemeris, 0, sizeof(m_aEphemeris));
    std::memset(m_aPendingEphemeris, 0, sizeof(m_aPendingEphemeris));
    std::memset(m_aSatState, 0, sizeof(m_aSatState));
    std::memset(m_auTxTime, 0, sizeof(m_auTxTime));
    std::memset(m_auPendingTxTime, 0, sizeof(m_auPendingTxTime));
    std::memset(m_adElevation, 0, sizeof(m_adElevation));
    std::memset(m_adAzimuth, 0, sizeof(m_adAzimuth));
    std::memset(m_auTruePRN, 0, sizeof(m_auTruePRN));
    for (uint32_t row = 0; row < m_uFixedRows; ++row)
        m_auTruePRN[row] = row + 1;
    for (uint32_t row = m_uFixedRows; row < m_uRows; ++row)
        m_auTruePRN[row] = kPresetExtendedPRN[row - m_uFixedRows];
    m_uExtendedCount = 0;
    std::memset(m_abExtendedUsed, 0, sizeof(m_abExtendedUsed));
    m_pMessageCache = new uint8_t[m_uRows][kMessageCacheRowBytes]();
}

CGpsNavState::~CGpsNavState()
{
    delete[] m_pMessageCache;
    m_pMessageCache = nullptr;
}

int32_t CGpsNavState::SatIndexFromPRN(int32_t prn)
{
    if (prn < 1)
        return -1;
    if (prn <= static_cast<int32_t>(kFixedRows))
        return prn - 1;

    const uint32_t number = static_cast<uint32_t>(prn);
    RegisterExtendedPRN(number);
    for (uint32_t row = kFixedRows; row < kSatRows; ++row)
    {
        if (m_auTruePRN[row] == number)
            return static_cast<int32_t>(row);
    }
    return -1;
}

void CGpsNavState::RegisterExtendedPRN(uint32_t prn)
{
    // Only numbers above the fixed rows have extended rows, and only while
    // one is free.
    const uint32_t extendedRows = m_uRows - m_uFixedRows;
    if (prn <= m_uFixedRows)
        return;
    if (m_uExtendedCount >= extendedRows)
        return;

    for (uint32_t i = 0; i < extendedRows; ++i)
    {
        if (m_auTruePRN[m_uFixedRows + i] == prn)
        {
            if (!m_abExtendedUsed[i])
            {
                m_abExtendedUsed[i] = 1;
                ++m_uExtendedCount;
            }
            return;
        }
    }

    for (uint32_t i = 0; i < extendedRows; ++i)
    {
        if (!m_abExtendedUsed[i])
        {
            m_abExtendedUsed[i] = 1;
            ++m_uExtendedCount;
            m_auTruePRN[m_uFixedRows + i] = prn;
            return;
        }
    }
}

bool CGpsNavState::RowOfPRN(uint32_t prn, uint32_t& row)
{
    const uint32_t internal = InternalPRNFromTruePRN(prn);
    if (internal == 0 || internal > m_uRows)
        return false;
    row = internal - 1;
    return true;
}

uint32_t CGpsNavState::InternalPRNFromTruePRN(uint32_t prn)
{
    if (prn >= 1 && prn <= m_uRows)
        return prn;

    // A number too large for the signed argument has no row; it is not handed
    // on, so it can never wrap into a valid or registrable number.
    int32_t row = -1;
    if (prn <= static_cast<uint32_t>(INT32_MAX))
        row = SatIndexFromPRN(static_cast<int32_t>(prn));
    if (row < 0 || row >= static_cast<int32_t>(m_uRows))
        return 0;
    return static_cast<uint32_t>(row) + 1;
}

const SGpsEphemeris* CGpsNavState::GetStructAlways(uint32_t prn, uint32_t* pTxTime)
{
    const int32_t row = static_cast<int32_t>(InternalPRNFromTruePRN(prn)) - 1;
    if (row < 0 || row >= static_cast<int32_t>(m_uRows))
        return nullptr;
    const SGpsEphemeris& record = m_aEphemeris[row];
    if (!HoldsRecord(record.m_uStatus))
        return nullptr;
    if (pTxTime != nullptr)
        *pTxTime = m_auTxTime[row];
    return &record;
}

void CGpsNavState::UpdateEphemerisAge(uint32_t prn)
{
    const int32_t row = static_cast<int32_t>(InternalPRNFromTruePRN(prn)) - 1;
    if (row < 0 || row >= static_cast<int32_t>(m_uRows))
        return; // callers pass numbers with a row; nothing to evaluate otherwise

    SGpsEphemeris& record = m_aEphemeris[row];
    const GpsTime& log = m_LogTime.Now();
    if (!HoldsRecord(record.m_uStatus) || log.m_uWeek == 0)
        return;

    const double dt = AgeFromLogTime(log, record.m_uToeWeek, record.m_dToe);
    double limit = kGpsFitLimitOther;
    if (record.m_uFitFlag == 0)
        limit = kGpsFitLimitFlag0;
    else if (record.m_uFitFlag == 1)
        limit = kGpsFitLimitFlag1;

    record.m_uStatus = EvaluatedStatus(dt, limit, (record.m_uHealth & kGpsUnhealthyBit) != 0);
}

bool CGpsNavState::ActivateEphemeris(uint32_t prn)
{
    const int32_t row = static_cast<int32_t>(InternalPRNFromTruePRN(prn)) - 1;
    if (row < 0 || row >= static_cast<int32_t>(m_uRows))
        return false;

    SGpsEphemeris& pending = m_aPendingEphemeris[row];
    SGpsEphemeris& current = m_aEphemeris[row];
    if (pending.m_uIode != 0 && HoldsRecord(pending.m_uStatus))
    {
        current = pending;
        m_auTxTime[row] = m_auPendingTxTime[row];
        pending.m_uStatus = kStatusEmpty;
        pending.m_uIode = 0;
        UpdateEphemerisAge(prn);
        if (current.m_uStatus == kStatusInFit)
            UpdateElevation(prn, true);
    }
    return current.m_uStatus == kStatusInFit && current.m_uHealth == 0;
}

// ---------------------------------------------------------------------------
// CBeidouNavState

CBeidouNavState::CBeidouNavState(const CLogTime& logTime, const CNavState& receiver)
    : CGpsNavState(logTime, receiver, kBeidouRows, 0)
{
}

int32_t CBeidouNavState::SatIndexFromPRN(int32_t prn)
{
    if (prn < 1 || prn > static_cast<int32_t>(kBeidouRows))
        return -1;
    return prn - 1;
}

// ---------------------------------------------------------------------------
// CGlonassNavState

CGlonassNavState::CGlonassNavState(const CLogTime& logTime, const CNavState& receiver, const CUtcState& utc,
                                   CGlonassFrequencies& frequencies)
    : CGpsNavState(logTime, receiver), m_Utc(utc), m_Frequencies(frequencies)
{
    std::memset(m_aGloEphemeris, 0, sizeof(m_aGloEphemeris));
    std::memset(m_aGloPendingEphemeris, 0, sizeof(m_aGloPendingEphemeris));
    m_pGloMessageCache = new uint8_t[kSatRows][kGloMessageCacheRowBytes]();
}

CGlonassNavState::~CGlonassNavState()
{
    delete[] m_pGloMessageCache;
    m_pGloMessageCache = nullptr;
}

int32_t CGlonassNavState::SatIndexFromPRN(int32_t prn)
{
    if (prn > static_cast<int32_t>(kGlonassSlots))
        return -1;
    return CGpsNavState::SatIndexFromPRN(prn);
}

const SGlonassEphemeris* CGlonassNavState::GetStructAlways(uint32_t slot, uint32_t* pTxTime)
{
    const int32_t row = GlonassRow(slot);
    if (row < 0)
        return nullptr;
    const SGlonassEphemeris& record = m_aGloEphemeris[row];
    if (!HoldsRecord(record.m_uStatus))
        return nullptr;
    if (pTxTime != nullptr)
        *pTxTime = m_auTxTime[row];
    return &record;
}

void CGlonassNavState::UpdateEphemerisAge(uint32_t slot)
{
    const int32_t row = GlonassRow(slot);
    if (row < 0)
        return;

    SGlonassEphemeris& record = m_aGloEphemeris[row];
    const GpsTime& log = m_LogTime.Now();
    if (!HoldsRecord(record.m_uStatus) || log.m_uWeek == 0)
        return;

    const double dt = AgeFromLogTime(log, record.m_uGpsWeek, record.m_dGpsSeconds);
    record.m_uStatus = EvaluatedStatus(dt, kGlonassAgeLimit, record.m_uBn != 0 || record.m_uLn != 0);
}

bool CGlonassNavState::ActivateEphemeris(uint32_t slot)
{
    const int32_t row = GlonassRow(slot);
    if (row < 0)
        return false;

    SGlonassEphemeris& pending = m_aGloPendingEphemeris[row];
    SGlonassEphemeris& current = m_aGloEphemeris[row];
    if (pending.m_uTb != 0 && HoldsRecord(pending.m_uStatus))
    {
        current = pending;
        m_auTxTime[row] = m_auPendingTxTime[row];
        pending.m_uStatus = kStatusEmpty;
        pending.m_uTb = 0;
        UpdateEphemerisAge(slot);
        if (current.m_uStatus == kStatusInFit)
            UpdateElevation(slot, true);
    }
    return current.m_uStatus == kStatusInFit && current.m_uHealth == 0;
}

// ---------------------------------------------------------------------------
// CNavState

namespace
{
// Default place when the run has no location (any fixed place will do, since
// nothing in the output depends on it): the Royal Observatory, Greenwich,
// latitude 51.4778 degrees north, longitude 0.0 degrees, height 46.0 metres.
constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;
constexpr double kDefaultLatitude = 51.4778 * kRadiansPerDegree;
constexpr double kDefaultLongitude = 0.0 * kRadiansPerDegree;
constexpr double kDefaultHeight = 46.0;
} // namespace

void CNavState::Init(bool haveLocation, const double llh[3])
{
    m_adLlh[0] = kDefaultLatitude;
    m_adLlh[1] = kDefaultLongitude;
    m_adLlh[2] = kDefaultHeight;
    if (haveLocation)
    {
        m_adLlh[0] = llh[0];
        m_adLlh[1] = llh[1];
        m_adLlh[2] = llh[2];
    }
    LlhToEcef(m_adLlh, m_adXyz);
    EcefToNeuMatrix(m_adXyz, m_adNeuMatrix);
}
