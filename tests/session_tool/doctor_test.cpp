// korvath-session doctor over install trees built on disk: a correct one, and one variant per fault it
// must name with its file and its fix.

#include "support/pe_builder.hpp"
#include "support/test_support.hpp"
#include "tools/session/doctor/doctor.hpp"
#include "tools/session/doctor/tracker_script.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kModsTxt = "BPModLoaderMod : 1\n\n; Built-in keybinds, do not move up!\nKeybinds : 1\n";

// <root>/Game/Binaries/Win64 with the current host's layout (ue4ss/UE4SS.dll, ue4ss/Mods) and both mods
// installed and enabled.
auto install_tree(std::string_view name) -> fs::path {
    const fs::path game = scratch_dir(name) / "Game" / "Binaries" / "Win64";
    const fs::path mods = game / "ue4ss" / "Mods";
    write_file(game / "ue4ss" / "UE4SS.dll", build_pe({.exports = {}, .importDlls = {"KERNEL32.dll"}}));
    write_file(mods / "mods.txt", std::string("KorvathOnlineCpp : 1\nKorvathTracker : 1\n") + kModsTxt);
    write_file(mods / "KorvathOnlineCpp" / "dlls" / "main.dll", build_pe({}));
    write_file(mods / "KorvathTracker" / "Scripts" / "main.lua", std::string(tool::tracker_script_text()));
    return game;
}

auto doctor(const std::vector<fs::path>& dirs) -> std::pair<int, std::string> {
    std::ostringstream out;
    const int code = tool::run_doctor(dirs, fs::file_time_type::clock::now(), out);
    return {code, out.str()};
}

auto mods_of(const fs::path& game) -> fs::path {
    return game / "ue4ss" / "Mods";
}

// The game ran and runs: its mod's fresh heartbeat and the tracker's fresh file.
auto running(const fs::path& game) -> void {
    write_file(exchange_of(game) / "cpp_mod_loaded.txt", "KorvathOnlineCpp Phase 5G loaded.\n");
    write_file(exchange_of(game) / "cpp_heartbeat.txt", "running=1\nunrealReady=1\n");
    write_file(exchange_of(game) / "local_state.tsv", "1\t2\t3\t4\tMap_A\n");
}

struct Fault {
    std::string name;
    std::function<void(const fs::path&)> make;
    std::string file; // named on the FAIL line
    std::string fix;  // part of its fix
};

TEST(Doctor, CorrectInstallPassesAndTheHostsOlderLayoutToo) {
    const fs::path current = install_tree("doctor-ok");
    auto [code, text] = doctor({current});
    EXPECT_EQ(code, 0) << text;
    EXPECT_THAT(text, Not(HasSubstr("FAIL"))) << text;
    EXPECT_THAT(text, HasSubstr("nothing stands in the way"));

    // Up to 3.0: UE4SS.dll and Mods in the game folder; enabled.txt instead of a mods.txt line.
    const fs::path old = install_tree("doctor-old");
    fs::rename(old / "ue4ss" / "UE4SS.dll", old / "UE4SS.dll");
    fs::rename(mods_of(old), old / "Mods");
    write_file(old / "Mods" / "mods.txt", kModsTxt);
    write_file(old / "Mods" / "KorvathOnlineCpp" / "enabled.txt", "");
    write_file(old / "Mods" / "KorvathTracker" / "enabled.txt", "");
    std::tie(code, text) = doctor({old});
    EXPECT_EQ(code, 0) << text;

    // The host's settings name another Mods folder.
    const fs::path moved = install_tree("doctor-settings");
    fs::rename(mods_of(moved), moved / "SharedMods");
    write_file(moved / "ue4ss" / "UE4SS-settings.ini",
               "[General]\nModsFolderPath = x\n[Overrides]\r\n"
               "; Default: <dll_directory>/Mods\r\nModsFolderPath = SharedMods\r\n");
    std::tie(code, text) = doctor({moved});
    EXPECT_EQ(code, 0) << text;
    EXPECT_THAT(text, HasSubstr("it loads mods from SharedMods (ModsFolderPath"));

    // A player's own keys in the script's block of key settings, and CR LF line ends.
    const fs::path script = mods_of(current) / "KorvathTracker" / "Scripts" / "main.lua";
    std::string edited;
    for (const char c : read_file(script))
        edited += c == '\n' ? std::string("\r\n") : std::string(1, c);
    const std::size_t keyAt = edited.find("key = \"F7\"");
    ASSERT_NE(keyAt, std::string::npos);
    write_file(script, edited.replace(keyAt, 11, "key = \"F11\""));
    running(current);
    std::tie(code, text) = doctor({current});
    EXPECT_EQ(code, 0) << text;
    EXPECT_THAT(text, HasSubstr("the game is running"));
}

