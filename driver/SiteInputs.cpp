#include "driver/SiteInputs.h"

#include <cctype>
#include <cerrno>
#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "driver/RunOptions.h"
#include "logio/Sentences.h"
#include "navstate/Geodesy.h"
#include "rinex/ObsWriter.h"

namespace
{
// Lines of the location file, the header file and the log are read into
// buffers of this size (999 characters and the terminator); a longer line
// arrives in pieces, each of them taken as a line of its own.
constexpr uint32_t kLineBufferSize = 1000;

// Degrees to radians.
constexpr double kRadiansPerDegree = 0.01745329251993791;

// A -L text that names no file is taken as the location itself from this length on.
constexpr size_t kMinLocationText = 4;
// A location given by the user lies on the globe.
constexpr double kLargestLatitude = 90.0;
constexpr double kLargestLongitude = 180.0;

constexpr const char* kCantReadLocation = "Can't Read Lat,Lon,Height from : %s\n";
constexpr const char* kUnableToOpen = "Unable to open: %s\n";

// Where a RINEX header line carries its label.
constexpr size_t kLabelColumn = 60;
constexpr size_t kLabelWidth = 20;

// The labels an external header line is taken by, in the order they are
// tried, with the line of the site lines each one fills.
struct SHeaderLabel
{
    const char* m_szLabel;
    char (SExternalHeader::*m_pLine)[kHeaderLineSize];
};
constexpr SHeaderLabel kHeaderLabels[] = {
    {"MARKER NAME", &SExternalHeader::m_szMarkerNameLine},
    {"MARKER NUMBER", &SExternalHeader::m_szMarkerNumberLine},
    {"OBSERVER / AGENCY", &SExternalHeader::m_szObserverLine},
    {"REC # / TYPE / VERS", &SExternalHeader::m_szReceiverLine},
    {"ANT # / TYPE", &SExternalHeader::m_szAntennaLine},
    {"APPROX POSITION XYZ", &SExternalHeader::m_szApproxPositionLine},
    {"ANTENNA: DELTA H/E/N", &SExternalHeader::m_szAntennaDeltaLine},
};

// Fields of "$>JSITERECORD".
constexpr uint32_t kSiteMarkerName = 1;
constexpr uint32_t kSiteAntennaHeight = 2;
constexpr uint32_t kSiteAntennaType = 5;
constexpr uint32_t kSiteMode = 6;

// Fields of "$>JI"; "$>JT", "$>JAPP" and "$>JVERSION" carry their value in field 1.
constexpr uint32_t kReceiverNumber = 1;
constexpr uint32_t kReceiverVersion = 7;
constexpr uint32_t kFirstValue = 1;

// The receiver model, by the first characters of "$>JVERSION", names its built-in antenna.
constexpr size_t kModelCodeLength = 4;
struct SModelAntenna
{
    const char* m_szCode;
    const char* m_szAntenna;
};
constexpr SModelAntenna kModelAntennas[] = {
    {"V600", "TLWV600         NONE"},
    {"V610", "TLWV610         NONE"},
    {"K730", "TLWK730         NONE"},
    {"K740", "TLWK740         NONE"},
};


// What the pre-scan of -R keeps from the log's records. A field longer than
// its store is cut to the store's size when it is stored; the joined version
// text is cut to its own, smaller store.
constexpr size_t kSiteStoreSize = 64;
constexpr size_t kVersionTextSize = 24;
struct SSiteRecords
{
    char m_szMarkerName[kSiteStoreSize];
    char m_szAntennaHeight[kSiteStoreSize];
    char m_szAntennaType[kSiteStoreSize];
    char m_szReceiverNumber[kSiteStoreSize];
    char m_szReceiverVersion[kSiteStoreSize];
    char m_szReceiverType[kSiteStoreSize];
    char m_szApplication[kSiteStoreSize];
    bool m_bModeDecided;   // the first record saying "Moving" or "Stationary" has been obeyed
    bool m_bPositionTaken; // the first usable position sentence has set the location
};

// Formats into `out` of `size` bytes and cuts what doesn't fit. The cut is
// wanted: the stores and the header lines are narrower than what the log's
// fields may add up to.
__attribute__((format(printf, 3, 4))) void FormatCut(char* out, size_t size, const char* format, ...)
{
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(out, size, format, args);
    va_end(args);
}

// Copies `text` into `store`, cut to what the store holds.
template <size_t N>
void StoreText(char (&store)[N], const char* text)
{
    FormatCut(store, N, "%s", text);
}

bool EqualsIgnoringCase(const char* a, const char* b)
{
    for (; *a != '\0' && *b != '\0'; ++a, ++b)
    {
        if (std::tolower(static_cast<unsigned char>(*a)) != std::tolower(static_cast<unsigned char>(*b)))
            return false;
    }
    return *a == *b;
}

// Latitude, longitude and height from a location text: blank- or
// comma-separated, the height optional; anything behind the values is left.
bool ScanLocation(const char* text, double llh[3])
{
    return std::sscanf(text, "%lf %lf %lf", &llh[0], &llh[1], &llh[2]) == 3 ||
           std::sscanf(text, "%lf,%lf,%lf", &llh[0], &llh[1], &llh[2]) == 3 ||
           std::sscanf(text, "%lf %lf", &llh[0], &llh[1]) == 2 ||
           std::sscanf(text, "%lf,%lf", &llh[0], &llh[1]) == 2;
}

// True when the label field, columns 61 to 80, holds `label`: trailing
// blanks and the line end don't count, so a line that stops behind its
// label matches as well as one padded to 80 columns.
bool HasLabel(const char* line, const char* label)
{
    const size_t length = std::strlen(line);
    if (length <= kLabelColumn)
        return false;
    size_t end = std::min(length, kLabelColumn + kLabelWidth);
    while (end > kLabelColumn && (line[end - 1] == ' ' || line[end - 1] == '\r' || line[end - 1] == '\n'))
        --end;
    const size_t labelLength = std::strlen(label);
    return end - kLabelColumn == labelLength && std::memcmp(line + kLabelColumn, label, labelLength) == 0;
}

// A line as read, without its line end.
void CutLineEnd(char* line)
{
    size_t n = std::strlen(line);
    while (n > 0 && (line[n - 1] == '\n' || line[n - 1] == '\r'))
        line[--n] = '\0';
}

// The ANTENNA: DELTA H/E/N line of a site record's antenna height. A height
// that isn't a number keeps the line without offsets, and is told once.
void AntennaDeltaLineOf(const char* height, SSiteNotes& notes, char (&line)[kHeaderLineSize])
{
    // The three F14.4 columns hold up to nine digits before the point.
    constexpr double kLargestHeight = 1e9;
    char* end = nullptr;
    const double value = std::strtod(height, &end);
    const bool readable = end != height && *end == '\0' && std::isfinite(value) && std::fabs(value) < kLargestHeight;
    // An empty field (or no record at all) has nothing to tell.
    if (!readable && height[0] != '\0' && !notes.m_bBadHeightTold)
    {
        std::fprintf(stderr,
                     "obsforge: the site record's antenna height \"%s\" is not a number; "
                     "ANTENNA: DELTA H/E/N shows no offset\n",
                     height);
        notes.m_bBadHeightTold = true;
    }
    FormatAntennaDeltaLine(readable ? value : 0.0, line);
}

// One line of the log, split, as the pre-scan sees it. Later records
// overwrite earlier ones; mode and position are taken once.
void TakeSiteLine(SSiteRecords& site, const char* const fields[], uint32_t count, SSiteTargets& targets)
{
    const char* name = fields[0];
    if (std::strcmp(name, "$>JSITERECORD") == 0)
    {
        StoreText(site.m_szMarkerName, fields[kSiteMarkerName]);
        StoreText(site.m_szAntennaHeight, fields[kSiteAntennaHeight]);
        // A record without an antenna type empties the one a model code gave.
        StoreText(site.m_szAntennaType, fields[kSiteAntennaType]);
        if (!site.m_bModeDecided)
        {
            // A record that says neither leaves the decision to the next one.
            if (EqualsIgnoringCase(fields[kSiteMode], "Moving"))
            {
                targets.m_ObsWriter.SetMovingAtStart(true);
                site.m_bModeDecided = true;
            }
            else if (EqualsIgnoringCase(fields[kSiteMode], "Stationary"))
            {
                targets.m_ObsWriter.SetMovingAtStart(false);
                site.m_bModeDecided = true;
            }
        }
    }
    else if (std::strcmp(name, "$GPGGA") == 0)
    {
        double llh[3];
        if (!site.m_bPositionTaken && PositionOfGga(fields, count, llh))
        {
            // The location reader takes the position as a -L text would give it.
            char text[kLineBufferSize];
            std::snprintf(text, sizeof text, "%.8f,%.8f,%.3f", llh[0], llh[1], llh[2]);
            ReadLocation(text, targets.m_Options);
            site.m_bPositionTaken = true;
        }
    }
    else if (std::strcmp(name, "$>JI") == 0)
    {
        StoreText(site.m_szReceiverNumber, fields[kReceiverNumber]);
        StoreText(site.m_szReceiverVersion, fields[kReceiverVersion]);
    }
    else if (std::strcmp(name, "$>JT") == 0)
    {
        StoreText(site.m_szReceiverType, fields[kFirstValue]);
    }
    else if (std::strcmp(name, "$>JAPP") == 0)
    {
        StoreText(site.m_szApplication, fields[kFirstValue]);
    }
    else if (std::strcmp(name, "$>JVERSION") == 0)
    {
        for (const SModelAntenna& model : kModelAntennas)
        {
            if (std::strncmp(fields[kFirstValue], model.m_szCode, kModelCodeLength) == 0)
            {
                StoreText(site.m_szAntennaType, model.m_szAntenna);
                break;
            }
        }
    }
}

// The header lines of the site from what the pre-scan found, empty stores
// included; each is cut to the 80 characters of a header line.
void BuildSiteHeaderLines(const SSiteRecords& site, SExternalHeader& ext, SSiteNotes& notes)
{
    char version[kVersionTextSize];
    if (site.m_szApplication[0] == '\0')
        StoreText(version, site.m_szReceiverVersion);
    else
        FormatCut(version, sizeof version, "%s_%s", site.m_szApplication, site.m_szReceiverVersion);

    FormatCut(ext.m_szMarkerNameLine, kHeaderLineSize, "%-60s%-20s", site.m_szMarkerName, "MARKER NAME");
    FormatCut(ext.m_szMarkerNumberLine, kHeaderLineSize, "%-60s%-20s", "SITE#", "MARKER NUMBER");
    FormatCut(ext.m_szObserverLine, kHeaderLineSize, "%-20s%-40s%-20s", "OBSERVER", "COMPANY", "OBSERVER / AGENCY");
    FormatCut(ext.m_szReceiverLine, kHeaderLineSize, "%-20s%-20s%-20s%-20s", site.m_szReceiverNumber,
              site.m_szReceiverType, version, "REC # / TYPE / VERS");
    FormatCut(ext.m_szAntennaLine, kHeaderLineSize, "%-20s%-40s%-20s", " ", site.m_szAntennaType, "ANT # / TYPE");
    AntennaDeltaLineOf(site.m_szAntennaHeight, notes, ext.m_szAntennaDeltaLine);
}
} // namespace

