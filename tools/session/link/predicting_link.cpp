#include "tools/session/link/predicting_link.hpp"

namespace korvath::session_tool {

auto PredictingLink::step(std::filesystem::file_time_type fileNow, std::chrono::nanoseconds now)
    -> RelayOutcome {
    const RelaySource source = read_relay_source(m_link, fileNow);
    if (!source.sample) {
        m_row.clear(false);
        return source.outcome;
    }
    if (!m_predict)
        return write_relay_row(m_link, source.sample->pose);

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
    return write_relay_row(m_link, m_row.pose_at(now, source.sample->pose));
}

} // namespace korvath::session_tool
