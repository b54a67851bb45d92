// The pose tracker script in whole sessions: korvath-sim's tracker mode, whose games run the script in the
// simulator's stand-in of the host's Lua side.

#include "support/test_support.hpp"
#include "tools/platform/os.hpp"
#include "tools/session/demo/child_process.hpp"
#include "tools/session/exchange/client_controls.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace korvath::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using namespace std::chrono_literals;

// The demo with --tracker: both proxies spawn and follow, and stopping a tracker makes the other proxy go
// stale. Its game folders have no <root>/Game/Binaries layout, so the script writes in the working
// directory, which the simulator makes the game folder.
TEST(TrackerSession, BothProxiesSpawnAndFollowAndStoppingATrackerMakesTheOtherProxyStale) {
    const fs::path dir = scratch_dir("tracker-demo") / "demo";
    const auto [status, output] =
        run_tool("korvath-session", {"demo", "--quick", "--tracker", "--dir", dir.string()});
    EXPECT_EQ(status, 0) << output;
    for (const char* text :
         {"A spawned its proxy of B", "B spawned its proxy of A", "B's proxy of A followed",
          "A's tracker stopped", "B destroyed its proxy of A as \"remote-player-stale\"", "Demo passed"})
        EXPECT_THAT(output, HasSubstr(text));
    // Each game ran the script and never wrote the local state itself.
    for (const char* log : {"client-a.log", "client-b.log"}) {
        const std::string text = read_file(dir / log);
        EXPECT_THAT(text, HasSubstr("[KorvathTracker] writing KorvathOnline/local_state.tsv in the working "
                                    "directory up to 60 times a second"));
        EXPECT_THAT(text, Not(HasSubstr("tracker callback failed"))) << log;
    }
    EXPECT_THAT(read_file(dir / "client-a.log"), HasSubstr("korvath-sim: the tracker stops"));
}

// The last lines a world log holds for the actors whose full name contains `name`: x, y and yaw each.
auto last_poses(const fs::path& worldLog, std::string_view name) -> std::vector<std::array<double, 3>> {
    std::vector<std::array<double, 3>> poses;
    std::string lastTime;
    std::istringstream lines(fs::exists(worldLog) ? read_file(worldLog) : "");
    for (std::string line; std::getline(lines, line);) {
        std::vector<std::string> fields;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, '\t');)
            fields.push_back(cell);
        if (fields.size() < 11 || fields[1].find(name) == std::string::npos || fields[10] != "1")
            continue;
        if (fields[0] != lastTime)
            poses.clear(), lastTime = fields[0];
        poses.push_back({std::stod(fields[3]), std::stod(fields[4]), std::stod(fields[6])});
    }
    return poses;
}

// Two games on engine 5.1 started with their working directory elsewhere (through a launcher), each
// tracker writing beside its game's executable, where the mod looks: both proxies spawn and face the other
// player's yaw, and CLIENT_B, moved aside, keeps its own. The folders are ASCII, which every ANSI code page
// spells.
TEST(TrackerSession, TwoGamesLaunchedElsewhereOnEngine5FollowWithTheReportedYaw) {
    const fs::path root = os::make_temporary_directory("korvath-cwd");
    const fs::path elsewhere = root / "elsewhere";
    struct Side {
        fs::path game, worldLog, log;
        session_tool::ClientRole role;
        const char* pawn;
    };
    const Side sides[2] = {{root / "A" / "Game" / "Binaries" / "Win64", root / "a.world.tsv", root / "a.log",
                            session_tool::ClientRole::ClientA, "0,0,100,-120"},
                           {root / "B" / "Game" / "Binaries" / "Win64", root / "b.world.tsv", root / "b.log",
                            session_tool::ClientRole::ClientB, "3000,0,100,37"}};
    std::vector<std::unique_ptr<session_tool::ChildProcess>> games;
    for (const Side& side : sides) {
        fs::create_directories(side.game.parent_path().parent_path() / "Content");
        fs::create_directories(elsewhere);
        ASSERT_TRUE(session_tool::write_role_file(side.game, side.role));
        ASSERT_TRUE(session_tool::place_enable_marker(side.game));
        games.push_back(std::make_unique<session_tool::ChildProcess>(
            tool_program("korvath-sim"),
            std::vector<std::string>{"--game-dir", side.game.string(), "--tracker", "--cwd",
                                     elsewhere.string(), "--engine", "5.1", "--pawn", side.pawn,
                                     "--world-log", side.worldLog.string(), "--duration", "30"},
            side.log));
    }
    session_tool::ChildProcess relay(
        tool_program("korvath-session"),
        {"relay", sides[0].game.string(), sides[1].game.string(), "--duration", "30"}, root / "relay.log");
    const auto proxy_of = [&](const Side& side) { return last_poses(side.worldLog, "_21474800"); };
    // CLIENT_B stands 800 units to the left of where it was put, facing 37 degrees.
    const double turn = 37 * std::acos(-1.0) / 180, bX = 3000 - 800 * std::sin(turn),
                 bY = 800 * std::cos(turn);
    const bool following = wait_until(20s, [&] {
        const auto inA = proxy_of(sides[0]), inB = proxy_of(sides[1]);
        return inA.size() == 1 && inB.size() == 1 && std::abs(inA[0][0] - bX) < 1 &&
               std::abs(inA[0][1] - bY) < 1 && std::abs(inB[0][0]) < 1;
    });
    EXPECT_TRUE(following) << read_file(sides[0].log) << read_file(sides[1].log);
    const auto inA = proxy_of(sides[0]), inB = proxy_of(sides[1]);
    const auto pawnB = last_poses(sides[1].worldLog, "BP_PlayerCharacter_C_0");
    ASSERT_EQ(inA.size(), 1u);
    ASSERT_EQ(inB.size(), 1u);
    ASSERT_EQ(pawnB.size(), 1u);
    EXPECT_NEAR(inA[0][2], 37, 0.01);   // A's proxy of B
    EXPECT_NEAR(inB[0][2], -120, 0.01); // B's proxy of A
    EXPECT_NEAR(pawnB[0][2], 37, 0.01);
    EXPECT_NEAR(pawnB[0][0], bX, 0.01);
    EXPECT_NEAR(pawnB[0][1], bY, 0.01);
    for (const fs::path& game : {sides[0].game, sides[1].game})
        EXPECT_TRUE(fs::exists(exchange_of(game) / "local_state.tsv"));
    EXPECT_FALSE(fs::exists(exchange_of(elsewhere) / "local_state.tsv"));
    EXPECT_THAT(read_file(sides[0].log), HasSubstr("[KorvathTracker] writing " +
                                                   (exchange_of(sides[0].game) / "local_state.tsv").string() +
                                                   " up to 60 times a second\n"));
    relay.terminate(2s);
    for (auto& game : games)
        EXPECT_EQ(game->terminate(5s), 0);
    fs::remove_all(root);
}

