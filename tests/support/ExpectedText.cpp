#include "support/ExpectedText.h"

#include <cstdio>

std::string SummaryText(const SExpectedSummary& s)
{
    const std::string rule(50, '-');
    auto line = [](uint32_t n, const char* label) { return std::to_string(n) + "\t" + label + "\n"; };
    return rule + "\n" +
           "Observations Begin GPS Week " + std::to_string(s.m_uWeek) + ", Sec = " + s.m_szSeconds + "\n" +
           rule + "\n" +
           line(s.m_uObsEpochsFound, "Observation Epochs Found In File") +
           line(s.m_uGpsEphFound, "Ephemeris Packets Found In File") +
           line(s.m_uIonoUtcFound, "IONO/UTC Packets Found In File") +
           line(s.m_uEpochsWritten, "Epochs Written to Obs File") +
           line(s.m_uObsWritten, "Total Satellite Observations Written to Obs File") +
           line(s.m_uAverage, "Average Number of Observations per Epoch") +
           line(s.m_uNavSatsWritten, "Unique Satellites Written to Nav File") +
           line(s.m_uNavWrites, "Total Writes of Sat Ephemeris to Nav File") +
           rule + "\n" +
           line(s.m_uGlonassObsFound, "Glonass observation Epochs Found In File") +
           line(s.m_uGlonassEphFound, "Glonass ephemeris Packets Found In File") +
           rule + "\n" +
           line(s.m_uBeidouObsFound, "BeiDou observation Epochs Found In File") +
           line(s.m_uBeidouEphFound, "BeiDou ephemeris Packets Found In File") +
           rule + "\n";
}

std::string HelpText()
{
    return "\n"
           "Obsforge Version 3.2.3\n"
           "\n"
           "Tallowmere Binary to RINEX v3.0.2 converter\n"
           "\n"
           "Usage: Obsforge [-E:mask] [-L:locFile] [-N:epoch] [-B] [-H] [-R] [-I] [-S] [-P1] infile\n"
           "                [ObsOutFile [GpsNavFile] [GlonassNavFile] [BeiDouNavFile]\n"
           "\n"
           "       -E specifies an Elevation Mask, Satellites below mask are excluded\n"
           "          from the obs file. You must specify a location file to use this\n"
           "          option.  Units are 0 to 90 deg\n"
           "       -H specifies the external header file.\n"
           "       -R read in $GPGGA and $JSITERECORD data from binary file.\n"
           "       -I specifies the data that should be included: (L1_ONLY) or (L1L2).\n"
           "       -S Output file for Rinex summary\n"
           "       -L can specify either: 1) a location file containing one line of text\n"
           "          giving LAT,LON,HGT or 2) LAT,LON,HGT directly on the command line\n"
           "          following the -L:.  Units are degrees(+-90), degrees(+-180) and\n"
           "          meters. LAT,LON,HGT is needed for the APPROX POSITION XYZ in the Obs\n"
           "          Header and also for elevation mask computations if the -E option\n"
           "          is used.  HGT is taken as zero if omitted.\n"
           "       -N specifies the Obs File Interval in seconds, default is 1.\n"
           "       -B Output satellite observation Before its ephemeris arrives.\n"
           "       -P1 Output L1(P) observation if available.\n"
           "\n"
           "       ObsOutFile and NavOutFile are optional, but you must include\n"
           "       the ObsOutFile if you include the NavOutFile.  If neither are\n"
           "       given, there will be no output.\n"
           "\n"
           "\n"
           "Binary L1 GPS Only Data Logs required:        93, 94, 95, 96\n"
           "Binary L1/L2 GPS Only Data Logs required:     93, 94, 95, 76\n"
           "Additional Binary GLONASS Data Logs required: 65, 66\n"
           "Additional Binary BeiDou Data Logs required:  35, 36\n";
}

std::string DField(double value, int decimals, size_t width)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*E", decimals, value);
    const std::string s(text);
    const size_t e = s.find('E');
    const std::string mantissa = s.substr(0, e);
    const char sign = s[e + 1];
    std::string digits = s.substr(e + 2);
    digits = digits.substr(digits.size() - 2);
    const std::string field = (mantissa[0] == '-' ? "" : " ") + mantissa + "D" + sign + digits;
    return std::string(width > field.size() ? width - field.size() : 0, ' ') + field;
}
