// korvath-session: its readers and writers of the exchange files, and the program itself; and the
// command-line answers of both tools.

#include "exchange/exchange_directory.hpp"
#include "exchange/local_state.hpp"
#include "exchange/remote_players.hpp"
#include "support/test_support.hpp"
#include "tools/platform/os.hpp"
#include "tools/session/exchange/client_snapshot.hpp"
#include "tools/session/exchange/local_state_line.hpp"
#include "tools/session/exchange/remote_player_row.hpp"
#include "tools/session/link/relay_link.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <future>
#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;
using namespace std::chrono_literals;
using ::testing::HasSubstr;

// The row the tool relays from the local state `content`, as the mod reads it from its file.
auto relayed_to_mod(const std::string& content) -> std::optional<RemotePlayerState> {
    exchangeDirectory = exchange_dir();
    const auto pose = tool::parse_local_state(content);
    if (!pose)
        return std::nullopt;
    write_file(exchange_dir() / "remote_players.tsv",
               tool::format_remote_player_row("player-b", "KESTREN CLIENT B", *pose));
    RemotePlayerState remote;
    return read_remote_players(remote) ? std::optional(remote) : std::nullopt;
}

// The tool knows the mod only through the files: what it accepts of a local state, and the row it
// relays from it, must read in the mod exactly as the mod reads that local state.
TEST(SessionToolAgainstMod, MapNameEndingInCarriageReturnSurvivesTheRelay) {
    const auto remote = relayed_to_mod("1\t2\t3\t4\tMap_A\r\r\n");
    ASSERT_TRUE(remote);
    EXPECT_EQ(remote->mapName, "Map_A\r");
}

// An exact subnormal number (here 2^-149, in hexadecimal) is a valid coordinate to both readers, but its
// shortest decimal text "1e-45" is inexact, and strtof's range error for it made the mod drop the row.
TEST(SessionToolAgainstMod, SubnormalCoordinateSurvivesTheRelay) {
    const auto remote = relayed_to_mod("0x1p-149\t-0x1.8p-140\t3\t4\tMap_A\n");
    ASSERT_TRUE(remote);
    EXPECT_EQ(std::bit_cast<uint32_t>(remote->x), 1u);
    EXPECT_EQ(remote->y, -0x1.8p-140F);
}

#ifndef _WIN32
// A FIFO in the place of a local state is fresh and of size 0, and opening it blocked the relay's loop.
TEST(SessionToolRelayLink, FifoInPlaceOfTheLocalStateDoesNotBlockTheRelay) {
    const fs::path from = scratch_dir("fifo-from"), to = scratch_dir("fifo-to");
    const fs::path local = from / "KorvathOnline" / "local_state.tsv";
    fs::create_directories(local.parent_path());
    ASSERT_EQ(mkfifo(local.c_str(), 0600), 0);
    const tool::RelayLink link{from, to, "player-b", "KESTREN CLIENT B"};
    auto outcome = std::async(
        std::launch::async, [&] { return tool::relay_local_state(link, fs::file_time_type::clock::now()); });
    if (outcome.wait_for(30s) != std::future_status::ready) {
        ::close(::open(local.c_str(), O_WRONLY | O_NONBLOCK)); // lets the blocked open return
        FAIL() << "the relay blocked on a FIFO";
    }
    EXPECT_EQ(outcome.get(), tool::RelayOutcome::Missing);
    // Nor is an endless device read: only regular files are.
    EXPECT_EQ(os::read_shared("/dev/zero"), std::nullopt);
}
#endif

TEST(SessionToolSnapshot, AReportCaughtMidReplacementKeepsItsLastContent) {
    const fs::path game = scratch_dir("game"), status = game / "KorvathOnline" / "cpp_phase5g_status.txt";
    write_file(status, "phase=5G\n");
    const auto now = fs::file_time_type::clock::now();
    const auto first = tool::take_client_snapshot(game, nullptr, now);
    EXPECT_EQ(first.reports[1], (tool::ReportState{true, "phase=5G\n"}));
    const fs::path temporary = fs::path(status) += ".tmp";
    fs::rename(status, temporary); // the mod removed the report and has not renamed yet
    EXPECT_EQ(tool::take_client_snapshot(game, &first, now).reports[1], first.reports[1]);
    fs::remove(temporary);
    EXPECT_FALSE(tool::take_client_snapshot(game, &first, now).reports[1].present);
}

