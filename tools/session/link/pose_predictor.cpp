#include "tools/session/link/pose_predictor.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace korvath::session_tool {

namespace {

using std::chrono::nanoseconds;

constexpr nanoseconds kRestartGap = std::chrono::seconds(1);
constexpr double kSlowest = 1.0;                      // units/s; below this there is no heading
constexpr double kFastest = 5000.0;                   // units/s; above this the pose jumped
constexpr double kFastestTurn = 2 * std::numbers::pi; // rad/s, a whole turn a second
constexpr double kFastestYawRate = 360.0;             // degrees/s
constexpr int kIntegrationSteps = 8;
constexpr double kStill = 0.01; // units between two samples of a player who stands
constexpr nanoseconds kStillFor = std::chrono::milliseconds(20);
// A chord this much slower than the one before shows slowing; less is the jitter of sample times (a
// millisecond on a 40 ms chord is 2.5%).
constexpr double kSlowingShare = 0.15;

struct Point {
    double x, y, z, yaw;
};

auto point(const PlayerPose& pose) -> Point {
    return {pose.x, pose.y, pose.z, pose.yaw};
}

auto distance(const PlayerPose& a, const PlayerPose& b) -> double {
    return std::hypot(double(a.x) - double(b.x), double(a.y) - double(b.y), double(a.z) - double(b.z));
}

auto seconds(nanoseconds value) -> double {
    return std::chrono::duration<double>(value).count();
}

// Into [-half, half) of a whole turn.
auto wrap(double angle, double turn) -> double {
    const double wrapped = std::remainder(angle, turn);
    return wrapped >= turn / 2 ? wrapped - turn : wrapped;
}

} // namespace

auto mod_spawn_lag() -> nanoseconds {
    return kModPollInterval / 2 + kModStepInterval / 2;
}

auto mod_follow_lag() -> nanoseconds {
    const double smoothingSteps = (1.0 - kModSmoothingShare) / kModSmoothingShare;
    return mod_spawn_lag() + std::chrono::duration_cast<nanoseconds>(kModStepInterval * smoothingSteps);
}

auto mod_curve_allowance() -> double {
    const double step = seconds(kModStepInterval);
    const double trail = step / kModSmoothingShare;
    return trail * (trail - step) / 2;
}

auto PosePredictor::add(const PlayerPose& pose, nanoseconds takenAt) -> void {
    if (m_count > 0) {
        const Sample& latest = sample(0);
        if (takenAt <= latest.at)
            return;
        if (pose.mapName != latest.pose.mapName || takenAt - latest.at > kRestartGap)
            m_count = 0;
    }
    m_samples[m_next] = {pose, takenAt};
    m_next = (m_next + 1) % m_samples.size();
    m_count = std::min(m_count + 1, m_samples.size());
}

auto PosePredictor::chord_start(std::size_t end) const -> std::optional<std::size_t> {
    if (end + 1 >= m_count)
        return std::nullopt;
    std::size_t start = end + 1;
    while (start + 1 < m_count && sample(end).at - sample(start).at < kShortestChord)
        ++start;
    return start;
}

