// The two-client demo of korvath-session: its directory, the processes it owns, its live display, its
// plot writer, its readers of the world logs and reports, its verdict, and one whole run.

#include "support/test_support.hpp"
#include "tools/session/child_process.hpp"
#include "tools/session/demo_progress.hpp"
#include "tools/session/demo_setup.hpp"
#include "tools/session/demo_summary.hpp"
#include "tools/session/follow_distance.hpp"
#include "tools/session/plot_scale.hpp"
#include "tools/session/svg_plot.hpp"
#include "tools/session/svg_writer.hpp"
#include "tools/session/world_trace.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <numbers>
#include <regex>
#include <sstream>
#include <sys/wait.h>
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
        if (xml[at] != '<')
            continue;
        const std::size_t end = xml.find('>', at);
        const std::string tag = xml.substr(at + 1, end - at - 1);
        if (end == std::string::npos || tag.find('<') != std::string::npos ||
            std::ranges::count(tag, '"') % 2)
            return "bad tag at " + std::to_string(at);
        at = end;
        if (tag.starts_with("/")) {
            if (open.empty() || open.back() != tag.substr(1))
                return "misplaced <" + tag + ">";
            open.pop_back();
        } else if (!tag.starts_with("?")) {
            if (open.empty() && ++roots > 1)
                return "second root";
            if (!tag.ends_with("/"))
                open.push_back(tag.substr(0, tag.find(' ')));
        }
    }
    return open.empty() && roots == 1 ? "" : "unbalanced document";
}

TEST(DemoSvgWriter, EscapesTextAndAttributesAndClosesEverything) {
    EXPECT_EQ(tool::xml_escape(R"(B's <proxy> & "A")"), "B&apos;s &lt;proxy&gt; &amp; &quot;A&quot;");
    tool::SvgWriter svg(120, 80.5);
    svg.open("g", {{"font-family", "'Segoe UI', sans-serif"}});
    svg.leaf("text", {{"x", "1"}}, "a < b && c > d");
    svg.leaf("rect", {{"width", "5"}});
    const std::string xml = svg.finish(); // the <g> is still open
    EXPECT_EQ(xml_problem(xml), "") << xml;
    for (const char* text :
         {R"(width="120" height="80.5" viewBox="0 0 120 80.5")", "<rect width=\"5\"/>",
          "font-family=\"&apos;Segoe UI&apos;, sans-serif\"", ">a &lt; b &amp;&amp; c &gt; d</text>"})
        EXPECT_THAT(xml, HasSubstr(text));

    const std::pair<double, std::string> numbers[] = {
        {12.0, "12"}, {0.126, "0.13"}, {-0.001, "0"}, {-3.5, "-3.5"}, {HUGE_VAL, "0"}};
    for (const auto& [value, text] : numbers)
        EXPECT_EQ(tool::svg_number(value), text) << value;
}

TEST(DemoPlotScale, MapsEndsOntoTheRangeAndPicksRoundTicks) {
    const tool::LinearScale y{-600, 900, 700, 100}; // an SVG y axis runs downwards
    EXPECT_EQ(std::make_tuple(y.map(-600), y.map(900), y.map(150)), std::make_tuple(700.0, 100.0, 400.0));
    EXPECT_DOUBLE_EQ((tool::LinearScale{5, 5, 0, 10}.map(123)), 5); // empty domain: the middle

    struct {
        double low, high;
        int count;
        double step, tickLow, tickHigh;
    } const cases[] = {
        {0, 29.7, 5, 10, 0, 30},       {0, 1137, 6, 200, 0, 1200}, {-612, 618, 5, 500, -1000, 1000},
        {0.01, 0.09, 4, 0.02, 0, 0.1}, {7, 7, 4, 0.5, 6, 8},       {10, 0, 5, 2, 0, 10}};
    for (const auto& c : cases) {
        const auto ticks = tool::nice_ticks(c.low, c.high, c.count);
        EXPECT_DOUBLE_EQ(ticks.step, c.step) << c.low << ".." << c.high;
        EXPECT_DOUBLE_EQ(ticks.low, c.tickLow) << c.low << ".." << c.high;
        EXPECT_NEAR(ticks.high, c.tickHigh, 1e-9) << c.low << ".." << c.high;
        EXPECT_NEAR(ticks.values.back(), ticks.high, 1e-9);
        EXPECT_EQ(ticks.values.size(),
                  static_cast<std::size_t>(std::lround((ticks.high - ticks.low) / ticks.step)) + 1);
    }
    EXPECT_EQ(tool::tick_label(1000, 200), "1000");
    EXPECT_EQ(tool::tick_label(0.30000000000000004, 0.1), "0.3");
    EXPECT_EQ(tool::tick_label(-1e-17, 0.02), "0.00");
}

