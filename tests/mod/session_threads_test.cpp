// Both hooks on real threads against the stand-in engine, as in the game: the host's update thread
// and the game thread run at once. Run under ThreadSanitizer in CI. The clock is still the stepped
// one (the update thread advances it 5 ms per call), so no test waits on wall-clock time.

#include "support/session_driver.hpp"

#include "standin/Clock.hpp"
#include "standin/Engine.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace korvath::test {
namespace {

using ::testing::HasSubstr;

// Files dated an hour ahead stay fresh however slowly a sanitizer build runs.
auto put_fresh(const char* name, std::string_view content) -> void {
    put(name, content);
    set_file_age(exchange_dir() / name, -3600);
}

// Waits for what the threads bring about; the limit only guards against a hang.
auto eventually(const std::function<bool()>& condition) -> bool {
    return wait_until(std::chrono::seconds(60), condition, std::chrono::milliseconds(1));
}

auto live_proxy_x() -> std::optional<double> {
    for (auto* actor : standin::engine().spawned_actors())
        if (auto state = standin::engine().inspect(actor); state.alive)
            return state.pose.x;
    return std::nullopt;
}

TEST(SessionThreads, FullClientBSessionOnRealThreads) {
    HostFixture host;
    auto game = standin::engine().populate_game_world(standin::Pose{0, 0, 100, 0, 0, 0});
    put("phase5g-role.txt", "CLIENT_B\n");
    put_fresh("local_state.tsv", "1000\t2000\t100\t0\tMap_A\n");
    put_fresh("remote_players.tsv", "p1\tKESTREN CLIENT A\t0\t0\t100\t0\tMap_A\n");
    put("phase5g.enable_once.txt");

    auto mod = load_mod_copy(KORVATH_DRIVEN_MOD_LIBRARY);
    RC::CppUserModBase* object = mod.start();
    {
        // At the block's end each thread is stopped and joined: the engine-ready call, the update thread,
        // then the game thread.
        std::atomic<bool> gameStarted{false};
        std::jthread gameThread([&](std::stop_token stop) {
            standin::engine().declare_game_thread();
            gameStarted.store(true);
            while (!stop.stop_requested())
                standin::engine().process_event();
        });
        ASSERT_TRUE(eventually([&] { return gameStarted.load(); }));
        std::jthread updateThread([&](std::stop_token stop) {
            while (!stop.stop_requested()) {
                standin::clock().advance_ns(5'000'000);
                object->on_update();
            }
        });
        std::jthread readyThread([&] { object->on_unreal_init(); });

        // Relocation first, then the enable wait, then a proxy that follows the remote row.
        ASSERT_TRUE(eventually([&] { return standin::engine().inspect(game.pawn).pose.y == 2800.0; }));
        ASSERT_TRUE(eventually([] { return live_proxy_x().has_value(); }));
        put_fresh("remote_players.tsv", "p1\tKESTREN CLIENT A\t300\t0\t100\t0\tMap_A\n");
        ASSERT_TRUE(eventually([] { return live_proxy_x().value_or(0) > 299.0; }));

        // The kill switch.
        put("phase5g.stop.txt");
        ASSERT_TRUE(eventually([] { return !live_proxy_x().has_value(); }));
        ASSERT_TRUE(eventually([] {
            return report("cpp_phase5g_destroy.txt").find("destroyReason=kill-switch\n") != std::string::npos;
        }));
    }
    standin::engine().forget_game_thread();
    mod.uninstall(object);
    EXPECT_EQ(report("cpp_mod_unloaded.txt"), "KorvathOnlineCpp Phase 5G unloaded with no active proxy.\n");
    EXPECT_EQ(standin::engine().spawned_actors().size(), 1u);
    EXPECT_THAT(report("cpp_phase5g_client_spawn.txt"), HasSubstr("destinationY=2800\n"));
}

} // namespace
} // namespace korvath::test
