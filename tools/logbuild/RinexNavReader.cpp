#include "logbuild/RinexNavReader.h"

#include <cmath>
#include <limits>

namespace
{
constexpr size_t kFieldWidth = 19;
constexpr size_t kClockFirstColumn = 23;
constexpr size_t kOrbitFirstColumn = 4;
constexpr size_t kFieldsPerLine = 4;

bool Number(const std::string& line, size_t first, size_t width, double& value)
{
    return rinex::ParseNumber(rinex::Field(line, first, width), value);
}

int IntField(const std::string& line, size_t first, size_t width, int fallback = 0)
{
    double value = 0.0;
    return Number(line, first, width, value) ? static_cast<int>(value) : fallback;
}

void AppendFields(std::vector<double>& values, const std::string& line, size_t first, size_t count)
{
    for (size_t i = 0; i < count; ++i)
    {
        double value = 0.0;
        values.push_back(Number(line, first + kFieldWidth * i, kFieldWidth, value)
                             ? value
                             : std::numeric_limits<double>::quiet_NaN());
    }
}
} // namespace

bool SRinexNavRecord::Has(size_t index) const
{
    return index < m_adValues.size() && !std::isnan(m_adValues[index]);
}

double SRinexNavRecord::Get(size_t index, double fallback) const
{
    return Has(index) ? m_adValues[index] : fallback;
}

bool CRinexNavReader::ReadHeader()
{
    std::string line;
    bool first = true;
    while (GetLine(line))
    {
        const std::string label = rinex::Label(line);
        if (first)
        {
            first = false;
            if (!CheckVersionLine(line, 'N', "not a navigation file", m_Header.m_dVersion))
                return false;
            continue;
        }
        if (label == "END OF HEADER")
            return true;
        if (label == "IONOSPHERIC CORR")
        {
            std::array<double, 4>& values = m_Header.m_Ionosphere[rinex::Field(line, 0, 4)];
            for (size_t i = 0; i < 4; ++i)
            {
                values[i] = 0.0;
                Number(line, 5 + 12 * i, 12, values[i]);
            }
        }
        else if (label == "TIME SYSTEM CORR")
        {
            SRinexTimeCorrection& c = m_Header.m_TimeCorrections[rinex::Field(line, 0, 4)];
            Number(line, 5, 17, c.m_dA0);
            Number(line, 22, 16, c.m_dA1);
            c.m_iRefSeconds = IntField(line, 38, 7);
            c.m_iRefWeek = IntField(line, 45, 5);
        }
        else if (label == "LEAP SECONDS")
        {
            SRinexLeapSeconds& leap = m_Header.m_Leap;
            leap.m_bPresent = true;
            leap.m_iDeltaLs = IntField(line, 0, 6);
            leap.m_iDeltaLsf = IntField(line, 6, 6, leap.m_iDeltaLs);
            leap.m_iWeekLsf = IntField(line, 12, 6);
            leap.m_iDayLsf = IntField(line, 18, 6);
        }
    }
    return Fail("no END OF HEADER line");
}

bool CRinexNavReader::NextRecord(SRinexNavRecord& record)
{
    std::string line;
    if (m_bHavePending)
    {
        line = m_szPending;
        m_bHavePending = false;
    }
    else
    {
        do
        {
            if (!GetLine(line))
                return false;
        } while (rinex::Field(line, 0, line.size()).empty());
    }
    if (line[0] == ' ' || line.size() < kClockFirstColumn)
        return Fail("record line expected");

    record = SRinexNavRecord{};
    record.m_cSystem = line[0];
    record.m_iPrn = IntField(line, 1, 2);
    SRinexDateTime& t = record.m_Time;
    t.m_iYear = IntField(line, 4, 4);
    t.m_iMonth = IntField(line, 9, 2);
    t.m_iDay = IntField(line, 12, 2);
    t.m_iHour = IntField(line, 15, 2);
    t.m_iMinute = IntField(line, 18, 2);
    t.m_dSeconds = IntField(line, 21, 2);
    if (t.m_iYear == 0 || t.m_iMonth == 0 || t.m_iDay == 0)
        return Fail("record without a date");
    AppendFields(record.m_adValues, line, kClockFirstColumn, 3);

    // Broadcast orbit lines start with blanks; the next record doesn't.
    while (GetLine(line))
    {
        if (!line.empty() && line[0] != ' ')
        {
            m_szPending = line;
            m_bHavePending = true;
            break;
        }
        if (line.empty())
            continue; // an orbit line of blank fields still has its leading blanks
        AppendFields(record.m_adValues, line, kOrbitFirstColumn, kFieldsPerLine);
    }
    return true;
}
