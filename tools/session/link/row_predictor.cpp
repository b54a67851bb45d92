#include "tools/session/link/row_predictor.hpp"

#include "tools/session/exchange/proxy_presence.hpp"

namespace korvath::session_tool {

auto RowPredictor::pose_at(std::chrono::nanoseconds now, const PlayerPose& latest) const -> PlayerPose {
    const auto predicted =
        proxy_shown(m_gameDir) ? m_predictor.predict(now) : m_predictor.predict(now, mod_spawn_lag());
    return predicted.value_or(latest);
}

auto RowPredictor::clear(bool clock) -> void {
    m_predictor.clear();
    if (clock)
        m_clock = {};
}

} // namespace korvath::session_tool
