#pragma once
// korvath-session setup: installs the unpacked package into one or two game copies (both mods' folders
// into the host's Mods folder, main.dll when given, both mods enabled in mods.txt), writes the roles
// (CLIENT_A, and CLIENT_B for the second), writes the start script into the package folder, and ends
// with doctor's verdict. A second run changes nothing; a player's file that it replaces is kept as a copy.

#include <filesystem>
#include <optional>
#include <ostream>
#include <vector>

namespace korvath::session_tool {

struct SetupOptions {
    std::vector<std::filesystem::path> gameDirs; // one or two
    std::filesystem::path packageDir;            // holds Mods/KorvathOnlineCpp and Mods/KorvathTracker
    std::optional<std::filesystem::path> dll;    // becomes Mods/KorvathOnlineCpp/dlls/main.dll
};

// 0 when every step worked and doctor finds nothing in the way, else 1.
auto run_setup(const SetupOptions& options, std::ostream& out) -> int;

} // namespace korvath::session_tool
