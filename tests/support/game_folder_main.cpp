// The test program places itself in a fresh temporary game folder before running, since the mod
// finds its exchange directory next to the running executable: <tmp>/Game/Binaries/Win64/KorvathGame.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* kGameDirVariable = "KORVATH_TEST_GAME_ROOT";

auto relocate_and_run(char** argv) -> int {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/korvath-test-XXXXXX";
    if (!mkdtemp(pattern.data())) {
        perror("mkdtemp");
        return 2;
    }
    const fs::path root = pattern;
    const fs::path binaries = root / "Game" / "Binaries" / "Win64";
    fs::create_directories(binaries);
    const fs::path executable = binaries / "KorvathGame";
    std::error_code error;
    fs::create_hard_link(fs::read_symlink("/proc/self/exe"), executable, error);
    if (error)
        fs::copy_file(fs::read_symlink("/proc/self/exe"), executable);

    setenv(kGameDirVariable, root.c_str(), 1);
    const pid_t child = fork();
    if (child == 0) {
        execv(executable.c_str(), argv);
        perror("execv");
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    fs::remove_all(root, error);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

int main(int argc, char** argv) {
    if (!std::getenv(kGameDirVariable))
        return relocate_and_run(argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
