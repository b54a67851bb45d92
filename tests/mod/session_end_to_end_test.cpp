// Whole sessions through the loaded mod library on the stand-in host, with the stepped clock.

#include "support/session_driver.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvath::test {
namespace {

using ::testing::HasSubstr;

auto report(const char* name) -> std::string {
    const fs::path path = exchange_dir() / name;
    return fs::exists(path) ? read_file(path) : std::string();
}

auto put(const char* name, std::string_view content = "") -> void {
    write_file(exchange_dir() / name, content);
}

auto count_lines(const standin::LineLog& log, std::wstring_view needle) -> long {
    const auto texts = log.texts();
    return std::count_if(texts.begin(), texts.end(),
                         [&](const std::wstring& t) { return t.find(needle) != std::wstring::npos; }) /
           2;
}

class EndToEnd : public ::testing::Test {
protected:
    EndToEnd() { game = standin::engine().populate_game_world(standin::Pose{0, 0, 100, 0, 0, 0}); }

    auto proxies() -> std::vector<standin::ActorState> {
        std::vector<standin::ActorState> out;
        for (auto* actor : standin::engine().spawned_actors())
            out.push_back(standin::engine().inspect(actor));
        return out;
    }
    auto live_proxy() -> std::optional<standin::ActorState> {
        for (const auto& state : proxies())
            if (state.alive)
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
    EXPECT_THAT(report("cpp_heartbeat.txt"), HasSubstr("unrealReady=0\n"));
    driver.mod().on_unreal_ready();

    // Seven seconds of fresh local state, then the proxy spawns at the reported pose.
    EXPECT_FALSE(driver.run_until([&] { return live_proxy().has_value(); }, 6.9));
    ASSERT_TRUE(driver.run_until([&] { return live_proxy().has_value(); }, 0.5));
    auto proxy = *live_proxy();
    EXPECT_EQ(proxy.pose.x, 0.0);
    EXPECT_EQ(proxy.pose.z, 100.0);
    EXPECT_EQ(proxy.pose.yaw, 170.0);
    EXPECT_FALSE(proxy.hidden);
    EXPECT_FALSE(proxy.collision);
    EXPECT_FALSE(proxy.tick);
    EXPECT_FALSE(fs::exists(exchange_dir() / "phase5g.enable_once.txt"));
    EXPECT_THAT(report("cpp_phase5g_spawn.txt"), HasSubstr("remoteDisplayName=KESTREN CLIENT B\n"));

    // The target moves: each move closes 35% of the gap; the yaw turns the short way through 180.
    put("remote_players.tsv", "p2\tKESTREN CLIENT B\t100\t0\t100\t-170\tMap_A\n");
    const auto moves = [] {
        const auto journal = standin::engine().journal();
        return std::count(journal.begin(), journal.end(), "K2_SetActorLocationAndRotation");
    };
    ASSERT_TRUE(driver.run_until([&] { return moves() >= 1 && live_proxy()->pose.x != 0.0; }, 1.0));
    // Earlier moves toward the old target kept x at 0; the first move toward x = 100 lands on 35.
    EXPECT_FLOAT_EQ(static_cast<float>(live_proxy()->pose.x), 35.0f);
    EXPECT_FLOAT_EQ(static_cast<float>(live_proxy()->pose.yaw), 177.0f);
    const auto before = moves();
    ASSERT_TRUE(driver.run_until([&] { return moves() > before; }, 0.2));
    EXPECT_FLOAT_EQ(static_cast<float>(live_proxy()->pose.x), 57.75f);
    EXPECT_NEAR(live_proxy()->pose.yaw, -178.45, 1e-3);

    driver.run_for(1.0);
    EXPECT_THAT(report("cpp_heartbeat.txt"),
                HasSubstr("sessionEnabled=1\nproxyActive=1\nremoteFresh=1\nmovementUpdates="));

    // A target far away is reached in one jump, its yaw as reported; the next steps wrap two whole turns
    // back to +0, never -0.
    put("remote_players.tsv", "p2\tKESTREN CLIENT B\t5000\t0\t100\t-720\tMap_A\n");
    ASSERT_TRUE(driver.run_until([&] { return live_proxy()->pose.x == 5000.0; }, 0.5));
    driver.run_for(1.1);
    EXPECT_THAT(report("cpp_phase5g_status.txt"), HasSubstr("\nappliedYaw=0\n"));

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
    driver.run_for(1.0);
    EXPECT_THAT(report("cpp_heartbeat.txt"), HasSubstr("sessionEnabled=0\nproxyActive=0\n"));
    EXPECT_EQ(proxies().size(), 2u);

    driver.uninstall();
    EXPECT_EQ(report("cpp_mod_unloaded.txt"), "KorvathOnlineCpp Phase 5G unloaded with no active proxy.\n");
    EXPECT_EQ(count_lines(*host.console, L"Phase 5G failed"), 0);
}

struct RelocationCase {
    const char* name;
    int32_t major, minor;
    const char* localState;
    const char* destination; // the report's three destination lines
    double x, y, z;
};

class ClientBRelocation : public EndToEnd, public ::testing::WithParamInterface<RelocationCase> {};

TEST_P(ClientBRelocation, MovesThePawnAsideBeforeTheSessionStarts) {
    const auto& c = GetParam();
    standin::engine().set_version(c.major, c.minor);
    put("phase5g-role.txt", "  CLIENT_B \t\r\n");
    put("local_state.tsv", c.localState);
    put("phase5g.enable_once.txt");
    SessionDriver driver(KORVATH_DRIVEN_MOD_LIBRARY);
    driver.mod().on_unreal_ready();

    ASSERT_TRUE(
        driver.run_until([] { return fs::exists(exchange_dir() / "cpp_phase5g_client_spawn.txt"); }, 2.5));
    const auto pawn = standin::engine().inspect(game.pawn);
    EXPECT_NEAR(pawn.pose.x, c.x, 1e-3);
    EXPECT_NEAR(pawn.pose.y, c.y, 1e-3);
    EXPECT_NEAR(pawn.pose.z, c.z, 1e-3);
    EXPECT_THAT(report("cpp_phase5g_client_spawn.txt"), HasSubstr(c.destination));
    EXPECT_EQ(count_lines(*host.console, L"waiting two seconds"), 1);
    EXPECT_EQ(count_lines(*host.console, L"moved CLIENT B to its distinct local spawn"), 1);

    // Only now does the enable wait begin.
    driver.run_for(1.0);
    EXPECT_THAT(report("cpp_heartbeat.txt"), HasSubstr("clientRole=CLIENT_B\nclientBSpawnAdjusted=1\n"));
    EXPECT_EQ(count_lines(*host.console, L"waiting seven seconds"), 1);
}

INSTANTIATE_TEST_SUITE_P(
    BothLayouts, ClientBRelocation,
    ::testing::Values(
        RelocationCase{"Yaw0Engine5", 5, 1, "1000\t2000\t100\t0\tMap_A\n",
                       "destinationX=1000\ndestinationY=2800\ndestinationZ=110\n", 1000, 2800, 110},
        RelocationCase{"Yaw0Engine4", 4, 27, "1000\t2000\t100\t0\tMap_A\n",
                       "destinationX=1000\ndestinationY=2800\ndestinationZ=110\n", 1000, 2800, 110},
        RelocationCase{"Yaw90Engine5", 5, 1, "1000\t2000\t100\t90\tMap_A\n",
                       "destinationX=200\ndestinationY=2000\ndestinationZ=110\n", 200, 2000, 110},
        RelocationCase{"Yaw90Engine4", 4, 27, "1000\t2000\t100\t90\tMap_A\n",
                       "destinationX=200\ndestinationY=2000\ndestinationZ=110\n", 200, 2000, 110},
        RelocationCase{"Yaw45Engine5", 5, 0, "-1234.5\t678.25\t50.5\t45\tMap_A\n",
                       "destinationX=-1800.19\ndestinationY=1243.94\ndestinationZ=60.5\n", -1800.1854,
                       1243.9354, 60.5},
        RelocationCase{"Yaw45Engine4", 4, 27, "-1234.5\t678.25\t50.5\t45\tMap_A\n",
                       "destinationX=-1800.19\ndestinationY=1243.94\ndestinationZ=60.5\n", -1800.1854,
                       1243.9354, 60.5},
        RelocationCase{"Yaw180Engine6", 6, 0, "0\t0\t0\t180\tMap_A\n",
                       "destinationX=6.99382e-05\ndestinationY=-800\ndestinationZ=10\n", 6.99382e-05, -800,
                       10},
        RelocationCase{"Yaw180Engine4", 4, 27, "0\t0\t0\t180\tMap_A\n",
                       "destinationX=6.99382e-05\ndestinationY=-800\ndestinationZ=10\n", 6.99382e-05, -800,
                       10}),
    [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(EndToEnd, ProxyFollowsIntoANewWorldAndOutlivesTheModObject) {
    SessionDriver driver(KORVATH_DRIVEN_MOD_LIBRARY);
    put("local_state.tsv", "0\t0\t100\t0\tMap_A\n");
    put("phase5g.enable_once.txt");
    put("remote_players.tsv", "p2\tB\t50\t0\t100\t0\tMap_A\n");
    driver.mod().on_unreal_ready();
    ASSERT_TRUE(driver.run_until([&] { return live_proxy().has_value(); }, 8.0));

    // A map change: the old world and everything in it go, including the proxy.
    const auto next = standin::engine().change_map(game, L"Map_B").world;
    ASSERT_TRUE(driver.run_until([&] { return live_proxy().has_value(); }, 0.5));
    EXPECT_EQ(live_proxy()->world, next);
    driver.run_for(0.5);
    EXPECT_EQ(count_lines(*host.console, L"Phase 5G failed"), 0);

    // The object's last tick posts a move; unloading leaves the proxy in the world, and the callback
    // still runs the move after the object is freed (an ASan build catches any touch of it).
    standin::clock().advance_ns(50'000'000);
    driver.mod().on_host_tick();
    driver.uninstall();
    EXPECT_EQ(report("cpp_mod_unloaded.txt"),
              "KorvathOnlineCpp Phase 5G unloaded while the proxy was active.\n");
    const auto moves = standin::engine().calls(standin::Op::Move);
    standin::engine().process_event();
    EXPECT_EQ(standin::engine().calls(standin::Op::Move), moves + 1);
    EXPECT_TRUE(live_proxy().has_value());

    // A new object in the same process registers no second callback.
    driver.restart();
    driver.mod().on_unreal_ready();
    EXPECT_EQ(standin::engine().callback_count(), 1u);
}

} // namespace
} // namespace korvath::test
