#include "qc/SvgPlot.h"

#include <cmath>
#include <cstdio>

std::string EscapeXml(const std::string& text)
{
    std::string out;
    out.reserve(text.size());
    for (char c : text)
    {
        switch (c)
        {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&#39;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string FormatNumber(double value, int decimals)
{
    if (!std::isfinite(value))
        return "0";
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    if (std::string(text) == "-0" || std::string(text) == "-0.0" || std::string(text) == "-0.00")
        std::snprintf(text, sizeof text, "%.*f", decimals, 0.0);
    return text;
}

std::vector<double> NiceTicks(double low, double high, int count)
{
    std::vector<double> ticks;
    if (!(high > low) || count < 1)
    {
        ticks.push_back(low);
        return ticks;
    }
    const double raw = (high - low) / count;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    double step = power;
    for (double f : {1.0, 2.0, 5.0, 10.0})
    {
        step = f * power;
        if (step >= raw)
            break;
    }
    for (double t = std::ceil(low / step) * step; t <= high + step * 1e-9; t += step)
        ticks.push_back(std::fabs(t) < step * 1e-9 ? 0.0 : t);
    return ticks;
}

CQcSvg::CQcSvg(int width, int height, int left, int right, int top, int bottom, const std::string& label)
    : m_iWidth(width), m_iHeight(height), m_iLeft(left), m_iRight(right), m_iTop(top), m_iBottom(bottom)
{
    m_szText = "<svg viewBox=\"0 0 " + std::to_string(width) + " " +
               std::to_string(height) + "\" width=\"" + std::to_string(width) + "\" height=\"" +
               std::to_string(height) + "\" role=\"img\" aria-label=\"" + EscapeXml(label) + "\">\n";
}

double CQcSvg::X(double value) const
{
    const double span = m_dX1 - m_dX0;
    return Left() + (span != 0.0 ? (value - m_dX0) / span : 0.0) * (Right() - Left());
}

double CQcSvg::Y(double value) const
{
    const double span = m_dY1 - m_dY0;
    return Bottom() - (span != 0.0 ? (value - m_dY0) / span : 0.0) * (Bottom() - Top());
}

void CQcSvg::DrawXAxis(const std::vector<double>& ticks, const std::vector<std::string>& labels,
                       const std::string& title)
{
    m_szText += "<g class=\"axis\">";
    for (size_t i = 0; i < ticks.size(); ++i)
    {
        const double x = X(ticks[i]);
        Line(x, Top(), x, Bottom(), "#ddd", 0.6);
        Line(x, Bottom(), x, Bottom() + 5, "#333", 1);
        if (i < labels.size())
            Text(x, Bottom() + 18, labels[i], "text-anchor=\"middle\"");
    }
    Line(Left(), Bottom(), Right(), Bottom(), "#333", 1);
    AxisTitle((Left() + Right()) / 2, m_iHeight - 7, title, false);
    m_szText += "</g>\n";
}

void CQcSvg::DrawYAxis(const std::vector<double>& ticks, int decimals, const std::string& title)
{
    m_szText += "<g class=\"axis\">";
    for (double t : ticks)
    {
        const double y = Y(t);
        Line(Left(), y, Right(), y, "#ddd", 0.6);
        Line(Left() - 5, y, Left(), y, "#333", 1);
        Text(Left() - 8, y + 4, FormatNumber(t, decimals), "text-anchor=\"end\"");
    }
    Line(Left(), Top(), Left(), Bottom(), "#333", 1);
    AxisTitle(16, (Top() + Bottom()) / 2, title, true);
    m_szText += "</g>\n";
}

void CQcSvg::AxisTitle(double x, double y, const std::string& title, bool rotated)
{
    const std::string at = FormatNumber(x, 1) + " " + FormatNumber(y, 1);
    m_szText += "<text x=\"" + FormatNumber(x, 1) + "\" y=\"" + FormatNumber(y, 1) + "\"" +
                (rotated ? " transform=\"rotate(-90 " + at + ")\"" : std::string()) +
                " text-anchor=\"middle\" class=\"axis-title\">" + EscapeXml(title) + "</text>";
}

void CQcSvg::BeginMarks()
{
    m_szText += "<g class=\"marks\">\n";
}

void CQcSvg::EndMarks()
{
    m_szText += "</g>\n";
}

void CQcSvg::Rect(double x, double y, double w, double h, const std::string& fill, const std::string& extra)
{
    m_szText += "<rect x=\"" + FormatNumber(x, 1) + "\" y=\"" + FormatNumber(y, 1) + "\" width=\"" +
                FormatNumber(w, 1) + "\" height=\"" + FormatNumber(h, 1) + "\" fill=\"" + fill + "\"" +
                (extra.empty() ? "" : " " + extra) + "/>";
}

void CQcSvg::Circle(double x, double y, double r, const std::string& fill, const std::string& extra)
{
    m_szText += "<circle cx=\"" + FormatNumber(x, 1) + "\" cy=\"" + FormatNumber(y, 1) + "\" r=\"" +
                FormatNumber(r, 1) + "\" fill=\"" + fill + "\"" + (extra.empty() ? "" : " " + extra) + "/>";
}

void CQcSvg::Line(double x1, double y1, double x2, double y2, const std::string& stroke, double width,
                  const std::string& extra)
{
    m_szText += "<line x1=\"" + FormatNumber(x1, 1) + "\" y1=\"" + FormatNumber(y1, 1) + "\" x2=\"" +
                FormatNumber(x2, 1) + "\" y2=\"" + FormatNumber(y2, 1) + "\" stroke=\"" + stroke +
                "\" stroke-width=\"" + FormatNumber(width, 1) + "\"" + (extra.empty() ? "" : " " + extra) + "/>";
}

void CQcSvg::Polyline(const std::vector<std::pair<double, double>>& points, const std::string& stroke, double width,
                      const std::string& extra)
{
    if (points.empty())
        return;
    m_szText += "<polyline fill=\"none\" stroke=\"" + stroke + "\" stroke-width=\"" + FormatNumber(width, 1) +
                "\" points=\"";
    for (const auto& [x, y] : points)
        m_szText += FormatNumber(x, 1) + "," + FormatNumber(y, 1) + " ";
    m_szText += "\"" + (extra.empty() ? "" : " " + extra) + "/>";
}

void CQcSvg::Text(double x, double y, const std::string& text, const std::string& extra)
{
    m_szText += "<text x=\"" + FormatNumber(x, 1) + "\" y=\"" + FormatNumber(y, 1) + "\"" +
                (extra.empty() ? "" : " " + extra) + ">" + EscapeXml(text) + "</text>";
}

void CQcSvg::Marker(double x, double y, EQcShape shape, const std::string& colour, double size,
                    const std::string& extra)
{
    const double h = size / 2;
    const std::string edge = " stroke=\"#222\" stroke-width=\"0.6\"" + (extra.empty() ? "" : " " + extra);
    switch (shape)
    {
    case eQcShapeSquare:
        Rect(x - h, y - h, size, size, colour, edge.substr(1));
        break;
    case eQcShapeTriangle:
        m_szText += "<path d=\"M" + FormatNumber(x, 1) + " " + FormatNumber(y - h * 1.15, 1) + "l" +
                    FormatNumber(h * 1.15, 1) + " " + FormatNumber(size, 1) + "h" + FormatNumber(-h * 2.3, 1) +
                    "z\" fill=\"" + colour + "\"" + edge + "/>";
        break;
    case eQcShapeDiamond:
        m_szText += "<path d=\"M" + FormatNumber(x, 1) + " " + FormatNumber(y - h * 1.2, 1) + "l" +
                    FormatNumber(h, 1) + " " + FormatNumber(h * 1.2, 1) + "l" + FormatNumber(-h, 1) + " " +
                    FormatNumber(h * 1.2, 1) + "l" + FormatNumber(-h, 1) + " " + FormatNumber(-h * 1.2, 1) + "z\" fill=\"" +
                    colour + "\"" + edge + "/>";
        break;
    case eQcShapeTick:
        Line(x, y - h, x, y + h, colour, 2, extra);
        break;
    case eQcShapeLine:
        Line(x - h, y, x + h, y, colour, 2.5, extra);
        break;
    case eQcShapeBox:
        Rect(x - h, y - h * 0.7, size, size * 0.7, colour, extra);
        break;
    default:
        Circle(x, y, h, colour, extra);
    }
}

void CQcSvg::Dots(const std::vector<std::pair<double, double>>& points, const std::string& colour, double size,
                  const std::string& extra)
{
    if (points.empty())
        return;
    m_szText += "<path fill=\"none\" stroke=\"" + colour + "\" stroke-width=\"" + FormatNumber(size, 1) +
                "\" stroke-linecap=\"round\"" + (extra.empty() ? "" : " " + extra) + " d=\"";
    for (const auto& [x, y] : points)
        m_szText += "M" + FormatNumber(x, 1) + " " + FormatNumber(y, 1) + "h0";
    m_szText += "\"/>";
}

namespace
{
// Room for the key and its label: DejaVu Sans at the legend's 12 pixels
// takes up to about 7.6 pixels a character (capitals, digits).
double KeyWidth(const SQcKey& key)
{
    double chars = 0.0;
    for (unsigned char c : key.m_szLabel)
    {
        if ((c & 0xC0) == 0x80)
            continue; // a continuation byte of a UTF-8 character
        chars += (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ? 1.1 : c == ' ' ? 0.55 : 0.95;
    }
    return 38 + 7.0 * chars;
}
} // namespace

int CQcSvg::LegendRows(double x, const std::vector<SQcKey>& keys, double right)
{
    int rows = 1;
    double at = x;
    for (const SQcKey& key : keys)
    {
        if (at > x && at + KeyWidth(key) - 8 > right)
        {
            at = x;
            ++rows;
        }
        at += KeyWidth(key);
    }
    return rows;
}

double CQcSvg::Legend(double x, double y, const std::vector<SQcKey>& keys, double right)
{
    m_szText += "<g class=\"legend\">";
    double at = x;
    for (const SQcKey& key : keys)
    {
        if (at > x && at + KeyWidth(key) - 8 > right)
        {
            at = x;
            y += 17;
        }
        const double cy = y - 4;
        if (key.m_eShape == eQcShapeLine)
        {
            Line(at, cy, at + 20, cy, key.m_szColour, 2.5,
                 key.m_szDash.empty() ? "" : "stroke-dasharray=\"" + key.m_szDash + "\"");
            if (key.m_eMarker != eQcShapeLine)
                Marker(at + 10, cy, key.m_eMarker, key.m_szColour, 7);
        }
        else if (key.m_eShape == eQcShapeBox)
            Rect(at, cy - 5, 18, 10, key.m_szColour,
                 "stroke=\"#555\" stroke-width=\"0.5\"" +
                     (key.m_dOpacity < 1.0 ? " fill-opacity=\"" + FormatNumber(key.m_dOpacity, 2) + "\"" : ""));
        else
            Marker(at + 10, cy, key.m_eShape, key.m_szColour, key.m_eShape == eQcShapeTick ? 12 : 9);
        Text(at + 25, y, key.m_szLabel);
        at += KeyWidth(key);
    }
    m_szText += "</g>\n";
    return y;
}

std::string CQcSvg::Finish()
{
    return m_szText + "</svg>\n";
}
