#include <cmath>
#include <cstdint>
#include <cstdio>

#include "gnsstime/GpsTime.h"
#include "logio/BinaryMessages.h"
#include "logio/ByteReader.h"
#include "navstate/NavState.h"
#include "navstate/UtcState.h"
#include "rinex/NavWriter.h"
#include "rinex/NumberFields.h"

// The GPS navigation file: its header, the record of one satellite, and the
// ionosphere, UTC and leap second lines filled into the header from the stored
// BIN94. Its pass is also the moment the run takes its UTC state, with or
// without a file to write.

namespace
{


// The reserved header lines of the GPS file.
constexpr uint32_t kLineGpsa = 0;
constexpr uint32_t kLineGpsb = 1;
constexpr uint32_t kLineGput = 2;

constexpr const char* kGpsTypeText = "G: GPS";

// A clock time a hair below a whole second prints as that second.
constexpr double kTocPrintOffset = 0.05;

// Orbit line 5: codes on L2, and the L2 P data flag as the file shows it.
constexpr double kCodesOnL2 = 1.0;
constexpr double kL2PDataFlag = 0.0;
constexpr double kSpare = 0.0;

// Fit intervals in hours.
constexpr double kFitFlagClear = 4.0;
constexpr double kFitShortTerm = 6.0;
constexpr uint16_t kIodcLimit = 1023;
constexpr uint16_t kIodeExtendedFirst = 240;
constexpr uint16_t kIodeExtendedLast = 255;

// Hours of the extended operations, told by the IODC; 0.0 for an IODC that
// names none.
double FitHoursFromIodc(uint16_t iodc)
{
    if (iodc >= 240 && iodc <= 247)
        return 8.0;
    if ((iodc >= 248 && iodc <= 255) || iodc == 496)
        return 14.0;
    if (iodc >= 497 && iodc <= 503)
        return 26.0;
    if (iodc >= 504 && iodc <= 510)
        return 50.0;
    if ((iodc >= 752 && iodc <= 756) || iodc == 511)
        return 74.0;
    if (iodc == 757)
        return 98.0;
    return 0.0;
}

} // namespace

const double g_aUraMetres[kUraEntries] = {2.0,   2.8,   4.0,   5.7,    8.0,    11.3,   16.0,   32.0,
                                          64.0,  128.0, 256.0, 512.0,  1024.0, 2048.0, 4096.0, 9999.0};

double GpsFitIntervalHours(const SGpsEphemeris& record)
{
    if (record.m_uFitFlag == 0)
        return kFitFlagClear;

    const uint16_t iode = record.m_uIode;
    const uint16_t iodc = record.m_uIodc;
    double dFtiRinex = 0.0;
    if (iodc <= kIodcLimit && (iode < kIodeExtendedFirst || iode > kIodeExtendedLast))
        dFtiRinex = kFitShortTerm;
    else
        dFtiRinex = FitHoursFromIodc(iodc);

    // An IODE above 8 bits can't come from subframe 2.
    if (iode > kIodeExtendedLast)
        dFtiRinex = 0.0;
    return dFtiRinex;
}

void CWriteRinexNav::WriteHeader()
{
    if (m_pFile == nullptr)
        return;

    WriteBlankReservedHeader(kGpsTypeText);
}

void CWriteRinexNav::WritePending()
{
    WriteNewIssues(*this, m_Table, kLastGpsNumber, &CWriteRinexNav::WriteHeader, &CWriteRinexNav::IssueKeyIode,
                   &CWriteRinexNav::WriteGpsRecord);

    if (m_bHeaderWritten && !m_bIonoWritten && m_Utc.UtcTaken())
    {
        WriteIonoUtc();
        m_bIonoWritten = 1;
    }
}

void CWriteRinexNav::WriteGpsRecord(uint32_t number, const SGpsEphemeris& record)
{
    if (m_pFile == nullptr)
        return;

    SCalendarTime calendar{};
    GpsPlusToCalendar(GpsTime{record.m_uTocWeek, record.m_dToc}, calendar, kTocPrintOffset);

    WriteClockLine('G', number, calendar, calendar.m_iSecond, record.m_dAf0, record.m_dAf1, record.m_dAf2);

    // The record holds seconds, metres and radians already: no scaling here.
    // Line 7 shows the clock time where RINEX has the transmission time.
    WriteOrbitRow(*this, record.m_uIode, record.m_dCrs, record.m_dDeltaN, record.m_dM0);
    WriteOrbitRow(*this, record.m_dCuc, record.m_dEcc, record.m_dCus, record.m_dSqrtA);
    WriteOrbitRow(*this, record.m_dToe, record.m_dCic, record.m_dOmega0, record.m_dCis);
    WriteOrbitRow(*this, record.m_dI0, record.m_dCrc, record.m_dOmega, record.m_dOmegaDot);
    WriteOrbitRow(*this, record.m_dIdot, kCodesOnL2, record.m_uToeWeek, kL2PDataFlag);
    WriteOrbitRow(*this, g_aUraMetres[record.m_uUra & kUraIndexMask], record.m_uHealth, record.m_dTgd,
                  record.m_uIodc);
    WriteOrbitRow(*this, record.m_dToc, GpsFitIntervalHours(record), kSpare, kSpare);
}

void CWriteRinexNav::WriteIonoUtc()
{
    if (m_pFile == nullptr)
        return;

    const uint8_t* msg = m_Utc.Bin94();
    auto field12 = [msg](uint32_t offset, char (&dst)[kFieldD12 + 1]) { FormatD12(ReadDouble(msg, offset), dst); };

    char a[4][kFieldD12 + 1];
    for (uint32_t i = 0; i < 4; ++i)
        field12(kBin94Alpha0 + 8 * i, a[i]);
    FillReservedLine(kLineGpsa, "GPSA %12.12s%12.12s%12.12s%12.12s       IONOSPHERIC CORR    \n", a[0], a[1], a[2],
                     a[3]);
    for (uint32_t i = 0; i < 4; ++i)
        field12(kBin94Beta0 + 8 * i, a[i]);
    FillReservedLine(kLineGpsb, "GPSB %12.12s%12.12s%12.12s%12.12s       IONOSPHERIC CORR    \n", a[0], a[1], a[2],
                     a[3]);

    char a0[kFieldD17 + 1];
    char a1[kFieldD16 + 1];
    FormatD17(ReadDouble(msg, kBin94A0), a0);
    FormatD16(ReadDouble(msg, kBin94A1), a1);
    FillReservedLine(kLineGput, "GPUT %17.17s%16.16s%7lu%5lu          TIME SYSTEM CORR    \n", a0, a1,
                     static_cast<unsigned long>(ReadU32(msg, kBin94Tot)),
                     static_cast<unsigned long>(ReadU16(msg, kBin94Wnt)));

    if (!m_bLeapWritten)
    {
        FillLeapSecondsLine(m_Utc.m_iGpsLeapSeconds);
        m_bLeapWritten = 1;
    }
}
