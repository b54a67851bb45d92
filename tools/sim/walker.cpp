#include "tools/sim/walker.hpp"

#include "tools/sim/text_values.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace korvath::sim {

namespace {

constexpr std::string_view kCirclePrefix = "circle:";
constexpr std::string_view kWaypointsPrefix = "waypoints:";
constexpr std::string_view kPathPrefix = "path:";

auto distance(Point2 a, Point2 b) -> double {
    return std::hypot(b.x - a.x, b.y - a.y);
}

auto lerp(Point2 a, Point2 b, double t) -> Point2 {
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t};
}

auto parse_circle(std::string_view text, std::string& error) -> std::optional<WalkPlan> {
    const auto values = parse_numbers(text, ',', 2);
    if (!values || (*values)[0] <= 0 || (*values)[1] <= 0) {
        error = "expected circle:RADIUS,SPEED with both numbers > 0";
        return std::nullopt;
    }
    return WalkPlan{WalkPlan::Kind::Circle, (*values)[0], (*values)[1], {}};
}

auto parse_waypoints(std::string_view text, std::string& error) -> std::optional<WalkPlan> {
    WalkPlan plan{WalkPlan::Kind::Waypoints, 0, kDefaultWaypointSpeed, {}};
    if (const std::size_t at = text.find('@'); at != std::string_view::npos) {
        const auto speed = parse_number(text.substr(at + 1));
        if (!speed || *speed <= 0) {
            error = "expected a speed > 0 after '@'";
            return std::nullopt;
        }
        plan.speed = *speed;
        text = text.substr(0, at);
    }
    for (const auto point : split(text, ';')) {
        const auto values = parse_numbers(point, ',', 2);
        if (!values) {
            error = "expected X,Y;X,Y;...[@SPEED], got point '" + std::string(point) + "'";
            return std::nullopt;
        }
        plan.waypoints.push_back({(*values)[0], (*values)[1]});
    }
    return plan;
}

} // namespace

auto parse_walk_plan(std::string_view text, std::string& error) -> std::optional<WalkPlan> {
    if (text.starts_with(kCirclePrefix))
        return parse_circle(text.substr(kCirclePrefix.size()), error);
    if (text.starts_with(kWaypointsPrefix))
        return parse_waypoints(text.substr(kWaypointsPrefix.size()), error);
    if (text.starts_with(kPathPrefix)) {
        auto plan = parse_waypoints(text.substr(kPathPrefix.size()), error);
        if (plan)
            plan->kind = WalkPlan::Kind::Path;
        return plan;
    }
    error = "expected circle:RADIUS,SPEED, waypoints:X,Y;X,Y;...[@SPEED] or path:X,Y;X,Y;...[@SPEED]";
    return std::nullopt;
}

Walker::Walker(const WalkPlan& plan, Point2 start)
    : m_plan(plan)
    , m_start(start) {
    switch (m_plan.kind) {
    case WalkPlan::Kind::Stand:
        m_loopStart = start;
        break;
    case WalkPlan::Kind::Circle:
        m_loopStart = {start.x + m_plan.radius, start.y};
        m_loopLength = 2 * std::numbers::pi * m_plan.radius;
        break;
    case WalkPlan::Kind::Waypoints:
    case WalkPlan::Kind::Path: {
        m_loopStart = m_plan.waypoints.front();
        const std::size_t legs = m_plan.waypoints.size() - (m_plan.kind == WalkPlan::Kind::Path ? 1 : 0);
        for (std::size_t i = 0; i < legs; ++i)
            m_loopLength +=
                distance(m_plan.waypoints[i], m_plan.waypoints[(i + 1) % m_plan.waypoints.size()]);
        break;
    }
    }
    m_leadIn = distance(m_start, m_loopStart);
}

auto Walker::point_at(double travelled) const -> Point2 {
    if (travelled < m_leadIn)
        return lerp(m_start, m_loopStart, travelled / m_leadIn);
    if (m_loopLength <= 0)
        return m_loopStart;
    const double along = travelled - m_leadIn;
    if (m_plan.kind == WalkPlan::Kind::Path && along >= m_loopLength)
        return m_plan.waypoints.back();
    if (m_plan.kind == WalkPlan::Kind::Circle) {
        const double angle = along / m_plan.radius;
        return {m_start.x + m_plan.radius * std::cos(angle), m_start.y + m_plan.radius * std::sin(angle)};
    }
    double rest = along;
    const auto& points = m_plan.waypoints;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Point2 from = points[i];
        const Point2 to = points[(i + 1) % points.size()];
        const double length = distance(from, to);
        if (rest < length)
            return lerp(from, to, rest / length);
        rest -= length;
    }
    return m_loopStart;
}

auto Walker::advance(double seconds) -> WalkStep {
    if (m_plan.kind == WalkPlan::Kind::Stand || seconds <= 0)
        return {};
    const Point2 before = point_at(m_travelled);
    m_travelled += m_plan.speed * seconds;
    if (m_plan.kind == WalkPlan::Kind::Path) {
        m_travelled = std::min(m_travelled, m_leadIn + m_loopLength);
    } else if (m_travelled >= m_leadIn) {
        // Whole loops add no displacement; keep the distance small so precision does not decay.
        m_travelled =
            m_loopLength > 0 ? m_leadIn + std::fmod(m_travelled - m_leadIn, m_loopLength) : m_leadIn;
    }
    const Point2 after = point_at(m_travelled);
    WalkStep step{after.x - before.x, after.y - before.y, std::nullopt};
    if (std::hypot(step.dx, step.dy) > 1e-9)
        step.yaw = std::atan2(step.dy, step.dx) * 180.0 / std::numbers::pi;
    return step;
}

} // namespace korvath::sim