void ReadLocation(const char* text, SRunOptions& options)
{
    char buffer[kLineBufferSize] = "";
    std::FILE* file = std::fopen(text, "r");
    if (file != nullptr)
    {
        if (std::fgets(buffer, sizeof buffer, file) == nullptr)
        {
            buffer[0] = '\0';
            std::fprintf(stderr, kCantReadLocation, text);
        }
        std::fclose(file);
    }
    else if (std::strlen(text) >= kMinLocationText)
    {
        StoreText(buffer, text);
    }
    else
    {
        std::fprintf(stderr, kUnableToOpen, text);
    }

    // An empty file is reported here a second time.
    double llh[3] = {0.0, 0.0, 0.0};
    if (buffer[0] == '\0' || !ScanLocation(buffer, llh))
    {
        std::fprintf(stderr, kCantReadLocation, text);
        return;
    }

    // No range check: the values are the log's.
    SetLocation(llh, options);
}

bool CheckLocation(const std::string& text, double llh[3], std::string& reason)
{
    char buffer[kLineBufferSize] = "";
    const std::string quoted = "'" + text + "'";
    std::FILE* file = std::fopen(text.c_str(), "r");
    if (file != nullptr)
    {
        errno = 0;
        const bool read = std::fgets(buffer, sizeof buffer, file) != nullptr;
        const int error = std::ferror(file) ? errno : 0;
        std::fclose(file);
        if (!read)
        {
            reason = error != 0 ? "cannot read the location file " + quoted + ": " + std::strerror(error)
                                : "the location file " + quoted + " is empty";
            return false;
        }
    }
    else if (text.size() >= kMinLocationText)
    {
        StoreText(buffer, text.c_str());
    }
    llh[0] = llh[1] = llh[2] = 0.0;
    if (buffer[0] == '\0' || !ScanLocation(buffer, llh))
    {
        reason = (file != nullptr ? "the first line of the location file " + quoted
                                  : "no file " + quoted + " and the text") +
                 " is not latitude,longitude[,height] in degrees and metres";
        return false;
    }
    if (!std::isfinite(llh[0]) || !std::isfinite(llh[1]) || !std::isfinite(llh[2]))
    {
        reason = "the location " + quoted + " is not made of finite numbers";
        return false;
    }
    if (std::fabs(llh[0]) > kLargestLatitude || std::fabs(llh[1]) > kLargestLongitude)
    {
        reason = "the location " + quoted + " lies outside latitude -90 to 90 and longitude -180 to 180 degrees";
        return false;
    }
    return true;
}

