#include "tools/session/exchange/remote_player_row.hpp"

#include <array>
#include <charconv>
#include <cmath>

namespace korvath::session_tool {

namespace {

// The shortest decimal text that reads back as the same float. A subnormal number is written in the exact
// hexadecimal form instead: its shortest decimal text is inexact, and strtof reports a range error for
// an inexact subnormal result, so the mod would reject the row.
auto append_float(std::string& out, float value) -> void {
    std::array<char, 32> buffer{};
    if (std::fpclassify(value) == FP_SUBNORMAL) {
        out.append(std::signbit(value) ? "-0x" : "0x");
        const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::fabs(value),
                                          std::chars_format::hex);
        out.append(buffer.data(), result.ptr);
        return;
    }
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
    // A trailing tab makes no field: an empty map name needs one more tab to stay the seventh field, and
    // one ending in CR needs it so that the reader, which drops a CR before the line end, keeps that CR.
    if (pose.mapName.empty() || pose.mapName.back() == '\r')
        row.push_back('\t');
    row.push_back('\n');
    return row;
}

} // namespace korvath::session_tool
