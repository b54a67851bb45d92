#include "tools/session/demo/stop_figures.hpp"

#include <algorithm>
#include <cmath>

namespace korvath::session_tool {

namespace {

constexpr double kAtRest = 1e-3;  // units: a leader sample this close to the resting point is at rest
constexpr double kApproach = 1.0; // seconds before the stop from which an overshoot is looked for

auto distance(const TraceSample& a, const TraceSample& b) -> double {
    return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

} // namespace

auto stop_figures(const TimedTrack& leader, const TimedTrack& follower, double settleWithin, double minRest)
    -> std::optional<StopFigures> {
    if (!leader.samples || !follower.samples || leader.samples->size() < 3)
        return std::nullopt;
    const auto& path = *leader.samples;
    const TraceSample& rest = path.back();
    std::size_t firstAtRest = path.size() - 1;
    while (firstAtRest > 0 && distance(path[firstAtRest - 1], rest) <= kAtRest)
        --firstAtRest;
    if (firstAtRest < 2 || rest.seconds - path[firstAtRest].seconds < minRest)
        return std::nullopt;

    const TraceSample& moving = path[firstAtRest - 1];
    const TraceSample& before = path[firstAtRest - 2];
    const double span = moving.seconds - before.seconds;
    const double speed = span > 0 ? distance(moving, before) / span : 0.0;
    const double left = distance(rest, moving);
    StopFigures figures;
    figures.stoppedAt =
        leader.offset + (speed > 0 ? std::min(moving.seconds + left / speed, path[firstAtRest].seconds)
                                   : path[firstAtRest].seconds);
    // The last direction of travel, as a unit vector.
    const TraceSample& from = left > kAtRest ? moving : before;
    const double length = distance(rest, from);
    const double dx = (rest.x - from.x) / length, dy = (rest.y - from.y) / length,
                 dz = (rest.z - from.z) / length;

    bool seenAfter = false;
    bool settled = false;
    double settledAt = 0.0;
    for (const auto& sample : *follower.samples) {
        const double seconds = sample.seconds + follower.offset;
        if (seconds >= figures.stoppedAt - kApproach)
            figures.overshoot =
                std::max(figures.overshoot,
                         (sample.x - rest.x) * dx + (sample.y - rest.y) * dy + (sample.z - rest.z) * dz);
        if (seconds < figures.stoppedAt)
            continue;
        seenAfter = true;
        if (distance(sample, rest) > settleWithin) {
            settled = false;
        } else if (!settled) {
            settled = true;
            settledAt = seconds;
        }
    }
    if (!seenAfter)
        return std::nullopt;
    if (settled)
        figures.settleSeconds = settledAt - figures.stoppedAt;
    return figures;
}

} // namespace korvath::session_tool
