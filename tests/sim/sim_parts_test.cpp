// The pieces of korvath-sim that run without a process: command line, walker and world set-up. Its hook
// guard is exercised by the engine-fault soak runs, where every engine call raises in turn.

#include "support/test_support.hpp"

#include "Unreal/UnrealVersion.hpp"
#include "standin/Engine.hpp"
#include "tools/sim/options.hpp"
#include "tools/sim/simulated_world.hpp"
#include "tools/sim/walker.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace korvath::test {
namespace {

using sim::ParsedCommandLine;
using ::testing::HasSubstr;

auto parse(std::vector<const char*> args) -> ParsedCommandLine {
    return sim::parse_command_line(args);
}

TEST(SimOptions, EveryFlagTakesBothSpellings) {
    const auto parsed = parse({"--game-dir=/games/a/../b", "--tick-ms", "2.5", "--ready-after=never",
                               "--process-event-hz", "0", "--duration", "0.5", "--pawn", "1,-2,3.5,90",
                               "--engine", "4.27", "--walk", "waypoints:1,2;3,4@50", "--no-local-state",
                               "--fail", "controller=throw-unknown@3", "--fail=spawn=missing"});
    ASSERT_EQ(parsed.action, ParsedCommandLine::Action::Run) << parsed.text;
    const sim::SimOptions& o = parsed.options;
    EXPECT_EQ(o.gameDir, fs::absolute("/games/b"));
    EXPECT_EQ(std::tie(o.tickMs, o.processEventHz, o.pawn.y, o.pawn.yaw, o.walk.speed),
              std::make_tuple(2.5, 0.0, -2.0, 90.0, 50.0));
    EXPECT_FALSE(o.readyAfterSeconds || o.writeLocalState);
    EXPECT_EQ(std::tie(o.engineMajor, o.engineMinor), std::make_tuple(4, 27));
    EXPECT_EQ(o.walk.waypoints.size(), 2u);
    ASSERT_EQ(o.faults.size(), 2u);
    EXPECT_EQ(o.faults[0].op, standin::Op::Controller);
    EXPECT_EQ(o.faults[0].fault.mode, standin::FaultMode::ThrowUnknown);
    EXPECT_EQ(std::tie(o.faults[0].fault.fromCall, o.faults[1].fault.fromCall), std::make_tuple(3u, 1u));
}

// Each bad argument ("FLAG[ VALUE]") is named in the error by its flag (a flag given a value, without its
// dashes).
TEST(SimOptions, BadArgumentsAreNamed) {
    for (const std::string bad :
         {"--tick-ms 0", "--tick-ms", "--duration 1s", "--duration nan", "--pawn 1,2,3",
          "--process-event-hz 2000000", "--engine 6.0", "--walk waypoints:1,2;3", "--fail laser=throw",
          "--no-local-state=1", "stray"}) {
        const std::size_t blank = bad.find(' ');
        const std::string flag = bad.substr(0, blank), value = blank == bad.npos ? "" : bad.substr(blank + 1);
        std::vector<const char*> args{"--game-dir", "/g", flag.c_str()};
        if (blank != bad.npos)
            args.push_back(value.c_str());
        const auto parsed = parse(args);
        EXPECT_EQ(parsed.action, ParsedCommandLine::Action::Error) << bad;
        EXPECT_THAT(parsed.text, HasSubstr(flag.substr(flag.find_first_not_of('-'), flag.find('=') - 2)));
    }
    EXPECT_THAT(parse({"--duration", "1"}).text, HasSubstr("--game-dir"));
    EXPECT_EQ(parse({"--tick-ms", "0", "--help"}).action, ParsedCommandLine::Action::Help);
    EXPECT_EQ(parse({"--version"}).action, ParsedCommandLine::Action::Version);
}

// Walks `seconds` in steps of 1/60 s and returns where the displacements lead from `from`.
auto walk(sim::Walker& walker, sim::Point2 from, double seconds, std::optional<double>* lastYaw = nullptr)
    -> sim::Point2 {
    const int frames = static_cast<int>(std::lround(seconds * 60));
    for (int i = 0; i < frames; ++i) {
        const sim::WalkStep step = walker.advance(1.0 / 60);
        from.x += step.dx, from.y += step.dy;
        if (lastYaw)
            *lastYaw = step.yaw;
    }
    return from;
}

TEST(SimWalker, CircleWalksOutToTheRimThenRoundTheStartCounterClockwise) {
    sim::Walker walker({sim::WalkPlan::Kind::Circle, 100, 100, {}}, {10, 20});
    const sim::WalkStep out = walker.advance(1 + std::numbers::pi / 2); // out to the rim, a quarter turn
    sim::Point2 at{10 + out.dx, 20 + out.dy};
    EXPECT_NEAR(std::hypot(at.x - 10, at.y - 120), 0, 1e-9);
    std::optional<double> yaw;
    at = walk(walker, at, 20 * std::numbers::pi, &yaw); // ten laps more: no drift off the circle
    EXPECT_NEAR(std::hypot(at.x - 10, at.y - 20), 100, 1e-6);
    EXPECT_NEAR(std::cos(*yaw * std::numbers::pi / 180), -1, 1e-2) << "along the tangent";
}

TEST(SimWalker, WaypointsLoopFromTheLastBackToTheFirstAndAPathStopsOnItsEnd) {
    sim::Walker walker({sim::WalkPlan::Kind::Waypoints, 0, 100, {{100, 0}, {100, 100}}}, {0, 0});
    std::optional<double> yaw;
    const double expected[][3] = {{100, 0, 0}, {100, 100, 90}, {100, 0, -90}, {100, 100, 90}};
    sim::Point2 at{0, 0};
    for (const auto& leg : expected) {
        at = walk(walker, at, 1.0, &yaw);
        EXPECT_NEAR(std::hypot(at.x - leg[0], at.y - leg[1]), 0, 1e-6);
        EXPECT_NEAR(*yaw, leg[2], 1e-6);
    }
    std::string error;
    const auto path = sim::parse_walk_plan("path:100,0;100,100@100", error);
    ASSERT_TRUE(path) << error;
    sim::Walker once(*path, {0, 0});
    const sim::Point2 end = walk(once, {0, 0}, 5.0);
    EXPECT_NEAR(std::hypot(end.x - 100, end.y - 100), 0, 1e-9);
    EXPECT_FALSE(once.advance(1.0).yaw);
}

TEST(SimWorld, SetUpAppliesEngineVersionPawnMapClassAndFaults) {
    HostFixture host;
    const auto parsed = parse({"--game-dir", "/g", "--engine", "4.27", "--pawn", "1,2,3,45", "--map", "Map_B",
                               "--fail", "controller=missing@2"});
    const standin::GameWorld world = sim::set_up_world(parsed.options);
    EXPECT_EQ(RC::Unreal::Version::Major * 100 + RC::Unreal::Version::Minor, 427);
    const standin::ActorState pawn = standin::engine().inspect(world.pawn);
    EXPECT_TRUE(pawn.className == standin::kCharacterClass &&
                pawn.fullName.find(L"/Game/Maps/Map_B.") != std::wstring::npos);
    EXPECT_EQ(std::tie(pawn.pose.x, pawn.pose.y, pawn.pose.z, pawn.pose.yaw),
              std::make_tuple(1.0, 2.0, 3.0, 45.0));
    EXPECT_EQ(standin::engine().find_first_of(standin::kControllerClass), world.controller);
    EXPECT_EQ(standin::engine().find_first_of(standin::kControllerClass), nullptr); // fails from the 2nd call
}

} // namespace
} // namespace korvath::test
