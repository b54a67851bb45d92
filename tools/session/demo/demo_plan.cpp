#include "tools/session/demo/demo_plan.hpp"

#include <cstdio>

namespace korvath::session_tool {

namespace {

constexpr std::chrono::milliseconds kQuickFollow{4'000};
constexpr double kLifetimeMargin = 30.0; // seconds

} // namespace

auto DemoPlan::game_lifetime_seconds() const -> double {
    const auto total = startLimit + relocateLimit + enableLimit + follow + killSwitchLimit + staleLimit;
    return std::chrono::duration<double>(total).count() + kLifetimeMargin;
}

auto make_demo_plan(const DemoOptions& options) -> DemoPlan {
    DemoPlan plan;
    if (options.quick)
        plan.follow = kQuickFollow;
    return plan;
}

auto demo_walk_argument(const DemoOptions& options, const DemoPlan& plan) -> std::string {
    char text[96];
    if (options.straight)
        std::snprintf(text, sizeof text, "path:%g,0@%g", plan.walkSpeed * plan.straightStopSeconds,
                      plan.walkSpeed);
    else
        std::snprintf(text, sizeof text, "circle:%g,%g", plan.circleRadius, plan.walkSpeed);
    return text;
}

auto demo_walk_text(const DemoOptions& options, const DemoPlan& plan) -> std::string {
    char text[128];
    if (options.straight)
        std::snprintf(text, sizeof text, "walks along x at %.0f units/s and stops dead after %.0f s",
                      plan.walkSpeed, plan.straightStopSeconds);
    else
        std::snprintf(text, sizeof text, "walks a circle of radius %.0f at %.0f units/s", plan.circleRadius,
                      plan.walkSpeed);
    return text;
}

} // namespace korvath::session_tool
