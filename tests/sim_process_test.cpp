// korvath-sim run as a process against a temporary game folder, as the session tool and the soak
// runs use it.

#include "support/test_support.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <ostream>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace korvath::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string kSimulator = KORVATH_TOOLS_DIR "/korvath-sim";
const std::string kLoadedLine =
    "[KorvathOnlineCpp] Phase 5G DLL loaded. Waiting for a one-time real-client proxy enable marker.\n";
const std::string kUnloadedLine = "[KorvathOnlineCpp] Phase 5G DLL unloaded.\n";

// One simulator process: standard output through a pipe, standard error into a file.
class SimProcess {
public:
    SimProcess(const std::vector<std::string>& args, const fs::path& stderrFile)
        : m_stderrFile(stderrFile) {
        int pipeFds[2];
        if (pipe(pipeFds) != 0)
            throw std::runtime_error("pipe failed");
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, stderrFile.c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0644);
        std::vector<char*> argv{const_cast<char*>(kSimulator.c_str())};
        for (const auto& arg : args)
            argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        const int error = posix_spawn(&m_pid, kSimulator.c_str(), &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(pipeFds[1]);
        m_stdout = pipeFds[0];
        if (error != 0)
            throw std::runtime_error("cannot start " + kSimulator);
    }
    ~SimProcess() {
        if (m_pid > 0) {
            kill(m_pid, SIGKILL);
            waitpid(m_pid, nullptr, 0);
        }
        close(m_stdout);
    }

    // Reads standard output until it holds `text` or ends; returns all read so far.
    auto read_until(std::string_view text) -> const std::string& {
        while (m_output.find(text) == std::string::npos && read_more()) {
        }
        return m_output;
    }
    auto read_all() -> const std::string& {
        while (read_more()) {
        }
        return m_output;
    }

