#pragma once
// A trace of the simulated world for tests and soak runs: per snapshot, one tab-separated line per
// living actor, and one more for an actor in the first snapshot after its end (so a long run's log does
// not grow with every actor it ever had): seconds since start, full name, class, x, y, z, yaw, hidden,
// collision, tick, alive (flags as 0/1), and the steady clock's time in seconds, which lines up the logs of
// games running side by side.

#include "standin/Engine.hpp"

#include <cstdio>
#include <filesystem>
#include <unordered_map>
#include <unordered_set>

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
    auto write_line(double secondsSinceStart, const standin::ActorState& state, double monotonic) -> void;

    std::FILE* m_file;
    std::unordered_set<const void*> m_endLogged; // actors whose end is in the log already
    // Living actors as last logged: one the engine has collected since gets its end line from here.
    std::unordered_map<const void*, standin::ActorState> m_living;
};

} // namespace korvath::sim
