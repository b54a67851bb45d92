#pragma once
// The simulated game's install: the executable in the game folder, the mod where the host loads it
// from (Mods/<ModName>/dlls/main.dll, main.so on Linux). The mod finds its exchange directory next to the
// running executable, so the simulator must really run from the game folder.

#include <filesystem>
#include <string>
#include <vector>

namespace korvath::sim {

inline constexpr const char* kGameExecutableName = "KorvathGame";

// The mod library to install when none is named: the mod's library (KorvathOnlineCpp.dll,
// libKorvathOnlineCpp.so) next to this executable, else the one of the build this program belongs to.
auto default_mod_library() -> std::filesystem::path;

// Creates `gameDir` and installs `modLibrary` in it; returns the installed library's path. When this
// executable does not lie in `gameDir`, installs a copy of it there and replaces the process by that
// copy with the same arguments `args` (the call then does not return). The host's library goes along
// when it lies beside this executable (on Windows, where the loader looks for it there). Throws
// std::runtime_error on failure.
auto enter_game_folder(const std::filesystem::path& gameDir, const std::filesystem::path& modLibrary,
                       const std::vector<std::string>& args) -> std::filesystem::path;

// Places `source` at `target` (hard link, else copy) through a temporary name and a rename, so a
// running program or a loaded library at `target` is never overwritten in place. Does nothing when
// `target` is `source` (the same file, e.g. a hard link of it).
auto install_file(const std::filesystem::path& source, const std::filesystem::path& target) -> void;

} // namespace korvath::sim
