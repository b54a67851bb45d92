#pragma once
// The two-client demo: two simulated games with the mod, the relay between them, and a whole session
// from CLIENT_B's move aside to the kill switch and the stale remote player, shown live, summed up
// and plotted.

#include "tools/session/demo/demo_plan.hpp"

#include <ostream>

namespace korvath::session_tool {

// Runs the demo; progress and summary go to `out`. Returns 0 when the session went as expected,
// 1 when not (the reason is printed), 130 when interrupted by SIGINT or SIGTERM. Throws
// std::runtime_error when the demo cannot be set up.
auto run_demo(const DemoOptions& options, std::ostream& out) -> int;

} // namespace korvath::session_tool
