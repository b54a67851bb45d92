// Whole sessions through the loaded mod library on the stand-in host, with the stepped clock.

#include "support/session_driver.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace korvath::test {
namespace {

using ::testing::HasSubstr;

class EndToEnd : public ::testing::Test {
protected:
    EndToEnd() { game = standin::engine().populate_game_world(standin::Pose{0, 0, 100, 0, 0, 0}); }

    static auto live_proxy() -> std::optional<standin::ActorState> {
        for (auto* actor : standin::engine().spawned_actors())
            if (auto state = standin::engine().inspect(actor); state.alive)
                return state;
        return std::nullopt;
    }

    HostFixture host;
    standin::GameWorld game;
};

TEST_F(EndToEnd, ClientASessionSpawnsFollowsGoesStaleAndObeysTheKillSwitch) {
    SessionDriver driver(KORVATH_DRIVEN_MOD_LIBRARY);
    put("local_state.tsv", "0\t0\t100\t0\tMap_A\n");
    put("phase5g.enable_once.txt");
    put("remote_players.tsv", "p2\tKESTREN CLIENT B\t0\t0\t100\t170\tMap_A\n");

    driver.run_for(1.0);
    driver.mod().on_unreal_ready();

    // Seven seconds of fresh local state, then the proxy spawns at the reported pose.
    EXPECT_FALSE(driver.run_until([&] { return live_proxy().has_value(); }, 6.9));
    ASSERT_TRUE(driver.run_until([&] { return live_proxy().has_value(); }, 0.5));
    const auto proxy = *live_proxy();
    EXPECT_EQ((std::array{proxy.pose.x, proxy.pose.z, proxy.pose.yaw}), (std::array{0.0, 100.0, 170.0}));

    driver.run_for(1.0);
    EXPECT_THAT(report("cpp_heartbeat.txt"),
                HasSubstr("sessionEnabled=1\nproxyActive=1\nremoteFresh=1\nmovementUpdates="));

    // No usable row: after three seconds without one the proxy goes, as stale.
    set_file_age(exchange_dir() / "remote_players.tsv", 10);
    driver.run_for(2.9);
    ASSERT_TRUE(live_proxy().has_value());
    ASSERT_TRUE(driver.run_until([&] { return !live_proxy().has_value(); }, 0.3));
    EXPECT_THAT(report("cpp_phase5g_destroy.txt"), HasSubstr("destroyReason=remote-player-stale\n"));

    // Fresh again: a new proxy; then the stop marker destroys it with the kill-switch reason.
    put("remote_players.tsv", "p2\tKESTREN CLIENT B\t10\t10\t100\t0\tMap_A\n");
    ASSERT_TRUE(driver.run_until([&] { return live_proxy().has_value(); }, 0.5));
    put("phase5g.stop.txt");
    ASSERT_TRUE(driver.run_until([&] { return !live_proxy().has_value(); }, 0.1));
    EXPECT_EQ(report("cpp_phase5g_destroy.txt"),
              "phase=5G\nproxyDestroyRequested=1\nproxyDestroyCallReturned=1\ndestroyReason=kill-switch\n");
    EXPECT_EQ(standin::engine().spawned_actors().size(), 2u);

    driver.uninstall();
    EXPECT_EQ(report("cpp_mod_unloaded.txt"), "KorvathOnlineCpp Phase 5G unloaded with no active proxy.\n");
    EXPECT_EQ(count_lines(*host.console, L"Phase 5G failed"), 0);
}

TEST_F(EndToEnd, ProxyOutlivesTheModObject) {
    SessionDriver driver(KORVATH_DRIVEN_MOD_LIBRARY);
    put("local_state.tsv", "0\t0\t100\t0\tMap_A\n");
    put("phase5g.enable_once.txt");
    put("remote_players.tsv", "p2\tB\t50\t0\t100\t0\tMap_A\n");
    driver.mod().on_unreal_ready();
    ASSERT_TRUE(driver.run_until([&] { return live_proxy().has_value(); }, 8.0));

    // The object's last tick posts a move; unloading leaves the proxy in the world, and the callback
    // still runs the move after the object is freed (an ASan build catches any touch of it).
    standin::clock().advance_ns(50'000'000);
    driver.mod().on_host_tick();
    driver.uninstall();
    EXPECT_EQ(report("cpp_mod_unloaded.txt"),
              "KorvathOnlineCpp Phase 5G unloaded while the proxy was active.\n");
    const auto moves = standin::engine().calls(standin::Op::Move);
    standin::engine().process_event();
    EXPECT_TRUE(standin::engine().calls(standin::Op::Move) == moves + 1 && live_proxy().has_value());

    // A new object in the same process registers no second callback.
    driver.restart();
    driver.mod().on_unreal_ready();
    EXPECT_EQ(standin::engine().callback_count(), 1u);
}

} // namespace
} // namespace korvath::test
