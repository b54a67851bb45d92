#pragma once
// The content of a client's local_state.tsv, read by the rules the mod applies to it.

#include "tools/session/exchange/player_pose.hpp"

#include <optional>
#include <string_view>

namespace korvath::session_tool {

// Only the first line counts (up to the first LF, one trailing CR dropped): at least five tab
// fields, x, y, z and yaw finite floats, then the map name. Nothing when the line is no valid row.
auto parse_local_state(std::string_view content) -> std::optional<PlayerPose>;

} // namespace korvath::session_tool
