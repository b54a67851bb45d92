// The ProcessEvent dispatch, linked in-process. That the engine-ready hook registers it once is checked by
// the end-to-end tests.

#include "exchange/exchange_directory.hpp"
#include "mod/game_thread_dispatch.hpp"
#include "mod/session_state.hpp"
#include "standin/Engine.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

namespace korvath::test {
namespace {

class Dispatch : public ::testing::Test {
protected:
    Dispatch() {
        exchangeDirectory = exchange_dir();
        game = standin::engine().populate_game_world(standin::Pose{});
        std::lock_guard lock(remoteStateMutex);
        remotePlayerSnapshot = RemotePlayerState{"p2", "B", "Map_A", 10, 20, 30, 45, true};
    }
    static auto journal_has(std::string_view entry) -> bool {
        const auto journal = standin::engine().journal();
        return std::find(journal.begin(), journal.end(), entry) != journal.end();
    }

    HostFixture host;
    standin::GameWorld game;
};

TEST_F(Dispatch, EmptySlotTouchesNothingACommandRunsOnceAndTheLastPostWins) {
    on_game_thread_process_event(game.pawn, nullptr, nullptr);
    on_game_thread_process_event(nullptr, nullptr, nullptr);
    EXPECT_TRUE(standin::engine().journal().empty() && !fs::exists(exchange_dir()));

    post_game_thread_command(GameThreadCommand::SyncProxy);
    on_game_thread_process_event(nullptr, nullptr, nullptr);
    ASSERT_TRUE(proxyActive.load());
    const auto journalAfterSpawn = standin::engine().journal().size();
    on_game_thread_process_event(nullptr, nullptr, nullptr);
    EXPECT_EQ(standin::engine().journal().size(), journalAfterSpawn);

    post_game_thread_command(GameThreadCommand::SyncProxy);
    post_game_thread_command(GameThreadCommand::DestroyProxy);
    on_game_thread_process_event(nullptr, nullptr, nullptr);
    EXPECT_TRUE(!proxyActive && proxyDestroyed && !journal_has("K2_SetActorLocationAndRotation"));
}

// With the remote player stale no command comes, so a proxy that a map change took away stayed reported
// as active until the stale destruction three seconds later.
TEST_F(Dispatch, ProxyRemovedByTheEngineIsNoLongerReportedActiveWithoutACommand) {
    post_game_thread_command(GameThreadCommand::SyncProxy);
    on_game_thread_process_event(nullptr, nullptr, nullptr);
    ASSERT_TRUE(proxyActive.load());
    for (int call = 0; call < 64; ++call)
        on_game_thread_process_event(nullptr, nullptr, nullptr);
    EXPECT_TRUE(proxyActive.load()); // still there

    game = standin::engine().change_map(game, L"Map_B");
    for (int call = 0; call < 64; ++call)
        on_game_thread_process_event(nullptr, nullptr, nullptr);
    EXPECT_TRUE(!proxyActive && !proxyDestroyed); // the mod destroyed nothing

    post_game_thread_command(GameThreadCommand::SyncProxy); // a new proxy in the new world
    on_game_thread_process_event(nullptr, nullptr, nullptr);
    EXPECT_TRUE(proxyActive && standin::engine().inspect(proxyActor).world == game.world);
}

} // namespace
} // namespace korvath::test
