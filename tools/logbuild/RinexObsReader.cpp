#include "logbuild/RinexObsReader.h"

#include <cstdlib>

namespace
{
// Columns of the RINEX 3 observation records.
constexpr size_t kLabelColumn = 60;
constexpr size_t kObsFirstColumn = 3; // behind the satellite name
constexpr size_t kObsWidth = 16;      // F14.3, loss of lock, strength
constexpr size_t kObsValueWidth = 14;
constexpr size_t kTypesPerLine = 13;
constexpr size_t kGlonassSlotsPerLine = 8;

int IntField(const std::string& line, size_t first, size_t width, int fallback = 0)
{
    double value = 0.0;
    return rinex::ParseNumber(rinex::Field(line, first, width), value) ? static_cast<int>(value) : fallback;
}

double DoubleField(const std::string& line, size_t first, size_t width)
{
    double value = 0.0;
    return rinex::ParseNumber(rinex::Field(line, first, width), value) ? value : 0.0;
}

// A single-digit indicator; blank or anything else is 0.
int Indicator(const std::string& line, size_t column)
{
    if (column >= line.size())
        return 0;
    const char c = line[column];
    return c >= '0' && c <= '9' ? c - '0' : 0;
}
} // namespace

namespace rinex
{
std::string Field(const std::string& line, size_t first, size_t width)
{
    if (first >= line.size())
        return {};
    std::string text = line.substr(first, width);
    const size_t begin = text.find_first_not_of(" \t\r");
    if (begin == std::string::npos)
        return {};
    const size_t end = text.find_last_not_of(" \t\r");
    return text.substr(begin, end - begin + 1);
}

bool ParseNumber(const std::string& text, double& value)
{
    // Blanks may stand around the number, never inside it.
    std::string number = Field(text, 0, text.size());
    if (number.empty() || number.find(' ') != std::string::npos)
        return false;
    for (char& c : number)
    {
        if (c == 'D' || c == 'd')
            c = 'e';
    }
    char* end = nullptr;
    value = std::strtod(number.c_str(), &end);
    return end == number.c_str() + number.size();
}

std::string Label(const std::string& line)
{
    return Field(line, kLabelColumn, 20);
}
} // namespace rinex

const SRinexObsValue* SRinexSatObs::Find(const std::string& code) const
{
    const auto it = m_Values.find(code);
    return it == m_Values.end() ? nullptr : &it->second;
}

bool CRinexLineSource::GetLine(std::string& line)
{
    if (!std::getline(m_In, line))
        return false;
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    ++m_uLine;
    return true;
}

bool CRinexLineSource::Fail(const std::string& what)
{
    m_szError = "line " + std::to_string(m_uLine) + ": " + what;
    return false;
}

bool CRinexLineSource::CheckVersionLine(const std::string& line, char type, const char* wrongType, double& version)
{
    if (rinex::Label(line) != "RINEX VERSION / TYPE")
        return Fail("not a RINEX file (no RINEX VERSION / TYPE line)");
    version = 0.0;
    rinex::ParseNumber(rinex::Field(line, 0, 9), version);
    if (version < 3.0 || version >= 4.0)
        return Fail("RINEX version " + rinex::Field(line, 0, 9) + " is not 3.xx");
    if (line.size() <= 20 || line[20] != type)
        return Fail(wrongType);
    return true;
}

