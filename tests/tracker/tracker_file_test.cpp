// What the mod and the relay read from the file that the pose tracker script writes, the script running in
// the stand-in of the host's Lua side. The row's format is tested on the script itself (tracker_test.lua).

#include "exchange/exchange_directory.hpp"
#include "exchange/local_state.hpp"
#include "support/test_support.hpp"
#include "tools/session/exchange/file_io.hpp"
#include "tools/session/exchange/local_state_sample.hpp"
#include "tools/tracker/tracker_host.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace korvath::test {
namespace {

using tracker::TrackedPose;
using tracker::TrackerHost;

constexpr int64_t kPeriodMs = 16; // the tracker's, and a frame: a sample on every frame
constexpr std::uintmax_t kRecordBytes = 512;

// Pose number i, exact in three decimals and in 32-bit floats, so every read can be matched to it.
auto pose_number(int i) -> TrackedPose {
    return {i * 0.5, i * -0.25, 100 + i * 0.125, (i % 720) * 0.5 - 180};
}

// The number of the pose a reader got, or -1 when it is none of them.
auto number_of(const LocalPlayerState& state) -> int {
    const int i = static_cast<int>(state.x * 2);
    const TrackedPose expected = pose_number(i);
    const bool same = state.x == static_cast<float>(expected.x) &&
                      state.y == static_cast<float>(expected.y) &&
                      state.z == static_cast<float>(expected.z) &&
                      state.yaw == static_cast<float>(expected.yaw) && state.mapName == "Map_A";
    return same ? i : -1;
}

// The script writes beside the game's executable, where the mod looks, with the working directory
// elsewhere. It overwrites one fixed-size record in one write, so the file never goes missing or shrinks:
// between any two writes the mod's and the relay's readers find that write's pose and stamp. A reader
// thread racing the first 2,000 writes may see a mixed row (no OS forbids a read that overlaps a write of
// the same bytes; about one in 25,000 here), so those are bounded, not forbidden.
TEST(TrackerFile, TenThousandWritesBesideTheExecutableNeverLeaveTheFileMissingAndEachRowIsThePawnsPose) {
    constexpr int kWrites = 10'000, kRacedWrites = 2'000;
    reset_session_state();
    exchangeDirectory = exchange_dir();
    fs::create_directories(exchange_dir());
    // <root>/Game/Content: the host knows the layout, and gives the folder of the executable.
    fs::create_directories(binaries_dir().parent_path().parent_path() / "Content");
    fs::current_path(scratch_dir("tracker-elsewhere"));
    const fs::path path = exchange_dir() / "local_state.tsv";
    std::optional<TrackedPose> pose = pose_number(1);
    tracker::HostSettings settings;
    settings.gameDir = binaries_dir();
    settings.utf8CodePage = true; // the game's path is not ASCII
    settings.frameMs = kPeriodMs;
    TrackerHost host(tracker::tracker_script(), settings, [&] { return pose; });
    host.advance_to(kPeriodMs);
    ASSERT_TRUE(is_local_state_fresh()) << "no row where the mod looks";
    std::atomic<bool> done{false};
    int racingReads = 0, racingMisses = 0, racingMixed = 0;
    std::thread racer([&] {
        for (; !done.load(); ++racingReads) {
            const bool fresh = is_local_state_fresh();
            const auto content = session_tool::read_whole_file(path);
            racingMisses += !fresh || !content || content->size() != kRecordBytes;
            LocalPlayerState state;
            racingMixed += !read_local_state(state) || number_of(state) < 1;
        }
    });
    int misses = 0, parsed = 0;
    for (int i = 2; i <= kWrites + 1; ++i) {
        LocalPlayerState state;
        const auto sample = session_tool::parse_local_state_sample(read_file(path));
        misses += !is_local_state_fresh() || fs::file_size(path) != kRecordBytes;
        parsed += read_local_state(state) && number_of(state) == i - 1 && sample && sample->stamp &&
                  sample->stamp->sequence == static_cast<uint64_t>(i - 1) &&
                  sample->stamp->sampleMs == (i - 1) * kPeriodMs && sample->pose.x == state.x;
        pose = pose_number(i);
        host.advance_to(i * kPeriodMs);
        if (i == kRacedWrites) {
            done.store(true);
            racer.join();
        }
    }
    EXPECT_EQ(misses, 0);
    EXPECT_EQ(parsed, kWrites);
    EXPECT_EQ(racingMisses, 0);
    EXPECT_LE(racingMixed * 100, racingReads) << racingMixed << " mixed of " << racingReads;
}

} // namespace
} // namespace korvath::test
