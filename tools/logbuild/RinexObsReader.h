#pragma once

#include <array>
#include <istream>
#include <map>
#include <string>
#include <vector>

// Reads RINEX 3 observation files (3.00 to 3.05): the header lines a log
// builder needs and the epochs with their values by observation code.

// A date and time as a RINEX line gives it, in the time scale of its file.
struct SRinexDateTime
{
    int m_iYear = 0;
    int m_iMonth = 0;
    int m_iDay = 0;
    int m_iHour = 0;
    int m_iMinute = 0;
    double m_dSeconds = 0.0;
};

// One observation: the value, and the loss-of-lock and signal strength
// indicators (0 where the file leaves them blank).
struct SRinexObsValue
{
    double m_dValue = 0.0;
    int m_iLli = 0;
    int m_iStrength = 0;
};

struct SRinexSatObs
{
    char m_cSystem = ' ';
    int m_iPrn = 0;
    // Only the values that the file gives; a blank field has no entry.
    std::map<std::string, SRinexObsValue> m_Values;

    // The value of `code` ("C1C"), or null when the file has none.
    const SRinexObsValue* Find(const std::string& code) const;
};

struct SRinexObsEpoch
{
    SRinexDateTime m_Time;
    int m_iFlag = 0; // 0 OK, 1 power failure before this epoch
    std::vector<SRinexSatObs> m_aSatellites;
};

struct SRinexObsHeader
{
    double m_dVersion = 0.0;
    std::string m_szMarkerName;
    std::string m_szMarkerNumber;
    std::string m_szReceiverNumber;
    std::string m_szReceiverType;
    std::string m_szReceiverVersion;
    std::string m_szAntennaNumber;
    std::string m_szAntennaType;
    std::array<double, 3> m_adAntennaDelta{}; // height, east, north, metres
    bool m_bHaveApproxXyz = false;
    std::array<double, 3> m_adApproxXyz{}; // ECEF metres
    double m_dInterval = 0.0;              // 0 when the header has no INTERVAL line
    std::string m_szTimeSystem = "GPS";    // of TIME OF FIRST OBS; GPS when blank
    // Observation codes per system letter, in the order of the data lines.
    std::map<char, std::vector<std::string>> m_ObsTypes;
    // GLONASS slot to frequency channel number, from GLONASS SLOT / FRQ #.
    std::map<int, int> m_GlonassChannels;
};

// The lines of a RINEX text with their numbers, and the reason a reading
// stopped; what both readers stand on.
class CRinexLineSource
{
public:
    explicit CRinexLineSource(std::istream& in) : m_In(in) {}

    const std::string& Error() const { return m_szError; }

protected:
    // The next line without its line end; false at the end of the text.
    bool GetLine(std::string& line);
    // Notes `what` with the current line number as the reason; returns false.
    bool Fail(const std::string& what);
    // Checks the first header line: a RINEX 3 file of type `type` ('O', 'N'),
    // whose version goes to `version`; false with the reason otherwise, which
    // is `wrongType` for another type of file.
    bool CheckVersionLine(const std::string& line, char type, const char* wrongType, double& version);

    std::istream& m_In;
    std::string m_szError;
    unsigned m_uLine = 0;
};

class CRinexObsReader : public CRinexLineSource
{
public:
    explicit CRinexObsReader(std::istream& in) : CRinexLineSource(in) {}

    // Reads the header up to END OF HEADER. False, with a reason in Error(),
    // for anything but a RINEX 3 observation file.
    bool ReadHeader();
    const SRinexObsHeader& Header() const { return m_Header; }

    // The next epoch that carries observations (flags 0 and 1); event records
    // and the lines behind them are skipped. False at the end of the text, or
    // on a line that can't be read, with a reason in Error().
    bool NextEpoch(SRinexObsEpoch& epoch);

private:
    SRinexObsHeader m_Header;
};

// Helpers shared by the RINEX readers.
namespace rinex
{
// Columns `first` to `first + width - 1` of `line`, blanks at both ends removed;
// empty where the line is shorter.
std::string Field(const std::string& line, size_t first, size_t width);
// A number in Fortran or C form: "1.5D-09", "1.5e-09", ".999e+09", "  12".
// False for a blank field or text that isn't a number.
bool ParseNumber(const std::string& text, double& value);
// The header label of a line: columns 61 to 80, blanks at the end removed.
std::string Label(const std::string& line);
} // namespace rinex