    auto signal(int number) -> void { kill(m_pid, number); }
    // The exit status, or 128 + the signal that ended the process.
    auto wait() -> int {
        int status = 0;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    auto error_output() const -> std::string { return read_file(m_stderrFile); }

private:
    auto read_more() -> bool {
        char buffer[4096];
        ssize_t n;
        do
            n = read(m_stdout, buffer, sizeof buffer);
        while (n < 0 && errno == EINTR);
        if (n > 0)
            m_output.append(buffer, static_cast<std::size_t>(n));
        return n > 0;
    }

    pid_t m_pid{-1};
    int m_stdout{-1};
    fs::path m_stderrFile;
    std::string m_output;
};

struct CommandCase {
    const char* name;
    std::vector<std::string> args;
    int exitCode;
    std::string expectedOutput; // on standard output when the exit code is 0, else on standard error
};

auto PrintTo(const CommandCase& command, std::ostream* out) -> void {
    *out << command.name;
}

class SimCommandLine : public ::testing::TestWithParam<CommandCase> {};

TEST_P(SimCommandLine, AnswersWithoutRunningOrNamesTheBadArgument) {
    const fs::path dir = scratch_dir("sim-cli");
    std::vector<std::string> args = GetParam().args;
    for (auto& arg : args)
        if (arg == "DIR")
            arg = (dir / "Game").string();
    SimProcess sim(args, dir / "stderr.txt");
    const std::string output = sim.read_all();
    EXPECT_EQ(sim.wait(), GetParam().exitCode);
    EXPECT_THAT(GetParam().exitCode == 0 ? output : sim.error_output(), HasSubstr(GetParam().expectedOutput));
    EXPECT_FALSE(fs::exists(dir / "Game")) << "no game folder for a command that does not run the game";
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SimCommandLine,
    ::testing::Values(CommandCase{"Help", {"--help"}, 0, "--game-dir DIR"},
                      CommandCase{"Version", {"--version"}, 0, "korvath-sim 0."},
                      CommandCase{"UnknownFlag", {"--game-dir", "DIR", "--bogus"}, 2, "'--bogus'"},
                      CommandCase{"NoGameDir", {"--duration", "1"}, 2, "--game-dir"},
                      CommandCase{"BadDuration", {"--game-dir", "DIR", "--duration", "-1"}, 2, "--duration"},
                      CommandCase{"BadFault", {"--game-dir", "DIR", "--fail", "pawn=explode"}, 2, "--fail"},
                      CommandCase{
                          "MissingValue", {"--game-dir", "DIR", "--walk"}, 2, "--walk needs a value"}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST(SimProcess, ShortRunLaysOutTheGameAndLeavesTheReportsOfAWholeLifecycle) {
    const fs::path dir = scratch_dir("sim-run");
    const fs::path game = dir / "Game";
    SimProcess sim({"--game-dir", game.string(), "--duration", "1.5", "--ready-after", "0.2"},
                   dir / "stderr.txt");
    const std::string output = sim.read_all();
    ASSERT_EQ(sim.wait(), 0) << sim.error_output();

    EXPECT_TRUE(fs::exists(game / "KorvathGame"));
    EXPECT_TRUE(fs::exists(game / "Mods" / "KorvathOnlineCpp" / "dlls" / "main.so"));
    const fs::path exchange = game / "KorvathOnline";
    for (const char* name : {"cpp_mod_loaded.txt", "cpp_unreal_ready.txt", "cpp_heartbeat.txt",
                             "local_state.tsv", "cpp_mod_unloaded.txt"})
        EXPECT_TRUE(fs::exists(exchange / name)) << name;
    // The engine was ready before the second heartbeat, one second in.
    EXPECT_THAT(read_file(exchange / "cpp_heartbeat.txt"), HasSubstr("\nunrealReady=1\n"));
    EXPECT_EQ(read_file(exchange / "local_state.tsv"), "0.000\t0.000\t100.000\t0.000\tMap_A\n");
    EXPECT_THAT(output, StartsWith(kLoadedLine));
    EXPECT_THAT(output, EndsWith(kUnloadedLine));
    EXPECT_THAT(sim.error_output(), HasSubstr("korvath-sim: stopping"));
}

class SimTermination : public ::testing::TestWithParam<int> {};

TEST_P(SimTermination, SignalStopsTheGameUnloadsTheModAndExitsZero) {
    const fs::path dir = scratch_dir("sim-signal");
    const fs::path game = dir / "Game";
    SimProcess sim({"--game-dir", game.string()}, dir / "stderr.txt");
    ASSERT_THAT(sim.read_until(kLoadedLine), HasSubstr(kLoadedLine)) << sim.error_output();
    sim.signal(GetParam());
    EXPECT_THAT(sim.read_all(), EndsWith(kUnloadedLine));
    EXPECT_EQ(sim.wait(), 0) << sim.error_output();
    EXPECT_TRUE(fs::exists(game / "KorvathOnline" / "cpp_mod_unloaded.txt"));
}

INSTANTIATE_TEST_SUITE_P(Signals, SimTermination, ::testing::Values(SIGTERM, SIGINT),
                         [](const auto& tested) { return tested.param == SIGTERM ? "SIGTERM" : "SIGINT"; });

TEST(SimProcess, WalkerCirclesTheStartAndTheWorldLogTracesEveryActor) {
    const fs::path dir = scratch_dir("sim-walk");
    const fs::path log = dir / "world.tsv";
    SimProcess sim({"--game-dir", (dir / "Game").string(), "--duration", "0.6", "--ready-after", "never",
                    "--pawn", "10,20,30,0", "--walk", "circle:100,1000", "--world-log", log.string()},
                   dir / "stderr.txt");
    sim.read_all();
    ASSERT_EQ(sim.wait(), 0) << sim.error_output();

    std::vector<std::string> pawnRows;
    std::string text = read_file(log);
    for (std::size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
        const std::string row = text.substr(at, end - at);
        EXPECT_EQ(std::count(row.begin(), row.end(), '\t'), 10) << row;
        if (row.find("\tBP_PlayerCharacter_C\t") != std::string::npos)
            pawnRows.push_back(row);
        else
            EXPECT_THAT(row, HasSubstr("\tBP_PlayerController_C\t"));
    }
    ASSERT_GE(pawnRows.size(), 4u);
    // By the last snapshot the pawn has walked out 100 units and is going round: on the circle, z unchanged.
    double seconds, x, y, z, yaw;
    ASSERT_EQ(std::sscanf(pawnRows.back().c_str(), "%lf\t%*[^\t]\t%*[^\t]\t%lf\t%lf\t%lf\t%lf", &seconds, &x,
                          &y, &z, &yaw),
              5);
    EXPECT_NEAR(std::hypot(x - 10, y - 20), 100, 0.01); // three decimals in the log
    EXPECT_EQ(z, 30);
    EXPECT_NE(yaw, 0);
}

} // namespace
} // namespace korvath::test
