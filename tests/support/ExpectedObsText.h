#pragma once

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

// The observation file's header lines as a reader expects them, for tests that
// compare whole files: the writer's own tests and the whole-run tests.

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

