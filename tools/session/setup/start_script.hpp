#pragma once
// The start script that setup writes beside the session program: it checks the two game folders with
// doctor and runs the relay between them. On Windows it is the package's "Start Korvath Online.bat"
// (built into the program) with the folders filled in; elsewhere a shell script doing the same.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace korvath::session_tool {

struct StartScript {
    std::string fileName;
    std::string text;
};

// The package's script with no folders filled in, as in the source tree (LF), and as the package
// carries it (CR LF).
auto start_script_template() -> std::string_view;
auto packaged_start_script() -> std::string;

// The script for two absolute game folders, for Windows or for a POSIX shell; nothing when a folder's
// path holds a character the script cannot carry safely (a quote, a line end, a control character).
auto make_start_script(bool forWindows, const std::filesystem::path& gameA,
                       const std::filesystem::path& gameB) -> std::optional<StartScript>;

} // namespace korvath::session_tool
