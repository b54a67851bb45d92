#pragma once
// The engine's game thread: ProcessEvent calls at a fixed rate, each running the mod's pre-callbacks,
// and once per frame a step of the local pawn's walk. Engine objects are touched only here.

#include "standin/Engine.hpp"

#include "tools/sim/frame_clock.hpp"
#include "tools/sim/hook_guard.hpp"
#include "tools/sim/sim_control.hpp"
#include "tools/sim/stop_flag.hpp"
#include "tools/sim/walker.hpp"
#include <cstdint>

namespace korvath::sim {

struct GameThreadPlan {
    double processEventHz{}; // 0: no ProcessEvent calls
    WalkPlan walk;
    SimControl* control{}; // the world: the local pawn, and the controller that ProcessEvent is called on
    FrameClock* frames{};  // marked after each walk step, when set
};

inline constexpr double kFrameHz = 60;

// The thread's body: declares itself the engine's game thread and runs until `stop` is requested.
// Exceptions escaping ProcessEvent go to `processEvent`. Returns the number of ProcessEvent calls made.
auto run_game_thread(const GameThreadPlan& plan, StopFlag& stop, HookGuard& processEvent) -> uint64_t;

} // namespace korvath::sim
