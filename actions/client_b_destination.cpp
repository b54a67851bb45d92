#include "actions/client_b_destination.hpp"

#include <cmath>

namespace korvath {

namespace {

constexpr float kDegreesToRadians = 0.017453292f;
constexpr float kSeparation = 800.0f; // engine units
constexpr float kLift = 10.0f;

} // namespace

auto client_b_destination(float x, float y, float z, float yawDegrees) -> std::array<float, 3> {
    // Every operation rounds to float: the build turns off multiply-add contraction for this code.
    const float radians = yawDegrees * kDegreesToRadians;
    return {x - std::sin(radians) * kSeparation, std::cos(radians) * kSeparation + y, z + kLift};
}

} // namespace korvath
