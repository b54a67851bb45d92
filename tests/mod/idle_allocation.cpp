// The paths that run all the time once the engine is ready, the idle update tick, the idle ProcessEvent
// callback and the tick that polls the remote table, allocate nothing. This program replaces the global
// operator new with one that counts while a test asks it to, so it runs apart from the other tests.

#pragma GCC diagnostic ignored "-Wmismatched-new-delete" // new and delete here both use malloc and free

#include "exchange/exchange_directory.hpp"
#include "mod/game_thread_dispatch.hpp"
#include "mod/session_state.hpp"
#include "session/session_controller.hpp"
#include "standin/Engine.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>

namespace {

std::atomic<bool> counting{false};
std::atomic<long> allocations{0};

} // namespace

auto operator new(std::size_t size) -> void* {
    if (counting.load(std::memory_order_relaxed))
        allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}
auto operator delete(void* memory) noexcept -> void {
    std::free(memory);
}
auto operator delete(void* memory, std::size_t) noexcept -> void {
    std::free(memory);
}

namespace korvath::test {
namespace {

// Allocations made by `body`, run 100 times after one warm-up call.
template <typename Body>
auto allocations_of(Body&& body) -> long {
    body();
    allocations = 0;
    counting = true;
    for (int call = 0; call < 100; ++call)
        body();
    counting = false;
    return allocations.load();
}

TEST(Allocation, TheCounterSeesAnAllocation) {
    EXPECT_GT(allocations_of([] { std::string(100, 'x').swap(*std::make_unique<std::string>()); }), 0);
}

TEST(Allocation, TheIdleTickAfterTheEngineIsReadyAndTheIdleCallbackAllocateNothing) {
    std::string pattern = (std::filesystem::temp_directory_path() / "korvath-allocation-XXXXXX").string();
    ASSERT_TRUE(mkdtemp(pattern.data()));
    exchangeDirectory = std::filesystem::path(pattern) / "KorvathOnline";
    std::filesystem::create_directories(exchangeDirectory);
    unrealReady.store(true);
    SessionTimestamps stamps;
    int64_t now = 1'000'000'000'000;
    stamps.lastHeartbeatAt = stamps.lastStatusReportAt = now; // no report due
    EXPECT_EQ(allocations_of([&] { run_host_tick(stamps, ++now); }), 0);

    standin::engine().reset();
    standin::engine().register_pre_callback(&on_game_thread_process_event);
    EXPECT_EQ(allocations_of([] { standin::engine().process_event(); }), 0);

    // Every tick a poll of a fresh table whose names pass the strings' inline storage, and a post.
    std::FILE* table = std::fopen((exchangeDirectory / "remote_players.tsv").c_str(), "w");
    ASSERT_TRUE(table);
    std::fputs(
        "player-with-a-long-identifier\tKESTREN CLIENT B OF THE NORTH\t1\t2\t3\t90\tMap_North_Sector\n",
        table);
    std::fclose(table);
    sessionEnabled.store(true);
    EXPECT_EQ(allocations_of([&] {
                  now += 75'000'000;
                  stamps.lastHeartbeatAt = stamps.lastStatusReportAt = now; // the reports stay apart
                  run_host_tick(stamps, now);
              }),
              0);
    EXPECT_TRUE(remoteFresh.load());
    std::filesystem::remove_all(pattern);
}

} // namespace
} // namespace korvath::test
