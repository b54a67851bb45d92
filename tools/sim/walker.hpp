#pragma once
// The local pawn's walk: a path in the horizontal plane, traversed at a fixed speed. The walker yields
// displacements rather than positions, so the pawn continues from wherever the engine has put it
// (for example after the mod has moved it aside): the whole path shifts with the pawn.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvath::sim {

struct Point2 {
    double x{}, y{};
};

struct WalkPlan {
    enum class Kind { Stand, Circle, Waypoints, Path }; // a path is waypoints walked once
    Kind kind{Kind::Stand};
    double radius{}; // circle, units
    double speed{};  // units per second
    std::vector<Point2> waypoints;
};

inline constexpr double kDefaultWaypointSpeed = 600.0; // the engine's default walking speed

// "circle:RADIUS,SPEED", "waypoints:X,Y;X,Y;...[@SPEED]" or "path:X,Y;X,Y;...[@SPEED]". On failure
// returns nullopt and sets `error`.
auto parse_walk_plan(std::string_view text, std::string& error) -> std::optional<WalkPlan>;

struct WalkStep {
    double dx{}, dy{};
    std::optional<double> yaw; // degrees, the direction of travel; none while standing
};

// A circle is centred on the start: the pawn first walks out to its rim (towards +x), then around it
// counter-clockwise. Waypoints are walked in order from the start, then looped (last back to first); a
// path's are walked once, and the pawn stops dead on the last.
class Walker {
public:
    Walker(const WalkPlan& plan, Point2 start);

    // Advances along the path by `seconds` of walking.
    auto advance(double seconds) -> WalkStep;

private:
    auto point_at(double distance) const -> Point2;

    WalkPlan m_plan;
    Point2 m_start;
    Point2 m_loopStart;    // first point of the loop, where the lead-in from the start ends
    double m_leadIn{};     // length of the lead-in, units
    double m_loopLength{}; // length of one loop (of a path: from its first point to its last), units
    double m_travelled{};  // along the path, kept below m_leadIn + m_loopLength
};

} // namespace korvath::sim