// Two games whose sessions are started and stopped only by keys pressed in their trackers, with the relay
// between them: both proxies spawn and follow, A's stop key destroys A's as "kill-switch", and each game's
// console tells each step once.
TEST(TrackerSession, KeysAloneStartAndStopATwoClientSession) {
    const fs::path dir = scratch_dir("tracker-keys");
    const fs::path a = dir / "a", b = dir / "b";
    write_file(exchange_of(b) / "phase5g-role.txt", "CLIENT_B\n");
    fs::create_directories(exchange_of(a));
    const auto sim = [&](const fs::path& game) {
        return std::make_unique<session_tool::ChildProcess>(
            tool_program("korvath-sim"),
            std::vector<std::string>{"--game-dir", game.string(), "--tracker", "--control",
                                     (game / "control.txt").string(), "--duration", "60"},
            game / "game.log");
    };
    auto gameA = sim(a), gameB = sim(b);
    session_tool::ChildProcess relay(tool_program("korvath-session"),
                                     {"relay", a.string(), b.string(), "--duration", "60"},
                                     dir / "relay.log");
    const auto press = [](const fs::path& game, std::string_view keys) {
        write_file(game / "control.txt.new", "key " + std::string(keys) + "\n");
        fs::rename(game / "control.txt.new", game / "control.txt");
    };
    const auto status = [](const fs::path& game, std::string_view key) {
        const fs::path file = exchange_of(game) / "cpp_phase5g_status.txt";
        const std::string text = fs::exists(file) ? read_file(file) : "";
        const std::size_t at = text.find("\n" + std::string(key) + "=");
        return at == std::string::npos
                   ? std::string()
                   : text.substr(at + key.size() + 2, text.find('\n', at + 1) - at - key.size() - 2);
    };
    press(a, "CTRL+F7");
    press(b, "CTRL+F7");
    EXPECT_TRUE(wait_until(std::chrono::seconds(40), [&] {
        return status(a, "proxyActive") == "1" && status(b, "proxyActive") == "1" &&
               std::stoull("0" + status(a, "movementUpdates")) >= 20 &&
               std::stoull("0" + status(b, "movementUpdates")) >= 20;
    })) << "no following proxies";
    press(a, "CTRL+F8");
    const auto logOf = [](const fs::path& game) { return read_file(game / "game.log"); };
    EXPECT_TRUE(wait_until(std::chrono::seconds(10), [&] {
        return logOf(a).find("[KorvathTracker] the proxy was destroyed: kill-switch") != std::string::npos;
    }));
    EXPECT_THAT(read_file(exchange_of(a) / "cpp_phase5g_destroy.txt"),
                HasSubstr("destroyReason=kill-switch"));
    gameA->terminate(std::chrono::seconds(5));
    gameB->terminate(std::chrono::seconds(5));
    relay.terminate(std::chrono::seconds(5));
    const auto count = [](const std::string& text, std::string_view line) {
        std::size_t n = 0;
        for (std::size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1))
            ++n;
        return n;
    };
    const std::string logA = logOf(a), logB = logOf(b);
    for (const char* line :
         {"[KorvathTracker] enable marker placed", "[KorvathTracker] the session is enabled\n",
          "[KorvathTracker] the other player's proxy spawned\n", "[KorvathTracker] stop marker placed",
          "[KorvathTracker] the proxy was destroyed: kill-switch\n"})
        EXPECT_EQ(count(logA, line), 1U) << line << " in A's log:\n" << logA;
    for (const char* line :
         {"[KorvathTracker] CLIENT_B moved 800 units aside to its own spawn\n",
          "[KorvathTracker] the session is enabled\n", "[KorvathTracker] the other player's proxy spawned\n"})
        EXPECT_EQ(count(logB, line), 1U) << line << " in B's log:\n" << logB;
}

} // namespace
} // namespace korvath::test
