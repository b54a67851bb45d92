#pragma once
// The end of the demo: the summary on the console, the plot, the verdict and the exit code.

#include "tools/session/demo/demo_client.hpp"
#include "tools/session/demo/demo_plan.hpp"
#include "tools/session/demo/demo_progress.hpp"
#include "tools/session/demo/demo_timeline.hpp"

#include <filesystem>
#include <optional>
#include <string>

namespace korvath::session_tool {

struct DemoOutcome {
    const DemoClient& a;
    const DemoClient& b;
    DemoTimeline timeline;
    std::optional<std::string> failure; // why the demo stopped early
    bool interrupted = false;           // by SIGINT or SIGTERM
};

// Prints the summary, writes the plot into `dir`, removes the game folders unless they are to be
// kept, and returns the exit code: 0 as expected, 1 not, 130 interrupted.
auto report_demo(const DemoOutcome& outcome, const DemoPlan& plan, const DemoOptions& options,
                 const std::filesystem::path& dir, DemoProgress& progress) -> int;

} // namespace korvath::session_tool
