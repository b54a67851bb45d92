#include "tools/soak/soak_client.hpp"

#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/soak/process_memory.hpp"

#include <algorithm>
#include <system_error>

namespace korvath::soak {

namespace fs = std::filesystem;

namespace {

auto write_time(const fs::path& path) -> std::optional<fs::file_time_type> {
    std::error_code error;
    const auto time = fs::last_write_time(path, error);
    if (error)
        return std::nullopt;
    return time;
}

} // namespace

SoakClient::SoakClient(session_tool::DemoClientFiles files, fs::path controlFile, CheckLimits limits)
    : m_files(std::move(files))
    , m_controlFile(std::move(controlFile))
    , m_checks(m_files.name, limits) {}

auto SoakClient::start(const session_tool::DemoPrograms& programs, const std::vector<std::string>& extra)
    -> void {
    session_tool::lay_out_client(m_files);
    std::vector<std::string> arguments = extra;
    arguments.insert(arguments.end(), {"--control", m_controlFile.string()});
    m_process = std::make_unique<session_tool::ChildProcess>(
        programs.simulator, session_tool::simulator_arguments(m_files, programs, arguments), m_files.log);
}

auto SoakClient::observe(double now) -> void {
    m_world.read_more(m_files.worldLog, [&](const WorldSnapshot& snapshot) {
        m_checks.world(snapshot.at, snapshot.proxies, snapshot.proxy);
        if (snapshot.proxies > 0 && !m_proxySeen)
            ++m_appearances;
        m_proxySeen = snapshot.proxies > 0;
    });
    const fs::path exchange = session_tool::exchange_dir_of(m_files.gameDir);
    if (const auto written = write_time(exchange / "cpp_heartbeat.txt");
        written && written != m_heartbeatWritten) {
        m_heartbeatWritten = written;
        m_checks.heartbeat(now);
    }
    const fs::path statusFile = exchange / "cpp_phase5g_status.txt";
    if (const auto written = write_time(statusFile); written && written != m_statusWritten) {
        // Between the writer's removal and its rename the report is absent: read it on a later look.
        if (const auto text = session_tool::read_whole_file(statusFile)) {
            m_statusWritten = written;
            m_checks.status(now, text->find("\nproxyActive=1\n") != std::string::npos);
        }
    }
    m_checks.settle(now);
    flush_commands();
}

auto SoakClient::command(std::string line) -> void {
    m_commands.push_back(std::move(line));
    flush_commands();
}

auto SoakClient::flush_commands() -> void {
    std::error_code error;
    if (m_commands.empty() || fs::exists(m_controlFile, error) || error)
        return;
    std::string text;
    for (const auto& line : m_commands)
        text += line + "\n";
    if (session_tool::write_file_atomically(m_controlFile, text))
        m_commands.clear();
}

auto SoakClient::sample_memory(bool warmedUp) -> void {
    const auto memory = resident_memory(m_process->native_handle());
    if (!memory)
        return;
    ++m_memory.samples;
    m_memory.latest = *memory;
    if (!warmedUp)
        return;
    if (!m_memory.baseline)
        m_memory.baseline = *memory;
    m_memory.most = std::max(m_memory.most, memory->total);
}

auto SoakClient::exited() -> std::optional<int> {
    if (!m_exit)
        m_exit = m_process->poll();
    return m_exit;
}

auto SoakClient::stop(std::chrono::milliseconds grace) -> int {
    if (!m_exit)
        m_exit = m_process->terminate(grace);
    return *m_exit;
}

} // namespace korvath::soak