void SetLocation(const double llhDegrees[3], SRunOptions& options)
{
    double llh[3] = {llhDegrees[0] * kRadiansPerDegree, llhDegrees[1] * kRadiansPerDegree, llhDegrees[2]};
    LlhToEcef(llh, options.m_aLocationXyz);
    std::memcpy(options.m_aLocationLlh, llh, sizeof llh);
    options.m_bHaveLocation = true;
}

void ReadExternalHeader(const char* path, SExternalHeader& header)
{
    std::FILE* file = std::fopen(path, "r");
    if (file == nullptr)
    {
        std::fprintf(stderr, kUnableToOpen, path);
        return;
    }
    char line[kLineBufferSize];
    while (std::fgets(line, sizeof line, file) != nullptr)
    {
        // Only the labels the file holds replace lines of the header.
        for (const SHeaderLabel& label : kHeaderLabels)
        {
            if (HasLabel(line, label.m_szLabel))
            {
                // The first 80 characters; the last line of a label wins.
                CutLineEnd(line);
                StoreText(header.*label.m_pLine, line);
                break;
            }
        }
    }
    std::fclose(file);
}

bool CheckExternalHeader(const std::string& path, std::string& reason)
{
    std::FILE* file = std::fopen(path.c_str(), "r");
    if (file == nullptr)
    {
        reason = "cannot read the header file '" + path + "': " + std::strerror(errno);
        return false;
    }
    char line[kLineBufferSize];
    while (std::fgets(line, sizeof line, file) != nullptr)
    {
    }
    const int error = std::ferror(file) ? errno : 0;
    std::fclose(file);
    if (error != 0)
    {
        reason = "cannot read the header file '" + path + "': " + std::strerror(error);
        return false;
    }
    return true;
}

