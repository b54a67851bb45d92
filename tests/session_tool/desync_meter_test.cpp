// The desync meter: proxy poses measured against the player's pose at the same moment, over a sliding
// window, whatever order the two kinds of samples arrive in.

#include "tools/session/watch/desync_meter.hpp"

#include <gtest/gtest.h>

#include <cmath>

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;

TEST(DesyncMeter, MeasuresAgainstThePlayerAtTheSameMomentOnceCoveredAndOnlyWithinTheWindow) {
    tool::DesyncMeter meter(10.0);
    meter.add_proxy(0.5, {0, 0, 0});          // before any player sample: never measured
    for (int fifth = 5; fifth <= 50; ++fifth) // the player walks along x at 100 units/s, from 1 s to 10 s
        meter.add_player(fifth / 5.0, {fifth * 20.0, 0, 100});
    EXPECT_FALSE(meter.figures(10.0));

    meter.add_proxy(2.1, {200, 0, 100});   // the player was at 210 (between its samples at 2.0 and 2.2)
    meter.add_proxy(2.1, {0, 0, 0});       // the same report again: ignored
    meter.add_proxy(9.9, {990, 30, 140});  // 50 off
    meter.add_proxy(10.1, {1010, 0, 100}); // ahead of the player's samples: waits
    auto figures = meter.figures(10.0);
    ASSERT_TRUE(figures);
    EXPECT_EQ(figures->count, 2u);
    EXPECT_NEAR(figures->mean, 30, 1e-9);
    EXPECT_NEAR(figures->rms, std::sqrt((10.0 * 10 + 50.0 * 50) / 2), 1e-9);
    EXPECT_NEAR(figures->max, 50, 1e-9);

    meter.add_player(10.2, {1020, 0, 100}); // covers 10.1: the player was at 1010
    figures = meter.figures(12.5);          // 2.1 has left the window
    ASSERT_TRUE(figures);
    EXPECT_EQ(figures->count, 2u);
    EXPECT_NEAR(figures->mean, 25, 1e-9);
    EXPECT_FALSE(meter.figures(30.0));

    meter.add_player(NAN, {0, 0, 0}); // a broken time changes nothing
    meter.add_proxy(INFINITY, {0, 0, 0});
    EXPECT_EQ(meter.figures(12.5)->count, 2u);
}

} // namespace
} // namespace korvath::test
