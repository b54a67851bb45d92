// A whole two-client session with the pose tracker script writing both local states: the demo with
// --tracker, whose games run the script in the simulator's stand-in of the host's Lua side.

#include "support/test_support.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvath::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(TrackerSession, BothProxiesSpawnAndFollowAndStoppingATrackerMakesTheOtherProxyStale) {
    const fs::path dir = scratch_dir("tracker-demo") / "demo";
    const auto [status, output] =
        run_tool("korvath-session", {"demo", "--quick", "--tracker", "--dir", dir.string()});
    EXPECT_EQ(status, 0) << output;
    for (const char* text :
         {"A spawned its proxy of B", "B spawned its proxy of A", "B's proxy of A followed",
          "A's tracker stopped", "B destroyed its proxy of A as \"remote-player-stale\"", "Demo passed"})
        EXPECT_THAT(output, HasSubstr(text));
    // Each game ran the script and never wrote the local state itself.
    for (const char* log : {"client-a.log", "client-b.log"}) {
        const std::string text = read_file(dir / log);
        EXPECT_THAT(text,
                    HasSubstr("[KorvathTracker] writing KorvathOnline/local_state.tsv 20 times a second"));
        EXPECT_THAT(text, Not(HasSubstr("tracker callback failed"))) << log;
    }
    EXPECT_THAT(read_file(dir / "client-a.log"), HasSubstr("korvath-sim: the tracker stops"));
}

} // namespace
} // namespace korvath::test
