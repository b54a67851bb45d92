#include "tools/session/demo/demo.hpp"

#include "tools/platform/os.hpp"
#include "tools/session/demo/demo_client.hpp"
#include "tools/session/demo/demo_progress.hpp"
#include "tools/session/demo/demo_report.hpp"
#include "tools/session/demo/demo_setup.hpp"
#include "tools/session/exchange/client_controls.hpp"
#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/link/periodic_loop.hpp"
#include "tools/session/link/predicting_link.hpp"
#include "tools/session/link/relay.hpp"
#include "tools/session/watch/terminal.hpp"

#include <algorithm>
#include <cstdio>
#include <thread>

namespace korvath::session_tool {

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

// The mod's own waits, for telling how long a phase still takes.
constexpr double kSettleSeconds = 2.0; // CLIENT_B's fresh local state before it moves aside
constexpr double kEnableSeconds = 7.0; // fresh local state with the enable marker before a session
constexpr std::size_t kNarrowestTerminal = 40;

enum class Phase { Starting, Relocating, Enabling, Following, KillSwitch, Stale, Done };

auto seconds_text(double seconds, int decimals = 1) -> std::string {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f s", decimals, seconds);
    return text;
}

auto units_text(double value) -> std::string {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f", value);
    return text;
}

auto in_seconds(Clock::duration value) -> double {
    return std::chrono::duration<double>(value).count();
}

// The demo's course: the phases of the session in turn, each with its deadline, checked at the relay's
// rate. The update never waits; every wait is a phase that has not yet seen what it waits for.
class DemoRun {
public:
    DemoRun(const DemoOptions& options, std::ostream& out)
        : m_options(options)
        , m_plan(make_demo_plan(options))
        , m_programs(find_demo_programs())
        , m_dir(prepare_demo_dir(options.dir))
        , m_start(Clock::now())
        , m_phaseStart(m_start)
        , m_progress(out, stdout_is_terminal(), std::max(terminal_width(100), kNarrowestTerminal), m_start)
        , m_a(demo_client_files(m_dir, ClientRole::ClientA))
        , m_b(demo_client_files(m_dir, ClientRole::ClientB)) {}

    auto run() -> int;

private:
    auto now_seconds() const -> double { return in_seconds(Clock::now() - m_start); }
    auto in_phase() const -> double { return in_seconds(Clock::now() - m_phaseStart); }

    auto start_games() -> void;
    auto tick() -> void;
    auto relay() -> void;
    auto check_health() -> void;
    auto advance() -> bool;
    auto advance_enabling() -> bool;
    auto enter(Phase phase, const std::string& text) -> void;
    auto phase_limit() const -> std::chrono::milliseconds;
    auto phase_goal() const -> std::string;
    auto show_status() -> void;
    auto fail(std::string reason) -> void;

