#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <span>

#include "gnsstime/GpsTime.h"
#include "platform/FileIo.h"
#include "rinex/DecimalFields.h"
#include "rinex/ObsWriter.h"
#include "rinex/ProgramLine.h"

// The header of the observation file. It is written at the first flush of an
// accepted epoch and rewritten in place at every later one, so the header in
// the file is complete and true after every epoch. That rests on every line
// being 81 bytes with its line end at every writing.

namespace
{

// Half a unit of the header's sixth decimal, added to the last epoch's time.
constexpr double kLastObsOffset = 5e-07;

// Stream chunks moved at a time when the header grows by a line.
constexpr size_t kMoveChunkSize = 4096;

// Formats one header line into `dst`, which holds at least 82 bytes, and
// returns its length. A line that printf would make longer than 81 bytes (a
// value wider than its field) is cut to 80 characters and its line feed: the
// epochs lie directly behind the header, and a longer line would overwrite
// them at the next rewrite. A failed formatting leaves an empty line.
constexpr size_t kFormatBufferSize = 256;

// Copies a formatted line of `length` characters from `line` to `dst`, cut as above.
size_t PutCutLine(char* dst, char (&line)[kFormatBufferSize], int length)
{
    if (length < 0)
    {
        dst[0] = '\0';
        return 0;
    }
    if (static_cast<uint32_t>(length) > kLineBytes)
    {
        line[kLineBytes - 1] = '\n';
        line[kLineBytes] = '\0';
    }
    const size_t n = std::strlen(line);
    std::memcpy(dst, line, n + 1);
    return n;
}

size_t FormatHeaderLineV(char* dst, const char* format, std::va_list args)
{
    char line[kFormatBufferSize];
    return PutCutLine(dst, line, std::vsnprintf(line, sizeof(line), format, args));
}

__attribute__((format(printf, 2, 3))) size_t FormatHeaderLine(char* dst, const char* format, ...)
{
    std::va_list args;
    va_start(args, format);
    const size_t n = FormatHeaderLineV(dst, format, args);
    va_end(args);
    return n;
}

// TIME OF FIRST OBS and TIME OF LAST OBS, "%6d%6d%6d%6d%6d%12.6f" and the
// line's label, into `dst` as FormatHeaderLine puts it. The last one is made
// at every epoch, so its fields are made without printf.
size_t FormatObsTimeLine(char* dst, const SCalendarTime& calendar, double seconds, const char* label)
{
    constexpr uint32_t kIntWidth = 6;
    char line[kFormatBufferSize];
    size_t length = 0;
    for (const int32_t field :
         {calendar.m_iYear, calendar.m_iMonth, calendar.m_iDay, calendar.m_iHour, calendar.m_iMinute})
        AppendIntField(line, sizeof(line), length, field, kIntWidth);
    AppendFixedField(line, sizeof(line), length, FormatF12_6, seconds);
    const size_t labelLength = std::min(std::strlen(label), sizeof(line) - 1 - length);
    std::memcpy(line + length, label, labelLength);
    length += labelLength;
    line[length] = '\0';
    return PutCutLine(dst, line, static_cast<int>(length));
}

// "%-80s\n" as a header line: the text cut at 80 characters, padded with
// blanks to 80, and the line feed.
void PutPaddedLine(SHeaderImage& image, const char* text)
{
    constexpr size_t kTextColumns = kLineBytes - 1;
    char line[kLineBytes + 1];
    size_t n = 0;
    while (n < kTextColumns && text[n] != '\0')
    {
        line[n] = text[n];
        ++n;
    }
    std::memset(line + n, ' ', kTextColumns - n);
    line[kTextColumns] = '\n';
    line[kLineBytes] = '\0';
    image.Append(line);
}

// A site line from -H or the log's records when there is one, else the
// header's own line (none for an empty `own`).
void PutSiteLine(SHeaderImage& image, const char* site, const char* own)
{
    if (site[0] != '\0')
        PutPaddedLine(image, site);
    else
        image.Append(own);
}

// True when `memo` holds the text made from `keys`. Otherwise the memo takes
// the keys and the caller makes the text into it.
bool MemoHolds(SHeaderLineMemo& memo, std::span<const double> keys)
{
    if (keys.size() > SHeaderLineMemo::kMaxKeys)
        return false; // too many to keep: made anew each time
    const size_t bytes = keys.size() * sizeof(double);
    if (memo.m_uKeys == keys.size() && std::memcmp(memo.m_adKey, keys.data(), bytes) == 0)
        return true;
    std::memcpy(memo.m_adKey, keys.data(), bytes);
    memo.m_uKeys = static_cast<uint32_t>(keys.size());
    return false;
}

bool MemoHolds(SHeaderLineMemo& memo, std::initializer_list<double> keys)
{
    return MemoHolds(memo, std::span<const double>(keys.begin(), keys.size()));
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

void CWriteRinexObs::RewriteChangedBytes(const SHeaderImage& image)
{
    // Compared a line at a time: the changed bytes go out as whole lines.
    const auto differs = [&](size_t line) {
        const size_t at = line * kLineBytes;
        const size_t n = std::min<size_t>(kLineBytes, image.m_uLength - at);
        return std::memcmp(image.m_aText + at, m_imageInFile.m_aText + at, n) != 0;
    };
    const size_t lines = (image.m_uLength + kLineBytes - 1) / kLineBytes;
    size_t firstLine = 0;
    while (firstLine < lines && !differs(firstLine))
        ++firstLine;
    if (firstLine == lines)
        return;
    size_t lastLine = lines - 1;
    while (!differs(lastLine))
        --lastLine;
    const size_t first = firstLine * kLineBytes;
    const size_t end = std::min<size_t>((lastLine + 1) * kLineBytes, image.m_uLength);
    if (!WriteAtStreamPos(m_pFile, m_posHeader + static_cast<StreamPos>(first), image.m_aText + first, end - first))
        NoteIoError();
    std::memcpy(m_imageInFile.m_aText + first, image.m_aText + first, end - first);
}

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
    if (std::fseek(m_pFile, 0, SEEK_END) != 0)
        NoteIoError();
    StreamPos from = GetStreamPos(m_pFile);
    char buffer[kMoveChunkSize];

    while (from > tailStart)
    {
        StreamPos chunk = from - tailStart;
        if (chunk > static_cast<StreamPos>(kMoveChunkSize))
            chunk = kMoveChunkSize;
        from -= chunk;
        SeekTo(from);
        const size_t got = std::fread(buffer, 1, static_cast<size_t>(chunk), m_pFile);
        SeekTo(from + kLineBytes);
        std::fwrite(buffer, 1, got, m_pFile);
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

void CWriteRinexObs::WriteObsHeader(const SObsEpoch& epoch)
{
    if (m_pFile == nullptr)
        return;

    // The run date is taken with the first header and stays.
    const bool firstWriting = !m_bHeaderPlaced;
    if (firstWriting)
        FormatRunDate(m_szRunDate, sizeof(m_szRunDate));

    // A header once mixed stays mixed, so it never shrinks away from the data
    // behind it.
    const bool mixed = m_bHeaderMixed || epoch.m_bSeenGlonass || epoch.m_abSeenBeidou[0];
    const bool grows = !firstWriting && mixed && !m_bHeaderMixed;
    m_bHeaderMixed = mixed ? 1 : 0;
    SHeaderImage& image = m_imagePending;
    image.m_uLength = 0;

    const SExternalHeader& ext = m_External;

    if (mixed)
    {
        image.Append("     3.02           OBSERVATION DATA    M                   RINEX VERSION / TYPE\n");
        image.Append("G = GPS R = GLONASS C = BDS M = MIXED                       COMMENT             \n");
    }
    else
    {
        image.Append("     3.02           OBSERVATION DATA    GPS                 RINEX VERSION / TYPE\n");
    }

    const GpsTime& firstTime = epoch.m_timeFirstObs;
    const std::initializer_list<double> firstObs = {static_cast<double>(firstTime.m_uWeek), firstTime.m_dSeconds};
    if (!MemoHolds(m_memoProgram, firstObs))
        FormatHeaderLine(m_memoProgram.m_szText, kProgramLineFormat, kProgramName, kRunBy, m_szRunDate);
    image.Append(m_memoProgram.m_szText);

    PutSiteLine(image, ext.m_szObserverLine,
                "YOUR NAME           TALLOWMERE                              OBSERVER / AGENCY   \n");
    PutSiteLine(image, ext.m_szMarkerNameLine,
                "MARKER001                                                   MARKER NAME         \n");
    // Without a site line there is no MARKER NUMBER line at all.
    PutSiteLine(image, ext.m_szMarkerNumberLine, "");
    PutSiteLine(image, ext.m_szReceiverLine,
                "000000001           TALLOWMERE MERIDOR  001                 REC # / TYPE / VERS \n");

    image.Append("     0                                                      RCV CLOCK OFFS APPL \n");

    // The position: a computed one wins over an external line. Without either
    // the header has no position line, and a comment further down takes its
    // 81 bytes, so the header's length doesn't depend on it.
    bool positionLine = true;
    if (AllBytesZero(m_aApproxXyz) && ext.m_szApproxPositionLine[0] != '\0')
        PutPaddedLine(image, ext.m_szApproxPositionLine);
    else if (m_aApproxXyz[0] == 0.0 && m_aApproxXyz[1] == 0.0 && m_aApproxXyz[2] == 0.0)
        positionLine = false;
    else
    {
        if (!MemoHolds(m_memoPosition, {m_aApproxXyz[0], m_aApproxXyz[1], m_aApproxXyz[2]}))
            FormatHeaderLine(m_memoPosition.m_szText, "%14.4f%14.4f%14.4f                  APPROX POSITION XYZ \n",
                             m_aApproxXyz[0], m_aApproxXyz[1], m_aApproxXyz[2]);
        image.Append(m_memoPosition.m_szText);
    }

    PutSiteLine(image, ext.m_szAntennaLine,
                "                                                            ANT # / TYPE        \n");
    PutSiteLine(image, ext.m_szAntennaDeltaLine,
                "        0.0000        0.0000        0.0000                  ANTENNA: DELTA H/E/N\n");

    // The interval as the epochs have shown it so far, or as given.
    if (!MemoHolds(m_memoInterval, {epoch.m_dInterval}))
        FormatHeaderLine(m_memoInterval.m_szText, "%10.3f%s", epoch.m_dInterval,
                         "                                                  INTERVAL            \n");
    image.Append(m_memoInterval.m_szText);

    if (epoch.m_bSeenL2 && epoch.m_bSeenL1P)
        image.Append("G    7 L1C C1C D1C L2Y C2Y D2Y C1Y                          SYS / # / OBS TYPES \n");
    else if (epoch.m_bSeenL2)
        image.Append("G    6 L1C C1C D1C L2Y C2Y D2Y                              SYS / # / OBS TYPES \n");
    else
        image.Append("G    3 L1C C1C D1C                                          SYS / # / OBS TYPES \n");
    image.Append("R    6 L1C C1C D1C L2C C2C D2C                              SYS / # / OBS TYPES \n");
    image.Append("C    9 L2I C2I D2I L7I C7I D7I L6I C6I D6I                  SYS / # / OBS TYPES \n");

    // First observation: an epoch whose seven-decimal seconds round to 60
    // moves into the next minute, as on its epoch line.
    SCalendarTime calendar{};
    if (!MemoHolds(m_memoFirstObs, firstObs))
    {
        double remainder = 0.0;
        const double firstSeconds = CalendarForPrint(firstTime, calendar, remainder);
        FormatObsTimeLine(m_memoFirstObs.m_szText, calendar, firstSeconds,
                          "      GPS         TIME OF FIRST OBS   \n");
    }
    image.Append(m_memoFirstObs.m_szText);

    // Last observation: the half unit of the sixth decimal carries a time
    // such as 59.9999998 into the next minute by itself.
    GpsPlusToCalendar(epoch.m_timeEpoch, calendar, kLastObsOffset);
    char lastObs[kLineBytes + 1];
    FormatObsTimeLine(lastObs, calendar, calendar.m_dSeconds, "      GPS         TIME OF LAST OBS    \n");
    image.Append(lastObs);

    if (!positionLine)
        image.Append(" NO VALID POSITION RECORD FOUND IN THE INPUT FILE           COMMENT             \n");

    int k[kGlonassSlots];
    double keys[kGlonassSlots];
    for (uint32_t slot = 0; slot < kGlonassSlots; ++slot)
    {
        k[slot] = m_Frequencies.FrequencyChannel(slot);
        keys[slot] = k[slot];
    }
    static_assert(kGlonassSlots == 24, "the slot lines name 24 slots");
    if (!MemoHolds(m_memoSlots, keys))
    {
        char* at = m_memoSlots.m_szText;
        at += FormatHeaderLine(
            at, "%3d R01 %2d R02 %2d R03 %2d R04 %2d R05 %2d R06 %2d R07 %2d R08 %2d GLONASS SLOT / FRQ #\n",
            static_cast<int>(kGlonassSlots), k[0], k[1], k[2], k[3], k[4], k[5], k[6], k[7]);
        at += FormatHeaderLine(
            at, "    R09 %2d R10 %2d R11 %2d R12 %2d R13 %2d R14 %2d R15 %2d R16 %2d GLONASS SLOT / FRQ #\n", k[8],
            k[9], k[10], k[11], k[12], k[13], k[14], k[15]);
        FormatHeaderLine(at,
                         "    R17 %2d R18 %2d R19 %2d R20 %2d R21 %2d R22 %2d R23 %2d R24 %2d GLONASS SLOT / FRQ #\n",
                         k[16], k[17], k[18], k[19], k[20], k[21], k[22], k[23]);
    }
    image.Append(m_memoSlots.m_szText);
    image.Append(" C1C    0.000 C1P    0.000 C2C    0.000 C2P    0.000        GLONASS COD/PHS/BIS \n");
    image.Append("                                                            END OF HEADER       \n");

    // The usual rewrite, a header of the same length, waits for the next
    // SyncToDisk: then what changed goes over the header in the file with
    // one positioned write, behind the epochs it names, and the stream stays
    // behind the epochs.
    const StreamPos length = static_cast<StreamPos>(image.m_uLength);
    if (!firstWriting && !grows && !m_bMovingAtStart && length == m_posHeaderEnd - m_posHeader &&
        image.m_uLength == m_imageInFile.m_uLength)
    {
        m_bImagePending = 1;
        return;
    }
    m_bImagePending = 0;

    StreamPos saved = 0;
    if (firstWriting)
    {
        m_bHeaderPlaced = 1;
        m_posHeader = GetStreamPos(m_pFile);
    }
    else
    {
        saved = GetStreamPos(m_pFile);
        if (grows)
            GrowHeaderByOneLine(saved);
        SeekTo(m_posHeader);
    }
    std::fwrite(image.m_aText, 1, image.m_uLength, m_pFile);
    m_posHeaderEnd = GetStreamPos(m_pFile);
    m_imageInFile = image;

    // On a rewrite the records land on themselves, byte for byte.
    if (m_bMovingAtStart)
        WriteMovingRecords();

    if (!firstWriting)
        SeekTo(saved);
    std::fflush(m_pFile);
}

bool CWriteRinexObs::SyncToDisk()
{
    if (m_pFile == nullptr)
        return true;
    // The epochs first: a header on disk never names an epoch that isn't.
    if (std::fflush(m_pFile) != 0)
        return false;
    if (m_bImagePending)
    {
        RewriteChangedBytes(m_imagePending);
        m_bImagePending = 0;
    }
    return m_iIoError == 0 && !std::ferror(m_pFile);
}
