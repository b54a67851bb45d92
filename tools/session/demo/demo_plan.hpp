#pragma once
// The two-client demo's options and its timetable: what the two games do, how long the session is
// watched in each phase, and how long each phase may take before the demo gives up.

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>

namespace korvath::session_tool {

struct DemoOptions {
    std::optional<std::filesystem::path> dir; // nothing: a fresh temporary directory
    bool keep = false;                        // keep the two game folders at the end
    bool quick = false;                       // a shorter following phase
    bool predict = true;                      // the relay predicts the pose it writes
    bool straight = false;                    // CLIENT_A walks a straight line and stops dead
    bool compare = false; // CLIENT_B walks as A does; only A's pose is predicted, B's relayed as it is
    bool tracker = false; // the pose tracker script writes each game's local state; A's stops at the end
};

struct DemoPlan {
    // The games: CLIENT_A walks a circle around its start, CLIENT_B stands where it starts (or, to
    // compare, walks the same way from where it was moved aside).
    double readyAfterSeconds = 0.5;    // the engine reports ready this long after start
    double circleRadius = 600.0;       // engine units
    double walkSpeed = 300.0;          // engine units per second
    double straightStopSeconds = 12.0; // with --straight, A walks along x for this long, then stands
    int observeHz = 20;                // how often the demo looks at the reports and world logs

    std::chrono::milliseconds follow{6'000}; // how long both proxies are watched following

    // Longest wait of each phase, from its start.
    std::chrono::milliseconds startLimit{10'000};     // both engines ready
    std::chrono::milliseconds relocateLimit{8'000};   // CLIENT_B moved aside (due 2 s after ready)
    std::chrono::milliseconds enableLimit{14'000};    // both proxies spawned (due 7 s after fresh state)
    std::chrono::milliseconds killSwitchLimit{5'000}; // A's proxy destroyed after the stop marker
    std::chrono::milliseconds staleLimit{12'000}; // B's proxy destroyed (due 2 s + 3 s after the relay stops)
    std::chrono::milliseconds shutdownGrace{5'000}; // per game, from SIGTERM to SIGKILL

    // While following, B's proxy of A stays this close to A's pawn (engine units).
    double followLimit = 500.0;

    // A last resort: each game ends on its own after this, should the demo itself be killed.
    auto game_lifetime_seconds() const -> double;
};

auto make_demo_plan(const DemoOptions& options) -> DemoPlan;

// CLIENT_A's walk, as korvath-sim's --walk takes it and in words.
auto demo_walk_argument(const DemoOptions& options, const DemoPlan& plan) -> std::string;
auto demo_walk_text(const DemoOptions& options, const DemoPlan& plan) -> std::string;

} // namespace korvath::session_tool
