#pragma once
// Line plots as SVG: a figure of panels, each with axes, grid, legend, shaded x intervals, event
// lines, labelled points and polylines of data. Coordinates of the page are pixels; data values are
// in whatever units the axis labels name.

#include <string>
#include <vector>

namespace korvath::session_tool {

struct PlotPoint {
    double x = 0.0;
    double y = 0.0;
};

struct PlotSeries {
    std::string label; // in the legend
    std::string color; // any CSS colour
    std::vector<PlotPoint> points;
    double width = 2.0; // stroke width, pixels
    double opacity = 1.0;
    bool dashed = false;
};

// A labelled point, drawn over the series.
struct PlotMarker {
    std::string label;
    std::string color;
    PlotPoint at;
};

// A shaded interval of x values with its caption at the top of the plot area.
struct PlotBand {
    std::string label;
    std::string color;
    double from = 0.0;
    double to = 0.0;
};

// A vertical line at one x value with its caption.
struct PlotEvent {
    std::string label;
    std::string color;
    double x = 0.0;
};

struct PlotPanel {
    std::string title;
    std::string xLabel; // with the unit, e.g. "time (s)"
    std::string yLabel;
    std::vector<PlotSeries> series;
    std::vector<PlotMarker> markers;
    std::vector<PlotBand> bands;
    std::vector<PlotEvent> events;
    std::vector<double> xCovers; // x values the axis covers even without data there
    bool equalScale = false;     // one data unit is as long on both axes (a map)
    bool yFromZero = false;      // the y axis starts at 0 (a distance)
    // The panel's box on the page, pixels; title, legend and axis labels are drawn inside it.
    double left = 0.0;
    double top = 0.0;
    double width = 600.0;
    double height = 400.0;
};

// Lines of plain text at a place on the page; the first line is drawn as a heading. A line longer
// than `width` pixels (0: no limit) wraps at blanks, its continuation indented.
struct PlotTextBlock {
    double left = 0.0;
    double top = 0.0;
    double width = 0.0;
    std::vector<std::string> lines;
};

struct PlotFigure {
    std::string title;
    std::string subtitle;
    double width = 1200.0;
    double height = 800.0;
    std::vector<PlotPanel> panels;
    std::vector<PlotTextBlock> texts;
};

auto render_svg_plot(const PlotFigure& figure) -> std::string;

} // namespace korvath::session_tool
