#pragma once
// The simulator's tracker mode: instead of writing KorvathOnline/local_state.tsv itself, it installs
// the pose tracker script as the host's Lua mod (Mods/KorvathTracker/Scripts/main.lua in the game
// folder) and runs it in the stand-in of the current host's Lua side, fed with the simulated pawn's pose.
// The working directory becomes the game folder (the simulator's --cwd may move it elsewhere).
// While the file KorvathTracker.stop exists in the game folder the host runs none of the script's
// loops, as if its Lua side had stopped: the local state goes stale. Keys pressed through the control
// file run the script's key bindings.

#include "standin/Engine.hpp"
#include "tools/sim/frame_clock.hpp"
#include "tools/sim/sim_control.hpp"
#include "tools/sim/stop_flag.hpp"

#include <filesystem>
#include <memory>
#include <string>

namespace korvath::sim {

class TrackerMode {
public:
    virtual ~TrackerMode() = default;
    // Drives the host's clock from `start` until `stop` is requested. Each turn of the host's game
    // thread happens at the time of the last game frame, with that frame's pose, as in the game.
    virtual auto run(StopFlag& stop, SteadyClock::time_point start, const FrameClock& frames,
                     SimControl& control) -> void = 0;
};

// False in a build without Lua (the Windows build).
auto tracker_mode_available() -> bool;

// Installs and starts the script for `pawn` on `mapName`; throws std::runtime_error on failure.
auto start_tracker_mode(const std::filesystem::path& gameDir, const std::string& mapName,
                        const standin::AActor* pawn) -> std::unique_ptr<TrackerMode>;

} // namespace korvath::sim
