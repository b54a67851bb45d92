#pragma once

namespace korvath {

// Rewrites cpp_phase5g_status.txt (27 lines) from the shared session state. Update thread.
auto write_status_report() -> void;

} // namespace korvath
