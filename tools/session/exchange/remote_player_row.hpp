#pragma once
// One row of a client's remote_players.tsv, as the relay writes it.

#include "tools/session/exchange/player_pose.hpp"

#include <string>
#include <string_view>

namespace korvath::session_tool {

// playerId, displayName, x, y, z, yaw and mapName, tab-separated and ended by one LF (an empty map
// name, or one ending in CR, is followed by one more tab, so that it still reads back whole). The numbers
// are the shortest text that reads back as the same float (the exact hexadecimal form for a subnormal
// one), so the other side gets the pose unchanged.
auto format_remote_player_row(std::string_view playerId, std::string_view displayName, const PlayerPose& pose)
    -> std::string;

} // namespace korvath::session_tool
