#include "tools/session/plot/svg_plot.hpp"

#include "tools/session/plot/plot_axes.hpp"
#include "tools/session/plot/svg_writer.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace korvath::session_tool {

namespace {

constexpr const char* kFont =
    "system-ui, -apple-system, 'Segoe UI', Roboto, 'DejaVu Sans', Arial, sans-serif";
constexpr const char* kInk = "#1e293b";
constexpr const char* kMutedInk = "#64748b";
constexpr const char* kGrid = "#e2e8f0";
constexpr const char* kFrame = "#94a3b8";

// Margins of the plot area inside a panel's box, pixels.
constexpr double kAreaLeft = 70.0;
constexpr double kAreaRight = 14.0;
constexpr double kAreaTop = 60.0;
constexpr double kAreaBottom = 48.0;
constexpr double kCaptionRowHeight = 14.0;
// Rough width of one character, as a fraction of the font size, for laying out captions and legends.
constexpr double kCharWidth = 0.52;

auto px(double value) -> std::string {
    return svg_number(value);
}

auto text_width(std::string_view text, double fontSize) -> double {
    return static_cast<double>(text.size()) * fontSize * kCharWidth;
}

auto points_text(const std::vector<PlotPoint>& points, const PlotAxes& axes) -> std::string {
    std::string text;
    for (const auto& point : points) {
        if (!std::isfinite(point.x) || !std::isfinite(point.y))
            continue;
        if (!text.empty())
            text += ' ';
        text += px(axes.x.map(point.x)) + "," + px(axes.y.map(point.y));
    }
    return text;
}

// Captions of bands and events go into up to three rows at the top of the area, each in the first row
// where it does not run into the caption before it, and kept inside the area.
class CaptionRows {
public:
    CaptionRows(double top, double right)
        : m_top(top)
        , m_right(right) {}
    // `x` is where the caption starts; one that would run out of the area moves left, by just enough or,
    // with `beforeX`, to end before `x` (the caption of a line goes to its other side).
    auto place(double x, std::string_view text, bool beforeX) -> PlotPoint {
        const double width = text_width(text, 11.0);
        if (x + width > m_right - 4.0)
            x = beforeX ? x - width - 8.0 : m_right - width - 4.0;
        std::size_t row = 0;
        while (row + 1 < m_ends.size() && m_ends[row] > x)
            ++row;
        m_ends[row] = x + width + 14.0;
        return {x, m_top + kCaptionRowHeight * static_cast<double>(row + 1)};
    }

private:
    double m_top;
    double m_right;
    std::array<double, 3> m_ends{-1e9, -1e9, -1e9};
};

auto draw_grid(SvgWriter& svg, const PlotAxes& axes, const PlotArea& area) -> void {
    svg.open("g", {{"stroke", kGrid}, {"stroke-width", "1"}});
    for (const double tick : axes.xTicks)
        svg.leaf("line", {{"x1", px(axes.x.map(tick))},
                          {"y1", px(area.top)},
                          {"x2", px(axes.x.map(tick))},
                          {"y2", px(area.bottom)}});
    for (const double tick : axes.yTicks)
        svg.leaf("line", {{"x1", px(area.left)},
                          {"y1", px(axes.y.map(tick))},
                          {"x2", px(area.right)},
                          {"y2", px(axes.y.map(tick))}});
    svg.close();
    svg.open("g", {{"fill", kMutedInk}, {"font-size", "12"}});
    for (const double tick : axes.xTicks)
        svg.leaf("text",
                 {{"x", px(axes.x.map(tick))}, {"y", px(area.bottom + 17)}, {"text-anchor", "middle"}},
                 tick_label(tick, axes.xStep));
    for (const double tick : axes.yTicks)
        svg.leaf("text", {{"x", px(area.left - 7)}, {"y", px(axes.y.map(tick) + 4)}, {"text-anchor", "end"}},
                 tick_label(tick, axes.yStep));
    svg.close();
}

auto draw_bands_and_events(SvgWriter& svg, const PlotPanel& panel, const PlotAxes& axes, const PlotArea& area,
                           const std::string& clip) -> void {
    svg.open("g", {{"clip-path", "url(#" + clip + ")"}});
    for (const auto& band : panel.bands) {
        const double from = axes.x.map(std::min(band.from, band.to));
        const double to = axes.x.map(std::max(band.from, band.to));
        svg.leaf("rect", {{"x", px(from)},
                          {"y", px(area.top)},
                          {"width", px(std::max(to - from, 1.0))},
                          {"height", px(area.height())},
                          {"fill", band.color},
                          {"fill-opacity", "0.55"}});
    }
    for (const auto& event : panel.events) {
        const double x = axes.x.map(event.x);
        svg.leaf("line", {{"x1", px(x)},
                          {"y1", px(area.top)},
                          {"x2", px(x)},
                          {"y2", px(area.bottom)},
                          {"stroke", event.color},
                          {"stroke-width", "1.5"},
                          {"stroke-dasharray", "5 4"}});
    }
    svg.close();
    CaptionRows rows(area.top, area.right);
    svg.open("g", {{"font-size", "11"}, {"fill", kInk}});
    for (const auto& band : panel.bands) {
        const PlotPoint at = rows.place(axes.x.map(std::min(band.from, band.to)) + 4, band.label, false);
        svg.leaf("text", {{"x", px(at.x)}, {"y", px(at.y)}}, band.label);
    }
    for (const auto& event : panel.events) {
        const PlotPoint at = rows.place(axes.x.map(event.x) + 4, event.label, true);
        svg.leaf("text", {{"x", px(at.x)}, {"y", px(at.y)}, {"fill", event.color}}, event.label);
    }
    svg.close();
}

auto draw_series(SvgWriter& svg, const PlotPanel& panel, const PlotAxes& axes, const std::string& clip)
    -> void {
    svg.open("g", {{"clip-path", "url(#" + clip + ")"},
                   {"fill", "none"},
                   {"stroke-linejoin", "round"},
                   {"stroke-linecap", "round"}});
    for (const auto& series : panel.series) {
        const std::string points = points_text(series.points, axes);
        if (points.empty())
            continue;
        svg.leaf("polyline", {{"points", points},
                              {"stroke", series.color},
                              {"stroke-width", px(series.width)},
                              {"stroke-opacity", px(series.opacity)},
                              {"stroke-dasharray", series.dashed ? "7 5" : "none"}});
    }
    svg.close();
}

// A marker's label stands right of its point, or left of it where it would leave the plot area.
auto draw_markers(SvgWriter& svg, const PlotPanel& panel, const PlotAxes& axes, const PlotArea& area)
    -> void {
    for (const auto& marker : panel.markers) {
        const double x = axes.x.map(marker.at.x), y = axes.y.map(marker.at.y);
        const bool leftOfPoint = x + 9 + text_width(marker.label, 12.0) > area.right;
        svg.leaf("circle", {{"cx", px(x)},
                            {"cy", px(y)},
                            {"r", "5.5"},
                            {"fill", marker.color},
                            {"stroke", "white"},
                            {"stroke-width", "1.5"}});
        svg.leaf("text",
                 {{"x", px(leftOfPoint ? x - 9 : x + 9)},
                  {"y", px(y + 4)},
                  {"text-anchor", leftOfPoint ? "end" : "start"},
                  {"font-size", "12"},
                  {"fill", kInk},
                  {"stroke", "white"},
                  {"stroke-width", "3"},
                  {"paint-order", "stroke"}},
                 marker.label);
    }
}

auto draw_legend(SvgWriter& svg, const PlotPanel& panel, const PlotArea& area) -> void {
    double x = area.left;
    double y = panel.top + 42;
    for (const auto& series : panel.series) {
        const double entryWidth = 30 + text_width(series.label, 12.0) + 18;
        if (x > area.left && x + entryWidth > area.right) {
            x = area.left;
            y += 16;
        }
        svg.leaf("line", {{"x1", px(x)},
                          {"y1", px(y - 4)},
                          {"x2", px(x + 24)},
                          {"y2", px(y - 4)},
                          {"stroke", series.color},
                          {"stroke-width", px(std::min(series.width, 6.0))},
                          {"stroke-opacity", px(series.opacity)},
                          {"stroke-linecap", "round"},
                          {"stroke-dasharray", series.dashed ? "7 5" : "none"}});
        svg.leaf("text", {{"x", px(x + 30)}, {"y", px(y)}, {"font-size", "12"}, {"fill", kInk}},
                 series.label);
        x += entryWidth;
    }
}

auto draw_panel(SvgWriter& svg, const PlotPanel& panel, std::size_t index) -> void {
    const PlotArea area{panel.left + kAreaLeft, panel.top + kAreaTop, panel.left + panel.width - kAreaRight,
                        panel.top + panel.height - kAreaBottom};
    const PlotAxes axes = panel_axes(panel, area);
    const std::string clip = "plot-area-" + std::to_string(index);

    svg.open("defs");
    svg.open("clipPath", {{"id", clip}});
    svg.leaf("rect", {{"x", px(area.left)},
                      {"y", px(area.top)},
                      {"width", px(area.width())},
                      {"height", px(area.height())}});
    svg.close();
    svg.close();
    svg.leaf("text",
             {{"x", px(panel.left + 8)},
              {"y", px(panel.top + 18)},
              {"font-size", "15"},
              {"font-weight", "600"},
              {"fill", kInk}},
             panel.title);
    draw_legend(svg, panel, area);
    draw_bands_and_events(svg, panel, axes, area, clip);
    draw_grid(svg, axes, area);
    draw_series(svg, panel, axes, clip);
    draw_markers(svg, panel, axes, area);
    svg.leaf("rect", {{"x", px(area.left)},
                      {"y", px(area.top)},
                      {"width", px(area.width())},
                      {"height", px(area.height())},
                      {"fill", "none"},
                      {"stroke", kFrame}});
    svg.leaf("text",
             {{"x", px((area.left + area.right) / 2)},
              {"y", px(area.bottom + 36)},
              {"font-size", "13"},
              {"fill", kInk},
              {"text-anchor", "middle"}},
             panel.xLabel);
    const double yMiddle = (area.top + area.bottom) / 2;
    svg.leaf("text",
             {{"x", px(panel.left + 16)},
              {"y", px(yMiddle)},
              {"font-size", "13"},
              {"fill", kInk},
              {"text-anchor", "middle"},
              {"transform", "rotate(-90 " + px(panel.left + 16) + " " + px(yMiddle) + ")"}},
             panel.yLabel);
}

// Splits `line` at blanks into pieces of at most `maxChars` characters; a longer word stays whole.
auto wrap_line(std::string_view line, std::size_t maxChars) -> std::vector<std::string> {
    std::vector<std::string> pieces;
    std::string current;
    while (!line.empty()) {
        const std::size_t blank = line.find(' ');
        const std::string_view word = line.substr(0, blank);
        line = blank == std::string_view::npos ? std::string_view{} : line.substr(blank + 1);
        if (!current.empty() && current.size() + 1 + word.size() > maxChars) {
            pieces.push_back(std::move(current));
            current.clear();
        }
        if (!current.empty())
            current += ' ';
        current += word;
    }
    if (!current.empty() || pieces.empty())
        pieces.push_back(std::move(current));
    return pieces;
}

auto draw_text_block(SvgWriter& svg, const PlotTextBlock& block) -> void {
    constexpr double kFontSize = 13.0;
    constexpr double kIndent = 14.0;
    double y = block.top + 16;
    if (!block.lines.empty())
        svg.leaf("text",
                 {{"x", px(block.left)},
                  {"y", px(y)},
                  {"font-size", "15"},
                  {"font-weight", "600"},
                  {"fill", kInk}},
                 block.lines.front());
    const auto maxChars = block.width > 0.0
                              ? static_cast<std::size_t>((block.width - kIndent) / (kFontSize * kCharWidth))
                              : SIZE_MAX;
    for (std::size_t index = 1; index < block.lines.size(); ++index) {
        bool first = true;
        for (const auto& piece : wrap_line(block.lines[index], maxChars)) {
            y += first ? 21 : 17;
            svg.leaf("text",
                     {{"x", px(block.left + (first ? 0.0 : kIndent))},
                      {"y", px(y)},
                      {"font-size", "13"},
                      {"fill", kInk}},
                     piece);
            first = false;
        }
    }
}

} // namespace

auto render_svg_plot(const PlotFigure& figure) -> std::string {
    SvgWriter svg(figure.width, figure.height);
    svg.leaf("rect", {{"width", "100%"}, {"height", "100%"}, {"fill", "white"}});
    svg.open("g", {{"font-family", kFont}});
    svg.leaf("text", {{"x", "24"}, {"y", "36"}, {"font-size", "22"}, {"font-weight", "700"}, {"fill", kInk}},
             figure.title);
    svg.leaf("text", {{"x", "24"}, {"y", "60"}, {"font-size", "14"}, {"fill", kMutedInk}}, figure.subtitle);
    for (std::size_t index = 0; index < figure.panels.size(); ++index)
        draw_panel(svg, figure.panels[index], index);
    for (const auto& block : figure.texts)
        draw_text_block(svg, block);
    return svg.finish();
}

} // namespace korvath::session_tool
