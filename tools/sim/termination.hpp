#pragma once
// The simulated game ends on SIGINT, SIGTERM (on Windows: Ctrl+C, Ctrl+Break, closing the console) or
// when its run time is up.

#include <optional>
#include <string>

namespace korvath::sim {

// Blocks SIGINT and SIGTERM in the calling thread and every thread it starts afterwards, so that only
// wait_for_termination receives them; ignores SIGPIPE (a closed standard output must not kill the game).
// On Windows: installs the console handler that wakes wait_for_termination.
auto block_termination_signals() -> void;

// Called before the simulator runs a copy of itself from the game folder: on Windows the copy then
// answers the stop event of the process that was started (on POSIX the copy replaces it, pid and all).
auto prepare_termination_for_copy() -> void;

// Waits for SIGINT or SIGTERM, or until `seconds` have passed (none: no time limit). Returns what ended
// the wait, e.g. "SIGTERM" or "end of --duration".
auto wait_for_termination(std::optional<double> seconds) -> std::string;

} // namespace korvath::sim
