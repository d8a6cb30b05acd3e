#include "qc/HtmlReport.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "logio/FrameKinds.h"
#include "qc/QcSignals.h"
#include "qc/SvgPlot.h"

namespace
{
// Colours that stay apart for most colour-blind readers and in print: one
// per system. A signal has its system's colour; its place among the system's
// signals gives it dashes and a marker shape, so the signals of one system
// are told apart without colour.
const char* const kSystemColour[kQcSystemCount] = {"#0072b2", "#d55e00", "#009e73", "#6f6f6f"};
const char* const kSystemName[kQcSystemCount] = {"GPS", "GLONASS", "BeiDou", "SBAS"};
const char* const kSlotDash[kQcSlotsPerSatellite] = {"", "7 4", "2 3"};
const EQcShape kSlotShape[kQcSlotsPerSatellite] = {eQcShapeDot, eQcShapeSquare, eQcShapeTriangle};
// Strength classes of the sky plot, dB-Hz: below 30, 30-35, ... 50 and
// above, from red for weak to dark blue for strong (a scale that reads the
// same to red-green colour-blind readers and goes from light to dark in print).
constexpr double kStrengthScaleLow = 30.0;
constexpr double kStrengthScaleStep = 5.0;
constexpr int kStrengthClasses = 6;
const char* const kStrengthColour[kStrengthClasses] = {"#b2182b", "#ef8a62", "#d6a21e",
                                                       "#67a9cf", "#2166ac", "#053061"};
const char* const kStrengthLabel[kStrengthClasses] = {"<30", "30-35", "35-40", "40-45", "45-50", "\u226550 dB-Hz"};
const char* const kNoStrengthColour = "#aaaaaa";
// Marks of the timeline.
const char* const kUntrackedColour = "#d5d8dc";
const char* const kLossOfLockColour = "#000000";
const char* const kSlipColour = "#f0e442";
const char* const kClockJumpColour = "#cc79a7";
// At most this many points of one satellite's track are drawn.
constexpr size_t kTrackPointsDrawn = 180;
// Plot sizes, pixels: a wide plot spans the page, a half one sits beside another.
constexpr int kWide = 1176;
constexpr int kHalf = 578;
// Left and right margins of the plots over time, the same so their time axes line up.
constexpr int kTimeLeft = 64;
// Heights of the plots that sit side by side: the sky plot with strength
// against elevation, and multipath against elevation with the epoch intervals.
constexpr int kFirstPairHeight = 520;
constexpr int kSecondPairHeight = 330;
constexpr int kTimeRight = 16;

// A traffic light as the page shows it: a class for its colour, and a
// symbol and a word, so it reads without the colour too.
struct SLightLook
{
    const char* m_szClass;
    const char* m_szSymbol;
    const char* m_szWord;
};
const SLightLook kLightLook[4] = {{"", "", ""}, {"g", "\u2713", "good"}, {"a", "!", "fair"}, {"r", "\u2717", "poor"}};

// The limits of the traffic lights as the page states them beside the table
// whose columns they colour. The values are the ones the lights are
// computed with (qc/QcReport.h); the names are the columns' headers.
struct SLimit
{
    const char* m_szColumn;
    const char* m_szWhat;
    double m_dGreen;
    double m_dAmber;
    bool m_bHighIsGood;
    int m_iDecimals;
};
enum ELimit
{
    eLimitSlips,
    eLimitStrength,
    eLimitMultipath,
    eLimitCompleteness,
    eLimitCount,
};
const SLimit kLimits[eLimitCount] = {
    {"Per 1000", "slips found and loss-of-lock marks per 1000 observations", kQcSlipRateGreen, kQcSlipRateAmber,
     false, 0},
    {"Strength (dB-Hz)", "mean signal strength", kQcStrengthGreen, kQcStrengthAmber, true, 0},
    {"MP RMS (m)", "code multipath RMS", kQcMultipathGreen, kQcMultipathAmber, false, 1},
    {"Complete (%)", "epochs above the mask that have the signal", kQcCompletenessGreen, kQcCompletenessAmber, true,
     0},
};

const char* kStyle = R"(
body{font:15px/1.35 "DejaVu Sans",Arial,Helvetica,sans-serif;color:#222;background:#fff;margin:10px auto;max-width:1180px;padding:0 12px}
h1{font-size:1.35em;margin:.1em 0}
h2{font-size:1.1em;margin:0;display:inline}
p{margin:.3em 0}
a{color:#0b57a4}
.meta{font-size:.82em;color:#444}
pre.sum{background:#f4f6f8;border:1px solid #ccd;padding:4px 8px;margin:.4em 0;overflow-x:auto;font-size:.8em;line-height:1.3}
.tiles{display:flex;flex-wrap:wrap;gap:6px;margin:.4em 0 .8em}
.tile{flex:1 1 110px;border:1px solid #ccd;border-left:6px solid #ccd;padding:3px 7px;background:#fafbfc}
.tile .k{font-size:.72em;color:#555;text-transform:uppercase;letter-spacing:.03em}
.tile .v{font-size:1.15em;font-weight:bold;white-space:nowrap}
.tile .s{font-size:.72em;color:#444}
.tile.g{border-left-color:#2e7d32}.tile.a{border-left-color:#e0a000}.tile.r{border-left-color:#c62828}
.plots{display:grid;grid-template-columns:repeat(2,minmax(0,1fr));gap:10px 18px;align-items:start}
.plots .wide{grid-column:1/-1}
@media (max-width:1020px){.plots{grid-template-columns:minmax(0,1fr)}}
figure.plot{margin:0;break-inside:avoid;page-break-inside:avoid}
figure.plot figcaption{font-weight:bold;font-size:.95em;margin:.2em 0}
figure.plot svg{display:block;max-width:100%;height:auto;background:#fff;border:1px solid #ddd}
figure.plot p.how{font-size:.8em;color:#444;margin:.2em 0 0}
svg text{font-size:12px;fill:#222}svg text.axis-title{font-size:13px;font-weight:bold}
svg text.sat{font-size:10px}svg text.compass{font-size:13px;font-weight:bold}
details.section{margin:.7em 0;border-top:2px solid #0072b2;padding-top:.2em}
details.section>summary{cursor:pointer;padding:.15em 0}
details.section>summary .gist{font-size:.85em;color:#444;margin-left:.6em}
h3{font-size:.95em;margin:.6em 0 .2em}
table{border-collapse:collapse;font-size:.78em;margin:.3em 0}
th,td{border:1px solid #c4c8cc;padding:1px 5px;text-align:right}td{white-space:nowrap}.nw{white-space:nowrap}
th{background:#eef1f5;vertical-align:bottom}
td.l,th.l{text-align:left}
tbody tr:nth-child(even){background:#f7f8fa}
tr.first td{border-top:2px solid #8a9099}
td.g{background:#d9efd5}td.a{background:#ffe7a0}td.r{background:#f8c8c8}
.sym{display:inline-block;width:1.1em;text-align:center;font-weight:bold}
td.g .sym,.tile.g .sym{color:#1b5e20}td.a .sym,.tile.a .sym{color:#8a5a00}td.r .sym,.tile.r .sym{color:#b00020}
.beside{display:flex;gap:6px 18px;align-items:flex-start}
.beside>table{flex:0 1 auto}
.beside>aside{flex:0 0 330px;position:sticky;top:6px}
@media (max-width:1020px){.beside{flex-wrap:wrap}.beside>aside{position:static}}
table.limits{font-size:.78em;margin-top:.3em}table.limits td,table.limits th{padding:1px 5px}
.note{font-size:.82em;color:#444}
.ok{color:#1b5e20;font-weight:bold}.bad{color:#b00020;font-weight:bold}
@page{size:landscape;margin:10mm}
@media print{
body{max-width:none;margin:0;padding:0;font-size:11px;color:#000;background:#fff}
a{color:#000;text-decoration:none}
details.section::details-content{content-visibility:visible;display:block}
details.section>summary{list-style:none}details.section>summary::-webkit-details-marker{display:none}
figure.plot,tr,.tile,table.limits,pre.sum{break-inside:avoid;page-break-inside:avoid}
summary,h3{break-after:avoid;page-break-after:avoid}
thead{display:table-header-group}
figure.plot svg{border-color:#999}
*{print-color-adjust:exact;-webkit-print-color-adjust:exact}
}
)";

std::string Num(double value, int decimals)
{
    return FormatNumber(value, decimals);
}

std::string Count(uint64_t value)
{
    return std::to_string(value);
}

std::string Esc(const std::string& text)
{
    return EscapeXml(text);
}

std::string SignalLabel(uint32_t signal)
{
    return signal < kQcSignalCount ? kQcSignals[signal].m_szLabel : "?";
}

std::string FrameName(const SQcFrameCount& frame)
{
    switch (frame.m_uKind)
    {
    case eFrameBin:
        return "BIN" + std::to_string(frame.m_uNumber) + (frame.m_bKnown ? "" : " (unknown)");
    case eFramePacked:
        return "packed frame";
    case eFrameRtcm3:
        return "RTCM 3";
    case eFrameSite:
        return "site frame";
    case eFrameSentence:
        return "sentence";
    default:
        return "kind " + std::to_string(frame.m_uKind);
    }
}

// "HH:MM" of seconds since the GPS epoch.
std::string ClockLabel(double seconds)
{
    const std::string full = FormatQcTime(seconds);
    return full.substr(11, 5);
}

// Time ticks on whole minutes or hours, about `count` of them.
std::vector<double> TimeTicks(double start, double end, int count)
{
    static const double kSteps[] = {60, 120, 300, 600, 900, 1800, 3600, 7200, 10800, 21600, 43200, 86400, 172800, 604800};
    double step = kSteps[0];
    for (double s : kSteps)
    {
        step = s;
        if ((end - start) / s <= count)
            break;
    }
    std::vector<double> ticks;
    for (double t = std::ceil(start / step) * step; t <= end; t += step)
        ticks.push_back(t);
    return ticks;
}

void DrawTimeAxis(CQcSvg& svg, double start, double end, int count)
{
    const std::vector<double> ticks = TimeTicks(start, end, count);
    std::vector<std::string> labels;
    for (double t : ticks)
        labels.push_back(ClockLabel(t));
    svg.DrawXAxis(ticks, labels, "GPS time (hh:mm), from " + FormatQcTime(start));
}

// The light's symbol, ready for a cell or a tile.
std::string Symbol(EQcLight light)
{
    return light == eQcLightNone ? std::string()
                                 : "<span class=\"sym\">" + std::string(kLightLook[light].m_szSymbol) + "</span>";
}

std::string LightCell(EQcLight light, const std::string& text)
{
    if (light == eQcLightNone)
        return "<td>" + text + "</td>";
    return "<td class=\"" + std::string(kLightLook[light].m_szClass) + "\" title=\"" + kLightLook[light].m_szWord +
           "\">" + Symbol(light) + text + "</td>";
}

// The lights of summary values, judged by the same limits as a table row.
EQcLight CompletenessLightOf(bool have, double percent)
{
    SQcSignalRow row;
    row.m_bHaveCompleteness = have;
    row.m_dCompleteness = percent;
    return row.CompletenessLight();
}

EQcLight MultipathLightOf(bool have, double rms)
{
    SQcSignalRow row;
    row.m_bHaveMultipath = have;
    row.m_dMultipathRms = rms;
    return row.MultipathLight();
}

EQcLight SlipLightOf(uint64_t observations, uint64_t slips)
{
    SQcSignalRow row;
    row.m_Counts.m_uEpochs = observations;
    row.m_Counts.m_uSlips = slips;
    return row.SlipLight();
}

EQcLight WorstLight(const SQcSignalRow& row)
{
    return std::max({row.SlipLight(), row.StrengthLight(), row.MultipathLight(), row.CompletenessLight()});
}

std::string StrengthColour(double strength)
{
    if (strength <= 0.0)
        return kNoStrengthColour;
    int index = static_cast<int>(std::floor((strength - kStrengthScaleLow) / kStrengthScaleStep)) + 1;
    index = std::clamp(index, 0, kStrengthClasses - 1);
    return kStrengthColour[index];
}

std::string Figure(const std::string& id, const std::string& title, const std::string& svg, const std::string& how,
                   bool wide)
{
    return "<figure class=\"plot" + std::string(wide ? " wide" : "") + "\" id=\"" + id + "\">\n<figcaption>" + title +
           "</figcaption>\n" + svg + "<p class=\"how\">" + how + "</p></figure>\n";
}

double AxisEnd(const SQcReport& r)
{
    return r.m_dAxisStart + r.m_dAxisWidth * std::max<uint32_t>(r.m_uAxisBuckets, 1);
}

// The top margin of a plot whose legend of `keys` sits above its plot area.
int TopFor(const std::vector<SQcKey>& keys, int width, int extra)
{
    return 12 + 17 * CQcSvg::LegendRows(10, keys, width - 10) + extra;
}

// What one column of a satellite's timeline row shows.
enum ECellKind
{
    eCellEmpty,
    eCellTracked,
    eCellUntracked, // above the mask, not tracked
    eCellPartly,    // tracked in part of the column's epochs
};

ECellKind CellKind(const SQcReport& r, const SQcTimelineCell& c)
{
    const uint32_t epochs = c.m_uBucket < r.m_auEpochsPerBucket.size() ? r.m_auEpochsPerBucket[c.m_uBucket] : 0;
    if (c.m_uPresent == 0)
        return c.m_uExpected > 0 ? eCellUntracked : eCellEmpty;
    return c.m_uPresent >= epochs ? eCellTracked : eCellPartly;
}

// Availability timeline: one row per satellite; bars where its first signal
// was tracked, pale where only part of the column had it, grey where it was
// above the mask but missing; ticks for loss-of-lock marks, diamonds for
// slips, dashed lines for clock jumps.
std::string TimelinePlot(const SQcReport& r)
{
    uint64_t lossOfLock = 0;
    uint64_t slips = 0;
    bool system[kQcSystemCount] = {};
    for (const SQcSatellitePlot& sat : r.m_aSatellites)
    {
        system[std::min<uint32_t>(sat.m_uSystem, kQcSystemCount - 1)] = true;
        for (const SQcTimelineCell& c : sat.m_aCells)
        {
            lossOfLock += c.m_uLossOfLock > 0 ? 1 : 0;
            slips += c.m_uSlips > 0 ? 1 : 0;
        }
    }
    std::vector<SQcKey> keys;
    for (uint32_t s = 0; s < kQcSystemCount; ++s)
        if (system[s] || (s < eQcSbas && r.m_aSatellites.empty()))
            keys.push_back({kSystemName[s], kSystemColour[s], eQcShapeBox});
    keys.push_back({"tracked in part of a column", kSystemColour[0], eQcShapeBox, "", 0.4});
    keys.push_back({"above the mask, not tracked", kUntrackedColour, eQcShapeBox});
    keys.push_back({"loss of lock (" + Count(lossOfLock) + ")", kLossOfLockColour, eQcShapeTick});
    keys.push_back({"slip found (" + Count(slips) + ")", kSlipColour, eQcShapeDiamond});
    keys.push_back({"clock jump (" + Count(r.m_uClockJumps) + ")", kClockJumpColour, eQcShapeLine, "4 2"});

    const int rowHeight = 10;
    const int rows = std::max<int>(1, static_cast<int>(r.m_aSatellites.size()));
    const int top = TopFor(keys, kWide, 4);
    CQcSvg svg(kWide, top + rows * rowHeight + 46, kTimeLeft, kTimeRight, top, 46,
               "Availability timeline per satellite");
    const double start = r.m_dAxisStart;
    const double end = AxisEnd(r);
    svg.SetX(start, end);
    svg.SetY(0, rows);
    DrawTimeAxis(svg, start, end, 12);
    svg.AxisTitle(16, (svg.Top() + svg.Bottom()) / 2, "Satellite (G GPS, R GLONASS, C BeiDou, S SBAS)", true);
    svg.BeginMarks();
    const double w = svg.X(start + r.m_dAxisWidth) - svg.X(start);
    for (size_t i = 0; i < r.m_aSatellites.size(); ++i)
    {
        const SQcSatellitePlot& sat = r.m_aSatellites[i];
        const std::string colour = kSystemColour[std::min<uint32_t>(sat.m_uSystem, kQcSystemCount - 1)];
        const double y = svg.Top() + static_cast<double>(i) * rowHeight;
        if (i > 0 && r.m_aSatellites[i - 1].m_uSystem != sat.m_uSystem)
            svg.Line(svg.Left(), y, svg.Right(), y, "#888", 0.6);
        svg.Text(svg.Left() - 5, y + rowHeight - 1.5, SatelliteName(sat.m_uSystem, sat.m_uNumber),
                 "text-anchor=\"end\" class=\"sat\"");
        // Runs of equal cells are drawn as one bar.
        size_t k = 0;
        while (k < sat.m_aCells.size())
        {
            const SQcTimelineCell& c = sat.m_aCells[k];
            const ECellKind kind = CellKind(r, c);
            size_t last = k;
            while (last + 1 < sat.m_aCells.size() && sat.m_aCells[last + 1].m_uBucket == sat.m_aCells[last].m_uBucket + 1 &&
                   CellKind(r, sat.m_aCells[last + 1]) == kind)
                ++last;
            const double x = svg.X(start + c.m_uBucket * r.m_dAxisWidth);
            const double width = w * static_cast<double>(sat.m_aCells[last].m_uBucket - c.m_uBucket + 1);
            if (kind == eCellTracked || kind == eCellPartly)
                svg.Rect(x, y + 1.5, width, rowHeight - 3, colour, kind == eCellPartly ? "fill-opacity=\"0.4\"" : "");
            else if (kind == eCellUntracked)
                svg.Rect(x, y + 1.5, width, rowHeight - 3, kUntrackedColour);
            k = last + 1;
        }
        for (const SQcTimelineCell& c : sat.m_aCells)
        {
            const double x = svg.X(start + (c.m_uBucket + 0.5) * r.m_dAxisWidth);
            if (c.m_uLossOfLock > 0)
                svg.Marker(x, y + rowHeight / 2.0, eQcShapeTick, kLossOfLockColour, rowHeight, "class=\"lol\"");
            if (c.m_uSlips > 0)
                svg.Marker(x, y + rowHeight / 2.0, eQcShapeDiamond, kSlipColour, 8, "class=\"slip\"");
        }
    }
    for (const SQcClockJump& jump : r.m_aFirstClockJumps)
    {
        const double x = svg.X(jump.m_dSeconds);
        svg.Line(x, svg.Top(), x, svg.Bottom(), kClockJumpColour, 1.5, "stroke-dasharray=\"4 2\" class=\"jump\"");
    }
    svg.EndMarks();
    svg.Legend(10, 16, keys, kWide - 10);
    return svg.Finish();
}

std::string SkyPlot(const SQcReport& r, int height)
{
    std::vector<SQcKey> keys;
    for (int i = 0; i < kStrengthClasses; ++i)
        keys.push_back({kStrengthLabel[i], kStrengthColour[i], eQcShapeDot});
    keys.push_back({"no strength", kNoStrengthColour, eQcShapeDot});
    const int top = TopFor(keys, kHalf, 0);
    const double radius = std::max(60.0, (height - top - 76) / 2.0);
    const double cx = kHalf / 2.0 + 8;
    const double cy = top + 26 + radius;
    CQcSvg svg(kHalf, height, 40, 40, top, 40, "Sky plot, tracks coloured by signal strength");
    auto at = [&](double elevation, double azimuth, double& x, double& y) {
        const double rr = radius * (90.0 - std::clamp(elevation, 0.0, 90.0)) / 90.0;
        const double a = azimuth * 3.14159265358979323846 / 180.0;
        x = cx + rr * std::sin(a);
        y = cy - rr * std::cos(a);
    };
    svg.Raw("<g class=\"axis\">");
    for (int e : {0, 30, 60})
    {
        svg.Circle(cx, cy, radius * (90 - e) / 90.0, "none", "stroke=\"#999\" stroke-width=\"0.8\"");
        svg.Text(cx - radius * (90 - e) / 90.0 + 3, cy - 4, std::to_string(e) + "\u00b0");
    }
    for (int az = 0; az < 360; az += 30)
    {
        double x = 0;
        double y = 0;
        at(0.0, az, x, y);
        svg.Line(cx, cy, x, y, "#ddd", 0.6);
        if (az % 90 != 0)
        {
            at(-9.0, az, x, y);
            svg.Text(x, y + 4, std::to_string(az) + "\u00b0", "text-anchor=\"middle\"");
        }
    }
    svg.Text(cx, cy - radius - 8, "N", "text-anchor=\"middle\" class=\"compass\"");
    svg.Text(cx + radius + 6, cy + 5, "E", "class=\"compass\"");
    svg.Text(cx, cy + radius + 18, "S", "text-anchor=\"middle\" class=\"compass\"");
    svg.Text(cx - radius - 18, cy + 5, "W", "class=\"compass\"");
    svg.AxisTitle(cx, height - 8, "Azimuth (degrees, clockwise from north)", false);
    svg.AxisTitle(14, cy, "Elevation (degrees; 90 at the centre)", true);
    svg.Raw("</g>\n");
    svg.BeginMarks();
    std::vector<std::pair<double, double>> dots[kStrengthClasses + 1];
    std::vector<std::pair<std::pair<double, double>, std::string>> names;
    for (const SQcSatellitePlot& sat : r.m_aSatellites)
    {
        const size_t n = sat.m_aTrack.size();
        if (n == 0)
            continue;
        const size_t stride = (n + kTrackPointsDrawn - 1) / kTrackPointsDrawn;
        for (size_t i = 0; i < n; i += stride)
        {
            const SQcTrackPoint& p = sat.m_aTrack[i];
            if (p.m_dElevation < 0.0)
                continue;
            double x = 0;
            double y = 0;
            at(p.m_dElevation, p.m_dAzimuth, x, y);
            const std::string colour = StrengthColour(p.m_adStrength[0]);
            int index = kStrengthClasses;
            for (int c = 0; c < kStrengthClasses; ++c)
                if (colour == kStrengthColour[c])
                    index = c;
            dots[index].emplace_back(x, y);
        }
        const SQcTrackPoint& last = sat.m_aTrack.back();
        if (last.m_dElevation >= 0.0)
        {
            double x = 0;
            double y = 0;
            at(last.m_dElevation, last.m_dAzimuth, x, y);
            names.push_back({{x + 4, y - 3}, SatelliteName(sat.m_uSystem, sat.m_uNumber)});
        }
    }
    svg.Dots(dots[kStrengthClasses], kNoStrengthColour, 4);
    for (int c = 0; c < kStrengthClasses; ++c)
        svg.Dots(dots[c], kStrengthColour[c], 4);
    for (const auto& [point, name] : names)
        svg.Text(point.first, point.second, name, "class=\"sat\"");
    svg.EndMarks();
    svg.Legend(10, 16, keys, kHalf - 10);
    return svg.Finish();
}

// Means of the rows of each signal per elevation bin: strength by its counts, multipath as RMS.
void SignalBins(const SQcReport& r, bool multipath, double values[kQcSignalCount][kQcElevationBins],
                bool present[kQcSignalCount])
{
    double sums[kQcSignalCount][kQcElevationBins] = {};
    double counts[kQcSignalCount][kQcElevationBins] = {};
    for (const SQcSignalRow& row : r.m_aRows)
    {
        if (row.m_uSignal >= kQcSignalCount)
            continue;
        for (uint32_t b = 0; b < kQcElevationBins; ++b)
        {
            if (multipath)
            {
                const double n = static_cast<double>(row.m_auBinMultipathPoints[b]);
                sums[row.m_uSignal][b] += row.m_adBinMultipath[b] * row.m_adBinMultipath[b] * n;
                counts[row.m_uSignal][b] += n;
            }
            else
            {
                sums[row.m_uSignal][b] += row.m_Counts.m_adBinStrengthSum[b];
                counts[row.m_uSignal][b] += static_cast<double>(row.m_Counts.m_auBinStrengthCount[b]);
            }
        }
    }
    for (uint32_t s = 0; s < kQcSignalCount; ++s)
    {
        present[s] = false;
        for (uint32_t b = 0; b < kQcElevationBins; ++b)
        {
            values[s][b] = 0.0;
            if (counts[s][b] > 0)
            {
                values[s][b] = multipath ? std::sqrt(sums[s][b] / counts[s][b]) : sums[s][b] / counts[s][b];
                present[s] = true;
            }
        }
    }
}

SQcKey SignalKey(uint32_t s)
{
    const SQcSignalInfo& info = kQcSignals[s];
    SQcKey key{info.m_szLabel, kSystemColour[info.m_uSystem], eQcShapeLine, kSlotDash[info.m_uSlot]};
    key.m_eMarker = kSlotShape[info.m_uSlot];
    return key;
}

std::string ElevationPlot(const SQcReport& r, bool multipath, int height)
{
    const std::string what = multipath ? "Code multipath RMS against elevation" : "Signal strength against elevation";
    double values[kQcSignalCount][kQcElevationBins];
    bool present[kQcSignalCount];
    SignalBins(r, multipath, values, present);
    std::vector<SQcKey> keys;
    for (uint32_t s = 0; s < kQcSignalCount; ++s)
        if (present[s])
            keys.push_back(SignalKey(s));
    if (!multipath)
        keys.push_back({"single moments", "#777777", eQcShapeDot});
    if (keys.empty())
        keys.push_back({"no signal with a value", "#777777", eQcShapeLine});
    const int top = TopFor(keys, kHalf, 6);
    CQcSvg svg(kHalf, height, 62, 16, top, 46, what);
    double high = multipath ? 0.5 : 55.0;
    double low = multipath ? 0.0 : 20.0;
    for (uint32_t s = 0; s < kQcSignalCount; ++s)
        for (uint32_t b = 0; b < kQcElevationBins; ++b)
        {
            if (values[s][b] > 0.0)
            {
                high = std::max(high, values[s][b] * 1.1);
                if (!multipath)
                    low = std::min(low, std::floor(values[s][b] / 5.0) * 5.0);
            }
        }
    svg.SetX(0, 90);
    svg.SetY(low, high);
    std::vector<double> xt = {0, 10, 20, 30, 40, 50, 60, 70, 80, 90};
    std::vector<std::string> xl;
    for (double t : xt)
        xl.push_back(Num(t, 0));
    svg.DrawXAxis(xt, xl, "Elevation (degrees)");
    svg.DrawYAxis(NiceTicks(low, high, 6), multipath ? 2 : 0,
                  multipath ? "Code multipath RMS (m)" : "Signal strength (dB-Hz)");
    svg.BeginMarks();
    if (!multipath)
    {
        // The tracks' strengths behind the means, faint, one dot per drawn point.
        std::vector<std::pair<double, double>> dots[kQcSystemCount];
        for (const SQcSatellitePlot& sat : r.m_aSatellites)
        {
            const size_t n = sat.m_aTrack.size();
            const size_t stride = std::max<size_t>((n + kTrackPointsDrawn - 1) / kTrackPointsDrawn, 1);
            for (size_t i = 0; i < n; i += stride)
            {
                const SQcTrackPoint& p = sat.m_aTrack[i];
                for (uint32_t s = 0; s < kQcSignalCount; ++s)
                {
                    if (kQcSignals[s].m_uSystem != sat.m_uSystem || p.m_adStrength[kQcSignals[s].m_uSlot] <= 0.0)
                        continue;
                    dots[kQcSignals[s].m_uSystem].emplace_back(
                        svg.X(std::clamp(p.m_dElevation, 0.0, 90.0)),
                        svg.Y(std::clamp(p.m_adStrength[kQcSignals[s].m_uSlot], low, high)));
                }
            }
        }
        for (uint32_t s = 0; s < kQcSystemCount; ++s)
            svg.Dots(dots[s], kSystemColour[s], 2.4, "stroke-opacity=\"0.22\"");
    }
    for (uint32_t s = 0; s < kQcSignalCount; ++s)
    {
        if (!present[s])
            continue;
        const SQcKey key = SignalKey(s);
        std::vector<std::pair<double, double>> line;
        for (uint32_t b = 0; b < kQcElevationBins; ++b)
            if (values[s][b] > 0.0)
                line.emplace_back(svg.X(b * 10.0 + 5.0), svg.Y(values[s][b]));
        svg.Polyline(line, key.m_szColour, 2,
                     key.m_szDash.empty() ? "" : "stroke-dasharray=\"" + key.m_szDash + "\"");
        for (const auto& [x, y] : line)
            svg.Marker(x, y, key.m_eMarker, key.m_szColour, 7);
    }
    svg.EndMarks();
    svg.Legend(10, 16, keys, kHalf - 10);
    return svg.Finish();
}

std::string CountPlot(const SQcReport& r)
{
    double high = 4;
    for (const SQcCountPoint& p : r.m_aSatelliteCounts)
        high = std::max(high, static_cast<double>(p.m_uMax) + 1.0);
    bool any[kQcSystemCount] = {};
    for (const SQcCountPoint& p : r.m_aSatelliteCounts)
        for (uint32_t s = 0; s < kQcSystemCount; ++s)
            any[s] = any[s] || p.m_adMean[s] > 0.0;
    std::vector<SQcKey> keys = {{"all systems", "#222222", eQcShapeLine}};
    for (uint32_t s = 0; s < kQcSystemCount; ++s)
        if (any[s])
            keys.push_back({kSystemName[s], kSystemColour[s], eQcShapeLine, s == eQcGlonass ? "6 3" : s == eQcBeidou ? "2 2" : ""});
    keys.push_back({"least to most within a column", "#aaaaaa", eQcShapeTick});
    const int top = TopFor(keys, kWide, 4);
    CQcSvg svg(kWide, top + 170 + 46, kTimeLeft, kTimeRight, top, 46, "Number of satellites against time");
    const double start = r.m_dAxisStart;
    const double end = AxisEnd(r);
    svg.SetX(start, end);
    svg.SetY(0, high);
    DrawTimeAxis(svg, start, end, 12);
    svg.DrawYAxis(NiceTicks(0, high, 4), 0, "Satellites (count)");
    svg.BeginMarks();
    std::vector<std::pair<double, double>> total;
    std::vector<std::pair<double, double>> bySystem[kQcSystemCount];
    for (const SQcCountPoint& p : r.m_aSatelliteCounts)
    {
        const double x = svg.X(p.m_dSeconds + r.m_dAxisWidth / 2);
        double sum = 0.0;
        for (uint32_t s = 0; s < kQcSystemCount; ++s)
        {
            bySystem[s].emplace_back(x, svg.Y(p.m_adMean[s]));
            sum += p.m_adMean[s];
        }
        total.emplace_back(x, svg.Y(sum));
        if (p.m_uMin != p.m_uMax)
            svg.Line(x, svg.Y(p.m_uMin), x, svg.Y(p.m_uMax), "#aaa", 1);
    }
    for (uint32_t s = 0; s < kQcSystemCount; ++s)
        if (any[s])
            svg.Polyline(bySystem[s], kSystemColour[s], 1.8,
                         s == eQcGlonass ? "stroke-dasharray=\"6 3\"" : s == eQcBeidou ? "stroke-dasharray=\"2 2\"" : "");
    svg.Polyline(total, "#222", 2.2);
    svg.EndMarks();
    svg.Legend(10, 16, keys, kWide - 10);
    return svg.Finish();
}

std::string IntervalPlot(const SQcReport& r, int height)
{
    const std::vector<SQcKey> keys = {{"epoch steps of that length", "#0072b2", eQcShapeBox}};
    const int top = TopFor(keys, kHalf, 8);
    CQcSvg svg(kHalf, height, 62, 16, top, 46, "Histogram of epoch intervals");
    const size_t n = std::max<size_t>(1, r.m_aIntervals.size() + (r.m_uOtherIntervals > 0 ? 1 : 0));
    double high = 1;
    for (const auto& bin : r.m_aIntervals)
        high = std::max(high, static_cast<double>(bin.second));
    high = std::max(high, static_cast<double>(r.m_uOtherIntervals));
    high *= 1.15;
    svg.SetX(0, static_cast<double>(n));
    svg.SetY(0, high);
    std::vector<double> ticks;
    std::vector<std::string> labels;
    for (size_t i = 0; i < r.m_aIntervals.size(); ++i)
    {
        ticks.push_back(i + 0.5);
        labels.push_back(Num(r.m_aIntervals[i].first, r.m_aIntervals[i].first < 1.0 ? 2 : 1));
    }
    if (r.m_uOtherIntervals > 0)
    {
        ticks.push_back(r.m_aIntervals.size() + 0.5);
        labels.push_back("other");
    }
    svg.DrawXAxis(ticks, labels, "Interval between epochs (s)");
    svg.DrawYAxis(NiceTicks(0, high, 4), 0, "Epoch steps (count)");
    svg.BeginMarks();
    const double w = std::min((svg.X(1) - svg.X(0)) * 0.7, 120.0);
    auto bar = [&](double index, double value) {
        const double x = svg.X(index + 0.5) - w / 2;
        svg.Rect(x, svg.Y(value), w, svg.Bottom() - svg.Y(value), "#0072b2");
        svg.Text(x + w / 2, svg.Y(value) - 4, Num(value, 0), "text-anchor=\"middle\"");
    };
    for (size_t i = 0; i < r.m_aIntervals.size(); ++i)
        bar(static_cast<double>(i), static_cast<double>(r.m_aIntervals[i].second));
    if (r.m_uOtherIntervals > 0)
        bar(static_cast<double>(r.m_aIntervals.size()), static_cast<double>(r.m_uOtherIntervals));
    svg.EndMarks();
    svg.Legend(10, 16, keys, kHalf - 10);
    return svg.Finish();
}

std::string Tile(const std::string& name, const std::string& value, const std::string& detail,
                 EQcLight light = eQcLightNone)
{
    return "<div class=\"tile" + std::string(light != eQcLightNone ? " " : "") + kLightLook[light].m_szClass +
           "\"><div class=\"k\">" + name + "</div><div class=\"v\">" + Symbol(light) + value +
           "</div><div class=\"s\">" + detail + "</div></div>\n";
}

// The one-line summary and the headline numbers, each with its light where
// the table's limits judge it.
void WriteSummary(std::ostream& out, const SQcReport& r)
{
    const SQcSummary& s = r.m_Summary;
    out << "<pre class=\"sum\" id=\"summary\">" << Esc(FormatSummaryHeader()) << "\n" << Esc(FormatSummaryLine(r))
        << "</pre>\n<div class=\"tiles\">\n";
    out << Tile("Span", Num(s.m_dHours, 2) + " h",
                Count(r.m_uEpochs) + " epochs at " + Num(s.m_dInterval, 2) + " s; " + Count(r.m_uForwardJumps) +
                    " gaps, " + Count(r.m_uBackwardSteps) + " steps back");
    out << Tile("Completeness",
                s.m_bHaveCompleteness ? Num(s.m_dCompleteness, 1) + " %" : std::string("-"),
                s.m_bHaveCompleteness ? Count(s.m_uPresent) + " of " + Count(s.m_uExpected) + " satellite epochs above " +
                                            Num(s.m_dMask, 0) + "\u00b0 tracked"
                                      : std::string("no ephemerides or no position"),
                CompletenessLightOf(s.m_bHaveCompleteness, s.m_dCompleteness));
    double meanSum = 0.0;
    uint32_t least = 0;
    uint32_t most = 0;
    for (size_t i = 0; i < r.m_aSatelliteCounts.size(); ++i)
    {
        const SQcCountPoint& p = r.m_aSatelliteCounts[i];
        for (double m : p.m_adMean)
            meanSum += m;
        least = i == 0 ? p.m_uMin : std::min(least, p.m_uMin);
        most = std::max(most, p.m_uMax);
    }
    out << Tile("Satellites",
                r.m_aSatelliteCounts.empty() ? std::string("-")
                                             : Num(meanSum / static_cast<double>(r.m_aSatelliteCounts.size()), 1),
                "tracked at a time on average; " + Count(least) + " to " + Count(most) + "; " +
                    Count(r.m_aSatellites.size()) + " seen");
    const EQcLight mpLight =
        std::max(MultipathLightOf(s.m_bHaveMp1, s.m_dMp1), MultipathLightOf(s.m_bHaveMp2, s.m_dMp2));
    out << Tile("MP1 / MP2", (s.m_bHaveMp1 ? Num(s.m_dMp1, 2) : "-") + " / " + (s.m_bHaveMp2 ? Num(s.m_dMp2, 2) : "-") + " m",
                "code multipath RMS of GPS L1 C/A and L2", mpLight);
    out << Tile("Slips", Count(s.m_uSlips),
                "satellite epochs with a slip or loss of lock, of " + Count(s.m_uObservations) +
                    (s.m_uSlips > 0 ? "; one in " + Count(s.m_uObservations / s.m_uSlips) : std::string()),
                SlipLightOf(s.m_uObservations, s.m_uSlips));
    uint64_t lights[4] = {};
    for (const SQcSignalRow& row : r.m_aRows)
        ++lights[WorstLight(row)];
    out << Tile("Table lights",
                Symbol(eQcLightGreen) + Count(lights[eQcLightGreen]) + " " + Symbol(eQcLightAmber) +
                    Count(lights[eQcLightAmber]) + " " + Symbol(eQcLightRed) + Count(lights[eQcLightRed]),
                "satellite-signal rows by their worst light (good, fair, poor)");
    out << Tile("Clock jumps", Count(r.m_uClockJumps),
                "of the receiver clock; " + Count(r.m_uDamagedBytes) + " bytes skipped as damage, " +
                    Count(r.m_DropTotals.Dropped()) + " observations left out");
    const SQcPosition& p = r.m_Position;
    out << Tile("Position",
                p.m_bHaveDistance ? Num(p.m_dDistance, 1) + " m"
                                  : (p.m_bHaveFixes ? Count(p.m_uFixes) + " fixes" : std::string("no fix")),
                p.m_bHaveDistance ? "median fix from the site, of " + Count(p.m_uFixes) + " fixes"
                                  : (p.m_bHaveFixes ? std::string("no site position to compare with")
                                                    : Count(p.m_uTried) + " tried"));
    out << "</div>\n";
}

void WritePlots(std::ostream& out, const SQcReport& r)
{
    out << "<div class=\"plots\" id=\"plots\">\n";
    out << Figure("plot-timeline", "Availability of each satellite", TimelinePlot(r),
                  "A bar where the satellite's first signal (GPS L1 C/A, GLONASS L1, BeiDou B1I) was tracked, pale "
                  "where only part of the column's epochs had it, grey where it stood above the mask but wasn't "
                  "tracked. Black ticks: the receiver's loss-of-lock marks; yellow diamonds: slips found in the data; "
                  "dashed lines: receiver clock jumps. One column is " +
                      Num(r.m_dAxisWidth, 0) + " s.",
                  true);
    out << Figure("plot-sky", "Sky plot by signal strength", SkyPlot(r, kFirstPairHeight),
                  "Where each satellite stood, seen from the site (north up, east right), coloured by the strength of "
                  "its first signal. Weak signals in one direction point to an obstruction there.",
                  false);
    out << Figure("plot-strength", "Signal strength against elevation", ElevationPlot(r, false, kFirstPairHeight),
                  "Lines: the mean per 10\u00b0 of elevation for each signal; faint dots: single moments. Strength "
                  "should rise with elevation; a dip at some elevations points to obstruction or interference.",
                  false);
    out << Figure("plot-count", "Satellites tracked", CountPlot(r),
                  "The mean number tracked per column, by system and in all; grey bars span the least to the most "
                  "within the column. Its time axis lines up with the timeline's.",
                  true);
    out << Figure("plot-multipath", "Code multipath against elevation", ElevationPlot(r, true, kSecondPairHeight),
                  "RMS per 10\u00b0 of elevation of the code's multipath and noise (code less two carrier phases, mean "
                  "removed per arc). Higher at low elevation is normal; high everywhere points to the antenna's site.",
                  false);
    out << Figure("plot-intervals", "Epoch intervals", IntervalPlot(r, kSecondPairHeight),
                  "How often each step between consecutive epochs occurs. One bar at the sampling interval is a clean "
                  "log; other bars are gaps or irregular epochs.",
                  false);
    out << "</div>\n";
}

// A section of tables: a details element whose summary tells the gist, open
// when it is short or the reader wants it at once. Print opens every one.
void OpenSection(std::ostream& out, const char* id, const std::string& title, const std::string& gist, bool open)
{
    out << "<details class=\"section\" id=\"" << id << "\"" << (open ? " open" : "") << "><summary><h2>" << title
        << "</h2><span class=\"gist\">" << gist << "</span></summary>\n";
}

void CloseSection(std::ostream& out)
{
    out << "</details>\n";
}

// A column's header, its unit kept in one piece where the header wraps.
std::string Header(const std::string& name)
{
    const size_t unit = name.find(" (");
    if (unit == std::string::npos)
        return Esc(name);
    return Esc(name.substr(0, unit)) + " <span class=\"nw\">" + Esc(name.substr(unit + 1)) + "</span>";
}

// The limits beside the table, in an aside that stays in view while the
// table scrolls past on a wide screen.
void WriteLimits(std::ostream& out, const SQcReport& r)
{
    out << "<aside><table class=\"limits\" id=\"limits\"><thead><tr><th class=\"l\">Lights</th><th>"
        << Symbol(eQcLightGreen) << "good</th><th>" << Symbol(eQcLightAmber) << "fair</th><th>" << Symbol(eQcLightRed)
        << "poor</th></tr></thead><tbody>\n";
    for (const SLimit& limit : kLimits)
    {
        const std::string g = Num(limit.m_dGreen, limit.m_iDecimals);
        const std::string a = Num(limit.m_dAmber, limit.m_iDecimals);
        out << "<tr><td class=\"l\" title=\"" << Esc(limit.m_szWhat) << "\">" << Esc(limit.m_szColumn) << "</td>";
        if (limit.m_bHighIsGood)
            out << "<td class=\"g\">\u2265 " << g << "</td><td class=\"a\">\u2265 " << a << ", &lt; " << g
                << "</td><td class=\"r\">&lt; " << a << "</td>";
        else
            out << "<td class=\"g\">\u2264 " << g << "</td><td class=\"a\">&gt; " << g << ", \u2264 " << a
                << "</td><td class=\"r\">&gt; " << a << "</td>";
        out << "</tr>\n";
    }
    out << "</tbody></table>\n<p class=\"note\">";
    for (const SLimit& limit : kLimits)
        out << "<b>" << Esc(limit.m_szColumn) << "</b>: " << Esc(limit.m_szWhat) << ". ";
    out << "</p><p class=\"note\">Completeness counts the epochs a satellite stood above "
        << Num(r.m_Summary.m_dMask, 1)
        << "\u00b0, from the log's own ephemerides. Each light carries its symbol, so it reads in print and without "
           "colour.</p></aside>\n";
}

void WriteSignals(std::ostream& out, const SQcReport& r)
{
    uint64_t lights[4] = {};
    for (const SQcSignalRow& row : r.m_aRows)
        ++lights[WorstLight(row)];
    OpenSection(out, "signals", "Per satellite and signal",
                Count(r.m_aRows.size()) + " rows; by their worst light " + Symbol(eQcLightGreen) +
                    Count(lights[eQcLightGreen]) + " good, " + Symbol(eQcLightAmber) + Count(lights[eQcLightAmber]) +
                    " fair, " + Symbol(eQcLightRed) + Count(lights[eQcLightRed]) + " poor",
                true);
    out << "<div class=\"beside\">\n";
    out << "<table id=\"table-signals\"><thead><tr><th class=\"l\">Sat</th><th class=\"l\">Signal</th><th>Epochs</th>"
        << "<th>Arcs</th><th>Gaps</th><th>Loss of lock</th><th>Slips</th><th>" << Header(kLimits[eLimitSlips].m_szColumn)
        << "</th><th>" << Header(kLimits[eLimitStrength].m_szColumn) << "</th><th>"
        << Header(kLimits[eLimitMultipath].m_szColumn) << "</th><th>Expected</th><th>Present</th><th>"
        << Header(kLimits[eLimitCompleteness].m_szColumn) << "</th></tr></thead><tbody>\n";
    for (size_t i = 0; i < r.m_aRows.size(); ++i)
    {
        const SQcSignalRow& row = r.m_aRows[i];
        const bool first = i > 0 && (r.m_aRows[i - 1].m_uSystem != row.m_uSystem ||
                                     r.m_aRows[i - 1].m_uNumber != row.m_uNumber);
        out << (first ? "<tr class=\"first\">" : "<tr>") << "<td class=\"l\">"
            << SatelliteName(row.m_uSystem, row.m_uNumber) << "</td><td class=\"l\">" << Esc(SignalLabel(row.m_uSignal))
            << "</td><td>" << Count(row.m_Counts.m_uEpochs) << "</td><td>" << Count(row.m_Counts.m_uArcs) << "</td><td>"
            << Count(row.m_Counts.m_uGaps) << "</td><td>" << Count(row.m_Counts.m_uLossOfLock) << "</td><td>"
            << Count(row.m_Counts.m_uSlips) << "</td>" << LightCell(row.SlipLight(), Num(row.SlipRate(), 1))
            << LightCell(row.StrengthLight(), row.m_Counts.m_uStrengthCount > 0 ? Num(row.m_dMeanStrength, 1) : "-")
            << LightCell(row.MultipathLight(), row.m_bHaveMultipath ? Num(row.m_dMultipathRms, 2) : "-") << "<td>"
            << Count(row.m_Counts.m_uExpected) << "</td><td>" << Count(row.m_Counts.m_uPresent) << "</td>"
            << LightCell(row.CompletenessLight(), row.m_bHaveCompleteness ? Num(row.m_dCompleteness, 1) : "-")
            << "</tr>\n";
    }
    out << "</tbody></table>\n";
    WriteLimits(out, r);
    out << "</div>\n";
    CloseSection(out);
}

void WriteSlips(std::ostream& out, const SQcReport& r)
{
    OpenSection(out, "slips", "Slips found in the data", Count(r.m_uSlipEvents) + " satellite epochs with a slip",
                false);
    out << "<p class=\"note\">The first are listed. Tests: GF geometry-free jump, MW Melbourne-W\u00fcbbena jump (two "
           "carriers), CMC code-minus-phase jump (one carrier).</p>\n";
    if (!r.m_aFirstSlips.empty())
    {
        out << "<table id=\"table-slips\"><thead><tr><th class=\"l\">Epoch</th><th class=\"l\">Sat</th>"
               "<th class=\"l\">Signals</th><th class=\"l\">Tests</th></tr></thead><tbody>\n";
        for (const SQcSlipEvent& e : r.m_aFirstSlips)
        {
            std::string signals;
            for (uint32_t s = 0; s < kQcSignalCount; ++s)
                if ((e.m_uSignals >> s & 1) != 0)
                {
                    if (!signals.empty())
                        signals += ", ";
                    signals += SignalLabel(s);
                }
            std::string tests;
            if ((e.m_uTests & 1) != 0)
                tests += "GF ";
            if ((e.m_uTests & 2) != 0)
                tests += "MW ";
            if ((e.m_uTests & 4) != 0)
                tests += "CMC";
            out << "<tr><td class=\"l\">" << FormatQcTime(e.m_dSeconds) << "</td><td class=\"l\">"
                << SatelliteName(e.m_uSystem, e.m_uNumber) << "</td><td class=\"l\">" << Esc(signals)
                << "</td><td class=\"l\">" << tests << "</td></tr>\n";
        }
        out << "</tbody></table>\n";
    }
    CloseSection(out);
}

void WriteClock(std::ostream& out, const SQcReport& r)
{
    OpenSection(out, "clock", "Receiver clock", Count(r.m_uClockJumps) + " millisecond jumps", false);
    out << "<p class=\"note\">Epochs where every satellite's code stepped by a whole number of milliseconds times the "
           "speed of light against its Doppler. No slip is reported at such an epoch. The first are listed.</p>\n";
    if (!r.m_aFirstClockJumps.empty())
    {
        out << "<table id=\"table-clock\"><thead><tr><th class=\"l\">Epoch</th><th>Jump (ms)</th>"
               "<th>Satellites agreeing</th><th>Median step (m)</th></tr></thead><tbody>\n";
        for (const SQcClockJump& j : r.m_aFirstClockJumps)
            out << "<tr><td class=\"l\">" << FormatQcTime(j.m_dSeconds) << "</td><td>" << j.m_iMilliseconds
                << "</td><td>" << j.m_uSatellites << " of " << j.m_uCompared << "</td><td>" << Num(j.m_dMedianMetres, 1)
                << "</td></tr>\n";
        out << "</tbody></table>\n";
    }
    CloseSection(out);
}

void WritePosition(std::ostream& out, const SQcReport& r)
{
    const SQcPosition& p = r.m_Position;
    static const char* const kSource[] = {"none given", "given with -L", "from the log's position sentence"};
    OpenSection(out, "position", "Position",
                p.m_bHaveDistance ? "median fix " + Num(p.m_dDistance, 2) + " m from the site"
                                  : (p.m_bHaveFixes ? Count(p.m_uFixes) + " fixes" : std::string("no fix")),
                true);
    out << "<table id=\"table-position\"><tr><th class=\"l\">Site position</th><td class=\"l\">"
        << kSource[std::min<uint32_t>(p.m_uSource, 2)];
    if (p.m_uSource != eQcPositionNone)
        out << ": " << Num(p.m_adSiteLlh[0], 7) << "\u00b0, " << Num(p.m_adSiteLlh[1], 7) << "\u00b0, "
            << Num(p.m_adSiteLlh[2], 2) << " m (X " << Num(p.m_adSiteXyz[0], 2) << ", Y " << Num(p.m_adSiteXyz[1], 2)
            << ", Z " << Num(p.m_adSiteXyz[2], 2) << " m)";
    out << "</td></tr>\n<tr><th class=\"l\">Single-point position</th><td class=\"l\">";
    if (p.m_bHaveFixes)
        out << "median of " << Count(p.m_uFixes) << " fixes (of " << Count(p.m_uTried) << " tried, one per "
            << Num(p.m_dFixStep, 0) << " s): " << Num(p.m_adMedianLlh[0], 7) << "\u00b0, " << Num(p.m_adMedianLlh[1], 7)
            << "\u00b0, " << Num(p.m_adMedianLlh[2], 2) << " m (X " << Num(p.m_adMedianXyz[0], 2) << ", Y "
            << Num(p.m_adMedianXyz[1], 2) << ", Z " << Num(p.m_adMedianXyz[2], 2) << " m)";
    else
        out << "none (" << Count(p.m_uTried) << " tried)";
    out << "</td></tr>\n";
    if (p.m_bHaveFixes)
        out << "<tr><th class=\"l\">Spread of the fixes (RMS)</th><td class=\"l\">north " << Num(p.m_adSpreadNeu[0], 2)
            << " m, east " << Num(p.m_adSpreadNeu[1], 2) << " m, up " << Num(p.m_adSpreadNeu[2], 2) << " m</td></tr>\n";
    if (p.m_bHaveDistance)
        out << "<tr><th class=\"l\">Median fix from the site</th><td class=\"l\">" << Num(p.m_dDistance, 2)
            << " m (north " << Num(p.m_adOffsetNeu[0], 2) << ", east " << Num(p.m_adOffsetNeu[1], 2) << ", up "
            << Num(p.m_adOffsetNeu[2], 2) << " m)</td></tr>\n";
    out << "</table>\n<p class=\"note\">Fixes from the code ranges (ionosphere-free where a satellite has two codes) and "
           "the log's broadcast ephemerides, with a simple troposphere; a few metres from the site is normal.</p>\n";
    CloseSection(out);
}

void WriteDrops(std::ostream& out, const SQcReport& r)
{
    OpenSection(out, "drops", "What the conversion left out and why",
                Count(r.m_DropTotals.Dropped()) + " of " + Count(r.m_DropTotals.m_uInLog) + " observations; " +
                    (r.m_bDropsAddUp ? "<span class=\"ok\">\u2713 they add up</span>"
                                     : "<span class=\"bad\">\u2717 they do not add up</span>"),
                false);
    out << "<table id=\"table-drops\"><thead><tr><th class=\"l\">Sat</th><th class=\"l\">Signal</th><th>In the log</th>"
           "<th>Written</th>";
    for (uint32_t reason = 1; reason < kQcDropReasonCount; ++reason)
        out << "<th title=\"" << Esc(DropReasonText(reason)) << "\">" << DropReasonName(reason) << "</th>";
    out << "<th>File count</th></tr></thead><tbody>\n";
    auto row = [&](const std::string& sat, const std::string& signal, const SQcDropRow& d) {
        out << "<tr><td class=\"l\">" << sat << "</td><td class=\"l\">" << Esc(signal) << "</td><td>"
            << Count(d.m_uInLog) << "</td><td>" << Count(d.Written()) << "</td>";
        for (uint32_t reason = 1; reason < kQcDropReasonCount; ++reason)
            out << "<td>" << (d.m_auCount[reason] > 0 ? Count(d.m_auCount[reason]) : "") << "</td>";
        out << "<td>" << (d.m_bHaveFileCount ? Count(d.m_uFileCount) : "") << "</td></tr>\n";
    };
    for (const SQcDropRow& d : r.m_aDrops)
        row(SatelliteName(d.m_uSystem, d.m_uNumber), SignalLabel(d.m_uSignal), d);
    row("<b>all</b>", "", r.m_DropTotals);
    out << "</tbody></table>\n<p>Per row, the observations in the log are the ones written plus the sum of the drops: "
        << (r.m_bDropsAddUp ? "<span class=\"ok\">\u2713 they add up</span>"
                            : "<span class=\"bad\">\u2717 they do not add up</span>");
    if (r.m_uDropRowsChecked > 0)
        out << " (" << Count(r.m_uDropRowsChecked) << " rows checked against the observation file's own count)";
    out << ".</p>\n<p class=\"note\">";
    for (uint32_t reason = 1; reason < kQcDropReasonCount; ++reason)
        out << "<b>" << DropReasonName(reason) << "</b>: " << Esc(DropReasonText(reason)) << ". ";
    out << "</p>\n";
    CloseSection(out);
}

void WriteInventory(std::ostream& out, const SQcReport& r)
{
    const double hours = r.m_Summary.m_dHours > 0.0 ? r.m_Summary.m_dHours : 0.0;
    uint64_t frames = 0;
    for (const SQcFrameCount& f : r.m_aFrames)
        frames += f.m_uCount;
    OpenSection(out, "inventory", "Log inventory",
                Count(frames) + " frames, " + Count(r.m_uDamagedBytes) + " bytes skipped as damage, " +
                    Count(r.m_uEpochs) + " epochs, " + Count(r.m_uBackwardSteps) + " steps back in time",
                false);
    out << "<h3>Frames</h3>\n<table id=\"table-frames\"><thead><tr><th class=\"l\">Frame</th><th>Count</th>"
           "<th>Per hour</th><th>Per epoch</th><th>Bytes</th><th>First at byte</th></tr></thead><tbody>\n";
    for (const SQcFrameCount& f : r.m_aFrames)
    {
        out << "<tr><td class=\"l\">" << Esc(FrameName(f)) << "</td><td>" << Count(f.m_uCount) << "</td><td>"
            << (hours > 0.0 ? Num(static_cast<double>(f.m_uCount) / hours, 1) : "-") << "</td><td>"
            << (r.m_uEpochs > 0 ? Num(static_cast<double>(f.m_uCount) / static_cast<double>(r.m_uEpochs), 2) : "-")
            << "</td><td>" << Count(f.m_uBytes) << "</td><td>" << Count(f.m_uFirstOffset) << "</td></tr>\n";
    }
    out << "</tbody></table>\n<p>Unknown frames: " << Count(r.m_uUnknownFrames)
        << ". Bytes in frames: " << Count(r.m_uFrameBytes) << " of " << Count(r.m_uLogBytes)
        << ". Bytes skipped as damage: " << Count(r.m_uDamagedBytes) << " in " << Count(r.m_uDamagedSpans)
        << " spans.</p>\n";
    if (!r.m_aFirstDamage.empty())
    {
        out << "<table id=\"table-damage\"><thead><tr><th>Damaged span at byte</th><th>Length (bytes)</th></tr></thead>"
               "<tbody>\n";
        for (const SQcSpan& span : r.m_aFirstDamage)
            out << "<tr><td>" << Count(span.m_uOffset) << "</td><td>" << Count(span.m_uLength) << "</td></tr>\n";
        out << "</tbody></table>\n";
    }
    out << "<h3>Time</h3>\n<p>" << Count(r.m_uEpochs) << " epochs from " << FormatQcTime(r.m_Summary.m_dFirst)
        << " to " << FormatQcTime(r.m_Summary.m_dLast) << " GPS. Steps back in time: " << Count(r.m_uBackwardSteps)
        << "; jumps ahead of more than " << Num(kQcGapIntervals, 1) << " intervals: " << Count(r.m_uForwardJumps)
        << ".</p>\n";
    if (!r.m_aFirstBackward.empty() || !r.m_aFirstForward.empty())
    {
        out << "<table id=\"table-steps\"><thead><tr><th class=\"l\">Epoch after the step</th><th>Step (s)</th></tr>"
               "</thead><tbody>\n";
        for (const auto* list : {&r.m_aFirstBackward, &r.m_aFirstForward})
            for (const SQcTimeStep& step : *list)
                out << "<tr><td class=\"l\">" << FormatQcTime(step.m_dSeconds) << "</td><td>" << Num(step.m_dStep, 3)
                    << "</td></tr>\n";
        out << "</tbody></table>\n";
    }
    CloseSection(out);
}

void WriteNavigation(std::ostream& out, const SQcReport& r)
{
    uint64_t without = 0;
    uint64_t stale = 0;
    for (const SQcNavCoverage& nav : r.m_aNavigation)
    {
        without += nav.m_uEpochsWithout;
        stale += nav.m_uEpochsStale;
    }
    OpenSection(out, "navigation", "Navigation data",
                Count(r.m_aNavigation.size()) + " satellites; " + Count(without) +
                    " satellite epochs before an ephemeris, " + Count(stale) + " with a stale one",
                false);
    out << "<table id=\"table-navigation\"><thead><tr><th class=\"l\">Sat</th><th class=\"l\">First ephemeris</th>"
           "<th>Arrivals</th><th>Issues</th><th>Longest between arrivals (min)</th><th>Largest age at an epoch (min)</th>"
           "<th>Epochs before an ephemeris</th><th>Epochs with a stale one</th></tr></thead><tbody>\n";
    for (const SQcNavCoverage& nav : r.m_aNavigation)
    {
        out << "<tr><td class=\"l\">" << SatelliteName(nav.m_uSystem, nav.m_uNumber) << "</td><td class=\"l\">"
            << (nav.m_uArrivals > 0 ? FormatQcTime(nav.m_dFirstArrival) : std::string("none")) << "</td><td>"
            << Count(nav.m_uArrivals) << "</td><td>" << Count(nav.m_uIssues) << "</td><td>"
            << Num(nav.m_dMaxArrivalGap / 60.0, 0) << "</td><td>" << Num(nav.m_dMaxAge / 60.0, 0) << "</td><td>"
            << Count(nav.m_uEpochsWithout) << "</td><td>" << Count(nav.m_uEpochsStale) << "</td></tr>\n";
    }
    out << "</tbody></table>\n<p class=\"note\">An ephemeris counts as stale beyond " << Num(kQcEphemerisMaxAge[0] / 60, 0)
        << " min from its reference time for GPS, " << Num(kQcEphemerisMaxAge[1] / 60, 0) << " min for GLONASS and "
        << Num(kQcEphemerisMaxAge[2] / 60, 0) << " min for BeiDou.</p>\n";
    CloseSection(out);
}
} // namespace

void WriteHtmlReport(std::ostream& out, const SQcReport& r)
{
    const std::string name = r.m_Options.m_szLogName.empty() ? std::string("log") : r.m_Options.m_szLogName;
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>Quality report: "
        << Esc(name) << "</title>\n<style>" << kStyle << "</style>\n</head>\n<body>\n<h1>Quality report: " << Esc(name)
        << "</h1>\n<p class=\"meta\">";
    const SQcOptions& o = r.m_Options;
    const std::string options =
        (o.m_bElevationMask ? "-E:" + Num(o.m_dElevationMask, 2) + " " : "") +
        (o.m_bHaveLocation
             ? "-L:" + Num(o.m_adLocation[0], 6) + "," + Num(o.m_adLocation[1], 6) + "," + Num(o.m_adLocation[2], 2) + " "
             : "") +
        (o.m_bIntervalGiven ? "-N:" + Num(o.m_dInterval, 2) + " " : "") + (o.m_bBeforeEphemeris ? "-B " : "");
    out << "Options: " << (options.empty() ? std::string("none ") : options)
        << "&mdash; <a href=\"#plots\">plots</a>, <a href=\"#signals\">per satellite</a>, <a href=\"#slips\">slips</a>, "
           "<a href=\"#clock\">clock</a>, <a href=\"#position\">position</a>, <a href=\"#drops\">left out</a>, "
           "<a href=\"#inventory\">inventory</a>, <a href=\"#navigation\">navigation data</a>.</p>\n";
    WriteSummary(out, r);
    WritePlots(out, r);
    WriteSignals(out, r);
    WriteSlips(out, r);
    WriteClock(out, r);
    WritePosition(out, r);
    WriteDrops(out, r);
    WriteInventory(out, r);
    WriteNavigation(out, r);
    out << "</body>\n</html>\n";
}
