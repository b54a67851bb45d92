#include "tools/session/demo/follow_distance.hpp"

#include <algorithm>
#include <cmath>

namespace korvath::session_tool {

auto position_at(const TimedTrack& track, double seconds) -> std::optional<TraceSample> {
    if (!track.samples || track.samples->empty())
        return std::nullopt;
    const auto& samples = *track.samples;
    const double local = seconds - track.offset;
    if (local < samples.front().seconds || local > samples.back().seconds)
        return std::nullopt;
    const auto after =
        std::lower_bound(samples.begin(), samples.end(), local,
                         [](const TraceSample& sample, double t) { return sample.seconds < t; });
    if (after == samples.begin() || after->seconds == local)
        return *after;
    const auto before = std::prev(after);
    const double span = after->seconds - before->seconds;
    const double f = span > 0.0 ? (local - before->seconds) / span : 0.0;
    return TraceSample{local, before->x + (after->x - before->x) * f, before->y + (after->y - before->y) * f,
                       before->z + (after->z - before->z) * f};
}

auto follow_distances(const TimedTrack& leader, const TimedTrack& follower) -> std::vector<DistanceSample> {
    std::vector<DistanceSample> distances;
    if (!follower.samples)
        return distances;
    for (const auto& sample : *follower.samples) {
        const double seconds = sample.seconds + follower.offset;
        const auto lead = position_at(leader, seconds);
        if (!lead)
            continue;
        distances.push_back(
            {seconds, std::sqrt(std::pow(sample.x - lead->x, 2) + std::pow(sample.y - lead->y, 2) +
                                std::pow(sample.z - lead->z, 2))});
    }
    return distances;
}

auto follow_stats(const std::vector<DistanceSample>& distances, double from, double to) -> FollowStats {
    FollowStats stats;
    double sum = 0.0;
    double squares = 0.0;
    for (const auto& sample : distances) {
        if (sample.seconds < from || sample.seconds > to)
            continue;
        ++stats.count;
        sum += sample.distance;
        squares += sample.distance * sample.distance;
        stats.max = std::max(stats.max, sample.distance);
    }
    if (stats.count > 0) {
        stats.mean = sum / static_cast<double>(stats.count);
        stats.rms = std::sqrt(squares / static_cast<double>(stats.count));
    }
    return stats;
}

} // namespace korvath::session_tool