// The pixel extents of the first polyline in `xml`.
auto polyline_extent(const std::string& xml) -> std::pair<double, double> {
    const std::size_t start = xml.find("<polyline points=\"") + 18;
    std::istringstream points(xml.substr(start, xml.find('"', start) - start));
    double minX = 1e9, maxX = -1e9, minY = 1e9, maxY = -1e9, x, y;
    char comma;
    while (points >> x >> comma >> y) {
        minX = std::min(minX, x), maxX = std::max(maxX, x);
        minY = std::min(minY, y), maxY = std::max(maxY, y);
    }
    return {maxX - minX, maxY - minY};
}

TEST(DemoSvgPlot, AMapKeepsOneScaleOnBothAxesAndEveryLabelIsEscaped) {
    tool::PlotPanel map, chart;
    map.title = "A & B";
    map.equalScale = true;
    map.width = 500,
    map.height = 700; // taller than wide: the y axis must be widened, not the circle stretched
    map.series = {{"A's <path>", "#2563eb", {}, 2.0, 1.0, false}};
    for (int step = 0; step <= 72; ++step)
        map.series[0].points.push_back({600 * std::cos(step * std::numbers::pi / 36),
                                        600 * std::sin(step * std::numbers::pi / 36) + 400});
    map.markers = {{"B \"stands\"", "#16a34a", {0, 800}}};
    chart.left = 500, chart.yFromZero = true;
    chart.series = {{"distance", "#ea580c", {{0, 80}, {10, 90}}, 2.0, 1.0, true}};
    chart.bands = {{"following", "#dcfce7", 2, 8}};
    chart.events = {{"kill switch", "#475569", 9.5}};

    const std::string xml = tool::render_svg_plot({"Demo <1>", "sub & title", 1000, 720, {map, chart}, {}});
    ASSERT_EQ(xml_problem(xml), "") << xml;
    const auto [width, height] = polyline_extent(xml);
    EXPECT_NEAR(width, height, 1.0);
    EXPECT_GT(width, 300.0);
    for (const char* text :
         {">Demo &lt;1&gt;<", ">sub &amp; title<", ">A &amp; B<", ">A&apos;s &lt;path&gt;<",
          ">B &quot;stands&quot;<", ">following<", ">kill switch<", "stroke-dasharray=\"7 5\""})
        EXPECT_THAT(xml, HasSubstr(text));
}

TEST(DemoWorldTrace, LinesSplitAcrossReadsGiveThePawnAndTheLivingProxy) {
    const std::string pawn =
        "\tBP_PlayerCharacter_C /Game/Maps/Map_A.Map_A:PersistentLevel.P_0\tBP_PlayerCharacter_C\t";
    const std::string proxy =
        "\tBP_PlayerCharacter_C /Game/Maps/Map_A.Map_A:PersistentLevel.P_9\tBP_PlayerCharacter_C\t";
    const std::string log =
        "0.100\tBP_PlayerController_C "
        "/Game/Maps/Map_A.Map_A:PersistentLevel.C_0\tBP_PlayerController_C\t0\t0\t0\t0\t0"
        "\t1\t1\t1\n0.100" +
        pawn + "1.5\t2\t100\t0\t0\t1\t1\t1\n0.200" + pawn + "3\t4\t100\t0\t0\t1\t1\t1\n0.200" + proxy +
        "-7\t8\t90\t0\t0\t0\t0\t1\n0.300" + proxy + "-7\t8\t90\t0\t0\t0\t0\t0\n" +
        "0.300\tBP_PlayerCharacter_C broken\tBP_PlayerCharacter_C\tx\t8\t90\t0\t0\t0\t0\t1\n0.400" + pawn;
    tool::WorldTrace trace;
    for (std::size_t at = 0; at < log.size(); at += 37)
        trace.feed(std::string_view(log).substr(at, 37));
    ASSERT_EQ(trace.pawn().size(), 2u); // the last line has not ended yet
    EXPECT_EQ(std::tie(trace.pawn()[1].seconds, trace.pawn()[1].x), std::make_tuple(0.2, 3.0));
    ASSERT_EQ(trace.proxy().size(), 1u) << "a destroyed proxy (alive 0) and a broken line are no samples";
    EXPECT_EQ(std::tie(trace.proxy()[0].x, trace.proxy()[0].z), std::make_tuple(-7.0, 90.0));
}

