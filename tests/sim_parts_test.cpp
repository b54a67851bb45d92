// The pieces of korvath-sim that run without a process: command line, walker, world set-up, hook guard
// and the local state row.

#include "support/test_support.hpp"

#include "Unreal/UnrealVersion.hpp"
#include "standin/Engine.hpp"
#include "tools/sim/hook_guard.hpp"
#include "tools/sim/local_state_writer.hpp"
#include "tools/sim/options.hpp"
#include "tools/sim/simulated_world.hpp"
#include "tools/sim/walker.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <ostream>
#include <stdexcept>
#include <vector>

namespace korvath::test {
namespace {

using sim::ParsedCommandLine;
using ::testing::HasSubstr;

auto parse(std::vector<const char*> args) -> ParsedCommandLine {
    return sim::parse_command_line(args);
}

TEST(SimOptions, DefaultsNeedOnlyTheGameFolder) {
    const auto parsed = parse({"--game-dir", "/games/a/../b"});
    ASSERT_EQ(parsed.action, ParsedCommandLine::Action::Run) << parsed.error;
    const sim::SimOptions& o = parsed.options;
    EXPECT_EQ(o.gameDir, "/games/b");
    EXPECT_FALSE(o.modLibrary);
    EXPECT_EQ(o.tickMs, 5);
    EXPECT_EQ(o.readyAfterSeconds, 1.0);
    EXPECT_EQ(o.processEventHz, 1000);
    EXPECT_FALSE(o.durationSeconds);
    EXPECT_EQ(o.pawn.z, 100);
    EXPECT_EQ(o.engineMajor * 100 + o.engineMinor, 501);
    EXPECT_EQ(o.walk.kind, sim::WalkPlan::Kind::Stand);
    EXPECT_TRUE(o.writeLocalState);
    EXPECT_TRUE(o.faults.empty());
}

TEST(SimOptions, EveryFlagTakesBothSpellings) {
    const auto parsed = parse({"--game-dir=/g", "--tick-ms", "2.5", "--ready-after=never",
                               "--process-event-hz", "0", "--duration", "0.5", "--pawn", "1,-2,3.5,90",
                               "--engine", "4.27", "--walk", "waypoints:1,2;3,4@50", "--no-local-state",
                               "--fail", "controller=throw-unknown@3", "--fail=spawn=missing"});
    ASSERT_EQ(parsed.action, ParsedCommandLine::Action::Run) << parsed.error;
    const sim::SimOptions& o = parsed.options;
    EXPECT_EQ(o.tickMs, 2.5);
    EXPECT_FALSE(o.readyAfterSeconds);
    EXPECT_EQ(o.processEventHz, 0);
    EXPECT_EQ(o.durationSeconds, 0.5);
    EXPECT_EQ(o.pawn.y, -2);
    EXPECT_EQ(o.pawn.yaw, 90);
    EXPECT_EQ(o.engineMajor * 100 + o.engineMinor, 427);
    EXPECT_EQ(o.walk.waypoints.size(), 2u);
    EXPECT_EQ(o.walk.speed, 50);
    EXPECT_FALSE(o.writeLocalState);
    ASSERT_EQ(o.faults.size(), 2u);
    EXPECT_EQ(o.faults[0].op, standin::Op::Controller);
    EXPECT_EQ(o.faults[0].fault.mode, standin::FaultMode::ThrowUnknown);
    EXPECT_EQ(o.faults[0].fault.fromCall, 3u);
    EXPECT_EQ(o.faults[1].fault.fromCall, 1u);
}

struct BadArgument {
    std::vector<const char*> args;
    const char* named; // the error must name it
};

auto PrintTo(const BadArgument& bad, std::ostream* out) -> void {
    for (const char* arg : bad.args)
        *out << arg << ' ';
}

class SimOptionsRejects : public ::testing::TestWithParam<BadArgument> {};

TEST_P(SimOptionsRejects, NamingTheArgument) {
    std::vector<const char*> args{"--game-dir", "/g"};
    args.insert(args.end(), GetParam().args.begin(), GetParam().args.end());
    const auto parsed = parse(args);
    EXPECT_EQ(parsed.action, ParsedCommandLine::Action::Error);
    EXPECT_THAT(parsed.error, HasSubstr(GetParam().named));
}

INSTANTIATE_TEST_SUITE_P(
    Table, SimOptionsRejects,
    ::testing::Values(
        BadArgument{{"--tick-ms", "0"}, "--tick-ms"}, BadArgument{{"--duration", "1s"}, "--duration"},
        BadArgument{{"--duration", "nan"}, "--duration"},
        BadArgument{{"--ready-after", "-1"}, "--ready-after"},
        BadArgument{{"--process-event-hz", "2000000"}, "--process-event-hz"},
        BadArgument{{"--pawn", "1,2,3"}, "--pawn"}, BadArgument{{"--engine", "5"}, "--engine"},
        BadArgument{{"--engine", "6.0"}, "--engine"}, BadArgument{{"--map", "Map A"}, "--map"},
        BadArgument{{"--walk", "circle:0,10"}, "--walk"}, BadArgument{{"--walk", "line:1"}, "--walk"},
        BadArgument{{"--walk", "waypoints:1,2;3"}, "--walk"},
        BadArgument{{"--walk", "waypoints:1,2@0"}, "--walk"}, BadArgument{{"--fail", "pawn"}, "--fail"},
        BadArgument{{"--fail", "pawn=throw@0"}, "--fail"}, BadArgument{{"--fail", "laser=throw"}, "--fail"},
        BadArgument{{"--no-local-state=1"}, "--no-local-state"}, BadArgument{{"--tick-ms"}, "--tick-ms"},
        BadArgument{{"stray"}, "'stray'"}));

TEST(SimOptions, MissingGameFolderIsAnError) {
    EXPECT_THAT(parse({"--duration", "1"}).error, HasSubstr("--game-dir"));
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

TEST(SimWalker, CircleWalksOutToTheRimThenRoundTheStart) {
    sim::Walker walker({sim::WalkPlan::Kind::Circle, 100, 100, {}}, {10, 20});
    std::optional<double> yaw;
    sim::Point2 at = walk(walker, {10, 20}, 0.5, &yaw);
    EXPECT_NEAR(at.x, 60, 1e-9);
    EXPECT_NEAR(at.y, 20, 1e-9);
    EXPECT_NEAR(*yaw, 0, 1e-9);
    const sim::WalkStep step = walker.advance(0.5 + std::numbers::pi / 2); // out to the rim, a quarter turn
    at = {at.x + step.dx, at.y + step.dy};
    EXPECT_NEAR(at.x, 10, 1e-9);
    EXPECT_NEAR(at.y, 120, 1e-9);
    const sim::WalkStep nudge = walker.advance(1e-4);
    at = {at.x + nudge.dx, at.y + nudge.dy};
    const double heading = *nudge.yaw * std::numbers::pi / 180;
    EXPECT_NEAR(std::cos(heading), -1, 1e-6) << "along the tangent, counter-clockwise";
    at = walk(walker, at, 20 * std::numbers::pi); // ten laps more: no drift off the circle
    EXPECT_NEAR(std::hypot(at.x - 10, at.y - 20), 100, 1e-6);
}

TEST(SimWalker, WaypointsLoopFromTheLastBackToTheFirst) {
    sim::Walker walker({sim::WalkPlan::Kind::Waypoints, 0, 100, {{100, 0}, {100, 100}}}, {0, 0});
    std::optional<double> yaw;
    const double expected[][3] = {{100, 0, 0}, {100, 100, 90}, {100, 0, -90}, {100, 100, 90}};
    sim::Point2 at{0, 0};
    for (const auto& leg : expected) {
        at = walk(walker, at, 1.0, &yaw);
        EXPECT_NEAR(at.x, leg[0], 1e-6);
        EXPECT_NEAR(at.y, leg[1], 1e-6);
        EXPECT_NEAR(*yaw, leg[2], 1e-6);
    }
}

TEST(SimWalker, OneWaypointIsReachedAndThenStoodOn) {
    sim::Walker walker({sim::WalkPlan::Kind::Waypoints, 0, 100, {{50, 0}}}, {0, 0});
    const sim::Point2 at = walk(walker, {0, 0}, 1.0);
    EXPECT_NEAR(at.x, 50, 1e-9);
    const sim::WalkStep step = walker.advance(1.0);
    EXPECT_EQ(step.dx, 0);
    EXPECT_FALSE(step.yaw);
}

TEST(SimWorld, SetUpAppliesEngineVersionPawnMapClassAndFaults) {
    HostFixture host;
    const auto parsed = parse({"--game-dir", "/g", "--engine", "4.27", "--pawn", "1,2,3,45", "--map", "Map_B",
                               "--fail", "controller=missing@2"});
    const standin::GameWorld world = sim::set_up_world(parsed.options);
    EXPECT_EQ(RC::Unreal::Version::Major, 4);
    EXPECT_EQ(RC::Unreal::Version::Minor, 27);
    const standin::ActorState pawn = standin::engine().inspect(world.pawn);
    EXPECT_EQ(pawn.className, standin::kCharacterClass);
    EXPECT_THAT(pawn.fullName, HasSubstr(L"/Game/Maps/Map_B."));
    EXPECT_EQ(pawn.pose.x + pawn.pose.y + pawn.pose.z, 6);
    EXPECT_EQ(pawn.pose.yaw, 45);
    EXPECT_EQ(standin::engine().find_object(standin::kCharacterClassPath), world.characterClass);
    EXPECT_EQ(standin::engine().find_first_of(standin::kControllerClass), world.controller);
    EXPECT_EQ(standin::engine().find_first_of(standin::kControllerClass), nullptr)
        << "fails from the 2nd call";
}

TEST(SimHookGuard, EveryKindOfEscapingExceptionIsCaughtAndCounted) {
    sim::HookGuard guard("test hook");
    guard.run([] {});
    guard.run([] { throw std::runtime_error("simulated move failure"); });
    guard.run([] { throw standin::UnknownEngineError{4}; });
    guard.run([] { throw 7; });
    EXPECT_EQ(guard.escaped(), 3u);
}

TEST(SimLocalState, RowHasFourNumbersAndTheMapEvenForHugeValues) {
    EXPECT_EQ(sim::local_state_row({1.5, -2, 3.25, 0, 90, 0}, "Map_A"),
              "1.500\t-2.000\t3.250\t90.000\tMap_A\n");
    const std::string huge = sim::local_state_row({1e200, 0, 0, 0, 0, 0}, "M");
    EXPECT_EQ(std::strtod(huge.c_str(), nullptr), 1e200);
    EXPECT_THAT(huge, ::testing::EndsWith(".000\t0.000\t0.000\t0.000\tM\n"));
}

} // namespace
} // namespace korvath::test
