#include <cstdint>
#include <cstdio>
#include <cstring>

#include "gnsstime/GpsTime.h"
#include "logio/BinaryMessages.h"
#include "logio/ByteReader.h"
#include "navstate/NavState.h"
#include "navstate/UtcState.h"
#include "rinex/BeidouNavWriter.h"
#include "rinex/DecimalFields.h"
#include "rinex/NumberFields.h"

// The BeiDou navigation file. The records hold their times moved to GPS time
// beside the values as broadcast; the file shows BDT, so the clock time goes
// back by the 14 s that BDT trails GPS time, and toe and Omega0 are written
// as broadcast.

namespace
{

// The pass covers every number with a row, C01 to C63.
constexpr uint32_t kLastBeidouNumber = kBeidouRows;
constexpr const char* kBeidouTypeText = "C: BDS";

// A clock time whose seconds show as 60 belongs to the next minute: it is
// converted again this much later, and its seconds shown as 0.
constexpr double kMinuteCarryOffset = 5e-07;

constexpr double kSpare = 0.0;

// SBinaryMsg34 field offsets from the frame's first byte.
constexpr uint32_t kBin34A0 = 8;
constexpr uint32_t kBin34A1 = 12;
constexpr uint32_t kBin34Tot = 28;
constexpr uint32_t kBin34Wnt = 29;
constexpr double kBin34A0Unit = 9.313225746154785e-10;  // 2^-30 s
constexpr double kBin34A1Unit = 8.881784197001252e-16;  // 2^-50 s/s
constexpr unsigned long kBin34TotUnit = 4096;           // seconds

} // namespace

CWriteRinexBeiDouNav::CWriteRinexBeiDouNav(CBeidouNavState& table, CUtcState& utc)
    : CWriteRinexNav(table, utc), m_Table(table)
{
}

void CWriteRinexBeiDouNav::WriteHeader()
{
    WriteBlankReservedHeader(kBeidouTypeText);
}

void CWriteRinexBeiDouNav::WritePending()
{
    WriteNewIssues(*this, m_Table, kLastBeidouNumber, &CWriteRinexBeiDouNav::WriteHeader,
                   &CWriteRinexNav::IssueKeyIode, &CWriteRinexBeiDouNav::WriteBeidouRecord);

    // The leap seconds come from the run's UTC state; until it is taken the
    // blank line stays.
    if (m_bHeaderWritten && m_Utc.m_iBeidouLeapSeconds != 0 && !m_bLeapPassDone)
    {
        if (!m_bLeapWritten)
            FillLeapSecondsLine(m_Utc.m_iBeidouLeapSeconds);
        m_bLeapWritten = 1;
        m_bLeapPassDone = 1;
    }

    // A BIN34 stored before the header existed went to the start of the
    // empty file, where the header has since covered it; it gets its place
    // now.
    if (m_bHeaderWritten && !m_bBdutWritten && m_Utc.Bin34Stored())
    {
        WriteBdutLine();
        m_bBdutWritten = 1;
    }
}

void CWriteRinexBeiDouNav::WriteBeidouRecord(uint32_t number, const SBeidouEphemeris& record)
{
    if (m_pFile == nullptr)
        return;

    // The conversion brings the time into its week in place, and line 7
    // shows the seconds as they are then.
    GpsTime bdt{record.m_uTocWeek, record.m_dToc};
    GpsToBdt(bdt);
    SCalendarTime calendar{};
    GpsToCalendar(bdt, calendar);
    if (SecondsShowAsSixty(calendar.m_dSeconds))
    {
        GpsPlusToCalendar(bdt, calendar, kMinuteCarryOffset);
        calendar.m_dSeconds = 0.0;
    }

    WriteClockLine('C', number, calendar, static_cast<int>(calendar.m_dSeconds), record.m_dAf0, record.m_dAf1,
                   record.m_dAf2);

    // Line 1 shows the AODE, not the key that made the record due. Line 5's
    // week is a BDT week, signed. Line 6 has both group delays. Line 7 has
    // the clock time in BDT where RINEX has the transmission time, and the
    // AODC, which the record keeps as its IODC. There is no fit interval.
    const int32_t bdtWeek = static_cast<int32_t>(record.m_uToeWeek) - static_cast<int32_t>(kBdtFirstGpsWeek);
    WriteOrbitRow(*this, record.m_uAode, record.m_dCrs, record.m_dDeltaN, record.m_dM0);
    WriteOrbitRow(*this, record.m_dCuc, record.m_dEcc, record.m_dCus, record.m_dSqrtA);
    WriteOrbitRow(*this, record.m_dToeBdt, record.m_dCic, record.m_dOmega0Bdt, record.m_dCis);
    WriteOrbitRow(*this, record.m_dI0, record.m_dCrc, record.m_dOmega, record.m_dOmegaDot);
    WriteOrbitRow(*this, record.m_dIdot, kSpare, bdtWeek, kSpare);
    WriteOrbitRow(*this, g_aUraMetres[record.m_uUra & kUraIndexMask], record.m_uHealth, record.m_dTgd,
                  record.m_dTgd2);
    WriteOrbitRow(*this, bdt.m_dSeconds, record.m_uIodc, kSpare, kSpare);
}

void CWriteRinexBeiDouNav::WriteBdutLine()
{
    if (m_pFile == nullptr)
        return;

    // Before the header exists the reserved position is 0: the line lands at
    // the start of the empty file, and the header covers it when it comes.
    const uint8_t* msg = m_Utc.Bin34();
    char a0[kFieldD17 + 1];
    char a1[kFieldD16 + 1];
    FormatD17(ReadI32(msg, kBin34A0) * kBin34A0Unit, a0);
    FormatD16(ReadI32(msg, kBin34A1) * kBin34A1Unit, a1);
    FillReservedLine(kReservedTimeSystemCorr, "BDUT %17.17s%16.16s%7lu%5lu          TIME SYSTEM CORR    \n", a0, a1,
                     ReadU8(msg, kBin34Tot) * kBin34TotUnit, static_cast<unsigned long>(ReadU8(msg, kBin34Wnt)));
}
