#include "mod/engine_ready.hpp"

namespace korvath {

auto on_unreal_ready() -> void {}

} // namespace korvath
