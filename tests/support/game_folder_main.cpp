// The test program places itself in a fresh temporary game folder before running, since the mod
// finds its exchange directory next to the running executable:
// <tmp>/Игра ゲーム/Game/Binaries/Win64/KorvathGame. The folder's name is not ASCII, so every test
// also proves that the mod's file operations keep such paths intact.

#include "tools/platform/os.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

constexpr const char* kGameDirVariable = "KORVATH_TEST_GAME_ROOT";

auto relocate_and_run(int argc, char** argv) -> int {
    fs::path temporary;
    try {
        temporary = korvath::os::make_temporary_directory("korvath-test");
        const fs::path root = temporary / fs::path(u8"Игра ゲーム");
        const fs::path binaries = root / "Game" / "Binaries" / "Win64";
        fs::create_directories(binaries);
        const fs::path self = korvath::os::this_executable();
        const fs::path executable = binaries / ("KorvathGame" + self.extension().string());
        std::error_code error;
        fs::create_hard_link(self, executable, error);
        if (error)
            fs::copy_file(self, executable);
        // Windows looks for the host's library beside the program.
        const fs::path hostLibrary = self.parent_path() / KORVATH_HOST_FILE_NAME;
        if (fs::is_regular_file(hostLibrary))
            fs::copy_file(hostLibrary, binaries / KORVATH_HOST_FILE_NAME);

        const std::u8string rootText = root.u8string();
        korvath::os::set_environment(kGameDirVariable, reinterpret_cast<const char*>(rootText.c_str()));
        const int status = korvath::os::run_and_wait(executable, korvath::os::utf8_arguments(argc, argv));
        fs::remove_all(temporary, error);
        return status;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cannot set up the game folder: %s\n", error.what());
        std::error_code ignored;
        if (!temporary.empty())
            fs::remove_all(temporary, ignored);
        return 2;
    }
}

} // namespace

int main(int argc, char** argv) {
    if (!std::getenv(kGameDirVariable)) {
        // No test's host asks the machine's own router for a port mapping: the router test runs its
        // hosts in network namespaces of its own, without this variable.
        korvath::os::set_environment("KORVATH_SESSION_NO_MAP", "1");
        return relocate_and_run(argc, argv);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
