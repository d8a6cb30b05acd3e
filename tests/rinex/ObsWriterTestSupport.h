#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "driver/RunStats.h"
#include "rinex/ObsWriter.h"
#include "support/ToolRun.h"

// Shared ground of the observation writer tests: a writer of its own over a
// fresh file, epochs filled by hand the way the adders fill them, and the
// observation file's header lines as a reader expects them.

// Week 2111 starts on Sunday 2020-06-21, so second 100 of it is 00:01:40.
constexpr uint32_t kWeek = 2111;

// Header lines that don't depend on the data. The PGM line's date is the run's
// local time; MaskRunDate puts this placeholder in its place.
inline const std::string kTypeGps = "     3.02           OBSERVATION DATA    GPS                 RINEX VERSION / TYPE\n";
inline const std::string kTypeMixed = "     3.02           OBSERVATION DATA    M                   RINEX VERSION / TYPE\n";
inline const std::string kMixedComment = "G = GPS R = GLONASS C = BDS M = MIXED                       COMMENT             \n";
inline const std::string kPgm = "OBSFORGE3 3.2.3     TALLOWMERE          YYYYMMDD HHMMSS     PGM / RUN BY / DATE \n";
inline const std::string kObserver = "YOUR NAME           TALLOWMERE                              OBSERVER / AGENCY   \n";
inline const std::string kMarkerName = "MARKER001                                                   MARKER NAME         \n";
inline const std::string kReceiver = "000000001           TALLOWMERE MERIDOR  001                 REC # / TYPE / VERS \n";
inline const std::string kClockOffs = "     0                                                      RCV CLOCK OFFS APPL \n";
inline const std::string kAntenna = "                                                            ANT # / TYPE        \n";
inline const std::string kAntennaDelta = "        0.0000        0.0000        0.0000                  ANTENNA: DELTA H/E/N\n";
inline const std::string kInterval1 = "     1.000                                                  INTERVAL            \n";
inline const std::string kInterval5 = "     5.000                                                  INTERVAL            \n";
inline const std::string kObsG3 = "G    3 L1C C1C D1C                                          SYS / # / OBS TYPES \n";
inline const std::string kObsG6 = "G    6 L1C C1C D1C L2Y C2Y D2Y                              SYS / # / OBS TYPES \n";
inline const std::string kObsG7 = "G    7 L1C C1C D1C L2Y C2Y D2Y C1Y                          SYS / # / OBS TYPES \n";
inline const std::string kObsR = "R    6 L1C C1C D1C L2C C2C D2C                              SYS / # / OBS TYPES \n";
inline const std::string kObsC = "C    9 L2I C2I D2I L7I C7I D7I L6I C6I D6I                  SYS / # / OBS TYPES \n";
inline const std::string kNoPosition = " NO VALID POSITION RECORD FOUND IN THE INPUT FILE           COMMENT             \n";
inline const std::string kSlots1 = " 24 R01  1 R02 -4 R03  5 R04  6 R05  1 R06 -4 R07  5 R08 -6 GLONASS SLOT / FRQ #\n";
inline const std::string kSlots2 = "    R09 -2 R10 -7 R11  0 R12 -1 R13 -2 R14 -7 R15  0 R16 -1 GLONASS SLOT / FRQ #\n";
inline const std::string kSlots3 = "    R17  4 R18 -3 R19  3 R20  2 R21  4 R22 -3 R23  3 R24  2 GLONASS SLOT / FRQ #\n";
inline const std::string kCodPhs = " C1C    0.000 C1P    0.000 C2C    0.000 C2P    0.000        GLONASS COD/PHS/BIS \n";
inline const std::string kEndOfHeader = "                                                            END OF HEADER       \n";

// Observation first and last at 00:01:40 of the week's first day (second 100).
inline const std::string kFirstAt140 = "  2020     6    21     0     1   40.000000      GPS         TIME OF FIRST OBS   \n";
inline const std::string kLastAt140 = "  2020     6    21     0     1   40.000000      GPS         TIME OF LAST OBS    \n";

// The varying lines of a header with default site lines; the rest is fixed.
struct SHeaderParts
{
    bool m_bMixed = false;
    std::string m_szInterval = kInterval1;
    std::string m_szGpsTypes = kObsG3;
    std::string m_szFirst = kFirstAt140;
    std::string m_szLast = kLastAt140;
    std::string m_szPosition; // empty: no position line, the comment stands instead
    std::string m_szSlots1 = kSlots1;
};

inline std::string HeaderText(const SHeaderParts& p)
{
    std::string text = p.m_bMixed ? kTypeMixed + kMixedComment : kTypeGps;
    text += kPgm + kObserver + kMarkerName + kReceiver + kClockOffs + p.m_szPosition + kAntenna + kAntennaDelta;
    text += p.m_szInterval + p.m_szGpsTypes + kObsR + kObsC + p.m_szFirst + p.m_szLast;
    if (p.m_szPosition.empty())
        text += kNoPosition;
    return text + p.m_szSlots1 + kSlots2 + kSlots3 + kCodPhs + kEndOfHeader;
}

