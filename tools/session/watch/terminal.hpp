#pragma once
// What the watch needs to know about its standard output.

#include <cstddef>

namespace korvath::session_tool {

// True when standard output is a terminal (the view is then redrawn in place).
auto stdout_is_terminal() -> bool;

// The terminal's width in columns, or `fallback` when it cannot be told.
auto terminal_width(std::size_t fallback) -> std::size_t;

} // namespace korvath::session_tool
