#pragma once
// The track of the local pawn and of the proxy in one simulated world, read from the world log that
// korvath-sim writes: every 100 ms one tab-separated line per actor ever created (seconds since the
// simulator started, full name, class, x, y, z, yaw, hidden, collision, tick, alive; then, from newer
// simulators, the steady clock in seconds).

#include "tools/session/exchange/log_tail.hpp"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::session_tool {

struct TraceSample {
    double seconds = 0.0; // since the simulator started
    double x = 0.0;       // engine units
    double y = 0.0;
    double z = 0.0;
};

class WorldTrace {
public:
    // Takes the next bytes of the log; lines that do not parse are skipped.
    auto feed(std::string_view bytes) -> void;
    // Reads what `path` holds beyond what was read before. False when the file cannot be read.
    auto read_more(const std::filesystem::path& path) -> bool;

    // The first character in the log is the local pawn; every other living character is the proxy.
    auto pawn() const -> const std::vector<TraceSample>& { return m_pawn; }
    auto proxy() const -> const std::vector<TraceSample>& { return m_proxy; }
    // The steady clock's time (seconds) at the log's zero, when the log carries it.
    auto clock_zero() const -> std::optional<double> { return m_clockZero; }

private:
    auto take_line(std::string_view line) -> void;

    LogTail m_tail;
    std::string m_pawnName;
    std::vector<TraceSample> m_pawn;
    std::vector<TraceSample> m_proxy;
    std::optional<double> m_clockZero;
};

} // namespace korvath::session_tool
