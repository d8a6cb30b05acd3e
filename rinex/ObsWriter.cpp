#include "rinex/ObsWriter.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "gnsstime/GpsTime.h"
#include "platform/FileIo.h"

// The observation writer object: its defaults and the site event records that
// are inserted into the epoch stream.
//
// The event records must stand behind the epoch that was being gathered when
// the event arrived, although that epoch isn't on disk yet, and they carry
// data (the first epoch time behind them, a position) that the log delivers
// later. So they are written at once at the end of the file, their place is
// remembered, and they are rewritten in place. That only works because every
// rewrite has the same length: the marker block is always 441 bytes, the
// moving records always 150.

namespace
{

// Texts of the event records.
constexpr const char* kNewMarkerComment = " *** START NEW MARKER *** ";
constexpr const char* kMovingComment = " *** START MOVING ANTENNA *** ";
constexpr const char* kNoMarkerPosition = " NO VALID POSITION RECORD FOUND FOR THIS MARKER";

// A line of the file as RemoveMarkerBlock moves it.
constexpr size_t kMoveLineSize = 1024;

} // namespace

CWriteRinexObs::CWriteRinexObs(const SExternalHeader& external, const CGlonassFrequencies& frequencies)
    : m_dEpochRemainder(0.0),
      m_pFile(nullptr),
      m_aApproxXyz{},
      m_szRunDate{},
      m_posHeader(0),
      m_bHeaderPlaced(0),
      m_posMarkerStart(0),
      m_posMarkerEnd(0),
      m_posMovingStart(0),
      m_szMarkerName{},
      m_szMarkerNumber{},
      m_szAntennaDelta{},
      m_szMarkerPosition{},
      m_szMarkerEpoch{},
      m_bMarkerPositionSet(0),
      m_bMarkerEpochSet(0),
      m_bMovingAtStart(0),
      m_bMarkerPending(0),
      m_bMovingPending(0),
      m_iIoError(0),
      m_External(external),
      m_Frequencies(frequencies),
      m_posHeaderEnd(0),
      m_bHeaderMixed(0),
      m_abRepeatGpsL2{},
      m_abRepeatGloL2{},
      m_abRepeatBds{},
      m_bImagePending(0)
{
    FormatAntennaDeltaLine(0.0, m_szAntennaDelta);
}

void FormatAntennaDeltaLine(double height, char (&line)[kHeaderLineSize])
{
    std::snprintf(line, sizeof(line), "%14.4f%14.4f%14.4f%-18s%-20s", height, 0.0, 0.0, "",
                  "ANTENNA: DELTA H/E/N");
}

void CWriteRinexObs::SetSite(std::FILE* stream, const double* position)
{
    m_pFile = stream;
    if (position != nullptr)
        std::memcpy(m_aApproxXyz, position, sizeof(m_aApproxXyz));
    else
        std::memset(m_aApproxXyz, 0, sizeof(m_aApproxXyz));
    // m_bMovingAtStart is left alone: the pre-scan of the log sets it before this.
}

void CWriteRinexObs::SetMovingAtStart(bool moving)
{
    m_bMovingAtStart = moving ? 1 : 0;
}

void CWriteRinexObs::WriteMarkerBlock()
{
    if (m_pFile == nullptr)
        return;

    // An open block is rewritten where it stands, and the stream goes back to
    // the end of the data; a new one lands at the stream's position.
    const bool rewrite = m_posMarkerStart != 0;
    StreamPos back = 0;
    if (rewrite)
    {
        back = GetStreamPos(m_pFile);
        SeekTo(m_posMarkerStart);
    }
    m_posMarkerStart = GetStreamPos(m_pFile);

    // The precision cuts the epoch line to its date and time and one blank,
    // so flag and record count stand in columns 32 and 35 whatever the text.
    std::fprintf(m_pFile, "%-30.30s 3  5\n", m_szMarkerEpoch);
    std::fprintf(m_pFile, "%-80.80s\n", m_szMarkerName);
    std::fprintf(m_pFile, "%-80.80s\n", m_szMarkerNumber);
    std::fprintf(m_pFile, "%-80.80s\n", m_szAntennaDelta);
    std::fprintf(m_pFile, "%-80.80s\n", m_szMarkerPosition);
    std::fprintf(m_pFile, "%-60.60sCOMMENT             \n", kNewMarkerComment);

    m_posMarkerEnd = GetStreamPos(m_pFile);
    if (rewrite)
        SeekTo(back);
}

void CWriteRinexObs::WriteMovingRecords()
{
    if (m_pFile == nullptr)
        return;
    m_posMovingStart = GetStreamPos(m_pFile);
    std::fputs(">                              2\n", m_pFile);
    std::fputs(">                              4  1\n", m_pFile);
    std::fprintf(m_pFile, "%-60.60sCOMMENT             \n", kMovingComment);
}

