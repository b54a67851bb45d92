// The demo's running parts: its directory, the processes it owns and its live display.

#include "support/test_support.hpp"
#include "tools/session/child_process.hpp"
#include "tools/session/demo_progress.hpp"
#include "tools/session/demo_setup.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <sstream>
#include <thread>

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;
using namespace std::chrono_literals;
using ::testing::HasSubstr;

// Polls until `done` holds, for at most five seconds.
auto poll_until(const std::function<bool()>& done) -> bool {
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (!done() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    return done();
}

TEST(DemoSetup, UsesAnEmptyOrEarlierDemoDirectoryAndRefusesAnyOther) {
    const fs::path root = scratch_dir("demo-dir");
    const fs::path fresh = tool::prepare_demo_dir(root / "new" / "demo");
    EXPECT_TRUE(fs::is_directory(fresh));

    write_file(fresh / "demo.svg", "<svg/>");
    fs::create_directories(fresh / "client-a" / "KorvathOnline");
    write_file(fresh / "client-a" / "KorvathOnline" / "phase5g.stop.txt", ""); // would block the next session
    EXPECT_EQ(tool::prepare_demo_dir(fresh), fresh);
    EXPECT_FALSE(fs::exists(fresh / "client-a"));
    EXPECT_FALSE(fs::exists(fresh / "demo.svg"));

    write_file(root / "mine" / "notes.txt", "keep me");
    EXPECT_THROW(tool::prepare_demo_dir(root / "mine"), std::runtime_error);
    EXPECT_EQ(read_file(root / "mine" / "notes.txt"), "keep me");

    const auto b = tool::demo_client_files(fresh, tool::ClientRole::ClientB);
    tool::lay_out_client(b);
    EXPECT_EQ(read_file(b.gameDir / "KorvathOnline" / "phase5g-role.txt"), "CLIENT_B\n");
    EXPECT_TRUE(fs::exists(b.gameDir / "KorvathOnline" / "phase5g.enable_once.txt"));
    const auto args =
        tool::simulator_arguments(b, {"sim", fs::path("/lib/mod.so")}, {"--walk", "circle:1,2"});
    EXPECT_EQ(args,
              (std::vector<std::string>{"--game-dir", b.gameDir.string(), "--world-log", b.worldLog.string(),
                                        "--mod", "/lib/mod.so", "--walk", "circle:1,2"}));
}

TEST(DemoChildProcess, OutputGoesToTheLogAndAStubbornProcessIsKilled) {
    const fs::path dir = scratch_dir("child");
    tool::ChildProcess talker("/bin/sh", {"-c", "echo out; echo err >&2; exit 3"}, dir / "talker.log");
    EXPECT_TRUE(poll_until([&] { return talker.poll().has_value(); }));
    EXPECT_EQ(talker.poll(), 3);
    EXPECT_EQ(talker.terminate(5s), 3) << "an ended process keeps its status";
    EXPECT_EQ(read_file(dir / "talker.log"), "out\nerr\n");

    tool::ChildProcess polite("/bin/sh", {"-c", "exec sleep 30"}, dir / "polite.log");
    EXPECT_FALSE(polite.poll());
    EXPECT_EQ(polite.terminate(5s), 128 + SIGTERM);

    // Ignores SIGTERM: killed once the grace time is over.
    tool::ChildProcess stubborn("/bin/sh", {"-c", "trap '' TERM; echo ready; while :; do sleep 1; done"},
                                dir / "stubborn.log");
    ASSERT_TRUE(poll_until([&] { return !read_file(dir / "stubborn.log").empty(); })); // the trap is set
    EXPECT_EQ(stubborn.terminate(100ms), 128 + SIGKILL);
    EXPECT_EQ(stubborn.poll(), 128 + SIGKILL);

    EXPECT_THROW(tool::ChildProcess(dir / "missing-program", {}, dir / "missing.log"), std::runtime_error);
}

TEST(DemoProgress, APipeGetsEventsAndPhaseChangesLineByLine) {
    const auto start = tool::DemoProgress::Clock::time_point{} + 1h;
    std::ostringstream out;
    tool::DemoProgress progress(out, false, 80, start);
    progress.event("both engines ready", start + 1100ms);
    progress.status("enabling", "A in ~5 s", start + 1200ms);
    progress.status("enabling", "A in ~4 s", start + 2200ms); // same phase, soon after: not printed
    progress.status("enabling", "A in ~1 s", start + 5300ms); // same phase, 4 s later: printed again
    progress.status("following", "B's proxy 80 units behind", start + 5400ms);
    progress.line("Summary");
    EXPECT_EQ(out.str(), "[  1.1 s] both engines ready\n"
                         "[  1.2 s]   enabling: A in ~5 s\n"
                         "[  5.3 s]   enabling: A in ~1 s\n"
                         "[  5.4 s]   following: B's proxy 80 units behind\n"
                         "Summary\n");
}

TEST(DemoProgress, ATerminalRedrawsOneLiveLineUnderTheEvents) {
    const auto start = tool::DemoProgress::Clock::time_point{} + 1h;
    std::ostringstream out;
    tool::DemoProgress progress(out, true, 40, start);
    progress.status("stale", "no rows to B for 1.0 s; a long detail that does not fit", start + 1s);
    const std::string live = out.str();
    EXPECT_EQ(live.substr(0, 6), "\r\x1b[2K[");
    EXPECT_THAT(live, HasSubstr("\x1b[1mstale\x1b[0m: no rows"));
    EXPECT_EQ(live.size(), std::string("\r\x1b[2K").size() + 39 + std::string("\x1b[1m\x1b[0m").size())
        << "cut to the width, less one column";
    out.str("");
    progress.event("B destroyed its proxy of A", start + 2s);
    const std::string text = out.str();
    const std::size_t end = text.find('\n') + 1;
    EXPECT_EQ(text.substr(0, end), "\r\x1b[2K[  2.0 s] B destroyed its proxy of A\n");
    EXPECT_THAT(text.substr(end), HasSubstr("stale")) << "the live line comes back under the event";
    out.str("");
    progress.finish();
    EXPECT_EQ(out.str(), "\r\x1b[2K");
}

} // namespace
} // namespace korvath::test