void HandleSentence(char* line, CWriteRinexObs& writer, SSiteNotes& notes)
{
    const char* fields[kSentenceFields];
    const uint32_t count = SplitFields(line, fields, kSentenceFields);

    if (std::strcmp(fields[0], "$>JSITERECORD") == 0)
    {
        char text[kHeaderLineSize];
        AntennaDeltaLineOf(fields[kSiteAntennaHeight], notes, text);
        writer.SetAntennaDelta(text);
        return;
    }

    double llh[3];
    if (std::strcmp(fields[0], "$GPGGA") == 0 && PositionOfGga(fields, count, llh))
    {
        // The writer decides whether the marker block still wants a position.
        llh[0] *= kRadiansPerDegree;
        llh[1] *= kRadiansPerDegree;
        double xyz[3];
        LlhToEcef(llh, xyz);
        writer.SetMarkerPosition(xyz);
    }
}

void ScanSiteRecords(const char* path, SSiteTargets& targets)
{
    // A stream of its own: the input stream of the conversion keeps its position.
    std::FILE* file = std::fopen(path, "rb");
    if (file == nullptr)
    {
        std::fprintf(stderr, kUnableToOpen, path);
        return;
    }

    // The log is read as text, binary messages and all: a sentence is found
    // when it starts a line, as it does behind a frame's CR LF.
    SSiteRecords site{};
    char line[kLineBufferSize];
    const char* fields[kSentenceFields];
    while (std::fgets(line, sizeof line, file) != nullptr)
    {
        const uint32_t count = SplitFields(line, fields, kSentenceFields);
        TakeSiteLine(site, fields, count, targets);
    }
    std::fclose(file);

    BuildSiteHeaderLines(site, targets.m_Header, targets.m_Notes);
}
