// korvath-session: its readers and writers of the exchange files, and the program itself; and the
// command-line answers of both tools.

#include "exchange/exchange_directory.hpp"
#include "exchange/local_state.hpp"
#include "exchange/remote_players.hpp"
#include "support/test_support.hpp"
#include "tools/platform/os.hpp"
#include "tools/session/command_line.hpp"
#include "tools/session/demo/child_process.hpp"
#include "tools/session/exchange/client_snapshot.hpp"
#include "tools/session/exchange/local_state_line.hpp"
#include "tools/session/exchange/remote_player_row.hpp"
#include "tools/session/link/relay_link.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;
using namespace std::chrono_literals;
using ::testing::HasSubstr;

const fs::path kSession = fs::path(KORVATH_TOOLS_DIR) / ("korvath-session" KORVATH_EXECUTABLE_SUFFIX);
const fs::path kSim = fs::path(KORVATH_TOOLS_DIR) / ("korvath-sim" KORVATH_EXECUTABLE_SUFFIX);

// The tool knows the mod only through the files: what it accepts of a local state, and the row it
// relays from it, must read in the mod exactly as the mod reads that local state.
TEST(SessionToolAgainstMod, TheModReadsLocalStatesAndRelayedRowsAsTheToolDoes) {
    exchangeDirectory = exchange_dir();
    std::vector<std::string> contents = {"100.5\t-20\t35.25\t90\tMap_A\r\nnext\n",
                                         "1\t2\t3\t4\t\tsixth",
                                         "",
                                         "1\t2\t3\t4",
                                         "1\t2\t3\t4\t",
                                         "x\ty\tz\tyaw\tmap\n1\t2\t3\t4\tM",
                                         "1\t2\t3\t4\tMap_A\t123456789\t42\n"};
    // The first number in every spelling; the others would move if written with six digits.
    for (const char* x : {"1.5", " 0x10", "1234567.9", "-20", "1.5 ", "1,5", "", "nan", "inf", "1e39",
                          "1e-45", "abc", "\uFEFF1"})
        contents.push_back(std::string(x) + "\t0.1\t-3.4028235e38\t179.99998\tMap with blanks");
    for (const auto& content : contents) {
        write_file(exchange_dir() / "local_state.tsv", content);
        LocalPlayerState local;
        const auto pose = tool::parse_local_state(content);
        ASSERT_EQ(pose.has_value(), read_local_state(local)) << content;
        if (!pose)
            continue;
        const std::string row = tool::format_remote_player_row("player-b", "KESTREN CLIENT B", *pose);
        RemotePlayerState remote;
        ASSERT_TRUE(row.ends_with('\n') && parse_remote_player_row(row.substr(0, row.size() - 1), remote))
            << row;
        EXPECT_EQ(std::tie(remote.x, remote.y, remote.z, remote.yaw, remote.mapName),
                  std::tie(local.x, local.y, local.z, local.yaw, local.mapName))
            << row;
    }
}

