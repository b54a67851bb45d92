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

auto demo_usage_text() -> std::string_view {
    return "usage: korvath-session demo [--dir DIR] [--keep] [--quick] [--no-predict] [--straight]\n"
           "                            [--compare]\n"
           "\n"
           "Runs two simulated games side by side with the mod, CLIENT_A walking a circle and CLIENT_B\n"
           "standing, relays each one's pose to the other, and shows the session live:\n"
           "  1. both games start; CLIENT_B moves its pawn 800 units aside 2 s after its engine is ready;\n"
           "  2. each session starts after the enable marker and 7 s of fresh local state; each game\n"
           "     spawns a proxy of the other player;\n"
           "  3. the proxies follow for 6 s (B's proxy of A trails A's walk);\n"
           "  4. a stop marker in CLIENT_A: A's proxy is destroyed as \"kill-switch\";\n"
           "  5. the relay to CLIENT_B stops: B's proxy of A is destroyed as \"remote-player-stale\"\n"
           "     (the remote row goes stale after 2 s, the proxy 3 s later).\n"
           "Then it stops both games, prints a summary and writes demo.svg: A's path and B's proxy of A\n"
           "in the x/y plane, and their distance over time. About 21 s in all.\n"
           "\n"
           "  --dir DIR   work in DIR (created when missing; empty or from an earlier demo) instead of a\n"
           "              fresh temporary directory\n"
           "  --keep      keep the two game folders (client-a/, client-b/: the installed game and mod and\n"
           "              their exchange files); the plot, the world logs and the game logs always stay\n"
           "  --quick     follow for 4 s instead of 6 s (about 19 s in all)\n"
           "  --no-predict\n"
           "              relay each pose as it is, 20 times a second, instead of predicting where the\n"
           "              player will be when the proxy shows it, 100 times a second\n"
           "  --straight  CLIENT_A walks along x and stops dead 12 s after its start, in the following\n"
           "              phase; the summary tells how far B's proxy of A overshoots and how soon it\n"
           "              settles within 1 unit\n"
           "  --compare   CLIENT_B walks as CLIENT_A does, and the relay predicts A's pose for B but passes\n"
           "              B's on to A as it is (20 times a second): one run shows both trails, B's proxy\n"
           "              of A with prediction and A's proxy of B without\n"
           "  --help      this text\n"
           "\n"
           "Exit codes: 0 the session went as expected, 1 it did not (the reason is printed),\n"
           "2 bad arguments, 130 interrupted (Ctrl-C); the games are stopped in every case.\n";
}

} // namespace korvath::session_tool
