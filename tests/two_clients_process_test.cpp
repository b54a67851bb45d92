// Whole games as processes: two korvath-sim clients with the relay of korvath-session between them,
// and single clients whose engine fails in one way each, ending in the matching error report.

#include "support/test_support.hpp"
#include "tools/session/child_process.hpp"
#include "tools/session/client_controls.hpp"
#include "tools/session/world_trace.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <functional>
#include <memory>
#include <thread>

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;
using namespace std::chrono_literals;

const fs::path kSimulator = fs::path(KORVATH_TOOLS_DIR) / "korvath-sim";
const fs::path kSessionTool = fs::path(KORVATH_TOOLS_DIR) / "korvath-session";
constexpr auto kPollPeriod = 50ms;

auto exchange_of(const fs::path& game) -> fs::path {
    return game / "KorvathOnline";
}

// Polls `done` until it holds or `limit` has passed; the last answer.
auto wait_for(std::chrono::milliseconds limit, const std::function<bool()>& done) -> bool {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline)
            return done();
        std::this_thread::sleep_for(kPollPeriod);
    }
    return true;
}

// A game that reports ready at once, so that its sessions start as early as the mod allows, and ends
// on its own should the test not stop it.
auto start_game(const fs::path& game, tool::ClientRole role, std::vector<std::string> extra)
    -> std::unique_ptr<tool::ChildProcess> {
    fs::create_directories(game);
    EXPECT_TRUE(tool::write_role_file(game, role));
    EXPECT_TRUE(tool::place_enable_marker(game));
    std::vector<std::string> args{"--game-dir", game.string(), "--ready-after", "0.1", "--duration", "40"};
    args.insert(args.end(), extra.begin(), extra.end());
    return std::make_unique<tool::ChildProcess>(kSimulator, args, game.string() + ".log");
}

TEST(TwoClientsProcess, RelayedGamesEachSpawnAProxyOfTheOtherPlayerWhereItStands) {
    const fs::path dir = scratch_dir("two-clients");
    const fs::path gameA = dir / "a", gameB = dir / "b";
    auto a = start_game(gameA, tool::ClientRole::ClientA,
                        {"--walk", "circle:300,300", "--world-log", (dir / "a.tsv").string()});
    auto b = start_game(gameB, tool::ClientRole::ClientB, {"--world-log", (dir / "b.tsv").string()});
    tool::ChildProcess relay(kSessionTool, {"relay", gameA.string(), gameB.string()}, dir / "relay.log");

    tool::WorldTrace worldA, worldB;
    const bool spawned = wait_for(20s, [&] {
        worldA.read_more(dir / "a.tsv");
        worldB.read_more(dir / "b.tsv");
        return !worldA.proxy().empty() && !worldB.proxy().empty();
    });
    ASSERT_TRUE(spawned) << read_file(gameA.string() + ".log") << read_file(gameB.string() + ".log");
    EXPECT_EQ(relay.terminate(5s), 0);
    EXPECT_EQ(a->terminate(5s), 0);
    EXPECT_EQ(b->terminate(5s), 0);

    for (const fs::path& game : {gameA, gameB}) {
        const std::string spawn = read_file(exchange_of(game) / "cpp_phase5g_spawn.txt");
        EXPECT_NE(spawn.find(game == gameA ? "remotePlayerId=player-b\n" : "remotePlayerId=player-a\n"),
                  std::string::npos)
            << spawn;
        EXPECT_FALSE(fs::exists(exchange_of(game) / "cpp_phase5g_error.txt"));
    }
    // A's proxy of B stands where B moved its pawn aside: 800 units to the side of the start, 10 up.
    const auto& proxyOfB = worldA.proxy().back();
    EXPECT_NEAR(proxyOfB.x, 0.0, 0.01);
    EXPECT_NEAR(proxyOfB.y, 800.0, 0.01);
    EXPECT_NEAR(proxyOfB.z, 110.0, 0.01);
    // B's proxy of A is on A's circle of radius 300 around the start, or on the way out to it.
    const auto& proxyOfA = worldB.proxy().back();
    EXPECT_LE(std::hypot(proxyOfA.x, proxyOfA.y), 300.5);
    EXPECT_EQ(proxyOfA.z, 100.0);
}

struct FaultCase {
    const char* fault; // --fail
    tool::ClientRole role;
    bool stopAfterSpawn;   // a destroy is needed: the stop marker, once the proxy stands
    const char* errorText; // cpp_phase5g_error.txt
};

// One game per engine failure, all at once. CLIENT_A gets a remote row that stays fresh (its time lies
// in the future), so its session spawns as soon as the seven-second wait is over.
TEST(TwoClientsProcess, EachEngineFailureEndsInItsErrorReport) {
    const FaultCase cases[] = {
        {"controller=missing", tool::ClientRole::ClientA, false,
         "The player controller or BP_PlayerCharacter_C class was not found.\n"},
        {"class=missing", tool::ClientRole::ClientA, false,
         "The player controller or BP_PlayerCharacter_C class was not found.\n"},
        {"world=missing", tool::ClientRole::ClientA, false,
         "The active player controller returned a null world.\n"},
        {"spawn=missing", tool::ClientRole::ClientA, false, "UWorld::SpawnActor returned null.\n"},
        {"spawn=throw", tool::ClientRole::ClientA, false,
         "Spawn call threw an exception: simulated spawn failure\n"},
        {"move=throw-unknown", tool::ClientRole::ClientA, false,
         "Movement call threw an unknown exception.\n"},
        {"destroy=throw", tool::ClientRole::ClientA, true,
         "Destroy call threw an exception: simulated destroy failure\n"},
        {"relocate=false", tool::ClientRole::ClientB, false,
         "Client B local pawn relocation returned false.\n"},
    };
    const fs::path dir = scratch_dir("faults");
    std::vector<std::unique_ptr<tool::ChildProcess>> games;
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        const fs::path game = dir / std::to_string(index);
        const fs::path remote = exchange_of(game) / "remote_players.tsv";
        write_file(remote, "player-b\tKESTREN CLIENT B\t0\t800\t110\t0\tMap_A\n");
        set_file_age(remote, -600);
        games.push_back(start_game(game, cases[index].role, {"--fail", cases[index].fault}));
    }
    const auto error_of = [&](std::size_t index) {
        const fs::path file = exchange_of(dir / std::to_string(index)) / "cpp_phase5g_error.txt";
        return fs::exists(file) ? read_file(file) : std::string();
    };
    wait_for(20s, [&] {
        bool all = true;
        for (std::size_t index = 0; index < std::size(cases); ++index) {
            const fs::path exchange = exchange_of(dir / std::to_string(index));
            if (cases[index].stopAfterSpawn && fs::exists(exchange / "cpp_phase5g_spawn.txt"))
                tool::place_stop_marker(dir / std::to_string(index));
            all = all && !error_of(index).empty();
        }
        return all;
    });
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        EXPECT_EQ(error_of(index), cases[index].errorText) << cases[index].fault;
        EXPECT_EQ(games[index]->terminate(5s), 0) << cases[index].fault;
    }
}

} // namespace
} // namespace korvath::test
