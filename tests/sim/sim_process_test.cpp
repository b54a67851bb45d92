// korvath-sim run as a process against a temporary game folder: a short run on its own, and games whose
// engine fails in one way each, ending in the matching error report. That no fault leaves a second
// proxy in the world is checked by the engine-fault soak runs.

#include "support/test_support.hpp"
#include "tools/session/demo/child_process.hpp"
#include "tools/session/exchange/client_controls.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <sstream>

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;
using namespace std::chrono_literals;
using ::testing::HasSubstr;

const fs::path kSimulator = tool_program("korvath-sim");

TEST(SimProcess, ShortRunEndsOnItsOwnAndLeavesTheReportsOfAWholeLifecycle) {
    const fs::path dir = scratch_dir("sim-run"), game = dir / "Game";
    tool::ChildProcess sim(kSimulator,
                           {"--game-dir", game.string(), "--duration", "1.5", "--ready-after", "0.2"},
                           dir / "sim.log");
    ASSERT_TRUE(wait_until(20s, [&] { return sim.poll().has_value(); }));
    const std::string output = read_file(dir / "sim.log");
    ASSERT_EQ(sim.poll(), 0) << output;

    for (const char* name : {"cpp_mod_loaded.txt", "cpp_unreal_ready.txt", "cpp_heartbeat.txt",
                             "local_state.tsv", "cpp_mod_unloaded.txt"})
        EXPECT_TRUE(fs::exists(exchange_of(game) / name)) << name;
    // The engine was ready before the second heartbeat, one second in.
    EXPECT_THAT(read_file(exchange_of(game) / "cpp_heartbeat.txt"), HasSubstr("\nunrealReady=1\n"));
    EXPECT_THAT(read_file(exchange_of(game) / "local_state.tsv"),
                ::testing::StartsWith("0.000\t0.000\t100.000\t0.000\tMap_A\t"));
    EXPECT_THAT(output, HasSubstr("korvath-sim: stopping"));
}

// One game per engine failure, all at once. Each gets a remote row that stays fresh (its time lies in
// the future), so its session starts as soon as the seven-second wait is over. SIGTERM then ends each
// game with exit 0 and the mod unloaded.
TEST(SimProcess, EachEngineFailureEndsInItsErrorReport) {
    // --fail and the error report. "relocate" runs as CLIENT_B, the others as CLIENT_A; "destroy" needs
    // the stop marker once the proxy stands.
    const std::pair<std::string, std::string> cases[] = {
        {"controller=missing", "The player controller or BP_PlayerCharacter_C class was not found.\n"},
        {"class=missing", "The player controller or BP_PlayerCharacter_C class was not found.\n"},
        {"world=missing", "The active player controller returned a null world.\n"},
        {"spawn=throw", "Spawn call threw an exception: simulated spawn failure\n"},
        {"move=throw-unknown", "Movement call threw an unknown exception.\n"},
        {"destroy=throw", "Destroy call threw an exception: simulated destroy failure\n"},
        {"relocate=false", "Client B local pawn relocation returned false.\n"},
        // The new actor cannot be set up nor destroyed.
        {"hidden=throw destroy=throw", "Spawn call threw an exception: simulated hidden failure\n"}};
    const fs::path dir = scratch_dir("faults");
    const auto game_of = [&](std::size_t index) { return dir / std::to_string(index); };
    const auto report = [&](std::size_t index, const char* name) {
        const fs::path file = exchange_of(game_of(index)) / name;
        return fs::exists(file) ? read_file(file) : std::string();
    };
    std::vector<std::unique_ptr<tool::ChildProcess>> games;
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        const fs::path game = game_of(index), remote = exchange_of(game) / "remote_players.tsv";
        write_file(remote, "player-b\tKESTREN CLIENT B\t0\t800\t110\t0\tMap_A\n");
        set_file_age(remote, -600);
        const bool clientB = cases[index].first.starts_with("relocate");
        EXPECT_TRUE(
            tool::write_role_file(game, clientB ? tool::ClientRole::ClientB : tool::ClientRole::ClientA));
        EXPECT_TRUE(tool::place_enable_marker(game));
        std::vector<std::string> arguments{"--game-dir", game.string(), "--ready-after",
                                           "0.1",        "--duration",  "100"};
        std::istringstream faults(cases[index].first);
        for (std::string fault; faults >> fault;)
            arguments.insert(arguments.end(), {"--fail", fault});
        games.push_back(
            std::make_unique<tool::ChildProcess>(kSimulator, arguments, fs::path(game) += ".log"));
    }
    // A generous deadline: a dozen games start at once, and a loaded machine slows them all.
    wait_until(80s, [&] {
        bool all = true;
        for (std::size_t index = 0; index < std::size(cases); ++index) {
            if (cases[index].first.starts_with("destroy") && !report(index, "cpp_phase5g_spawn.txt").empty())
                tool::place_stop_marker(game_of(index));
            all = all && !report(index, "cpp_phase5g_error.txt").empty();
        }
        return all;
    });
    for (std::size_t index = 0; index < std::size(cases); ++index) {
        EXPECT_EQ(report(index, "cpp_phase5g_error.txt"), cases[index].second) << cases[index].first;
        EXPECT_EQ(games[index]->terminate(5s), 0) << cases[index].first;
        EXPECT_NE(report(index, "cpp_mod_unloaded.txt"), "") << cases[index].first;
    }
}

} // namespace
} // namespace korvath::test