auto PosePredictor::extrapolate(nanoseconds now, nanoseconds lag, double curveAllowance) const
    -> std::optional<PlayerPose> {
    if (m_count == 0)
        return std::nullopt;
    // The samples up to the latest where the player stood still: for kStillFor or longer the player
    // stopped; for less they may be one frame read twice, and the first of them stands for all.
    std::size_t still = 0;
    while (still + 1 < m_count && distance(sample(still).pose, sample(still + 1).pose) < kStill)
        ++still;
    const bool stopped = still > 0 && sample(0).at - sample(still).at >= kStillFor;
    const std::size_t latest = stopped ? 0 : still;
    const Sample& s2 = sample(latest);
    const auto start = chord_start(latest);
    if (!start)
        return s2.pose;
    const Sample& s1 = sample(*start);
    const double dt21 = seconds(s2.at - s1.at);
    const auto staleAfter = std::max(
        m_settings.minStale, std::chrono::duration_cast<nanoseconds>(
                                 (s2.at - s1.at) * m_settings.staleIntervals / double(*start - latest)));
    if (now - s2.at > staleAfter)
        return s2.pose;

    // The chord from s1 to s2 gives speed and heading in the middle of that interval.
    const Point p2 = point(s2.pose), p1 = point(s1.pose);
    const double vx = (p2.x - p1.x) / dt21;
    const double vy = (p2.y - p1.y) / dt21;
    const double vz = (p2.z - p1.z) / dt21;
    double speed = std::hypot(vx, vy);
    if (speed > kFastest)
        return s2.pose; // a jump, not a walk
    const double heading = std::atan2(vy, vx);
    // A stopped player stops whatever the chord says, turning (if at all) as in the last interval.
    const Sample& previous = sample(1);
    const Point p1Last = point(previous.pose);
    const double yawRate =
        stopped ? std::clamp(wrap(p2.yaw - p1Last.yaw, 360.0) / seconds(s2.at - previous.at),
                             -kFastestYawRate, kFastestYawRate)
                : std::clamp(wrap(p2.yaw - p1.yaw, 360.0) / dt21, -kFastestYawRate, kFastestYawRate);
    if (stopped)
        speed = 0.0;
    double turnRate = 0.0;  // rad/s
    double speedRate = 0.0; // units/s², never above 0: a slowing player is expected to stop
    if (const auto before = chord_start(*start); before && !stopped) {
        const double dt10 = seconds(s1.at - sample(*before).at);
        const Point p0 = point(sample(*before).pose);
        const double earlierSpeed = std::hypot(p1.x - p0.x, p1.y - p0.y) / dt10;
        const double between = (dt21 + dt10) / 2; // from the middle of one chord to the middle of the next
        if (speed > kSlowest && earlierSpeed > kSlowest) {
            const double earlierHeading = std::atan2(p1.y - p0.y, p1.x - p0.x);
            turnRate = std::clamp(wrap(heading - earlierHeading, 2 * std::numbers::pi) / between,
                                  -kFastestTurn, kFastestTurn);
        }
        if (speed < earlierSpeed * (1 - kSlowingShare))
            speedRate = (speed - earlierSpeed) / between;
    }

    const double lead = std::clamp(seconds(now + lag - s2.at), 0.0, seconds(m_settings.maxLead));
    // Speed and heading run on from the chord's middle; the path from s2 is summed in short steps.
    const double fromMiddle = dt21 / 2;
    double x = p2.x, y = p2.y, travelled = 0.0, v = speed, h = heading;
    const double step = lead / kIntegrationSteps;
    for (int index = 0; index < kIntegrationSteps; ++index) {
        const double t = fromMiddle + (index + 0.5) * step;
        v = std::max(0.0, speed + speedRate * t);
        h = heading + turnRate * t;
        x += v * std::cos(h) * step;
        y += v * std::sin(h) * step;
        travelled += v * step;
    }
    // Outward of the curve: to the right of the heading when turning left (turnRate > 0).
    const double outward = turnRate * v * curveAllowance;
    x += outward * std::sin(h);
    y -= outward * std::cos(h);
    // Height follows the horizontal motion: it stops when the player stops.
    const double climb = speed > kSlowest ? vz * travelled / speed : 0.0;
    PlayerPose predicted = s2.pose;
    predicted.x = static_cast<float>(x);
    predicted.y = static_cast<float>(y);
    predicted.z = static_cast<float>(p2.z + climb);
    predicted.yaw = static_cast<float>(wrap(p2.yaw + yawRate * lead, 360.0));
    for (const float value : {predicted.x, predicted.y, predicted.z, predicted.yaw})
        if (!std::isfinite(value))
            return s2.pose;
    return predicted;
}

} // namespace korvath::session_tool
