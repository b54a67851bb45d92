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

auto ClientChecks::world(double at, int proxies, const std::string& proxy) -> void {
    ++m_figures.worldSnapshots;
    if (proxies > 0)
        ++m_figures.snapshotsWithProxy;
    if (proxies > m_figures.mostProxies)
        m_figures.mostProxies = proxies;
    if (proxies > m_limits.proxiesPerWorld)
        problem(at, std::to_string(proxies) + " living proxies in one world");
    if (!m_samples.empty() && at - m_samples.back().at > m_limits.stall)
        stalled(m_samples.back().at, at);
    if (!m_samples.empty() && !proxy.empty() && !m_lastProxy.empty() && proxy != m_lastProxy)
        m_samples.push_back({(m_samples.back().at + at) / 2, false});
    m_lastProxy = proxy;
    m_samples.push_back({at, proxies > 0});
}

auto ClientChecks::stalled(double from, double to) -> void {
    ++m_figures.stalls;
    m_figures.longestStall = std::max(m_figures.longestStall, to - from);
    m_stalls.push_back({from, to});
}

auto ClientChecks::stall_within(double from, double to) const -> bool {
    return std::any_of(m_stalls.begin(), m_stalls.end(),
                       [&](const Span& stall) { return stall.to >= from && stall.from <= to; });
}

auto ClientChecks::heartbeat(double at) -> void {
    ++m_figures.heartbeats;
    if (m_lastHeartbeat) {
        m_figures.longestHeartbeatGap = std::max(m_figures.longestHeartbeatGap, at - *m_lastHeartbeat);
        if (at - *m_lastHeartbeat > m_limits.heartbeatGap)
            m_gaps.push_back({*m_lastHeartbeat, at});
        else
            m_figures.longestUnexcusedHeartbeatGap =
                std::max(m_figures.longestUnexcusedHeartbeatGap, at - *m_lastHeartbeat);
    }
    m_lastHeartbeat = at;
    m_hungReported = false;
}

auto ClientChecks::check_gap(const Span& gap) -> void {
    if (stall_within(gap.from, gap.to)) {
        ++m_figures.excusedHeartbeatGaps;
        return;
    }
    m_figures.longestUnexcusedHeartbeatGap =
        std::max(m_figures.longestUnexcusedHeartbeatGap, gap.to - gap.from);
    problem(gap.to, "no heartbeat for " + seconds_text(gap.to - gap.from) + " s");
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
    if (stall_within(from, to)) {
        ++m_figures.statusExcused;
        return;
    }
    const bool agrees = std::any_of(m_samples.begin(), m_samples.end(), [&](const Sample& sample) {
        return sample.at >= from && sample.at <= to && sample.proxy == report.proxyActive;
    });
    if (!agrees)
        problem(report.at, std::string("the status says proxyActive=") + (report.proxyActive ? "1" : "0") +
                               " but the world showed " + (report.proxyActive ? "no proxy" : "a proxy") +
                               " for the whole second around it");
}

auto ClientChecks::settle(double now) -> void {
    if (m_lastHeartbeat && !m_hungReported && now - *m_lastHeartbeat > m_limits.hungAfter &&
        !stall_within(*m_lastHeartbeat, now)) {
        m_hungReported = true;
        problem(now, "no heartbeat for more than " + seconds_text(m_limits.hungAfter) + " s");
    }
    // A report or a gap is judged once a world snapshot well after it has arrived, so that a stall
    // within it is known.
    const double lastSample = m_samples.empty() ? 0.0 : m_samples.back().at;
    while (!m_pending.empty() && lastSample > m_pending.front().at + m_limits.reportLag) {
        check_status(m_pending.front());
        m_pending.pop_front();
    }
    while (!m_gaps.empty() && lastSample > m_gaps.front().to + m_limits.stall) {
        check_gap(m_gaps.front());
        m_gaps.pop_front();
    }
    double keepFrom = lastSample;
    if (!m_pending.empty())
        keepFrom = std::min(keepFrom, m_pending.front().at - m_limits.observeDelay - m_limits.reportLag);
    if (!m_gaps.empty())
        keepFrom = std::min(keepFrom, m_gaps.front().from);
    keepFrom -= kKeptWorld;
    while (!m_samples.empty() && m_samples.front().at < keepFrom)
        m_samples.pop_front();
    while (!m_stalls.empty() && m_stalls.front().to < keepFrom)
        m_stalls.pop_front();
}

} // namespace korvath::soak
