// The two-client demo of korvath-session: its directory, the processes it owns, its readers of the world
// logs and reports, its figures of how a proxy follows (and the watch's desync meter), its verdict, and
// one whole run, whose plot must be an SVG a browser opens.

#include "support/test_support.hpp"
#include "tools/session/demo/child_process.hpp"
#include "tools/session/demo/demo_setup.hpp"
#include "tools/session/demo/demo_summary.hpp"
#include "tools/session/demo/follow_distance.hpp"
#include "tools/session/demo/stop_figures.hpp"
#include "tools/session/demo/world_trace.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <regex>

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;
using namespace std::chrono_literals;
using ::testing::HasSubstr;

// Checks what a browser needs of the XML: one root, every element closed in order, quoted attributes,
// and no bare "<" or "&" in text. Returns the problem, or nothing.
auto xml_problem(const std::string& xml) -> std::string {
    std::vector<std::string> open;
    int roots = 0;
    for (std::size_t at = 0; at < xml.size(); ++at) {
        if (xml[at] == '&' && !std::regex_search(xml.substr(at, 6), std::regex("^&(amp|lt|gt|quot|apos);")))
            return "bare & at " + std::to_string(at);
        if (xml[at] != '<' || xml.compare(at, 2, "<?") == 0) // the declaration is no element
            continue;
        const std::size_t end = xml.find('>', at);
        const std::string tag = xml.substr(at + 1, end - at - 1);
        if (end == std::string::npos || tag.find('<') != std::string::npos ||
            std::ranges::count(tag, '"') % 2)
            return "bad tag at " + std::to_string(at);
        at = end;
        if (tag.starts_with("/") && (open.empty() || open.back() != tag.substr(1)))
            return "misplaced <" + tag + ">";
        if (tag.starts_with("/"))
            open.pop_back();
        else if (open.empty() && roots++ > 0)
            return "second root";
        else if (!tag.ends_with("/"))
            open.push_back(tag.substr(0, tag.find(' ')));
    }
    return open.empty() && roots == 1 ? "" : "unbalanced document";
}

TEST(DemoWorldTrace, LinesSplitAcrossReadsGiveThePawnAndTheLivingProxy) {
    // The pawn, a proxy that dies (alive 0), a line that does not parse, a line not ended yet.
    std::string log = "0.1 P_0 BP_PlayerCharacter_C 1.5 2 100 0 0 1 1 1 5000.25\n"
                      "0.2 P_9 BP_PlayerCharacter_C -7 8 90 0 0 0 0 1\n"
                      "0.3 P_9 BP_PlayerCharacter_C -7 8 90 0 0 0 0 0\n"
                      "0.3 P_8 BP_PlayerCharacter_C x 8 90 0 0 0 0 1\n0.4 P_0 BP_PlayerCharacter_C";
    std::ranges::replace(log, ' ', '\t');
    tool::WorldTrace trace;
    for (std::size_t at = 0; at < log.size(); at += 37)
        trace.feed(std::string_view(log).substr(at, 37));
    ASSERT_EQ(trace.pawn().size(), 1u);
    EXPECT_EQ(std::tie(trace.pawn()[0].seconds, trace.pawn()[0].x), std::make_tuple(0.1, 1.5));
    ASSERT_EQ(trace.proxy().size(), 1u);
    EXPECT_EQ(std::tie(trace.proxy()[0].x, trace.proxy()[0].z), std::make_tuple(-7.0, 90.0));
    EXPECT_NEAR(trace.clock_zero().value_or(0), 5000.15, 1e-9); // the steady clock at the log's zero
}

TEST(DemoFollowDistance, TracksOfTwoClocksMeetOnOneTimeLine) {
    const std::vector<tool::TraceSample> leader{{0.0, 0, 0, 100}, {1.0, 300, 0, 100}, {2.0, 300, 400, 100}};
    const std::vector<tool::TraceSample> follower{
        {0.0, 0, 0, 100}, {0.5, 100, 0, 100}, {1.5, 300, 100, 100}, {9.0, 0, 0, 100}};
    const tool::TimedTrack lead{&leader, 10.0}; // started 10 s into the demo
    EXPECT_FALSE(tool::position_at(lead, 9.99) || tool::position_at(lead, 12.01));

    // The follower started 0.5 s after the leader: its samples lie at 10.5, 11, 12 and 19.5.
    const auto distances = tool::follow_distances(lead, {&follower, 10.5});
    std::vector<std::pair<double, double>> seen;
    for (const auto& sample : distances)
        seen.emplace_back(sample.seconds, sample.distance);
    EXPECT_EQ(seen, (std::vector<std::pair<double, double>>{{10.5, 150}, {11, 200}, {12, 300}}));
    const auto stats = tool::follow_stats(distances, 11.0, 12.0);
    EXPECT_EQ(std::tie(stats.count, stats.mean, stats.max), std::make_tuple(2u, 250.0, 300.0));
    EXPECT_DOUBLE_EQ(stats.rms, std::sqrt((200.0 * 200 + 300.0 * 300) / 2));
}

