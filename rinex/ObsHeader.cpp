#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "gnsstime/GpsTime.h"
#include "platform/FileIo.h"
#include "rinex/ObsWriter.h"
#include "rinex/ProgramLine.h"

// The header of the observation file. It is written at the first flush of an
// accepted epoch and rewritten in place at every later one, so the header in
// the file is complete and true after every epoch. That rests on every line
// being 81 bytes with its line end at every writing.

namespace
{

constexpr uint32_t kLineBytes = 81; // 80 characters and the line feed

// Half a unit of the header's sixth decimal, added to the last epoch's time.
constexpr double kLastObsOffset = 5e-07;

// Stream chunks moved at a time when the header grows by a line.
char s_aMoveBuffer[4096];

// Writes one header line. A line that printf would make longer than 81 bytes
// (a value wider than its field) is cut to 80 characters and its line feed:
// the epochs lie directly behind the header, and a longer line would
// overwrite them at the next rewrite.
__attribute__((format(printf, 2, 3))) void PutHeaderLine(std::FILE* file, const char* format, ...)
{
    char line[256];
    std::va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(line, sizeof(line), format, args);
    va_end(args);
    if (length < 0)
        return;
    if (static_cast<uint32_t>(length) > kLineBytes)
    {
        line[kLineBytes - 1] = '\n';
        line[kLineBytes] = '\0';
    }
    std::fputs(line, file);
}

// A TIME OF FIRST OBS or TIME OF LAST OBS line; `format` holds the label.
void PutObsTimeLine(std::FILE* file, const char* format, const SCalendarTime& calendar, double seconds)
{
    PutHeaderLine(file, format, calendar.m_iYear, calendar.m_iMonth, calendar.m_iDay, calendar.m_iHour,
                  calendar.m_iMinute, seconds);
}

bool AllBytesZero(const double (&values)[3])
{
    unsigned char bytes[sizeof(values)];
    std::memcpy(bytes, values, sizeof(bytes));
    for (unsigned char b : bytes)
        if (b != 0)
            return false;
    return true;
}

} // namespace

// The header takes the mixed form (type M and a comment line naming the
// systems) as soon as GLONASS or BeiDou B1 data have been added. Those flags
// are only raised by the adders, so a header first written in the GPS form
// can need the mixed form at a later rewrite; it is then one line longer than
// the header in the file, and the epochs lie directly behind it. Reserving
// the line from the start would change the header of every GPS-only file, so
// instead the data behind the header are moved up by one line here, once.
// The copy runs backwards in chunks from the end of the file, so no byte is
// overwritten before it has been moved. Every remembered position behind the
// header moves with the data.
void CWriteRinexObs::GrowHeaderByOneLine(StreamPos& saved)
{
    const StreamPos tailStart = m_posHeaderEnd;
    std::fseek(m_pFile, 0, SEEK_END);
    StreamPos from = GetStreamPos(m_pFile);

    while (from > tailStart)
    {
        StreamPos chunk = from - tailStart;
        if (chunk > static_cast<StreamPos>(sizeof(s_aMoveBuffer)))
            chunk = sizeof(s_aMoveBuffer);
        from -= chunk;
        SetStreamPos(m_pFile, from);
        const size_t got = std::fread(s_aMoveBuffer, 1, static_cast<size_t>(chunk), m_pFile);
        SetStreamPos(m_pFile, from + kLineBytes);
        std::fwrite(s_aMoveBuffer, 1, got, m_pFile);
    }
    std::fflush(m_pFile);

    const auto shift = [tailStart](StreamPos& pos) {
        if (pos != 0 && pos >= tailStart)
            pos += kLineBytes;
    };
    shift(m_posMarkerStart);
    shift(m_posMarkerEnd);
    shift(m_posMovingStart);
    shift(saved);
}

