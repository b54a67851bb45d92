// The two-client demo of korvath-session: its plot writer, its readers of the world logs and reports,
// its verdict, and one whole run.

#include "support/test_support.hpp"
#include "tools/session/command_line.hpp"
#include "tools/session/demo_summary.hpp"
#include "tools/session/follow_distance.hpp"
#include "tools/session/plot_scale.hpp"
#include "tools/session/svg_plot.hpp"
#include "tools/session/svg_writer.hpp"
#include "tools/session/world_trace.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <numbers>
#include <sstream>
#include <sys/wait.h>

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;
using ::testing::HasSubstr;

// Checks what a browser needs of the XML: one root, every element closed in order, quoted attributes,
// and no bare "<" or "&" in text. Returns the problem, or nothing.
auto xml_problem(const std::string& xml) -> std::string {
    std::vector<std::string> open;
    int roots = 0;
    const auto is_entity = [&](std::size_t at) {
        for (const std::string_view entity : {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"})
            if (std::string_view(xml).substr(at, entity.size()) == entity)
                return true;
        return false;
    };
    for (std::size_t at = 0; at < xml.size(); ++at) {
        if (xml[at] == '&' && !is_entity(at))
            return "bare & at " + std::to_string(at);
        if (xml[at] != '<')
            continue;
        const std::size_t end = xml.find('>', at);
        if (end == std::string::npos)
            return "unclosed tag at " + std::to_string(at);
        const std::string tag = xml.substr(at + 1, end - at - 1);
        at = end;
        if (tag.starts_with("?"))
            continue;
        if (tag.find('<') != std::string::npos || std::count(tag.begin(), tag.end(), '"') % 2 != 0)
            return "bad tag <" + tag + ">";
        if (tag.starts_with("/")) {
            if (open.empty() || open.back() != tag.substr(1))
                return "</" + tag.substr(1) + "> closes " + (open.empty() ? "nothing" : open.back());
            open.pop_back();
            continue;
        }
        if (open.empty() && ++roots > 1)
            return "second root";
        if (!tag.ends_with("/"))
            open.push_back(tag.substr(0, tag.find(' ')));
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
    EXPECT_THAT(xml, HasSubstr(R"(width="120" height="80.5" viewBox="0 0 120 80.5")"));
    EXPECT_THAT(xml, HasSubstr("font-family=\"&apos;Segoe UI&apos;, sans-serif\""));
    EXPECT_THAT(xml, HasSubstr(">a &lt; b &amp;&amp; c &gt; d</text>"));
    EXPECT_THAT(xml, HasSubstr("<rect width=\"5\"/>"));

    const std::pair<double, std::string> numbers[] = {{12.0, "12"},
                                                      {0.126, "0.13"},
                                                      {-0.001, "0"},
                                                      {-3.5, "-3.5"},
                                                      {std::numeric_limits<double>::infinity(), "0"}};
    for (const auto& [value, text] : numbers)
        EXPECT_EQ(tool::svg_number(value), text) << value;
}

TEST(DemoPlotScale, MapsEndsOntoTheRangeAndPicksRoundTicks) {
    const tool::LinearScale y{-600, 900, 700, 100}; // an SVG y axis runs downwards
    EXPECT_DOUBLE_EQ(y.map(-600), 700);
    EXPECT_DOUBLE_EQ(y.map(900), 100);
    EXPECT_DOUBLE_EQ(y.map(150), 400);
    EXPECT_DOUBLE_EQ((tool::LinearScale{5, 5, 0, 10}.map(123)), 5); // empty domain: the middle

    struct Case {
        double low, high;
        int count;
        double step, tickLow, tickHigh;
    };
    const Case cases[] = {
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
    tool::PlotPanel map;
    map.title = "A & B";
    map.xLabel = "x (units)";
    map.yLabel = "y (units)";
    map.equalScale = true;
    map.width = 500;
    map.height = 700; // taller than wide: the y axis must be widened, not the circle stretched
    tool::PlotSeries circle{"A's <path>", "#2563eb", {}, 2.0, 1.0, false};
    for (int step = 0; step <= 72; ++step)
        circle.points.push_back({600 * std::cos(step * std::numbers::pi / 36),
                                 600 * std::sin(step * std::numbers::pi / 36) + 400});
    map.series.push_back(circle);
    map.markers.push_back({"B \"stands\"", "#16a34a", {0, 800}});
    tool::PlotPanel chart;
    chart.left = 500;
    chart.yFromZero = true;
    chart.series.push_back({"distance", "#ea580c", {{0, 80}, {10, 90}}, 2.0, 1.0, true});
    chart.bands.push_back({"following", "#dcfce7", 2, 8});
    chart.events.push_back({"kill switch", "#475569", 9.5});

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
    const std::string log =
        "0.100\tBP_PlayerController_C "
        "/Game/Maps/Map_A.Map_A:PersistentLevel.C_0\tBP_PlayerController_C\t0\t0\t0\t0\t0\t1\t1\t1\n"
        "0.100\tBP_PlayerCharacter_C "
        "/Game/Maps/Map_A.Map_A:PersistentLevel.P_0\tBP_PlayerCharacter_C\t1.5\t2\t100\t0\t0\t1\t1\t1\n"
        "0.200\tBP_PlayerCharacter_C "
        "/Game/Maps/Map_A.Map_A:PersistentLevel.P_0\tBP_PlayerCharacter_C\t3\t4\t100\t0\t0\t1\t1\t1\n"
        "0.200\tBP_PlayerCharacter_C "
        "/Game/Maps/Map_A.Map_A:PersistentLevel.P_9\tBP_PlayerCharacter_C\t-7\t8\t90\t0\t0\t0\t0\t1\n"
        "0.300\tBP_PlayerCharacter_C "
        "/Game/Maps/Map_A.Map_A:PersistentLevel.P_9\tBP_PlayerCharacter_C\t-7\t8\t90\t0\t0\t0\t0\t0\n"
        "0.300\tBP_PlayerCharacter_C broken\tBP_PlayerCharacter_C\tx\t8\t90\t0\t0\t0\t0\t1\n"
        "0.400\tBP_PlayerCharacter_C /Game/Maps/Map_A.Map_A:PersistentLevel.P_0\tBP_Player";
    tool::WorldTrace trace;
    for (std::size_t at = 0; at < log.size(); at += 37)
        trace.feed(std::string_view(log).substr(at, 37));
    ASSERT_EQ(trace.pawn().size(), 2u); // the last line has not ended yet
    EXPECT_EQ(trace.pawn()[1].seconds, 0.2);
    EXPECT_EQ(trace.pawn()[1].x, 3.0);
    ASSERT_EQ(trace.proxy().size(), 1u) << "a destroyed proxy (alive 0) and a broken line are no samples";
    EXPECT_EQ(trace.proxy()[0].x, -7.0);
    EXPECT_EQ(trace.proxy()[0].z, 90.0);

    const fs::path file = scratch_dir("trace") / "world.tsv";
    write_file(file, log.substr(0, log.find("0.200")));
    tool::WorldTrace fromFile;
    EXPECT_TRUE(fromFile.read_more(file));
    write_file(file, log);
    EXPECT_TRUE(fromFile.read_more(file));
    EXPECT_EQ(fromFile.pawn().size(), 2u);
    EXPECT_EQ(fromFile.proxy().size(), 1u);
    EXPECT_FALSE(fromFile.read_more(file.parent_path() / "missing.tsv"));
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
    ASSERT_EQ(distances.size(), 3u);
    EXPECT_DOUBLE_EQ(distances[0].distance, 150.0);
    EXPECT_DOUBLE_EQ(distances[1].distance, 200.0);
    EXPECT_DOUBLE_EQ(distances[2].seconds, 12.0);
    EXPECT_DOUBLE_EQ(distances[2].distance, 300.0);

    const auto stats = tool::follow_stats(distances, 11.0, 12.0);
    EXPECT_EQ(stats.count, 2u);
    EXPECT_DOUBLE_EQ(stats.mean, 250.0);
    EXPECT_DOUBLE_EQ(stats.max, 300.0);
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
    EXPECT_TRUE(b.proxySpawned);
    EXPECT_EQ(b.remotePlayer, "\"KESTREN CLIENT A\" (player-a, Map_A)");
    EXPECT_EQ(b.moves, 258u);
    EXPECT_TRUE(b.proxyDestroyed);
    EXPECT_EQ(b.destroyReason, "remote-player-stale");
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

TEST(DemoCommandLine, OptionsParseAndMistakesAreNamed) {
    auto parse = [](std::vector<std::string_view> args) { return tool::parse_command_line(args); };
    const auto plain = parse({"demo"});
    EXPECT_EQ(plain.kind, tool::CommandKind::Demo);
    EXPECT_FALSE(plain.demo.dir || plain.demo.keep || plain.demo.quick);
    const auto full = parse({"demo", "--keep", "--dir=/tmp/d", "--quick"});
    EXPECT_EQ(full.demo.dir, fs::path("/tmp/d"));
    EXPECT_TRUE(full.demo.keep && full.demo.quick);
    EXPECT_EQ(parse({"demo", "--dir", "x", "--help"}).kind, tool::CommandKind::DemoHelp);
    for (const auto& [args, message] : std::vector<std::pair<std::vector<std::string_view>, std::string>>{
             {{"demo", "A"}, "demo takes no arguments besides its options, got 'A'"},
             {{"demo", "--hz", "5"}, "unknown demo option '--hz'"},
             {{"demo", "--dir"}, "option --dir needs a directory"},
             {{"demo", "--dir", "a", "--dir", "b"}, "option --dir given twice"},
             {{"demo", "--keep=yes"}, "option --keep takes no value"}}) {
        try {
            tool::parse_command_line(args);
            ADD_FAILURE() << "accepted: " << message;
        } catch (const tool::UsageError& error) {
            EXPECT_THAT(error.what(), HasSubstr(message));
        }
    }
}

// The whole demo as README runs it: two games, a full session, about 30 s.
TEST(DemoProcess, AWholeSessionGoesAsExpectedAndLeavesThePlot) {
    const fs::path dir = scratch_dir("demo");
    const std::string command =
        "'" KORVATH_TOOLS_DIR "/korvath-session' demo --dir '" + dir.string() + "' 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string output;
    char buffer[4096];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe))
        output.append(buffer, count);
    const int status = pclose(pipe);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << output;
    EXPECT_THAT(output, HasSubstr("Demo passed"));
    EXPECT_THAT(output, HasSubstr("A destroyed its proxy of B as \"kill-switch\""));
    EXPECT_THAT(output, HasSubstr("B destroyed its proxy of A as \"remote-player-stale\""));
    EXPECT_EQ(output.find("\x1b["), std::string::npos) << "no screen control into a pipe";
    ASSERT_TRUE(fs::exists(dir / "demo.svg"));
    EXPECT_EQ(xml_problem(read_file(dir / "demo.svg")), "");
    EXPECT_FALSE(fs::exists(dir / "client-a")) << "the game folders go without --keep";
    EXPECT_TRUE(fs::exists(dir / "client-b.world.tsv"));
}

} // namespace
} // namespace korvath::test
