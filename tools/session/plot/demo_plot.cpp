#include "tools/session/plot/demo_plot.hpp"

#include <algorithm>

namespace korvath::session_tool {

namespace {

constexpr const char* kColourA = "#2563eb";      // A's pawn
constexpr const char* kColourProxyA = "#ea580c"; // B's proxy of A
constexpr const char* kColourB = "#16a34a";      // B's pawn
constexpr const char* kColourProxyB = "#9333ea"; // A's proxy of B
constexpr const char* kColourEvent = "#475569";
constexpr const char* kColourFollowing = "#dcfce7";
constexpr const char* kColourStale = "#ffedd5";

auto map_points(const TimedTrack& track) -> std::vector<PlotPoint> {
    std::vector<PlotPoint> points;
    if (track.samples)
        for (const auto& sample : *track.samples)
            points.push_back({sample.x, sample.y});
    return points;
}

auto distance_points(const TimedTrack& leader, const TimedTrack& follower) -> std::vector<PlotPoint> {
    std::vector<PlotPoint> points;
    for (const auto& sample : follow_distances(leader, follower))
        points.push_back({sample.seconds, sample.distance});
    return points;
}

auto map_panel(const DemoPlotInput& input) -> PlotPanel {
    PlotPanel panel;
    panel.title = "Map: A's walk and B's proxy of A";
    panel.xLabel = "x (engine units)";
    panel.yLabel = "y (engine units)";
    panel.equalScale = true;
    panel.series.push_back({"A's pawn (true path)", kColourA, map_points(input.aPawn), 7.0, 0.3, false});
    panel.series.push_back({"B's proxy of A", kColourProxyA, map_points(input.bProxy), 2.0, 1.0, false});
    if (input.compare) {
        panel.title = "Map: both walks and the proxies of them";
        panel.series.push_back({"B's pawn (true path)", kColourB, map_points(input.bPawn), 7.0, 0.3, false});
        panel.series.push_back({"A's proxy of B", kColourProxyB, map_points(input.aProxy), 2.0, 1.0, false});
    }
    const auto& aPawn = input.aPawn.samples;
    if (aPawn && !aPawn->empty())
        panel.markers.push_back({"A starts", kColourA, {aPawn->front().x, aPawn->front().y}});
    const auto& bPawn = input.bPawn.samples;
    if (bPawn && !bPawn->empty())
        panel.markers.push_back({"B's pawn, moved aside", kColourB, {bPawn->back().x, bPawn->back().y}});
    const auto& bProxy = input.bProxy.samples;
    if (bProxy && !bProxy->empty()) {
        panel.markers.push_back({"B's proxy spawned", kColourProxyA, {bProxy->front().x, bProxy->front().y}});
        panel.markers.push_back(
            {"B's proxy destroyed (stale)", kColourProxyA, {bProxy->back().x, bProxy->back().y}});
    }
    // Where A had walked on to by then, while the proxy stood still; A's log may end a moment earlier.
    if (input.timeline.bDestroyed && aPawn && !aPawn->empty()) {
        const double lastA = aPawn->back().seconds + input.aPawn.offset;
        if (const auto a = position_at(input.aPawn, std::min(*input.timeline.bDestroyed, lastA)))
            panel.markers.push_back({"A when B's proxy went", kColourA, {a->x, a->y}});
    }
    return panel;
}

auto distance_panel(const DemoPlotInput& input) -> PlotPanel {
    PlotPanel panel;
    panel.title = "Distance between A's pawn and B's proxy of A";
    panel.xLabel = "time since the demo started (s)";
    panel.yLabel = "distance (engine units)";
    panel.yFromZero = true;
    panel.series.push_back(
        {input.compare ? "B's proxy of A to A's pawn (predicted)" : "B's proxy of A to A's pawn",
         kColourProxyA, distance_points(input.aPawn, input.bProxy), 2.0, 1.0, false});
    if (input.compare) {
        panel.title = "Distance between each pawn and the other side's proxy of it";
        panel.series.push_back({"A's proxy of B to B's pawn (as relayed)", kColourProxyB,
                                distance_points(input.bPawn, input.aProxy), 2.0, 1.0, false});
    }
    const DemoTimeline& t = input.timeline;
    if (t.bSpawned)
        panel.bands.push_back({"following", kColourFollowing, *t.bSpawned, t.relayStopped.value_or(t.end)});
    if (t.relayStopped)
        panel.bands.push_back(
            {"relay to B off", kColourStale, *t.relayStopped, t.bDestroyed.value_or(t.end)});
    const std::pair<const std::optional<double>*, const char*> events[] = {
        {&t.relocated, "B moves aside"},
        {&t.aSpawned, "A's proxy spawned"},
        {&t.stopPlaced, "kill switch in A"},
        {&t.bDestroyed, "destroyed as stale"},
    };
    for (const auto& [at, label] : events)
        if (*at)
            panel.events.push_back({label, kColourEvent, **at});
    panel.xCovers = {0.0, t.end};
    return panel;
}

} // namespace

auto demo_figure(const DemoPlotInput& input) -> PlotFigure {
    PlotFigure figure;
    figure.title = "KorvathOnlineCpp: two clients, one session";
    figure.subtitle = input.subtitle;
    figure.width = 1200;
    figure.height = 800;
    PlotPanel map = map_panel(input);
    map.left = 12;
    map.top = 76;
    map.width = 568;
    map.height = 712;
    PlotPanel distance = distance_panel(input);
    distance.left = 592;
    distance.top = 76;
    distance.width = 596;
    distance.height = 440;
    figure.panels = {std::move(map), std::move(distance)};
    figure.texts.push_back({612, 536, 1188 - 612, input.notes});
    return figure;
}

} // namespace korvath::session_tool
