#pragma once
// What the live status line of host and join shows, and the line itself.

#include "tools/session/link/relay_link.hpp"
#include "tools/session/net/drop_counts.hpp"
#include "tools/session/watch/desync_meter.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace korvath::session_tool {

enum class PeerState { Waiting, Connected, Quit, Lost };

struct NetStatus {
    PeerState state = PeerState::Waiting;
    std::string waitingFor;          // what a side without a peer does, in words
    std::optional<std::string> peer; // address
    std::optional<std::chrono::nanoseconds> roundTrip;
    std::optional<double> loss; // 0..1
    std::optional<std::chrono::nanoseconds> poseAge;
    // This game's proxy against the peer's pose at the same moment, over the last 10 s; known once the
    // mod has reported a proxy.
    std::optional<DesyncFigures> desync;
    DropCounts drops;
    uint64_t connections = 0;
    uint64_t posesTaken = 0;  // new poses from the peer
    uint64_t rowsWritten = 0; // into remote_players.tsv
    uint64_t rowsFailed = 0;
    RelayOutcome local = RelayOutcome::Missing; // this side's local_state.tsv
    std::chrono::nanoseconds longestPoseGap{};  // between two poses of one connection
    std::string note;                           // e.g. the host's port mapping; shown last when set
};

// What the caller adds to a session while it runs: lines to print once, and the status line's note.
struct SessionNotes {
    std::vector<std::string> events;
    std::string status;
};

// One line without a line break, e.g. "peer 127.0.0.1:47810 | rtt 101 ms | loss 4.8% | pose 23 ms ago |
// desync 6.2 avg, 18.7 max | sending | dropped: address 0, mac 0, malformed 0, replay 0, late 3".
auto format_net_status(const NetStatus& status) -> std::string;

} // namespace korvath::session_tool
