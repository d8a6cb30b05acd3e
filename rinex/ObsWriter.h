#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "gnsstime/GpsTime.h"
#include "navstate/BeidouCarriers.h"
#include "navstate/GlonassFrequencies.h"
#include "navstate/NavState.h"
#include "obsconv/ObsEpoch.h"
#include "platform/FileIo.h"

// Ready-made header lines of the site, from -H or from the log's records.
// A line left empty keeps the one the header has without them.
constexpr uint32_t kHeaderLineSize = 81; // 80 characters and the terminator
// A header line in the file: 80 characters and the line feed.
constexpr uint32_t kLineBytes = 81;
struct SExternalHeader
{
    char m_szMarkerNameLine[kHeaderLineSize];
    char m_szMarkerNumberLine[kHeaderLineSize];
    char m_szObserverLine[kHeaderLineSize];
    char m_szReceiverLine[kHeaderLineSize];
    char m_szAntennaLine[kHeaderLineSize];
    char m_szAntennaDeltaLine[kHeaderLineSize];
    char m_szApproxPositionLine[kHeaderLineSize];
};

// The ANTENNA: DELTA H/E/N line, 80 characters, of an antenna `height` metres
// above the marker with no east or north offset: "%14.4f%14.4f%14.4f" and
// the label. A height of 0 gives the line a header has without a site record.
void FormatAntennaDeltaLine(double height, char (&line)[kHeaderLineSize]);

// Header lines made from numbers, kept with the numbers they were made from.
// The header is rewritten at every epoch and these lines rarely change: a
// rewrite with the same numbers puts the kept text instead of formatting it
// again.
struct SHeaderLineMemo
{
    static constexpr uint32_t kMaxKeys = kGlonassSlots; // the slot lines have the most
    static constexpr uint32_t kMaxLines = 3;
    double m_adKey[kMaxKeys];
    uint32_t m_uKeys = 0; // 0: nothing kept
    char m_szText[kMaxLines * kLineBytes + 1];
};

// The header as it is made, before it goes to the file in one piece.
struct SHeaderImage
{
    static constexpr size_t kMaxLines = 40;
    char m_aText[kMaxLines * kLineBytes];
    size_t m_uLength = 0;

    // Appends `text`, cut at the image's end. Inline, so that a fixed line's
    // length is known where it is appended and the copy is a few moves.
    void Append(const char* text)
    {
        const size_t n = std::strlen(text);
        const size_t room = sizeof(m_aText) - m_uLength;
        if (n <= room)
        {
            std::memcpy(m_aText + m_uLength, text, n);
            m_uLength += n;
            return;
        }
        std::memcpy(m_aText + m_uLength, text, room);
        m_uLength += room;
    }
};

// The observation file: its stream and position, the header made from the
// epochs it is handed, and the site event records inserted into the epoch
// stream. It turns epochs into lines; it keeps only what the lines need
// from one epoch to the next.
class CWriteRinexObs
{
public:
    // The header's site lines come from `external` (a line left empty keeps
    // the writer's own), the GLONASS slot lines and phase shifts from
    // `frequencies`. Both are read at every epoch.
    CWriteRinexObs(const SExternalHeader& external, const CGlonassFrequencies& frequencies);

    // At the start of the run: the stream (may be null) and the approximate
    // position of the header (null: none).
    void SetSite(std::FILE* stream, const double* position);
    void SetMovingAtStart(bool moving);

    // Site events.
    void BeginMarker(const char* name, const char* number);
    void BeginMoving();
    void UpdateMarker(const char* name, const char* number);
    void RemoveMarkerBlock();
    void SetAntennaDelta(const char* text);
    void SetMarkerPosition(const double xyz[3]);
    void StampMarkerEpoch(const char* line);
    void WriteMarkerBlock();
    void WriteMovingRecords();

    // An accepted epoch: provisional event records give their place to it and
    // are written again behind it; the header is made anew; the epoch line
    // and one line per listed satellite follow.
    void WriteEpoch(const SObsEpoch& epoch);
    void WriteObsHeader(const SObsEpoch& epoch);
    // Brings the file on disk up to date: first the epochs written so far,
    // then the header that names them. Between two of these the header in
    // the file may lag behind the epochs, never run ahead of them. Returns
    // false when the file can't be written.
    bool SyncToDisk();
    void WriteEpochLine(const SObsEpoch& epoch);
    void WriteSatelliteLines(const SObsEpoch& epoch);

    double m_dEpochRemainder;
    std::FILE* m_pFile;
    double m_aApproxXyz[3];
    char m_szRunDate[256];
    StreamPos m_posHeader;
    uint8_t m_bHeaderPlaced;
    StreamPos m_posMarkerStart;
    StreamPos m_posMarkerEnd;
    StreamPos m_posMovingStart;
    char m_szMarkerName[kHeaderLineSize];
    char m_szMarkerNumber[kHeaderLineSize];
    char m_szAntennaDelta[kHeaderLineSize];
    char m_szMarkerPosition[kHeaderLineSize];
    char m_szMarkerEpoch[kHeaderLineSize];
    uint8_t m_bMarkerPositionSet;
    uint8_t m_bMarkerEpochSet;
    uint8_t m_bMovingAtStart;
    uint8_t m_bMarkerPending;
    uint8_t m_bMovingPending;
    int m_iIoError; // the system's error number of the first failed positioned operation, 0 for none

private:
    // Moves the stream to `pos`, noting a failure.
    void SeekTo(StreamPos pos);
    // Notes the system's error number of a failed operation on the file.
    void NoteIoError();
    // Moves everything behind the header up by one line when the header has
    // to take its mixed form after it was laid down in the GPS form.
    void GrowHeaderByOneLine(StreamPos& saved);
    // Puts the bytes in which `image` differs from the header in the file over
    // them; both have the same length.
    void RewriteChangedBytes(const SHeaderImage& image);
    // Fills `calendar` for printing `time` with seven decimals and returns the
    // seconds to print: a time whose text would read 60 carries into the next
    // minute and prints 0. `remainder` takes the seconds of the minute before
    // any carry less what their seven-decimal text reads as.
    static double CalendarForPrint(const GpsTime& time, SCalendarTime& calendar, double& remainder);

    const SExternalHeader& m_External;
    const CGlonassFrequencies& m_Frequencies;

    StreamPos m_posHeaderEnd; // first byte behind END OF HEADER
    uint8_t m_bHeaderMixed;   // the header in the file has the mixed form

    // A signal whose last line had no value for it: its next phase carries
    // the loss-of-lock mark, since the file showed a gap.
    uint8_t m_abRepeatGpsL2[kSatRows];
    uint8_t m_abRepeatGloL2[kSatRows];
    uint8_t m_abRepeatBds[kBdsBands][kBeidouRows];

    SHeaderLineMemo m_memoProgram;
    SHeaderLineMemo m_memoPosition;
    SHeaderLineMemo m_memoInterval;
    SHeaderLineMemo m_memoFirstObs;
    SHeaderLineMemo m_memoSlots;
    // The header as it stands in the file: a rewrite of the same length only
    // puts the bytes that changed, as a rule those of TIME OF LAST OBS.
    SHeaderImage m_imageInFile;
    // The header of the latest epoch, when it differs from the one in the
    // file only in place: it goes out at the next SyncToDisk, behind the
    // epochs it names.
    SHeaderImage m_imagePending;
    uint8_t m_bImagePending;
};
