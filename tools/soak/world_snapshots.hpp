#pragma once
// Reads a simulator's world log as it grows and hands on each whole snapshot: when it was taken (the
// steady clock's seconds, the log's last field) and how many proxies were alive in it. A proxy is a
// living character other than the local pawn, which the simulated engine always names
// BP_PlayerCharacter_C_0 (a map change gives the new world a new pawn of the same name).

#include "tools/session/exchange/log_tail.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace korvath::soak {

struct WorldSnapshot {
    double at = 0.0; // steady clock seconds
    int proxies = 0;
    std::string proxy; // the full name of a living proxy; empty when there is none
};

class WorldSnapshots {
public:
    using Sink = std::function<void(const WorldSnapshot&)>;

    // Takes the next bytes of the log; calls `sink` for each snapshot once the next one has begun.
    auto feed(std::string_view bytes, const Sink& sink) -> void;
    // Reads what `path` holds beyond what was read before; false when it cannot be read.
    auto read_more(const std::filesystem::path& path, const Sink& sink) -> bool;

private:
    auto take_line(std::string_view line, const Sink& sink) -> void;

    session_tool::LogTail m_tail;
    std::string m_current; // the steady-clock field of the snapshot being gathered
    WorldSnapshot m_snapshot;
};

} // namespace korvath::soak