// The demo's figures for a player who stops dead: where the stop lies between two samples, how far the
// proxy runs on past it, and when it settles.
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

// The desync meter: proxy poses measured against the player's pose at the same moment, over a sliding
// window, whatever order the two kinds of samples arrive in.
TEST(DemoSetup, UsesAnEmptyOrEarlierDemoDirectoryAndRefusesAnyOther) {
    const fs::path root = scratch_dir("demo-dir");
    const fs::path fresh = tool::prepare_demo_dir(root / "new" / "demo");
    EXPECT_TRUE(fs::is_directory(fresh));
    write_file(fresh / "demo.svg", "<svg/>");
    write_file(fresh / "client-a" / "KorvathOnline" / "phase5g.stop.txt", ""); // would block the next session
    EXPECT_EQ(tool::prepare_demo_dir(fresh), fresh);
    EXPECT_FALSE(fs::exists(fresh / "client-a") || fs::exists(fresh / "demo.svg"));

    write_file(root / "mine" / "notes.txt", "keep me");
    EXPECT_THROW(tool::prepare_demo_dir(root / "mine"), std::runtime_error);
    EXPECT_EQ(read_file(root / "mine" / "notes.txt"), "keep me");
}

TEST(DemoChildProcess, OutputGoesToTheLogAndAStubbornProcessIsKilled) {
#ifdef _WIN32
    GTEST_SKIP() << "runs POSIX shell scripts";
#else
    const fs::path dir = scratch_dir("child");
    tool::ChildProcess talker("/bin/sh", {"-c", "echo out; echo err >&2; exit 3"}, dir / "talker.log");
    EXPECT_TRUE(wait_until(5s, [&] { return talker.poll().has_value(); }));
    EXPECT_EQ(talker.terminate(5s), 3) << "an ended process keeps its status";
    EXPECT_EQ(read_file(dir / "talker.log"), "out\nerr\n");

    // Ignores SIGTERM: killed once the grace time is over, and its status tells so.
    tool::ChildProcess stubborn("/bin/sh", {"-c", "trap '' TERM; echo ready; while :; do sleep 1; done"},
                                dir / "stubborn.log");
    ASSERT_TRUE(wait_until(5s, [&] { return !read_file(dir / "stubborn.log").empty(); })); // the trap is set
    EXPECT_EQ(stubborn.terminate(100ms), 128 + SIGKILL);
    EXPECT_THROW(tool::ChildProcess(dir / "missing-program", {}, dir / "missing.log"), std::runtime_error);
#endif
}

// The whole demo as README runs it, with the shorter following phase: two games and a full session.
TEST(DemoProcess, AWholeSessionGoesAsExpectedAndLeavesThePlot) {
    const fs::path dir = scratch_dir("demo") / "demo";
    const auto [status, output] = run_tool("korvath-session", {"demo", "--quick", "--dir", dir.string()});
    EXPECT_EQ(status, 0) << output;
    for (const char* text : {"Demo passed", "A destroyed its proxy of B as \"kill-switch\"",
                             "B destroyed its proxy of A as \"remote-player-stale\""})
        EXPECT_THAT(output, HasSubstr(text));
    EXPECT_EQ(output.find("\x1b["), std::string::npos) << "no screen control into a file";
    ASSERT_TRUE(fs::exists(dir / "demo.svg"));
    EXPECT_EQ(xml_problem(read_file(dir / "demo.svg")), "");
    EXPECT_FALSE(fs::exists(dir / "client-a")) << "the game folders go without --keep";
    // A's proxy of B stands where B moved its pawn aside: 800 units to the side of its start, 10 up.
    tool::WorldTrace worldA;
    ASSERT_TRUE(worldA.read_more(dir / "client-a.world.tsv"));
    ASSERT_FALSE(worldA.proxy().empty());
    const tool::TraceSample& proxyOfB = worldA.proxy().back();
    EXPECT_LT(std::hypot(proxyOfB.x - 0, proxyOfB.y - 800, proxyOfB.z - 110), 0.01);
}

} // namespace
} // namespace korvath::test
