#include "session/monotonic_clock.hpp"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace korvath {

namespace {

// The counter's frequency is fixed at boot; read it once.
auto counter_frequency() -> int64_t {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}

} // namespace

// The performance counter in nanoseconds. Whole seconds and the remainder are scaled apart, so the
// product cannot overflow however long the machine has been up.
auto monotonic_now_ns() -> int64_t {
    static const int64_t frequency = counter_frequency();
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    const int64_t seconds = counter.QuadPart / frequency;
    const int64_t rest = counter.QuadPart % frequency;
    return seconds * 1'000'000'000 + rest * 1'000'000'000 / frequency;
}

} // namespace korvath