void CWriteRinexObs::BeginMarker(const char* name, const char* number)
{
    // One block at a time: a marker record while a block is open or still
    // provisional is ignored. A provisional block written into the empty file
    // stands at position 0, which the position test can't tell from "no
    // block", so the pending flag guards that case; without a stream nothing
    // was written and the texts are simply replaced.
    if (m_posMarkerStart != 0)
        return;
    if (m_bMarkerPending && m_pFile != nullptr)
        return;

    m_bMarkerPositionSet = 0;
    std::snprintf(m_szMarkerPosition, sizeof(m_szMarkerPosition), "%-60.60sCOMMENT", kNoMarkerPosition);
    m_bMarkerEpochSet = 0;
    std::snprintf(m_szMarkerEpoch, sizeof(m_szMarkerEpoch), "%s", ">");
    std::snprintf(m_szMarkerName, sizeof(m_szMarkerName), "%-60.60sMARKER NAME", name);
    std::snprintf(m_szMarkerNumber, sizeof(m_szMarkerNumber), "%-60.60sMARKER NUMBER", number);
    m_bMarkerPending = 1;
    m_bMovingPending = 0;
    WriteMarkerBlock();
}

void CWriteRinexObs::StampMarkerEpoch(const char* line)
{
    if (m_posMarkerStart == 0 || m_bMarkerEpochSet)
        return;
    m_bMarkerEpochSet = 1;
    std::snprintf(m_szMarkerEpoch, sizeof(m_szMarkerEpoch), "%s", line);
    WriteMarkerBlock();
}

void CWriteRinexObs::SetMarkerPosition(const double xyz[3])
{
    // The first valid position behind the marker wins.
    if (m_posMarkerStart == 0 || m_bMarkerPositionSet)
        return;
    m_bMarkerPositionSet = 1;
    std::snprintf(m_szMarkerPosition, sizeof(m_szMarkerPosition),
                  "%14.4f%14.4f%14.4f                  APPROX POSITION XYZ", xyz[0], xyz[1], xyz[2]);
    WriteMarkerBlock();
}

void CWriteRinexObs::UpdateMarker(const char* name, const char* number)
{
    if (m_posMarkerStart == 0)
        return;
    std::snprintf(m_szMarkerName, sizeof(m_szMarkerName), "%-60.60sMARKER NAME", name);
    std::snprintf(m_szMarkerNumber, sizeof(m_szMarkerNumber), "%-60.60sMARKER NUMBER", number);
    WriteMarkerBlock();
}

void CWriteRinexObs::SetAntennaDelta(const char* text)
{
    // Without an open block the line waits for the next one.
    std::snprintf(m_szAntennaDelta, sizeof(m_szAntennaDelta), "%-80.80s", text);
    if (m_posMarkerStart != 0)
        WriteMarkerBlock();
}

void CWriteRinexObs::BeginMoving()
{
    // The open block ends here and stays in the file where it stands; later
    // position and stamp calls no longer reach it.
    if (m_posMarkerStart == 0)
        return;
    m_posMarkerStart = 0;
    m_posMarkerEnd = 0;
    m_bMarkerPending = 0;
    m_bMovingPending = 1;
    WriteMovingRecords();
}

void CWriteRinexObs::RemoveMarkerBlock()
{
    if (m_pFile == nullptr || m_posMarkerStart == 0)
        return;

    StreamPos read = m_posMarkerEnd;
    StreamPos write = m_posMarkerStart;
    m_bMovingPending = 0;
    m_bMarkerPending = 0;
    m_posMarkerStart = 0;
    m_posMarkerEnd = 0;

    // Everything behind the block moves forward by the block's length, line
    // by line; reading always runs ahead of writing, so nothing is lost.
    char line[kMoveLineSize];
    for (;;)
    {
        SeekTo(read);
        if (std::fgets(line, sizeof(line), m_pFile) == nullptr)
            break;
        read = GetStreamPos(m_pFile);
        SeekTo(write);
        std::fputs(line, m_pFile);
        write = GetStreamPos(m_pFile);
    }

    SeekTo(write);
    if (!TruncateAtStreamPos(m_pFile))
        NoteIoError();
}

void CWriteRinexObs::SeekTo(StreamPos pos)
{
    if (!SetStreamPos(m_pFile, pos))
        NoteIoError();
}

void CWriteRinexObs::NoteIoError()
{
    if (m_iIoError == 0)
        m_iIoError = errno != 0 ? errno : EIO;
}