TEST(ToolProcess, BothToolsAnswerAndExitTwoOnABadArgument) {
    const fs::path dir = scratch_dir("smoke"), game = dir / "Game";
    const std::tuple<std::string_view, std::vector<std::string>, int, std::string> cases[] = {
        {"korvath-sim", {"--version"}, 0, "korvath-sim 0."},
        {"korvath-sim", {"--game-dir", game.string(), "--bogus"}, 2, "--bogus"},
        {"korvath-sim", {"--help"}, 0, "--world-log FILE"},
        {"korvath-session", {"--help"}, 0, "korvath-session"},
        {"korvath-session", {"--version"}, 0, "korvath-session 0."},
        {"korvath-session", {}, 2, "missing subcommand"},
        {"korvath-session", {"relay", "A", "B", "--hz", "0"}, 2, "Try 'korvath-session relay --help'"},
        {"korvath-session", {"relay", dir.string(), dir.string() + "-other"}, 2, "does not exist"},
        {"korvath-session", {"relay", dir.string(), dir.string()}, 2, "two different game folders"}};
    for (const auto& [program, args, code, output] : cases) {
        const auto [actualCode, actualOutput] = run_tool(program, args);
        EXPECT_EQ(actualCode, code) << actualOutput;
        EXPECT_THAT(actualOutput, HasSubstr(output));
    }
    EXPECT_FALSE(fs::exists(game)) << "no game folder for a command that does not run the game";
}

TEST(SessionToolProcess, RelayCopiesAFreshLocalStateAndSkipsAStaleOne) {
    const fs::path gameA = scratch_dir("relay-a"), gameB = scratch_dir("relay-b");
    write_file(gameA / "KorvathOnline" / "local_state.tsv", "100.5\t-20\t35.25\t90\tMap_A\r\nsecond line\n");
    write_file(gameB / "KorvathOnline" / "local_state.tsv", "1\t2\t3\t4\tMap_B\n");
    set_file_age(gameB / "KorvathOnline" / "local_state.tsv", 3, 1'000'000);
    const auto [code, output] = run_tool(
        "korvath-session", {"relay", gameA.string(), gameB.string(), "--hz", "50", "--duration", "1"});
    EXPECT_EQ(code, 0) << output;
    EXPECT_EQ(read_file(gameB / "KorvathOnline" / "remote_players.tsv"),
              "player-a\tKESTREN CLIENT A\t100.5\t-20\t35.25\t90\tMap_A\n");
    EXPECT_FALSE(fs::exists(gameA / "KorvathOnline" / "remote_players.tsv"));
}

TEST(SessionToolProcess, WatchShowsEachClientsHeartbeatAndReports) {
    const fs::path dir = scratch_dir("watch");
    write_file(dir / "live" / "KorvathOnline" / "cpp_heartbeat.txt",
               "running=1\nsessionEnabled=0\nmovementUpdates=7\ntestFailed=1\nclientRole=CLIENT_B\n");
    write_file(dir / "live" / "KorvathOnline" / "cpp_mod_loaded.txt",
               "KorvathOnlineCpp Phase 5G loaded.\nSecond.\n");
    write_file(dir / "stale" / "KorvathOnline" / "cpp_heartbeat.txt", "running=1\n");
    set_file_age(dir / "stale" / "KorvathOnline" / "cpp_heartbeat.txt", 10);
    fs::create_directories(dir / "none");
    const auto [code, output] =
        run_tool("korvath-session", {"watch", (dir / "live").string(), (dir / "none").string(),
                                     (dir / "stale").string(), "--duration", "0.5"});
    EXPECT_EQ(code, 0) << output;
    for (const char* text :
         {"live ==  CLIENT_B  heartbeat live  TEST FAILED\n", "  movementUpdates=7  ",
          "\n  status        absent\n", "\n  mod_loaded    KorvathOnlineCpp Phase 5G loaded.\n",
          "none ==  no KorvathOnline folder yet\n", "stale ==  heartbeat STALE\n"})
        EXPECT_THAT(output, HasSubstr(text));
    EXPECT_EQ(output.find("\x1b["), std::string::npos) << "no screen control into a file";
}

} // namespace
} // namespace korvath::test