void CWriteRinexObs::WriteObsHeader()
{
    if (m_pFile == nullptr)
        return;

    if (m_timeFirstObs.m_uWeek == 0)
    {
        m_timeFirstObs = m_timeEpoch;
        FormatRunDate(m_szRunDate, sizeof(m_szRunDate));
    }

    std::fflush(m_pFile);

    // A header once mixed stays mixed, so it never shrinks away from the data
    // behind it.
    const bool mixed = m_bHeaderMixed || m_bSeenGlonass || m_abSeenBeidou[0];
    const bool firstWriting = !m_bHeaderPlaced;
    StreamPos saved = 0;
    if (firstWriting)
    {
        m_bHeaderPlaced = 1;
        m_posHeader = GetStreamPos(m_pFile);
    }
    else
    {
        saved = GetStreamPos(m_pFile);
        if (mixed && !m_bHeaderMixed)
            GrowHeaderByOneLine(saved);
        SetStreamPos(m_pFile, m_posHeader);
    }
    m_bHeaderMixed = mixed ? 1 : 0;

    const SExternalHeader& ext = g_ExternalHeader;
    const bool present = ext.m_bPresent != 0;

    if (mixed)
    {
        PutHeaderLine(m_pFile, "     3.02           OBSERVATION DATA    M                   RINEX VERSION / TYPE\n");
        PutHeaderLine(m_pFile, "G = GPS R = GLONASS C = BDS M = MIXED                       COMMENT             \n");
    }
    else
    {
        PutHeaderLine(m_pFile, "     3.02           OBSERVATION DATA    GPS                 RINEX VERSION / TYPE\n");
    }

    PutHeaderLine(m_pFile, kProgramLineFormat, kProgramName, kRunBy, m_szRunDate);

    if (present)
        PutHeaderLine(m_pFile, "%-80s\n", ext.m_szObserverLine);
    else
        PutHeaderLine(m_pFile, "YOUR NAME           TALLOWMERE                              OBSERVER / AGENCY   \n");

    if (present)
        PutHeaderLine(m_pFile, "%-80s\n", ext.m_szMarkerNameLine);
    else
        PutHeaderLine(m_pFile, "MARKER001                                                   MARKER NAME         \n");

    if (present)
        PutHeaderLine(m_pFile, "%-80s\n", ext.m_szMarkerNumberLine);

    if (present)
        PutHeaderLine(m_pFile, "%-80s\n", ext.m_szReceiverLine);
    else
        PutHeaderLine(m_pFile, "000000001           TALLOWMERE MERIDOR  001                 REC # / TYPE / VERS \n");

    PutHeaderLine(m_pFile, "     0                                                      RCV CLOCK OFFS APPL \n");

    // The position: a computed one wins over an external line. Without either
    // the header has no position line, and a comment further down takes its
    // 81 bytes, so the header's length doesn't depend on it.
    bool positionLine = true;
    if (AllBytesZero(m_aApproxXyz) && present && ext.m_szApproxPositionLine[0] != '\0')
        PutHeaderLine(m_pFile, "%-80s\n", ext.m_szApproxPositionLine);
    else if (m_aApproxXyz[0] == 0.0 && m_aApproxXyz[1] == 0.0 && m_aApproxXyz[2] == 0.0)
        positionLine = false;
    else
        PutHeaderLine(m_pFile, "%14.4f%14.4f%14.4f                  APPROX POSITION XYZ \n", m_aApproxXyz[0],
                      m_aApproxXyz[1], m_aApproxXyz[2]);

    if (present)
        PutHeaderLine(m_pFile, "%-80s\n", ext.m_szAntennaLine);
    else
        PutHeaderLine(m_pFile, "                                                            ANT # / TYPE        \n");

    if (present)
        PutHeaderLine(m_pFile, "%-80s\n", ext.m_szAntennaDeltaLine);
    else
        PutHeaderLine(m_pFile, "        0.0000        0.0000        0.0000                  ANTENNA: DELTA H/E/N\n");

    // The distance of the first two flushed epochs, in whole seconds, sets the
    // interval once; the rate detection may change it later, and each rewrite
    // prints its latest value. An interval given on the command line stays.
    if (!firstWriting && !m_bIntervalLatched)
    {
        const double dt = (static_cast<double>(m_timeEpoch.m_uWeek) - static_cast<double>(m_timeFirstObs.m_uWeek)) *
                              kSecondsPerWeek +
                          (m_timeEpoch.m_dSeconds - m_timeFirstObs.m_dSeconds);
        const double d = std::floor(dt + 0.5);
        m_bIntervalLatched = 1;
        if (d > 0.001 && !m_bIntervalFixed)
            m_dInterval = d;
    }
    PutHeaderLine(m_pFile, "%10.3f%s", m_dInterval,
                  "                                                  INTERVAL            \n");

    if (m_bSeenL2 && m_bSeenL1P)
        PutHeaderLine(m_pFile, "G    7 L1C C1C D1C L2Y C2Y D2Y C1Y                          SYS / # / OBS TYPES \n");
    else if (m_bSeenL2)
        PutHeaderLine(m_pFile, "G    6 L1C C1C D1C L2Y C2Y D2Y                              SYS / # / OBS TYPES \n");
    else
        PutHeaderLine(m_pFile, "G    3 L1C C1C D1C                                          SYS / # / OBS TYPES \n");
    PutHeaderLine(m_pFile, "R    6 L1C C1C D1C L2C C2C D2C                              SYS / # / OBS TYPES \n");
    PutHeaderLine(m_pFile, "C    9 L2I C2I D2I L7I C7I D7I L6I C6I D6I                  SYS / # / OBS TYPES \n");

    // First observation: an epoch whose seven-decimal seconds round to 60
    // moves into the next minute, as on its epoch line.
    SCalendarTime calendar{};
    char secondsText[32];
    double exactSeconds = 0.0;
    const double firstSeconds = CalendarForPrint(m_timeFirstObs, calendar, secondsText, exactSeconds);
    PutObsTimeLine(m_pFile, "%6d%6d%6d%6d%6d%12.6f      GPS         TIME OF FIRST OBS   \n", calendar,
                   firstSeconds);

    // Last observation: the half unit of the sixth decimal carries a time
    // such as 59.9999998 into the next minute by itself.
    GpsPlusToCalendar(m_timeEpoch, calendar, kLastObsOffset);
    PutObsTimeLine(m_pFile, "%6d%6d%6d%6d%6d%12.6f      GPS         TIME OF LAST OBS    \n", calendar,
                   calendar.m_dSeconds);

    if (!positionLine)
        PutHeaderLine(m_pFile, " NO VALID POSITION RECORD FOUND IN THE INPUT FILE           COMMENT             \n");

    int k[kGlonassSlots];
    for (uint32_t slot = 0; slot < kGlonassSlots; ++slot)
        k[slot] = g_aGlonassChannel[slot] - 8;
    PutHeaderLine(m_pFile,
                  "%3d R01 %2d R02 %2d R03 %2d R04 %2d R05 %2d R06 %2d R07 %2d R08 %2d GLONASS SLOT / FRQ #\n",
                  static_cast<int>(kGlonassSlots), k[0], k[1], k[2], k[3], k[4], k[5], k[6], k[7]);
    PutHeaderLine(m_pFile,
                  "    R09 %2d R10 %2d R11 %2d R12 %2d R13 %2d R14 %2d R15 %2d R16 %2d GLONASS SLOT / FRQ #\n",
                  k[8], k[9], k[10], k[11], k[12], k[13], k[14], k[15]);
    PutHeaderLine(m_pFile,
                  "    R17 %2d R18 %2d R19 %2d R20 %2d R21 %2d R22 %2d R23 %2d R24 %2d GLONASS SLOT / FRQ #\n",
                  k[16], k[17], k[18], k[19], k[20], k[21], k[22], k[23]);
    PutHeaderLine(m_pFile, " C1C    0.000 C1P    0.000 C2C    0.000 C2P    0.000        GLONASS COD/PHS/BIS \n");
    PutHeaderLine(m_pFile, "                                                            END OF HEADER       \n");
    m_posHeaderEnd = GetStreamPos(m_pFile);

    // On a rewrite the records land on themselves, byte for byte.
    if (m_bMovingAtStart)
        WriteMovingRecords();

    if (!firstWriting)
        SetStreamPos(m_pFile, saved);
    std::fflush(m_pFile);
}
