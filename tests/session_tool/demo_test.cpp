// The two-client demo of korvath-session: its directory, the processes it owns, its live display, its
// plot writer, its readers of the world logs and reports, its verdict, and one whole run.

#include "support/test_support.hpp"
#include "tools/session/demo/child_process.hpp"
#include "tools/session/demo/demo_progress.hpp"
#include "tools/session/demo/demo_setup.hpp"
#include "tools/session/demo/demo_summary.hpp"
#include "tools/session/demo/follow_distance.hpp"
#include "tools/session/demo/world_trace.hpp"
#include "tools/session/plot/plot_scale.hpp"
#include "tools/session/plot/svg_plot.hpp"
#include "tools/session/plot/svg_writer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <regex>
#include <sstream>
#include <thread>

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

// The pixel width and height of the first polyline in `xml`.
auto polyline_extent(const std::string& xml) -> std::pair<double, double> {
    const std::size_t start = xml.find("<polyline points=\"") + 18;
    std::istringstream points(xml.substr(start, xml.find('"', start) - start));
    double minX = 1e9, maxX = -1e9, minY = 1e9, maxY = -1e9, x, y;
    for (char comma; points >> x >> comma >> y;)
        minX = std::min(minX, x), maxX = std::max(maxX, x), minY = std::min(minY, y),
        maxY = std::max(maxY, y);
    return {maxX - minX, maxY - minY};
}

TEST(DemoSvgPlot, EveryTextIsEscapedTheDocumentWellFormedAndAMapKeepsOneScale) {
    EXPECT_EQ(tool::xml_escape(R"(B's <proxy> & "A")"), "B&apos;s &lt;proxy&gt; &amp; &quot;A&quot;");
    for (const auto& [value, text] : {std::pair{0.126, "0.13"}, {-0.001, "0"}, {HUGE_VAL, "0"}})
        EXPECT_EQ(tool::svg_number(value), text) << value;

    tool::PlotPanel map, chart;
    map.title = "A & B", map.equalScale = true;
    map.width = 500, map.height = 700; // taller than wide: the y axis is widened, not the square stretched
    map.series = {
        {"A's <path>", "#2563eb", {{-600, -200}, {600, -200}, {600, 1000}, {-600, 1000}}, 2.0, 1.0, false}};
    map.markers = {{"B \"stands\"", "#16a34a", {0, 800}}};
    chart.left = 500, chart.yFromZero = true;
    chart.series = {{"distance", "#ea580c", {{0, 80}, {10, 90}}, 2.0, 1.0, true}};
    chart.bands = {{"follow & lead", "#dcfce7", 2, 8}};
    chart.events = {{"kill <switch>", "#475569", 9.5}};
    const std::string xml = tool::render_svg_plot({"Demo <1>", "sub & title", 1000, 720, {map, chart}, {}});
    ASSERT_EQ(xml_problem(xml), "") << xml;
    const auto [width, height] = polyline_extent(xml);
    EXPECT_NEAR(width, height, 1.0);
    EXPECT_GT(width, 300.0);
    for (const char* text : {">Demo &lt;1&gt;<", ">A&apos;s &lt;path&gt;<", ">B &quot;stands&quot;<",
                             ">follow &amp; lead<", ">kill &lt;switch&gt;<"})
        EXPECT_THAT(xml, HasSubstr(text));
}

