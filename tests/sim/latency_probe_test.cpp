// The simulator's latency probe: which proxy sample counts as the first move toward a new pose, and the
// percentiles it reports.

#include "tools/sim/latency_probe.hpp"

#include <gtest/gtest.h>

namespace korvath::test {
namespace {

namespace sim = korvath::sim;

TEST(LatencyProbe, TheFirstMoveTheNewWayCountsFromTheChangeAndTheSpawnRowCountsNot) {
    sim::LatencyProbe probe;
    EXPECT_EQ(probe.next_target(), sim::LatencyProbe::kNearX);
    probe.written(0.0); // spawns the proxy at 0
    probe.proxy_seen(0.05, std::nullopt);
    probe.proxy_seen(0.10, 0.0);
    EXPECT_EQ(probe.next_target(), sim::LatencyProbe::kFarX);
    probe.written(1.0);
    probe.proxy_seen(1.05, 0.0);   // not moved yet
    probe.proxy_seen(1.12, 350.0); // the first move toward 1000
    probe.proxy_seen(1.17, 577.5);
    probe.written(2.0);            // back toward 0
    probe.proxy_seen(2.03, 900.0); // still closing on 1000: the old row
    probe.proxy_seen(2.09, 585.0);
    probe.written(3.0);
    probe.proxy_seen(3.01, std::nullopt); // the proxy is gone: nothing to measure from
    probe.proxy_seen(3.05, 400.0);
    probe.proxy_seen(3.10, 300.0);
    ASSERT_EQ(probe.latencies().size(), 2u);
    EXPECT_NEAR(probe.latencies()[0], 0.12, 1e-9);
    EXPECT_NEAR(probe.latencies()[1], 0.09, 1e-9);

    EXPECT_FALSE(sim::percentile({}, 0.5));
    const std::vector<double> values{5, 1, 4, 2, 3};
    EXPECT_EQ(std::tuple(*sim::percentile(values, 0.5), *sim::percentile(values, 0.99),
                         *sim::percentile(values, 0.0)),
              std::tuple(3.0, 5.0, 1.0));
    EXPECT_EQ(sim::probe_row(1000, "Map_A"),
              "probe\tLatency probe\t1000.000\t0.000\t100.000\t0.000\tMap_A\n");
}

} // namespace
} // namespace korvath::test
