#pragma once

namespace korvath {

// Rewrites cpp_heartbeat.txt (nine lines) from the shared session state. Update thread.
auto write_heartbeat() -> void;

} // namespace korvath