TEST(DemoPlotScale, MapsEndsOntoTheRangeAndPicksRoundTicks) {
    const tool::LinearScale y{-600, 900, 700, 100}; // an SVG y axis runs downwards
    EXPECT_EQ(std::make_tuple(y.map(-600), y.map(900), y.map(150)), std::make_tuple(700.0, 100.0, 400.0));
    EXPECT_DOUBLE_EQ((tool::LinearScale{5, 5, 0, 10}.map(123)), 5); // empty domain: the middle

    const auto ticks = tool::nice_ticks(-612, 618, 5); // steps of 1, 2 or 5 times a power of ten
    EXPECT_EQ(ticks.values, (std::vector<double>{-1000, -500, 0, 500, 1000}));
    EXPECT_EQ(tool::nice_ticks(7, 7, 4).values, (std::vector<double>{6, 6.5, 7, 7.5, 8})); // widened
    EXPECT_EQ(tool::tick_label(0.30000000000000004, 0.1), "0.3");
    EXPECT_EQ(tool::tick_label(-1e-17, 0.02), "0.00");
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

TEST(DemoSummary, ReportsTellWhatEachClientDidAndEveryDeviationIsNamed) {
    // The reports of CLIENT_B after a good session, as far as the summary reads them.
    tool::ClientReports reports{
        "running=1\nmovementUpdates=258\ntestFailed=0\n",
        "proxyActor=spawned\nremotePlayerId=player-a\nremoteDisplayName=KESTREN CLIENT A\nremoteMap=Map_A\n",
        "proxyDestroyRequested=1\ndestroyReason=remote-player-stale\n",
        "localPawnMoved=1\noriginalX=0\noriginalY=0\noriginalZ=100\ndestinationX=6.99382e-05\n"
        "destinationY=800\ndestinationZ=110\n",
        std::nullopt};
    const auto b = tool::summarize_client("B", reports);
    EXPECT_EQ(std::tie(b.proxySpawned, b.moves, b.proxyDestroyed, b.destroyReason, b.movedAside),
              std::make_tuple(true, std::uint64_t{258}, true, std::string("remote-player-stale"), true));
    EXPECT_THAT(b.remotePlayer, HasSubstr("player-a"));
    EXPECT_FALSE(b.error || tool::summarize_client("A", {}).proxySpawned);

    reports.error = "Movement call threw an unknown exception.\nsecond line\n";
    EXPECT_EQ(tool::summarize_client("B", reports).error, "Movement call threw an unknown exception.");
    reports.error.reset();
    reports.heartbeat = "running=1\nmovementUpdates=1\ntestFailed=1\n"; // the error report not yet seen
    EXPECT_TRUE(tool::summarize_client("B", reports).error);

    // The verdict: nothing for the expected session, and one named problem for each deviation from it.
    struct Session {
        tool::ClientSummary a, b;
        tool::FollowStats follow;
    } good{b, b, {200, 80.0, 160.0}};
    good.a.name = "A", good.a.destroyReason = "kill-switch";
    EXPECT_THAT(tool::demo_problems(good.a, good.b, good.follow, {}), ::testing::IsEmpty());

    const std::pair<void (*)(Session&), std::string> cases[] = {
        {[](Session& s) { s.b.movedAside = false; }, "B did not move its pawn aside"},
        {[](Session& s) { s.a.proxySpawned = false; }, "A's proxy was never spawned"},
        {[](Session& s) { s.a.proxyDestroyed = false; }, "A's proxy was not destroyed"},
        {[](Session& s) { s.b.destroyReason = "kill-switch"; }, "B's proxy was destroyed as \"kill-switch\""},
        {[](Session& s) { s.a.error = "SpawnActor returned null."; }, "A reported an error: SpawnActor"},
        {[](Session& s) { s.follow.count = 0; }, "no distance between A's pawn and B's proxy of A"},
        {[](Session& s) { s.follow.max = 500.5; }, "fell up to 500 units behind"}};
    for (const auto& [mutate, expected] : cases) {
        Session session = good;
        mutate(session);
        const auto problems = tool::demo_problems(session.a, session.b, session.follow, {});
        ASSERT_EQ(problems.size(), 1u) << expected;
        EXPECT_THAT(problems[0], HasSubstr(expected));
    }
}

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

// Polls until `done` holds, for at most five seconds.
auto poll_until(const auto& done) -> bool {
    for (const auto deadline = std::chrono::steady_clock::now() + 5s;
         !done() && std::chrono::steady_clock::now() < deadline;)
        std::this_thread::sleep_for(10ms);
    return done();
}

TEST(DemoChildProcess, OutputGoesToTheLogAndAStubbornProcessIsKilled) {
#ifdef _WIN32
    GTEST_SKIP() << "runs POSIX shell scripts";
#else
    const fs::path dir = scratch_dir("child");
    tool::ChildProcess talker("/bin/sh", {"-c", "echo out; echo err >&2; exit 3"}, dir / "talker.log");
    EXPECT_TRUE(poll_until([&] { return talker.poll().has_value(); }));
    EXPECT_EQ(talker.terminate(5s), 3) << "an ended process keeps its status";
    EXPECT_EQ(read_file(dir / "talker.log"), "out\nerr\n");

    // Ignores SIGTERM: killed once the grace time is over, and its status tells so.
    tool::ChildProcess stubborn("/bin/sh", {"-c", "trap '' TERM; echo ready; while :; do sleep 1; done"},
                                dir / "stubborn.log");
    ASSERT_TRUE(poll_until([&] { return !read_file(dir / "stubborn.log").empty(); })); // the trap is set
    EXPECT_EQ(stubborn.terminate(100ms), 128 + SIGKILL);
    EXPECT_THROW(tool::ChildProcess(dir / "missing-program", {}, dir / "missing.log"), std::runtime_error);
#endif
}

// Into a pipe a phase is printed when it changes and again after a while; on a terminal the live line
// is cut to the width less one column.
TEST(DemoProgress, APipeGetsPhaseChangesAndRepeatsATerminalALineWithinItsWidth) {
    const auto start = tool::DemoProgress::Clock::time_point{} + 1h;
    std::ostringstream out;
    tool::DemoProgress progress(out, false, 80, start);
    for (const auto& [phase, ms] :
         {std::pair{"enabling", 1200}, {"enabling", 2200}, {"enabling", 5300}, {"following", 5400}})
        progress.status(phase, "detail", start + std::chrono::milliseconds(ms));
    EXPECT_EQ(std::ranges::count(out.str(), '\n'), 3) << out.str();
    out.str("");
    tool::DemoProgress live(out, true, 40, start);
    live.status("stale", std::string(100, 'x'), start + 1s);
    EXPECT_EQ(std::regex_replace(out.str(), std::regex("\r|\x1b\\[[0-9]*[A-Za-z]"), "").size(), 39u);
}

// The whole demo as README runs it, with the shorter following phase: two games and a full session.
TEST(DemoProcess, AWholeSessionGoesAsExpectedAndLeavesThePlot) {
    const fs::path root = scratch_dir("demo"), dir = root / "demo";
    const int status =
        tool::ChildProcess(fs::path(KORVATH_TOOLS_DIR) / ("korvath-session" KORVATH_EXECUTABLE_SUFFIX),
                           {"demo", "--quick", "--dir", dir.string()}, root / "output.txt")
            .wait();
    const std::string output = read_file(root / "output.txt");
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
