#include "support/test_support.hpp"
#include "tools/session/exchange/exchange_names.hpp"
#include "tools/session/net/local_pose_source.hpp"
#include "tools/session/net/loss_meter.hpp"
#include "tools/session/net/remote_pose_writer.hpp"

#include <gtest/gtest.h>

namespace st = korvath::session_tool;
using korvath::test::read_file;
using korvath::test::scratch_dir;
using korvath::test::write_file;
using namespace std::chrono_literals;
using std::chrono::nanoseconds;

TEST(NetPoseFlow, TheLocalStateIsSentWithTheTimeItsPoseWasTaken) {
    const auto dir = scratch_dir("net-source");
    st::LocalPoseSource source(dir, "player-host", "KESTREN HOST");
    const auto fileNow = std::filesystem::file_time_type::clock::now();
    EXPECT_FALSE(source.read(fileNow, 10s));
    EXPECT_EQ(source.outcome(), st::RelayOutcome::Missing);

    // Stamped 5000 ms on the writer's clock, first read at 10 s on ours; the next sample 100 ms later is
    // read 130 ms after the first: it is placed 100 ms after the first, by the earliest read.
    write_file(st::exchange_dir_of(dir) / st::kLocalStateFile, "1\t2\t3\t90\tMap_A\t5000\t1\n");
    const auto first = source.read(std::filesystem::file_time_type::clock::now(), 10s);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->takenUs, 10'000'000);
    EXPECT_EQ(first->pose.yaw, 90.0F);
    EXPECT_EQ(first->playerId, "player-host");
    write_file(st::exchange_dir_of(dir) / st::kLocalStateFile, "4\t2\t3\t90\tMap_A\t5100\t2\n");
    const auto second = source.read(std::filesystem::file_time_type::clock::now(), 10s + 130ms);
    ASSERT_TRUE(second);
    EXPECT_NEAR(second->takenUs, 10'100'000, 200); // the clock offset may creep up by 1 ms a second
    EXPECT_EQ(second->pose.x, 4.0F);

    write_file(st::exchange_dir_of(dir) / st::kLocalStateFile, "not\ta\trow\n");
    EXPECT_FALSE(source.read(std::filesystem::file_time_type::clock::now(), 11s));
    EXPECT_EQ(source.outcome(), st::RelayOutcome::Invalid);
}

TEST(NetPoseFlow, TheRemoteRowIsWrittenOnlyWhilePosesKeepComing) {
    const auto dir = scratch_dir("net-writer");
    const auto file = st::exchange_dir_of(dir) / st::kRemotePlayersFile;
    st::RemotePoseWriter writer(dir, false);
    EXPECT_EQ(writer.write(1s), st::WriteOutcome::Idle);

    const st::PosePayload pose{.takenUs = 4'990'000,
                               .pose = {.x = 10, .y = 20, .z = 30, .yaw = 45, .mapName = "Map_A"},
                               .playerId = "player-join",
                               .displayName = "KESTREN JOINER"};
    writer.take(pose, 5'000'000, 25ms, 2s);
    EXPECT_EQ(writer.write(2s + 500ms), st::WriteOutcome::Written);
    EXPECT_EQ(read_file(file), "player-join\tKESTREN JOINER\t10\t20\t30\t45\tMap_A\n");
    EXPECT_EQ(writer.write(2s + st::kRemotePoseTimeout), st::WriteOutcome::Written);
    // No pose for longer than the timeout: the file is left alone, so the mod sees it go stale.
    std::filesystem::remove(file);
    EXPECT_EQ(writer.write(2s + st::kRemotePoseTimeout + 1ms), st::WriteOutcome::Idle);
    writer.take(pose, 5'100'000, 25ms, 3s);
    writer.clear(); // the peer quit
    EXPECT_EQ(writer.write(3s), st::WriteOutcome::Idle);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(NetPoseFlow, PredictedRowsLeadThePoseByItsAgeAcrossTheNetwork) {
    const auto dir = scratch_dir("net-predict");
    st::RemotePoseWriter writer(dir, true);
    // A player walking +x at 300 units/s, sampled every 100 ms on the peer's clock (which runs 1000 s
    // ahead of ours), each pose sent 5 ms after it was taken and arriving 50 ms later.
    for (int index = 0; index < 5; ++index) {
        const int64_t takenUs = 1'000'000'000 + index * 100'000;
        const st::PosePayload pose{.takenUs = takenUs,
                                   .pose = {.x = 30.0F * static_cast<float>(index), .mapName = "Map_A"},
                                   .playerId = "p",
                                   .displayName = "P"};
        writer.take(pose, takenUs + 5'000, 50ms, 1s + index * 100ms + 55ms);
    }
    // At the last arrival the pose is 55 ms old. The row leads it by that and the mod's delivery until
    // the game shows a proxy, then by the mod's whole follow lag.
    for (const bool shown : {false, true}) {
        if (shown)
            write_file(st::exchange_dir_of(dir) / st::kSpawnReport, "spawned\n");
        ASSERT_EQ(writer.write(1s + 455ms), st::WriteOutcome::Written);
        const auto row = read_file(st::exchange_dir_of(dir) / st::kRemotePlayersFile);
        const float x = std::stof(row.substr(row.find("P\t") + 2));
        const double lead =
            std::chrono::duration<double>(55ms + (shown ? st::mod_follow_lag() : st::mod_spawn_lag()))
                .count();
        EXPECT_NEAR(x, 120.0 + 300.0 * lead, 1.0) << row;
    }
}

TEST(NetLossMeter, CountsTheGapsInEachWindow) {
    st::LossMeter meter;
    uint64_t sequence = 10;
    // One in ten lost, 30 a second, for 4 s: the first complete window (3 s) tells.
    for (int index = 0; index < 120; ++index, ++sequence)
        if (index % 10 != 5)
            meter.add(sequence, nanoseconds(index * 1'000'000'000LL / 30));
    ASSERT_TRUE(meter.loss());
    EXPECT_NEAR(*meter.loss(), 0.1, 0.02);
    // A packet that comes after newer ones is late, not lost.
    st::LossMeter reordered;
    int64_t arrival = 0;
    for (const uint64_t late : {1, 3, 2, 4, 6, 5, 7, 9, 8, 10})
        reordered.add(late, nanoseconds(arrival++ * 400'000'000));
    ASSERT_TRUE(reordered.loss());
    EXPECT_EQ(*reordered.loss(), 0.0);
}
