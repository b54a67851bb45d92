#pragma once
// The prediction behind a remote_players.tsv row, shared by the one-machine relay and the network link:
// the sender's samples, placed on this side's clock, go to a pose predictor, and the pose written leads
// by the mod's whole follow lag once the receiving game shows a proxy. Until then it leads only by the
// delivery, since a spawn stands the proxy on the row at once and would start it ahead of the player.
// Both leads add the row's mean age when the mod reads it (kRowMeanAge). Whether the game shows a proxy
// is looked up from its event reports every kPresenceCheck.

#include "tools/session/link/pose_predictor.hpp"
#include "tools/session/link/sample_clock.hpp"

#include <chrono>
#include <filesystem>
#include <optional>

namespace korvath::session_tool {

inline constexpr std::chrono::nanoseconds kPresenceCheck = std::chrono::milliseconds(100);

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
    auto pose_at(std::chrono::nanoseconds now, const PlayerPose& latest) -> PlayerPose;
    // Forgets the samples; with `clock`, also where the sender's clock stands (a new sender).
    auto clear(bool clock) -> void;

private:
    std::filesystem::path m_gameDir;
    PosePredictor m_predictor;
    SampleClock m_clock;
    std::optional<std::chrono::nanoseconds> m_presenceAt; // when proxy presence was last looked up
    bool m_proxyShown = false;
};

} // namespace korvath::session_tool
