#include "actions/proxy_smoothing.hpp"

#include <cmath>

namespace korvath {

namespace {

constexpr float kSmoothingFactor = 0.35f;
constexpr float kSnapDistanceSquared = 12250000.0f; // 3500 units

} // namespace

auto wrap_degrees(float degrees) -> float {
    if (!std::isfinite(degrees))
        return 0.0f;
    if (degrees > 540.0f || degrees < -540.0f) {
        // fmod is exact and keeps the sign, so a whole number of turns would come out as -0; stepping by
        // 360 ends on +0 there, and so does this.
        degrees = std::fmod(degrees, 360.0f);
        if (degrees == 0.0f)
            return 0.0f;
    }
    while (degrees > 180.0f)
        degrees -= 360.0f;
    while (degrees < -180.0f)
        degrees += 360.0f;
    return degrees;
}

auto next_proxy_pose(const RemotePlayerState& applied, const RemotePlayerState& target) -> RemotePlayerState {
    // Every operation rounds to float: the build turns off multiply-add contraction for this code.
    const float dx = target.x - applied.x;
    const float dy = target.y - applied.y;
    const float dz = target.z - applied.z;
    const float dxx = dx * dx;
    const float dyy = dy * dy;
    const float dzz = dz * dz;
    const float planar = dyy + dxx;
    const float distanceSquared = planar + dzz;

    RemotePlayerState next = target;
    if (!(kSnapDistanceSquared >= distanceSquared))
        return next; // farther than the snap distance (or overflowed): jump, yaw unwrapped

    const float stepX = dx * kSmoothingFactor;
    const float stepY = dy * kSmoothingFactor;
    const float stepZ = dz * kSmoothingFactor;
    next.x = stepX + applied.x;
    next.y = stepY + applied.y;
    next.z = stepZ + applied.z;

    const float yawGap = wrap_degrees(target.yaw - applied.yaw);
    const float yawStep = yawGap * kSmoothingFactor;
    next.yaw = wrap_degrees(yawStep + applied.yaw);
    return next;
}

} // namespace korvath
