// The mod's report writes against baselines in the same run:
// - write_text_file_atomically against a plain write of the same bytes to a temporary file and a rename;
// - the heartbeat and the status report, each composed and written (the mod writes each once a second).

#include "diagnostics/status_report.hpp"
#include "exchange/atomic_file_writer.hpp"
#include "exchange/exchange_directory.hpp"
#include "session/heartbeat.hpp"

#include "bench/bench_directory.hpp"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

using korvath::bench::bench_directory;

// About the size of the status report.
const std::string kReport(700, 'x');

void BM_PlainWriteAndRename(benchmark::State& state) {
    const fs::path target = bench_directory() / "plain.txt";
    const fs::path temporary = bench_directory() / "plain.txt.tmp";
    for (auto _ : state) {
        std::FILE* file = std::fopen(temporary.c_str(), "wb");
        std::fwrite(kReport.data(), 1, kReport.size(), file);
        std::fclose(file);
        std::rename(temporary.c_str(), target.c_str());
    }
}
BENCHMARK(BM_PlainWriteAndRename);

void BM_WriteTextFileAtomically(benchmark::State& state) {
    const fs::path target = bench_directory() / "atomic.txt";
    for (auto _ : state)
        korvath::write_text_file_atomically(target, kReport);
}
BENCHMARK(BM_WriteTextFileAtomically);

void BM_HeartbeatAndStatusReport(benchmark::State& state) {
    bench_directory();
    for (auto _ : state) {
        korvath::write_heartbeat();
        korvath::write_status_report();
    }
}
BENCHMARK(BM_HeartbeatAndStatusReport);

} // namespace

BENCHMARK_MAIN();