TEST(Doctor, EachFaultFailsNamingItsFileAndFix) {
    const auto dll = [](PeImage image) {
        return [image](const fs::path& game) {
            write_file(mods_of(game) / "KorvathOnlineCpp" / "dlls" / "main.dll", build_pe(image));
        };
    };
    const auto mods_txt = [](std::string text) {
        return [text](const fs::path& game) { write_file(mods_of(game) / "mods.txt", text); };
    };
    const auto exchange_file = [](std::string name, std::string text) {
        return [name, text](const fs::path& game) {
            running(game);
            write_file(exchange_of(game) / name, text);
        };
    };
    const std::string mainDll =
        (fs::path("ue4ss") / "Mods" / "KorvathOnlineCpp" / "dlls" / "main.dll").string();
    const std::string modsTxt = (fs::path("ue4ss") / "Mods" / "mods.txt").string();
    std::vector<Fault> faults = {
        {"no host", [](const fs::path& game) { fs::remove_all(game / "ue4ss"); }, "Win64", "install UE4SS"},
        {"no main.dll",
         [](const fs::path& game) { fs::remove(mods_of(game) / "KorvathOnlineCpp" / "dlls" / "main.dll"); },
         mainDll, "MSVC"},
        {"main.dll is text",
         [](const fs::path& game) {
             write_file(mods_of(game) / "KorvathOnlineCpp" / "dlls" / "main.dll", "MZ but no more");
         },
         mainDll, "--dll"},
        {"main.dll cut short",
         [](const fs::path& game) {
             write_file(mods_of(game) / "KorvathOnlineCpp" / "dlls" / "main.dll",
                        build_pe({}).substr(0, 400));
         },
         mainDll, "MSVC"},
        {"32-bit", dll({.is64Bit = false}), mainDll, "MSVC"},
        {"no uninstall_mod", dll({.exports = {"start_mod"}}), mainDll, "MSVC"},
        {"MinGW build", dll({.importDlls = {"libKorvathHost.dll", "libstdc++-6.dll"}}), mainDll, "MSVC"},
        {"not for the host", dll({.importDlls = {"KERNEL32.dll"}}), mainDll, "MSVC"},
        // This build's own mod: the MinGW DLL, which imports the stand-in host, or no DLL at all.
        {"this build's mod",
         [](const fs::path& game) {
             fs::copy_file(KORVATH_MOD_LIBRARY, mods_of(game) / "KorvathOnlineCpp" / "dlls" / "main.dll",
                           fs::copy_options::overwrite_existing);
         },
         mainDll, "MSVC"},
        {"tracker disabled", mods_txt("KorvathOnlineCpp : 1\nKorvathTracker : 0\n" + std::string(kModsTxt)),
         modsTxt, "\"KorvathTracker : 1\""},
        {"mod not listed", mods_txt("KorvathTracker : 1\n" + std::string(kModsTxt)), modsTxt,
         "above the Keybinds"},
        {"binary mods.txt", mods_txt(std::string("KorvathOnlineCpp : 1\n\0\1\2", 24)), modsTxt, "restore"},
        {"huge mods.txt", mods_txt(std::string(2 << 20, 'x')), modsTxt, "restore"},
        {"old tracker",
         [](const fs::path& game) {
             write_file(mods_of(game) / "KorvathTracker" / "Scripts" / "main.lua", "print('old')\n");
         },
         "main.lua", "package"},
        {"exchange folder is a file", [](const fs::path& game) { write_file(exchange_of(game), "x"); },
         "KorvathOnline", "remove it"},
        {"role misspelt", exchange_file("phase5g-role.txt", "client_b\n"), "phase5g-role.txt",
         "korvath-session role"},
        {"stop marker", exchange_file("phase5g.stop.txt", ""), "phase5g.stop.txt", "resume"},
        {"no tracker output",
         [](const fs::path& game) {
             running(game);
             fs::remove(exchange_of(game) / "local_state.tsv");
         },
         "local_state.tsv", "KorvathTracker"},
        {"error report", exchange_file("cpp_phase5g_error.txt", "UWorld::SpawnActor returned null.\n"),
         "cpp_phase5g_error.txt", "next start"},
        {"testFailed", exchange_file("cpp_phase5g_status.txt", "phase=5G\ntestFailed=1\n"),
         "cpp_phase5g_status.txt", "console"},
    };
#ifndef _WIN32
    faults.push_back({"mods.txt is a FIFO",
                      [](const fs::path& game) {
                          fs::remove(mods_of(game) / "mods.txt");
                          ASSERT_EQ(mkfifo((mods_of(game) / "mods.txt").c_str(), 0600), 0);
                      },
                      modsTxt, "restore"});
#endif
    int index = 0;
    for (const Fault& fault : faults) {
        SCOPED_TRACE(fault.name);
        const fs::path game = install_tree("doctor-fault-" + std::to_string(index++));
        fault.make(game);
        const auto [code, text] = doctor({game});
        EXPECT_EQ(code, 1) << text;
        std::istringstream lines(text);
        bool named = false;
        for (std::string line; std::getline(lines, line);)
            named = named ||
                    (line.starts_with("FAIL ") && line.find(fault.file) != std::string::npos &&
                     line.find("Fix: ") != std::string::npos && line.find(fault.fix) != std::string::npos);
        EXPECT_TRUE(named) << "no FAIL line naming " << fault.file << " with " << fault.fix << " in:\n"
                           << text;
    }
}

TEST(Doctor, TwoFoldersNeedOneClientAAndOneClientB) {
    const fs::path a = install_tree("doctor-pair-a");
    const fs::path b = install_tree("doctor-pair-b");
    auto [code, text] = doctor({a, b});
    EXPECT_EQ(code, 1);
    EXPECT_THAT(text,
                HasSubstr("FAIL phase5g-role.txt in both: both are CLIENT_A. Fix: korvath-session role"));
    write_file(exchange_of(b) / "phase5g-role.txt", "CLIENT_B\r\n");
    std::tie(code, text) = doctor({a, b});
    EXPECT_EQ(code, 0) << text;
}

TEST(Doctor, ProgramAnswersBadUsageWithExitTwo) {
    const auto [missing, text] =
        run_tool("korvath-session", {"doctor", (scratch_dir("doctor-usage") / "none").string()});
    EXPECT_EQ(missing, 2);
    EXPECT_THAT(text, HasSubstr("does not exist"));
    EXPECT_EQ(run_tool("korvath-session", {"doctor"}).first, 2);
    const fs::path game = install_tree("doctor-program");
    EXPECT_EQ(run_tool("korvath-session", {"doctor", game.string()}).first, 0);
}

} // namespace
} // namespace korvath::test
