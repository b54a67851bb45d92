#pragma once
// The relay between two clients on one machine: each side's own pose becomes the other's remote
// player, at a fixed rate, for as long as the relay runs.

#include <chrono>
#include <filesystem>
#include <optional>
#include <ostream>

namespace korvath::session_tool {

struct RelayOptions {
    std::filesystem::path gameDirA; // CLIENT_A's game folder
    std::filesystem::path gameDirB; // CLIENT_B's game folder
    int hz = 20;
    std::optional<std::chrono::nanoseconds> duration; // nothing: until SIGINT/SIGTERM
};

// Runs the relay; logs each direction's state to `log` when it changes. Returns the exit code.
auto run_relay(const RelayOptions& options, std::ostream& log) -> int;

} // namespace korvath::session_tool