// What the process tests do not reach: both option spellings, options among the folders, the help of
// each subcommand, and the mistakes with the subcommand whose help the error suggests.
TEST(SessionToolCommandLine, ValidLinesParseAndBadOnesNameTheProblem) {
    auto parse = [](std::vector<std::string_view> args) { return tool::parse_command_line(args); };
    const auto relay = parse({"relay", "A", "--hz", "1000", "B", "--duration=0.25"});
    EXPECT_EQ(std::tie(relay.kind, relay.hz, relay.duration, relay.gameDirs, relay.predict),
              std::make_tuple(tool::CommandKind::Relay, 1000, std::chrono::nanoseconds(250ms),
                              std::vector<fs::path>{"A", "B"}, true));
    EXPECT_FALSE(parse({"relay", "--no-predict", "A", "B"}).predict);
    EXPECT_EQ(parse({"watch", "A", "/b", "C"}).gameDirs, (std::vector<fs::path>{"A", "/b", "C"}));
    EXPECT_EQ(parse({"role", "G", "CLIENT_B"}).role, tool::ClientRole::ClientB);
    const auto demo = parse({"demo", "--keep", "--dir=/tmp/d", "--quick"});
    EXPECT_TRUE(demo.kind == tool::CommandKind::Demo && demo.demo.keep && demo.demo.quick &&
                demo.demo.dir == "/tmp/d" && demo.demo.predict && !demo.demo.straight);
    EXPECT_FALSE(parse({"demo", "--no-predict"}).demo.predict);
    EXPECT_EQ(parse({"--version"}).kind, tool::CommandKind::Version);

    // Help wins over a bad value next to it, and each help names what its command takes.
    const std::pair<std::vector<std::string_view>, std::vector<std::string>> helps[] = {
        {{"--help"}, {"role", "enable", "stop", "resume", "relay", "watch", "demo", "Exit codes"}},
        {{"relay", "A", "B", "--hz", "5000", "-h"}, {"DIR_A", "DIR_B", "--hz", "--duration", "--no-predict"}},
        {{"demo", "--dir", "x", "--help"},
         {"--keep", "--quick", "--straight", "--compare", "remote-player-stale", "130"}}};
    for (const auto& [args, texts] : helps) {
        const auto help = parse(args);
        ASSERT_EQ(help.kind, tool::CommandKind::Help) << args[0];
        for (const auto& text : texts)
            EXPECT_THAT(help.helpText, HasSubstr(text));
    }

    const std::tuple<std::vector<std::string_view>, std::string, std::string> bad[] = {
        {{}, "missing subcommand", ""},
        {{"launch", "A"}, "unknown subcommand 'launch'", ""},
        {{"--bogus"}, "--bogus", ""},
        {{"role", "G", "client_b"}, "unknown role 'client_b'", "role"},
        {{"enable"}, "DIR", "enable"},
        {{"stop", "A", "B"}, "B", "stop"},
        {{"relay", "A"}, "DIR_B", "relay"},
        {{"relay", "A", "B", "--hz", "1001"},
         "--hz must be a whole number from 1 to 1000, got '1001'",
         "relay"},
        {{"relay", "A", "B", "--hz", "20x"}, "got '20x'", "relay"},
        {{"relay", "A", "B", "--hz"}, "--hz", "relay"},
        {{"relay", "A", "B", "--hz", "5", "--hz=6"}, "--hz", "relay"},
        {{"relay", "A", "B", "--duration", "inf"},
         "--duration must be a number of seconds from 0 to 100000000",
         "relay"},
        {{"watch", "A", "--hz", "5"}, "--hz", "watch"},
        {{"watch", "A", "--no-predict"}, "--no-predict", "watch"},
        {{"relay", "A", "B", "--no-predict=0"}, "no-predict", "relay"},
        {{"demo", "--dir", ""}, "option --dir needs a directory", "demo"},
        {{"demo", "--dir="}, "--dir", "demo"},
        {{"demo", "A"}, "A", "demo"}};
    for (const auto& [args, message, subcommand] : bad) {
        try {
            parse(args);
            ADD_FAILURE() << message;
        } catch (const tool::UsageError& error) {
            EXPECT_THAT(error.what(), HasSubstr(message));
            EXPECT_EQ(error.subcommand(), subcommand) << message;
        }
    }
}

// The relay process test shows the row itself; here the outcomes that leave the other file alone.
TEST(SessionToolRelayLink, RelaysOnlyAFreshValidLocalStateAndLeavesTheOtherFileAlone) {
    const fs::path from = scratch_dir("from"), to = scratch_dir("to");
    const fs::path local = from / "KorvathOnline" / "local_state.tsv";
    const fs::path remote = to / "KorvathOnline" / "remote_players.tsv";
    const tool::RelayLink link{from, to, "player-b", "KESTREN CLIENT B"};
    write_file(local, "x\ty\tz\tyaw\tmap\n");
    EXPECT_EQ(tool::relay_local_state(link, fs::file_time_type::clock::now()), tool::RelayOutcome::Invalid);
    EXPECT_FALSE(fs::exists(remote));

    write_file(local, "1\t2\t3\t4\tMap_B\n");
    const auto written = *os::last_write_time(local);
    EXPECT_EQ(tool::relay_local_state(link, written + 3s), tool::RelayOutcome::Relayed);
    write_file(remote, "earlier row\n");
    EXPECT_EQ(tool::relay_local_state(link, written + 3s + 1ns), tool::RelayOutcome::Stale);
    EXPECT_EQ(read_file(remote), "earlier row\n");
    EXPECT_EQ(tool::relay_local_state(link, written - 10s), tool::RelayOutcome::Relayed); // future: fresh
}

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

