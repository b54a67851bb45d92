// Reading the other client's player from remote_players.tsv, also while the outside process rewrites it.

#include "exchange/exchange_directory.hpp"
#include "exchange/remote_players.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace korvath::test {
namespace {

using namespace std::string_literals;

const std::string kRowA = "p-a\tKestren A\t1.5\t-2.25\t300\t90\tMap_A";
const std::string kRowB = "p-b\tKestren B\t4\t5\t6\t7\tMap_B";
constexpr std::size_t kMiB = std::size_t{1} << 20;
const RemotePlayerState kUntouched{"before", "name", "map", 1, 2, 3, 4, true};

auto fields(const RemotePlayerState& s) {
    return std::tie(s.playerId, s.displayName, s.mapName, s.x, s.y, s.z, s.yaw, s.valid);
}

class RemotePlayers : public ::testing::Test {
protected:
    RemotePlayers() { exchangeDirectory = exchange_dir(); }
    static auto path() -> fs::path { return exchange_dir() / "remote_players.tsv"; }
};

TEST_F(RemotePlayers, FirstRowThatParsesWins) {
    // No row: a header, no id, six fields, six and a trailing tab, blank lines, numbers that are not
    // finite or not whole, stray bytes and a NUL in a number. (The number rules are also fuzzed against
    // strtof.)
    const std::string noRows = "playerId\tdisplayName\tx\ty\tz\tyaw\tmapName\n\tno id\t1\t2\t3\t4\tM\n"
                               "p6\tN\t1\t2\t3\t4\np6\tN\t1\t2\t3\t4\t\n\n\r\n"
                               "nan\tN\tnan\t2\t3\t4\tM\ninf\tN\t1\tinf\t3\t4\tM\nbig\tN\t1\t2\t1e39\t4\tM\n"
                               "comma\tN\t1,5\t2\t3\t4\tM\nblank\tN\t1\t2\t3\t4 \tM\n"
                               "\0\xff\x01\t\0\n\x80\t\t\t\t\t\t\t\nnul\tN\t1\0\t2\t3\t4\tM\n"s;
    const std::pair<std::string, std::string> cases[] = {
        // content, player id (empty: the read fails)
        {kRowA + "\n" + kRowB + "\n", "p-a"},
        {kRowA + "\r\n" + kRowB + "\r\n", "p-a"},
        {kRowA, "p-a"},
        {noRows + kRowB, "p-b"},
        {noRows, ""},
        {"", ""},
        {"p8\tN\t1\t2\t3\t4\tM\textra\tmore\n" + kRowB, "p8"},
        {"pe\t\t1\t2\t3\t4\t\tx\n", "pe"},
        {"\xEF\xBB\xBF" + kRowB, "\xEF\xBB\xBFp-b"},
        {kRowA + "\n" + std::string(2 * kMiB, 'x'), "p-a"},
        // Numbers longer than the parser's inline copy.
        {"pz\tN\t" + std::string(70, '0') + "1.25\t2\t3\t4\tM\n", "pz"},
        {"pz\tN\t" + std::string(70, '0') + "1.25x\t2\t3\t4\tM\n", ""},
        // A row cut off by the 1 MiB limit would parse, but the file does not hold it.
        {std::string(kMiB - 40, '\n') + kRowA + std::string(64, 'm'), ""},
    };
    for (const auto& [content, playerId] : cases) {
        write_file(path(), content);
        RemotePlayerState out = kUntouched;
        const std::string shown = testing::PrintToString(content.substr(0, 60));
        ASSERT_EQ(read_remote_players(out), !playerId.empty()) << shown;
        EXPECT_EQ(out.playerId, playerId.empty() ? kUntouched.playerId : playerId) << shown;
        EXPECT_TRUE(!playerId.empty() || fields(out) == fields(kUntouched)) << shown;
    }
}

// A 100 MiB table of lines that were no rows cost each poll 16 MiB of reading and scanning, 77 ms of
// processor time, more than the poll interval: only the first mebibyte is read now.
TEST_F(RemotePlayers, HugeTableOfNonRowsIsScannedOnlyToItsFirstMebibyte) {
    std::string header = "playerId\tdisplayName\tx\ty\tz\tyaw\tmapName\n", table;
    while (table.size() < kMiB)
        table += header;
    RemotePlayerState out = kUntouched;
    write_file(path(), table + kRowA + "\n");
    EXPECT_FALSE(read_remote_players(out));
    write_file(path(), table.substr(0, kMiB - kRowA.size() - 2) + "\n" + kRowA + "\n"); // ends at 1 MiB
    EXPECT_TRUE(read_remote_players(out));
}

TEST_F(RemotePlayers, OnlyAFileWrittenAtMostTwoSecondsAgoIsRead) {
    RemotePlayerState out = kUntouched;
    EXPECT_FALSE(read_remote_players(out));
    write_file(path(), kRowA);
    const RemotePlayerState rowA{"p-a", "Kestren A", "Map_A", 1.5f, -2.25f, 300.0f, 90.0f, true};
    // seconds ago, extra nanoseconds, fresh
    const std::tuple<int64_t, int64_t, bool> ages[] = {
        {1, 900'000'000, true}, {-60, 0, true}, {2, 1'000'000, false}, {86400, 0, false}};
    for (const auto& [seconds, nanoseconds, fresh] : ages) {
        set_file_age(path(), seconds, nanoseconds);
        out = kUntouched;
        EXPECT_EQ(read_remote_players(out), fresh) << seconds;
        EXPECT_EQ(fields(out), fields(fresh ? rowA : kUntouched)) << seconds;
    }
}

// The file is truncated, then written in two parts split at a moving place, so it may be read empty or
// cut anywhere: the hardest case for the reader, since nothing is ever replaced whole.
TEST_F(RemotePlayers, RewrittenInPlaceEveryPollGivesACompleteWrittenRowOrNothing) {
    // With an empty map followed by one more field, every prefix of a row parses to nothing or to the
    // whole row; a cut-off map name would not.
    std::vector<std::string> rows;
    std::vector<RemotePlayerState> expected(8);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const std::string n = std::to_string(i);
        rows.push_back("p" + n + "\tKestren " + n + "\t" + n + ".5\t-" + n + ".25\t" + n + "00\t" + n +
                       "0\t\tend");
        ASSERT_TRUE(parse_remote_player_row(rows.back(), expected[i]));
    }
    write_file(path(), rows[0] + "\n");

    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (std::size_t n = 0; n < 3000; ++n) {
            const std::string content = rows[n % rows.size()] + "\n" + rows[(n + 1) % rows.size()] + "\n";
            const std::string_view view = content;
            std::ofstream out(path(), std::ios::binary | std::ios::trunc);
            for (const std::string_view part :
                 {view.substr(0, n % view.size()), view.substr(n % view.size())}) {
                out.write(part.data(), static_cast<std::streamsize>(part.size()));
                EXPECT_TRUE(out.flush());
            }
        }
        done.store(true);
    });
    std::string strangeRow;
    int rowsRead = 0;
    while (!done.load()) {
        RemotePlayerState out;
        if (read_remote_players(out) && ++rowsRead > 0 &&
            std::ranges::none_of(expected, [&](auto& row) { return fields(row) == fields(out); }))
            strangeRow = out.playerId + "|" + out.displayName + "|" + out.mapName;
    }
    writer.join();
    EXPECT_EQ(strangeRow, "");
    EXPECT_GT(rowsRead, 0);
}

} // namespace
} // namespace korvath::test
