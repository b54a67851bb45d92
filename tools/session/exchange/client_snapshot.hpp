#pragma once
// What the watch knows of one client at one poll: its inputs and the reports of its mod.

#include "tools/session/exchange/watched_reports.hpp"

#include <array>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace korvath::session_tool {

// The mod's own age limits: its heartbeat is rewritten every second, its inputs count for 3 s
// (local state) and 2 s (remote players).
inline constexpr std::chrono::seconds kHeartbeatMaxAge{3};
inline constexpr std::chrono::seconds kRemotePlayersMaxAge{2};

enum class InputState { Absent, Fresh, Stale };

struct ReportState {
    bool present = false;
    std::string text;
    auto operator==(const ReportState&) const -> bool = default;
};

struct ClientSnapshot {
    std::string label; // the game folder as given
    bool exchangeDirFound = false;
    std::optional<std::string> roleLine; // first line of the role file, blanks trimmed
    bool enableMarker = false;
    bool stopMarker = false;
    InputState localState = InputState::Absent;
    InputState remotePlayers = InputState::Absent;
    bool heartbeatLive = false;
    std::array<ReportState, kWatchedReports.size()> reports;
};

// Reads everything once at `now` (file clock). A report that is missing while its ".tmp" file
// exists is being replaced by the mod: it keeps its content from `previous`.
auto take_client_snapshot(const std::filesystem::path& gameDir, const ClientSnapshot* previous,
                          std::filesystem::file_time_type now) -> ClientSnapshot;

} // namespace korvath::session_tool
