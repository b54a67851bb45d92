#include "tools/session/link/predicting_link.hpp"

namespace korvath::session_tool {

auto PredictingLink::step(std::filesystem::file_time_type fileNow, std::chrono::nanoseconds now)
    -> RelayOutcome {
    const RelaySource source = m_source.read(fileNow);
    if (!source.sample) {
        m_row.clear(false);
        m_schedule.forget();
        return source.outcome;
    }
    if (!m_predict)
        return write_when_due(source.sample->pose, now);

    const auto& stamp = source.sample->stamp;
    const auto written = fileNow - source.age;
    const bool fresh = stamp ? !m_lastStamp || m_lastStamp->sequence != stamp->sequence
                             : m_lastStamp || m_lastWrite != written;
    if (fresh) {
        m_row.add(source.sample->pose,
                  stamp ? m_row.place(stamp->sampleMs, now)
                        : now - std::chrono::duration_cast<std::chrono::nanoseconds>(source.age));
    }
    m_lastStamp = stamp;
    m_lastWrite = written;
    return write_when_due(m_row.pose_at(now, source.sample->pose), now);
}

auto PredictingLink::write_when_due(const PlayerPose& pose, std::chrono::nanoseconds now) -> RelayOutcome {
    if (!m_schedule.due(pose, now))
        return RelayOutcome::Relayed;
    const RelayOutcome outcome = write_relay_row(m_link, pose);
    if (outcome == RelayOutcome::Relayed)
        m_schedule.written(pose, now);
    else
        m_schedule.forget();
    return outcome;
}

} // namespace korvath::session_tool
