// korvath-sim: one headless simulated game process with the mod loaded by the host stand-in.

#include "standin/Clock.hpp"
#include "standin/Devices.hpp"
#include "tools/platform/os.hpp"
#include "tools/sim/game_folder.hpp"
#include "tools/sim/game_thread.hpp"
#include "tools/sim/latency_probe.hpp"
#include "tools/sim/local_state_writer.hpp"
#include "tools/sim/mod_host.hpp"
#include "tools/sim/options.hpp"
#include "tools/sim/periodic.hpp"
#include "tools/sim/sim_control.hpp"
#include "tools/sim/simulated_world.hpp"
#include "tools/sim/termination.hpp"
#include "tools/sim/tracker_mode.hpp"
#include "tools/sim/world_log.hpp"

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace korvath::sim {

namespace {

// A game's tracker writes its local state 10 to 20 times a second; the faster end halves how late the
// outside process sees a stop. The world trace is sampled at the same rate.
constexpr double kObserverHz = 20;

auto seconds_since(SteadyClock::time_point start) -> double {
    return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

// The mod's console lines go to standard output, as the host's console shows them.
auto install_console() -> void {
    auto& devices = RC::Output::DefaultTargets::get_default_devices_ref();
    devices.clear();
    devices.push_back(std::make_unique<standin::StreamDevice>(stdout));
}

// The design's bound: a poll at most 75 ms after the write, a post at most 50 ms after the poll, and
// the next ProcessEvent call.
auto print_latencies(const std::vector<double>& latencies, double processEventHz) -> void {
    const double boundMs = 75 + 50 + (processEventHz > 0 ? 1000 / processEventHz : 0);
    const auto median = percentile(latencies, 0.5), p99 = percentile(latencies, 0.99);
    if (!median || !p99) {
        std::fprintf(stderr, "korvath-sim: no pose-to-proxy latency measured (no proxy moved)\n");
        return;
    }
    std::fprintf(
        stderr,
        "korvath-sim: pose-to-proxy latency over %zu changes: median %.1f ms, 99th percentile %.1f ms, "
        "maximum %.1f ms (bound %.0f ms)\n",
        latencies.size(), *median * 1000, *p99 * 1000, percentile(latencies, 1.0).value_or(0) * 1000,
        boundMs);
}

auto run(const SimOptions& options, const std::vector<std::string>& args) -> int {
    std::filesystem::path installedMod;
    std::optional<WorldLog> worldLog;
    std::optional<ModHost> host;
    std::unique_ptr<TrackerMode> tracker;
    standin::GameWorld world;
    if (options.tracker && !tracker_mode_available()) {
        std::fprintf(stderr, "korvath-sim: --tracker needs Lua 5.4, which this build has not\n");
        return 1;
    }
    try {
        installedMod =
            enter_game_folder(options.gameDir, options.modLibrary.value_or(default_mod_library()), args);
        block_termination_signals();
        install_console();
        if (options.worldLog)
            worldLog.emplace(*options.worldLog);
        world = set_up_world(options);
        host.emplace(installedMod);
        if (options.tracker)
            tracker = start_tracker_mode(options.gameDir, options.mapName, world.pawn);
        if (options.workingDir)
            std::filesystem::current_path(*options.workingDir);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "korvath-sim: %s\n", error.what());
        return 1;
    }
    std::fprintf(stderr, "korvath-sim: game in %s, mod %s\n", options.gameDir.string().c_str(),
                 installedMod.string().c_str());

    host->start();
    const auto start = SteadyClock::now();
    StopFlag stop;
    HookGuard processEventGuard("ProcessEvent");
    std::vector<std::thread> threads;

    // The host's update thread. A mod built with the stepped clock of the stand-in runs in real time too.
    threads.emplace_back([&] {
        run_every(to_duration(options.tickMs / 1000), stop, [&] {
            const auto elapsed =
                std::chrono::duration_cast<std::chrono::nanoseconds>(SteadyClock::now() - start);
            standin::clock().set_ns(standin::Clock::kStart + elapsed.count());
            host->tick();
        });
    });
    if (options.readyAfterSeconds) {
        threads.emplace_back([&] {
            if (stop.sleep_until(start + to_duration(*options.readyAfterSeconds)))
                host->engine_ready();
        });
    }
    FrameClock frames;
    SimControl control(options.controlFile, world, options.mapName);
    const GameThreadPlan gamePlan{options.processEventHz, options.walk, &control, &frames};
    uint64_t processEventCalls = 0;
    threads.emplace_back([&] { processEventCalls = run_game_thread(gamePlan, stop, processEventGuard); });
    // The outside process's tracker of the local pawn, and the world trace.
    threads.emplace_back([&] {
        LocalStateWriter localState(options.gameDir / "KorvathOnline");
        run_every(to_duration(1 / kObserverHz), stop, [&] {
            if (options.writeLocalState && !tracker) {
                standin::Pose pose;
                const auto frame =
                    frames.stamped([&] { pose = standin::engine().inspect(control.pawn()).pose; });
                localState.write(pose, control.map_name(), frame.value_or(SteadyClock::now()));
            }
            if (worldLog)
                worldLog->snapshot(seconds_since(start));
        });
    });

    if (tracker)
        threads.emplace_back([&] { tracker->run(stop, start, frames, control); });

    std::vector<double> latencies;
    if (options.latencyProbe)
        threads.emplace_back(
            [&] { latencies = run_latency_probe(options.gameDir / "KorvathOnline", options.mapName, stop); });

    const std::string reason = wait_for_termination(options.durationSeconds);
    const double runSeconds = seconds_since(start);
    std::fprintf(stderr, "korvath-sim: stopping after %.3f s (%s)\n", runSeconds, reason.c_str());
    stop.request_stop();
    for (auto& thread : threads)
        thread.join();
    std::fprintf(stderr, "korvath-sim: %" PRIu64 " ProcessEvent calls (%.0f a second)\n", processEventCalls,
                 static_cast<double>(processEventCalls) / runSeconds);
    if (options.latencyProbe)
        print_latencies(latencies, options.processEventHz);
    host->uninstall();
    host->print_summaries();
    processEventGuard.print_summary();
    if (const auto peak = os::peak_resident_bytes())
        std::fprintf(stderr, "korvath-sim: peak resident memory %.1f MiB\n",
                     static_cast<double>(*peak) / (1 << 20));
    std::fflush(stdout);
    return 0;
}

} // namespace

} // namespace korvath::sim

int main(int argc, char** argv) {
    using korvath::sim::ParsedCommandLine;
    korvath::os::use_binary_stdio();
    const std::vector<std::string> args = korvath::os::utf8_arguments(argc, argv);
    std::vector<const char*> argPointers;
    for (std::size_t i = 1; i < args.size(); ++i)
        argPointers.push_back(args[i].c_str());
    const ParsedCommandLine parsed = korvath::sim::parse_command_line(argPointers);
    switch (parsed.action) {
    case ParsedCommandLine::Action::Help:
    case ParsedCommandLine::Action::Version:
        std::fputs(parsed.text.c_str(), stdout);
        return 0;
    case ParsedCommandLine::Action::Error:
        std::fprintf(stderr, "korvath-sim: %s\nTry 'korvath-sim --help'.\n", parsed.text.c_str());
        return 2;
    case ParsedCommandLine::Action::Run:
        break;
    }
    return korvath::sim::run(parsed.options, args);
}
