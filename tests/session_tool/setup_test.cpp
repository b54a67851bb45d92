// korvath-session setup: two fresh game copies installed and passing doctor, a second run that changes
// nothing, and the player's own lines and files kept.

#include "support/pe_builder.hpp"
#include "support/test_support.hpp"
#include "tools/platform/os.hpp"
#include "tools/session/doctor/tracker_script.hpp"
#include "tools/session/setup/mods_list_edit.hpp"
#include "tools/session/setup/setup.hpp"
#include "tools/session/setup/start_script.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;
using ::testing::HasSubstr;

// Every file below `dir` with its content and last-write time.
auto snapshot(const fs::path& dir) -> std::map<fs::path, std::pair<std::string, fs::file_time_type>> {
    std::map<fs::path, std::pair<std::string, fs::file_time_type>> files;
    for (const auto& entry : fs::recursive_directory_iterator(dir))
        if (entry.is_regular_file())
            files[entry.path()] = {read_file(entry.path()), *os::last_write_time(entry.path())};
    return files;
}

auto setup(const tool::SetupOptions& options) -> std::pair<int, std::string> {
    std::ostringstream out;
    const int code = tool::run_setup(options, out);
    return {code, out.str()};
}

TEST(Setup, InstallsTwoFreshGamesOnceAndKeepsThePlayersLines) {
    const fs::path dir = scratch_dir("setup");
    const fs::path package = dir / "package";
    write_file(package / "Mods" / "KorvathTracker" / "Scripts" / "main.lua",
               std::string(tool::tracker_script_text()));
    write_file(package / "Mods" / "KorvathOnlineCpp" / "dlls" / "PUT-main.dll-HERE.txt", "build it\n");
    write_file(dir / "main.dll", build_pe({}));
    std::vector<fs::path> games;
    for (const char* name : {"a", "b"}) {
        const fs::path game = dir / name / "Game" / "Binaries" / "Win64";
        write_file(game / "ue4ss" / "UE4SS.dll", build_pe({.exports = {}}));
        write_file(game / "ue4ss" / "Mods" / "mods.txt",
                   "BPModLoaderMod : 1\r\nKorvathTracker : 0\r\n\r\n; Built-in keybinds, do not move up!\r\n"
                   "Keybinds : 1\r\n");
        games.push_back(game);
    }
    const tool::SetupOptions options{games, package, dir / "main.dll"};
    auto [code, text] = setup(options);
    EXPECT_EQ(code, 0) << text;
    EXPECT_THAT(text, HasSubstr("nothing stands in the way of a session"));
    EXPECT_EQ(read_file(games[0] / "ue4ss" / "Mods" / "mods.txt"),
              "BPModLoaderMod : 1\r\nKorvathTracker : 1\r\n\r\nKorvathOnlineCpp : 1\r\n"
              "; Built-in keybinds, do not move up!\r\nKeybinds : 1\r\n");
    EXPECT_THAT(read_file(games[0] / "ue4ss" / "Mods" / "mods.txt.before-setup"),
                HasSubstr("KorvathTracker : 0"));
    EXPECT_EQ(read_file(exchange_of(games[1]) / "phase5g-role.txt"), "CLIENT_B\n");

    const auto before = snapshot(dir);
    std::tie(code, text) = setup(options);
    EXPECT_EQ(code, 0) << text;
    EXPECT_TRUE(snapshot(dir) == before) << "a second setup changed files:\n" << text;

    // A player's own edit of the tracker is kept as a copy when setup puts the package's back.
    const fs::path script = games[1] / "ue4ss" / "Mods" / "KorvathTracker" / "Scripts" / "main.lua";
    write_file(script, "-- mine\n");
    std::tie(code, text) = setup(options);
    EXPECT_EQ(code, 0) << text;
    EXPECT_EQ(read_file(fs::path(script) += ".before-setup"), "-- mine\n");
}

TEST(Setup, EnablesModsWhereTheHostLooksLast) {
    const std::string_view mods[] = {"KorvathOnlineCpp", "KorvathTracker"};
    const struct {
        std::string before, after;
    } cases[] = {
        {"", "KorvathOnlineCpp : 1\nKorvathTracker : 1\n"},
        {"Other : 1\n\n\n", "Other : 1\nKorvathOnlineCpp : 1\nKorvathTracker : 1\n\n\n"},
        {"\xEF\xBB\xBFKorvathTracker : 0\nKorvathOnlineCpp:1\nKeybinds : 1",
         "\xEF\xBB\xBFKorvathTracker : 1\nKorvathOnlineCpp:1\nKeybinds : 1\n"},
        {"KorvathOnlineCpp : 1\n; KorvathTracker : 1\nKorvathTracker : 1\n",
         "KorvathOnlineCpp : 1\n; KorvathTracker : 1\nKorvathTracker : 1\n"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(tool::enable_in_mods_list(c.before, mods), c.after) << c.before;
}

TEST(Setup, StartScriptCarriesAnyFolderNameOrRefusesIt) {
    const auto bat = tool::make_start_script(true, "C:\\Games\\100% A", "C:\\Games\\B & (x86)");
    ASSERT_TRUE(bat);
    EXPECT_THAT(bat->text, HasSubstr("set \"GAME_A=C:\\Games\\100%% A\"\r\n"));
    EXPECT_THAT(bat->text, HasSubstr("set \"GAME_B=C:\\Games\\B & (x86)\"\r\n"));
    EXPECT_FALSE(tool::make_start_script(true, "C:\\a\"b", "C:\\b"));
    EXPECT_FALSE(tool::make_start_script(false, "/a\nrm -rf ~", "/b"));
    const auto sh = tool::make_start_script(false, "/games/it's A", "/games/$(B)");
    ASSERT_TRUE(sh);
    EXPECT_THAT(sh->text, HasSubstr("GAME_A='/games/it'\\''s A'\nGAME_B='/games/$(B)'\n"));
}

} // namespace
} // namespace korvath::test
