// The pose tracker script in whole sessions: korvath-sim's tracker mode, whose games run the script in the
// simulator's stand-in of the host's Lua side.

#include "support/test_support.hpp"
#include "tools/platform/os.hpp"
#include "tools/session/exchange/local_state_sample.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace korvath::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// The demo with --tracker: both proxies spawn and follow, and stopping a tracker makes the other proxy go
// stale. Its game folders have no <root>/Game/Binaries layout, so the script writes in the working
// directory, which the simulator makes the game folder.
TEST(TrackerSession, BothProxiesSpawnAndFollowAndStoppingATrackerMakesTheOtherProxyStale) {
    const fs::path dir = scratch_dir("tracker-demo") / "demo";
    const auto [status, output] =
        run_tool("korvath-session", {"demo", "--quick", "--tracker", "--dir", dir.string()});
    EXPECT_EQ(status, 0) << output;
    for (const char* text :
         {"A spawned its proxy of B", "B spawned its proxy of A", "B's proxy of A followed",
          "A's tracker stopped", "B destroyed its proxy of A as \"remote-player-stale\"", "Demo passed"})
        EXPECT_THAT(output, HasSubstr(text));
    // Each game ran the script and never wrote the local state itself.
    for (const char* log : {"client-a.log", "client-b.log"}) {
        const std::string text = read_file(dir / log);
        EXPECT_THAT(text, HasSubstr("[KorvathTracker] writing KorvathOnline/local_state.tsv in the working "
                                    "directory 20 times a second"));
        EXPECT_THAT(text, Not(HasSubstr("tracker callback failed"))) << log;
    }
    EXPECT_THAT(read_file(dir / "client-a.log"), HasSubstr("korvath-sim: the tracker stops"));
}

// A game started with its working directory elsewhere (through a launcher): the script writes beside the
// game's executable, where the mod looks. The folders are ASCII, which every ANSI code page spells.
TEST(TrackerSession, TheScriptWritesBesideTheExecutableWithTheWorkingDirectoryElsewhere) {
    const fs::path root = os::make_temporary_directory("korvath-cwd");
    const fs::path game = root / "Root" / "Game" / "Binaries" / "Win64", elsewhere = root / "elsewhere";
    for (const fs::path& folder : {game, root / "Root" / "Game" / "Content", exchange_of(elsewhere)})
        fs::create_directories(folder);
    const auto [status, output] = run_tool("korvath-sim", {"--game-dir", game.string(), "--tracker", "--cwd",
                                                           elsewhere.string(), "--duration", "1.5"});
    const fs::path file = exchange_of(game) / "local_state.tsv";
    const auto sample = session_tool::parse_local_state_sample(fs::exists(file) ? read_file(file) : "");
    EXPECT_EQ(status, 0) << output;
    EXPECT_THAT(output, HasSubstr("[KorvathTracker] writing " + file.string() + " 20 times a second\n"));
    EXPECT_TRUE(sample && sample->stamp && sample->stamp->sequence >= 10) << output;
    EXPECT_FALSE(fs::exists(exchange_of(elsewhere) / "local_state.tsv"));
    fs::remove_all(root);
}

} // namespace
} // namespace korvath::test
