#pragma once
// One of the soak run's two games: its process, its control file, and the checks fed from its world
// log, its heartbeat and its status report.

#include "tools/session/demo/child_process.hpp"
#include "tools/session/demo/demo_setup.hpp"
#include "tools/soak/process_memory.hpp"
#include "tools/soak/soak_checks.hpp"
#include "tools/soak/world_snapshots.hpp"

#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvath::soak {

struct MemoryFigures {
    std::optional<ResidentMemory> baseline; // bytes, the first sample after the warm-up
    ResidentMemory latest;
    uint64_t most = 0; // the largest total after the warm-up
    uint64_t samples = 0;
    auto growth() const -> int64_t {
        return baseline ? static_cast<int64_t>(most) - static_cast<int64_t>(baseline->total) : 0;
    }
};

class SoakClient {
public:
    SoakClient(session_tool::DemoClientFiles files, std::filesystem::path controlFile, CheckLimits limits);

    auto start(const session_tool::DemoPrograms& programs, const std::vector<std::string>& extra) -> void;
    // Reads the world log's new snapshots and any new heartbeat and status report; `now` in steady seconds.
    auto observe(double now) -> void;
    // Queues a command for the simulator; it is written once the simulator has taken the one before.
    auto command(std::string line) -> void;
    auto sample_memory(bool warmedUp) -> void;
    // The exit status once the game has ended; nothing while it runs.
    auto exited() -> std::optional<int>;
    // Ends the game as the session tool does (SIGTERM, then SIGKILL after `grace`); its exit status.
    auto stop(std::chrono::milliseconds grace) -> int;

    auto files() const -> const session_tool::DemoClientFiles& { return m_files; }
    auto checks() -> ClientChecks& { return m_checks; }
    auto memory() const -> const MemoryFigures& { return m_memory; }
    auto proxy_appearances() const -> uint64_t { return m_appearances; }

private:
    auto flush_commands() -> void;

    session_tool::DemoClientFiles m_files;
    std::filesystem::path m_controlFile;
    ClientChecks m_checks;
    WorldSnapshots m_world;
    std::unique_ptr<session_tool::ChildProcess> m_process;
    std::deque<std::string> m_commands;
    std::optional<std::filesystem::file_time_type> m_heartbeatWritten;
    std::optional<std::filesystem::file_time_type> m_statusWritten;
    MemoryFigures m_memory;
    bool m_proxySeen = false;
    uint64_t m_appearances = 0;
    std::optional<int> m_exit;
};

} // namespace korvath::soak
