// The update hook driven tick by tick with explicit monotonic times.

#include "exchange/exchange_directory.hpp"
#include "mod/session_state.hpp"
#include "session/session_controller.hpp"
#include "support/session_driver.hpp"

#include <gtest/gtest.h>

namespace korvath::test {
namespace {

constexpr int64_t kSecond = 1'000'000'000;
constexpr int64_t kT0 = 50 * kSecond;

const std::wstring kSevenSecondLine =
    L"[KorvathOnlineCpp] Phase 5G detected fresh local state; waiting seven "
    L"seconds before enabling the network proxy.\n";
const std::wstring kEnabledLine = L"[KorvathOnlineCpp] Phase 5G real-client proxy session enabled.\n";
const std::wstring kTwoSecondLine =
    L"[KorvathOnlineCpp] Phase 5G.5 CLIENT B pawn loaded; waiting two seconds "
    L"before distinct-spawn relocation.\n";

class SessionController : public ::testing::Test {
protected:
    SessionController() {
        exchangeDirectory = exchange_dir();
        fs::create_directories(exchange_dir());
    }

    auto tick(int64_t now) -> GameThreadCommand {
        run_host_tick(stamps, now);
        return take_game_thread_command();
    }
    auto count(const std::wstring& line) const -> long { return count_lines(*host.console, line); }
    static auto fresh_local_state() -> void { put("local_state.tsv", "0\t0\t100\t0\tMap_A\n"); }
    static auto fresh_remote_row() -> void {
        put("remote_players.tsv", "p2\tKESTREN CLIENT B\t10\t20\t30\t90\tMap_A\n");
    }
    static auto has(const char* name) -> bool { return fs::exists(exchange_dir() / name); }
    static auto snapshot() -> RemotePlayerState {
        std::lock_guard lock(remoteStateMutex);
        return remotePlayerSnapshot;
    }

    // Readies the engine and runs the enable wait to its end at kT0 + 7 s.
    auto enable_session() -> void {
        unrealReady.store(true);
        put("phase5g.enable_once.txt");
        fresh_local_state();
        tick(kT0);
        tick(kT0 + 7 * kSecond);
        ASSERT_TRUE(sessionEnabled.load());
    }