    DemoOptions m_options;
    DemoPlan m_plan;
    DemoPrograms m_programs;
    fs::path m_dir;
    Clock::time_point m_start;
    Clock::time_point m_phaseStart;
    DemoProgress m_progress;
    DemoClient m_a;
    DemoClient m_b;
    Phase m_phase = Phase::Starting;
    bool m_relayToB = true;
    bool m_aEnabled = false;
    bool m_bEnabled = false;
    std::vector<PredictingLink> m_links; // A to B, B to A
    int m_relayHz = kPlainRelayHz;
    long m_relayStep = 0;
    DemoTimeline m_timeline;
    std::optional<std::string> m_failure;
    bool m_interrupted = false;
};

auto DemoRun::start_games() -> void {
    char ready[32], lifetime[32];
    std::snprintf(ready, sizeof ready, "%g", m_plan.readyAfterSeconds);
    std::snprintf(lifetime, sizeof lifetime, "%g", m_plan.game_lifetime_seconds());
    std::vector<std::string> common{"--ready-after", ready, "--duration", lifetime};
    if (m_options.tracker)
        common.emplace_back("--tracker");
    std::vector<std::string> walking = common;
    walking.insert(walking.end(), {"--walk", demo_walk_argument(m_options, m_plan)});
    m_a.start(m_programs, walking, now_seconds());
    m_b.start(m_programs, m_options.compare ? walking : common, now_seconds());
    const auto [aToB, bToA] = relay_links(m_a.files().gameDir, m_b.files().gameDir);
    m_links = {PredictingLink(aToB, m_options.predict),
               PredictingLink(bToA, m_options.predict && !m_options.compare)};
    m_relayHz = m_options.predict ? kPredictingRelayHz : kPlainRelayHz;
}

// Each link at its own rate: a predicting one at the loop's, a plain one at about kPlainRelayHz, so that
// a comparison run relays B's pose as a run without prediction does.
auto DemoRun::relay() -> void {
    const auto fileNow = fs::file_time_type::clock::now();
    const auto now = Clock::now().time_since_epoch();
    const long plainEvery = m_relayHz / kPlainRelayHz;
    const bool plainDue = m_relayStep++ % plainEvery == 0;
    for (std::size_t index = 0; index < m_links.size(); ++index)
        if ((index == 1 || m_relayToB) && (m_links[index].predicts() || plainDue))
            m_links[index].step(fileNow, now);
}

auto DemoRun::fail(std::string reason) -> void {
    if (!m_failure)
        m_failure = std::move(reason);
}

auto DemoRun::check_health() -> void {
    if (stop_requested()) {
        m_interrupted = true;
        fail("interrupted");
    }
    for (auto* client : {&m_a, &m_b}) {
        if (const auto status = client->exited())
            fail(client->name() + "'s game ended early with status " + std::to_string(*status) + " (see " +
                 client->files().log.string() + ")");
        if (const auto error = client->summary().error)
            fail(client->name() + " reported an error: " + *error);
    }
    if (m_a.reports().destroy && m_phase < Phase::KillSwitch)
        fail("A's proxy of B was destroyed before the kill switch, as " + m_a.summary().destroyReason);
    if (m_b.reports().destroy && m_phase < Phase::Stale)
        fail("B's proxy of A was destroyed before the relay to B stopped, as " + m_b.summary().destroyReason);
}

auto DemoRun::enter(Phase phase, const std::string& text) -> void {
    m_phase = phase;
    m_phaseStart = Clock::now();
    m_progress.event(text, m_phaseStart);
}

auto DemoRun::phase_limit() const -> std::chrono::milliseconds {
    switch (m_phase) {
    case Phase::Starting:
        return m_plan.startLimit;
    case Phase::Relocating:
        return m_plan.relocateLimit;
    case Phase::Enabling:
        return m_plan.enableLimit;
    case Phase::Following:
        return m_plan.follow * 2;
    case Phase::KillSwitch:
        return m_plan.killSwitchLimit;
    case Phase::Stale:
        return m_plan.staleLimit;
    case Phase::Done:
        break;
    }
    return std::chrono::milliseconds::max();
}

auto DemoRun::phase_goal() const -> std::string {
    switch (m_phase) {
    case Phase::Starting:
        return "both engines to report ready";
    case Phase::Relocating:
        return "B to move its pawn aside";
    case Phase::Enabling:
        return std::string("both proxies to spawn (A's ") + (m_timeline.aSpawned ? "has" : "has not") +
               ", B's " + (m_timeline.bSpawned ? "has" : "has not") + ")";
    case Phase::Following:
        return "the end of the following phase";
    case Phase::KillSwitch:
        return "A to destroy its proxy after the stop marker";
    case Phase::Stale:
        return "B to destroy its proxy of A as stale";
    case Phase::Done:
        break;
    }
    return "nothing";
}

auto DemoRun::advance_enabling() -> bool {
    bool changed = false;
    for (auto* client : {&m_a, &m_b}) {
        const bool isA = client == &m_a;
        bool& enabled = isA ? m_aEnabled : m_bEnabled;
        std::error_code error;
        if (!enabled && !fs::exists(exchange_dir_of(client->files().gameDir) / kEnableMarker, error)) {
            enabled = changed = true;
            m_progress.event(client->name() + "'s session enabled (the enable marker was consumed)",
                             Clock::now());
        }
        auto& spawned = isA ? m_timeline.aSpawned : m_timeline.bSpawned;
        if (!spawned && client->reports().spawn) {
            spawned = now_seconds();
            changed = true;
            m_progress.event(isA ? "A spawned its proxy of B" : "B spawned its proxy of A", Clock::now());
        }
    }
    if (!m_timeline.aSpawned || !m_timeline.bSpawned)
        return changed;
    enter(Phase::Following,
          "both proxies follow their players for " + seconds_text(in_seconds(m_plan.follow), 0));
    return true;
}

// Moves on while the current phase has seen what it waits for; false when nothing changed.
auto DemoRun::advance() -> bool {
    switch (m_phase) {
    case Phase::Starting:
        if (!m_a.heartbeat_flag("unrealReady") || !m_b.heartbeat_flag("unrealReady"))
            return false;
        enter(Phase::Relocating,
              "both engines ready; B waits for 2 s of fresh local state, then moves aside");
        return true;
    case Phase::Relocating:
        if (!m_b.reports().clientSpawn)
            return false;
        m_timeline.relocated = now_seconds();
        enter(Phase::Enabling, "B moved its pawn 800 units aside: " + m_b.summary().moveAsideText);
        m_progress.event("each session starts after its enable marker and 7 s of fresh local state",
                         Clock::now());
        return true;
    case Phase::Enabling:
        return advance_enabling();
    case Phase::Following: {
        if (Clock::now() - m_phaseStart < m_plan.follow)
            return false;
        const FollowStats stats = follow_stats(follow_distances(m_a.pawn_track(), m_b.proxy_track()),
                                               *m_timeline.bSpawned, now_seconds());
        m_progress.event("B's proxy of A followed A's pawn at " + units_text(stats.mean) +
                             " units on average, " + units_text(stats.max) + " at most",
                         Clock::now());
        if (!place_stop_marker(m_a.files().gameDir))
            fail("cannot place the stop marker in A");
        m_timeline.stopPlaced = now_seconds();
        enter(Phase::KillSwitch, "kill switch: stop marker placed in A");
        return true;
    }
    case Phase::KillSwitch:
        if (!m_a.reports().destroy)
            return false;
        m_timeline.aDestroyed = now_seconds();
        m_progress.event("A destroyed its proxy of B as \"" + m_a.summary().destroyReason + "\"",
                         Clock::now());
        m_timeline.relayStopped = now_seconds();
        if (m_options.tracker) {
            // The simulator's host stops running A's tracker while this file exists.
            if (!write_file_atomically(m_a.files().gameDir / "KorvathTracker.stop", ""))
                fail("cannot stop A's tracker");
            enter(Phase::Stale,
                  "A's tracker stopped: A's local state goes stale after 3 s, then the relay "
                  "stops writing to B; B's remote row goes stale 2 s later, its proxy 3 s later");
            return true;
        }
        m_relayToB = false;
        enter(Phase::Stale, "relay to B stopped: B's remote row goes stale after 2 s, its proxy 3 s later");
        return true;
    case Phase::Stale:
        if (!m_b.reports().destroy)
            return false;
        m_timeline.bDestroyed = now_seconds();
        enter(Phase::Done,
              "B destroyed its proxy of A as \"" + m_b.summary().destroyReason + "\", " +
                  seconds_text(in_phase()) +
                  (m_options.tracker ? " after A's tracker stopped" : " after the relay stopped"));
        return true;
    case Phase::Done:
        break;
    }
    return false;
}

auto DemoRun::show_status() -> void {
    const double t = now_seconds();
    const auto eta = [&](double at) { return at > t ? "in ~" + seconds_text(at - t, 0) : "any moment"; };
    const auto session = [&](bool enabled, const std::optional<double>& spawned, double due) {
        return enabled ? std::string(spawned ? "on, proxy spawned" : "on") : eta(due);
    };
    const double bReady = m_b.started_at() + m_plan.readyAfterSeconds;
    std::string phase, detail;
    switch (m_phase) {
    case Phase::Starting:
        phase = "starting";
        detail = "loading the mod in both games";
        break;
    case Phase::Relocating:
        phase = "moving B aside";
        detail = "B relocates its pawn " + eta(bReady + kSettleSeconds);
        break;
    case Phase::Enabling:
        phase = "enabling";
        detail = "A's session " +
                 session(m_aEnabled, m_timeline.aSpawned,
                         m_a.started_at() + m_plan.readyAfterSeconds + kEnableSeconds) +
                 "; B's session " +
                 session(m_bEnabled, m_timeline.bSpawned, m_timeline.relocated.value_or(t) + kEnableSeconds);
        break;
    case Phase::Following: {
        phase = "following";
        const auto distances = follow_distances(m_a.pawn_track(), m_b.proxy_track());
        detail = seconds_text(in_phase(), 0) + " of " + seconds_text(in_seconds(m_plan.follow), 0) + "; " +
                 (distances.empty() ? std::string("B's proxy of A just spawned")
                                    : "B's proxy of A is " + units_text(distances.back().distance) +
                                          " units from A's pawn") +
                 "; moves: A " + std::to_string(m_a.summary().moves) + ", B " +
                 std::to_string(m_b.summary().moves);
        break;
    }
    case Phase::KillSwitch:
        phase = "kill switch";
        detail = "waiting for A to destroy its proxy of B";
        break;
    case Phase::Stale:
        phase = "stale";
        detail = (m_options.tracker ? "A's tracker stopped " : "no rows to B for ") +
                 seconds_text(in_phase()) +
                 (m_options.tracker ? " ago; B's proxy goes at ~8 s" : "; B's proxy goes at ~5 s");
        break;
    case Phase::Done:
        return;
    }
    m_progress.status(phase, detail, Clock::now());
}

auto DemoRun::tick() -> void {
    m_a.observe();
    m_b.observe();
    check_health();
    while (!m_failure && advance()) {
    }
    if (m_failure || m_phase == Phase::Done)
        return;
    if (Clock::now() - m_phaseStart > phase_limit())
        fail("timed out after " + seconds_text(in_seconds(phase_limit()), 0) + " waiting for " +
             phase_goal());
    else
        show_status();
}

auto DemoRun::run() -> int {
    m_progress.line("korvath-session demo in " + m_dir.string());
    m_progress.line("  game " + m_programs.simulator.string() +
                    (m_programs.modLibrary ? ", mod " + m_programs.modLibrary->string() : std::string()));
    m_progress.line("  A (CLIENT_A) " + demo_walk_text(m_options, m_plan) + "; B (CLIENT_B) " +
                    (m_options.compare ? "walks the same way" : "stands"));
    os::ignore_broken_pipe();
    install_stop_handlers();
    try {
        start_games();
        m_progress.event(std::string("started both games; relaying ") +
                             (!m_options.predict  ? "each one's pose to the other as it is"
                              : m_options.compare ? "A's pose to B predicted, B's to A as it is"
                                                  : "each one's pose to the other, predicted"),
                         Clock::now());
        const auto period = std::chrono::nanoseconds(std::chrono::seconds(1)) / m_relayHz;
        const auto observePeriod = std::chrono::nanoseconds(std::chrono::seconds(1)) / m_plan.observeHz;
        auto next = Clock::now();
        auto nextObservation = next;
        while (!m_failure && m_phase != Phase::Done) {
            relay();
            if (Clock::now() >= nextObservation) {
                tick();
                nextObservation = std::max(nextObservation + observePeriod, Clock::now());
            }
            next = std::max(next + period, Clock::now());
            while (!stop_requested() && Clock::now() < next)
                std::this_thread::sleep_for(std::min<Clock::duration>(next - Clock::now(), period));
        }
    } catch (const std::exception& error) {
        fail(error.what());
    }
    m_timeline.end = now_seconds();
    m_progress.event(m_interrupted ? "interrupted; stopping both games" : "stopping both games",
                     Clock::now());
    m_a.stop(m_plan.shutdownGrace);
    m_b.stop(m_plan.shutdownGrace);
    m_progress.finish();
    return report_demo({m_a, m_b, m_timeline, m_failure, m_interrupted}, m_plan, m_options, m_dir,
                       m_progress);
}

} // namespace

auto run_demo(const DemoOptions& options, std::ostream& out) -> int {
    DemoRun run(options, out);
    return run.run();
}

} // namespace korvath::session_tool
