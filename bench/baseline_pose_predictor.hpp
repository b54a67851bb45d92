#pragma once
// The relay's pose predictor as it was before samples came faster than 20 a second: speed and heading
// from the last two samples, turn and slowing from three. Kept as the baseline of the predictor's
// benchmark.

#include "tools/session/link/pose_predictor.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <optional>

namespace korvath::bench {

namespace tool = korvath::session_tool;
using std::chrono::nanoseconds;

namespace baseline {

inline constexpr nanoseconds kRestartGap = std::chrono::seconds(1);
inline constexpr double kSlowest = 1.0;                      // units/s; below this there is no heading
inline constexpr double kFastest = 5000.0;                   // units/s; above this the pose jumped
inline constexpr double kFastestTurn = 2 * std::numbers::pi; // rad/s, a whole turn a second
inline constexpr double kFastestYawRate = 360.0;             // degrees/s
inline constexpr int kIntegrationSteps = 8;

struct Point {
    double x, y, z, yaw;
};

inline auto point(const tool::PlayerPose& pose) -> Point {
    return {pose.x, pose.y, pose.z, pose.yaw};
}

inline auto seconds(nanoseconds value) -> double {
    return std::chrono::duration<double>(value).count();
}

// Into [-half, half) of a whole turn.
inline auto wrap(double angle, double turn) -> double {
    const double wrapped = std::remainder(angle, turn);
    return wrapped >= turn / 2 ? wrapped - turn : wrapped;
}

} // namespace baseline

class BaselinePosePredictor {
public:
    explicit BaselinePosePredictor(tool::PredictorSettings settings = {})
        : m_settings(settings) {}

    // A sample taken at `takenAt`. One not later than the latest is ignored; a new map or a sample more
    // than a second after the last starts the history afresh.
    auto add(const tool::PlayerPose& pose, std::chrono::nanoseconds takenAt) -> void;
    auto clear() -> void { m_count = 0; }

    // The pose to write at `now`: the latest sample extrapolated to `now` + lag, the lead from the
    // sample capped; the latest sample as it is while there is no history or the samples have stopped.
    // Nothing before the first sample.
    auto predict(std::chrono::nanoseconds now) const -> std::optional<tool::PlayerPose> {
        return predict(now, m_settings.lag);
    }
    // The same with another lag.
    auto predict(std::chrono::nanoseconds now, std::chrono::nanoseconds lag) const
        -> std::optional<tool::PlayerPose>;

private:
    struct Sample {
        tool::PlayerPose pose;
        std::chrono::nanoseconds at{};
    };
    auto sample(std::size_t back) const -> const Sample& { return m_samples[(m_next + 3 - 1 - back) % 3]; }

    tool::PredictorSettings m_settings;
    std::array<Sample, 3> m_samples{};
    std::size_t m_next = 0;  // where the next sample goes
    std::size_t m_count = 0; // samples held, up to 3
};

inline auto BaselinePosePredictor::add(const tool::PlayerPose& pose, std::chrono::nanoseconds takenAt)
    -> void {
    if (m_count > 0) {
        const Sample& latest = sample(0);
        if (takenAt <= latest.at)
            return;
        if (pose.mapName != latest.pose.mapName || takenAt - latest.at > baseline::kRestartGap)
            m_count = 0;
    }
    m_samples[m_next] = {pose, takenAt};
    m_next = (m_next + 1) % m_samples.size();
    m_count = std::min(m_count + 1, m_samples.size());
}

inline auto BaselinePosePredictor::predict(std::chrono::nanoseconds now, std::chrono::nanoseconds lag) const
    -> std::optional<tool::PlayerPose> {
    if (m_count == 0)
        return std::nullopt;
    const Sample& s2 = sample(0);
    if (m_count < 2)
        return s2.pose;
    const Sample& s1 = sample(1);
    const double dt21 = baseline::seconds(s2.at - s1.at);
    const auto staleAfter =
        std::max(m_settings.minStale,
                 std::chrono::duration_cast<nanoseconds>((s2.at - s1.at) * m_settings.staleIntervals));
    if (now - s2.at > staleAfter)
        return s2.pose;

    // The chord from s1 to s2 gives speed and heading in the middle of that interval.
    const baseline::Point p2 = baseline::point(s2.pose), p1 = baseline::point(s1.pose);
    const double vx = (p2.x - p1.x) / dt21;
    const double vy = (p2.y - p1.y) / dt21;
    const double vz = (p2.z - p1.z) / dt21;
    const double speed = std::hypot(vx, vy);
    if (speed > baseline::kFastest)
        return s2.pose; // a jump, not a walk
    const double heading = std::atan2(vy, vx);
    const double yawRate = std::clamp(baseline::wrap(p2.yaw - p1.yaw, 360.0) / dt21,
                                      -baseline::kFastestYawRate, baseline::kFastestYawRate);
    double turnRate = 0.0;  // rad/s
    double speedRate = 0.0; // units/s², never above 0: a slowing player is expected to stop
    if (m_count == 3) {
        const double dt10 = baseline::seconds(s1.at - sample(2).at);
        const baseline::Point p0 = baseline::point(sample(2).pose);
        const double earlierSpeed = std::hypot(p1.x - p0.x, p1.y - p0.y) / dt10;
        const double between = (dt21 + dt10) / 2; // from the middle of one chord to the middle of the next
        if (speed > baseline::kSlowest && earlierSpeed > baseline::kSlowest) {
            const double earlierHeading = std::atan2(p1.y - p0.y, p1.x - p0.x);
            turnRate = std::clamp(baseline::wrap(heading - earlierHeading, 2 * std::numbers::pi) / between,
                                  -baseline::kFastestTurn, baseline::kFastestTurn);
        }
        speedRate = std::min(0.0, (speed - earlierSpeed) / between);
    }

    const double lead =
        std::clamp(baseline::seconds(now + lag - s2.at), 0.0, baseline::seconds(m_settings.maxLead));
    // Speed and heading run on from the chord's middle; the path from s2 is summed in short steps.
    const double fromMiddle = dt21 / 2;
    double x = p2.x, y = p2.y, travelled = 0.0;
    const double step = lead / baseline::kIntegrationSteps;
    for (int index = 0; index < baseline::kIntegrationSteps; ++index) {
        const double t = fromMiddle + (index + 0.5) * step;
        const double v = std::max(0.0, speed + speedRate * t);
        const double h = heading + turnRate * t;
        x += v * std::cos(h) * step;
        y += v * std::sin(h) * step;
        travelled += v * step;
    }
    // Height follows the horizontal motion: it stops when the player stops.
    const double climb = speed > baseline::kSlowest ? vz * travelled / speed : 0.0;
    tool::PlayerPose predicted = s2.pose;
    predicted.x = static_cast<float>(x);
    predicted.y = static_cast<float>(y);
    predicted.z = static_cast<float>(p2.z + climb);
    predicted.yaw = static_cast<float>(baseline::wrap(p2.yaw + yawRate * lead, 360.0));
    for (const float value : {predicted.x, predicted.y, predicted.z, predicted.yaw})
        if (!std::isfinite(value))
            return s2.pose;
    return predicted;
}

} // namespace korvath::bench
