#include "tools/soak/soak_checks.hpp"

#include <algorithm>
#include <cstdio>

namespace korvath::soak {

namespace {

constexpr double kKeptWorld = 5.0; // seconds of world snapshots kept behind the oldest pending report

auto seconds_text(double value) -> std::string {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

} // namespace

auto ClientChecks::problem(double at, const std::string& what) -> void {
    ++m_figures.problems;
    if (m_problems.size() < m_limits.keptProblems)
        m_problems.push_back(m_name + " at " + seconds_text(at) + ": " + what);
}

auto ClientChecks::world(double at, int proxies) -> void {
    ++m_figures.worldSnapshots;
    if (proxies > 0)
        ++m_figures.snapshotsWithProxy;
    if (proxies > m_figures.mostProxies)
        m_figures.mostProxies = proxies;
    if (proxies > m_limits.proxiesPerWorld)
        problem(at, std::to_string(proxies) + " living proxies in one world");
    m_samples.push_back({at, proxies > 0});
}

auto ClientChecks::heartbeat(double at) -> void {
    ++m_figures.heartbeats;
    if (m_lastHeartbeat)
        m_figures.longestHeartbeatGap = std::max(m_figures.longestHeartbeatGap, at - *m_lastHeartbeat);
    m_lastHeartbeat = at;
    m_heartbeatLate = false;
}

auto ClientChecks::restart_heartbeat_watch(double now) -> void {
    m_lastHeartbeat = now;
    m_heartbeatLate = false;
}

auto ClientChecks::status(double at, bool proxyActive) -> void {
    ++m_figures.statusReports;
    m_pending.push_back({at, proxyActive});
}

// The report was written at most observeDelay before it was seen; it agrees with the world when the
// world showed the same at some moment within reportLag of the writing.
auto ClientChecks::check_status(const PendingStatus& report) -> void {
    ++m_figures.statusChecked;
    const double from = report.at - m_limits.observeDelay - m_limits.reportLag;
    const double to = report.at + m_limits.reportLag;
    const bool agrees = std::any_of(m_samples.begin(), m_samples.end(), [&](const Sample& sample) {
        return sample.at >= from && sample.at <= to && sample.proxy == report.proxyActive;
    });
    if (!agrees)
        problem(report.at, std::string("the status says proxyActive=") + (report.proxyActive ? "1" : "0") +
                               " but the world showed " + (report.proxyActive ? "no proxy" : "a proxy") +
                               " for the whole second around it");
}

auto ClientChecks::settle(double now) -> void {
    if (m_lastHeartbeat && !m_heartbeatLate && now - *m_lastHeartbeat > m_limits.heartbeatGap) {
        m_heartbeatLate = true;
        m_figures.longestHeartbeatGap = std::max(m_figures.longestHeartbeatGap, now - *m_lastHeartbeat);
        problem(now, "no heartbeat for more than " + seconds_text(m_limits.heartbeatGap) + " s");
    }
    // A report is judged once a world snapshot later than its window has arrived.
    const double lastSample = m_samples.empty() ? 0.0 : m_samples.back().at;
    while (!m_pending.empty() && lastSample > m_pending.front().at + m_limits.reportLag) {
        check_status(m_pending.front());
        m_pending.pop_front();
    }
    const double keepFrom =
        (m_pending.empty() ? lastSample : m_pending.front().at) - m_limits.reportLag - kKeptWorld;
    while (!m_samples.empty() && m_samples.front().at < keepFrom)
        m_samples.pop_front();
}

} // namespace korvath::soak
