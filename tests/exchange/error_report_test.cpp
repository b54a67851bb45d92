// The failure report of the game-thread actions.

#include "diagnostics/error_report.hpp"
#include "support/action_fixture.hpp"

namespace korvath::test {
namespace {

using ErrorReport = ActionTest;

TEST_F(ErrorReport, FileHoldsTheLatestMessageWithOneLineFeedAdded) {
    for (const std::string message : {"", "UWorld::SpawnActor returned null.", "ends in a line feed\n"}) {
        write_error_report(message);
        EXPECT_EQ(exchange_file("cpp_phase5g_error.txt"), message + "\n");
    }
    EXPECT_TRUE(testFailed.load());

    // Every report sends the error line again, with level 4 where the device takes a level.
    const auto lines = host.console->lines();
    ASSERT_EQ(lines.size(), 6u);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].text, kErrorLine);
        EXPECT_EQ(lines[i].level, i % 2 == 0 ? -1 : 4);
    }
}

} // namespace
} // namespace korvath::test
