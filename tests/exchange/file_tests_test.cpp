// Existence, deletion and age of exchange files. The system-clock path is covered by the freshness
// tests of both input tables; here the exact boundary on the file-time scale.

#include "exchange/atomic_file_writer.hpp"
#include "exchange/exchange_directory.hpp"
#include "exchange/file_tests.hpp"
#include "exchange/local_state.hpp"
#include "exchange/platform.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <tuple>

namespace korvath::test {
namespace {

class FileTests : public ::testing::Test {
protected:
    FileTests() { exchangeDirectory = scratch_dir("exchange"); }
};

TEST_F(FileTests, FreshUpToExactlyTheLimitAndInTheFuture) {
    constexpr int64_t kSecond = 10'000'000;           // file-time units
    constexpr int64_t kNow = 133'000'000'000'000'000; // a moment in 2022 on the file-time scale
    const fs::path file = exchangeDirectory / "local_state.tsv";
    EXPECT_FALSE(is_file_fresh_at(file, 3, kNow) || is_exchange_file_fresh_at(L"local_state.tsv", 3, kNow));
    write_file(file, "x");
    // written before now, limit in seconds, fresh
    for (const auto& [before, limit, fresh] : {std::tuple{3 * kSecond, 3, true},
                                               {3 * kSecond + 1, 3, false},
                                               {-60 * kSecond, 2, true},
                                               {int64_t{0}, 0, true},
                                               {int64_t{1}, 0, false}}) {
        set_file_time(file, kNow - before);
        EXPECT_EQ(is_file_fresh_at(file, limit, kNow), fresh) << before << " " << limit;
        EXPECT_EQ(is_exchange_file_fresh_at(L"local_state.tsv", limit, kNow), fresh)
            << before << " " << limit;
    }
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

    // A name with a NUL is no name, never the shorter one before it.
    write_file(exchangeDirectory / "a", "");
    EXPECT_FALSE(exchange_file_exists(std::wstring_view(L"a\0b", 3)));
}

// The game folder of every test has a non-ASCII name; this one also lies past 260 characters.
TEST_F(FileTests, EveryOperationWorksInAnExchangeDirectoryPast260Characters) {
    fs::path deep = exchangeDirectory / fs::path(u8"ゲームフォルダ");
    while (deep.native().size() < 300)
        deep /= "a-rather-long-folder-name";
    exchangeDirectory = platform::extended_length_path(deep / "KorvathOnline");
    write_text_file_atomically(exchange_path(L"local_state.tsv"), "1\t2\t3\t90\tMap_A\n");
    LocalPlayerState local;
    EXPECT_TRUE(read_local_state(local) && local.valid && local.yaw == 90.0f &&
                exchange_file_exists(L"local_state.tsv") && is_exchange_file_fresh(L"local_state.tsv", 3));
    delete_exchange_file(L"local_state.tsv");
    EXPECT_FALSE(exchange_file_exists(L"local_state.tsv"));
}

} // namespace
} // namespace korvath::test
