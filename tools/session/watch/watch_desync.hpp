#pragma once
// The watch's desync meter for two clients relayed to each other: each client's proxy, as its status
// report gives it once a second, against the other client's pawn, as the other's local_state.tsv gives
// it, both timed by their files' last writes.

#include "tools/session/watch/desync_meter.hpp"

#include <array>
#include <filesystem>
#include <optional>
#include <string>

namespace korvath::session_tool {

class WatchDesync {
public:
    // Reads the two local states and the two status reports when they were rewritten.
    auto update(const std::filesystem::path& gameDirA, const std::filesystem::path& gameDirB) -> void;
    // "proxy of the other player: ..." with the figures of the last 10 s up to `now`; nothing before
    // the first measurement.
    auto text(std::size_t side, std::filesystem::file_time_type now) const -> std::optional<std::string>;

private:
    struct Side {
        DesyncMeter meter;                                      // this side's proxy of the other player
        std::optional<std::filesystem::file_time_type> pawnAt;  // the other side's local state, last read
        std::optional<std::filesystem::file_time_type> proxyAt; // this side's status report, last read
    };
    std::array<Side, 2> m_sides;
};

} // namespace korvath::session_tool
