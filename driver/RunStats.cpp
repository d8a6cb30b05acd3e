#include "driver/RunStats.h"

namespace
{
const char* const kRule = "--------------------------------------------------\n";

void PrintCount(std::FILE* stream, uint32_t count, const char* label)
{
    std::fprintf(stream, "%lu\t%s\n", static_cast<unsigned long>(count), label);
}
} // namespace

void WriteRunSummary(std::FILE* stream, const SRunStats& s)
{
    const uint32_t average = s.m_uEpochsWritten == 0 ? 0 : s.m_uObsWritten / s.m_uEpochsWritten;

    std::fputs(kRule, stream);
    std::fprintf(stream, "Observations Begin GPS Week %d, Sec = %.1f\n",
                 static_cast<int>(s.m_timeFirstEpoch.m_uWeek), s.m_timeFirstEpoch.m_dSeconds);
    std::fputs(kRule, stream);
    PrintCount(stream, s.m_uObsEpochsFound, "Observation Epochs Found In File");
    PrintCount(stream, s.m_uGpsEphFound, "Ephemeris Packets Found In File");
    PrintCount(stream, s.m_uIonoUtcFound, "IONO/UTC Packets Found In File");
    PrintCount(stream, s.m_uEpochsWritten, "Epochs Written to Obs File");
    PrintCount(stream, s.m_uObsWritten, "Total Satellite Observations Written to Obs File");
    PrintCount(stream, average, "Average Number of Observations per Epoch");
    PrintCount(stream, s.m_uNavSatsWritten, "Unique Satellites Written to Nav File");
    PrintCount(stream, s.m_uNavWrites, "Total Writes of Sat Ephemeris to Nav File");
    std::fputs(kRule, stream);
    PrintCount(stream, s.m_uGlonassObsFound, "Glonass observation Epochs Found In File");
    PrintCount(stream, s.m_uGlonassEphFound, "Glonass ephemeris Packets Found In File");
    std::fputs(kRule, stream);
    PrintCount(stream, s.m_uBeidouObsFound, "BeiDou observation Epochs Found In File");
    PrintCount(stream, s.m_uBeidouEphFound, "BeiDou ephemeris Packets Found In File");
    std::fputs(kRule, stream);
}
