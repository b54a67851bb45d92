// The pose tracker's cost on the game thread, in the stand-in of the host's Lua side: one game-thread
// turn that takes a sample and writes local_state.tsv, against one turn with no pawn, which reads
// nothing and writes nothing. At 60 frames a second with a sample on every frame, the game thread pays
// the difference 60 times a second.

#include "tools/tracker/tracker_host.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace {

namespace fs = std::filesystem;
using korvath::tracker::HostSettings;
using korvath::tracker::TrackedPose;
using korvath::tracker::TrackerHost;

auto game_folder() -> const fs::path& {
    static const fs::path made = [] {
        std::string pattern = (fs::temp_directory_path() / "korvath-tracker-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            std::abort();
        const fs::path binaries = fs::path(pattern) / "Game" / "Binaries" / "Win64";
        fs::create_directories(binaries / "KorvathOnline");
        fs::create_directories(fs::path(pattern) / "Game" / "Content");
        return binaries;
    }();
    return made;
}

void BM_TrackerTurn(benchmark::State& state, bool pawn) {
    HostSettings settings;
    settings.gameDir = game_folder();
    settings.frameMs = 1000.0 / 60;
    double x = 0;
    const auto pose = [&]() -> std::optional<TrackedPose> {
        if (!pawn)
            return std::nullopt;
        x += 5;
        return TrackedPose{x, 20, 100, 90};
    };
    TrackerHost host(korvath::tracker::tracker_script(), settings, pose);
    int64_t ms = 1000;
    host.advance_to(ms);
    for (auto _ : state) {
        ms += 17; // a frame, and (at the tracker's period) a sample
        host.advance_to(ms);
    }
}
BENCHMARK_CAPTURE(BM_TrackerTurn, NoPawn, false);
BENCHMARK_CAPTURE(BM_TrackerTurn, SampleAndWrite, true);

} // namespace

BENCHMARK_MAIN();
