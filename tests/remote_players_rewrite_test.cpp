// The outside process rewrites remote_players.tsv while the update thread polls it.

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

auto fields(const RemotePlayerState& s) {
    return std::tie(s.playerId, s.displayName, s.mapName, s.x, s.y, s.z, s.yaw, s.valid);
}

// Truncates the file, then writes `content` in two writes split at `split`.
auto rewrite_in_place(const fs::path& path, std::string_view content, std::size_t split) -> void {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    ASSERT_TRUE(out);
    for (const std::string_view part : {content.substr(0, split), content.substr(split)}) {
        out.write(part.data(), static_cast<std::streamsize>(part.size()));
        EXPECT_TRUE(out.flush());
    }
}

// Rewritten in place with the split moving, the file may be read empty or cut anywhere: the hardest
// case for the reader, since nothing is ever replaced whole.
TEST(RemotePlayersRewrite, EveryPollGivesACompleteWrittenRowOrNothing) {
    exchangeDirectory = exchange_dir();
    const fs::path path = exchange_dir() / "remote_players.tsv";
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
    write_file(path, rows[0] + "\n");

    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (std::size_t n = 0; n < 3000; ++n) {
            const std::string content = rows[n % rows.size()] + "\n" + rows[(n + 1) % rows.size()] + "\n";
            rewrite_in_place(path, content, n % content.size());
        }
        done.store(true);
    });

    std::string firstStrangeRow;
    bool rowRead = false;
    while (!done.load()) {
        RemotePlayerState out;
        if (!read_remote_players(out))
            continue;
        rowRead = true;
        if (firstStrangeRow.empty() &&
            std::ranges::none_of(expected, [&](auto& row) { return fields(row) == fields(out); }))
            firstStrangeRow = out.playerId + "|" + out.displayName + "|" + out.mapName;
    }
    writer.join();
    EXPECT_EQ(firstStrangeRow, "");
    EXPECT_TRUE(rowRead);
}

} // namespace
} // namespace korvath::test
