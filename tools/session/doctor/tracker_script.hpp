#pragma once
// The pose tracker script (tools/tracker/main.lua) of this version, built into the program: doctor
// compares an installed one with it, and setup installs it when the package has none.

#include <string_view>

namespace korvath::session_tool {

auto tracker_script_text() -> std::string_view;

// True when `installed` is this version's script, line ends (an unpacker may turn LF into CR LF) and the
// block of key settings aside.
auto is_current_tracker_script(std::string_view installed) -> bool;

} // namespace korvath::session_tool
