#include "driver/OptionValues.h"

#include <cmath>
#include <cstdint>

#include "driver/SiteInputs.h"

namespace
{
constexpr double kMaxElevationMask = 90.0;
// The observation interval is a multiple of this, rounded to nearest.
constexpr double kIntervalStep = 0.05;
constexpr double kIntervalStepsPerSecond = 20.0;
constexpr double kDefaultInterval = 1.0;

bool Refuse(std::string& error, const std::string& text)
{
    error = text;
    return false;
}
} // namespace

double IntervalFromValue(double seconds)
{
    const double v = std::fabs(seconds) * kIntervalStepsPerSecond + 0.5;
    // Out of the range of a 32-bit count the conversion is not defined, so
    // such a value counts as the default.
    const int32_t steps = v < 2147483648.0 ? static_cast<int32_t>(v) : 0;
    const double interval = steps * kIntervalStep;
    return interval < kIntervalStep ? kDefaultInterval : interval;
}

bool CheckOptionValue(const SArgument& argument, SCheckedArgument& checked, std::string& error)
{
    const std::string& value = argument.m_szValue;
    const std::string named = "'" + argument.m_szText + "': ";
    switch (argument.m_cLetter)
    {
    case 'E':
        if (value.empty())
            return Refuse(error, "-E needs the elevation mask in degrees, as -E:10");
        if (!ReadNumber(value, checked.m_dNumber))
            return Refuse(error, named + "the elevation mask is not a number");
        if (std::fabs(checked.m_dNumber) > kMaxElevationMask)
            return Refuse(error, named + "the elevation mask must lie between -90 and 90 degrees");
        return true;
    case 'N':
        if (value.empty())
            return Refuse(error, "-N needs the interval in seconds, as -N:30");
        if (!ReadNumber(value, checked.m_dNumber))
            return Refuse(error, named + "the interval is not a number");
        return true;
    case 'L':
    {
        if (value.empty())
            return Refuse(error, "-L needs a location file or latitude,longitude[,height], as -L:55.8,12.5,40");
        std::string reason;
        if (!CheckLocation(value, checked.m_adLocation, reason))
            return Refuse(error, named + reason);
        return true;
    }
    case 'H':
    {
        if (value.empty())
            return Refuse(error, "-H needs a file of header lines, as -H:site.hdr");
        std::string reason;
        if (!CheckExternalHeader(value, reason))
            return Refuse(error, named + reason);
        return true;
    }
    case 'S':
        if (value.empty())
            return Refuse(error, "-S needs a file name, as -S:summary.txt");
        return true;
    case 'B':
    case 'R':
    case 'I':
    case 'P':
    case '?':
        return true;
    default:
        return Refuse(error, "unknown option '" + argument.m_szText + "'");
    }
}

