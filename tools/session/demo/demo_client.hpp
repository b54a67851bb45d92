#pragma once
// One of the demo's two games: its files, its process, and what the demo has read of it so far.

#include "tools/session/demo/child_process.hpp"
#include "tools/session/demo/demo_setup.hpp"
#include "tools/session/demo/demo_summary.hpp"
#include "tools/session/demo/follow_distance.hpp"
#include "tools/session/demo/world_trace.hpp"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvath::session_tool {

class DemoClient {
public:
    explicit DemoClient(DemoClientFiles files)
        : m_files(std::move(files)) {}

    // Lays out the game folder and starts the game; `startedAt` is the demo's clock at the start,
    // the zero of the game's world log on the demo's time line.
    auto start(const DemoPrograms& programs, const std::vector<std::string>& arguments, double startedAt)
        -> void;
    // Reads the reports and the new lines of the world log.
    auto observe() -> void;
    // The exit status once the game has ended on its own; nothing while it runs.
    auto exited() -> std::optional<int>;
    // Ends the game (SIGTERM, then SIGKILL after `grace`) and reads everything once more.
    auto stop(std::chrono::milliseconds grace) -> void;

    auto files() const -> const DemoClientFiles& { return m_files; }
    auto name() const -> const std::string& { return m_files.name; }
    auto reports() const -> const ClientReports& { return m_reports; }
    auto summary() const -> ClientSummary { return summarize_client(m_files.name, m_reports); }
    auto heartbeat_flag(std::string_view key) const -> bool;
    auto exit_status() const -> std::optional<int> { return m_exitStatus; }
    auto started_at() const -> double { return m_startedAt; }
    // The local pawn and the proxy on the demo's time line.
    auto pawn_track() const -> TimedTrack { return {&m_trace.pawn(), log_offset()}; }
    auto proxy_track() const -> TimedTrack { return {&m_trace.proxy(), log_offset()}; }

private:
    // Where the world log's zero lies on the demo's time line: by the steady clock when the log has
    // it, else the moment the game was started.
    auto log_offset() const -> double {
        return m_trace.clock_zero() ? *m_trace.clock_zero() - m_demoClockZero : m_startedAt;
    }

    DemoClientFiles m_files;
    std::unique_ptr<ChildProcess> m_process;
    double m_startedAt = 0.0;
    double m_demoClockZero = 0.0; // the steady clock's seconds at the demo's zero
    WorldTrace m_trace;
    ClientReports m_reports;
    std::optional<int> m_exitStatus;
};

} // namespace korvath::session_tool
