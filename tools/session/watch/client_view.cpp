#include "tools/session/watch/client_view.hpp"

#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/report_lines.hpp"

#include <algorithm>

namespace korvath::session_tool {

namespace {

constexpr std::size_t kLabelColumn = 16; // two blanks, the label and its padding

auto input_text(InputState state) -> std::string_view {
    switch (state) {
    case InputState::Fresh:
        return "fresh";
    case InputState::Stale:
        return "stale";
    case InputState::Absent:
        break;
    }
    return "absent";
}

auto presence(bool present) -> std::string_view {
    return present ? "present" : "absent";
}

auto heading(const ClientSnapshot& snapshot) -> std::string {
    std::string text = "== " + snapshot.label + " ==";
    if (!snapshot.exchangeDirFound)
        return text + "  no " + std::string(kExchangeDirName) + " folder yet\n";
    const auto heartbeat = parse_report(snapshot.reports[kHeartbeatReport].text);
    if (auto role = report_value(heartbeat, "clientRole"))
        text += "  " + *role;
    if (!snapshot.reports[kHeartbeatReport].present)
        text += "  heartbeat absent";
    else
        text += snapshot.heartbeatLive ? "  heartbeat live" : "  heartbeat STALE";
    if (report_value(heartbeat, "testFailed") == "1")
        text += "  TEST FAILED";
    return text + "\n";
}

auto input_cells(const ClientSnapshot& snapshot) -> std::vector<std::string> {
    auto cell = [](std::string_view name, std::string_view value) {
        return std::string(name) + ": " + std::string(value);
    };
    return {
        cell(kRoleFile,
             snapshot.roleLine ? (snapshot.roleLine->empty() ? "(empty)" : *snapshot.roleLine) : "absent"),
        cell(kEnableMarker, presence(snapshot.enableMarker)),
        cell(kStopMarker, presence(snapshot.stopMarker)),
        cell(kLocalStateFile, input_text(snapshot.localState)),
        cell(kRemotePlayersFile, input_text(snapshot.remotePlayers)),
    };
}

auto report_cells(const WatchedReport& report, const ReportState& state) -> std::vector<std::string> {
    if (!state.present)
        return {"absent"};
    std::vector<std::string> cells;
    for (auto& line : parse_report(state.text)) {
        if (line.text.empty())
            continue;
        cells.push_back(std::move(line.text));
        if (report.firstLineOnly)
            break;
    }
    if (cells.empty())
        cells.emplace_back("(empty)");
    return cells;
}

} // namespace

auto pack_cells(std::string_view label, const std::vector<std::string>& cells, std::size_t width)
    -> std::string {
    std::string text = "  " + std::string(label);
    text.resize(std::max(text.size() + 1, kLabelColumn), ' ');
    std::size_t rowLength = text.size();
    bool rowEmpty = true;
    for (const auto& cell : cells) {
        if (!rowEmpty && rowLength + 2 + cell.size() > width) {
            text += "\n" + std::string(kLabelColumn, ' ');
            rowLength = kLabelColumn;
            rowEmpty = true;
        }
        if (!rowEmpty) {
            text += "  ";
            rowLength += 2;
        }
        text += cell;
        rowLength += cell.size();
        rowEmpty = false;
    }
    return text + "\n";
}

auto render_client_view(const ClientSnapshot& snapshot, std::size_t width) -> std::string {
    std::string text = heading(snapshot);
    if (!snapshot.exchangeDirFound)
        return text;
    text += pack_cells("inputs", input_cells(snapshot), width);
    for (std::size_t index = 0; index < kWatchedReports.size(); ++index)
        text += pack_cells(kWatchedReports[index].label,
                           report_cells(kWatchedReports[index], snapshot.reports[index]), width);
    return text;
}

} // namespace korvath::session_tool
