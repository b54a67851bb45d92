#pragma once
// A player's pose as the exchange tables carry it.

#include <string>

namespace korvath::session_tool {

struct PlayerPose {
    float x = 0.0F; // engine units
    float y = 0.0F;
    float z = 0.0F;
    float yaw = 0.0F; // degrees
    std::string mapName;
};

} // namespace korvath::session_tool
