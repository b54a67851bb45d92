#pragma once
// The receiving side's end of the link: the peer's poses placed on this side's clock and given to the
// pose predictor, and the predicted pose written into this game's remote_players.tsv. When no pose has
// come for kRemotePoseTimeout, nothing more is written, so the mod sees the file go stale.

#include "tools/session/link/row_predictor.hpp"
#include "tools/session/link/row_schedule.hpp"
#include "tools/session/net/packet.hpp"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace korvath::session_tool {

// Half a second: with the mod's 2 s file staleness and 3 s destroy delay after it, the proxy of a peer
// that vanishes goes about 5.5 s later, well within 6 s.
inline constexpr std::chrono::nanoseconds kRemotePoseTimeout = std::chrono::milliseconds(500);

// Poses cross the network late and repeat a sample several times, so the prediction reaches further
// and gives up later than the one-machine relay's.
inline auto network_predictor_settings() -> PredictorSettings {
    PredictorSettings settings;
    settings.maxLead = std::chrono::milliseconds(500);
    settings.minStale = std::chrono::milliseconds(400);
    return settings;
}

// Held: the row written before still stands (see row_schedule.hpp).
enum class WriteOutcome { Written, Held, Idle, Failed };

class RemotePoseWriter {
public:
    explicit RemotePoseWriter(std::filesystem::path gameDir, bool predict = true,
                              PredictorSettings settings = network_predictor_settings());

    // A pose the peer sent at `sentUs` (its clock), received at `now`; `oneWay` is the estimated network
    // delay, when known. Returns when the pose was taken, on this side's clock, if it is a new sample.
    auto take(const PosePayload& pose, int64_t sentUs, std::optional<std::chrono::nanoseconds> oneWay,
              std::chrono::nanoseconds now) -> std::optional<std::chrono::nanoseconds>;
    // Writes the row for `now`: Idle when there is no pose or the last is older than the timeout.
    auto write(std::chrono::nanoseconds now) -> WriteOutcome;
    // Forgets the peer (it quit or was lost): nothing more is written until the next pose.
    auto clear() -> void;

    auto last_pose_at() const -> std::optional<std::chrono::nanoseconds> { return m_lastPoseAt; }

private:
    std::filesystem::path m_file;
    bool m_predict;
    RowPredictor m_row;
    RowSchedule m_schedule;
    std::optional<PosePayload> m_latest;
    std::optional<std::chrono::nanoseconds> m_lastPoseAt;
};

} // namespace korvath::session_tool
