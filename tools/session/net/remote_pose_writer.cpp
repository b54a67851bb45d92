#include "tools/session/net/remote_pose_writer.hpp"

#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/exchange/remote_player_row.hpp"

namespace korvath::session_tool {

namespace {

using std::chrono::nanoseconds;

} // namespace

RemotePoseWriter::RemotePoseWriter(std::filesystem::path gameDir, bool predict, PredictorSettings settings)
    : m_file(exchange_dir_of(gameDir) / kRemotePlayersFile)
    , m_predict(predict)
    , m_row(std::move(gameDir), settings) {}

auto RemotePoseWriter::take(const PosePayload& pose, int64_t sentUs, std::optional<nanoseconds> oneWay,
                            nanoseconds now) -> std::optional<nanoseconds> {
    // The peer's clock is placed on this one by the fastest packet seen, which arrived after the
    // shortest network delay; that delay and the pose's age at sending put the pose where it was taken.
    const nanoseconds sentAt = m_row.place(sentUs / 1000, now);
    // The peer sends each sample several times: only a sample taken later than the last one is new. (Its
    // placement may shift by a little from one copy to the next, which must not look like a new sample.)
    std::optional<nanoseconds> takenAt;
    if (!m_latest || pose.takenUs > m_latest->takenUs) {
        takenAt = sentAt - std::chrono::microseconds(sentUs - pose.takenUs) - oneWay.value_or(nanoseconds(0));
        m_row.add(pose.pose, *takenAt);
    }
    m_latest = pose;
    m_lastPoseAt = now;
    return takenAt;
}

auto RemotePoseWriter::write(nanoseconds now) -> WriteOutcome {
    if (!m_latest || !m_lastPoseAt || now - *m_lastPoseAt > kRemotePoseTimeout)
        return WriteOutcome::Idle;
    const PlayerPose pose = m_predict ? m_row.pose_at(now, m_latest->pose) : m_latest->pose;
    if (!m_schedule.due(pose, now))
        return WriteOutcome::Held;
    const auto row = format_remote_player_row(m_latest->playerId, m_latest->displayName, pose);
    if (!write_file_atomically(m_file, row)) {
        m_schedule.forget();
        return WriteOutcome::Failed;
    }
    m_schedule.written(pose, now);
    return WriteOutcome::Written;
}

auto RemotePoseWriter::clear() -> void {
    m_row.clear(true);
    m_schedule.forget();
    m_latest.reset();
    m_lastPoseAt.reset();
}

} // namespace korvath::session_tool
