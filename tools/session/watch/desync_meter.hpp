#pragma once
// How far a proxy stands from the player it shows, over a sliding window: the player's poses as its
// own local state gave them, and the proxy's poses as the other side's mod reported them, each with
// the time it was written. A proxy pose is measured against the player's pose at the same moment,
// interpolated between the player's samples around it, so it waits until the player's samples cover it.
// Times are seconds on any one clock the caller chooses; the meter reads no clock.

#include <cstddef>
#include <deque>
#include <optional>

namespace korvath::session_tool {

struct Position {
    double x = 0.0, y = 0.0, z = 0.0; // engine units
};

struct DesyncFigures {
    std::size_t count = 0;
    double mean = 0.0, rms = 0.0, max = 0.0; // engine units
};

class DesyncMeter {
public:
    explicit DesyncMeter(double windowSeconds = 10.0)
        : m_window(windowSeconds) {}

    // A sample not later than the one before it is ignored.
    auto add_player(double at, Position position) -> void;
    auto add_proxy(double at, Position position) -> void;

    // Over the distances measured at times in (now - window, now]; nothing when there is none.
    auto figures(double now) const -> std::optional<DesyncFigures>;

private:
    struct Timed {
        double at;
        Position position;
    };
    struct Distance {
        double at, distance;
    };
    auto measure_pending() -> void;
    auto forget_before(double at) -> void;

    double m_window;
    std::deque<Timed> m_player;
    std::deque<Timed> m_pending; // proxy poses not yet covered by the player's samples
    std::deque<Distance> m_distances;
};

} // namespace korvath::session_tool
