// Two threads and another process read a report back to back while write_text_file_atomically replaces
// it: on POSIX each read is a whole report, never a mixture nor no file. Where a rename over an open file
// is refused (Windows without POSIX rename semantics, Wine) the writer falls back to writing in place:
// there the counts are recorded, not failed, and fewer writes keep the run short.

#include "exchange/atomic_file_writer.hpp"
#include "support/report_generations.hpp"
#include "support/test_support.hpp"
#include "tools/platform/os.hpp"
#include "tools/session/demo/child_process.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <regex>
#include <thread>

namespace korvath::test {
namespace {

using namespace std::chrono_literals;

#ifdef _WIN32
constexpr uint64_t kWrites = 500;
#else
constexpr uint64_t kWrites = 3000;
#endif

// Reads with the C++ library's stream, which does not share delete access on Windows.
auto read_with_stream(const fs::path& path) -> std::optional<std::string> {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    return std::string(std::istreambuf_iterator<char>(in), {});
}

auto count_reads(const fs::path& path, const std::atomic<bool>& done,
                 const std::function<std::optional<std::string>(const fs::path&)>& read,
                 std::string& firstTorn) -> ReadCounts {
    ReadCounts counts;
    while (!done.load()) {
        const auto text = read(path);
        if (!text)
            ++counts.missing;
        else if (whole_generation(*text))
            ++counts.whole;
        else if (++counts.torn == 1)
            firstTorn = *text;
    }
    return counts;
}

TEST(TornReads, ReadersInThreadsAndAnotherProcessSeeOnlyWholeReports) {
    const fs::path dir = scratch_dir("torn"), report = dir / "cpp_phase5g_status.txt";
    const fs::path ready = dir / "reader.ready", stop = dir / "reader.stop", log = dir / "reader.log";
    write_text_file_atomically(report, report_generation(0));
    session_tool::ChildProcess reader(KORVATH_TORN_READER, {report.string(), ready.string(), stop.string()},
                                      log);
    ASSERT_TRUE(wait_until(
        60s, [&] { return fs::exists(ready); }, 10ms))
        << read_file(log);

    std::atomic<bool> done{false};
    ReadCounts shared, stream;
    std::string tornShared, tornStream;
    // The session tool's reader, which shares every access on Windows.
    std::thread sharingReader([&] { shared = count_reads(report, done, os::read_shared, tornShared); });
    std::thread streamReader([&] { stream = count_reads(report, done, read_with_stream, tornStream); });
    const auto start = std::chrono::steady_clock::now();
    for (uint64_t n = 1; n <= kWrites; ++n)
        write_text_file_atomically(report, report_generation(n));
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    done.store(true);
    sharingReader.join();
    streamReader.join();
    write_file(stop, "");
    ASSERT_EQ(reader.wait(), 0);

    const std::string childOutput = read_file(log);
    std::smatch match;
    ASSERT_TRUE(std::regex_search(childOutput, match, std::regex(R"(whole=(\d+) missing=(\d+) torn=(\d+))")))
        << childOutput;
    const ReadCounts child{std::stoull(match[1]), std::stoull(match[2]), std::stoull(match[3])};
    const auto shown = [](const ReadCounts& c) {
        return std::to_string(c.whole) + "/" + std::to_string(c.missing) + "/" + std::to_string(c.torn);
    };
    std::printf("%llu writes in %.2f s; whole/missing/torn reads: sharing thread %s, stream thread %s, "
                "other process %s\n",
                static_cast<unsigned long long>(kWrites), seconds, shown(shared).c_str(),
                shown(stream).c_str(), shown(child).c_str());

    EXPECT_GT(shared.whole, 0u);
    EXPECT_GT(stream.whole, 0u);
    EXPECT_GT(child.whole, 0u);
    EXPECT_EQ(whole_generation(read_file(report)), kWrites);
#ifdef _WIN32
    RecordProperty("torn", std::to_string(shared.torn + stream.torn + child.torn));
    RecordProperty("missing", std::to_string(shared.missing + stream.missing + child.missing));
#else
    EXPECT_EQ(shared.torn, 0u) << testing::PrintToString(tornShared.substr(0, 60));
    EXPECT_EQ(stream.torn, 0u) << testing::PrintToString(tornStream.substr(0, 60));
    EXPECT_EQ(child.torn, 0u) << childOutput;
    // rename(2) replaces the report in one step.
    EXPECT_EQ(shared.missing + stream.missing + child.missing, 0u);
#endif
}

} // namespace
} // namespace korvath::test
