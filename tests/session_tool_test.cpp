// korvath-session: its readers and writers of the exchange files, and the program itself.

#include "exchange/exchange_directory.hpp"
#include "exchange/local_state.hpp"
#include "exchange/remote_players.hpp"
#include "support/test_support.hpp"
#include "tools/session/client_snapshot.hpp"
#include "tools/session/client_view.hpp"
#include "tools/session/command_line.hpp"
#include "tools/session/local_state_line.hpp"
#include "tools/session/relay_link.hpp"
#include "tools/session/remote_player_row.hpp"
#include "tools/session/report_lines.hpp"
#include "tools/session/text_fields.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/wait.h>

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;
using namespace std::chrono_literals;

const fs::path kTool = fs::path(KORVATH_TOOLS_DIR) / "korvath-session";

TEST(SessionToolText, SplitTabFieldsAndParseFloatFieldFollowTheModRules) {
    const std::pair<std::string, std::vector<std::string>> splits[] = {
        {"", {}}, {"a", {"a"}}, {"a\t\tb", {"a", "", "b"}}, {"a\tb\t", {"a", "b"}}, {"\t", {""}}};
    for (const auto& [line, fields] : splits)
        EXPECT_EQ(tool::split_tab_fields(line), fields) << line;

    const std::pair<std::string, float> accepted[] = {
        {"1.5", 1.5F}, {" 1.5", 1.5F}, {"0x10", 16.0F}, {"-20", -20.0F}};
    for (const auto& [text, expected] : accepted) {
        float value = 0.0F;
        EXPECT_TRUE(tool::parse_float_field(text, value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
    for (const char* text : {"1.5 ", "1,5", "", "nan", "inf", "1e39", "1e-45", "abc"}) {
        float value = 0.0F;
        EXPECT_FALSE(tool::parse_float_field(text, value)) << text;
    }
}

TEST(SessionToolLocalState, OnlyAValidFirstLineGivesAPose) {
    const std::string row = "100.5\t-20\t35.25\t90\tMap_A";
    for (const std::string& content : {row, row + "\r\n", row + "\nx\ty\n", row + "\textra"}) {
        const auto pose = tool::parse_local_state(content);
        ASSERT_TRUE(pose) << content;
        EXPECT_EQ(pose->x, 100.5F);
        EXPECT_EQ(pose->y, -20.0F);
        EXPECT_EQ(pose->z, 35.25F);
        EXPECT_EQ(pose->yaw, 90.0F);
        EXPECT_EQ(pose->mapName, "Map_A");
    }
    EXPECT_EQ(tool::parse_local_state("1\t2\t3\t4\t\tsixth")->mapName, "");
    for (const std::string& content :
         std::vector<std::string>{"", "1\t2\t3\t4", "1\t2\t3\t4\t", "x\ty\tz\tyaw\tmap\n" + row,
                                  "\xEF\xBB\xBF" + row, "1\t2\tnan\t4\tM", "1\t2\t3\t4 \tM"})
        EXPECT_FALSE(tool::parse_local_state(content)) << content;
}

TEST(SessionToolRemoteRow, RowIsExactAndItsNumbersReadBackUnchanged) {
    EXPECT_EQ(tool::format_remote_player_row("player-a", "KESTREN CLIENT A",
                                             {100.5F, -20.0F, 35.25F, 90.0F, "Map_A"}),
              "player-a\tKESTREN CLIENT A\t100.5\t-20\t35.25\t90\tMap_A\n");
    // Six significant digits would move these; the relay must hand the pose over exactly.
    const tool::PlayerPose pose{1234567.9F, 0.1F, -3.4028235e38F, 179.99998F, ""};
    std::string row = tool::format_remote_player_row("p", "", pose);
    ASSERT_EQ(row.back(), '\n');
    row.pop_back();
    const auto fields = tool::split_tab_fields(row); // the empty map must still be a seventh field
    ASSERT_EQ(fields.size(), 7u);
    const float expected[] = {pose.x, pose.y, pose.z, pose.yaw};
    for (std::size_t index = 0; index < 4; ++index) {
        float value = 0.0F;
        ASSERT_TRUE(tool::parse_float_field(fields[index + 2], value)) << fields[index + 2];
        EXPECT_EQ(value, expected[index]);
    }
    EXPECT_EQ(fields[6], "");
}

// The tool knows the mod only through the files; here the two are held against each other.
TEST(SessionToolAgainstMod, TheModReadsLocalStatesAndRelayedRowsAsTheToolDoes) {
    exchangeDirectory = exchange_dir();
    const std::string contents[] = {"100.5\t-20\t35.25\t90\tMap_A\r\nnext\n",
                                    "1\t2\t3\t4\t\tsixth",
                                    " 0x10\t1e-3\t-3.4028235e38\t179.99998\tMap with blanks",
                                    "1\t2\t3\t4\t",
                                    "1.5 \t2\t3\t4\tM",
                                    "\xEF\xBB\xBF"
                                    "1\t2\t3\t4\tM"};
    for (const auto& content : contents) {
        write_file(exchange_dir() / "local_state.tsv", content);
        LocalPlayerState local;
        const auto pose = tool::parse_local_state(content);
        ASSERT_EQ(pose.has_value(), read_local_state(local)) << content;
        if (!pose)
            continue;
        std::string row = tool::format_remote_player_row("player-b", "KESTREN CLIENT B", *pose);
        row.pop_back();
        RemotePlayerState remote;
        ASSERT_TRUE(parse_remote_player_row(row, remote)) << row;
        EXPECT_EQ(std::tie(remote.x, remote.y, remote.z, remote.yaw, remote.mapName),
                  std::tie(local.x, local.y, local.z, local.yaw, local.mapName))
            << row;
        EXPECT_EQ(remote.playerId, "player-b");
        EXPECT_EQ(remote.displayName, "KESTREN CLIENT B");
    }
}

TEST(SessionToolReport, LinesSplitIntoKeysAndValues) {
    const auto lines = tool::parse_report("running=1\r\nmessage: a=b\nplain text\n\nlast=");
    ASSERT_EQ(lines.size(), 5u);
    const std::tuple<std::string, std::string, bool> expected[] = {{"running", "1", true},
                                                                   {"message: a", "b", true},
                                                                   {"plain text", "", false},
                                                                   {"", "", false},
                                                                   {"last", "", true}};
    for (std::size_t index = 0; index < lines.size(); ++index) {
        EXPECT_EQ(lines[index].key, std::get<0>(expected[index])) << index;
        EXPECT_EQ(lines[index].value, std::get<1>(expected[index])) << index;
        EXPECT_EQ(lines[index].hasValue, std::get<2>(expected[index])) << index;
    }
    EXPECT_EQ(lines[0].text, "running=1");
    EXPECT_EQ(tool::parse_report("\n").size(), 1u);
    EXPECT_TRUE(tool::parse_report("").empty());
    EXPECT_EQ(tool::report_value(tool::parse_report("a=1\na=2\n"), "a"), "1");
    EXPECT_EQ(tool::report_value(tool::parse_report("a\n"), "a"), std::nullopt);
}

TEST(SessionToolCommandLine, ValidLinesParse) {
    auto parse = [](std::vector<std::string_view> args) { return tool::parse_command_line(args); };
    EXPECT_EQ(parse({"role", "G", "CLIENT_B"}).role, tool::ClientRole::ClientB);
    EXPECT_EQ(parse({"role", "G", "CLIENT_B"}).gameDirs, std::vector<fs::path>{"G"});
    EXPECT_EQ(parse({"relay", "A", "B"}).hz, 20);
    EXPECT_EQ(parse({"relay", "A", "--hz", "1000", "B", "--duration=0.25"}).hz, 1000);
    EXPECT_EQ(parse({"relay", "A", "B", "--duration=0.25"}).duration, 250ms);
    EXPECT_EQ(parse({"watch", "A", "B", "C"}).gameDirs.size(), 3u);
    EXPECT_EQ(parse({"watch", "A", "--duration", "0"}).duration, 0ns);
    EXPECT_EQ(parse({"relay", "--help"}).kind, tool::CommandKind::Help);
    EXPECT_EQ(parse({"--version"}).kind, tool::CommandKind::Version);
}

TEST(SessionToolCommandLine, BadLinesNameTheProblem) {
    const std::pair<std::vector<std::string_view>, std::string> cases[] = {
        {{}, "missing subcommand"},
        {{"launch", "A"}, "unknown subcommand 'launch'"},
        {{"role", "G", "client_b"}, "unknown role 'client_b'"},
        {{"role", "G"}, "role DIR CLIENT_A|CLIENT_B"},
        {{"enable", "G", "H"}, "enable DIR"},
        {{"relay", "A"}, "relay DIR_A DIR_B"},
        {{"watch"}, "watch DIR..."},
        {{"relay", "A", "B", "--hz", "0"}, "--hz must be a whole number from 1 to 1000, got '0'"},
        {{"relay", "A", "B", "--hz", "1001"}, "got '1001'"},
        {{"relay", "A", "B", "--hz", "20x"}, "got '20x'"},
        {{"relay", "A", "B", "--hz"}, "option --hz needs a value"},
        {{"relay", "A", "B", "--hz", "5", "--hz=6"}, "option --hz given twice"},
        {{"relay", "A", "B", "--duration", "-1"}, "--duration must be a number of seconds"},
        {{"relay", "A", "B", "--duration", "inf"}, "got 'inf'"},
        {{"watch", "A", "--hz", "5"}, "option --hz does not apply to watch"},
        {{"stop", "A", "--duration", "1"}, "option --duration does not apply to stop"},
        {{"watch", "A", "--fast"}, "unknown option '--fast'"},
    };
    for (const auto& [args, message] : cases) {
        try {
            tool::parse_command_line(args);
            ADD_FAILURE() << "accepted: " << message;
        } catch (const tool::UsageError& error) {
            EXPECT_NE(std::string(error.what()).find(message), std::string::npos) << error.what();
        }
    }
}

TEST(SessionToolView, CellsPackIntoRowsAndTheHeadingSummarisesTheHeartbeat) {
    EXPECT_EQ(tool::pack_cells("status", {"a=1", "b=2", "c=3"}, 24), "  status        a=1  b=2\n"
                                                                     "                c=3\n");
    EXPECT_EQ(tool::pack_cells("error", {"a long message", "x"}, 20), "  error         a long message\n"
                                                                      "                x\n");
    tool::ClientSnapshot snapshot;
    snapshot.label = "GameB";
    EXPECT_EQ(tool::render_client_view(snapshot, 100), "== GameB ==  no KorvathOnline folder yet\n");

    snapshot.exchangeDirFound = true;
    snapshot.reports[tool::kHeartbeatReport] = {true, "running=1\ntestFailed=1\nclientRole=CLIENT_B\n"};
    snapshot.reports[2] = {true, "KorvathOnlineCpp Phase 5G loaded.\nSecond line.\n"};
    const std::string view = tool::render_client_view(snapshot, 100);
    EXPECT_EQ(view.substr(0, view.find('\n')), "== GameB ==  CLIENT_B  heartbeat STALE  TEST FAILED");
    EXPECT_NE(view.find("  mod_loaded    KorvathOnlineCpp Phase 5G loaded.\n  unreal_ready  absent\n"),
              std::string::npos)
        << view;
}

TEST(SessionToolRelayLink, RelaysOnlyAFreshValidLocalStateAndLeavesTheOtherFileAlone) {
    const fs::path from = scratch_dir("from"), to = scratch_dir("to");
    const fs::path local = from / "KorvathOnline" / "local_state.tsv";
    const fs::path remote = to / "KorvathOnline" / "remote_players.tsv";
    const tool::RelayLink link{from, to, "player-b", "KESTREN CLIENT B"};
    const auto now = fs::file_time_type::clock::now();

    EXPECT_EQ(tool::relay_local_state(link, now), tool::RelayOutcome::Missing);
    write_file(local, "x\ty\tz\tyaw\tmap\n");
    EXPECT_EQ(tool::relay_local_state(link, now), tool::RelayOutcome::Invalid);
    EXPECT_FALSE(fs::exists(remote));

    write_file(local, "1\t2\t3\t4\tMap_B\n");
    const auto written = fs::last_write_time(local);
    EXPECT_EQ(tool::relay_local_state(link, written + 3s), tool::RelayOutcome::Relayed);
    EXPECT_EQ(read_file(remote), "player-b\tKESTREN CLIENT B\t1\t2\t3\t4\tMap_B\n");
    EXPECT_FALSE(fs::exists(remote.string() + ".tmp"));

    write_file(remote, "earlier row\n");
    EXPECT_EQ(tool::relay_local_state(link, written + 3s + 1ns), tool::RelayOutcome::Stale);
    EXPECT_EQ(read_file(remote), "earlier row\n");
    EXPECT_EQ(tool::relay_local_state(link, written - 10s), tool::RelayOutcome::Relayed); // future: fresh
}

TEST(SessionToolSnapshot, AReportCaughtMidReplacementKeepsItsLastContent) {
    const fs::path game = scratch_dir("game");
    const fs::path status = game / "KorvathOnline" / "cpp_phase5g_status.txt";
    write_file(status, "phase=5G\n");
    const auto now = fs::file_time_type::clock::now();
    const auto first = tool::take_client_snapshot(game, nullptr, now);
    EXPECT_EQ(first.reports[1], (tool::ReportState{true, "phase=5G\n"}));

    fs::rename(status, status.string() + ".tmp"); // the mod removed the report and has not renamed yet
    EXPECT_EQ(tool::take_client_snapshot(game, &first, now).reports[1], first.reports[1]);
    fs::remove(status.string() + ".tmp");
    EXPECT_FALSE(tool::take_client_snapshot(game, &first, now).reports[1].present);
}

// Runs the tool with `args` (each quoted for the shell); stdout and stderr together.
auto run_tool(const std::vector<std::string>& args) -> std::pair<int, std::string> {
    std::string command = "'" + kTool.string() + "'";
    for (const auto& arg : args)
        command += " '" + arg + "'";
    command += " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        throw std::runtime_error("cannot run " + command);
    std::string output;
    char buffer[4096];
    while (std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe))
        output.append(buffer, count);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

TEST(SessionToolProcess, ControlsCreateAndRemoveTheirFiles) {
    const fs::path game = scratch_dir("controls");
    const fs::path exchange = game / "KorvathOnline";
    EXPECT_EQ(run_tool({"role", game.string(), "CLIENT_B"}).first, 0);
    EXPECT_EQ(read_file(exchange / "phase5g-role.txt"), "CLIENT_B\n");
    EXPECT_EQ(run_tool({"role", game.string(), "CLIENT_A"}).first, 0);
    EXPECT_EQ(read_file(exchange / "phase5g-role.txt"), "CLIENT_A\n");
    EXPECT_EQ(run_tool({"enable", game.string()}).first, 0);
    EXPECT_TRUE(fs::exists(exchange / "phase5g.enable_once.txt"));
    EXPECT_EQ(run_tool({"stop", game.string()}).first, 0);
    EXPECT_TRUE(fs::exists(exchange / "phase5g.stop.txt"));
    EXPECT_EQ(run_tool({"resume", game.string()}).first, 0);
    EXPECT_FALSE(fs::exists(exchange / "phase5g.stop.txt"));
    EXPECT_EQ(run_tool({"resume", game.string()}).first, 0);
    EXPECT_TRUE(fs::exists(exchange / "phase5g.enable_once.txt"));
    for (const auto& entry : fs::directory_iterator(exchange))
        EXPECT_NE(entry.path().extension(), ".tmp") << entry.path();
}

TEST(SessionToolProcess, BadArgumentsExitTwoWithTheProblemNamed) {
    const fs::path game = scratch_dir("bad");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "missing subcommand"},
        {{"relay", game.string(), game.string() + "-other"}, "does not exist"},
        {{"relay", game.string(), game.string()}, "two different game folders"},
        {{"relay", game.string(), game.string(), "--hz", "abc"}, "--hz must be"},
    };
    for (const auto& [args, message] : cases) {
        const auto [code, output] = run_tool(args);
        EXPECT_EQ(code, 2) << message;
        EXPECT_TRUE(output.starts_with("korvath-session: error: ")) << output;
        EXPECT_NE(output.find(message), std::string::npos) << output;
    }
    EXPECT_EQ(run_tool({"--help"}).first, 0);
    EXPECT_NE(run_tool({"--version"}).second.find("korvath-session "), std::string::npos);
}

TEST(SessionToolProcess, RelayCopiesAFreshLocalStateAndSkipsAStaleOne) {
    const fs::path gameA = scratch_dir("relay-a"), gameB = scratch_dir("relay-b");
    write_file(gameA / "KorvathOnline" / "local_state.tsv", "100.5\t-20\t35.25\t90\tMap_A\r\nsecond line\n");
    const fs::path staleB = gameB / "KorvathOnline" / "local_state.tsv";
    write_file(staleB, "1\t2\t3\t4\tMap_B\n");
    set_file_age(staleB, 3, 1'000'000);

    const auto [code, output] =
        run_tool({"relay", gameA.string(), gameB.string(), "--hz", "50", "--duration", "1"});
    EXPECT_EQ(code, 0) << output;
    EXPECT_EQ(read_file(gameB / "KorvathOnline" / "remote_players.tsv"),
              "player-a\tKESTREN CLIENT A\t100.5\t-20\t35.25\t90\tMap_A\n");
    EXPECT_FALSE(fs::exists(gameA / "KorvathOnline" / "remote_players.tsv"));
    EXPECT_NE(output.find("B -> A: local_state.tsv older than 3 s; not writing"), std::string::npos)
        << output;
}

TEST(SessionToolProcess, WatchPrintsTheHeartbeat) {
    const fs::path game = scratch_dir("watch");
    write_file(game / "KorvathOnline" / "cpp_heartbeat.txt",
               "running=1\nunrealReady=1\nsessionEnabled=0\nmovementUpdates=7\nclientRole=CLIENT_B\n");
    const auto [code, output] = run_tool({"watch", game.string(), "--duration", "0.5"});
    EXPECT_EQ(code, 0) << output;
    EXPECT_NE(output.find("CLIENT_B  heartbeat live"), std::string::npos) << output;
    EXPECT_NE(output.find("  heartbeat     running=1  unrealReady=1  sessionEnabled=0  movementUpdates=7"),
              std::string::npos)
        << output;
    EXPECT_NE(output.find("  status        absent\n"), std::string::npos) << output;
    EXPECT_EQ(output.find("\x1b["), std::string::npos) << "no screen control into a pipe";
}

} // namespace
} // namespace korvath::test
