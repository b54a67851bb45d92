// One poll of remote_players.tsv (age test, whole-file read, row scan, record copy) against a plain
// open/read/close of the same file (and, for one row, a stat plus that read), on tables of 1, 100 and 10,000
// rows. "FirstRow" tables have every row valid (the usual case: the first row wins); "LastRow" tables have
// only the last row valid, so every line is parsed.

#include "exchange/exchange_directory.hpp"
#include "exchange/remote_players.hpp"

#include "bench/bench_directory.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

using korvath::bench::bench_directory;

// Writes the table and dates it an hour ahead, so it stays fresh however long the run takes.
auto write_table(int64_t rows, bool onlyLastValid) -> fs::path {
    const fs::path path = bench_directory() / "remote_players.tsv";
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    for (int64_t i = 0; i < rows; ++i) {
        const bool valid = !onlyLastValid || i + 1 == rows;
        out << "player-" << i << "\tKestren " << i << '\t' << (valid ? "1234.5678" : "1,5") << "\t-20.25\t"
            << 35.5 + static_cast<double>(i) << "\t90\tMap_North\n";
    }
    out.close();
    timespec ahead{};
    clock_gettime(CLOCK_REALTIME, &ahead);
    ahead.tv_sec += 3600;
    const timespec times[2] = {ahead, ahead};
    utimensat(AT_FDCWD, path.c_str(), times, 0);
    return path;
}

auto BM_ReadRemotePlayers(benchmark::State& state, bool onlyLastValid) -> void {
    const fs::path path = write_table(state.range(0), onlyLastValid);
    korvath::RemotePlayerState row;
    for (auto _ : state) {
        if (!korvath::read_remote_players(row))
            state.SkipWithError("read_remote_players failed");
        benchmark::DoNotOptimize(row);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(path)));
}

auto BM_PlainRead(benchmark::State& state) -> void {
    const fs::path path = write_table(state.range(0), false);
    std::vector<char> buffer(fs::file_size(path) + 1);
    for (auto _ : state) {
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const ssize_t got = ::read(fd, buffer.data(), buffer.size());
        ::close(fd);
        benchmark::DoNotOptimize(got);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(buffer.size() - 1));
}

// The budget's baseline: the age test's stat, then the same plain read.
auto BM_StatAndPlainRead(benchmark::State& state) -> void {
    const fs::path path = write_table(state.range(0), false);
    std::vector<char> buffer(fs::file_size(path) + 1);
    struct stat info {};
    for (auto _ : state) {
        benchmark::DoNotOptimize(::stat(path.c_str(), &info));
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const ssize_t got = ::read(fd, buffer.data(), buffer.size());
        ::close(fd);
        benchmark::DoNotOptimize(got);
    }
}

BENCHMARK(BM_PlainRead)->Arg(1)->Arg(100)->Arg(10'000);
BENCHMARK(BM_StatAndPlainRead)->Arg(1);
BENCHMARK_CAPTURE(BM_ReadRemotePlayers, FirstRow, false)->Arg(1)->Arg(100)->Arg(10'000);
BENCHMARK_CAPTURE(BM_ReadRemotePlayers, LastRow, true)->Arg(1)->Arg(100)->Arg(10'000);

} // namespace

BENCHMARK_MAIN();
