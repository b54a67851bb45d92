#pragma once
// The run loop of the long-running subcommands: a fixed rate, until SIGINT/SIGTERM or a time limit.

#include <chrono>
#include <functional>
#include <optional>

namespace korvath::session_tool {

// Makes SIGINT and SIGTERM request a stop instead of ending the process.
auto install_stop_handlers() -> void;
auto stop_requested() -> bool;

// Runs `tick` at once and then every `period` (a late tick is not made up for) until a stop is
// requested or `limit` has passed since the start. A limit of zero runs `tick` once.
auto run_periodically(std::chrono::nanoseconds period, std::optional<std::chrono::nanoseconds> limit,
                      const std::function<void()>& tick) -> void;

} // namespace korvath::session_tool
