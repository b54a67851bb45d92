#pragma once
// How a follower handles a leader that stops dead: how far it runs on past the point where the leader
// came to rest, and how long after the stop it settles there.

#include "tools/session/demo/follow_distance.hpp"

#include <optional>

namespace korvath::session_tool {

struct StopFigures {
    double stoppedAt = 0.0; // common time line, seconds: when the leader came to rest
    double overshoot = 0.0; // units past the resting point, along the leader's last direction of travel
    std::optional<double> settleSeconds; // from the stop until the follower stays within the limit
};

// The leader's track must end with at least `minRest` seconds at rest after moving, and the follower
// must have samples after the stop; otherwise nothing. The stop lies between the last moving sample
// and the first at rest, where the leader's last speed would have brought it there. The settle time is
// that of the follower's first sample from which on it stays within `settleWithin` of the resting point
// (so it is known to the follower's sampling period); nothing when it never does.
auto stop_figures(const TimedTrack& leader, const TimedTrack& follower, double settleWithin,
                  double minRest = 1.0) -> std::optional<StopFigures>;

} // namespace korvath::session_tool
