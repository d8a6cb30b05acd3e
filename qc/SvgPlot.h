#pragma once

#include <string>
#include <vector>

// Inline SVG for the report's plots: a frame with a plot area, linear axes
// with ticks, labels and units, marks and a legend, written as text with no
// reference to anything outside the page (inline SVG in HTML needs no
// namespace attribute). Every plot puts its marks in one
// group of class "marks", which the page's tests look for.

// Text made safe for HTML and SVG: & < > " ' escaped.
std::string EscapeXml(const std::string& text);
// A number with `decimals` decimals, "." as the point.
std::string FormatNumber(double value, int decimals);

// Tick positions from `low` to `high`, about `count` of them, on 1, 2, 5 steps.
std::vector<double> NiceTicks(double low, double high, int count);

class CQcSvg
{
public:
    // A figure of `width` by `height` pixels; the plot area leaves the given margins.
    CQcSvg(int width, int height, int left, int right, int top, int bottom, const std::string& label);

    // Scales of the plot area.
    void SetX(double low, double high) { m_dX0 = low; m_dX1 = high; }
    void SetY(double low, double high) { m_dY0 = low; m_dY1 = high; }
    double X(double value) const;
    double Y(double value) const;
    double Left() const { return m_iLeft; }
    double Right() const { return m_iWidth - m_iRight; }
    double Top() const { return m_iTop; }
    double Bottom() const { return m_iHeight - m_iBottom; }

    // Axes with their ticks, and the axis titles (with units).
    void DrawXAxis(const std::vector<double>& ticks, const std::vector<std::string>& labels, const std::string& title);
    void DrawYAxis(const std::vector<double>& ticks, int decimals, const std::string& title);

    // Marks go between BeginMarks and EndMarks.
    void BeginMarks();
    void EndMarks();
    void Raw(const std::string& text) { m_szText += text; }
    void Rect(double x, double y, double w, double h, const std::string& fill, const std::string& extra = "");
    void Circle(double x, double y, double r, const std::string& fill, const std::string& extra = "");
    void Line(double x1, double y1, double x2, double y2, const std::string& stroke, double width,
              const std::string& extra = "");
    void Polyline(const std::vector<std::pair<double, double>>& points, const std::string& stroke, double width,
                  const std::string& extra = "");
    void Text(double x, double y, const std::string& text, const std::string& extra = "");

    // A legend of coloured entries, in a row from (x, y); `shape` is "line", "box" or "dot".
    void Legend(double x, double y, const std::vector<std::pair<std::string, std::string>>& entries,
                const std::string& shape);

    std::string Finish();

private:
    int m_iWidth;
    int m_iHeight;
    int m_iLeft;
    int m_iRight;
    int m_iTop;
    int m_iBottom;
    double m_dX0 = 0.0;
    double m_dX1 = 1.0;
    double m_dY0 = 0.0;
    double m_dY1 = 1.0;
    std::string m_szText;
};