bool CRinexObsReader::ReadHeader()
{
    std::string line;
    char lastTypesSystem = ' ';
    size_t typesWanted = 0;
    bool first = true;
    while (GetLine(line))
    {
        const std::string label = rinex::Label(line);
        if (first)
        {
            first = false;
            if (!CheckVersionLine(line, 'O', "not an observation file", m_Header.m_dVersion))
                return false;
            continue;
        }
        if (label == "END OF HEADER")
            return true;
        if (label == "MARKER NAME")
            m_Header.m_szMarkerName = rinex::Field(line, 0, 60);
        else if (label == "MARKER NUMBER")
            m_Header.m_szMarkerNumber = rinex::Field(line, 0, 20);
        else if (label == "REC # / TYPE / VERS")
        {
            m_Header.m_szReceiverNumber = rinex::Field(line, 0, 20);
            m_Header.m_szReceiverType = rinex::Field(line, 20, 20);
            m_Header.m_szReceiverVersion = rinex::Field(line, 40, 20);
        }
        else if (label == "ANT # / TYPE")
        {
            m_Header.m_szAntennaNumber = rinex::Field(line, 0, 20);
            m_Header.m_szAntennaType = rinex::Field(line, 20, 20);
        }
        else if (label == "APPROX POSITION XYZ")
        {
            for (size_t i = 0; i < 3; ++i)
                m_Header.m_adApproxXyz[i] = DoubleField(line, 14 * i, 14);
            m_Header.m_bHaveApproxXyz = true;
        }
        else if (label == "ANTENNA: DELTA H/E/N")
        {
            for (size_t i = 0; i < 3; ++i)
                m_Header.m_adAntennaDelta[i] = DoubleField(line, 14 * i, 14);
        }
        else if (label == "INTERVAL")
            m_Header.m_dInterval = DoubleField(line, 0, 10);
        else if (label == "TIME OF FIRST OBS")
        {
            const std::string system = rinex::Field(line, 48, 3);
            if (!system.empty())
                m_Header.m_szTimeSystem = system;
        }
        else if (label == "SYS / # / OBS TYPES")
        {
            // The first line names the system and the count; continuation
            // lines leave both blank.
            if (line[0] != ' ')
            {
                lastTypesSystem = line[0];
                typesWanted = static_cast<size_t>(IntField(line, 3, 3));
                m_Header.m_ObsTypes[lastTypesSystem].clear();
            }
            if (lastTypesSystem == ' ')
                return Fail("SYS / # / OBS TYPES continuation without a system");
            std::vector<std::string>& types = m_Header.m_ObsTypes[lastTypesSystem];
            for (size_t i = 0; i < kTypesPerLine && types.size() < typesWanted; ++i)
            {
                const std::string code = rinex::Field(line, 7 + 4 * i, 3);
                if (code.empty())
                    break;
                types.push_back(code);
            }
        }
        else if (label == "GLONASS SLOT / FRQ #")
        {
            for (size_t i = 0; i < kGlonassSlotsPerLine; ++i)
            {
                const std::string name = rinex::Field(line, 4 + 7 * i, 3);
                if (name.size() != 3 || name[0] != 'R')
                    break;
                m_Header.m_GlonassChannels[std::atoi(name.c_str() + 1)] = IntField(line, 8 + 7 * i, 2);
            }
        }
    }
    return Fail("no END OF HEADER line");
}

bool CRinexObsReader::NextEpoch(SRinexObsEpoch& epoch)
{
    std::string line;
    while (GetLine(line))
    {
        if (line.empty())
            continue;
        if (line[0] != '>')
            return Fail("epoch line expected");
        const int flag = IntField(line, 31, 1);
        const int count = IntField(line, 32, 3, -1);
        if (count < 0)
            return Fail("epoch line without a record count");
        if (flag > 1)
        {
            // Events: the count is that of the lines behind the event line.
            for (int i = 0; i < count; ++i)
            {
                if (!GetLine(line))
                    return Fail("event record cut short");
            }
            continue;
        }
        epoch = SRinexObsEpoch{};
        epoch.m_iFlag = flag;
        SRinexDateTime& t = epoch.m_Time;
        t.m_iYear = IntField(line, 2, 4);
        t.m_iMonth = IntField(line, 7, 2);
        t.m_iDay = IntField(line, 10, 2);
        t.m_iHour = IntField(line, 13, 2);
        t.m_iMinute = IntField(line, 16, 2);
        t.m_dSeconds = DoubleField(line, 18, 11);
        if (t.m_iYear == 0 || t.m_iMonth == 0 || t.m_iDay == 0)
            return Fail("epoch line without a date");

        for (int i = 0; i < count; ++i)
        {
            if (!GetLine(line))
                return Fail("epoch cut short");
            if (line.size() < 3)
                return Fail("satellite line too short");
            SRinexSatObs sat;
            sat.m_cSystem = line[0];
            sat.m_iPrn = IntField(line, 1, 2);
            const auto types = m_Header.m_ObsTypes.find(sat.m_cSystem);
            if (types == m_Header.m_ObsTypes.end())
                continue; // a system the header doesn't describe: nothing to read
            for (size_t k = 0; k < types->second.size(); ++k)
            {
                const size_t column = kObsFirstColumn + kObsWidth * k;
                SRinexObsValue value;
                if (!rinex::ParseNumber(rinex::Field(line, column, kObsValueWidth), value.m_dValue))
                    continue;
                value.m_iLli = Indicator(line, column + kObsValueWidth);
                value.m_iStrength = Indicator(line, column + kObsValueWidth + 1);
                sat.m_Values[types->second[k]] = value;
            }
            epoch.m_aSatellites.push_back(std::move(sat));
        }
        return true;
    }
    return false;
}
