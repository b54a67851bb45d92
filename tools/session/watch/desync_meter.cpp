#include "tools/session/watch/desync_meter.hpp"

#include <algorithm>
#include <cmath>

namespace korvath::session_tool {

namespace {

// Bounds on what is kept, whatever the times given: a hostile or broken clock cannot grow the meter.
constexpr std::size_t kMostPlayerSamples = 4096;
constexpr std::size_t kMostPending = 64;
constexpr std::size_t kMostDistances = 4096;

} // namespace

auto DesyncMeter::add_player(double at, Position position) -> void {
    if (!std::isfinite(at) || (!m_player.empty() && at <= m_player.back().at))
        return;
    m_player.push_back({at, position});
    if (m_player.size() > kMostPlayerSamples)
        m_player.pop_front();
    measure_pending();
    forget_before(at - m_window);
}

auto DesyncMeter::add_proxy(double at, Position position) -> void {
    if (!std::isfinite(at) || (!m_pending.empty() && at <= m_pending.back().at) ||
        (!m_distances.empty() && at <= m_distances.back().at))
        return;
    m_pending.push_back({at, position});
    if (m_pending.size() > kMostPending)
        m_pending.pop_front();
    measure_pending();
}

auto DesyncMeter::measure_pending() -> void {
    while (!m_pending.empty() && !m_player.empty()) {
        const Timed proxy = m_pending.front();
        if (proxy.at > m_player.back().at)
            return; // the player's samples do not reach it yet
        m_pending.pop_front();
        const auto after = std::lower_bound(m_player.begin(), m_player.end(), proxy.at,
                                            [](const Timed& sample, double t) { return sample.at < t; });
        if (after == m_player.begin() && after->at > proxy.at)
            continue; // before the first sample kept: cannot be measured
        Position player = after->position;
        if (after->at > proxy.at) {
            const Timed& before = *std::prev(after);
            const double f = (proxy.at - before.at) / (after->at - before.at);
            player = {before.position.x + (after->position.x - before.position.x) * f,
                      before.position.y + (after->position.y - before.position.y) * f,
                      before.position.z + (after->position.z - before.position.z) * f};
        }
        m_distances.push_back({proxy.at, std::hypot(proxy.position.x - player.x, proxy.position.y - player.y,
                                                    proxy.position.z - player.z)});
        if (m_distances.size() > kMostDistances)
            m_distances.pop_front();
    }
}

auto DesyncMeter::forget_before(double at) -> void {
    // One player sample before the window stays, to interpolate at its start.
    while (m_player.size() > 1 && m_player[1].at < at)
        m_player.pop_front();
    while (!m_distances.empty() && m_distances.front().at < at)
        m_distances.pop_front();
}

auto DesyncMeter::figures(double now) const -> std::optional<DesyncFigures> {
    DesyncFigures figures;
    double sum = 0.0, squares = 0.0;
    for (const auto& sample : m_distances) {
        if (sample.at <= now - m_window || sample.at > now)
            continue;
        ++figures.count;
        sum += sample.distance;
        squares += sample.distance * sample.distance;
        figures.max = std::max(figures.max, sample.distance);
    }
    if (figures.count == 0)
        return std::nullopt;
    figures.mean = sum / static_cast<double>(figures.count);
    figures.rms = std::sqrt(squares / static_cast<double>(figures.count));
    return figures;
}

} // namespace korvath::session_tool
