#include "tools/session/link/row_predictor.hpp"

#include "tools/session/exchange/proxy_presence.hpp"
#include "tools/session/link/row_schedule.hpp"

namespace korvath::session_tool {

auto RowPredictor::pose_at(std::chrono::nanoseconds now, const PlayerPose& latest) -> PlayerPose {
    if (!m_presenceAt || now - *m_presenceAt >= kPresenceCheck || now < *m_presenceAt) {
        m_proxyShown = proxy_shown(m_gameDir);
        m_presenceAt = now;
    }
    const auto readAt = now + kRowMeanAge;
    const auto predicted =
        m_proxyShown ? m_predictor.predict(readAt) : m_predictor.predict(readAt, mod_spawn_lag());
    return predicted.value_or(latest);
}

auto RowPredictor::clear(bool clock) -> void {
    m_predictor.clear();
    if (clock)
        m_clock = {};
}

} // namespace korvath::session_tool