// Checks that the one PGM line carries a run date of the form
// "YYYYMMDD HHMMSS" in columns 41 to 55, and replaces columns 41 to 60 by the
// placeholder of kPgm.
inline std::string MaskRunDate(std::string text)
{
    const std::string label = "PGM / RUN BY / DATE \n";
    const size_t at = text.find(label);
    if (at == std::string::npos || at < 60)
        return text;
    EXPECT_EQ(text.find(label, at + 1), std::string::npos) << "more than one PGM line";
    const size_t dateStart = at - 20;
    const std::string date = text.substr(dateStart, 20);
    EXPECT_TRUE(std::regex_match(date, std::regex("[0-9]{8} [0-9]{6}     "))) << "run date '" << date << "'";
    text.replace(dateStart, 20, "YYYYMMDD HHMMSS     ");
    return text;
}

// The lines of a text, each with its line feed.
inline std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size())
    {
        size_t end = text.find('\n', start);
        end = end == std::string::npos ? text.size() : end + 1;
        lines.push_back(text.substr(start, end - start));
        start = end;
    }
    return lines;
}

// One signal as the adders leave it in an entry.
struct SSignal
{
    double m_dPhase;
    double m_dCode;
    double m_dDoppler;
    uint32_t m_uStrength;
};

inline void PutSignal(SObsEntry& entry, int32_t prn, const SSignal& s, bool good = true)
{
    entry.m_dPhase = s.m_dPhase;
    entry.m_dPseudorange = s.m_dCode;
    entry.m_dDoppler = s.m_dDoppler;
    entry.m_uStrength = s.m_uStrength;
    entry.m_uPRN = prn;
    entry.m_bValid = 1;
    entry.m_bGood = good ? 1 : 0;
}

// Signals used throughout, with their field groups as the file shows them.
constexpr SSignal kG05L1 = {110000000.25, 21000000.5, -1234.75, 7};
constexpr SSignal kG05L2 = {85000000.75, 21000003.25, -962.5, 5};
constexpr SSignal kG12L1 = {120000000.125, 22000000.375, 2345.625, 6};
inline const std::string kG05L1Line = "G05 110000000.250 7  21000000.500 7     -1234.750 7";
inline const std::string kG12L1Line = "G12 120000000.125 6  22000000.375 6      2345.625 6";
inline const std::string kG05L2Triple = "  85000000.750 5  21000003.250 5      -962.500 5";
inline const std::string kBlankTriple = "         0.000 0         0.000 0         0.000 0";

// Lines of the marker block and of the moving-antenna records.
inline const std::string kBlockEventBlank = ">                              3  5\n";
inline const std::string kBlockNameSiteA = "SITE A                                                      MARKER NAME         \n";
inline const std::string kBlockNumber0042 = "0042                                                        MARKER NUMBER       \n";
inline const std::string kBlockDeltaDefault = "0.000               0.000               0.000               ANTENNA: DELTA H/E/N\n";
inline const std::string kBlockNoPosition = " NO VALID POSITION RECORD FOUND FOR THIS MARKER             COMMENT             \n";
inline const std::string kBlockPosition = "  3845123.2500  1234567.5000 -4987654.1250                  APPROX POSITION XYZ \n";
inline const std::string kBlockComment = " *** START NEW MARKER ***                                   COMMENT             \n";
inline const std::string kMovingRecords = ">                              2\n"
                                          ">                              4  1\n"
                                          " *** START MOVING ANTENNA ***                               COMMENT             \n";
constexpr double kSitePosition[3] = {3845123.25, 1234567.5, -4987654.125};

// A marker block of "SITE A", "0042" with the given event line and position line.
inline std::string MarkerBlock(const std::string& eventLine, const std::string& positionLine = kBlockNoPosition)
{
    return eventLine + kBlockNameSiteA + kBlockNumber0042 + kBlockDeltaDefault + positionLine + kBlockComment;
}

// A writer over a file of its own in a scratch folder. The run-wide records the
// writer reads or counts into are reset around every test.
class ObsFileFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        RunStats = SRunStats{};
        g_ExternalHeader = SExternalHeader{};
        std::memcpy(m_aSavedChannel, g_aGlonassChannel, sizeof(m_aSavedChannel));
        ComputeGlonassWavelengths();
        m_pFile = std::fopen(m_Dir.Path("obs.rnx").c_str(), "w+");
        ASSERT_NE(m_pFile, nullptr);
        m_pWriter = std::make_unique<CWriteRinexObs>(m_pFile, 1.0, false, nullptr);
    }

    void TearDown() override
    {
        if (m_pFile != nullptr)
            std::fclose(m_pFile);
        std::memcpy(g_aGlonassChannel, m_aSavedChannel, sizeof(m_aSavedChannel));
        ComputeGlonassWavelengths();
        RunStats = SRunStats{};
        g_ExternalHeader = SExternalHeader{};
    }

    CWriteRinexObs& Writer() { return *m_pWriter; }

    // Closes the pending epoch at `seconds` of `week` as accepted and flushes it.
    void Flush(double seconds, uint32_t week = kWeek)
    {
        m_pWriter->m_timeEpoch = GpsTime{week, seconds};
        m_pWriter->m_bEpochAccepted = 1;
        m_pWriter->FlushEpoch();
    }

    // The file as it stands on disk, run date masked.
    std::string FileText()
    {
        std::fflush(m_pFile);
        return MaskRunDate(m_Dir.ReadFile("obs.rnx"));
    }

    CScratchDir m_Dir;
    std::FILE* m_pFile = nullptr;
    std::unique_ptr<CWriteRinexObs> m_pWriter;
    int16_t m_aSavedChannel[kGlonassSlots] = {};
};
