#pragma once

#include <cstdint>

namespace korvath {

// Nanoseconds of a monotonic clock; never 0 in practice, since 0 marks an unset timestamp.
// One implementation is linked per build: the operating system's steady clock in the shipped
// library, the host stand-in's hand-stepped clock in the test build.
auto monotonic_now_ns() -> int64_t;

} // namespace korvath
