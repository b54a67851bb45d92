#pragma once
// The axes of one plot panel: from the values it shows and the pixels of its plot area, the maps of
// both axes onto the page and their tick values.

#include "tools/session/plot/plot_scale.hpp"
#include "tools/session/plot/svg_plot.hpp"

#include <vector>

namespace korvath::session_tool {

// The rectangle inside the axes, pixels on the page.
struct PlotArea {
    double left = 0.0;
    double top = 0.0;
    double right = 1.0;
    double bottom = 1.0;
    auto width() const -> double { return right - left; }
    auto height() const -> double { return bottom - top; }
};

struct PlotAxes {
    LinearScale x; // data value to page pixel; y runs upwards on the page
    LinearScale y;
    std::vector<double> xTicks;
    std::vector<double> yTicks;
    double xStep = 1.0;
    double yStep = 1.0;
};

// Covers every series point, marker, band, event and `xCovers` value of the panel. A chart's axes
// end on round ticks; a map (`equalScale`) gets a margin around its data and one scale for x and y,
// the axis with the smaller span being widened around its centre.
auto panel_axes(const PlotPanel& panel, const PlotArea& area) -> PlotAxes;

} // namespace korvath::session_tool
