#pragma once
// The role file and the two markers that steer a client's mod, placed in its exchange folder.

#include <filesystem>
#include <string_view>

namespace korvath::session_tool {

enum class ClientRole { ClientA, ClientB };

// "CLIENT_A" or "CLIENT_B".
auto role_name(ClientRole role) -> std::string_view;

// Each returns false when the file could not be written or removed. The mod reads the role only
// when it loads; the markers act while it runs.
auto write_role_file(const std::filesystem::path& gameDir, ClientRole role) -> bool;
auto place_enable_marker(const std::filesystem::path& gameDir) -> bool;
auto place_stop_marker(const std::filesystem::path& gameDir) -> bool;
// A missing stop marker counts as removed.
auto remove_stop_marker(const std::filesystem::path& gameDir) -> bool;

} // namespace korvath::session_tool
