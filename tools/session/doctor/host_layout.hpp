#pragma once
// Where the mod host sits in a game folder (the folder of the game's executable) and where it looks for
// mods. Its DLL, UE4SS.dll, lies in the game folder (releases up to 3.0) or in its subfolder ue4ss (later
// ones, loaded by a proxy DLL). Its working folder is the DLL's folder, or the subfolder there named like
// the game's root folder when one exists; the mods are in Mods there. The later releases fall back to the
// game folder's Mods when that one is missing; ModsFolderPath in the [Overrides] section of the host's
// UE4SS-settings.ini overrides all of these. Names are matched ignoring case, as on Windows.

#include <filesystem>
#include <optional>
#include <string_view>

namespace korvath::session_tool {

inline constexpr std::string_view kHostDllName = "UE4SS.dll";

struct HostLayout {
    std::optional<std::filesystem::path> hostDll; // none: the host is not installed
    std::filesystem::path modsDir;                // where the host looks for mods (may not exist)
    bool twoHostDlls = false;                     // in the game folder and in ue4ss: one is left over
    bool modsFolderFromSettings = false;          // named by the host's UE4SS-settings.ini
};

auto find_host_layout(const std::filesystem::path& gameDir) -> HostLayout;

// The entry of `dir` whose name equals `name` ignoring ASCII case; `dir / name` when there is none.
auto find_entry(const std::filesystem::path& dir, std::string_view name) -> std::filesystem::path;

} // namespace korvath::session_tool