    HostFixture host;
    SessionTimestamps stamps;
};

TEST_F(SessionController, HeartbeatAndStatusOncePerSecondFromTheFirstCall) {
    movementUpdates.store(12345678901ull);
    testFailed.store(true);
    clientRole.store(kClientB);
    tick(kT0);
    EXPECT_EQ(read_file(exchange_dir() / "cpp_heartbeat.txt"),
              "running=1\nunrealReady=0\nsessionEnabled=0\nproxyActive=0\nremoteFresh=0\n"
              "movementUpdates=12345678901\ntestFailed=1\nclientRole=CLIENT_B\nclientBSpawnAdjusted=0\n");
    for (const auto& [at, written] : {std::pair{kT0 + kSecond - 1, false}, std::pair{kT0 + kSecond, true}}) {
        fs::remove(exchange_dir() / "cpp_heartbeat.txt");
        fs::remove(exchange_dir() / "cpp_phase5g_status.txt");
        tick(at);
        EXPECT_EQ(has("cpp_heartbeat.txt"), written) << at;
        EXPECT_EQ(has("cpp_phase5g_status.txt"), written) << at;
    }
}

// Before the engine is ready no marker does anything; then the stop marker outranks the enable marker.
TEST_F(SessionController, StopMarkerOutranksEnableAndIsNeverConsumed) {
    put("phase5g.stop.txt");
    put("phase5g.enable_once.txt");
    fresh_local_state();
    fresh_remote_row();
    for (int64_t t = -10 * kSecond; t <= 10 * kSecond; t += kSecond / 2) {
        if (t == 0) { // the engine becomes ready
            EXPECT_FALSE(killSwitchEngaged.load());
            unrealReady.store(true);
        }
        EXPECT_EQ(tick(kT0 + t), GameThreadCommand::None);
    }
    EXPECT_TRUE(killSwitchEngaged && !sessionEnabled && has("phase5g.enable_once.txt") &&
                has("phase5g.stop.txt"));

    // Removing the marker lets the session start; the kill switch stays engaged.
    fs::remove(exchange_dir() / "phase5g.stop.txt");
    tick(kT0 + 11 * kSecond);
    tick(kT0 + 18 * kSecond);
    EXPECT_TRUE(sessionEnabled && killSwitchEngaged);

    // Stopped and asked again: the wait of the first enabling still counts, so no second wait.
    put("phase5g.stop.txt");
    tick(kT0 + 19 * kSecond);
    EXPECT_FALSE(sessionEnabled.load());
    fs::remove(exchange_dir() / "phase5g.stop.txt");
    put("phase5g.enable_once.txt");
    tick(kT0 + 20 * kSecond);
    EXPECT_TRUE(sessionEnabled.load());
    EXPECT_EQ(count(kSevenSecondLine), 1);
}

TEST_F(SessionController, EnableWaitsExactlySevenSecondsOfFreshLocalStateAndPollsInTheSameCall) {
    unrealReady.store(true);
    fresh_local_state();
    fresh_remote_row();
    tick(kT0); // no marker yet: nothing starts
    EXPECT_EQ(count(kSevenSecondLine), 0);

    put("phase5g.enable_once.txt");
    tick(kT0 + kSecond);
    // Local state gone stale restarts the wait.
    set_file_age(exchange_dir() / "local_state.tsv", 4);
    tick(kT0 + 3 * kSecond);
    EXPECT_EQ(stamps.enableWaitStartedAt, 0);
    fresh_local_state();
    tick(kT0 + 4 * kSecond);
    EXPECT_EQ(count(kSevenSecondLine), 2);
    // A marker taken away and put back during the wait does not restart it.
    fs::remove(exchange_dir() / "phase5g.enable_once.txt");
    tick(kT0 + 5 * kSecond);
    put("phase5g.enable_once.txt");
    EXPECT_EQ(tick(kT0 + 11 * kSecond - 1), GameThreadCommand::None);
    EXPECT_TRUE(!sessionEnabled && has("phase5g.enable_once.txt"));

    EXPECT_EQ(tick(kT0 + 11 * kSecond), GameThreadCommand::SyncProxy);
    EXPECT_TRUE(sessionEnabled && !has("phase5g.enable_once.txt") && remoteFresh);
    EXPECT_EQ(std::pair(count(kEnabledLine), count(kSevenSecondLine)), std::pair(1L, 2L));
    EXPECT_TRUE(snapshot().playerId == "p2" && snapshot().yaw == 90.0f);
}

TEST_F(SessionController, ClientBRelocatesOnceBeforeTheSessionCanStart) {
    unrealReady.store(true);
    clientRole.store(kClientB);
    put("phase5g.enable_once.txt");
    fresh_local_state();
    // The stop marker holds the relocation back too.
    put("phase5g.stop.txt");
    for (int64_t t = -5; t < 0; ++t)
        EXPECT_EQ(tick(kT0 + t * kSecond), GameThreadCommand::None);
    EXPECT_EQ(count(kTwoSecondLine), 0);
    fs::remove(exchange_dir() / "phase5g.stop.txt");

    EXPECT_EQ(tick(kT0), GameThreadCommand::None);
    EXPECT_EQ(count(kTwoSecondLine), 1);
    EXPECT_EQ(tick(kT0 + 2 * kSecond - 1), GameThreadCommand::None);
    EXPECT_EQ(tick(kT0 + 2 * kSecond), GameThreadCommand::RelocateClientB);
    EXPECT_TRUE(clientBRelocationQueued.load());
    // Queued: no second post, and the enable marker waits.
    for (int64_t t = 3; t < 12; ++t)
        EXPECT_EQ(tick(kT0 + t * kSecond), GameThreadCommand::None);
    EXPECT_EQ(count(kSevenSecondLine), 0);

    // The game thread gave up (no pawn yet): posted again at once.
    clientBRelocationQueued.store(false);
    EXPECT_EQ(tick(kT0 + 12 * kSecond), GameThreadCommand::RelocateClientB);

    // Local state gone stale during the wait: the queue flag and the stamp are cleared.
    set_file_age(exchange_dir() / "local_state.tsv", 5);
    EXPECT_EQ(tick(kT0 + 13 * kSecond), GameThreadCommand::None);
    EXPECT_TRUE(!clientBRelocationQueued && stamps.clientBWaitStartedAt == 0);

    // A failed relocation does not block the session.
    fresh_local_state();
    clientBSpawnAdjustFailed.store(true);
    tick(kT0 + 14 * kSecond);
    EXPECT_EQ(count(kSevenSecondLine), 1);
    tick(kT0 + 21 * kSecond);
    EXPECT_TRUE(sessionEnabled.load());
}

TEST_F(SessionController, SyncEvery50msPollEvery75msAndStaleRemoteOrTheStopMarkerDestroyTheProxy) {
    enable_session();
    fresh_remote_row();
    const int64_t fresh = kT0 + 8 * kSecond;
    EXPECT_EQ(tick(fresh), GameThreadCommand::SyncProxy);
    EXPECT_EQ(tick(fresh + 49'999'999), GameThreadCommand::None);
    EXPECT_EQ(tick(fresh + 50'000'000), GameThreadCommand::SyncProxy);
    const int64_t lastPoll = stamps.lastRemotePollAt;
    tick(fresh + 60'000'000);
    EXPECT_EQ(stamps.lastRemotePollAt, lastPoll);
    tick(lastPoll + 75'000'000);
    EXPECT_EQ(stamps.lastRemotePollAt, lastPoll + 75'000'000);
    proxyActive.store(true);

    set_file_age(exchange_dir() / "remote_players.tsv", 5);
    EXPECT_EQ(tick(fresh + kSecond), GameThreadCommand::None);
    EXPECT_TRUE(!remoteFresh && stamps.lastRemoteFreshAt == lastPoll + 75'000'000);
    EXPECT_EQ(snapshot().playerId, "p2"); // the last good row stays
    // A usable row within the three seconds keeps the proxy and starts the count again.
    fresh_remote_row();
    EXPECT_EQ(tick(fresh + 2 * kSecond), GameThreadCommand::SyncProxy);
    const int64_t lastFresh = fresh + 2 * kSecond;
    set_file_age(exchange_dir() / "remote_players.tsv", 5);
    EXPECT_EQ(tick(lastFresh + 3 * kSecond - 1), GameThreadCommand::None);
    EXPECT_EQ(tick(lastFresh + 3 * kSecond), GameThreadCommand::DestroyProxy);
    EXPECT_EQ(tick(lastFresh + 3 * kSecond + 1), GameThreadCommand::DestroyProxy);

    // Without a proxy nothing is posted; a usable row brings SyncProxy back.
    proxyActive.store(false);
    EXPECT_EQ(tick(lastFresh + 4 * kSecond), GameThreadCommand::None);
    fresh_remote_row();
    EXPECT_EQ(tick(lastFresh + 5 * kSecond), GameThreadCommand::SyncProxy);

    // The stop marker asks for the destroy on every call, and the remote table is polled no more.
    proxyActive.store(true);
    put("phase5g.stop.txt");
    set_file_age(exchange_dir() / "remote_players.tsv", 5);
    for (int64_t i = 1; i <= 3; ++i)
        EXPECT_EQ(tick(lastFresh + 5 * kSecond + i * kSecond / 10), GameThreadCommand::DestroyProxy);
    EXPECT_TRUE(!sessionEnabled && killSwitchEngaged && remoteFresh);
}

} // namespace
} // namespace korvath::test
