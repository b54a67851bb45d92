#pragma once
// Where a client's exchange files lie: the folder KorvathOnline inside the game folder (the folder of
// the game's executable), and the names the mod reads and writes there.

#include <filesystem>
#include <string_view>

namespace korvath::session_tool {

inline constexpr std::string_view kExchangeDirName = "KorvathOnline";

// Inputs of the mod, written by this tool.
inline constexpr std::string_view kLocalStateFile = "local_state.tsv";
inline constexpr std::string_view kRemotePlayersFile = "remote_players.tsv";
inline constexpr std::string_view kRoleFile = "phase5g-role.txt";
inline constexpr std::string_view kEnableMarker = "phase5g.enable_once.txt";
inline constexpr std::string_view kStopMarker = "phase5g.stop.txt";

// Event reports of the mod, and its status report.
inline constexpr std::string_view kSpawnReport = "cpp_phase5g_spawn.txt";
inline constexpr std::string_view kDestroyReport = "cpp_phase5g_destroy.txt";
inline constexpr std::string_view kStatusReport = "cpp_phase5g_status.txt";

// The suffix of the temporary file of an atomic write, as the mod also uses it.
inline constexpr std::string_view kTemporarySuffix = ".tmp";

inline auto exchange_dir_of(const std::filesystem::path& gameDir) -> std::filesystem::path {
    return gameDir / kExchangeDirName;
}

} // namespace korvath::session_tool
