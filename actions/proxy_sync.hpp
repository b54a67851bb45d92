#pragma once

#include "mod/session_state.hpp"

namespace korvath {

// SyncProxy: spawns the proxy at the remote snapshot's pose, or moves it one smoothing step toward
// it. Game thread only.
auto sync_proxy() -> void;

// Replaces cpp_phase5g_spawn.txt for a proxy spawned from `snapshot`.
auto write_spawn_report(const RemotePlayerState& snapshot) -> void;

} // namespace korvath
