#pragma once
// The prediction behind a remote_players.tsv row, shared by the one-machine relay and the network link:
// the sender's samples, placed on this side's clock, go to a pose predictor, and the pose written leads
// by the mod's whole follow lag once the receiving game shows a proxy. Until then it leads only by the
// delivery, since a spawn stands the proxy on the row at once and would start it ahead of the player.

#include "tools/session/link/pose_predictor.hpp"
#include "tools/session/link/sample_clock.hpp"

#include <chrono>
#include <filesystem>

namespace korvath::session_tool {

class RowPredictor {
public:
    // `gameDir`: the game that reads the row.
    RowPredictor(std::filesystem::path gameDir, PredictorSettings settings)
        : m_gameDir(std::move(gameDir))
        , m_predictor(settings) {}

    // When a sample stamped `stampMs` on the sender's clock, first seen at `seenAt`, was taken.
    auto place(int64_t stampMs, std::chrono::nanoseconds seenAt) -> std::chrono::nanoseconds {
        return m_clock.place(stampMs, seenAt);
    }
    auto add(const PlayerPose& pose, std::chrono::nanoseconds takenAt) -> void {
        m_predictor.add(pose, takenAt);
    }
    // The pose to write at `now`; `latest` while there is nothing to predict from.
    auto pose_at(std::chrono::nanoseconds now, const PlayerPose& latest) const -> PlayerPose;
    // Forgets the samples; with `clock`, also where the sender's clock stands (a new sender).
    auto clear(bool clock) -> void;

private:
    std::filesystem::path m_gameDir;
    PosePredictor m_predictor;
    SampleClock m_clock;
};

} // namespace korvath::session_tool
