// The proxy's spawn, its smoothed moves, and the failures of both.

#include "actions/proxy_destroy.hpp"
#include "actions/proxy_smoothing.hpp"
#include "actions/proxy_sync.hpp"
#include "support/action_fixture.hpp"

#include <array>
#include <cmath>
#include <limits>

namespace korvath::test {
namespace {

using standin::Fault;
using standin::FaultMode;
using standin::Op;

const std::wstring kSpawningLine =
    L"[KorvathOnlineCpp] Phase 5G spawning one visible real-client BP_PlayerCharacter_C proxy.\n";
const std::wstring kControlsLine =
    L"[KorvathOnlineCpp] Phase 5G controls applied: visible=1 collision=0 tick=0 controller=none.\n";
const std::wstring kErrorLine =
    L"[KorvathOnlineCpp] Phase 5G failed; see cpp_phase5g_error.txt for details.\n";
const std::wstring kVanishedLine =
    L"[KorvathOnlineCpp] Phase 5G real-client proxy was removed by the engine; spawning a new one.\n";
const char* const kSpawnReport = "phase=5G\nproxyActor=spawned\nproxyClass=BP_PlayerCharacter_C\n"
                                 "remotePlayerId=p2\nremoteDisplayName=KESTREN CLIENT B\nremoteMap=Map_A\n"
                                 "visibleRequested=1\ncollisionDisabledRequested=1\ntickDisabledRequested=1\n"
                                 "controllerCreationRequested=0\nsmoothingEnabled=1\nsmoothingAlpha=0.35\n"
                                 "staleDestroySeconds=3\nsessionEnableConsumed=1\n";

using ProxySync = ActionTest;

struct EngineVersion {
    int32_t major, minor;
};
class ProxySyncLayout : public ActionTest, public ::testing::WithParamInterface<EngineVersion> {};

TEST_P(ProxySyncLayout, SpawnsControlledProxyAtReportedPoseThenSmoothsTowardIt) {
    standin::engine().set_version(GetParam().major, GetParam().minor);
    proxyDestroyed.store(true);
    movementUpdates.store(7);
    report_remote(0.0f, -678.25f, 90.5f, 123.5f);
    sync_proxy();

    ASSERT_NE(proxyActor, nullptr);
    const auto state = standin::engine().inspect(proxyActor);
    EXPECT_EQ(state.className, L"BP_PlayerCharacter_C");
    EXPECT_EQ(state.world, game.world);
    EXPECT_EQ((std::array{state.pose.x, state.pose.y, state.pose.z}), (std::array{0.0, -678.25, 90.5}));
    EXPECT_EQ((std::array{state.pose.pitch, state.pose.yaw, state.pose.roll}), (std::array{0.0, 123.5, 0.0}));
    EXPECT_FALSE(state.hidden || state.collision || state.tick);
    EXPECT_EQ(
        standin::engine().journal(),
        (std::vector<std::string>{"FindFirstOf(BP_PlayerController_C)",
                                  "FindObject(/Game/Blueprints/BP_PlayerCharacter.BP_PlayerCharacter_C)",
                                  "GetWorld", "SpawnActor", "SetActorHiddenInGame(0)",
                                  "SetActorEnableCollision(0)", "SetActorTickEnabled(0)", "GetFullName"}));
    EXPECT_TRUE(proxyActive && proxyEverSpawned);
    EXPECT_FALSE(proxyDestroyed);
    EXPECT_EQ(movementUpdates.load(), 0u);
    EXPECT_EQ(applied().y, -678.25f);
    EXPECT_EQ(applied().playerId, "p2");
    EXPECT_EQ(exchange_file("cpp_phase5g_spawn.txt"), kSpawnReport);
    EXPECT_EQ(console_lines(),
              (std::vector<std::wstring>{kSpawningLine,
                                         L"[KorvathOnlineCpp] Phase 5G real-client proxy spawned: " +
                                             state.fullName + L"\n",
                                         kControlsLine}));

    // Each move closes 35% of the remaining gap: 0 -> 35 -> 57.75.
    report_remote(100.0f, -678.25f, 90.5f, 123.5f);
    for (const double expectedX : {35.0, 57.75}) {
        sync_proxy();
        EXPECT_EQ(pose_of(proxyActor).x, expectedX);
        EXPECT_EQ(static_cast<double>(applied().x), expectedX);
    }
    EXPECT_EQ(movementUpdates.load(), 2u);
    EXPECT_TRUE(lastMoveReturned);
    EXPECT_EQ(console_lines().size(), 3u);
}

INSTANTIATE_TEST_SUITE_P(EngineLayouts, ProxySyncLayout,
                         ::testing::Values(EngineVersion{4, 27}, EngineVersion{5, 1}),
                         [](const auto& test) { return "UE" + std::to_string(test.param.major); });

TEST_F(ProxySync, InvalidSnapshotDoesNothingWithOrWithoutProxy) {
    report_remote(10.0f, 20.0f, 30.0f, 40.0f, false);
    sync_proxy();
    EXPECT_TRUE(standin::engine().journal().empty());
    EXPECT_EQ(proxyActor, nullptr);

    report_remote(10.0f, 20.0f, 30.0f, 40.0f);
    sync_proxy();
    const auto calls = standin::engine().journal().size();
    report_remote(500.0f, 20.0f, 30.0f, 40.0f, false);
    sync_proxy();
    EXPECT_EQ(standin::engine().journal().size(), calls);
    EXPECT_EQ(movementUpdates.load(), 0u);
    EXPECT_EQ(pose_of(proxyActor).x, 10.0);
}

TEST(ProxySmoothing, StepsSnapsAndTurnsThroughTheSmallerAngle) {
    struct Row {
        const char* what;
        float ax, ay, az, ayaw, tx, ty, tz, tyaw;
        float ex, ey, ez, eyaw;
        double yawTolerance;
    };
    const Row rows[] = {
        {"first step", 0, 0, 0, 0, 100, 0, 0, 0, 35, 0, 0, 0, 0},
        {"second step", 35, 0, 0, 0, 100, 0, 0, 0, 57.75f, 0, 0, 0, 0},
        {"exactly 3500 away", 0, 0, 0, 0, 3500, 0, 0, 0, 1225, 0, 0, 0, 0},
        {"3500 on a diagonal", 0, 0, 0, 0, 2100, 2800, 0, 0, 735, 980, 0, 0, 0},
        {"3500.1 away jumps", 0, 0, 0, 0, 3500.1f, 0, 0, 0, 3500.1f, 0, 0, 0, 0},
        {"overflowing distance jumps", -3e38f, 0, 0, 0, 3e38f, 0, 0, 10, 3e38f, 0, 0, 10, 0},
        {"jump keeps yaw unwrapped", 0, 0, 0, 0, 5000, 0, 0, 500, 5000, 0, 0, 500, 0},
        {"170 to -170", 0, 0, 0, 170, 0, 0, 0, -170, 0, 0, 0, 177, 0},
        {"177 to -170 wraps", 0, 0, 0, 177, 0, 0, 0, -170, 0, 0, 0, -178.45f, 1e-4},
        {"-170 to 170", 0, 0, 0, -170, 0, 0, 0, 170, 0, 0, 0, -177, 0},
        {"yaw gap overflow ends", 0, 0, 0, 3e38f, 0, 0, 0, -3e38f, 0, 0, 0, 0, 180},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const RemotePlayerState a{"", "", "", row.ax, row.ay, row.az, row.ayaw, true};
        const RemotePlayerState t{"p2", "B", "Map_A", row.tx, row.ty, row.tz, row.tyaw, true};
        const RemotePlayerState n = next_proxy_pose(a, t);
        EXPECT_EQ((std::array{n.x, n.y, n.z}), (std::array{row.ex, row.ey, row.ez}));
        EXPECT_NEAR(n.yaw, row.eyaw, row.yawTolerance);
        EXPECT_EQ(n.playerId, "p2");
    }
}

TEST(ProxySmoothing, WrapIsByWholeTurnsAndEndsForEveryMagnitude) {
    const float exact[][2] = {{190, -170}, {-190, 170},  {180, 180},  {-180, -180},
                              {540, 180},  {-900, -180}, {1e10f, -80}};
    for (const auto& row : exact)
        EXPECT_EQ(wrap_degrees(row[0]), row[1]) << row[0];
    const float inf = std::numeric_limits<float>::infinity();
    for (const float huge : {8.6e9f, -3e38f, std::numeric_limits<float>::max(), inf, -inf, std::nanf("")}) {
        const float wrapped = wrap_degrees(huge);
        EXPECT_TRUE(wrapped >= -180.0f && wrapped <= 180.0f) << huge << " -> " << wrapped;
    }
}

TEST_F(ProxySync, MoveReturningFalseCountsButKeepsAppliedPose) {
    report_remote(0.0f, 0.0f, 0.0f, 0.0f);
    sync_proxy();
    standin::engine().set_fault(Op::Move, Fault{FaultMode::False, 1});
    report_remote(100.0f, 0.0f, 0.0f, 0.0f);
    sync_proxy();
    sync_proxy();
    EXPECT_FALSE(lastMoveReturned);
    EXPECT_EQ(movementUpdates.load(), 2u);
    EXPECT_EQ(applied().x, 0.0f);

    standin::engine().clear_faults();
    sync_proxy();
    EXPECT_EQ(pose_of(proxyActor).x, 35.0);
    EXPECT_FALSE(testFailed);
}

struct FaultCase {
    const char* name;
    Op op;
    FaultMode mode;
    bool duringMove;
    const char* error;
    bool spawningLogged;
};

class ProxySyncFault : public ActionTest, public ::testing::WithParamInterface<FaultCase> {};

TEST_P(ProxySyncFault, ReportsAndLeavesAConsistentState) {
    const FaultCase& fault = GetParam();
    report_remote(10.0f, 20.0f, 30.0f, 40.0f);
    if (fault.duringMove) {
        sync_proxy();
        report_remote(20.0f, 20.0f, 30.0f, 40.0f);
        host.console->clear();
    }
    standin::engine().set_fault(fault.op, Fault{fault.mode, 1});
    sync_proxy();

    EXPECT_TRUE(testFailed);
    EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"), std::string(fault.error) + "\n");
    if (fault.duringMove) {
        EXPECT_EQ(take_game_thread_command(), GameThreadCommand::DestroyProxy);
        EXPECT_NE(proxyActor, nullptr);
        EXPECT_TRUE(proxyActive);
        EXPECT_EQ(movementUpdates.load(), 0u);
        EXPECT_EQ(applied().x, 10.0f);
        EXPECT_EQ(console_lines(), std::vector<std::wstring>{kErrorLine});
        return;
    }
    EXPECT_EQ(take_game_thread_command(), GameThreadCommand::None);
    EXPECT_EQ(proxyActor, nullptr);
    EXPECT_FALSE(proxyActive);
    for (auto* actor : standin::engine().spawned_actors())
        EXPECT_FALSE(standin::engine().inspect(actor).alive); // created, then destroyed again
    EXPECT_EQ(standin::engine().calls(Op::Class), 1u);        // both lookups are always made
    const auto lines = console_lines();
    const std::vector<std::wstring> expected =
        fault.spawningLogged ? std::vector<std::wstring>{kSpawningLine, kErrorLine} : std::vector{kErrorLine};
    EXPECT_EQ(lines, expected);
    if (fault.op == Op::FullName) { // the spawned line failed: what came before it stays
        EXPECT_TRUE(proxyEverSpawned);
        EXPECT_EQ(exchange_file("cpp_phase5g_spawn.txt"), kSpawnReport);
    }

    // The next SyncProxy tries the whole spawn again.
    standin::engine().clear_faults();
    sync_proxy();
    EXPECT_NE(proxyActor, nullptr);
    EXPECT_TRUE(proxyActive && proxyEverSpawned);
}

INSTANTIATE_TEST_SUITE_P(
    EveryFault, ProxySyncFault,
    ::testing::Values(FaultCase{"NoController", Op::Controller, FaultMode::Missing, false,
                                "The player controller or BP_PlayerCharacter_C class was not found.", false},
                      FaultCase{"NoClass", Op::Class, FaultMode::Missing, false,
                                "The player controller or BP_PlayerCharacter_C class was not found.", false},
                      FaultCase{"NullWorld", Op::World, FaultMode::Missing, false,
                                "The active player controller returned a null world.", false},
                      FaultCase{"NullSpawn", Op::Spawn, FaultMode::Missing, false,
                                "UWorld::SpawnActor returned null.", true},
                      FaultCase{"SpawnThrows", Op::Spawn, FaultMode::Throw, false,
                                "Spawn call threw an exception: simulated spawn failure", true},
                      FaultCase{"SpawnThrowsUnknown", Op::Spawn, FaultMode::ThrowUnknown, false,
                                "Spawn call threw an unknown exception.", true},
                      FaultCase{"HiddenThrows", Op::Hidden, FaultMode::Throw, false,
                                "Spawn call threw an exception: simulated hidden failure", true},
                      FaultCase{"TickThrowsUnknown", Op::Tick, FaultMode::ThrowUnknown, false,
                                "Spawn call threw an unknown exception.", true},
                      FaultCase{"SpawnedLineThrows", Op::FullName, FaultMode::Throw, false,
                                "Spawn call threw an exception: simulated fullname failure", true},
                      FaultCase{"MoveThrows", Op::Move, FaultMode::Throw, true,
                                "Movement call threw an exception: simulated move failure", false},
                      FaultCase{"MoveThrowsUnknown", Op::Move, FaultMode::ThrowUnknown, true,
                                "Movement call threw an unknown exception.", false}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(ProxySync, SpawnExceptionWhoseCleanupAlsoFailsStillReportsTheSpawnFailure) {
    standin::engine().set_fault(Op::Collision, Fault{FaultMode::Throw, 1});
    standin::engine().set_fault(Op::Destroy, Fault{FaultMode::ThrowUnknown, 1});
    report_remote(10.0f, 20.0f, 30.0f, 40.0f);
    EXPECT_NO_THROW(sync_proxy());
    EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"),
              "Spawn call threw an exception: simulated collision failure\n");
    EXPECT_EQ(proxyActor, nullptr);
    EXPECT_FALSE(proxyActive);
}

TEST_F(ProxySync, TornDownWorldIsNeverMovedAgain) {
    report_remote(10.0f, 20.0f, 30.0f, 40.0f);
    sync_proxy();
    standin::engine().tear_down_world(game.world); // takes the controller with it
    host.console->clear();
    sync_proxy();

    EXPECT_EQ(standin::engine().calls(Op::Move), 0u);
    EXPECT_EQ(proxyActor, nullptr);
    EXPECT_FALSE(proxyActive);
    EXPECT_EQ(console_lines(), (std::vector<std::wstring>{kVanishedLine, kErrorLine}));
    EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"),
              "The player controller or BP_PlayerCharacter_C class was not found.\n");
}

TEST_F(ProxySync, MapChangeRespawnsTheProxyInTheNewWorld) {
    report_remote(10.0f, 20.0f, 30.0f, 40.0f);
    sync_proxy();
    auto* const first = proxyActor;
    auto* const newWorld = standin::engine().change_map(game, L"Map_B").world;
    report_remote(15.0f, 20.0f, 30.0f, 40.0f);
    sync_proxy();

    EXPECT_EQ(standin::engine().calls(Op::Move), 0u);
    ASSERT_NE(proxyActor, nullptr);
    EXPECT_NE(proxyActor, first);
    EXPECT_EQ(standin::engine().inspect(proxyActor).world, newWorld);
    EXPECT_EQ(pose_of(proxyActor).x, 15.0);
    EXPECT_TRUE(proxyActive);
    EXPECT_FALSE(testFailed);
}

TEST_F(ProxySync, DestroyRunInsideTheControlsIsNotUndone) {
    standin::engine().register_pre_callback([](auto*, auto*, void*) {
        if (take_game_thread_command() == GameThreadCommand::DestroyProxy)
            destroy_proxy("kill-switch");
    });
    post_game_thread_command(GameThreadCommand::DestroyProxy);
    report_remote(10.0f, 20.0f, 30.0f, 40.0f);
    sync_proxy();

    EXPECT_EQ(proxyActor, nullptr);
    EXPECT_FALSE(proxyActive);
    EXPECT_TRUE(proxyDestroyed);
    EXPECT_FALSE(standin::engine().inspect(standin::engine().spawned_actors().at(0)).alive);
    EXPECT_EQ(exchange_file("cpp_phase5g_spawn.txt"), "<missing>");
    EXPECT_NE(exchange_file("cpp_phase5g_destroy.txt").find("destroyReason=kill-switch\n"),
              std::string::npos);
}

} // namespace
} // namespace korvath::test
