#include "tools/session/plot/plot_axes.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace korvath::session_tool {

namespace {

struct ValueRange {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    auto add(double value) -> void {
        if (!std::isfinite(value))
            return;
        low = std::min(low, value);
        high = std::max(high, value);
    }
    auto empty() const -> bool { return low > high; }
};

auto ticks_within(double low, double high, double step) -> std::vector<double> {
    std::vector<double> values;
    for (double value = std::ceil(low / step - 1e-9) * step; value <= high + step * 1e-9; value += step)
        values.push_back(value);
    return values;
}

auto data_extents(const PlotPanel& panel) -> std::pair<ValueRange, ValueRange> {
    ValueRange x, y;
    for (const auto& series : panel.series)
        for (const auto& point : series.points) {
            x.add(point.x);
            y.add(point.y);
        }
    for (const auto& marker : panel.markers) {
        x.add(marker.at.x);
        y.add(marker.at.y);
    }
    for (const auto& band : panel.bands) {
        x.add(band.from);
        x.add(band.to);
    }
    for (const auto& event : panel.events)
        x.add(event.x);
    for (const double value : panel.xCovers)
        x.add(value);
    if (x.empty())
        x = {0.0, 1.0};
    if (y.empty())
        y = {0.0, 1.0};
    if (panel.yFromZero)
        y.low = std::min(y.low, 0.0);
    return {x, y};
}

auto tick_count(double pixels, double spacing) -> int {
    return std::max(2, static_cast<int>(pixels / spacing));
}

// A map keeps one scale for both axes: the axis with less data per pixel is widened around its centre.
auto equal_axes(ValueRange x, ValueRange y, const PlotArea& area) -> PlotAxes {
    const double pad = std::max({x.high - x.low, y.high - y.low, 1.0}) * 0.06;
    x = {x.low - pad, x.high + pad};
    y = {y.low - pad, y.high + pad};
    const double unitsPerPixel = std::max((x.high - x.low) / area.width(), (y.high - y.low) / area.height());
    const auto widen = [](ValueRange& extent, double span) {
        const double centre = (extent.low + extent.high) / 2.0;
        extent = {centre - span / 2.0, centre + span / 2.0};
    };
    widen(x, unitsPerPixel * area.width());
    widen(y, unitsPerPixel * area.height());
    const double step = nice_ticks(x.low, x.high, tick_count(area.width(), 90.0)).step;
    return {{x.low, x.high, area.left, area.right},
            {y.low, y.high, area.bottom, area.top},
            ticks_within(x.low, x.high, step),
            ticks_within(y.low, y.high, step),
            step,
            step};
}

auto chart_axes(const ValueRange& x, const ValueRange& y, const PlotArea& area) -> PlotAxes {
    const TickSet xTicks = nice_ticks(x.low, x.high, tick_count(area.width(), 90.0));
    const TickSet yTicks = nice_ticks(y.low, y.high, tick_count(area.height(), 55.0));
    return {{xTicks.low, xTicks.high, area.left, area.right},
            {yTicks.low, yTicks.high, area.bottom, area.top},
            xTicks.values,
            yTicks.values,
            xTicks.step,
            yTicks.step};
}

} // namespace

auto panel_axes(const PlotPanel& panel, const PlotArea& area) -> PlotAxes {
    const auto [x, y] = data_extents(panel);
    return panel.equalScale ? equal_axes(x, y, area) : chart_axes(x, y, area);
}

} // namespace korvath::session_tool
