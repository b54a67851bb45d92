// The demo's figures for a player who stops dead: where the stop lies between two samples, how far the
// proxy runs on past it, and when it settles.

#include "tools/session/demo/stop_figures.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;

TEST(StopFigures, TheStopLiesWhereTheLastSpeedEndsAndTheSettleCountsFromTheLastExcursion) {
    // The leader walks along x at 300 units/s and stops at x = 615, 0.05 s after its sample at 2.0 s.
    std::vector<tool::TraceSample> leader;
    for (int tenth = 0; tenth <= 40; ++tenth) {
        const double t = tenth / 10.0;
        leader.push_back({t, std::min(300 * t, 615.0), 0, 100});
    }
    // The follower, started 0.5 s later: behind, 20 past the stop, 2 past, then within 1 unit.
    const std::vector<tool::TraceSample> follower{
        {1.0, 400, 0, 100},   {1.7, 635, 5, 100},   {1.8, 617, 0, 100}, {1.9, 615.5, 0, 100},
        {2.0, 616.5, 0, 100}, {2.1, 615.2, 0, 100}, {3.5, 615, 0, 100}};
    const auto figures = tool::stop_figures({&leader, 0.0}, {&follower, 0.5}, 1.0);
    ASSERT_TRUE(figures);
    EXPECT_NEAR(figures->stoppedAt, 2.05, 1e-9);
    EXPECT_NEAR(figures->overshoot, 20.0, 1e-9); // along the travel; the sideways 5 does not count
    EXPECT_NEAR(figures->settleSeconds.value_or(-1), 2.6 - 2.05, 1e-9);

    const std::vector<tool::TraceSample> drifting{{1.8, 617, 0, 100}, {3.5, 618, 0, 100}};
    EXPECT_FALSE(tool::stop_figures({&leader, 0.0}, {&drifting, 0.5}, 1.0)->settleSeconds);
    // A leader still walking at the end of its track, or resting too briefly: nothing to measure.
    leader.resize(22);
    EXPECT_FALSE(tool::stop_figures({&leader, 0.0}, {&follower, 0.5}, 1.0));
}

} // namespace
} // namespace korvath::test
