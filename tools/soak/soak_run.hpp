#pragma once
// The soak run: two simulated games with the mod and the relay between them for a set time, disturbed
// by a seeded stream of events, and checked all along; figures at the end.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <ostream>

namespace korvath::soak {

struct SoakOptions {
    double seconds = 120;                     // how long the session runs
    uint64_t seed = 1;                        // of the event stream
    double warmupSeconds = 60;                // memory is compared with its size at this point
    std::optional<std::filesystem::path> dir; // nothing: a fresh temporary directory
    bool keep = false;                        // keep the game folders and logs
};

// Runs the soak; progress and figures go to `out`. Returns 0 when every check held, 1 when not.
// Throws std::runtime_error when the run cannot be set up.
auto run_soak(const SoakOptions& options, std::ostream& out) -> int;

} // namespace korvath::soak
