// One step of the relay, one direction: read local_state.tsv, (predict,) write remote_players.tsv, against
// a plain read of the same file and an atomic write of the same row; and the predictor alone, against
// the one it replaced (bench/baseline_pose_predictor.hpp), on the same samples: a circle of radius 600
// at 300 units/s sampled 60 times a second, the tracker's pace.

#include "baseline_pose_predictor.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/exchange/remote_player_row.hpp"
#include "tools/session/link/pose_predictor.hpp"
#include "tools/session/link/predicting_link.hpp"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;
namespace tool = korvath::session_tool;
using namespace std::chrono_literals;

struct Folders {
    fs::path from, to;
};

auto folders() -> const Folders& {
    static const Folders made = [] {
        std::string pattern = (fs::temp_directory_path() / "korvath-relay-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            std::abort();
        const Folders f{fs::path(pattern) / "A", fs::path(pattern) / "B"};
        fs::create_directories(f.from / "KorvathOnline");
        fs::create_directories(f.to / "KorvathOnline");
        std::ofstream(f.from / "KorvathOnline" / "local_state.tsv")
            << "1234.567\t-20.250\t100.000\t90.000\tMap_A\t123456789\t42\n";
        // Dated an hour ahead, so it stays fresh however long the run takes.
        fs::last_write_time(f.from / "KorvathOnline" / "local_state.tsv",
                            fs::file_time_type::clock::now() + 1h);
        return f;
    }();
    return made;
}

auto link() -> tool::RelayLink {
    return {folders().from, folders().to, "player-a", "KESTREN CLIENT A"};
}

void BM_PlainReadAndAtomicWrite(benchmark::State& state) {
    const auto row = tool::format_remote_player_row("player-a", "KESTREN CLIENT A",
                                                    {1234.567F, -20.25F, 100, 90, "Map_A"});
    for (auto _ : state) {
        benchmark::DoNotOptimize(tool::read_whole_file(folders().from / "KorvathOnline" / "local_state.tsv"));
        benchmark::DoNotOptimize(
            tool::write_file_atomically(folders().to / "KorvathOnline" / "remote_players.tsv", row));
    }
}
BENCHMARK(BM_PlainReadAndAtomicWrite);

void BM_RelayStep(benchmark::State& state, bool predict) {
    tool::PredictingLink relay(link(), predict);
    auto now = std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch());
    for (auto _ : state) {
        now += 10ms;
        benchmark::DoNotOptimize(relay.step(fs::file_time_type::clock::now(), now));
    }
}
BENCHMARK_CAPTURE(BM_RelayStep, Plain, false);
BENCHMARK_CAPTURE(BM_RelayStep, Predicting, true);

// The latest samples of the circle, the pose predicted 1 us later each call.
template <typename Predictor>
void BM_Predict(benchmark::State& state) {
    Predictor predictor;
    std::chrono::nanoseconds at{};
    for (int i = 0; i < 60; ++i) {
        at = std::chrono::microseconds(16'667) * i;
        const double angle = 0.5 * std::chrono::duration<double>(at).count();
        predictor.add({static_cast<float>(600 * std::cos(angle)), static_cast<float>(600 * std::sin(angle)),
                       100, static_cast<float>(angle * 57.29577951308232 + 90), "Map_A"},
                      at);
    }
    std::chrono::nanoseconds now = at;
    for (auto _ : state) {
        now += 1us;
        benchmark::DoNotOptimize(predictor.predict(now));
    }
}
BENCHMARK(BM_Predict<korvath::bench::BaselinePosePredictor>)->Name("BM_PosePredictor/Baseline");
BENCHMARK(BM_Predict<tool::PosePredictor>)->Name("BM_PosePredictor/Current");

} // namespace

BENCHMARK_MAIN();
