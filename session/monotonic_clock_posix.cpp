#include "session/monotonic_clock.hpp"

#include <chrono>

namespace korvath {

// CLOCK_MONOTONIC through steady_clock.
auto monotonic_now_ns() -> int64_t {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace korvath
