#pragma once
// Whether a client's mod shows a proxy now, from its event reports: the spawn report is written at
// every spawn, the destroy report at every destroy, and both are removed when the mod loads.

#include <filesystem>

namespace korvath::session_tool {

// True when the spawn report exists and is newer than any destroy report.
auto proxy_shown(const std::filesystem::path& gameDir) -> bool;

} // namespace korvath::session_tool
