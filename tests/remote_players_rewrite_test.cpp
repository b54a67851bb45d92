// The outside process rewrites remote_players.tsv while the update thread polls it.

#include "exchange/exchange_directory.hpp"
#include "exchange/remote_players.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace korvath::test {
namespace {

enum class Rewrite { AtomicRename, InPlace };

constexpr int kRewrites = 3000;

auto write_all(int fd, std::string_view bytes) -> void {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        ASSERT_GT(written, 0);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

class RemotePlayersRewrite : public ::testing::TestWithParam<Rewrite> {};

TEST_P(RemotePlayersRewrite, EveryPollGivesACompleteWrittenRowOrNothing) {
    exchangeDirectory = exchange_dir();
    const fs::path path = exchange_dir() / "remote_players.tsv";
    const fs::path temporary = exchange_dir() / "remote_players.tsv.tmp";
    const bool inPlace = GetParam() == Rewrite::InPlace;

    // Written in place, a reader may see any prefix of a row. With an empty map followed by one more
    // field, every prefix parses to nothing or to the whole row; a cut-off map name would not.
    std::vector<std::string> rows;
    std::vector<RemotePlayerState> expected;
    for (int i = 0; i < 8; ++i) {
        const std::string n = std::to_string(i);
        rows.push_back("p" + n + "\tKestren " + n + "\t" + n + ".5\t-" + n + ".25\t" + n + "00\t" + n + "0" +
                       (inPlace ? "\t\tend" : "\tMap_" + n));
        expected.emplace_back();
        ASSERT_TRUE(parse_remote_player_row(rows.back(), expected.back()));
    }
    write_file(path, rows[0] + "\n");

    std::atomic<bool> done{false};
    const auto rewrite = [&] {
        for (int n = 0; n < kRewrites; ++n) {
            const std::string content = rows[n % rows.size()] + "\n" + rows[(n + 1) % rows.size()] + "\n";
            const int fd = ::open((inPlace ? path : temporary).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            ASSERT_GE(fd, 0);
            // In place, the content lands in two writes split at a moving point.
            const std::size_t split = inPlace ? static_cast<std::size_t>(n) % content.size() : content.size();
            write_all(fd, std::string_view(content).substr(0, split));
            write_all(fd, std::string_view(content).substr(split));
            ::close(fd);
            if (!inPlace) {
                ASSERT_EQ(std::rename(temporary.c_str(), path.c_str()), 0);
            }
        }
    };
    std::thread writer([&] {
        rewrite(); // a failed assertion returns early; the poll loop still ends
        done.exchange(true);
    });

    int polls = 0;
    int rowsRead = 0;
    std::string firstStrangeRow;
    while (!done.load()) {
        RemotePlayerState out;
        ++polls;
        if (!read_remote_players(out))
            continue;
        ++rowsRead;
        bool known = false;
        for (const auto& row : expected)
            known = known || (out.playerId == row.playerId && out.displayName == row.displayName &&
                              out.mapName == row.mapName && out.x == row.x && out.y == row.y &&
                              out.z == row.z && out.yaw == row.yaw && out.valid);
        if (!known && firstStrangeRow.empty())
            firstStrangeRow = out.playerId + "|" + out.displayName + "|" + out.mapName;
    }
    writer.join();
    EXPECT_EQ(firstStrangeRow, "");
    EXPECT_GT(rowsRead, 0) << polls << " polls";
}

INSTANTIATE_TEST_SUITE_P(Writers, RemotePlayersRewrite,
                         ::testing::Values(Rewrite::AtomicRename, Rewrite::InPlace),
                         [](const ::testing::TestParamInfo<Rewrite>& writer) {
                             return writer.param == Rewrite::AtomicRename ? "AtomicRename" : "InPlace";
                         });

} // namespace
} // namespace korvath::test
