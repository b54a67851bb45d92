#pragma once
// A client's local_state.tsv as a timed sample: the pose the mod reads, and, when the writer adds
// them after the map, the time the pose was taken (milliseconds of the writer's monotonic clock) and
// its sequence number.

#include "tools/session/exchange/player_pose.hpp"

#include <cstdint>
#include <optional>
#include <string_view>

namespace korvath::session_tool {

struct SampleStamp {
    int64_t sampleMs = 0;  // the writer's monotonic clock
    uint64_t sequence = 0; // one up per row written
    auto operator==(const SampleStamp&) const -> bool = default;
};

struct LocalStateSample {
    PlayerPose pose;
    std::optional<SampleStamp> stamp; // nothing when fields 6 and 7 are missing or not whole numbers
};

// The pose by the rules of parse_local_state; nothing when the first line is no valid row.
auto parse_local_state_sample(std::string_view content) -> std::optional<LocalStateSample>;

} // namespace korvath::session_tool
