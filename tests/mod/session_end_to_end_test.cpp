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

TEST_F(EndToEnd, ProxyOutlivesTheModObject) {
    SessionDriver driver(KORVATH_DRIVEN_MOD_LIBRARY);
    put("local_state.tsv", "0\t0\t100\t0\tMap_A\n");
    put("phase5g.enable_once.txt");
    put("remote_players.tsv", "p2\tB\t50\t0\t100\t0\tMap_A\n");
    driver.mod().on_unreal_init();
    ASSERT_TRUE(driver.run_until([&] { return live_proxy().has_value(); }, 8.0));

    // The object's last tick posts a move; unloading leaves the proxy in the world, and the callback
    // still runs the move after the object is freed (an ASan build catches any touch of it).
    standin::clock().advance_ns(50'000'000);
    driver.mod().on_update();
    driver.uninstall();
    EXPECT_EQ(report("cpp_mod_unloaded.txt"),
              "KorvathOnlineCpp Phase 5G unloaded while the proxy was active.\n");
    const auto moves = standin::engine().calls(standin::Op::Move);
    standin::engine().process_event();
    EXPECT_TRUE(standin::engine().calls(standin::Op::Move) == moves + 1 && live_proxy().has_value());

    // A new object in the same process registers no second callback.
    driver.restart();
    driver.mod().on_unreal_init();
    EXPECT_EQ(standin::engine().callback_count(), 1u);
}

} // namespace
} // namespace korvath::test
