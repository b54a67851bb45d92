#pragma once
// Enabling mods in the host's mods.txt while keeping the player's own lines: every other line stays as
// it is and in its order, the host's Keybinds line (with the comment just above it) stays last.

#include <span>
#include <string>
#include <string_view>

namespace korvath::session_tool {

// `text` with each of `mods` enabled: a line that names it without enabling it becomes "NAME : 1"; a
// mod without a line gets one before the Keybinds line, or at the end. The byte-order mark and the
// line ends (LF or CR LF) of `text` are kept. Returns `text` unchanged when every mod is enabled.
auto enable_in_mods_list(std::string_view text, std::span<const std::string_view> mods) -> std::string;

} // namespace korvath::session_tool
