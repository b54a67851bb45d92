// Reading this client's own pose from local_state.tsv.

#include "exchange/exchange_directory.hpp"
#include "exchange/local_state.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <string>

namespace korvath::test {
namespace {

const std::string kRow = "100.5\t-20\t35.25\t90\tMap_A";

// A literal with its NUL bytes.
template <std::size_t N>
auto raw(const char (&text)[N]) -> std::string {
    return std::string(text, N - 1);
}

class LocalState : public ::testing::Test {
protected:
    LocalState() {
        reset_session_state();
        exchangeDirectory = exchange_dir();
        fs::remove_all(path());
    }
    static auto path() -> fs::path { return exchange_dir() / "local_state.tsv"; }

    // A sentinel record, so that a failed read shows whether it was touched.
    static auto untouched() -> LocalPlayerState { return {"before", "name", "map", 1, 2, 3, 4, true}; }
};

auto same(const LocalPlayerState& a, const LocalPlayerState& b) -> bool {
    return a.playerId == b.playerId && a.displayName == b.displayName && a.mapName == b.mapName &&
           a.x == b.x && a.y == b.y && a.z == b.z && a.yaw == b.yaw && a.valid == b.valid;
}

TEST_F(LocalState, FirstLineGivesThePoseWhateverTheLineEndsOrFollows) {
    for (const std::string& content :
         {kRow, kRow + "\n", kRow + "\r\n", kRow + "\nbad\tline\n", kRow + "\r\n1\t2"}) {
        write_file(path(), content);
        LocalPlayerState state = untouched();
        ASSERT_TRUE(read_local_state(state)) << testing::PrintToString(content);
        EXPECT_TRUE(same(state, {"local", "KESTREN CLIENT A", "Map_A", 100.5f, -20.0f, 35.25f, 90.0f, true}));
    }
    clientRole.exchange(kClientB);
    LocalPlayerState state;
    ASSERT_TRUE(read_local_state(state));
    EXPECT_EQ(state.displayName, "KESTREN CLIENT B");
}

TEST_F(LocalState, BadFirstLinesFailAndLeaveTheRecordUntouched) {
    const struct {
        std::string content;
        bool ok;
        std::string mapName;
    } cases[] = {
        {"1\t2\t3\t4", false, ""},
        {"1\t2\t3\t4\t", false, ""},
        {"1\t2\t3\t4\t\textra", true, ""},
        {"1\t2\t3\t4\tMap B\textra\tmore", true, "Map B"},
        {"1\t2\t3\t4\tM\r\r\n", true, "M\r"},
        {"x\ty\tz\tyaw\tmap\n" + kRow, false, ""},
        {"\xEF\xBB\xBF" + kRow, false, ""},
        {"", false, ""},
        {"\n" + kRow, false, ""},
        {"1\t2\t3\tnan\tM", false, ""},
        {"1\t2\t1e39\t4\tM", false, ""},
        {"1,5\t2\t3\t4\tM", false, ""},
        {"1.5 \t2\t3\t4\tM", false, ""},
        {"1\t\t3\t4\tM", false, ""},
        {" 1.5\t0x10\t3\t4\tM", true, "M"},
        {raw("1\t2\t3\t4\tM\0ap"), true, raw("M\0ap")},
        {raw("1\t2\0\t3\t4\tM"), false, ""},
        {"1\t2\t3\t4\t" + std::string(900'000, 'm') + "\n", true, std::string(900'000, 'm')},
        {"1\t2\t3\t4\t" + std::string(2'000'000, 'm') + "\n", false, ""}, // first line beyond the 1 MiB read
    };
    for (const auto& c : cases) {
        write_file(path(), c.content);
        LocalPlayerState state = untouched();
        const std::string shown = testing::PrintToString(c.content.substr(0, 40));
        ASSERT_EQ(read_local_state(state), c.ok) << shown;
        if (c.ok) {
            EXPECT_EQ(state.mapName, c.mapName) << shown;
        } else {
            EXPECT_TRUE(same(state, untouched())) << shown;
        }
    }
}

TEST_F(LocalState, OnlyAFileWrittenAtMostThreeSecondsAgoCounts) {
    LocalPlayerState state = untouched();
    EXPECT_FALSE(is_local_state_fresh());
    EXPECT_FALSE(read_local_state(state));

    write_file(path(), kRow);
    const struct {
        int64_t secondsAgo;
        int64_t extraNanoseconds;
        bool fresh;
    } ages[] = {
        {0, 0, true}, {2, 900'000'000, true}, {-60, 0, true}, {3, 1'000'000, false}, {3600, 0, false}};
    for (const auto& age : ages) {
        set_file_age(path(), age.secondsAgo, age.extraNanoseconds);
        EXPECT_EQ(is_local_state_fresh(), age.fresh) << age.secondsAgo;
        EXPECT_EQ(read_local_state(state), age.fresh) << age.secondsAgo;
    }

    fs::remove(path());
    fs::create_directory(path());
    EXPECT_FALSE(read_local_state(state));
}

} // namespace
} // namespace korvath::test
