#pragma once
// A trace of the simulated world for tests and soak runs: per snapshot, one tab-separated line per
// actor ever created: seconds since start, full name, class, x, y, z, yaw, hidden, collision, tick,
// alive (flags as 0/1), and the steady clock's time in seconds, which lines up the logs of games
// running side by side.

#include <cstdio>
#include <filesystem>

namespace korvath::sim {

class WorldLog {
public:
    // Truncates `path`; throws std::runtime_error when it cannot be opened.
    explicit WorldLog(const std::filesystem::path& path);
    ~WorldLog();
    WorldLog(const WorldLog&) = delete;
    WorldLog& operator=(const WorldLog&) = delete;

    // Appends one snapshot of every actor and flushes it. Safe from any thread: it only inspects.
    auto snapshot(double secondsSinceStart) -> void;

private:
    std::FILE* m_file;
};

} // namespace korvath::sim
