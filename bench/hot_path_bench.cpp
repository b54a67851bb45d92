// The two hot paths of the mod against baselines measured in the same run:
// - the ProcessEvent callback with nothing pending vs. an empty callback through the same dispatch;
// - one idle update tick after the engine is ready vs. one stat() of a missing file.

#include "exchange/exchange_directory.hpp"
#include "mod/game_thread_dispatch.hpp"
#include "mod/session_state.hpp"
#include "session/session_controller.hpp"
#include "standin/Engine.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

auto bench_exchange_dir() -> std::filesystem::path {
    static const std::filesystem::path dir = [] {
        std::string pattern = "/tmp/korvath-bench-XXXXXX";
        if (!mkdtemp(pattern.data()))
            std::abort();
        return std::filesystem::path(pattern) / "KorvathOnline";
    }();
    std::filesystem::create_directories(dir);
    return dir;
}

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

void BM_StatOfMissingFile(benchmark::State& state) {
    const std::string path = (bench_exchange_dir() / "phase5g.stop.txt").string();
    struct stat info {};
    for (auto _ : state)
        benchmark::DoNotOptimize(stat(path.c_str(), &info));
}
BENCHMARK(BM_StatOfMissingFile);

void BM_IdleHostTickAfterEngineReady(benchmark::State& state) {
    korvath::exchangeDirectory = bench_exchange_dir();
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
