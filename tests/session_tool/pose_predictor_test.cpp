// The relay's prediction: where the pose predictor puts a walking, turning or stopping player, how
// writer stamps land on the relay's clock, and what one predicting link writes. Every time is given.

#include "support/test_support.hpp"
#include "tools/platform/os.hpp"
#include "tools/session/exchange/remote_player_row.hpp"
#include "tools/session/link/pose_predictor.hpp"
#include "tools/session/link/predicting_link.hpp"
#include "tools/session/link/row_schedule.hpp"
#include "tools/session/link/sample_clock.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>

namespace korvath::test {
namespace {

namespace tool = korvath::session_tool;
using namespace std::chrono_literals;
using std::chrono::nanoseconds;

// A path: the pose at a time in seconds.
using Path = std::function<tool::PlayerPose(double)>;

auto at_seconds(double seconds) -> nanoseconds {
    return std::chrono::duration_cast<nanoseconds>(std::chrono::duration<double>(seconds));
}

auto pose(double x, double y, double yaw, std::string map = "Map_A") -> tool::PlayerPose {
    return {static_cast<float>(x), static_cast<float>(y), 100.0F, static_cast<float>(yaw), std::move(map)};
}

// Radius 600 at 300 units/s around the origin, facing along the walk; and where its rows should stand,
// outward by the curve allowance.
auto circle_of(double radius, double t) -> tool::PlayerPose {
    const double angle = 0.5 * t;
    return pose(radius * std::cos(angle), radius * std::sin(angle),
                std::remainder(angle * 180 / std::numbers::pi + 90, 360));
}
auto circle(double t) -> tool::PlayerPose {
    return circle_of(600, t);
}
auto circle_row(double t) -> tool::PlayerPose {
    return circle_of(600 + 0.5 * 300 * tool::mod_curve_allowance(), t);
}

// Along x at 300 units/s until 1.95 s, then standing.
auto walk_and_stop(double t) -> tool::PlayerPose {
    return pose(300 * std::min(t, 1.95), 0, 0);
}

auto distance(const tool::PlayerPose& a, const tool::PlayerPose& b) -> double {
    return std::hypot(double(a.x) - double(b.x), double(a.y) - double(b.y), double(a.z) - double(b.z));
}

// Samples every `period` seconds up to `last`, each timed `jitter` seconds off, alternately late and
// early (as whole-millisecond stamps of a frame's pose are); then the prediction at `now`.
auto predict_after(const Path& path, double last, double now, double period = 0.1, double jitter = 0.0)
    -> tool::PlayerPose {
    tool::PosePredictor predictor;
    int index = 0;
    for (double t = 0.0; t <= last + 1e-9; t += period, ++index)
        predictor.add(path(t), at_seconds(t + (index % 2 == 0 ? jitter : -jitter)));
    return predictor.predict(at_seconds(now)).value();
}

TEST(PosePredictor, PredictsWalksAndTurnsAheadByTheLagAndStopsWithThePlayer) {
    const double lag = std::chrono::duration<double>(tool::mod_follow_lag()).count();
    struct Case {
        const char* name;
        Path path;
        double last, now, ahead; // latest sample, prediction time, the time the prediction stands for
        double within;           // units
        double period = 0.1, jitter = 0.0;
        Path sampled = nullptr; // the samples, when not from `path`
    };
    const double frame = 1.0 / 60;
    const Case cases[] = {
        {"circle, fresh sample", circle_row, 3.0, 3.0, 3.0 + lag, 0.5, 0.1, 0.0, circle},
        {"circle, sample 90 ms old", circle_row, 3.0, 3.09, 3.09 + lag, 0.5, 0.1, 0.0, circle},
        {"circle, 60 samples a second 1 ms off", circle_row, 60 * frame, 60 * frame, 60 * frame + lag, 2.5,
         frame, 0.001, circle},
        {"circle, the latest frame read twice", circle_row, 60 * frame, 60 * frame, 60 * frame + lag, 0.5,
         frame, 0.0, [frame](double t) { return circle(t < 1.0 ? t : t - frame); }},
        {"straight on", walk_and_stop, 1.0, 1.05, 1.05 + lag, 0.01},
        {"the stop seen in one sample: slowing to a halt", walk_and_stop, 2.0, 2.0, 2.0, 3.0},
        {"the stop seen in two samples", walk_and_stop, 2.1, 2.15, 2.0, 0.01},
        {"the stop seen in two samples 17 ms apart", walk_and_stop, 119 * frame, 119 * frame, 2.0, 0.01,
         frame},
        {"lead capped at 350 ms", walk_and_stop, 1.0, 1.22, 1.35, 0.01},
        {"samples stopped: the latest as it is", walk_and_stop, 1.0, 1.26, 1.0, 0.0},
    };
    for (const auto& c : cases) {
        const auto predicted =
            predict_after(c.sampled ? c.sampled : c.path, c.last, c.now, c.period, c.jitter);
        EXPECT_LE(distance(predicted, c.path(c.ahead)), c.within) << c.name;
        EXPECT_NEAR(std::remainder(predicted.yaw - c.path(c.ahead).yaw, 360.0), 0.0, 0.2) << c.name;
        EXPECT_LE(std::abs(predicted.yaw), 180.0F) << c.name;
    }
}

TEST(PosePredictor, AJumpANewMapAGapOrAnOldSampleStartsAfreshAndNothingOverflows) {
    tool::PosePredictor predictor;
    EXPECT_FALSE(predictor.predict(0ns));
    predictor.add(pose(0, 0, 0), 0ms);
    predictor.add(pose(30, 0, 0), 100ms);
    EXPECT_GT(predictor.predict(100ms)->x, 40.0F);
    predictor.add(pose(60, 0, 0), 100ms);  // not later than the latest: ignored
    predictor.add(pose(900, 0, 0), 200ms); // 8400 units/s: a jump
    EXPECT_EQ(predictor.predict(200ms)->x, 900.0F);
    predictor.add(pose(930, 0, 0, "Map_B"), 300ms); // a new map: one sample, no history
    EXPECT_EQ(predictor.predict(300ms)->x, 930.0F);
    predictor.add(pose(960, 0, 0, "Map_B"), 1400ms); // more than a second later
    EXPECT_EQ(predictor.predict(1400ms)->x, 960.0F);

    tool::PosePredictor extreme;
    extreme.add(pose(-3.4e38, 0, 179.9), 0ms);
    extreme.add(pose(3.4e38, 0, -179.9), 1ms);
    const auto predicted = extreme.predict(1ms).value();
    EXPECT_TRUE(std::isfinite(predicted.x) && std::isfinite(predicted.yaw));
}

TEST(SampleClock, StampsLandOnTheRelaysClockByTheShortestDelaySeenAndARestartStartsAfresh) {
    tool::SampleClock clock;
    // The writer's clock is 5 s behind the relay's; reads come 8, 2, then 10 ms after the stamps.
    EXPECT_EQ(clock.place(1000, 6008ms), 6008ms);         // nothing to go by: as if read at once
    EXPECT_EQ(clock.place(1100, 6102ms), 6102ms);         // a shorter delay lowers the offset
    EXPECT_EQ(clock.place(1200, 6210ms), 6202ms + 108us); // it creeps up 1 ms a second at most
    EXPECT_EQ(clock.place(500, 9000ms), 9000ms);          // restarted writer: afresh
    EXPECT_EQ(clock.place(INT64_MAX, 9100ms), 9100ms);    // never later than the read
}

TEST(RowSchedule, WritesAMovingPoseEveryPeriodASurpriseAtOnceAndAStandingOneToStayFresh) {
    struct Case {
        const char* name;
        tool::PlayerPose pose;
        nanoseconds at;
        bool due;
    };
    // Rows at 0 and 40 ms walking along x at 300 units/s (12 units a period), then the next looks.
    const Case cases[] = {
        {"on course within the period", pose(15, 0, 0), 50ms, false},
        {"on course a period on", pose(23, 0, 0), 78ms, true},
        {"faster, still on course", pose(20, 0, 0), 50ms, false},
        {"off course: the prediction fell back at a stop", pose(-5, 0, 0), 50ms, true},
        {"off course: a turn", pose(15, 14, 0), 50ms, true},
        {"a new map", pose(15, 0, 0, "Map_B"), 50ms, true},
        {"turned in place a period on", pose(12, 0, 10), 80ms, true},
        {"the same pose a period on", pose(12, 0, 0), 80ms, false},
        {"the same pose half a second on", pose(12, 0, 0), 540ms, true},
    };
    for (const auto& c : cases) {
        tool::RowSchedule schedule;
        EXPECT_TRUE(schedule.due(pose(0, 0, 0), 0ms));
        schedule.written(pose(0, 0, 0), 0ms);
        schedule.written(pose(12, 0, 0), 40ms);
        EXPECT_EQ(schedule.due(c.pose, c.at), c.due) << c.name;
        schedule.forget();
        EXPECT_TRUE(schedule.due(c.pose, c.at)) << c.name;
    }
}

TEST(PredictingLink, WritesTheSampleAheadWhenPredictingAndAsItIsWhenNot) {
    const fs::path from = scratch_dir("from"), to = scratch_dir("to");
    const fs::path local = from / "KorvathOnline" / "local_state.tsv";
    const fs::path remote = to / "KorvathOnline" / "remote_players.tsv";
    const tool::RelayLink link{from, to, "player-a", "KESTREN CLIENT A"};
    tool::PredictingLink predicting(link, true), plain(link, false);
    const auto fileNow = fs::file_time_type::clock::now();
    const auto row = [](double x) {
        return tool::format_remote_player_row("player-a", "KESTREN CLIENT A", pose(x, 0, 0));
    };

    // Stamped samples 100 ms apart, each read 10 ms after it was taken: the clocks' offset comes from
    // the reads, so they count as read at once. Rows lead by the mod's lag and their own mean age.
    const auto in_s = [](nanoseconds value) { return std::chrono::duration<double>(value).count(); };
    const double lag = in_s(tool::mod_follow_lag() + tool::kRowMeanAge);
    const double spawnLag = in_s(tool::mod_spawn_lag() + tool::kRowMeanAge);
    write_file(local, "0\t0\t100\t0\tMap_A\t1000\t1\n");
    EXPECT_EQ(predicting.step(fileNow, 1010ms), tool::RelayOutcome::Relayed);
    EXPECT_EQ(read_file(remote), row(0)); // one sample: nothing to go by
    write_file(local, "30\t0\t100\t0\tMap_A\t1100\t2\n");
    predicting.step(fileNow, 1110ms);
    EXPECT_EQ(read_file(remote), row(30 + 300 * spawnLag)); // no proxy yet: it will spawn on the row
    write_file(to / "KorvathOnline" / "cpp_phase5g_spawn.txt", "spawned\n");
    // Within a row period the row stands; the spawn shows at the next look at the reports.
    EXPECT_EQ(predicting.step(fileNow, 1120ms), tool::RelayOutcome::Relayed);
    EXPECT_EQ(read_file(remote), row(30 + 300 * spawnLag));
    predicting.step(fileNow, 1210ms); // the same sample again: the lead grows, by the smoothing too
    EXPECT_EQ(read_file(remote), row(30 + 300 * (lag + 0.100)));
    plain.step(fileNow, 1220ms);
    EXPECT_EQ(read_file(remote), row(30));

    // Without stamps, a rewrite of the file is a new sample, timed by the file: 10 ms old when read.
    // (This caught file times kept to whole seconds on Windows.)
    const auto t0 = fileNow - 1s;
    write_file(local, "60\t0\t100\t0\tMap_A\n");
    ASSERT_TRUE(os::set_last_write_time(local, t0));
    predicting.step(t0 + 10ms, 5010ms);
    write_file(local, "90\t0\t100\t0\tMap_A\n");
    ASSERT_TRUE(os::set_last_write_time(local, t0 + 100ms));
    predicting.step(t0 + 110ms, 5110ms);
    EXPECT_EQ(read_file(remote), row(90 + 300 * (lag + 0.010)));

    write_file(local, "bad\n");
    EXPECT_EQ(predicting.step(fileNow, 5200ms), tool::RelayOutcome::Invalid);
    write_file(local, "1\t2\t3\t4\tMap_A\t" + std::string(tool::kLargestLocalState, '7') + "\n");
    EXPECT_EQ(predicting.step(fileNow, 5300ms), tool::RelayOutcome::Invalid); // too large to read
}

} // namespace
} // namespace korvath::test
