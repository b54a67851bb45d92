#include "session/session_controller.hpp"

namespace korvath {

auto run_host_tick(SessionTimestamps&, int64_t) -> void {}

} // namespace korvath
