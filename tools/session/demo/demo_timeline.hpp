#pragma once
// When the demo saw each step of the session, in seconds since the demo started.

#include <optional>

namespace korvath::session_tool {

struct DemoTimeline {
    std::optional<double> relocated;    // B's pawn moved aside
    std::optional<double> aSpawned;     // A's proxy of B
    std::optional<double> bSpawned;     // B's proxy of A
    std::optional<double> stopPlaced;   // the stop marker in A
    std::optional<double> aDestroyed;   // A's proxy of B
    std::optional<double> relayStopped; // no more rows from A to B
    std::optional<double> bDestroyed;   // B's proxy of A
    double end = 0.0;                   // the games were stopped
};

} // namespace korvath::session_tool
