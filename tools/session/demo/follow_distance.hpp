#pragma once
// How closely a proxy follows the pawn it stands for: the distance between the two at the same
// moment, from the tracks of two worlds whose clocks started at different times.

#include "tools/session/demo/world_trace.hpp"

#include <cstddef>
#include <optional>
#include <vector>

namespace korvath::session_tool {

// A track with the start of its clock on a common time line: sample time + offset.
struct TimedTrack {
    const std::vector<TraceSample>* samples = nullptr; // by time, as the log has them
    double offset = 0.0;                               // seconds
};

struct DistanceSample {
    double seconds = 0.0;  // common time line
    double distance = 0.0; // engine units, in space
};

// The position on `track` at `seconds` (common time), interpolated linearly between the samples
// around it; nothing before the first or after the last sample.
auto position_at(const TimedTrack& track, double seconds) -> std::optional<TraceSample>;

// For every sample of `follower`, its distance to `leader` at that moment, where the leader's track
// covers it.
auto follow_distances(const TimedTrack& leader, const TimedTrack& follower) -> std::vector<DistanceSample>;

struct FollowStats {
    std::size_t count = 0;
    double mean = 0.0;
    double rms = 0.0;
    double max = 0.0;
};

// Over the samples from `from` to `to` (common time, both included).
auto follow_stats(const std::vector<DistanceSample>& distances, double from, double to) -> FollowStats;

} // namespace korvath::session_tool
