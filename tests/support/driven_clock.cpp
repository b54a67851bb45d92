// The monotonic clock of a test build: the host stand-in's hand-stepped clock.

#include "session/monotonic_clock.hpp"
#include "standin/Clock.hpp"

namespace korvath {

auto monotonic_now_ns() -> int64_t {
    return standin::clock().now_ns();
}

} // namespace korvath
