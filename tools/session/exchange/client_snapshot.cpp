#include "tools/session/exchange/client_snapshot.hpp"

#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/link/relay_link.hpp"

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

auto input_state(const fs::path& path, fs::file_time_type now, std::chrono::seconds maxAge) -> InputState {
    const auto age = file_age(path, now);
    if (!age)
        return InputState::Absent;
    return *age <= maxAge ? InputState::Fresh : InputState::Stale;
}

auto read_report(const fs::path& path, const ReportState* previous) -> ReportState {
    if (auto text = read_whole_file(path))
        return {true, std::move(*text)};
    fs::path temporary = path;
    temporary += kTemporarySuffix;
    std::error_code error;
    if (previous && previous->present && fs::exists(temporary, error))
        return *previous;
    return {};
}

auto trimmed_first_line(std::string_view text) -> std::string {
    std::string_view line = text.substr(0, text.find('\n'));
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = line.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return std::string(line.substr(first, line.find_last_not_of(kBlanks) - first + 1));
}

} // namespace

auto take_client_snapshot(const fs::path& gameDir, const ClientSnapshot* previous, fs::file_time_type now)
    -> ClientSnapshot {
    const fs::path dir = exchange_dir_of(gameDir);
    std::error_code error;
    ClientSnapshot snapshot;
    snapshot.label = gameDir.string();
    snapshot.exchangeDirFound = fs::is_directory(dir, error);
    if (auto role = read_whole_file(dir / kRoleFile))
        snapshot.roleLine = trimmed_first_line(*role);
    snapshot.enableMarker = fs::exists(dir / kEnableMarker, error);
    snapshot.stopMarker = fs::exists(dir / kStopMarker, error);
    snapshot.localState = input_state(dir / kLocalStateFile, now, kLocalStateMaxAge);
    snapshot.remotePlayers = input_state(dir / kRemotePlayersFile, now, kRemotePlayersMaxAge);
    for (std::size_t index = 0; index < kWatchedReports.size(); ++index)
        snapshot.reports[index] = read_report(dir / kWatchedReports[index].fileName,
                                              previous ? &previous->reports[index] : nullptr);
    const auto heartbeat =
        input_state(dir / kWatchedReports[kHeartbeatReport].fileName, now, kHeartbeatMaxAge);
    if (heartbeat == InputState::Absent && snapshot.reports[kHeartbeatReport].present && previous)
        snapshot.heartbeatLive = previous->heartbeatLive; // caught while the mod replaces the file
    else
        snapshot.heartbeatLive = heartbeat == InputState::Fresh;
    return snapshot;
}

} // namespace korvath::session_tool