TEST(DemoFollowDistance, TracksOfTwoClocksMeetOnOneTimeLine) {
    const std::vector<tool::TraceSample> leader{{0.0, 0, 0, 100}, {1.0, 300, 0, 100}, {2.0, 300, 400, 100}};
    const std::vector<tool::TraceSample> follower{
        {0.0, 0, 0, 100}, {0.5, 100, 0, 100}, {1.5, 300, 100, 100}, {9.0, 0, 0, 100}};
    const tool::TimedTrack lead{&leader, 10.0}; // started 10 s into the demo
    EXPECT_FALSE(tool::position_at(lead, 9.99));
    EXPECT_FALSE(tool::position_at(lead, 12.01));
    EXPECT_DOUBLE_EQ(tool::position_at(lead, 10.5)->x, 150.0);
    EXPECT_DOUBLE_EQ(tool::position_at(lead, 11.0)->x, 300.0);
    EXPECT_DOUBLE_EQ(tool::position_at(lead, 11.75)->y, 300.0);

    // The follower started 0.5 s after the leader: its samples lie at 10.5, 11, 12 and 19.5.
    const auto distances = tool::follow_distances(lead, {&follower, 10.5});
    std::vector<std::pair<double, double>> seen;
    for (const auto& sample : distances)
        seen.emplace_back(sample.seconds, sample.distance);
    EXPECT_EQ(seen, (std::vector<std::pair<double, double>>{{10.5, 150}, {11, 200}, {12, 300}}));

    const auto stats = tool::follow_stats(distances, 11.0, 12.0);
    EXPECT_EQ(std::tie(stats.count, stats.mean, stats.max), std::make_tuple(2u, 250.0, 300.0));
    EXPECT_EQ(tool::follow_stats(distances, 13.0, 14.0).count, 0u);
}

// Reports as the mod writes them after a good session of CLIENT_B.
auto good_reports() -> tool::ClientReports {
    return {
        "running=1\nunrealReady=1\nsessionEnabled=1\nproxyActive=0\nremoteFresh=0\nmovementUpdates=258\n"
        "testFailed=0\nclientRole=CLIENT_B\nclientBSpawnAdjusted=1\n",
        "phase=5G\nproxyActor=spawned\nproxyClass=BP_PlayerCharacter_C\nremotePlayerId=player-a\n"
        "remoteDisplayName=KESTREN CLIENT A\nremoteMap=Map_A\nvisibleRequested=1\n",
        "phase=5G\nproxyDestroyRequested=1\nproxyDestroyCallReturned=1\ndestroyReason=remote-player-stale\n",
        "phase=5G.3\nclientRole=CLIENT_B\nlocalPawnMoved=1\noriginalX=0\noriginalY=0\noriginalZ=100\n"
        "destinationX=6.99382e-05\ndestinationY=800\ndestinationZ=110\nseparationDistance=800\n",
        std::nullopt};
}