// Runs `program` with `args`; the exit code and stdout and stderr together.
auto run(const fs::path& program, const std::vector<std::string>& args) -> std::pair<int, std::string> {
    const fs::path output = scratch_dir("run") / "output.txt";
    const int status = tool::ChildProcess(program, args, output).wait();
    return {status, read_file(output)};
}

TEST(ToolProcess, BothToolsAnswerAndExitTwoOnABadArgument) {
    const fs::path dir = scratch_dir("smoke"), game = dir / "Game";
    const std::tuple<fs::path, std::vector<std::string>, int, std::string> cases[] = {
        {kSim, {"--version"}, 0, "korvath-sim 0."},
        {kSim, {"--game-dir", game.string(), "--bogus"}, 2, "--bogus"},
        {kSim, {"--help"}, 0, "--world-log FILE"},
        {kSession, {"--help"}, 0, "korvath-session"},
        {kSession, {}, 2, "missing subcommand"},
        {kSession, {"relay", "A", "B", "--hz", "0"}, 2, "Try 'korvath-session relay --help'"},
        {kSession, {"relay", dir.string(), dir.string() + "-other"}, 2, "does not exist"},
        {kSession, {"relay", dir.string(), dir.string()}, 2, "two different game folders"}};
    for (const auto& [program, args, code, output] : cases) {
        const auto [actualCode, actualOutput] = run(program, args);
        EXPECT_EQ(actualCode, code) << actualOutput;
        EXPECT_THAT(actualOutput, HasSubstr(output));
    }
    EXPECT_FALSE(fs::exists(game)) << "no game folder for a command that does not run the game";
}

TEST(SessionToolProcess, ControlsCreateAndRemoveTheirFiles) {
    const fs::path game = scratch_dir("controls"), exchange = game / "KorvathOnline";
    const auto control = [&](std::vector<std::string> args) {
        args.insert(args.begin() + 1, game.string());
        return run(kSession, args).first;
    };
    EXPECT_EQ(control({"role", "CLIENT_B"}) + control({"role", "CLIENT_A"}), 0);
    EXPECT_EQ(read_file(exchange / "phase5g-role.txt"), "CLIENT_A\n");
    EXPECT_EQ(control({"enable"}) + control({"stop"}), 0);
    EXPECT_TRUE(fs::exists(exchange / "phase5g.enable_once.txt") &&
                fs::exists(exchange / "phase5g.stop.txt"));
    EXPECT_EQ(control({"resume"}) + control({"resume"}), 0);
    EXPECT_FALSE(fs::exists(exchange / "phase5g.stop.txt"));
    EXPECT_TRUE(fs::exists(exchange / "phase5g.enable_once.txt"));
}

TEST(SessionToolProcess, RelayCopiesAFreshLocalStateAndSkipsAStaleOne) {
    const fs::path gameA = scratch_dir("relay-a"), gameB = scratch_dir("relay-b");
    write_file(gameA / "KorvathOnline" / "local_state.tsv", "100.5\t-20\t35.25\t90\tMap_A\r\nsecond line\n");
    write_file(gameB / "KorvathOnline" / "local_state.tsv", "1\t2\t3\t4\tMap_B\n");
    set_file_age(gameB / "KorvathOnline" / "local_state.tsv", 3, 1'000'000);
    const auto [code, output] =
        run(kSession, {"relay", gameA.string(), gameB.string(), "--hz", "50", "--duration", "1"});
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
    const auto [code, output] = run(kSession, {"watch", (dir / "live").string(), (dir / "none").string(),
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
