#include "tools/session/exchange/local_state_line.hpp"

#include "tools/session/exchange/text_fields.hpp"

namespace korvath::session_tool {

auto parse_local_state(std::string_view content) -> std::optional<PlayerPose> {
    std::string_view line = content.substr(0, content.find('\n'));
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    const auto fields = split_tab_fields(line);
    if (fields.size() < 5)
        return std::nullopt;
    PlayerPose pose;
    pose.mapName = fields[4];
    float* const numbers[] = {&pose.x, &pose.y, &pose.z, &pose.yaw};
    for (std::size_t index = 0; index < 4; ++index)
        if (!parse_float_field(fields[index], *numbers[index]))
            return std::nullopt;
    return pose;
}

} // namespace korvath::session_tool