TEST(DemoSummary, ReportsTellWhatEachClientDid) {
    const auto b = tool::summarize_client("B", good_reports());
    EXPECT_TRUE(b.movedAside);
    EXPECT_EQ(b.moveAsideText, "(0, 0, 100) -> (6.99382e-05, 800, 110)");
    EXPECT_FALSE(b.error);
    EXPECT_EQ(
        tool::proxy_text(b),
        "proxy of \"KESTREN CLIENT A\" (player-a, Map_A) spawned, 258 moves, destroyed: remote-player-stale");

    auto failed = good_reports();
    failed.error = "Movement call threw an unknown exception.\n";
    EXPECT_EQ(tool::summarize_client("B", failed).error, "Movement call threw an unknown exception.");
    failed.error.reset();
    failed.heartbeat = "running=1\nmovementUpdates=1\ntestFailed=1\n"; // the error report not yet seen
    EXPECT_EQ(tool::summarize_client("B", failed).error, "the heartbeat shows testFailed=1");
    EXPECT_THAT(tool::proxy_text(tool::summarize_client("B", failed)),
                HasSubstr("spawned, 1 move, destroyed"));

    const auto nothing = tool::summarize_client("A", {});
    EXPECT_FALSE(nothing.proxySpawned || nothing.proxyDestroyed || nothing.movedAside || nothing.error);
    EXPECT_EQ(tool::proxy_text(nothing), "no proxy spawned");
}

TEST(DemoSummary, EveryDeviationFromTheExpectedSessionIsNamed) {
    auto aReports = good_reports();
    aReports.clientSpawn.reset();
    aReports.destroy =
        "phase=5G\nproxyDestroyRequested=1\nproxyDestroyCallReturned=1\ndestroyReason=kill-switch\n";
    const auto a = tool::summarize_client("A", aReports);
    const auto b = tool::summarize_client("B", good_reports());
    const tool::FollowStats follow{200, 80.0, 160.0};
    EXPECT_THAT(tool::demo_problems(a, b, follow, {}), ::testing::IsEmpty());

    using Mutation = std::function<void(tool::ClientSummary&, tool::ClientSummary&, tool::FollowStats&)>;
    const std::pair<Mutation, std::string> cases[] = {
        {[](auto&, auto& b2, auto&) { b2.movedAside = false; }, "B did not move its pawn aside"},
        {[](auto& a2, auto&, auto&) { a2.proxySpawned = false; }, "A's proxy was never spawned"},
        {[](auto&, auto& b2, auto&) { b2.moves = 0; }, "B's proxy never moved"},
        {[](auto& a2, auto&, auto&) { a2.proxyDestroyed = false; }, "A's proxy was not destroyed"},
        {[](auto& a2, auto&, auto&) { a2.destroyReason = "remote-player-stale"; },
         "A's proxy was destroyed as \"remote-player-stale\", expected \"kill-switch\""},
        {[](auto&, auto& b2, auto&) { b2.destroyReason = "kill-switch"; },
         "expected \"remote-player-stale\""},
        {[](auto&, auto& b2, auto&) { b2.error = "UWorld::SpawnActor returned null."; },
         "B reported an error: UWorld::SpawnActor returned null."},
        {[](auto&, auto&, auto& f) { f.count = 0; }, "no distance between A's pawn and B's proxy of A"},
        {[](auto&, auto&, auto& f) { f.max = 500.5; },
         "fell up to 500 units behind A's pawn while following (limit 500)"},
    };
    for (const auto& [mutate, expected] : cases) {
        auto a2 = a, b2 = b;
        auto f = follow;
        mutate(a2, b2, f);
        const auto problems = tool::demo_problems(a2, b2, f, {});
        ASSERT_EQ(problems.size(), 1u) << expected;
        EXPECT_THAT(problems[0], HasSubstr(expected));
    }
}

