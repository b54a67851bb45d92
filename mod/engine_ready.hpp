#pragma once

namespace korvath {

// Engine-ready hook: marks the engine ready and registers the game-thread callback once per process.
auto on_unreal_ready() -> void;

} // namespace korvath
