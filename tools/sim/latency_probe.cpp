#include "tools/sim/latency_probe.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <system_error>

#include "standin/Engine.hpp"
#include "tools/session/exchange/file_io.hpp"

namespace korvath::sim {

auto LatencyProbe::written(double at) -> void {
    // The first row spawns the proxy: there is nothing to move toward yet.
    if (m_targets > 0)
        m_changedAt = at;
    ++m_targets;
}

auto LatencyProbe::proxy_seen(double at, std::optional<double> x) -> void {
    if (!x) {
        m_lastX.reset();
        return;
    }
    if (m_changedAt && m_lastX && at >= *m_changedAt) {
        const bool towardFar = next_target() == kNearX; // the latest row written was the far one
        if (towardFar ? *x > *m_lastX : *x < *m_lastX) {
            m_latencies.push_back(at - *m_changedAt);
            m_changedAt.reset();
        }
    }
    m_lastX = x;
}

auto percentile(std::vector<double> values, double share) -> std::optional<double> {
    if (values.empty())
        return std::nullopt;
    std::sort(values.begin(), values.end());
    const auto rank =
        static_cast<std::size_t>(std::ceil(std::clamp(share, 0.0, 1.0) * double(values.size())));
    return values[std::max<std::size_t>(rank, 1) - 1];
}

namespace {

auto proxy_x() -> std::optional<double> {
    for (const auto& [actor, state] : standin::engine().actor_states())
        if (state.spawned && state.alive)
            return state.pose.x;
    return std::nullopt;
}

} // namespace

auto run_latency_probe(const std::filesystem::path& exchangeDir, const std::string& mapName, StopFlag& stop)
    -> std::vector<double> {
    std::error_code error;
    std::filesystem::create_directories(exchangeDir, error);
    session_tool::write_file_atomically(exchangeDir / "phase5g.enable_once.txt", "");
    std::mt19937 spread(11); // fixed: runs are alike
    std::uniform_int_distribution<int> gapMs(150, 300);
    LatencyProbe probe;
    const auto start = SteadyClock::now();
    const auto seconds = [&](SteadyClock::time_point at) {
        return std::chrono::duration<double>(at - start).count();
    };
    auto nextWrite = start;
    auto next = start;
    do {
        const auto now = SteadyClock::now();
        if (now >= nextWrite &&
            session_tool::write_file_atomically(exchangeDir / "remote_players.tsv",
                                                probe_row(probe.next_target(), mapName))) {
            probe.written(seconds(now));
            nextWrite = now + std::chrono::milliseconds(gapMs(spread));
        }
        probe.proxy_seen(seconds(SteadyClock::now()), proxy_x());
        next += std::chrono::milliseconds(1);
    } while (stop.sleep_until(next));
    return probe.latencies();
}

auto probe_row(double x, const std::string& mapName) -> std::string {
    char numbers[64];
    std::snprintf(numbers, sizeof numbers, "%.3f\t0.000\t100.000\t0.000\t", x);
    return "probe\tLatency probe\t" + std::string(numbers) + mapName + "\n";
}

} // namespace korvath::sim
