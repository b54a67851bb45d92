// The two hot paths of the mod against baselines measured in the same run:
// - the ProcessEvent callback with nothing pending vs. an empty callback through the same dispatch;
// - one idle update tick after the engine is ready vs. the stat() of each of the two missing markers.

#include "exchange/exchange_directory.hpp"
#include "mod/game_thread_dispatch.hpp"
#include "mod/session_state.hpp"
#include "session/session_controller.hpp"
#include "standin/Engine.hpp"

#include "bench/bench_directory.hpp"

#include <benchmark/benchmark.h>

#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using korvath::bench::bench_directory;

void BM_ProcessEvent_EmptyCallback(benchmark::State& state) {
    standin::engine().reset();
    standin::engine().register_pre_callback([](RC::Unreal::UObject*, RC::Unreal::UFunction*, void*) {});
    for (auto _ : state)
        standin::engine().process_event();
}
BENCHMARK(BM_ProcessEvent_EmptyCallback);

void BM_ProcessEvent_ModCallbackNothingPending(benchmark::State& state) {
    standin::engine().reset();
    standin::engine().register_pre_callback(&korvath::on_game_thread_process_event);
    for (auto _ : state)
        standin::engine().process_event();
}
BENCHMARK(BM_ProcessEvent_ModCallbackNothingPending);

// The two calls an idle tick cannot avoid: the stop marker's stat and the enable marker's.
void BM_StatsOfBothMissingMarkers(benchmark::State& state) {
    const std::string stop = (bench_directory() / "phase5g.stop.txt").string();
    const std::string enable = (bench_directory() / "phase5g.enable_once.txt").string();
    struct stat info {};
    for (auto _ : state) {
        benchmark::DoNotOptimize(stat(stop.c_str(), &info));
        benchmark::DoNotOptimize(stat(enable.c_str(), &info));
    }
}
BENCHMARK(BM_StatsOfBothMissingMarkers);

void BM_IdleHostTickAfterEngineReady(benchmark::State& state) {
    bench_directory();
    korvath::unrealReady.store(true);
    korvath::SessionTimestamps stamps;
    const int64_t now = 1'000'000'000'000;
    stamps.lastHeartbeatAt = now;
    stamps.lastStatusReportAt = now;
    for (auto _ : state)
        korvath::run_host_tick(stamps, now + 1);
}
BENCHMARK(BM_IdleHostTickAfterEngineReady);

} // namespace

BENCHMARK_MAIN();
