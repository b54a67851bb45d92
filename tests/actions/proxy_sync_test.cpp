// The proxy's spawn, its smoothed moves, and the failures of both.

#include "actions/proxy_destroy.hpp"
#include "actions/proxy_smoothing.hpp"
#include "actions/proxy_sync.hpp"
#include "mod/game_thread_dispatch.hpp"
#include "support/action_fixture.hpp"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <tuple>

namespace korvath::test {
namespace {

using standin::Fault;
using standin::FaultMode;
using standin::Op;

const std::wstring kSpawningLine =
    L"[KorvathOnlineCpp] Phase 5G spawning one visible real-client BP_PlayerCharacter_C proxy.\n";
const char* const kSpawnReport = "phase=5G\nproxyActor=spawned\nproxyClass=BP_PlayerCharacter_C\n"
                                 "remotePlayerId=p2\nremoteDisplayName=KESTREN CLIENT B\nremoteMap=Map_A\n"
                                 "visibleRequested=1\ncollisionDisabledRequested=1\ntickDisabledRequested=1\n"
                                 "controllerCreationRequested=0\nsmoothingEnabled=1\nsmoothingAlpha=0.35\n"
                                 "staleDestroySeconds=3\nsessionEnableConsumed=1\n";
const char* const kNotFound = "The player controller or BP_PlayerCharacter_C class was not found.";

using ProxySync = ActionTest;

TEST_F(ProxySync, SpawnsAControlledProxyAtTheReportedPoseOnlyForAValidSnapshot) {
    report_remote(-678.25f, false);
    sync_proxy();
    EXPECT_TRUE(standin::engine().journal().empty());

    proxyDestroyed.store(true);
    movementUpdates.store(7);
    report_remote(-678.25f);
    sync_proxy();
    ASSERT_NE(proxyActor, nullptr);
    const auto state = standin::engine().inspect(proxyActor);
    EXPECT_EQ(state.className, L"BP_PlayerCharacter_C");
    EXPECT_EQ(state.world, game.world);
    const auto& p = state.pose;
    EXPECT_EQ((std::array{p.x, p.y, p.z, p.pitch, p.yaw, p.roll}),
              (std::array{-678.25, 20., 30., 0., 40., 0.}));
    EXPECT_FALSE(state.hidden || state.collision || state.tick);
    EXPECT_TRUE(proxyActive && proxyEverSpawned && !proxyDestroyed && movementUpdates == 0);
    EXPECT_EQ(applied_x(), -678.25f);
    EXPECT_EQ(exchange_file("cpp_phase5g_spawn.txt"), kSpawnReport);
    EXPECT_EQ(console_lines(),
              (std::vector<std::wstring>{kSpawningLine,
                                         L"[KorvathOnlineCpp] Phase 5G real-client proxy spawned: " +
                                             state.fullName + L"\n",
                                         L"[KorvathOnlineCpp] Phase 5G controls applied: visible=1 "
                                         L"collision=0 tick=0 controller=none.\n"}));

    // An invalid snapshot leaves an existing proxy alone.
    const auto calls = standin::engine().journal().size();
    report_remote(500.0f, false);
    sync_proxy();
    EXPECT_EQ(standin::engine().journal().size(), calls);
}

TEST(ProxySmoothing, WrapIsByWholeTurnsAndEndsForEveryMagnitude) {
    // Bit for bit, so that the sign of zero counts: whole turns end on +0, as stepping by 360 does.
    const float exact[][2] = {{190, -170}, {-190, 170},  {180, 180},    {-180, -180},
                              {540, 180},  {-900, -180}, {1e10f, -80},  {-720, 0},
                              {720, 0},    {-360, 0},    {-0.0f, -0.0f}};
    for (const auto& row : exact)
        EXPECT_EQ(std::bit_cast<uint32_t>(wrap_degrees(row[0])), std::bit_cast<uint32_t>(row[1])) << row[0];
    const float inf = std::numeric_limits<float>::infinity();
    for (const float huge : {8.6e9f, -3e38f, std::numeric_limits<float>::max(), inf, -inf, std::nanf("")}) {
        const float wrapped = wrap_degrees(huge);
        EXPECT_TRUE(wrapped >= -180.0f && wrapped <= 180.0f) << huge << " -> " << wrapped;
    }
}

// The lookups and GetWorld lie outside the guarded regions: their exceptions leave sync_proxy unreported,
// for the dispatch to pass on to the host, and the next sync starts afresh.
TEST_F(ProxySync, LookupExceptionsLeaveTheCallUnreported) {
    report_remote(10.0f);
    for (const Op op : {Op::Controller, Op::Class, Op::World}) {
        standin::engine().set_fault(op, Fault{FaultMode::Throw, standin::engine().calls(op) + 1});
        EXPECT_THROW(sync_proxy(), std::runtime_error);
        standin::engine().clear_faults();
    }
    EXPECT_TRUE(standin::engine().calls(Op::Spawn) == 0 && !testFailed && console_lines().empty());
    EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"), "<missing>");
    sync_proxy();
    EXPECT_TRUE(proxyActive);
}

// Both layouts: the spawn and the move hand the engine the reported floats, widened, and the yaw whole.
TEST_F(ProxySync, SpawnAndMoveUseTheRunningEnginesLayout) {
    for (const auto& [major, minor] : {std::pair{4, 27}, std::pair{6, 0}}) {
        SCOPED_TRACE(major);
        standin::engine().set_version(major, minor);
        destroy_proxy("remote-player-stale");
        report_remote(0.1f);
        sync_proxy();
        EXPECT_EQ(pose_of(proxyActor).x, static_cast<double>(0.1f));
        report_remote(100.1f);
        sync_proxy();
        const auto p = pose_of(proxyActor);
        EXPECT_EQ((std::array{p.x, p.z, p.pitch, p.yaw, p.roll}),
                  (std::array{static_cast<double>(100.0f * 0.35f + 0.1f), 30.0, 0.0, 40.0, 0.0}));
    }
}

TEST_F(ProxySync, MoveReturningFalseCountsButKeepsTheAppliedPose) {
    report_remote(0.0f);
    sync_proxy();
    standin::engine().set_fault(Op::Move, Fault{FaultMode::False, 1});
    report_remote(100.0f);
    sync_proxy();
    sync_proxy();
    EXPECT_EQ(std::tuple(lastMoveReturned.load(), movementUpdates.load(), applied_x()),
              std::tuple(false, 2u, 0.0f));

    standin::engine().clear_faults();
    sync_proxy();
    EXPECT_EQ(pose_of(proxyActor).x, 35.0);
    EXPECT_EQ(std::tuple(lastMoveReturned.load(), movementUpdates.load(), applied_x()),
              std::tuple(true, 3u, 35.0f));
    EXPECT_FALSE(testFailed);
}

TEST_F(ProxySync, EveryFailureIsReportedAndLeavesAConsistentState) {
    const std::tuple<Op, FaultMode, const char*> spawnFaults[] = {
        {Op::Controller, FaultMode::Missing, kNotFound},
        {Op::Class, FaultMode::Missing, kNotFound},
        {Op::World, FaultMode::Missing, "The active player controller returned a null world."},
        {Op::Spawn, FaultMode::Missing, "UWorld::SpawnActor returned null."},
        {Op::Spawn, FaultMode::Throw, "Spawn call threw an exception: simulated spawn failure"},
        {Op::Spawn, FaultMode::ThrowUnknown, "Spawn call threw an unknown exception."},
        {Op::Hidden, FaultMode::Throw, "Spawn call threw an exception: simulated hidden failure"},
        {Op::Tick, FaultMode::ThrowUnknown, "Spawn call threw an unknown exception."},
        {Op::FullName, FaultMode::Throw, "Spawn call threw an exception: simulated fullname failure"},
    };
    report_remote(10.0f);
    for (const auto& [op, mode, error] : spawnFaults) {
        SCOPED_TRACE(error);
        testFailed.store(false);
        host.console->clear();
        fs::remove(exchange_dir() / "cpp_phase5g_error.txt");
        const auto classLookups = standin::engine().calls(Op::Class);
        standin::engine().set_fault(op, Fault{mode, standin::engine().calls(op) + 1});
        sync_proxy();
        EXPECT_EQ(standin::engine().calls(Op::Class), classLookups + 1); // both lookups are always made
        EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"), std::string(error) + "\n");
        EXPECT_EQ(take_game_thread_command(), GameThreadCommand::None);
        // Any actor created is destroyed again.
        EXPECT_TRUE(testFailed && proxyActor == nullptr && !proxyActive && live_actors() == 0);
        const bool spawnCalled = op != Op::Controller && op != Op::Class && op != Op::World;
        EXPECT_EQ(console_lines(),
                  (spawnCalled ? std::vector{kSpawningLine, kErrorLine} : std::vector{kErrorLine}));
        standin::engine().clear_faults();
    }
    // The spawned line failed last: what came before it stays.
    EXPECT_TRUE(proxyEverSpawned && exchange_file("cpp_phase5g_spawn.txt") == kSpawnReport);

    // The next sync tries the whole spawn again; a throwing move asks for the proxy's destroy.
    sync_proxy();
    ASSERT_TRUE(proxyActor != nullptr && proxyActive);
    for (const auto& [mode, error] :
         {std::pair{FaultMode::Throw, "Movement call threw an exception: simulated move failure"},
          std::pair{FaultMode::ThrowUnknown, "Movement call threw an unknown exception."}}) {
        host.console->clear();
        standin::engine().set_fault(Op::Move, Fault{mode, standin::engine().calls(Op::Move) + 1});
        report_remote(20.0f);
        lastMoveReturned.store(mode == FaultMode::Throw);
        sync_proxy();
        EXPECT_EQ(lastMoveReturned.load(), mode == FaultMode::Throw);
        EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"), std::string(error) + "\n");
        EXPECT_EQ(take_game_thread_command(), GameThreadCommand::DestroyProxy);
        EXPECT_TRUE(proxyActor != nullptr && proxyActive && movementUpdates == 0 && applied_x() == 10.0f);
        EXPECT_EQ(console_lines(), std::vector<std::wstring>{kErrorLine});
    }
}

// A destroy that raises, returns nothing or leaves the actor in the world: the new actor of a failed spawn
// is kept as a leftover, never driven as the proxy and never joined by a second one.
TEST_F(ProxySync, ActorThatCannotBeDestroyedAfterAFailedSpawnIsKeptNeverDoubled) {
    report_remote(10.0f);
    for (const FaultMode mode :
         {FaultMode::Throw, FaultMode::ThrowUnknown, FaultMode::Missing, FaultMode::False}) {
        SCOPED_TRACE(static_cast<int>(mode));
        standin::engine().set_fault(Op::Hidden,
                                    Fault{FaultMode::Throw, standin::engine().calls(Op::Hidden) + 1});
        standin::engine().set_fault(Op::Destroy, Fault{mode, standin::engine().calls(Op::Destroy) + 1});
        for (int i = 0; i < 3; ++i)
            EXPECT_NO_THROW(sync_proxy());
        EXPECT_TRUE(live_actors() == 1 && proxyActor != nullptr && !proxyActive);
        EXPECT_EQ(standin::engine().calls(Op::Move), 0u);

        // Once the engine lets it go, the leftover is destroyed and one proxy is spawned in its place.
        standin::engine().clear_faults();
        sync_proxy();
        EXPECT_TRUE(live_actors() == 1 && proxyActive &&
                    proxyActor == standin::engine().spawned_actors().back());
        destroy_proxy("remote-player-stale");
        EXPECT_EQ(live_actors(), 0u);
    }

    // A DestroyProxy removes a leftover too.
    standin::engine().set_fault(Op::Tick, Fault{FaultMode::Throw, standin::engine().calls(Op::Tick) + 1});
    standin::engine().set_fault(Op::Destroy,
                                Fault{FaultMode::Throw, standin::engine().calls(Op::Destroy) + 1});
    sync_proxy();
    EXPECT_TRUE(live_actors() == 1u && proxyActor != nullptr && !proxyActive);
    standin::engine().clear_faults();
    destroy_proxy("remote-player-stale");
    EXPECT_TRUE(live_actors() == 0 && proxyActor == nullptr && !proxyActive);
}

// The host's weak reference yields nothing for an actor the engine gave no serial number; the proxy
// must be followed all the same, with or without one, and its slot given to another object after the
// engine collected it must not pass for it.
TEST_F(ProxySync, OneProxyFollowedAndDestroyedWhateverItsSerialNumber) {
    for (const bool serialOnSpawn : {false, true}) {
        SCOPED_TRACE(serialOnSpawn);
        standin::engine().set_serial_numbers_on_spawn(serialOnSpawn);
        report_remote(10.0f);
        const uint64_t moves = standin::engine().calls(Op::Move);
        for (int i = 0; i < 4; ++i)
            sync_proxy();
        EXPECT_TRUE(live_actors() == 1 && standin::engine().calls(Op::Move) == moves + 3);

        destroy_proxy("remote-player-stale");
        EXPECT_TRUE(live_actors() == 0 && proxyActor == nullptr && !proxyActive);

        // Destroyed by the engine, collected, and its slot taken by a new object: a new proxy follows.
        sync_proxy();
        standin::engine().destroy_actor(proxyActor);
        standin::engine().collect_garbage();
        standin::engine().add_actor(game.world, game.characterClass, L"Other", standin::Pose{});
        sync_proxy();
        sync_proxy();
        EXPECT_EQ(live_actors(), 1u);
        destroy_proxy("remote-player-stale");
    }
}

TEST_F(ProxySync, ProxyOfATornDownWorldIsNeverMovedAgain) {
    report_remote(10.0f);
    sync_proxy();
    standin::engine().tear_down_world(game.world); // takes the controller with it
    standin::engine().collect_garbage();           // as loading the next map does: the proxy's memory goes
    host.console->clear();
    sync_proxy();

    EXPECT_TRUE(standin::engine().calls(Op::Move) == 0 && proxyActor == nullptr && !proxyActive);
    EXPECT_EQ(
        console_lines(),
        (std::vector<std::wstring>{
            L"[KorvathOnlineCpp] Phase 5G real-client proxy was removed by the engine; spawning a new one.\n",
            kErrorLine}));
    EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"), std::string(kNotFound) + "\n");
}

// Runs `command` through the dispatch, nested, the first time ProcessEvent is entered right after the
// engine call `after` (as a command posted meanwhile would be in the game).
auto nest_command_after(std::string after, GameThreadCommand command) -> void {
    standin::engine().register_pre_callback([after, command, fired = false](auto*, auto*, void*) mutable {
        const auto journal = standin::engine().journal();
        if (fired || journal.empty() || journal.back() != after)
            return;
        fired = true;
        post_game_thread_command(command);
        on_game_thread_process_event(nullptr, nullptr, nullptr);
    });
}

TEST_F(ProxySync, DestroyRunInsideTheControlsIsNotUndone) {
    nest_command_after("SetActorHiddenInGame(0)", GameThreadCommand::DestroyProxy);
    killSwitchEngaged.store(true);
    report_remote(10.0f);
    sync_proxy();

    EXPECT_TRUE(proxyActor == nullptr && !proxyActive && proxyDestroyed && live_actors() == 0);
    const auto journal = standin::engine().journal();
    EXPECT_EQ(std::count(journal.begin(), journal.end(), "SetActorEnableCollision(0)"), 0);
    EXPECT_EQ(exchange_file("cpp_phase5g_spawn.txt"), "<missing>");
    EXPECT_NE(exchange_file("cpp_phase5g_destroy.txt").find("destroyReason=kill-switch\n"),
              std::string::npos);
}

TEST_F(ProxySync, SyncRunInsideTheSpawnMakesNoSecondProxy) {
    nest_command_after("SpawnActor", GameThreadCommand::SyncProxy);
    report_remote(10.0f);
    sync_proxy();

    EXPECT_TRUE(standin::engine().spawned_actors().size() == 1 && proxyActive &&
                standin::engine().calls(Op::Move) == 0 && applied_x() == 10.0f);
}

} // namespace
} // namespace korvath::test
