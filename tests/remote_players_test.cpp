// Reading the other client's player from remote_players.tsv.

#include "exchange/exchange_directory.hpp"
#include "exchange/remote_players.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>

namespace korvath::test {
namespace {

const std::string kRowA = "p-a\tKestren A\t1.5\t-2.25\t300\t90\tMap_A";
const std::string kRowB = "p-b\tKestren B\t4\t5\t6\t7\tMap_B";
constexpr std::size_t kMiB = std::size_t{1} << 20;

template <std::size_t N>
auto raw(const char (&text)[N]) -> std::string {
    return std::string(text, N - 1);
}

auto same(const RemotePlayerState& a, const RemotePlayerState& b) -> bool {
    return a.playerId == b.playerId && a.displayName == b.displayName && a.mapName == b.mapName &&
           a.x == b.x && a.y == b.y && a.z == b.z && a.yaw == b.yaw && a.valid == b.valid;
}

const RemotePlayerState kUntouched{"before", "name", "map", 1, 2, 3, 4, true};

class RemotePlayers : public ::testing::Test {
protected:
    RemotePlayers() {
        exchangeDirectory = exchange_dir();
        fs::remove_all(path());
    }
    static auto path() -> fs::path { return exchange_dir() / "remote_players.tsv"; }
};

TEST_F(RemotePlayers, FirstRowThatParsesWins) {
    const struct {
        std::string content;
        std::string playerId; // empty: the read fails
    } cases[] = {
        {kRowA + "\n" + kRowB + "\n", "p-a"},
        {kRowA + "\r\n" + kRowB + "\r\n", "p-a"},
        {kRowA, "p-a"},
        {"playerId\tdisplayName\tx\ty\tz\tyaw\tmapName\n" + kRowB, "p-b"},
        {"\tno id\t1\t2\t3\t4\tM\n" + kRowB, "p-b"},
        {"p6\tN\t1\t2\t3\t4\n" + kRowB, "p-b"},
        {"p6\tN\t1\t2\t3\t4\t\n" + kRowB, "p-b"},
        {"p8\tN\t1\t2\t3\t4\tM\textra\tmore\n" + kRowB, "p8"},
        {"pe\t\t1\t2\t3\t4\t\tx\n", "pe"},
        {"\n\r\n\n" + kRowB, "p-b"},
        {"nan\tN\tnan\t2\t3\t4\tM\ninf\tN\t1\tinf\t3\t4\tM\nbig\tN\t1\t2\t1e39\t4\tM\n" + kRowB, "p-b"},
        {"comma\tN\t1,5\t2\t3\t4\tM\nblank\tN\t1\t2\t3\t4 \tM\n" + kRowB, "p-b"},
        {raw("\0\xff\x01\t\0\n\x80\t\t\t\t\t\t\t\n") + kRowB, "p-b"},
        {raw("nul\tN\t1\0\t2\t3\t4\tM\n") + kRowB, "p-b"},
        {"\xEF\xBB\xBF" + kRowB, "\xEF\xBB\xBFp-b"},
        {"", ""},
        {"\n\n", ""},
        {"bad\nworse\tstill\n\t\t\t\t\t\t\n", ""},
        {kRowA + "\n" + std::string(17 * kMiB, 'x'), "p-a"},
        {std::string(17 * kMiB, 'x') + "\n" + kRowA, ""}, // beyond the 16 MiB read
        // A row cut off by the 16 MiB limit would parse, but the file does not hold it.
        {std::string(16 * kMiB - 40, '\n') + kRowA + std::string(64, 'm'), ""},
    };
    for (const auto& c : cases) {
        write_file(path(), c.content);
        RemotePlayerState out = kUntouched;
        const std::string shown = testing::PrintToString(c.content.substr(0, 60));
        ASSERT_EQ(read_remote_players(out), !c.playerId.empty()) << shown;
        EXPECT_EQ(out.playerId, c.playerId.empty() ? kUntouched.playerId : c.playerId) << shown;
        if (c.playerId.empty()) {
            EXPECT_TRUE(same(out, kUntouched)) << shown;
        }
    }
}

TEST_F(RemotePlayers, RowGivesEveryFieldAndFailureLeavesTheRecordUntouched) {
    RemotePlayerState row = kUntouched;
    ASSERT_TRUE(parse_remote_player_row(kRowA, row));
    EXPECT_TRUE(same(row, {"p-a", "Kestren A", "Map_A", 1.5f, -2.25f, 300.0f, 90.0f, true}));
    row = kUntouched;
    for (const std::string line : {"", "p\tN\t1\t2\t3\t4", "p\tN\t1\t2\t3\tx\tM", "p\tN\t1\t2\t3\t4\tM\r"}) {
        const bool ok = parse_remote_player_row(line, row);
        EXPECT_EQ(ok, line.ends_with('\r')) << testing::PrintToString(line);
        if (!ok) {
            EXPECT_TRUE(same(row, kUntouched));
        }
    }
    EXPECT_EQ(row.mapName, "M\r"); // the caller drops the line's CR, not the row parser
}

TEST_F(RemotePlayers, OnlyAFileWrittenAtMostTwoSecondsAgoIsRead) {
    RemotePlayerState out = kUntouched;
    EXPECT_FALSE(read_remote_players(out));
    write_file(path(), kRowA);
    const struct {
        int64_t secondsAgo;
        int64_t extraNanoseconds;
        bool fresh;
    } ages[] = {{1, 900'000'000, true}, {-60, 0, true}, {2, 1'000'000, false}, {86400, 0, false}};
    for (const auto& age : ages) {
        set_file_age(path(), age.secondsAgo, age.extraNanoseconds);
        out = kUntouched;
        EXPECT_EQ(read_remote_players(out), age.fresh) << age.secondsAgo;
        EXPECT_EQ(out.playerId, age.fresh ? "p-a" : "before");
    }
}

TEST_F(RemotePlayers, SomethingOtherThanAFileFailsWithoutBlocking) {
    RemotePlayerState out = kUntouched;
    fs::create_directories(path());
    EXPECT_FALSE(read_remote_players(out));
    fs::remove(path());
    ASSERT_EQ(mkfifo(path().c_str(), 0600), 0); // no writer: a blocking open would hang here
    EXPECT_FALSE(read_remote_players(out));
    EXPECT_TRUE(same(out, kUntouched));
    fs::remove(path());
}

} // namespace
} // namespace korvath::test
