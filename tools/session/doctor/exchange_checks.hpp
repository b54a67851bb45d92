#pragma once
// doctor's look at a game folder's exchange folder: whether the mod can write there, the role it will
// read, and what the mod's reports and the tracker's file tell of the game that runs or ran.

#include "tools/session/doctor/check.hpp"
#include "tools/session/exchange/client_controls.hpp"

#include <filesystem>

namespace korvath::session_tool {

// Returns the role the mod will read when it next loads. `now` is the file clock's current time.
auto check_exchange(const std::filesystem::path& gameDir, std::filesystem::file_time_type now, Checks& out)
    -> ClientRole;

} // namespace korvath::session_tool
