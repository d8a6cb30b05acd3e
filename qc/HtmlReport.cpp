#include "qc/HtmlReport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "logio/FrameKinds.h"
#include "qc/QcSignals.h"
#include "qc/SvgPlot.h"

namespace
{
// Colours: one per system, one per signal, and the strength scale of the sky plot.
const char* const kSystemColour[kQcSystemCount] = {"#1f5fa8", "#c0392b", "#1e8449", "#7f7f7f"};
const char* const kSignalColour[kQcSignalCount] = {"#1f5fa8", "#5dade2", "#154360", "#c0392b",
                                                   "#f1948a", "#1e8449", "#82e0aa", "#b7950b"};
const char* const kSystemName[kQcSystemCount] = {"GPS", "GLONASS", "BeiDou", "SBAS"};
// Strength classes of the sky plot, dB-Hz: below 30, 30-35, ... 50 and above.
constexpr double kStrengthScaleLow = 30.0;
constexpr double kStrengthScaleStep = 5.0;
const char* const kStrengthColour[6] = {"#d73027", "#fc8d59", "#fee08b", "#d9ef8b", "#91cf60", "#1a9850"};
const char* const kLightColour[4] = {"", "#2e7d32", "#f9a825", "#c62828"};
const char* const kLightWord[4] = {"", "good", "fair", "poor"};
// At most this many points of one satellite's track are drawn.
constexpr size_t kTrackPointsDrawn = 180;

const char* kStyle = R"(
body{font-family:"DejaVu Sans",Arial,Helvetica,sans-serif;color:#222;margin:16px auto;max-width:1120px;padding:0 12px;line-height:1.35}
h1{font-size:1.5em;margin:.2em 0}h2{font-size:1.2em;border-bottom:2px solid #1f5fa8;padding-bottom:2px;margin-top:1.6em}
h3{font-size:1.02em;margin:1em 0 .3em}
pre.sum{background:#f4f6f8;border:1px solid #ccd;padding:6px 8px;overflow-x:auto;font-size:.85em}
table{border-collapse:collapse;font-size:.82em;margin:.4em 0}
th,td{border:1px solid #bbb;padding:2px 6px;text-align:right}th{background:#eef1f5}
td.l,th.l{text-align:left}
td.light{color:#fff;font-weight:bold}
figure.plot{margin:.8em 0;break-inside:avoid;page-break-inside:avoid}
figure.plot svg{max-width:100%;height:auto;background:#fff;border:1px solid #ddd}
figcaption{font-size:.85em;color:#444;margin-top:.2em}
svg text{font-size:11px;fill:#222}svg text.title{font-size:12px;font-weight:bold}
.note{font-size:.85em;color:#444}
.ok{color:#2e7d32;font-weight:bold}.bad{color:#c62828;font-weight:bold}
@media print{body{max-width:none;margin:0}h2{break-after:avoid}td.light,figure.plot svg{print-color-adjust:exact;-webkit-print-color-adjust:exact}}
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

std::string LightCell(EQcLight light, const std::string& text)
{
    if (light == eQcLightNone)
        return "<td>" + text + "</td>";
    return "<td class=\"light\" style=\"background:" + std::string(kLightColour[light]) + "\" title=\"" +
           kLightWord[light] + "\">" + text + "</td>";
}

std::string StrengthColour(double strength)
{
    int index = static_cast<int>(std::floor((strength - kStrengthScaleLow) / kStrengthScaleStep)) + 1;
    index = std::clamp(index, 0, 5);
    return kStrengthColour[index];
}

std::string Figure(const std::string& id, const std::string& svg, const std::string& caption)
{
    return "<figure class=\"plot\" id=\"" + id + "\">\n" + svg + "<figcaption>" + caption + "</figcaption></figure>\n";
}

double AxisEnd(const SQcReport& r)
{
    return r.m_dAxisStart + r.m_dAxisWidth * std::max<uint32_t>(r.m_uAxisBuckets, 1);
}

// Availability timeline: one row per satellite; bars where its first signal
// was tracked, light grey where it was above the mask but missing, ticks for
// loss-of-lock marks, red diamonds for slips, purple lines for clock jumps.
std::string TimelinePlot(const SQcReport& r)
{
    const int rowHeight = 11;
    const int rows = std::max<int>(1, static_cast<int>(r.m_aSatellites.size()));
    CQcSvg svg(1060, 90 + rows * rowHeight, 52, 12, 34, 44, "Availability timeline per satellite");
    const double start = r.m_dAxisStart;
    const double end = AxisEnd(r);
    svg.SetX(start, end);
    svg.SetY(0, rows);
    const std::vector<double> ticks = TimeTicks(start, end, 10);
    std::vector<std::string> labels;
    for (double t : ticks)
        labels.push_back(ClockLabel(t));
    svg.DrawXAxis(ticks, labels, "GPS time (hh:mm) from " + FormatQcTime(start));
    svg.BeginMarks();
    const double w = svg.X(start + r.m_dAxisWidth) - svg.X(start);
    for (size_t i = 0; i < r.m_aSatellites.size(); ++i)
    {
        const SQcSatellitePlot& sat = r.m_aSatellites[i];
        const double y = svg.Top() + static_cast<double>(i) * rowHeight;
        svg.Text(svg.Left() - 6, y + rowHeight - 2, SatelliteName(sat.m_uSystem, sat.m_uNumber),
                 "text-anchor=\"end\" style=\"font-size:9px\"");
        // Runs of equal cells are drawn as one bar.
        size_t k = 0;
        while (k < sat.m_aCells.size())
        {
            const SQcTimelineCell& c = sat.m_aCells[k];
            const uint32_t epochs = c.m_uBucket < r.m_auEpochsPerBucket.size() ? r.m_auEpochsPerBucket[c.m_uBucket] : 0;
            const int kind = c.m_uPresent == 0 ? (c.m_uExpected > 0 ? 2 : 0) : (c.m_uPresent >= epochs ? 1 : 3);
            size_t last = k;
            while (last + 1 < sat.m_aCells.size() && sat.m_aCells[last + 1].m_uBucket == sat.m_aCells[last].m_uBucket + 1)
            {
                const SQcTimelineCell& n = sat.m_aCells[last + 1];
                const uint32_t ne = n.m_uBucket < r.m_auEpochsPerBucket.size() ? r.m_auEpochsPerBucket[n.m_uBucket] : 0;
                const int nk = n.m_uPresent == 0 ? (n.m_uExpected > 0 ? 2 : 0) : (n.m_uPresent >= ne ? 1 : 3);
                if (nk != kind)
                    break;
                ++last;
            }
            const double x = svg.X(start + c.m_uBucket * r.m_dAxisWidth);
            const double width = w * static_cast<double>(sat.m_aCells[last].m_uBucket - c.m_uBucket + 1);
            if (kind == 1 || kind == 3)
                svg.Rect(x, y + 2, width, rowHeight - 3, kSystemColour[sat.m_uSystem],
                         kind == 3 ? "fill-opacity=\"0.45\"" : "");
            else if (kind == 2)
                svg.Rect(x, y + 2, width, rowHeight - 3, "#d5d8dc");
            k = last + 1;
        }
        for (const SQcTimelineCell& c : sat.m_aCells)
        {
            const double x = svg.X(start + (c.m_uBucket + 0.5) * r.m_dAxisWidth);
            if (c.m_uLossOfLock > 0)
                svg.Line(x, y, x, y + rowHeight, "#000", 1.5);
            if (c.m_uSlips > 0)
                svg.Raw("<path d=\"M" + Num(x, 1) + " " + Num(y, 1) + " l4 5 l-4 5 l-4 -5 z\" fill=\"#e74c3c\" stroke=\"#000\" stroke-width=\"0.5\"/>");
        }
    }
    for (const SQcClockJump& jump : r.m_aFirstClockJumps)
    {
        const double x = svg.X(jump.m_dSeconds);
        svg.Line(x, svg.Top(), x, svg.Bottom(), "#8e44ad", 1.5, "stroke-dasharray=\"4 2\"");
    }
    svg.EndMarks();
    svg.Legend(svg.Left(), 16,
               {{"GPS", kSystemColour[0]}, {"GLONASS", kSystemColour[1]}, {"BeiDou", kSystemColour[2]},
                {"part of the bucket", "#9fb7d6"}, {"above the mask, not tracked", "#d5d8dc"}},
               "box");
    svg.Legend(svg.Left() + 690, 16, {{"loss of lock", "#000"}, {"slip", "#e74c3c"}, {"clock jump", "#8e44ad"}},
               "line");
    return svg.Finish();
}

std::string SkyPlot(const SQcReport& r)
{
    CQcSvg svg(560, 560, 40, 40, 50, 40, "Sky plot, tracks coloured by signal strength");
    const double cx = 280;
    const double cy = 290;
    const double radius = 220;
    auto at = [&](double elevation, double azimuth, double& x, double& y) {
        const double rr = radius * (90.0 - std::clamp(elevation, 0.0, 90.0)) / 90.0;
        const double a = azimuth * 3.14159265358979323846 / 180.0;
        x = cx + rr * std::sin(a);
        y = cy - rr * std::cos(a);
    };
    svg.Raw("<g class=\"axis\">");
    for (int e : {0, 30, 60})
    {
        svg.Raw("<circle cx=\"" + Num(cx, 0) + "\" cy=\"" + Num(cy, 0) + "\" r=\"" + Num(radius * (90 - e) / 90.0, 1) +
                "\" fill=\"none\" stroke=\"#999\" stroke-width=\"0.8\"/>");
        svg.Text(cx + 3, cy - radius * (90 - e) / 90.0 + 12, std::to_string(e) + "\u00b0");
    }
    for (int az = 0; az < 360; az += 30)
    {
        double x = 0;
        double y = 0;
        at(0.0, az, x, y);
        svg.Line(cx, cy, x, y, "#ddd", 0.6);
    }
    svg.Text(cx, cy - radius - 8, "N (0\u00b0)", "text-anchor=\"middle\" class=\"title\"");
    svg.Text(cx + radius + 6, cy + 4, "E", "class=\"title\"");
    svg.Text(cx, cy + radius + 18, "S", "text-anchor=\"middle\" class=\"title\"");
    svg.Text(cx - radius - 16, cy + 4, "W", "class=\"title\"");
    svg.Text(8, 548, "Elevation rings in degrees; azimuth clockwise from north.");
    svg.Raw("</g>\n");
    svg.BeginMarks();
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
            svg.Circle(x, y, 2.6, p.m_adStrength[0] > 0.0 ? StrengthColour(p.m_adStrength[0]) : "#bbb");
        }
        const SQcTrackPoint& last = sat.m_aTrack.back();
        if (last.m_dElevation >= 0.0)
        {
            double x = 0;
            double y = 0;
            at(last.m_dElevation, last.m_dAzimuth, x, y);
            svg.Text(x + 4, y - 3, SatelliteName(sat.m_uSystem, sat.m_uNumber), "style=\"font-size:9px\"");
        }
    }
    svg.EndMarks();
    svg.Legend(10, 16, {{"<30", kStrengthColour[0]}, {"30-35", kStrengthColour[1]}, {"35-40", kStrengthColour[2]}},
               "dot");
    svg.Legend(10, 32, {{"40-45", kStrengthColour[3]}, {"45-50", kStrengthColour[4]}, {">=50 dB-Hz", kStrengthColour[5]}},
               "dot");
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

std::string ElevationPlot(const SQcReport& r, bool multipath)
{
    const std::string what = multipath ? "Code multipath RMS against elevation" : "Signal strength against elevation";
    CQcSvg svg(540, 380, 60, 14, 64, 44, what);
    double values[kQcSignalCount][kQcElevationBins];
    bool present[kQcSignalCount];
    SignalBins(r, multipath, values, present);
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
    svg.DrawYAxis(NiceTicks(low, high, 6), multipath ? 2 : 0, multipath ? "MP RMS (m)" : "Strength (dB-Hz)");
    svg.BeginMarks();
    if (!multipath)
    {
        // The tracks' strengths behind the means, one dot per drawn point.
        for (const SQcSatellitePlot& sat : r.m_aSatellites)
        {
            const size_t n = sat.m_aTrack.size();
            const size_t stride = (n + kTrackPointsDrawn - 1) / std::max<size_t>(kTrackPointsDrawn, 1);
            for (size_t i = 0; i < n; i += std::max<size_t>(stride, 1))
            {
                const SQcTrackPoint& p = sat.m_aTrack[i];
                for (uint32_t s = 0; s < kQcSignalCount; ++s)
                {
                    if (kQcSignals[s].m_uSystem != sat.m_uSystem || p.m_adStrength[kQcSignals[s].m_uSlot] <= 0.0)
                        continue;
                    svg.Circle(svg.X(std::clamp(p.m_dElevation, 0.0, 90.0)),
                               svg.Y(std::clamp(p.m_adStrength[kQcSignals[s].m_uSlot], low, high)), 1.4,
                               kSignalColour[s], "fill-opacity=\"0.25\"");
                }
            }
        }
    }
    std::vector<std::pair<std::string, std::string>> legend;
    for (uint32_t s = 0; s < kQcSignalCount; ++s)
    {
        if (!present[s])
            continue;
        std::vector<std::pair<double, double>> line;
        for (uint32_t b = 0; b < kQcElevationBins; ++b)
        {
            if (values[s][b] <= 0.0)
                continue;
            const double x = svg.X(b * 10.0 + 5.0);
            const double y = svg.Y(values[s][b]);
            line.emplace_back(x, y);
            svg.Circle(x, y, 3, kSignalColour[s]);
        }
        svg.Polyline(line, kSignalColour[s], 2);
        legend.emplace_back(multipath ? std::string("MP ") + kQcSignals[s].m_szCode : kQcSignals[s].m_szLabel,
                            kSignalColour[s]);
    }
    svg.EndMarks();
    std::vector<std::pair<std::string, std::string>> first(legend.begin(), legend.begin() + std::min<size_t>(4, legend.size()));
    std::vector<std::pair<std::string, std::string>> second(legend.begin() + std::min<size_t>(4, legend.size()), legend.end());
    svg.Legend(10, 18, first, "line");
    svg.Legend(10, 36, second, "line");
    return svg.Finish();
}

std::string CountPlot(const SQcReport& r)
{
    CQcSvg svg(1060, 300, 52, 12, 34, 44, "Number of satellites against time");
    const double start = r.m_dAxisStart;
    const double end = AxisEnd(r);
    double high = 4;
    for (const SQcCountPoint& p : r.m_aSatelliteCounts)
        high = std::max(high, static_cast<double>(p.m_uMax) + 1.0);
    svg.SetX(start, end);
    svg.SetY(0, high);
    const std::vector<double> ticks = TimeTicks(start, end, 10);
    std::vector<std::string> labels;
    for (double t : ticks)
        labels.push_back(ClockLabel(t));
    svg.DrawXAxis(ticks, labels, "GPS time (hh:mm) from " + FormatQcTime(start));
    svg.DrawYAxis(NiceTicks(0, high, 6), 0, "Satellites");
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
    svg.Polyline(total, "#222", 2);
    std::vector<std::pair<std::string, std::string>> legend = {{"all", "#222"}};
    for (uint32_t s = 0; s < kQcSystemCount; ++s)
    {
        bool any = false;
        for (const auto& point : bySystem[s])
            any = any || point.second < svg.Bottom();
        if (!any)
            continue;
        svg.Polyline(bySystem[s], kSystemColour[s], 1.6);
        legend.emplace_back(kSystemName[s], kSystemColour[s]);
    }
    svg.EndMarks();
    legend.emplace_back("least to most in a bucket", "#aaa");
    svg.Legend(svg.Left(), 16, legend, "line");
    return svg.Finish();
}

std::string IntervalPlot(const SQcReport& r)
{
    CQcSvg svg(540, 300, 60, 14, 34, 44, "Histogram of epoch intervals");
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
    svg.DrawYAxis(NiceTicks(0, high, 5), 0, "Epoch steps");
    svg.BeginMarks();
    const double w = (svg.X(1) - svg.X(0)) * 0.7;
    auto bar = [&](double index, double value) {
        const double x = svg.X(index + 0.5) - w / 2;
        svg.Rect(x, svg.Y(value), w, svg.Bottom() - svg.Y(value), "#1f5fa8");
        svg.Text(x + w / 2, svg.Y(value) - 3, Num(value, 0), "text-anchor=\"middle\"");
    };
    for (size_t i = 0; i < r.m_aIntervals.size(); ++i)
        bar(static_cast<double>(i), static_cast<double>(r.m_aIntervals[i].second));
    if (r.m_uOtherIntervals > 0)
        bar(static_cast<double>(r.m_aIntervals.size()), static_cast<double>(r.m_uOtherIntervals));
    svg.EndMarks();
    svg.Legend(svg.Left(), 16, {{"epoch steps of that length", "#1f5fa8"}}, "box");
    return svg.Finish();
}

void WriteSummary(std::ostream& out, const SQcReport& r)
{
    const SQcSummary& s = r.m_Summary;
    out << "<h2 id=\"summary\">Summary</h2>\n<pre class=\"sum\">" << Esc(FormatSummaryHeader()) << "\n"
        << Esc(FormatSummaryLine(r)) << "</pre>\n";
    out << "<table><tr><th class=\"l\">First epoch</th><td>" << FormatQcTime(s.m_dFirst) << " GPS</td>"
        << "<th class=\"l\">Last epoch</th><td>" << FormatQcTime(s.m_dLast) << " GPS</td></tr>\n"
        << "<tr><th class=\"l\">Span</th><td>" << Num(s.m_dHours, 2) << " h</td><th class=\"l\">Sampling interval</th><td>"
        << Num(s.m_dInterval, 2) << " s</td></tr>\n"
        << "<tr><th class=\"l\">Satellite epochs expected above " << Num(s.m_dMask, 1) << "\u00b0</th><td>"
        << Count(s.m_uExpected) << "</td><th class=\"l\">of those tracked</th><td>" << Count(s.m_uPresent) << " ("
        << (s.m_bHaveCompleteness ? Num(s.m_dCompleteness, 1) + " %" : std::string("no ephemerides, no position"))
        << ")</td></tr>\n"
        << "<tr><th class=\"l\">MP1 (GPS L1 C/A)</th><td>" << (s.m_bHaveMp1 ? Num(s.m_dMp1, 2) + " m" : "-")
        << "</td><th class=\"l\">MP2 (GPS L2)</th><td>" << (s.m_bHaveMp2 ? Num(s.m_dMp2, 2) + " m" : "-") << "</td></tr>\n"
        << "<tr><th class=\"l\">Satellite epochs</th><td>" << Count(s.m_uObservations)
        << "</td><th class=\"l\">with a slip or loss of lock</th><td>" << Count(s.m_uSlips) << "</td></tr>\n"
        << "<tr><th class=\"l\">Receiver clock jumps</th><td>" << Count(r.m_uClockJumps)
        << "</td><th class=\"l\">Bytes skipped as damage</th><td>" << Count(r.m_uDamagedBytes) << "</td></tr></table>\n";
}

void WriteInventory(std::ostream& out, const SQcReport& r)
{
    const double hours = r.m_Summary.m_dHours > 0.0 ? r.m_Summary.m_dHours : 0.0;
    out << "<h2 id=\"inventory\">Log inventory</h2>\n<h3>Frames</h3>\n<table><tr><th class=\"l\">Frame</th><th>Count</th>"
        << "<th>Per hour</th><th>Per epoch</th><th>Bytes</th><th>First at byte</th></tr>\n";
    for (const SQcFrameCount& f : r.m_aFrames)
    {
        out << "<tr><td class=\"l\">" << Esc(FrameName(f)) << "</td><td>" << Count(f.m_uCount) << "</td><td>"
            << (hours > 0.0 ? Num(static_cast<double>(f.m_uCount) / hours, 1) : "-") << "</td><td>"
            << (r.m_uEpochs > 0 ? Num(static_cast<double>(f.m_uCount) / static_cast<double>(r.m_uEpochs), 2) : "-")
            << "</td><td>" << Count(f.m_uBytes) << "</td><td>" << Count(f.m_uFirstOffset) << "</td></tr>\n";
    }
    out << "</table>\n<p>Unknown frames: " << Count(r.m_uUnknownFrames) << ". Bytes in frames: " << Count(r.m_uFrameBytes)
        << " of " << Count(r.m_uLogBytes) << ". Bytes skipped as damage: " << Count(r.m_uDamagedBytes) << " in "
        << Count(r.m_uDamagedSpans) << " spans.</p>\n";
    if (!r.m_aFirstDamage.empty())
    {
        out << "<table><tr><th>Damaged span at byte</th><th>Length (bytes)</th></tr>\n";
        for (const SQcSpan& span : r.m_aFirstDamage)
            out << "<tr><td>" << Count(span.m_uOffset) << "</td><td>" << Count(span.m_uLength) << "</td></tr>\n";
        out << "</table>\n";
    }
    out << "<h3>Time</h3>\n<p>" << Count(r.m_uEpochs) << " epochs from " << FormatQcTime(r.m_Summary.m_dFirst) << " to "
        << FormatQcTime(r.m_Summary.m_dLast) << " GPS. Steps back in time: " << Count(r.m_uBackwardSteps)
        << "; jumps ahead of more than " << Num(kQcGapIntervals, 1) << " intervals: " << Count(r.m_uForwardJumps)
        << ".</p>\n";
    if (!r.m_aFirstBackward.empty() || !r.m_aFirstForward.empty())
    {
        out << "<table><tr><th class=\"l\">Epoch after the step</th><th>Step (s)</th></tr>\n";
        for (const auto* list : {&r.m_aFirstBackward, &r.m_aFirstForward})
            for (const SQcTimeStep& step : *list)
                out << "<tr><td class=\"l\">" << FormatQcTime(step.m_dSeconds) << "</td><td>" << Num(step.m_dStep, 3)
                    << "</td></tr>\n";
        out << "</table>\n";
    }
    out << Figure("plot-intervals", IntervalPlot(r),
                  "Epoch-interval histogram: how often each step between consecutive epochs occurs. One bar at the "
                  "sampling interval is a clean log; other bars are gaps or irregular epochs.");
    out << "<h3>Navigation data</h3>\n<table><tr><th class=\"l\">Sat</th><th>First ephemeris</th><th>Arrivals</th>"
        << "<th>Issues</th><th>Longest between arrivals (min)</th><th>Largest age at an epoch (min)</th>"
        << "<th>Epochs before an ephemeris</th><th>Epochs with a stale one</th></tr>\n";
    for (const SQcNavCoverage& nav : r.m_aNavigation)
    {
        out << "<tr><td class=\"l\">" << SatelliteName(nav.m_uSystem, nav.m_uNumber) << "</td><td>"
            << (nav.m_uArrivals > 0 ? FormatQcTime(nav.m_dFirstArrival) : std::string("none")) << "</td><td>"
            << Count(nav.m_uArrivals) << "</td><td>" << Count(nav.m_uIssues) << "</td><td>"
            << Num(nav.m_dMaxArrivalGap / 60.0, 0) << "</td><td>" << Num(nav.m_dMaxAge / 60.0, 0) << "</td><td>"
            << Count(nav.m_uEpochsWithout) << "</td><td>" << Count(nav.m_uEpochsStale) << "</td></tr>\n";
    }
    out << "</table>\n<p class=\"note\">An ephemeris counts as stale beyond " << Num(kQcEphemerisMaxAge[0] / 60, 0)
        << " min from its reference time for GPS, " << Num(kQcEphemerisMaxAge[1] / 60, 0) << " min for GLONASS and "
        << Num(kQcEphemerisMaxAge[2] / 60, 0) << " min for BeiDou.</p>\n";
}

void WriteDrops(std::ostream& out, const SQcReport& r)
{
    out << "<h2 id=\"drops\">What the conversion left out and why</h2>\n<table><tr><th class=\"l\">Sat</th><th class=\"l\">Signal</th>"
        << "<th>In the log</th><th>Written</th>";
    for (uint32_t reason = 1; reason < kQcDropReasonCount; ++reason)
        out << "<th title=\"" << Esc(DropReasonText(reason)) << "\">" << DropReasonName(reason) << "</th>";
    out << "<th>File count</th></tr>\n";
    auto row = [&](const std::string& sat, const std::string& signal, const SQcDropRow& d) {
        out << "<tr><td class=\"l\">" << sat << "</td><td class=\"l\">" << Esc(signal) << "</td><td>" << Count(d.m_uInLog)
            << "</td><td>" << Count(d.Written()) << "</td>";
        for (uint32_t reason = 1; reason < kQcDropReasonCount; ++reason)
            out << "<td>" << (d.m_auCount[reason] > 0 ? Count(d.m_auCount[reason]) : "") << "</td>";
        out << "<td>" << (d.m_bHaveFileCount ? Count(d.m_uFileCount) : "") << "</td></tr>\n";
    };
    for (const SQcDropRow& d : r.m_aDrops)
        row(SatelliteName(d.m_uSystem, d.m_uNumber), SignalLabel(d.m_uSignal), d);
    row("<b>all</b>", "", r.m_DropTotals);
    out << "</table>\n<p>Per row, the observations in the log are the ones written plus the sum of the drops: "
        << (r.m_bDropsAddUp ? "<span class=\"ok\">they add up</span>" : "<span class=\"bad\">they do not add up</span>");
    if (r.m_uDropRowsChecked > 0)
        out << " (" << Count(r.m_uDropRowsChecked) << " rows checked against the observation file's own count)";
    out << ".</p>\n<p class=\"note\">";
    for (uint32_t reason = 1; reason < kQcDropReasonCount; ++reason)
        out << "<b>" << DropReasonName(reason) << "</b>: " << Esc(DropReasonText(reason)) << ". ";
    out << "</p>\n";
}

void WriteSignals(std::ostream& out, const SQcReport& r)
{
    out << "<h2 id=\"signals\">Satellites and signals</h2>\n";
    out << Figure("plot-timeline", TimelinePlot(r),
                  "Availability: a bar where the satellite's first signal (GPS L1 C/A, GLONASS L1, BeiDou B1I) was "
                  "tracked (pale where only part of the bucket had it), grey where it stood above the mask but wasn't "
                  "tracked; black ticks are the receiver's loss-of-lock marks, red diamonds slips found in the data, "
                  "dashed purple lines receiver clock jumps. One column is " +
                      Num(r.m_dAxisWidth, 0) + " s.");
    out << Figure("plot-sky", SkyPlot(r),
                  "Sky plot: where each satellite stood, seen from the site (north up, east right), coloured by the "
                  "strength of its first signal. Weak signals in one direction point to an obstruction there.");
    out << Figure("plot-strength", ElevationPlot(r, false),
                  "Signal strength against elevation: faint dots are single moments, lines the mean per 10\u00b0. "
                  "Strength should rise with elevation; a dip at some elevations points to obstruction or interference.");
    out << Figure("plot-multipath", ElevationPlot(r, true),
                  "Code multipath RMS per 10\u00b0 of elevation: the code's multipath and noise, from the code less "
                  "two carrier phases, mean removed per arc. Higher at low elevation is normal.");
    out << Figure("plot-count", CountPlot(r),
                  "Satellites tracked against time: the mean per time bucket, by system and in all, and the least to "
                  "most within the bucket.");
    out << "<h3>Per satellite and signal</h3>\n<p class=\"note\">Lights: completeness green from "
        << Num(kQcCompletenessGreen, 0) << " %, amber from " << Num(kQcCompletenessAmber, 0)
        << " %; multipath RMS green up to " << Num(kQcMultipathGreen, 1) << " m, amber up to "
        << Num(kQcMultipathAmber, 1) << " m; slips and loss-of-lock marks per 1000 observations green up to "
        << Num(kQcSlipRateGreen, 0) << ", amber up to " << Num(kQcSlipRateAmber, 0) << "; mean strength green from "
        << Num(kQcStrengthGreen, 0) << " dB-Hz, amber from " << Num(kQcStrengthAmber, 0)
        << " dB-Hz; red beyond. Completeness counts epochs above " << Num(r.m_Summary.m_dMask, 1)
        << "\u00b0 from the log's own ephemerides.</p>\n";
    out << "<table><tr><th class=\"l\">Sat</th><th class=\"l\">Signal</th><th>Epochs</th><th>Arcs</th><th>Gaps</th>"
        << "<th>Loss of lock</th><th>Slips</th><th>Per 1000</th><th>Strength (dB-Hz)</th><th>MP RMS (m)</th>"
        << "<th>Expected</th><th>Present</th><th>Complete (%)</th></tr>\n";
    for (const SQcSignalRow& row : r.m_aRows)
    {
        out << "<tr><td class=\"l\">" << SatelliteName(row.m_uSystem, row.m_uNumber) << "</td><td class=\"l\">"
            << Esc(SignalLabel(row.m_uSignal)) << "</td><td>" << Count(row.m_Counts.m_uEpochs) << "</td><td>"
            << Count(row.m_Counts.m_uArcs) << "</td><td>" << Count(row.m_Counts.m_uGaps) << "</td><td>"
            << Count(row.m_Counts.m_uLossOfLock) << "</td><td>" << Count(row.m_Counts.m_uSlips) << "</td>"
            << LightCell(row.SlipLight(), Num(row.SlipRate(), 1))
            << LightCell(row.StrengthLight(), row.m_Counts.m_uStrengthCount > 0 ? Num(row.m_dMeanStrength, 1) : "-")
            << LightCell(row.MultipathLight(), row.m_bHaveMultipath ? Num(row.m_dMultipathRms, 2) : "-") << "<td>"
            << Count(row.m_Counts.m_uExpected) << "</td><td>" << Count(row.m_Counts.m_uPresent) << "</td>"
            << LightCell(row.CompletenessLight(), row.m_bHaveCompleteness ? Num(row.m_dCompleteness, 1) : "-")
            << "</tr>\n";
    }
    out << "</table>\n";
    out << "<h3>Slips found in the data</h3>\n<p>" << Count(r.m_uSlipEvents)
        << " satellite epochs with a slip; the first are listed. Tests: GF geometry-free jump, MW Melbourne-W\u00fcbbena "
           "jump (two carriers), CMC code-minus-phase jump (one carrier).</p>\n";
    if (!r.m_aFirstSlips.empty())
    {
        out << "<table><tr><th class=\"l\">Epoch</th><th class=\"l\">Sat</th><th class=\"l\">Signals</th><th class=\"l\">Tests</th></tr>\n";
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
        out << "</table>\n";
    }
}

void WritePosition(std::ostream& out, const SQcReport& r)
{
    const SQcPosition& p = r.m_Position;
    static const char* const kSource[] = {"none given", "given with -L", "from the log's position sentence"};
    out << "<h2 id=\"position\">Position</h2>\n<table><tr><th class=\"l\">Site position</th><td class=\"l\">"
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
}

void WriteClock(std::ostream& out, const SQcReport& r)
{
    out << "<h2 id=\"clock\">Receiver clock</h2>\n<p>" << Count(r.m_uClockJumps)
        << " millisecond jumps of the receiver clock: epochs where every satellite's code stepped by a whole number "
           "of milliseconds times the speed of light against its Doppler. No slip is reported at such an epoch.</p>\n";
    if (!r.m_aFirstClockJumps.empty())
    {
        out << "<table><tr><th class=\"l\">Epoch</th><th>Jump (ms)</th><th>Satellites agreeing</th><th>Median step (m)</th></tr>\n";
        for (const SQcClockJump& j : r.m_aFirstClockJumps)
            out << "<tr><td class=\"l\">" << FormatQcTime(j.m_dSeconds) << "</td><td>" << j.m_iMilliseconds << "</td><td>"
                << j.m_uSatellites << " of " << j.m_uCompared << "</td><td>" << Num(j.m_dMedianMetres, 1) << "</td></tr>\n";
        out << "</table>\n";
    }
}
} // namespace

void WriteHtmlReport(std::ostream& out, const SQcReport& r)
{
    const std::string name = r.m_Options.m_szLogName.empty() ? std::string("log") : r.m_Options.m_szLogName;
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>Quality report: "
        << Esc(name) << "</title>\n<style>" << kStyle << "</style>\n</head>\n<body>\n<h1>Quality report: " << Esc(name)
        << "</h1>\n<p class=\"note\">Options: ";
    const SQcOptions& o = r.m_Options;
    out << (o.m_bElevationMask ? "-E:" + Num(o.m_dElevationMask, 2) + " " : "")
        << (o.m_bHaveLocation ? "-L:" + Num(o.m_adLocation[0], 6) + "," + Num(o.m_adLocation[1], 6) + "," +
                                    Num(o.m_adLocation[2], 2) + " "
                              : "")
        << (o.m_bIntervalGiven ? "-N:" + Num(o.m_dInterval, 2) + " " : "") << (o.m_bBeforeEphemeris ? "-B " : "")
        << "&mdash; sections: <a href=\"#summary\">summary</a>, <a href=\"#inventory\">inventory</a>, "
           "<a href=\"#drops\">left out</a>, <a href=\"#signals\">signals</a>, <a href=\"#position\">position</a>, "
           "<a href=\"#clock\">clock</a>.</p>\n";
    WriteSummary(out, r);
    WriteInventory(out, r);
    WriteDrops(out, r);
    WriteSignals(out, r);
    WritePosition(out, r);
    WriteClock(out, r);
    out << "</body>\n</html>\n";
}
