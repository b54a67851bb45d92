#include "tools/sim/game_thread.hpp"

#include "tools/sim/periodic.hpp"

#include <algorithm>
#include <cstdint>
#include <thread>

namespace korvath::sim {

namespace {

constexpr auto kShortestWake = std::chrono::milliseconds(1);
constexpr double kMaxBacklogSeconds = 0.1; // calls missed in a longer stall are dropped, not made in a burst

// Moves the pawn by one walk step from wherever it stands now; the mod may have moved it meanwhile.
auto walk_pawn(Walker& walker, standin::AActor* pawn, double seconds) -> void {
    const WalkStep step = walker.advance(seconds);
    standin::Pose pose = standin::engine().inspect(pawn).pose;
    pose.x += step.dx;
    pose.y += step.dy;
    if (step.yaw)
        pose.yaw = *step.yaw;
    standin::engine().move_actor(pawn, pose);
}

// How often the engine frees destroyed objects, as an engine's default garbage collection does.
constexpr auto kGarbageCollectionPeriod = std::chrono::seconds(60);

} // namespace

auto run_game_thread(const GameThreadPlan& plan, StopFlag& stop, HookGuard& processEvent) -> uint64_t {
    auto& engine = standin::engine();
    engine.declare_game_thread();

    const standin::Pose startPose = engine.inspect(plan.control->pawn()).pose;
    Walker walker(plan.walk, Point2{startPose.x, startPose.y});
    const bool walking = plan.walk.kind != WalkPlan::Kind::Stand;
    const auto framePeriod = to_duration(1 / kFrameHz);
    auto lastFrame = SteadyClock::now();

    // Above 1000 Hz several calls are made per wake-up; the count follows the clock, not the wake-ups.
    const double hz = plan.processEventHz;
    const auto wakePeriod =
        hz > 0 ? std::max<SteadyClock::duration>(to_duration(1 / hz), kShortestWake) : framePeriod;
    const auto maxBacklog = static_cast<uint64_t>(hz * kMaxBacklogSeconds) + 1;
    const auto start = SteadyClock::now();
    auto lastCollection = start;
    uint64_t calls = 0;
    run_every(wakePeriod, stop, [&] {
        const auto now = SteadyClock::now();
        plan.control->poll(now);
        if (now - lastCollection >= kGarbageCollectionPeriod) {
            engine.collect_garbage();
            lastCollection = now;
        }
        if (hz > 0) {
            const auto due =
                static_cast<uint64_t>(std::chrono::duration<double>(now - start).count() * hz) + 1;
            if (due > calls + maxBacklog)
                calls = due - maxBacklog;
            for (; calls < due; ++calls)
                processEvent.run([&] { engine.process_event(plan.control->controller()); });
        }
        if (walking && now - lastFrame >= framePeriod) {
            walk_pawn(walker, plan.control->pawn(), std::chrono::duration<double>(now - lastFrame).count());
            lastFrame = now;
            if (plan.frames)
                plan.frames->mark(now);
        }
    });
    return calls;
}

} // namespace korvath::sim
