// Reading this client's own pose from local_state.tsv.

#include "exchange/exchange_directory.hpp"
#include "exchange/local_state.hpp"
#include "support/test_support.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>

namespace korvath::test {
namespace {

const std::string kRow = "100.5\t-20\t35.25\t90\tMap_A";
// A sentinel record, so that a failed read shows whether it was touched.
const LocalPlayerState kUntouched{"before", "name", "map", 1, 2, 3, 4, true};

auto fields(const LocalPlayerState& s) {
    return std::tie(s.playerId, s.displayName, s.mapName, s.x, s.y, s.z, s.yaw, s.valid);
}

class LocalState : public ::testing::Test {
protected:
    LocalState() {
        reset_session_state();
        exchangeDirectory = exchange_dir();
    }
    static auto path() -> fs::path { return exchange_dir() / "local_state.tsv"; }
};

TEST_F(LocalState, FirstLineGivesThePoseUnderTheRolesNameOrLeavesTheRecordUntouched) {
    write_file(path(), kRow + "\r\n1\t2");
    LocalPlayerState state = kUntouched;
    ASSERT_TRUE(read_local_state(state));
    EXPECT_EQ(fields(state),
              fields({"local", "KESTREN CLIENT A", "Map_A", 100.5f, -20.0f, 35.25f, 90.0f, true}));
    clientRole.exchange(kClientB);
    ASSERT_TRUE(read_local_state(state));
    EXPECT_EQ(state.displayName, "KESTREN CLIENT B");

    // Only the first line counts, and a bad one leaves the record untouched.
    using namespace std::string_literals;
    const std::string longMap(900'000, 'm');
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        // content, map name or failure
        {kRow + "\nbad\tline\n", "Map_A"},
        {"1\t2\t3\t4", {}},
        {"1\t2\t3\t4\t", {}},
        {"1\t2\t3\t4\t\textra", ""},
        {"1\t2\t3\t4\tMap B\textra\tmore", "Map B"},
        {"1\t2\t3\t4\tM\r\r\n", "M\r"},
        {"x\ty\tz\tyaw\tmap\n" + kRow, {}},
        {"\xEF\xBB\xBF" + kRow, {}},
        {"", {}},
        {"\n" + kRow, {}},
        {"1\t\t3\t4\tM", {}},
        {" 1.5\t0x10\t3\t4\tM", "M"},
        {"1\t2\t3\t4\tM\0ap"s, "M\0ap"s},
        {"1\t2\0\t3\t4\tM"s, {}},
        {"1\t2\t3\t4\t" + longMap + "\n", longMap},
        {"1\t2\t3\t4\t" + longMap + longMap + longMap + "\n", {}}}; // first line beyond the 1 MiB read
    for (const auto& [content, mapName] : cases) {
        write_file(path(), content);
        state = kUntouched;
        const std::string shown = testing::PrintToString(content.substr(0, 40));
        ASSERT_EQ(read_local_state(state), mapName.has_value()) << shown;
        EXPECT_EQ(state.mapName, mapName.value_or(kUntouched.mapName)) << shown;
        EXPECT_TRUE(mapName || fields(state) == fields(kUntouched)) << shown;
    }
}

TEST_F(LocalState, OnlyAFileWrittenAtMostThreeSecondsAgoCounts) {
    LocalPlayerState state = kUntouched;
    EXPECT_FALSE(is_local_state_fresh());
    EXPECT_FALSE(read_local_state(state));

    write_file(path(), kRow);
    // seconds ago, extra nanoseconds, fresh
    const std::tuple<int64_t, int64_t, bool> ages[] = {
        {0, 0, true}, {2, 900'000'000, true}, {-60, 0, true}, {3, 1'000'000, false}, {3600, 0, false}};
    for (const auto& [seconds, nanoseconds, fresh] : ages) {
        set_file_age(path(), seconds, nanoseconds);
        EXPECT_EQ(is_local_state_fresh(), fresh) << seconds;
        EXPECT_EQ(read_local_state(state), fresh) << seconds;
    }
    fs::remove(path());
    fs::create_directory(path());
    EXPECT_FALSE(read_local_state(state));
}

} // namespace
} // namespace korvath::test
