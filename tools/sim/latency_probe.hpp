#pragma once
// Measures the mod's delay from a new pose in remote_players.tsv to the proxy's first move toward it.
// The probe alternates the remote pose between two points on the x axis; after each change, the first
// sample in which the proxy's x has moved the new way (it was closing on the other point) is its first
// move toward the new pose. Times are seconds on the caller's clock; the probe reads none.

#include "tools/sim/stop_flag.hpp"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace korvath::sim {

class LatencyProbe {
public:
    // The two x values the remote pose alternates between, more than a snap distance apart never.
    static constexpr double kNearX = 0.0;
    static constexpr double kFarX = 1000.0;

    // The next remote pose's x, to be written now; it alternates, starting with kNearX.
    auto next_target() const -> double { return m_targets % 2 == 0 ? kNearX : kFarX; }
    // The row with that pose was written at `at`.
    auto written(double at) -> void;
    // The proxy was seen at `x` at `at` (nothing: no proxy).
    auto proxy_seen(double at, std::optional<double> x) -> void;

    auto latencies() const -> const std::vector<double>& { return m_latencies; }

private:
    std::size_t m_targets = 0;         // rows written
    std::optional<double> m_changedAt; // the latest change, while its first move is awaited
    std::optional<double> m_lastX;     // the proxy, as last seen
    std::vector<double> m_latencies;   // seconds
};

// The value below which `share` (0..1) of the values lie (nearest rank); nothing for no values.
auto percentile(std::vector<double> values, double share) -> std::optional<double>;

// "remote_players.tsv" row for the probe's pose at `x`.
auto probe_row(double x, const std::string& mapName) -> std::string;

// The probe's thread: places the enable marker, then rewrites remote_players.tsv with the other pose
// every 150 to 300 ms (spread so that the changes fall at every phase of the mod's poll) and watches
// the proxy every millisecond, until `stop`. Returns the latencies measured, in seconds.
auto run_latency_probe(const std::filesystem::path& exchangeDir, const std::string& mapName, StopFlag& stop)
    -> std::vector<double>;

} // namespace korvath::sim
