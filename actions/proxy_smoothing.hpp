#pragma once
// One smoothing step of the proxy toward the reported pose, in single precision.

#include "mod/session_state.hpp"

namespace korvath {

// Wraps degrees into [-180, 180] by whole turns. Always ends: beyond one and a half turns the value is
// first reduced with fmod, which is exact, so the result equals stepping by 360 wherever those steps are
// exact, sign of zero included; a non-finite input gives 0.
auto wrap_degrees(float degrees) -> float;

// The pose to apply next when the proxy stands at `applied` and the other player reports `target`: 35% of
// the way (yaw through the smaller angle), or `target` itself when it lies more than 3500 units away.
// Strings and `valid` come from `target`.
auto next_proxy_pose(const RemotePlayerState& applied, const RemotePlayerState& target) -> RemotePlayerState;

} // namespace korvath
