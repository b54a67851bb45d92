#pragma once
// Putting one file in place for setup without losing a player's own: a file that is already there with
// other content is first kept as NAME.before-setup (or NAME.before-setup-2, ... when that is taken).

#include <filesystem>
#include <ostream>
#include <string_view>

namespace korvath::session_tool {

enum class InstallOutcome { Unchanged, Written, Failed };

// Writes `content` to `target` when it differs, creating missing folders; says on `log` what it did. A
// file holding `ours` (what this program shipped there, when not empty) is replaced without a copy.
auto install_content(const std::filesystem::path& target, std::string_view content, std::ostream& log,
                     std::string_view ours = {}) -> InstallOutcome;

} // namespace korvath::session_tool
