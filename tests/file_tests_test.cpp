#include "exchange/atomic_file_writer.hpp"
#include "exchange/exchange_directory.hpp"
#include "exchange/file_tests.hpp"
#include "exchange/local_state.hpp"
#include "exchange/platform.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

namespace korvath::test {
namespace {

constexpr int64_t kUnitsPerSecond = 10'000'000;
constexpr int64_t kNow = 133'000'000'000'000'000; // a moment in 2022 on the file-time scale

class FileTests : public ::testing::Test {
protected:
    FileTests() { exchangeDirectory = scratch_dir("exchange"); }
};

struct FreshnessCase {
    const char* name;
    int64_t writtenBeforeNow; // file-time units
    int64_t maxAgeSeconds;
    bool fresh;
};

TEST_F(FileTests, FreshnessBoundary) {
    const FreshnessCase cases[] = {
        {"exactly the limit", 3 * kUnitsPerSecond, 3, true},
        {"100 ns past the limit", 3 * kUnitsPerSecond + 1, 3, false},
        {"just written", 0, 2, true},
        {"in the future", -60 * kUnitsPerSecond, 2, true},
        {"two seconds exactly", 2 * kUnitsPerSecond, 2, true},
        {"an hour old", 3600 * kUnitsPerSecond, 3, false},
        {"zero limit, same instant", 0, 0, true},
    };
    const fs::path file = exchangeDirectory / "local_state.tsv";
    write_file(file, "x");
    for (const auto& c : cases) {
        set_file_time(file, kNow - c.writtenBeforeNow);
        EXPECT_EQ(is_file_fresh_at(file, c.maxAgeSeconds, kNow), c.fresh) << c.name;
    }
}

TEST_F(FileTests, FreshnessAgainstTheSystemClock) {
    const fs::path file = exchangeDirectory / "remote_players.tsv";
    EXPECT_FALSE(is_file_fresh(file, 2)); // missing
    write_file(file, "x");
    EXPECT_TRUE(is_file_fresh(file, 2));
    set_file_age(file, 10);
    EXPECT_FALSE(is_file_fresh(file, 2));
    set_file_age(file, -10);
    EXPECT_TRUE(is_file_fresh(file, 2));
}

TEST_F(FileTests, ExistenceAndDeletion) {
    EXPECT_FALSE(exchange_file_exists(L"phase5g.stop.txt"));
    write_file(exchangeDirectory / "phase5g.stop.txt", "");
    EXPECT_TRUE(exchange_file_exists(L"phase5g.stop.txt"));
    fs::create_directory(exchangeDirectory / "phase5g.enable_once.txt");
    EXPECT_TRUE(exchange_file_exists(L"phase5g.enable_once.txt")); // a directory counts

    delete_exchange_file(L"phase5g.stop.txt");
    EXPECT_FALSE(exchange_file_exists(L"phase5g.stop.txt"));
    EXPECT_NO_THROW(delete_exchange_file(L"phase5g.stop.txt")); // missing: quiet
    EXPECT_NO_THROW(delete_exchange_file(L"not-here.txt"));
}

TEST_F(FileTests, ExchangePathJoinsOnce) {
    exchangeDirectory = "/games/x/KorvathOnline";
    EXPECT_EQ(exchange_path(L"cpp_heartbeat.txt"), fs::path("/games/x/KorvathOnline/cpp_heartbeat.txt"));
    exchangeDirectory = "/games/x/KorvathOnline/";
    EXPECT_EQ(exchange_path(L"cpp_heartbeat.txt"), fs::path("/games/x/KorvathOnline/cpp_heartbeat.txt"));
    exchangeDirectory = "/games/missing";
    EXPECT_FALSE(exchange_file_exists(L"cpp_heartbeat.txt"));
}

// The game folder of every test has a non-ASCII name; this one also lies past 260 characters.
TEST_F(FileTests, EveryOperationWorksInAnExchangeDirectoryPast260Characters) {
    fs::path deep = exchangeDirectory / fs::path(u8"ゲームフォルダ");
    while (deep.native().size() < 300)
        deep /= "a-rather-long-folder-name";
    exchangeDirectory = platform::extended_length_path(deep / "KorvathOnline");
    write_text_file_atomically(exchange_path(L"local_state.tsv"), "1\t2\t3\t90\tMap_A\n");
    LocalPlayerState local;
    EXPECT_TRUE(read_local_state(local) && local.valid && local.yaw == 90.0f);
    EXPECT_TRUE(exchange_file_exists(L"local_state.tsv"));
    EXPECT_TRUE(is_exchange_file_fresh(L"local_state.tsv", 3));
    delete_exchange_file(L"local_state.tsv");
    EXPECT_FALSE(exchange_file_exists(L"local_state.tsv"));
}

TEST_F(FileTests, BaseDirectoryIsTheExecutablesFolder) {
    EXPECT_EQ(resolve_base_directory(), binaries_dir());
}

} // namespace
} // namespace korvath::test
