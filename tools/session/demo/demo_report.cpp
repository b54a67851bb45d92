#include "tools/session/demo/demo_report.hpp"

#include "tools/session/demo/stop_figures.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/plot/demo_plot.hpp"

#include <cstdio>

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

constexpr int kExitUnexpected = 1;
constexpr int kExitInterrupted = 130;

auto number_text(const char* format, double value) -> std::string {
    char text[48];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

auto at_text(const std::optional<double>& seconds) -> std::string {
    return seconds ? " at " + number_text("%.1f s", *seconds) : std::string();
}

constexpr double kSettleWithin = 1.0; // units from where A came to rest

auto stop_text(const std::optional<StopFigures>& stop) -> std::string {
    if (!stop)
        return "A did not come to rest after B's proxy of A spawned; nothing measured";
    return "A came to rest" + at_text(stop->stoppedAt) + "; B's proxy of A overshot by " +
           number_text("%.1f", stop->overshoot) + " units and " +
           (stop->settleSeconds
                ? "settled within 1 unit " + number_text("%.2f s", *stop->settleSeconds) + " after"
                : std::string("did not settle within 1 unit"));
}

auto follow_text(const FollowStats& stats, std::string_view pawn = "A's pawn") -> std::string {
    if (stats.count == 0)
        return "no distance measured";
    return number_text("%.1f", stats.mean) + " units from " + std::string(pawn) + " on average (RMS " +
           number_text("%.1f", stats.rms) + "), " + number_text("%.1f", stats.max) + " at most";
}

// The figure's summary: short lines with the times of the events.
auto figure_notes(const ClientSummary& a, const ClientSummary& b, const DemoOutcome& outcome,
                  const FollowStats& follow, const std::optional<FollowStats>& followOfB,
                  const std::vector<std::string>& problems) -> std::vector<std::string> {
    const DemoTimeline& t = outcome.timeline;
    const auto proxy = [](const ClientSummary& client, const std::optional<double>& spawned,
                          const std::optional<double>& destroyed, std::string_view other) {
        if (!client.proxySpawned)
            return client.name + ": no proxy of " + std::string(other) + " spawned";
        return client.name + ": proxy of " + std::string(other) + " spawned" + at_text(spawned) + ", " +
               std::to_string(client.moves) + " moves, " +
               (client.proxyDestroyed ? "destroyed" + at_text(destroyed) + " (" + client.destroyReason + ")"
                                      : std::string("not destroyed"));
    };
    std::vector<std::string> notes{"Summary"};
    std::string moveAside = b.moveAsideText;
    if (const auto arrow = moveAside.find("->"); arrow != std::string::npos)
        moveAside.replace(arrow, 2, "\u2192");
    notes.push_back(b.movedAside ? "B: pawn moved aside" + at_text(t.relocated) + ": " + moveAside
                                 : "B: pawn not moved aside");
    notes.push_back(proxy(a, t.aSpawned, t.aDestroyed, "B"));
    notes.push_back(proxy(b, t.bSpawned, t.bDestroyed, "A"));
    if (followOfB) {
        notes.push_back("Following, predicted: B's proxy of A " + follow_text(follow));
        notes.push_back("As relayed: A's proxy of B " + follow_text(*followOfB, "B's pawn"));
    } else {
        notes.push_back("Following: B's proxy of A " + follow_text(follow));
    }
    std::string errors;
    for (const auto* client : {&a, &b})
        if (client->error)
            errors += (errors.empty() ? "" : "; ") + client->name + ": " + *client->error;
    notes.push_back("Errors: " + (errors.empty() ? std::string("none") : errors));
    notes.push_back(problems.empty() ? "Result: the session went as expected"
                                     : "Result: NOT as expected: " + problems.front());
    return notes;
}

} // namespace

