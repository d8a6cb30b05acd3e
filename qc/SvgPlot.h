#pragma once

#include <string>
#include <utility>
#include <vector>

// Inline SVG for the report's plots: a frame with a plot area, linear axes
// with ticks, labels and titles with units, marks and a legend, written as
// text with no reference to anything outside the page (inline SVG in HTML
// needs no namespace attribute). Every plot puts its marks in one group of
// class "marks", its legend in one group of class "legend" and its two axis
// titles in text of class "axis-title", which the page's tests look for.

// Text made safe for HTML and SVG: & < > " ' escaped.
std::string EscapeXml(const std::string& text);
// A number with `decimals` decimals, "." as the point.
std::string FormatNumber(double value, int decimals);

// Tick positions from `low` to `high`, about `count` of them, on 1, 2, 5 steps.
std::vector<double> NiceTicks(double low, double high, int count);

// The shape a mark or a legend key is drawn with. Shapes tell series apart
// where colours don't: in print, and for readers who don't see the colours.
enum EQcShape
{
    eQcShapeLine,     // a short line, with the key's dashes
    eQcShapeBox,      // a filled box
    eQcShapeDot,      // a filled circle
    eQcShapeSquare,   // a filled square with a dark edge
    eQcShapeTriangle, // a filled triangle with a dark edge
    eQcShapeDiamond,  // a filled diamond with a dark edge
    eQcShapeTick,     // a short upright line
};

// One entry of a legend.
struct SQcKey
{
    SQcKey(std::string label, std::string colour, EQcShape shape, std::string dash = "", double opacity = 1.0)
        : m_szLabel(std::move(label)), m_szColour(std::move(colour)), m_eShape(shape), m_szDash(std::move(dash)),
          m_dOpacity(opacity)
    {
    }

    std::string m_szLabel;
    std::string m_szColour;
    EQcShape m_eShape = eQcShapeBox;
    std::string m_szDash;     // stroke-dasharray of a line, "" for solid
    double m_dOpacity = 1.0;  // of a box's fill
    EQcShape m_eMarker = eQcShapeLine; // a marker on a line's middle; eQcShapeLine for none
};

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
    double Width() const { return m_iWidth; }
    double Height() const { return m_iHeight; }
    double Left() const { return m_iLeft; }
    double Right() const { return m_iWidth - m_iRight; }
    double Top() const { return m_iTop; }
    double Bottom() const { return m_iHeight - m_iBottom; }

    // Axes with their ticks, and the axis titles (with units).
    void DrawXAxis(const std::vector<double>& ticks, const std::vector<std::string>& labels, const std::string& title);
    void DrawYAxis(const std::vector<double>& ticks, int decimals, const std::string& title);
    // An axis title at (x, y), upright when `rotated`, for plots whose axes aren't straight lines.
    void AxisTitle(double x, double y, const std::string& title, bool rotated);

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
    // A marker of `shape` centred on (x, y), `size` pixels across.
    void Marker(double x, double y, EQcShape shape, const std::string& colour, double size,
                const std::string& extra = "");
    // Many round dots of one colour as one path, which keeps a dense scatter small.
    void Dots(const std::vector<std::pair<double, double>>& points, const std::string& colour, double size,
              const std::string& extra = "");

    // A legend from (x, y), wrapping into rows before `right`; returns the
    // baseline of its last row.
    double Legend(double x, double y, const std::vector<SQcKey>& keys, double right);
    // The rows such a legend takes, for a plot to leave room for it.
    static int LegendRows(double x, const std::vector<SQcKey>& keys, double right);

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
