#pragma once
// The live view of each client's mod: heartbeat, status, inputs and event reports, redrawn when
// anything shown changes.

#include <chrono>
#include <filesystem>
#include <optional>
#include <ostream>
#include <vector>

namespace korvath::session_tool {

struct WatchOptions {
    std::vector<std::filesystem::path> gameDirs;
    std::optional<std::chrono::nanoseconds> duration; // nothing: until SIGINT/SIGTERM
    bool redrawInPlace = false; // clear the screen before each view (a terminal); else append blocks
    std::size_t width = 100;
};

// Polls about five times a second. Returns the exit code.
auto run_watch(const WatchOptions& options, std::ostream& out) -> int;

} // namespace korvath::session_tool
