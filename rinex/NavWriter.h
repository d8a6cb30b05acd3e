#pragma once

#include <cstdint>
#include <cstdio>

#include "navstate/NavState.h"
#include "navstate/UtcState.h"
#include "platform/FileIo.h"

// The navigation writers: one RINEX 3.02 navigation file per satellite
// system. A file stays empty until its first due record; then the header goes
// out once, with reserved lines whose data (ionosphere, time corrections, leap
// seconds) arrive later and are filled in place. Every header line is 81 bytes
// with its line feed, so filling one in never moves the records behind it.
//
// CWriteRinexNav is the GPS writer and the base of the GLONASS and BeiDou
// writers. There are no virtual operations: each writer has its own
// WriteHeader and WritePending, which run the shared pieces below.

constexpr uint32_t kReservedLines = 4;
constexpr uint32_t kNavLineBytes = 81;          // 80 characters and the line feed
constexpr uint32_t kNoIssue = 0xFFFFFFFFu;      // no record written yet for a satellite
constexpr uint32_t kReservedTimeSystemCorr = 2; // GPUT, GLUT or BDUT: TIME SYSTEM CORR in all three headers
constexpr uint32_t kReservedLeapSeconds = 3;    // the LEAP SECONDS line in all three headers

class CWriteRinexNav
{
public:
    // The GPS writer: its records come from `table`, the ionosphere, UTC and
    // leap second lines from `utc`.
    CWriteRinexNav(CGpsNavState& table, CUtcState& utc);
    CWriteRinexNav(const CWriteRinexNav&) = delete;
    CWriteRinexNav& operator=(const CWriteRinexNav&) = delete;

    // Takes the writer's stream, possibly null, at the start of the run.
    void SetFile(std::FILE* stream);

    // The GPS file's header: version line, program line, four blank COMMENT
    // lines reserved for GPSA, GPSB, GPUT and LEAP SECONDS, end of header.
    // Called only from the pass.
    void WriteHeader();
    // The pass after the navigation state's: appends a record for every GPS
    // satellite 1 to 32 whose IODE differs from the last one written, then
    // fills in the ionosphere and UTC lines once the UTC parameters are taken.
    void WritePending();
    // Appends the record of satellite `number` at the stream's position.
    void WriteGpsRecord(uint32_t number, const SGpsEphemeris& record);
    // Fills the four reserved lines from the stored BIN94 and the run's leap
    // seconds.
    void WriteIonoUtc();

    // The issue key by which GPS and BeiDou records are told apart.
    static uint32_t IssueKeyIode(const SGpsEphemeris& record) { return record.m_uIode; }

    // Pieces shared by the header variants of all writers.
    // Makes the "RINEX VERSION / TYPE" line of a navigation file of `typeText`.
    static void MakeVersionLine(const char* typeText, char (&line)[kNavLineBytes + 1]);
    // Writes the version line and the "PGM / RUN BY / DATE" line.
    void HeaderBegin(const char* versionLine);
    // Writes "END OF HEADER".
    void HeaderEnd();
    // A whole header whose four reserved lines stand as blank COMMENT lines
    // until their data arrive, as the GPS and BeiDou files have it: version
    // line of `typeText`, program line, the reserved lines, end of header.
    void WriteBlankReservedHeader(const char* typeText);
    // Notes the stream position in m_aposCorrLine[line] and writes `text`
    // there, a placeholder of 81 bytes.
    void ReserveLine(uint32_t line, const char* text);
    // Overwrites reserved line `line` in place with the formatted text and
    // returns to the stream's position. Exactly 81 bytes are written: a value
    // too wide for its field is cut at 80 characters rather than overwrite the
    // next line. Before the header exists the positions are 0, so the text
    // lands at the start of the empty file, where the header will cover it.
    __attribute__((format(printf, 3, 4))) void FillReservedLine(uint32_t line, const char* format, ...);
    // Fills the LEAP SECONDS line with `leapSeconds`.
    void FillLeapSecondsLine(int32_t leapSeconds);
    // The first line of a record: system letter, number, the calendar time of
    // the record with whole `seconds`, and three D19 fields.
    void WriteClockLine(char system, uint32_t number, const SCalendarTime& calendar, int seconds, double v0,
                        double v1, double v2);

    uint8_t m_bHeaderWritten;
    uint8_t m_bIonoWritten;
    StreamPos m_aposCorrLine[kReservedLines];
    std::FILE* m_pFile;
    uint8_t m_bLeapWritten;
    uint32_t m_auLastIssue[kMaxSatRows]; // by row: key of the last record written, kNoIssue for none
    uint32_t m_uSatsWritten;    // satellites with at least one record in the file
    uint32_t m_uRecordsWritten; // records in the file

protected:
    CUtcState& m_Utc;

private:
    CGpsNavState& m_Table;
};

// The pass of every navigation writer over its satellites 1 to `last`, run
// after the navigation state has brought its waiting records into use: writes
// the current record of a satellite, whatever its health and age, when its
// issue key differs from the last key written for that satellite (a key
// returning to an older value counts as new). The header goes out in front
// of the first record. The pass runs the same without a stream, so the state
// it moves on (issues done, header due) doesn't depend on which files are
// named; only the counts of records written wait for a file.
template <typename Writer, typename State, typename Record>
void WriteNewIssues(Writer& writer, State& state, uint32_t last, void (Writer::*writeHeader)(),
                    uint32_t (*issueKey)(const Record&), void (Writer::*writeRecord)(uint32_t, const Record&))
{
    for (uint32_t number = 1; number <= last; ++number)
    {
        const Record* record = state.GetStructAlways(number, nullptr);
        if (record == nullptr)
            continue;
        const uint32_t key = issueKey(*record);
        uint32_t& lastIssue = writer.m_auLastIssue[number - 1];
        if (key == lastIssue)
            continue;
        if (!writer.m_bHeaderWritten)
        {
            (writer.*writeHeader)();
            writer.m_bHeaderWritten = 1;
        }
        if (writer.m_pFile != nullptr)
        {
            if (lastIssue == kNoIssue)
                ++writer.m_uSatsWritten;
            ++writer.m_uRecordsWritten;
        }
        lastIssue = key;
        (writer.*writeRecord)(number, *record);
    }
}

// URA index to metres, for GPS and BeiDou records; indexed by the index's low
// four bits.
constexpr uint32_t kUraEntries = 16;
constexpr uint16_t kUraIndexMask = 0x0F;
extern const double g_aUraMetres[kUraEntries];

// Fit interval of a GPS record in hours, as its orbit line 7 shows it.
double GpsFitIntervalHours(const SGpsEphemeris& record);


