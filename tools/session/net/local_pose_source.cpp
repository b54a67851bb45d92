#include "tools/session/net/local_pose_source.hpp"

namespace korvath::session_tool {

LocalPoseSource::LocalPoseSource(std::filesystem::path gameDir, std::string playerId, std::string displayName)
    : m_link{std::move(gameDir), {}, std::move(playerId), std::move(displayName)}
    , m_watch(m_link) {}

auto LocalPoseSource::read(std::filesystem::file_time_type fileNow, std::chrono::nanoseconds now)
    -> std::optional<PosePayload> {
    const RelaySource source = m_watch.read(fileNow);
    m_outcome = source.outcome;
    if (!source.sample)
        return std::nullopt;
    const auto& stamp = source.sample->stamp;
    const auto written = fileNow - source.age;
    const bool fresh = stamp ? !m_lastStamp || m_lastStamp->sequence != stamp->sequence
                             : m_lastStamp || m_lastWrite != written;
    if (fresh)
        m_takenAt = stamp ? m_clock.place(stamp->sampleMs, now)
                          : now - std::chrono::duration_cast<std::chrono::nanoseconds>(source.age);
    m_lastStamp = stamp;
    m_lastWrite = written;
    return PosePayload{
        std::chrono::duration_cast<std::chrono::microseconds>(std::min(m_takenAt, now)).count(),
        source.sample->pose, m_link.playerId, m_link.displayName};
}

} // namespace korvath::session_tool
