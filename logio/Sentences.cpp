#include "logio/Sentences.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{
// Minutes of arc to degrees.
constexpr double kDegreesPerMinute = 0.016666666666666666;

// Fields of "$GPGGA". A sentence with fewer fields, or without a fix, gives no position.
constexpr uint32_t kGgaMinFields = 11;
constexpr uint32_t kGgaLatitude = 2;
constexpr uint32_t kGgaNorthSouth = 3;
constexpr uint32_t kGgaLongitude = 4;
constexpr uint32_t kGgaEastWest = 5;
constexpr uint32_t kGgaFixQuality = 6;
constexpr uint32_t kGgaGeoidHeight = 9;
constexpr uint32_t kGgaGeoidSeparation = 11;

// A coordinate is printed in a fixed layout (sign, degrees, minutes with nine
// decimals) and cut apart by position. The text holds any double's first
// characters; snprintf drops the rest, which is never looked at.
constexpr size_t kCoordinateTextSize = 48;
constexpr size_t kLatitudeDegreeChars = 3;  // sign and two digits
constexpr size_t kLongitudeDegreeChars = 4; // sign and three digits
constexpr size_t kMinuteChars = 12;

// Degrees from a coordinate printed in the fixed layout: the sign and the
// whole degrees in the first `degreeChars` characters, minutes in the twelve
// behind them. The letter `negative` turns the sign, `positive` keeps it, and
// any other gives 0.0.
double DegreesFromLayout(const char* text, size_t degreeChars, const char* side, char negative, char positive)
{
    char degrees[kLongitudeDegreeChars + 1] = {};
    char minutes[kMinuteChars + 1] = {};
    // The layout's width keeps the text at least as long as degrees and minutes.
    std::memcpy(degrees, text, degreeChars);
    std::memcpy(minutes, text + degreeChars, kMinuteChars);
    const double result = std::atof(degrees) + std::atof(minutes) * kDegreesPerMinute;
    if (side[0] == negative)
        return result * -1.0;
    if (side[0] == positive)
        return result;
    return 0.0;
}
} // namespace

uint32_t SplitFields(char* line, const char* fields[], uint32_t maxFields)
{
    char* scan = line;
    uint32_t count = 0;
    for (uint32_t slot = 0; slot < maxFields; ++slot)
    {
        if (*scan == '\r' || *scan == '\n' || *scan == '\0')
        {
            // The scan stays at the line end, so every slot behind gets the same.
            fields[slot] = "";
            continue;
        }
        fields[slot] = scan;
        ++count;
        // The comma search starts behind the field's first character.
        ++scan;
        while (*scan != ',' && *scan != '\r' && *scan != '\n' && *scan != '\0')
            ++scan;
        if (*scan != '\0')
            *scan++ = '\0';
    }
    return count;
}

double ParseLatitude(const char* value, const char* side)
{
    char text[kCoordinateTextSize];
    std::snprintf(text, sizeof text, "%+015.9f", std::atof(value));
    return DegreesFromLayout(text, kLatitudeDegreeChars, side, 'S', 'N');
}

double ParseLongitude(const char* value, const char* side)
{
    char text[kCoordinateTextSize];
    std::snprintf(text, sizeof text, "%+016.9f", std::atof(value));
    return DegreesFromLayout(text, kLongitudeDegreeChars, side, 'W', 'E');
}

bool PositionOfGga(const char* const fields[], uint32_t count, double llh[3])
{
    // strtol rather than atoi: it saturates where atoi's result is undefined.
    if (count < kGgaMinFields || fields[kGgaFixQuality][0] == '\0' ||
        std::strtol(fields[kGgaFixQuality], nullptr, 10) <= 0)
        return false;
    llh[0] = 0.0;
    llh[1] = 0.0;
    llh[2] = 0.0;
    if (fields[kGgaLatitude][0] != '\0' && fields[kGgaNorthSouth][0] != '\0')
        llh[0] = ParseLatitude(fields[kGgaLatitude], fields[kGgaNorthSouth]);
    if (fields[kGgaLongitude][0] != '\0' && fields[kGgaEastWest][0] != '\0')
        llh[1] = ParseLongitude(fields[kGgaLongitude], fields[kGgaEastWest]);
    if (fields[kGgaGeoidHeight][0] != '\0' && fields[kGgaGeoidSeparation][0] != '\0')
        llh[2] = std::atof(fields[kGgaGeoidHeight]) + std::atof(fields[kGgaGeoidSeparation]);
    return true;
}

bool SentenceText(const uint8_t* frame, uint32_t length, SSentenceText& text)
{
    if (length + 1 >= kSentenceBufferSize)
        return false;
    std::memcpy(text.m_szText, frame, length);
    text.m_szText[length] = '\0';
    return true;
}
