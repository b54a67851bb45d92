#pragma once
// Where CLIENT_B puts its own pawn: 800 units to the side of its reported pose, 10 units up.

#include <array>

namespace korvath {

// The destination (x, y, z) in single precision, from the reported position and yaw (degrees). The offset
// (-sin, cos) is perpendicular to the facing direction (cos, sin).
auto client_b_destination(float x, float y, float z, float yawDegrees) -> std::array<float, 3>;

} // namespace korvath