auto report_demo(const DemoOutcome& outcome, const DemoPlan& plan, const DemoOptions& options,
                 const fs::path& dir, DemoProgress& progress) -> int {
    const DemoTimeline& t = outcome.timeline;
    const ClientSummary a = outcome.a.summary();
    const ClientSummary b = outcome.b.summary();
    const double followEnd = t.relayStopped.value_or(t.end);
    const FollowStats follow = follow_stats(follow_distances(outcome.a.pawn_track(), outcome.b.proxy_track()),
                                            t.bSpawned.value_or(followEnd), followEnd);
    // A's proxy of B follows from its spawn until the kill switch.
    std::optional<FollowStats> followOfB;
    if (options.compare) {
        const double end = t.stopPlaced.value_or(t.end);
        followOfB = follow_stats(follow_distances(outcome.b.pawn_track(), outcome.a.proxy_track()),
                                 t.aSpawned.value_or(end), end);
    }

    std::vector<std::string> problems;
    if (outcome.failure)
        problems.push_back(*outcome.failure);
    else
        problems = demo_problems(a, b, follow, {.followLimit = plan.followLimit});
    for (const auto* client : {&outcome.a, &outcome.b})
        if (!outcome.failure && client->exit_status() != 0)
            problems.push_back(client->name() + "'s game exited with status " +
                               std::to_string(client->exit_status().value_or(-1)) + " (see " +
                               client->files().log.string() + ")");

    progress.line("");
    progress.line("Summary");
    progress.line("  A (CLIENT_A)  " + proxy_text(a));
    progress.line("  B (CLIENT_B)  " + (b.movedAside ? "moved aside " + b.moveAsideText : "not moved aside"));
    progress.line("                " + proxy_text(b));
    progress.line("  following     B's proxy of A " + std::string(followOfB ? "(predicted) " : "") +
                  follow_text(follow) + " (limit " + number_text("%.0f", plan.followLimit) + ")");
    if (followOfB)
        progress.line("                A's proxy of B (as relayed) " + follow_text(*followOfB, "B's pawn"));
    for (const auto* client : {&a, &b})
        if (client->error)
            progress.line("  error         " + client->name + ": " + *client->error);
    if (options.straight)
        progress.line("  stop          " + stop_text(stop_figures(outcome.a.pawn_track(),
                                                                  outcome.b.proxy_track(), kSettleWithin)));

    const DemoPlotInput plot{
        outcome.a.pawn_track(),
        outcome.b.pawn_track(),
        outcome.b.proxy_track(),
        outcome.a.proxy_track(),
        options.compare,
        t,
        "CLIENT_A " + demo_walk_text(options, plan) +
            (options.compare ? "; CLIENT_B walks the same way; only A's pose is predicted. "
                             : "; CLIENT_B stands. ") +
            "Each game shows the other player as a proxy. " + number_text("%.1f s", t.end) + " in all.",
        figure_notes(a, b, outcome, follow, followOfB, problems)};
    const fs::path plotFile = dir / kPlotFile;
    if (write_file_atomically(plotFile, render_svg_plot(demo_figure(plot))))
        progress.line("  plot          " + plotFile.string());
    else
        problems.push_back("cannot write " + plotFile.string());
    if (!options.keep)
        for (const auto* client : {&outcome.a, &outcome.b}) {
            std::error_code error;
            fs::remove_all(client->files().gameDir, error);
        }
    progress.line("  files         " + dir.string() +
                  (options.keep ? " (game folders kept)" : " (world logs and game logs)"));
    progress.line("");
    if (outcome.interrupted) {
        progress.line("Demo interrupted; both games stopped.");
        return kExitInterrupted;
    }
    if (!problems.empty()) {
        progress.line("Demo FAILED:");
        for (const auto& problem : problems)
            progress.line("  - " + problem);
        return kExitUnexpected;
    }
    progress.line("Demo passed: the session went as expected (" + number_text("%.1f s", t.end) + ").");
    return 0;
}

} // namespace korvath::session_tool
