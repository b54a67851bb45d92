// The tracker script's key bindings and its console lines about the mod's reports, in the stand-in of the
// host's Lua side.

#include "support/test_support.hpp"
#include "tools/tracker/tracker_host.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace korvath::test {
namespace {

auto count_lines(const std::vector<std::string>& lines, std::string_view text) -> long {
    return std::ranges::count_if(lines,
                                 [&](const std::string& line) { return line.find(text) != line.npos; });
}

TEST(TrackerKeys, KeysPlaceAndRemoveMarkersAndEachReportChangeIsToldOnce) {
    fs::create_directories(binaries_dir().parent_path().parent_path() / "Content");
    fs::create_directories(exchange_dir());
    tracker::HostSettings settings;
    settings.gameDir = binaries_dir();
    settings.utf8CodePage = true;
    tracker::TrackerHost host(tracker::tracker_script(), settings, [] { return tracker::TrackedPose{}; });
    int64_t now = 100;
    host.advance_to(now);
    const fs::path enable = exchange_dir() / "phase5g.enable_once.txt",
                   stop = exchange_dir() / "phase5g.stop.txt";

    EXPECT_EQ(host.press_key("F7", {}), 0); // without its modifier key
    EXPECT_FALSE(fs::exists(enable));
    EXPECT_EQ(host.press_key("F7", {"CONTROL"}), 1);
    EXPECT_TRUE(fs::exists(enable));
    host.press_key("F8", {"CONTROL"});
    EXPECT_TRUE(fs::exists(stop));
    host.press_key("F9", {"CONTROL"});
    EXPECT_FALSE(fs::exists(stop));

    // The mod's reports change; the script looks once a second.
    const auto report = [&](std::string_view name, std::string_view text) {
        write_file(exchange_dir() / name, text);
        for (int i = 0; i < 3; ++i)
            host.advance_to(now += 1000);
    };
    report("cpp_phase5g_status.txt", "clientBSpawnAdjusted=1\nsessionEnabled=0\nproxyActive=0\n");
    report("cpp_phase5g_status.txt",
           "clientBSpawnAdjusted=1\nsessionEnabled=1\nproxyActive=1\ntestFailed=0\n");
    write_file(exchange_dir() / "cpp_phase5g_destroy.txt", "phase=5G\ndestroyReason=kill-switch\n");
    report("cpp_phase5g_status.txt", "clientBSpawnAdjusted=1\nsessionEnabled=0\nproxyActive=0\n");
    report("cpp_phase5g_error.txt", "Spawn call threw an exception: bad\x01\n");

    const auto console = host.console();
    std::string all;
    for (const auto& line : console)
        all += line;
    for (const char* line :
         {"[KorvathTracker] keys: Ctrl+F7 enable, Ctrl+F8 stop, Ctrl+F9 resume\n",
          "[KorvathTracker] enable marker placed", "[KorvathTracker] stop marker placed",
          "[KorvathTracker] stop marker removed: press Ctrl+F7 for a new session\n",
          "[KorvathTracker] CLIENT_B moved 800 units aside to its own spawn\n",
          "[KorvathTracker] the session is enabled\n", "[KorvathTracker] the other player's proxy spawned\n",
          "[KorvathTracker] the proxy was destroyed: kill-switch\n",
          "[KorvathTracker] the mod failed: Spawn call threw an exception: bad? (cpp_phase5g_error.txt)\n"})
        EXPECT_EQ(count_lines(console, line), 1) << line << " in:\n" << all;
    EXPECT_TRUE(host.errors().empty());
}

} // namespace
} // namespace korvath::test
