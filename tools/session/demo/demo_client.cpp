#include "tools/session/demo/demo_client.hpp"

#include "tools/session/exchange/report_lines.hpp"

namespace korvath::session_tool {

auto DemoClient::start(const DemoPrograms& programs, const std::vector<std::string>& arguments,
                       double startedAt) -> void {
    m_demoClockZero =
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count() -
        startedAt;
    lay_out_client(m_files);
    m_process = std::make_unique<ChildProcess>(
        programs.simulator, simulator_arguments(m_files, programs, arguments), m_files.log);
    m_startedAt = startedAt;
}

auto DemoClient::observe() -> void {
    ClientReports latest = read_client_reports(m_files.gameDir);
    if (!latest.heartbeat) // caught while the mod replaces it
        latest.heartbeat = std::move(m_reports.heartbeat);
    m_reports = std::move(latest);
    m_trace.read_more(m_files.worldLog);
}

auto DemoClient::exited() -> std::optional<int> {
    if (!m_exitStatus && m_process)
        m_exitStatus = m_process->poll();
    return m_exitStatus;
}

auto DemoClient::stop(std::chrono::milliseconds grace) -> void {
    if (m_process && !m_exitStatus)
        m_exitStatus = m_process->terminate(grace);
    observe();
}

auto DemoClient::heartbeat_flag(std::string_view key) const -> bool {
    return m_reports.heartbeat && report_value(parse_report(*m_reports.heartbeat), key) == "1";
}

} // namespace korvath::session_tool
