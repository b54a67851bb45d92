#include "tools/session/link/predicting_link.hpp"

#include "tools/session/exchange/proxy_presence.hpp"

namespace korvath::session_tool {

auto PredictingLink::step(std::filesystem::file_time_type fileNow, std::chrono::nanoseconds now)
    -> RelayOutcome {
    const RelaySource source = read_relay_source(m_link, fileNow);
    if (!source.sample) {
        m_predictor.clear();
        return source.outcome;
    }
    if (!m_predict)
        return write_relay_row(m_link, source.sample->pose);

    const auto& stamp = source.sample->stamp;
    const auto written = fileNow - source.age;
    const bool fresh = stamp ? !m_lastStamp || m_lastStamp->sequence != stamp->sequence
                             : m_lastStamp || m_lastWrite != written;
    if (fresh) {
        const auto takenAt = stamp ? m_clock.place(stamp->sampleMs, now)
                                   : now - std::chrono::duration_cast<std::chrono::nanoseconds>(source.age);
        m_predictor.add(source.sample->pose, takenAt);
    }
    m_lastStamp = stamp;
    m_lastWrite = written;
    // Until the other side shows a proxy, its spawn stands it on the row at once: lead it only by the
    // delivery, or the new proxy starts ahead of the player by the smoothing's lag.
    const auto predicted =
        proxy_shown(m_link.toGameDir) ? m_predictor.predict(now) : m_predictor.predict(now, mod_spawn_lag());
    return write_relay_row(m_link, predicted.value_or(source.sample->pose));
}

} // namespace korvath::session_tool
