#pragma once
// The relay between two clients on one machine: each side's own pose becomes the other's remote
// player, at a fixed rate, for as long as the relay runs.

#include <chrono>
#include <filesystem>
#include <optional>
#include <ostream>

namespace korvath::session_tool {

// Looks at the local states a second: a new sample is seen within 19 ms. Rows are written only as
// the row schedule asks (row_schedule.hpp), 26 a second per direction while a player walks. The looks
// keep no fixed phase to a writer at 20, 30 or 60 samples a second, so that some sample is always read
// soon after its write: the sample clock takes the shortest delay seen for the writer's offset.
inline constexpr int kPredictingRelayHz = 53;
inline constexpr int kPlainRelayHz = 25; // without prediction, each new sample as it is

struct RelayOptions {
    std::filesystem::path gameDirA; // CLIENT_A's game folder
    std::filesystem::path gameDirB; // CLIENT_B's game folder
    int hz = 0;          // looks a second; 0: kPredictingRelayHz, or kPlainRelayHz without prediction
    bool predict = true; // write where the player will be when the proxy gets there
    std::optional<std::chrono::nanoseconds> duration; // nothing: until SIGINT/SIGTERM
};

// Runs the relay; logs each direction's state to `log` when it changes. Returns the exit code.
auto run_relay(const RelayOptions& options, std::ostream& log) -> int;

} // namespace korvath::session_tool