// Polls until `done` holds, for at most five seconds.
auto poll_until(const std::function<bool()>& done) -> bool {
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (!done() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    return done();
}

TEST(DemoSetup, UsesAnEmptyOrEarlierDemoDirectoryAndRefusesAnyOther) {
    const fs::path root = scratch_dir("demo-dir");
    const fs::path fresh = tool::prepare_demo_dir(root / "new" / "demo");
    EXPECT_TRUE(fs::is_directory(fresh));

    write_file(fresh / "demo.svg", "<svg/>");
    fs::create_directories(fresh / "client-a" / "KorvathOnline");
    write_file(fresh / "client-a" / "KorvathOnline" / "phase5g.stop.txt", ""); // would block the next session
    EXPECT_EQ(tool::prepare_demo_dir(fresh), fresh);
    EXPECT_FALSE(fs::exists(fresh / "client-a"));
    EXPECT_FALSE(fs::exists(fresh / "demo.svg"));

    write_file(root / "mine" / "notes.txt", "keep me");
    EXPECT_THROW(tool::prepare_demo_dir(root / "mine"), std::runtime_error);
    EXPECT_EQ(read_file(root / "mine" / "notes.txt"), "keep me");
}

TEST(DemoChildProcess, OutputGoesToTheLogAndAStubbornProcessIsKilled) {
    const fs::path dir = scratch_dir("child");
    tool::ChildProcess talker("/bin/sh", {"-c", "echo out; echo err >&2; exit 3"}, dir / "talker.log");
    EXPECT_TRUE(poll_until([&] { return talker.poll().has_value(); }));
    EXPECT_EQ(talker.poll(), 3);
    EXPECT_EQ(talker.terminate(5s), 3) << "an ended process keeps its status";
    EXPECT_EQ(read_file(dir / "talker.log"), "out\nerr\n");

    // Ignores SIGTERM: killed once the grace time is over, and its status tells so.
    tool::ChildProcess stubborn("/bin/sh", {"-c", "trap '' TERM; echo ready; while :; do sleep 1; done"},
                                dir / "stubborn.log");
    ASSERT_TRUE(poll_until([&] { return !read_file(dir / "stubborn.log").empty(); })); // the trap is set
    EXPECT_EQ(stubborn.terminate(100ms), 128 + SIGKILL);
    EXPECT_EQ(stubborn.poll(), 128 + SIGKILL);

    EXPECT_THROW(tool::ChildProcess(dir / "missing-program", {}, dir / "missing.log"), std::runtime_error);
}

TEST(DemoProgress, APipeGetsEventsAndPhaseChangesLineByLine) {
    const auto start = tool::DemoProgress::Clock::time_point{} + 1h;
    std::ostringstream out;
    tool::DemoProgress progress(out, false, 80, start);
    progress.event("both engines ready", start + 1100ms);
    progress.status("enabling", "A in ~5 s", start + 1200ms);
    progress.status("enabling", "A in ~4 s", start + 2200ms); // same phase, soon after: not printed
    progress.status("enabling", "A in ~1 s", start + 5300ms); // same phase, 4 s later: printed again
    progress.status("following", "B's proxy 80 units behind", start + 5400ms);
    progress.line("Summary");
    EXPECT_EQ(out.str(), "[  1.1 s] both engines ready\n"
                         "[  1.2 s]   enabling: A in ~5 s\n"
                         "[  5.3 s]   enabling: A in ~1 s\n"
                         "[  5.4 s]   following: B's proxy 80 units behind\n"
                         "Summary\n");
}

TEST(DemoProgress, ATerminalRedrawsOneLiveLineUnderTheEvents) {
    const auto start = tool::DemoProgress::Clock::time_point{} + 1h;
    std::ostringstream out;
    tool::DemoProgress progress(out, true, 40, start);
    progress.status("stale", "no rows to B for 1.0 s; a long detail that does not fit", start + 1s);
    const std::string live = out.str();
    EXPECT_EQ(live.substr(0, 6), "\r\x1b[2K[");
    EXPECT_THAT(live, HasSubstr("\x1b[1mstale\x1b[0m: no rows"));
    EXPECT_EQ(live.size(), std::string("\r\x1b[2K").size() + 39 + std::string("\x1b[1m\x1b[0m").size())
        << "cut to the width, less one column";
    out.str("");
    progress.event("B destroyed its proxy of A", start + 2s);
    const std::string text = out.str();
    const std::size_t end = text.find('\n') + 1;
    EXPECT_EQ(text.substr(0, end), "\r\x1b[2K[  2.0 s] B destroyed its proxy of A\n");
    EXPECT_THAT(text.substr(end), HasSubstr("stale")) << "the live line comes back under the event";
    out.str("");
    progress.finish();
    EXPECT_EQ(out.str(), "\r\x1b[2K");
}

// The whole demo as README runs it, with the shorter following phase: two games and a full session.
TEST(DemoProcess, AWholeSessionGoesAsExpectedAndLeavesThePlot) {
    const fs::path root = scratch_dir("demo"), dir = root / "demo";
    const int status = std::system(("'" KORVATH_TOOLS_DIR "/korvath-session' demo --quick --dir '" +
                                    dir.string() + "' >'" + (root / "output.txt").string() + "' 2>&1")
                                       .c_str());
    const std::string output = read_file(root / "output.txt");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << output;
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
