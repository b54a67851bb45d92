#include "tools/soak/soak_run.hpp"

#include "tools/session/exchange/client_controls.hpp"
#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/link/predicting_link.hpp"
#include "tools/session/link/relay_link.hpp"
#include "tools/soak/soak_client.hpp"
#include "tools/soak/soak_events.hpp"

#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace korvath::soak {

namespace fs = std::filesystem;
namespace tool = session_tool;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto kLookPeriod = std::chrono::milliseconds(50); // how often the games are looked at
constexpr double kFirstEventAt = 15.0;  // both sessions have started by then (relocation, 7 s wait)
constexpr double kLateLook = 0.5;       // a look this much after the last one: a stall here
constexpr int kBurstWritesPerLook = 50; // remote rows written per look during a burst, per side
constexpr auto kStopGrace = std::chrono::milliseconds(5000);

auto seconds_now() -> double {
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

auto mib(int64_t bytes) -> double {
    return static_cast<double>(bytes) / (1024.0 * 1024.0);
}

// The temporary files an atomic write leaves behind if it was cut short.
auto leftover_temporaries(const fs::path& exchange) -> std::vector<std::string> {
    std::vector<std::string> found;
    std::error_code error;
    for (fs::directory_iterator it(exchange, error), end; !error && it != end; it.increment(error))
        if (it->path().filename().string().ends_with(tool::kTemporarySuffix))
            found.push_back(it->path().filename().string());
    return found;
}

struct ActiveEvent {
    SoakEvent event;
    double until = 0.0;
};

class SoakRun {
public:
    SoakRun(const SoakOptions& options, std::ostream& out);
    auto run() -> int;

private:
    auto client(int index) -> SoakClient& { return *m_clients[static_cast<std::size_t>(index)]; }
    auto begin(const SoakEvent& event, double now) -> void;
    auto end(const SoakEvent& event) -> void;
    auto is_active(const SoakEvent& event) const -> bool;
    auto relay(double now) -> void;
    auto finish(double now) -> int;

    SoakOptions m_options;
    std::ostream& m_out;
    fs::path m_dir;
    std::array<std::unique_ptr<SoakClient>, 2> m_clients;
    std::array<tool::PredictingLink, 2> m_links;
    EventPlan m_plan;
    std::vector<ActiveEvent> m_active;
    std::array<uint64_t, kEventKinds> m_eventCounts{};
    uint64_t m_remoteWrites = 0;
    uint64_t m_burstWrites = 0;
    std::array<std::size_t, 2> m_problemsShown{}; // kept problems already printed with the progress
    double m_start = 0.0;
};

auto make_links(const fs::path& dir) -> std::array<tool::PredictingLink, 2> {
    const auto [aToB, bToA] = tool::relay_links(dir / "client-a", dir / "client-b");
    return {tool::PredictingLink(aToB, false), tool::PredictingLink(bToA, false)};
}

SoakRun::SoakRun(const SoakOptions& options, std::ostream& out)
    : m_options(options)
    , m_out(out)
    , m_dir(tool::prepare_demo_dir(options.dir))
    , m_links(make_links(m_dir))
    , m_plan(options.seed) {
    for (const auto role : {tool::ClientRole::ClientA, tool::ClientRole::ClientB}) {
        auto files = tool::demo_client_files(m_dir, role);
        const fs::path control = fs::path(files.log).replace_extension(".control");
        m_clients[role == tool::ClientRole::ClientB ? 1 : 0] =
            std::make_unique<SoakClient>(std::move(files), control, CheckLimits{});
    }
}

auto SoakRun::is_active(const SoakEvent& event) const -> bool {
    const bool shared = event.kind == EventKind::RelayPause || event.kind == EventKind::Burst;
    for (const auto& active : m_active)
        if (active.event.kind == event.kind && (shared || active.event.client == event.client))
            return true;
    return false;
}

auto SoakRun::begin(const SoakEvent& event, double now) -> void {
    const fs::path game = client(event.client).files().gameDir;
    const fs::path enableMarker = tool::exchange_dir_of(game) / tool::kEnableMarker;
    switch (event.kind) {
    case EventKind::Stop:
        tool::place_stop_marker(game);
        break;
    case EventKind::Enable: {
        std::error_code error;
        if (fs::exists(enableMarker, error))
            fs::remove(enableMarker, error);
        else
            tool::place_enable_marker(game);
        break;
    }
    case EventKind::RelayPause:
    case EventKind::Burst:
        break;
    case EventKind::MapChange:
        client(event.client).command("map " + event.detail);
        break;
    case EventKind::EngineFault:
        client(event.client).command("fail " + event.detail);
        break;
    }
    ++m_eventCounts[static_cast<std::size_t>(event.kind)];
    if (event.holdSeconds > 0)
        m_active.push_back({event, now + event.holdSeconds});
}

auto SoakRun::end(const SoakEvent& event) -> void {
    const fs::path game = client(event.client).files().gameDir;
    if (event.kind == EventKind::Stop) {
        tool::remove_stop_marker(game);
        tool::place_enable_marker(game); // the session starts again after its wait
    } else if (event.kind == EventKind::EngineFault) {
        client(event.client).command("clear");
    }
}

auto SoakRun::relay(double now) -> void {
    bool paused = false, burst = false;
    for (const auto& active : m_active) {
        paused = paused || active.event.kind == EventKind::RelayPause;
        burst = burst || active.event.kind == EventKind::Burst;
    }
    if (paused)
        return;
    const int writes = burst ? kBurstWritesPerLook : 1;
    for (int i = 0; i < writes; ++i) {
        const auto fileNow = fs::file_time_type::clock::now();
        const auto steadyNow = Clock::now().time_since_epoch();
        for (auto& link : m_links)
            if (link.step(fileNow, steadyNow) == tool::RelayOutcome::Relayed) {
                ++m_remoteWrites;
                m_burstWrites += burst ? 1 : 0;
            }
    }
    (void)now;
}

auto SoakRun::run() -> int {
    const tool::DemoPrograms programs = tool::find_demo_programs();
    const std::string lifetime = std::to_string(static_cast<int>(m_options.seconds) + 60);
    const std::vector<std::string> common{"--ready-after", "0.5", "--duration", lifetime};
    std::vector<std::string> walking = common;
    walking.insert(walking.end(), {"--walk", "circle:600,300"});
    m_start = seconds_now();
    client(0).start(programs, walking);
    client(1).start(programs, common);
    m_out << "soak: " << m_options.seconds << " s, seed " << m_options.seed << ", in " << m_dir.string()
          << "\n"
          << std::flush;

    SoakEvent nextEvent = m_plan.next();
    double nextEventAt = m_start + kFirstEventAt;
    double nextMemoryAt = m_start + 1.0, nextProgressAt = m_start + 60.0;
    const double endAt = m_start + m_options.seconds;
    auto next = Clock::now();
    double lastLook = seconds_now();
    for (double now = seconds_now(); now < endAt; now = seconds_now()) {
        if (now - lastLook > kLateLook)
            for (int i = 0; i < 2; ++i)
                client(i).checks().stalled(lastLook, now); // this process stood still: it saw nothing
        lastLook = now;
        for (int i = 0; i < 2; ++i)
            if (const auto status = client(i).exited()) {
                m_out << "soak: game " << client(i).files().name << " ended with status " << *status
                      << " after " << now - m_start << " s\n";
                return finish(now);
            }
        std::erase_if(m_active, [&](const ActiveEvent& active) {
            if (active.until > now)
                return false;
            end(active.event);
            return true;
        });
        if (now >= nextEventAt) {
            if (!is_active(nextEvent))
                begin(nextEvent, now);
            nextEvent = m_plan.next();
            nextEventAt = now + nextEvent.waitSeconds;
        }
        relay(now);
        for (int i = 0; i < 2; ++i)
            client(i).observe(now);
        if (now >= nextMemoryAt) {
            for (int i = 0; i < 2; ++i)
                client(i).sample_memory(now - m_start >= m_options.warmupSeconds);
            nextMemoryAt += 1.0;
        }
        if (now >= nextProgressAt) {
            uint64_t problems = 0;
            for (int i = 0; i < 2; ++i)
                problems += client(i).checks().figures().problems;
            m_out << "soak: " << static_cast<int>(now - m_start) << " s, " << problems << " problems\n";
            for (int i = 0; i < 2; ++i) {
                const auto& kept = client(i).checks().problems();
                for (std::size_t& shown = m_problemsShown[static_cast<std::size_t>(i)]; shown < kept.size();
                     ++shown)
                    m_out << "soak: problem: " << kept[shown] << "\n";
            }
            m_out << std::flush;
            nextProgressAt += 60.0;
        }
        next += kLookPeriod;
        std::this_thread::sleep_until(std::max(next, Clock::now()));
    }
    return finish(seconds_now());
}

auto SoakRun::finish(double now) -> int {
    bool failed = false;
    for (const auto& active : m_active)
        end(active.event);
    m_active.clear();
    for (int i = 0; i < 2; ++i)
        client(i).observe(now);
    char line[384];
    std::snprintf(line, sizeof line,
                  "soak: ran %.1f s; remote rows written %" PRIu64 " (%" PRIu64 " in bursts)\n",
                  now - m_start, m_remoteWrites, m_burstWrites);
    m_out << line << "soak: events:";
    for (std::size_t kind = 0; kind < kEventKinds; ++kind)
        m_out << (kind ? ", " : " ") << m_eventCounts[kind] << " "
              << event_name(static_cast<EventKind>(kind));
    m_out << "\n";
    for (int i = 0; i < 2; ++i) {
        SoakClient& game = client(i);
        const bool running = !game.exited().has_value();
        const int status = game.stop(kStopGrace);
        if (!running || status != 0) {
            failed = true;
            m_out << "soak: game " << game.files().name << " did not stop cleanly (status " << status
                  << ")\n";
        }
        const fs::path exchange = tool::exchange_dir_of(game.files().gameDir);
        const auto temporaries = leftover_temporaries(exchange);
        for (const auto& name : temporaries)
            m_out << "soak: game " << game.files().name << " left " << name << " after a clean stop\n";
        std::error_code error;
        const bool unloaded = fs::exists(exchange / "cpp_mod_unloaded.txt", error);
        const CheckFigures& f = game.checks().figures();
        const MemoryFigures& m = game.memory();
        const ResidentMemory base = m.baseline.value_or(ResidentMemory{});
        std::snprintf(line, sizeof line,
                      "soak: game %s: %" PRIu64 " world snapshots (%" PRIu64
                      " with a proxy), proxy appeared %" PRIu64 " times, most proxies at once %d\n",
                      game.files().name.c_str(), f.worldSnapshots, f.snapshotsWithProxy,
                      game.proxy_appearances(), f.mostProxies);
        m_out << line;
        std::snprintf(
            line, sizeof line,
            "soak: game %s: %" PRIu64 " heartbeats, longest gap %.3f s (%.3f s outside stalls, %" PRIu64
            " late ones within stalls); %" PRIu64 " status reports, %" PRIu64
            " checked against the world (%" PRIu64 " within stalls)\n",
            game.files().name.c_str(), f.heartbeats, f.longestHeartbeatGap, f.longestUnexcusedHeartbeatGap,
            f.excusedHeartbeatGaps, f.statusReports, f.statusChecked, f.statusExcused);
        m_out << line;
        std::snprintf(line, sizeof line,
                      "soak: game %s: %" PRIu64 " stalls of the game or of this run, longest %.3f s\n",
                      game.files().name.c_str(), f.stalls, f.longestStall);
        m_out << line;
        std::snprintf(line, sizeof line,
                      "soak: game %s: resident memory %.2f MiB after the warm-up, largest %.2f MiB, growth "
                      "%.3f MiB (%" PRIu64 " samples); from the warm-up to the last sample, anonymous "
                      "%+.3f MiB, file-backed %+.3f MiB\n",
                      game.files().name.c_str(), mib(static_cast<int64_t>(base.total)),
                      mib(static_cast<int64_t>(m.most)), mib(m.growth()), m.samples,
                      mib(static_cast<int64_t>(m.latest.anonymous) - static_cast<int64_t>(base.anonymous)),
                      mib(static_cast<int64_t>(m.latest.file) - static_cast<int64_t>(base.file)));
        m_out << line;
        for (const auto& problem : game.checks().problems())
            m_out << "soak: problem: " << problem << "\n";
        if (f.problems > game.checks().problems().size())
            m_out << "soak: ... and " << f.problems - game.checks().problems().size() << " more problems\n";
        const bool memoryFlat = !m.baseline || m.growth() < 1024 * 1024;
        if (!memoryFlat)
            m_out << "soak: game " << game.files().name << " grew by 1 MiB or more after the warm-up\n";
        if (!unloaded)
            m_out << "soak: game " << game.files().name << " left no cpp_mod_unloaded.txt\n";
        failed = failed || f.problems > 0 || !temporaries.empty() || !memoryFlat || !unloaded;
    }
    m_out << (failed ? "soak: FAILED\n" : "soak: passed\n") << std::flush;
    if (!m_options.keep && !failed) {
        std::error_code error;
        fs::remove_all(m_dir, error);
    }
    return failed ? 1 : 0;
}

} // namespace

auto run_soak(const SoakOptions& options, std::ostream& out) -> int {
    SoakRun run(options, out);
    return run.run();
}

} // namespace korvath::soak
