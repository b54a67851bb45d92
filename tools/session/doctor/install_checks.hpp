#pragma once
// doctor's look at what is installed in a game folder: the host, the two mods' files, and whether the
// host will start both mods.

#include "tools/session/doctor/check.hpp"

#include <filesystem>
#include <string_view>

namespace korvath::session_tool {

inline constexpr std::string_view kModName = "KorvathOnlineCpp";
inline constexpr std::string_view kTrackerModName = "KorvathTracker";

auto check_install(const std::filesystem::path& gameDir, Checks& out) -> void;

// `path` as a report line names it: relative to `gameDir` when inside it, in the system's separators.
auto name_in(const std::filesystem::path& gameDir, const std::filesystem::path& path) -> std::string;

} // namespace korvath::session_tool
