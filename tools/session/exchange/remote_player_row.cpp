#include "tools/session/exchange/remote_player_row.hpp"

#include <array>
#include <charconv>

namespace korvath::session_tool {

namespace {

auto append_float(std::string& out, float value) -> void {
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    out.append(buffer.data(), result.ptr);
}

} // namespace

auto format_remote_player_row(std::string_view playerId, std::string_view displayName, const PlayerPose& pose)
    -> std::string {
    std::string row;
    row.append(playerId).append("\t").append(displayName);
    for (const float value : {pose.x, pose.y, pose.z, pose.yaw}) {
        row.push_back('\t');
        append_float(row, value);
    }
    row.append("\t").append(pose.mapName);
    // A trailing tab makes no field: an empty map name needs one more tab to stay the seventh field.
    if (pose.mapName.empty())
        row.push_back('\t');
    row.push_back('\n');
    return row;
}

} // namespace korvath::session_tool
