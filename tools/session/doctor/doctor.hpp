#pragma once
// korvath-session doctor: looks at one or two game folders as the host and the mod will find them and
// prints one line per check, each failed one with what to do. It reads files and runs nothing; the only
// write is a probe file it creates and removes to learn whether the mod may write in the exchange folder.

#include <filesystem>
#include <ostream>
#include <vector>

namespace korvath::session_tool {

// 0: nothing stands in the way of a session; 1: something does. `now` is the file clock's time.
auto run_doctor(const std::vector<std::filesystem::path>& gameDirs, std::filesystem::file_time_type now,
                std::ostream& out) -> int;

} // namespace korvath::session_tool
