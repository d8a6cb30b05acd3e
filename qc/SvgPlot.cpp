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
    Line(Left(), Bottom(), Right(), Bottom(), "#333", 1);
    for (size_t i = 0; i < ticks.size(); ++i)
    {
        const double x = X(ticks[i]);
        Line(x, Bottom(), x, Bottom() + 5, "#333", 1);
        Line(x, Top(), x, Bottom(), "#ddd", 0.5);
        if (i < labels.size())
            Text(x, Bottom() + 17, labels[i], "text-anchor=\"middle\"");
    }
    Text((Left() + Right()) / 2, m_iHeight - 6, title, "text-anchor=\"middle\" class=\"title\"");
    m_szText += "</g>\n";
}

void CQcSvg::DrawYAxis(const std::vector<double>& ticks, int decimals, const std::string& title)
{
    m_szText += "<g class=\"axis\">";
    Line(Left(), Top(), Left(), Bottom(), "#333", 1);
    for (double t : ticks)
    {
        const double y = Y(t);
        Line(Left() - 5, y, Left(), y, "#333", 1);
        Line(Left(), y, Right(), y, "#ddd", 0.5);
        Text(Left() - 8, y + 4, FormatNumber(t, decimals), "text-anchor=\"end\"");
    }
    const double cy = (Top() + Bottom()) / 2;
    m_szText += "<text x=\"14\" y=\"" + FormatNumber(cy, 1) + "\" transform=\"rotate(-90 14 " + FormatNumber(cy, 1) +
                ")\" text-anchor=\"middle\" class=\"title\">" + EscapeXml(title) + "</text>";
    m_szText += "</g>\n";
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

void CQcSvg::Legend(double x, double y, const std::vector<std::pair<std::string, std::string>>& entries,
                    const std::string& shape)
{
    m_szText += "<g class=\"legend\">";
    double at = x;
    for (const auto& [label, colour] : entries)
    {
        if (shape == "line")
            Line(at, y - 4, at + 18, y - 4, colour, 2.5);
        else if (shape == "dot")
            Circle(at + 6, y - 4, 4, colour);
        else
            Rect(at, y - 10, 14, 10, colour, "stroke=\"#666\" stroke-width=\"0.5\"");
        Text(at + 22, y, label);
        at += 32 + 7.0 * static_cast<double>(label.size());
    }
    m_szText += "</g>\n";
}

std::string CQcSvg::Finish()
{
    return m_szText + "</svg>\n";
}
