#pragma once
// The simulated engine's world at start-up: engine version, player controller, local pawn, the
// player-character class at its object path, and the engine faults asked for.

#include "standin/Engine.hpp"
#include "tools/sim/options.hpp"

namespace korvath::sim {

auto set_up_world(const SimOptions& options) -> standin::GameWorld;

} // namespace korvath::sim
