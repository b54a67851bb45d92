#pragma once
// Where a player will be when the other side's proxy gets there. The mod shows a remote pose late: it
// reads remote_players.tsv at its next poll, moves the proxy a fixed share of the gap per step and
// holds it between steps. From the player's last samples the predictor extrapolates the pose over the
// sample's age plus that lag: speed and heading from a chord of at least kShortestChord ending at the
// latest sample, turn rate and (only when slowing) the change of speed from the chord before it, yaw
// from its own rate. Samples may come at any pace (the tracker's follows the game's frames): a chord
// spans several of them when they are close together, so that the jitter of their times does not
// become speed. Samples that show the player standing for 20 ms stop it at once (a shorter still may be
// one frame read twice, and is taken as one sample). All times are the caller's clock, in nanoseconds;
// the predictor reads no clock.

#include "tools/session/exchange/player_pose.hpp"

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>

namespace korvath::session_tool {

// The mod's delay from a row in remote_players.tsv to the proxy standing on average at that pose: half
// a poll interval of waiting, the smoothing's lag of (1 - share) / share steps, half a step of holding
// still. The age of the row itself when the mod reads it is the writer's to add (see row_schedule.hpp).
inline constexpr std::chrono::nanoseconds kModPollInterval = std::chrono::milliseconds(75);
inline constexpr std::chrono::nanoseconds kModStepInterval = std::chrono::milliseconds(50);
inline constexpr double kModSmoothingShare = 0.35;
auto mod_follow_lag() -> std::chrono::nanoseconds;
// On a curve the smoothing's straight steps toward a row ahead cut inside the player's path: the proxy
// trails the row by about kModStepInterval / kModSmoothingShare and steps kModStepInterval of motion,
// and a row placed outward by turn rate x speed x this (s²) puts the steps back on the curve.
auto mod_curve_allowance() -> double;
// The same without the smoothing's lag: how late a proxy spawns at a row, since a spawn stands the
// proxy on the row's pose at once.
auto mod_spawn_lag() -> std::chrono::nanoseconds;

struct PredictorSettings {
    std::chrono::nanoseconds lag = mod_follow_lag(); // predicted this far beyond the present
    std::chrono::nanoseconds maxLead = std::chrono::milliseconds(350);  // beyond the latest sample
    std::chrono::nanoseconds minStale = std::chrono::milliseconds(200); // no sample for longer than
    double staleIntervals = 2.5; // this many sample intervals (at least minStale): no prediction
};

// Speed and heading come from samples at least this far apart.
inline constexpr std::chrono::nanoseconds kShortestChord = std::chrono::milliseconds(40);
// Samples kept: enough for two shortest chords at 60 samples a second.
inline constexpr std::size_t kPredictorHistory = 8;

class PosePredictor {
public:
    explicit PosePredictor(PredictorSettings settings = {})
        : m_settings(settings) {}

    // A sample taken at `takenAt`. One not later than the latest is ignored; a new map or a sample more
    // than a second after the last starts the history afresh.
    auto add(const PlayerPose& pose, std::chrono::nanoseconds takenAt) -> void;
    auto clear() -> void { m_count = 0; }

    // The pose to write at `now` for a proxy that follows by smoothing: the latest sample extrapolated
    // to `now` + lag (the lead from the sample capped), moved outward on a curve by the curve allowance;
    // the latest sample as it is while there is no history or the samples have stopped. Nothing before
    // the first sample.
    auto predict(std::chrono::nanoseconds now) const -> std::optional<PlayerPose> {
        return extrapolate(now, m_settings.lag, mod_curve_allowance());
    }
    // The same with another lag, on the path itself: for a proxy that will stand on the row at once.
    auto predict(std::chrono::nanoseconds now, std::chrono::nanoseconds lag) const
        -> std::optional<PlayerPose> {
        return extrapolate(now, lag, 0.0);
    }

private:
    struct Sample {
        PlayerPose pose;
        std::chrono::nanoseconds at{};
    };
    auto sample(std::size_t back) const -> const Sample& {
        return m_samples[(m_next + kPredictorHistory - 1 - back) % kPredictorHistory];
    }
    auto extrapolate(std::chrono::nanoseconds now, std::chrono::nanoseconds lag, double curveAllowance) const
        -> std::optional<PlayerPose>;
    // How far back the chord that ends at sample `end` starts: the newest sample at least kShortestChord
    // before it, else the oldest held; nothing when `end` is the oldest.
    auto chord_start(std::size_t end) const -> std::optional<std::size_t>;

    PredictorSettings m_settings;
    std::array<Sample, kPredictorHistory> m_samples{};
    std::size_t m_next = 0;  // where the next sample goes
    std::size_t m_count = 0; // samples held, up to kPredictorHistory
};

} // namespace korvath::session_tool
