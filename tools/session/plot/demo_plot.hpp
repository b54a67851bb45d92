#pragma once
// The demo's figure: A's path and B's proxy of A on the map, and the distance between them over time;
// in a comparison run also B's path and A's proxy of B.

#include "tools/session/demo/demo_timeline.hpp"
#include "tools/session/demo/follow_distance.hpp"
#include "tools/session/plot/svg_plot.hpp"

#include <string>
#include <vector>

namespace korvath::session_tool {

struct DemoPlotInput {
    TimedTrack aPawn; // tracks on the demo's time line (seconds since the demo started)
    TimedTrack bPawn;
    TimedTrack bProxy; // B's proxy of A
    TimedTrack aProxy; // A's proxy of B, drawn when compare is set
    bool compare = false;
    DemoTimeline timeline;
    std::string subtitle;
    std::vector<std::string> notes; // the summary, first line a heading
};

auto demo_figure(const DemoPlotInput& input) -> PlotFigure;

} // namespace korvath::session_tool
